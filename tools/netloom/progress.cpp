#include "progress.h"

#include <cstdio>
#include <string>

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

void ProgressLine::Report(const netloom::LayoutProgress& progress) {
    const std::lock_guard<std::mutex> lock(m_stepLock);
    m_step = progress;
    m_bStepSeen = true;
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
    std::string detail;
    {
        const std::lock_guard<std::mutex> lock(m_stepLock);
        if (m_bStepSeen) {
            char text[160];
            const netloom::LayoutProgress& p = m_step;
            if (p.maxIterations > 0) {
                std::snprintf(text, sizeof text, ", component %d: %s %d/%d", p.component + 1,
                              p.step, p.iteration, p.maxIterations);
            } else {
                std::snprintf(text, sizeof text, ", component %d: %s", p.component + 1, p.step);
            }
            detail = text;
            if (p.workTotal > 0 && p.workDone > 0) {
                const double share = static_cast<double>(p.workDone) / p.workTotal;
                // Force components count at their iteration cap until they
                // settle, so the time left tends to be high early on.
                std::snprintf(text, sizeof text, ", %.0f%% of work, ~%.0f s left", 100.0 * share,
                              elapsed * (1.0 - share) / share);
                detail += text;
            }
        }
    }
    std::fprintf(stderr, "\rnetloom: %s %d/%d%s, %.1f s\033[K", m_pWhat, m_iDone.load(),
                 m_iTotal.load(), detail.c_str(), elapsed);
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
