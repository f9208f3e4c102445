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
    int total = m_iTotal.load();
    std::string detail;
    char text[160];
    {
        const std::lock_guard<std::mutex> lock(m_stepLock);
        const netloom::LayoutProgress& p = m_step;
        // Once every component is done, only the count and the time.
        const bool running = m_bStepSeen && m_iDone.load() < p.componentCount;
        if (m_bStepSeen) {
            total = p.componentCount;
        }
        if (running) {
            std::snprintf(text, sizeof text, ", component %d: %s", p.component + 1, p.step);
            detail = text;
            if (p.maxIterations > 0) {
                std::snprintf(text, sizeof text, " %d/%d", p.iteration, p.maxIterations);
                detail += text;
            }
        }
        std::snprintf(text, sizeof text, ", %.1f s", elapsed);
        detail += text;
        if (running && p.workTotal > 0 && p.workDone > 0) {
            // Force components count at their iteration cap until they
            // settle, so the time left tends to be high early on.
            const double share = static_cast<double>(p.workDone) / p.workTotal;
            std::snprintf(text, sizeof text, ", %.0f%% of work, ~%.0f s left", 100.0 * share,
                          elapsed * (1.0 - share) / share);
            detail += text;
        }
    }
    std::fprintf(stderr, "\rnetloom: %s %d/%d%s\033[K", m_pWhat, m_iDone.load(), total,
                 detail.c_str());
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
