#include <netloom/connected_graph.h>

#include "force/force_math.h"
#include "force/force_workspace.h"
#include "force/quad_cells.h"
#include "pipeline/layout_methods.h"
#include "pipeline/progress_report.h"

// Rebuilds the quadrant tree from the nodes' current positions, in ascending id.
void CConnectedGraph::BuildQuadTree() {
    if (m_mapNodes.empty()) {
        return;
    }
    CForceWorkspace workspace(*this, false);
    m_quadTree.m_pGraph = this;
    m_quadTree.m_pRoot = workspace.BuildPointerTree(m_quadTree.Cells());
}

// Force-directed layout (type 1): from the radiant start, or from the host's
// positions with the fixed-layout flag, the free nodes move in damped steps
// under tree-summed repulsion and spring pull until the total energy falls
// below half the node count or 1500 iterations have run. The step starts at
// 0.5 and halves after every ten iterations in a row without a new lowest
// energy. The iteration runs on a flat working copy of the component and
// writes positions and velocities back at the end.
bool CConnectedGraph::ForceDirectedLayout() {
    if (m_mapNodes.size() <= 1) {
        return true;
    }
    if (!m_bFixedLayout) {
        RadiantLayout();
        if (m_pReport != nullptr &&
            m_pReport->Step("RadiantLayout", netloom::ProgressReport::Units(*this))) {
            return true; // stopped with the radiant start
        }
    }
    CForceWorkspace workspace(*this, true);
    workspace.Iterate(m_dEnergy, m_pReport);
    m_quadTree.Clear();
    return true;
}

// The damped iteration on the workspace until the energy falls below half the
// node count or the cap is reached, or the report asks to stop; writes the
// result back to the nodes.
int CForceWorkspace::Iterate(double& energy, netloom::ProgressReport* report) {
    namespace force = netloom::force;
    const double threshold = static_cast<double>(m_nCount / 2);
    double step = force::kStartStep;
    double bestEnergy = force::kStartEnergy;
    int stall = 0;
    int iterations = 0;
    const std::int64_t units = netloom::ProgressReport::Units(m_graph);
    for (int iteration = 0; iteration < force::kMaxIterations; ++iteration) {
        ++iterations;
        IterateOnce(step, energy);
        const bool last = energy < threshold || iterations == force::kMaxIterations;
        if (report != nullptr &&
            report->ForceIteration(iterations, energy, threshold, units, last)) {
            break; // the positions reached so far stand
        }
        if (energy < threshold) {
            break;
        }
        if (energy < bestEnergy) {
            bestEnergy = energy;
            stall = 0;
        } else {
            stall += 1;
        }
        if (stall >= force::kStallLimit) {
            step = step / 2.0;
            stall = 0;
        }
    }
    WriteBack();
    return iterations;
}

// The radiant start and each force iteration up to the cap count as a step.
netloom::LayoutMethod netloom::ForceDirectedMethod() {
    return {CNetworkGraph::m_iForceDirectedLayout, "ForceDirectedLayout",
            &CConnectedGraph::ForceDirectedLayout, 1 + force::kMaxIterations};
}
