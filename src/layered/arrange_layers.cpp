#include "layered/layered_workspace.h"

#include <netloom/layout_strategy.h>
#include <netloom/network_graph.h>

// The layering pipeline. The first step that fails ends it.
bool CLayeredLayout::ArrangeLayers() {
    if (m_pGraph == nullptr) {
        return false;
    }
    if (!CollectLayoutEdges()) {
        return false;
    }

    CLayoutStrategy* strategy = m_pGraph->GetLayoutStrategy();
    if (strategy == nullptr) {
        if (!AssignLevels()) {
            return false;
        }
    } else {
        std::set<int> nodeIDs;
        for (const auto& entry : m_pGraph->GetNodeMap()) {
            nodeIDs.insert(nodeIDs.end(), entry.first);
        }
        std::map<int, std::vector<int>> levels;
        if (strategy->GetLevels(nodeIDs, levels)) {
            if (levels.empty()) {
                return false;
            }
            if (!ApplyStrategyLevels(levels) || !LinkStrategyLevels()) {
                return false;
            }
        }
        // A strategy that declines leaves only the virtual root.
    }

    if (!OrderChildrenCenterOut() || !AttachDetachedParts() || !GroupSiblingNeighbours() ||
        !BalanceIsolatedLeaves() || !GatherSharedChildParents() || !GatherNeighbourGroups()) {
        return false;
    }
    if (!SplitIntoTwoGroups()) {
        return false;
    }
    if (!AssignGridPositions()) {
        return false;
    }

    for (const CLayerNode* node : m_mapLayerNodes) {
        if (node->m_iRow > m_iMaxRow) {
            m_iMaxRow = node->m_iRow;
        }
        if (node->m_iCol > m_iMaxCol) {
            m_iMaxCol = node->m_iCol;
        }
    }
    return true;
}
