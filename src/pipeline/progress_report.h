#pragma once

// The progress report of one Layout call: counts work units, fills the
// record the host's monitor receives and remembers a stop request.

#include <netloom/layout_progress.h>
#include <netloom/network_graph.h>

#include <cstdint>

namespace netloom {

class ProgressReport {
public:
    // monitor may be empty: the work is still counted, nothing is called.
    ProgressReport(const ProgressMonitor& monitor, int componentCount, std::int64_t totalWork);

    // A component's estimated work, and the end of its layout (the estimate
    // is then replaced by the work done).
    void BeginComponent(int index, std::int64_t budget);
    void EndComponent();
    // A finished step of `work` units. Returns true when the host has asked to stop.
    bool Step(const char* name, std::int64_t work);
    // A finished force iteration of `work` units; `last` when the component's
    // layout ends with it (its estimate then becomes the work done).
    bool ForceIteration(int iteration, double energy, double threshold, std::int64_t work,
                        bool last);
    // What is left of the component's estimate, reported as one step of that name.
    bool Rest(const char* name);

    // The work units of one step over a graph: its nodes and edges, at least 1.
    static std::int64_t Units(const CNetworkGraph& graph) {
        const std::size_t size = graph.GetNodeMap().size() + graph.GetEdgeMap().size();
        return size > 0 ? static_cast<std::int64_t>(size) : 1;
    }

    bool StopRequested() const { return m_bStop; }
    bool StepsInComponent() const { return m_bStepsInComponent; }
    std::int64_t WorkDone() const { return m_record.workDone; }

private:
    bool Report(std::int64_t work, bool last = false);
    void Settle();

    const ProgressMonitor& m_monitor;
    LayoutProgress m_record;
    std::int64_t m_nBudget = 0;
    std::int64_t m_nComponentStart = 0;
    bool m_bStepsInComponent = false;
    bool m_bStop = false;
};

} // namespace netloom
