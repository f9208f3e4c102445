#include <netloom/connected_graph.h>

#include "force/force_workspace.h"

// Rebuilds the quadrant tree from the nodes' current positions, in ascending id.
void CConnectedGraph::BuildQuadTree() {
    if (m_mapNodes.empty()) {
        return;
    }
    CForceWorkspace workspace(*this, false);
    workspace.BuildPointerTree(m_quadTree);
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
    }
    CForceWorkspace workspace(*this, true);
    workspace.Iterate(m_quadTree, m_dEnergy);
    m_quadTree.Clear();
    return true;
}
