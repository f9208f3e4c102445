#pragma once

// The progress line on stderr: components done of all, the step running
// inside the current component, the share of the estimated work done, the
// elapsed time and an estimate of the time left; shown once a layout has run
// for a second (at once with --progress always).

#include <netloom/layout_progress.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace netloom_cli {

class ProgressLine {
public:
    // show: whether to draw at all; delaySeconds: how long to stay quiet first.
    // what: what is counted ("laying out components").
    ProgressLine(bool show, double delaySeconds, const char* what = "laying out components");
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Called by the layout after each component.
    void Update(int done, int total);
    // Called by the layout's progress monitor after each step.
    void Report(const netloom::LayoutProgress& progress);
    // Draws the final state (when anything was drawn) and ends the line.
    void Finish();

private:
    void Run();
    void Draw();

    bool m_bShow;
    const char* m_pWhat;
    double m_dDelay;
    std::chrono::steady_clock::time_point m_start;
    std::atomic<int> m_iDone{0};
    std::atomic<int> m_iTotal{0};
    netloom::LayoutProgress m_step; // the last step reported, under m_stepLock
    bool m_bStepSeen = false;
    std::mutex m_stepLock;
    bool m_bDrawn = false;
    bool m_bStop = false;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace netloom_cli
