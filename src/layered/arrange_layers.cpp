#include "layered/layered_workspace.h"

#include <netloom/layout_strategy.h>
#include <netloom/network_graph.h>

using netloom::layered::HookAnswer;
using netloom::layered::LayeredStep;

const std::vector<LayeredStep>& CLayeredLayout::Steps() {
    static const std::vector<LayeredStep> steps = {
        {"CollectLayoutEdges", &CLayeredLayout::CollectLayoutEdges},
        {"ChooseLevels", &CLayeredLayout::ChooseLevels},
        {"OrderChildrenCenterOut", &CLayeredLayout::OrderChildrenCenterOut},
        {"AttachDetachedParts", &CLayeredLayout::AttachDetachedParts},
        {"GroupSiblingNeighbours", &CLayeredLayout::GroupSiblingNeighbours},
        {"BalanceIsolatedLeaves", &CLayeredLayout::BalanceIsolatedLeaves},
        {"GatherSharedChildParents", &CLayeredLayout::GatherSharedChildParents},
        {"GatherNeighbourGroups", &CLayeredLayout::GatherNeighbourGroups},
        {"SplitIntoTwoGroups", &CLayeredLayout::SplitIntoTwoGroups},
        {"AssignGridPositions", &CLayeredLayout::AssignGridPositions},
        {"MeasureGridExtents", &CLayeredLayout::MeasureGridExtents},
    };
    return steps;
}

// The layering pipeline. The first step that fails ends it; a hook, when set,
// is asked before and after every step.
bool CLayeredLayout::ArrangeLayers() {
    if (m_pGraph == nullptr) {
        return false;
    }
    for (const LayeredStep& step : Steps()) {
        const HookAnswer before = m_stepHook ? m_stepHook(*this, step, false) : HookAnswer::Go;
        if (before == HookAnswer::Stop) {
            return false;
        }
        if (before == HookAnswer::Go && !(this->*step.run)()) {
            return false;
        }
        if (m_stepHook && m_stepHook(*this, step, true) == HookAnswer::Stop) {
            return false;
        }
    }
    return true;
}

// Without a strategy the default levels; with one, the levels it supplies. A
// strategy that declines leaves only the virtual root, one that answers with no
// levels ends the pipeline.
bool CLayeredLayout::ChooseLevels() {
    CLayoutStrategy* strategy = m_pGraph == nullptr ? nullptr : m_pGraph->GetLayoutStrategy();
    if (strategy == nullptr) {
        return AssignLevels();
    }
    std::set<int> nodeIDs;
    for (const auto& entry : m_pGraph->GetNodeMap()) {
        nodeIDs.insert(nodeIDs.end(), entry.first);
    }
    std::map<int, std::vector<int>> levels;
    if (!strategy->GetLevels(nodeIDs, levels)) {
        return true;
    }
    if (levels.empty()) {
        return false;
    }
    return ApplyStrategyLevels(levels) && LinkStrategyLevels();
}

bool CLayeredLayout::MeasureGridExtents() {
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
