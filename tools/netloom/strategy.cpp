#include "strategy.h"

#include <deque>

namespace netloom_cli {

const CConnectedGraph* CommandLineStrategy::ComponentOf(int nodeId) {
    if (m_components.empty()) {
        for (const CConnectedGraph* component : m_graph.GetConnectedGraphs()) {
            for (const auto& entry : component->GetNodeMap()) {
                m_components.emplace(entry.first, component);
            }
        }
    }
    const auto it = m_components.find(nodeId);
    return it == m_components.end() ? nullptr : it->second;
}

bool CommandLineStrategy::GetLevels(std::set<int>& nodeIds,
                                    std::map<int, std::vector<int>>& levels) {
    std::unordered_map<int, int> levelOf;
    for (const auto& [key, ids] : m_mapLevels) {
        for (int id : ids) {
            if (nodeIds.count(id) != 0 && levelOf.emplace(id, key).second) {
                levels[key].push_back(id);
            }
        }
    }
    if (levels.empty()) {
        const CConnectedGraph* component =
            nodeIds.empty() ? nullptr : ComponentOf(*nodeIds.begin());
        return component != nullptr && component->GetDefaultLevels(levels);
    }
    if (levelOf.size() == nodeIds.size()) {
        return true;
    }
    // Breadth first from the listed nodes, in ascending id, over the edges in
    // the order they were added.
    std::deque<int> queue;
    for (int id : nodeIds) {
        if (levelOf.count(id) != 0) {
            queue.push_back(id);
        }
    }
    while (!queue.empty()) {
        const int id = queue.front();
        queue.pop_front();
        const CNode* node = m_graph.GetNode(id);
        for (const CEdge* edge : node->GetEdges()) {
            const CNode* other =
                edge->GetSourceNode() == node ? edge->GetDestNode() : edge->GetSourceNode();
            const int otherId = other->GetID();
            if (nodeIds.count(otherId) != 0 && levelOf.count(otherId) == 0) {
                const int level = levelOf[id] + 1;
                levelOf.emplace(otherId, level);
                levels[level].push_back(otherId);
                ++m_placed;
                queue.push_back(otherId);
            }
        }
    }
    return true;
}

} // namespace netloom_cli
