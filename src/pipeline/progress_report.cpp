#include "pipeline/progress_report.h"

#include "force/force_math.h"

namespace netloom {

ProgressReport::ProgressReport(const ProgressMonitor& monitor, int componentCount,
                               std::int64_t totalWork)
    : m_monitor(monitor) {
    m_record.componentCount = componentCount;
    m_record.workTotal = totalWork;
}

void ProgressReport::BeginComponent(int index, std::int64_t budget) {
    m_record.component = index;
    m_nBudget = budget;
    m_nComponentStart = m_record.workDone;
    m_bStepsInComponent = false;
}

void ProgressReport::EndComponent() {
    Settle();
}

// The component's estimate becomes the work it has done.
void ProgressReport::Settle() {
    const std::int64_t spent = m_record.workDone - m_nComponentStart;
    m_record.workTotal += spent - m_nBudget;
    m_nBudget = spent;
}

bool ProgressReport::Step(const char* name, std::int64_t work) {
    m_record.step = name;
    m_record.iteration = 0;
    m_record.maxIterations = 0;
    m_record.energy = 0.0;
    m_record.threshold = 0.0;
    return Report(work);
}

bool ProgressReport::ForceIteration(int iteration, double energy, double threshold,
                                    std::int64_t work, bool last) {
    m_record.step = "ForceDirectedLayout";
    m_record.iteration = iteration;
    m_record.maxIterations = force::kMaxIterations;
    m_record.energy = energy;
    m_record.threshold = threshold;
    return Report(work, last);
}

bool ProgressReport::Rest(const char* name) {
    const std::int64_t spent = m_record.workDone - m_nComponentStart;
    return Step(name, m_nBudget > spent ? m_nBudget - spent : 0);
}

bool ProgressReport::Report(std::int64_t work, bool last) {
    m_bStepsInComponent = true;
    m_record.workDone += work;
    // A step beyond the estimate raises the total with it.
    if (last || m_record.workDone - m_nComponentStart > m_nBudget) {
        Settle();
    }
    if (!m_bStop && m_monitor) {
        m_bStop = m_monitor(m_record);
    }
    return m_bStop;
}

} // namespace netloom
