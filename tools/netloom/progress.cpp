#include "progress.h"

#include <cstdio>

namespace netloom_cli {

ProgressLine::ProgressLine(bool show, double delaySeconds, const char* what)
    : m_bShow(show), m_pWhat(what), m_dDelay(delaySeconds),
      m_start(std::chrono::steady_clock::now()) {
    if (m_bShow) {
        m_thread = std::thread([this] { Run(); });
    }
}

ProgressLine::~ProgressLine() {
    Finish();
}

void ProgressLine::Update(int done, int total) {
    m_iDone = done;
    m_iTotal = total;
}

// Redraws a few times a second, so that a single long component still shows
// the time going on.
void ProgressLine::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_bStop) {
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
        if (elapsed >= m_dDelay) {
            Draw();
        }
        m_wake.wait_for(lock, std::chrono::milliseconds(250));
    }
}

void ProgressLine::Draw() {
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    std::fprintf(stderr, "\rnetloom: %s %d/%d, %.1f s", m_pWhat, m_iDone.load(), m_iTotal.load(),
                 elapsed);
    std::fflush(stderr);
    m_bDrawn = true;
}

void ProgressLine::Finish() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_bStop = true;
    }
    m_wake.notify_all();
    m_thread.join();
    if (m_bDrawn || m_dDelay <= 0.0) {
        Draw();
        std::fputc('\n', stderr);
    }
}

} // namespace netloom_cli
