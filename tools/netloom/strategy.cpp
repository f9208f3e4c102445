#include "strategy.h"

#include <deque>
#include <unordered_map>

namespace netloom_cli {

bool CommandLineStrategy::GetLevels(std::set<int>& nodeIds,
                                    std::map<int, std::vector<int>>& levels) {
    for (const auto& [key, ids] : m_mapLevels) {
        for (int id : ids) {
            if (nodeIds.count(id) != 0) {
                levels[key].push_back(id);
            }
        }
    }
    if (!levels.empty()) {
        return true;
    }
    return DefaultLevels(nodeIds, levels);
}

// Distance from the nearest root, in the component's edges; -1 for nodes the
// roots do not reach. Indexed like the ascending node ids.
std::vector<int> CommandLineStrategy::BreadthFirstLevels(const std::set<int>& nodeIds,
                                                         const std::vector<int>& roots) const {
    std::unordered_map<int, std::size_t> position;
    for (int id : nodeIds) {
        position.emplace(id, position.size());
    }
    std::vector<int> level(nodeIds.size(), -1);
    std::deque<int> queue;
    for (int root : roots) {
        level[position[root]] = 0;
        queue.push_back(root);
    }
    while (!queue.empty()) {
        const int id = queue.front();
        queue.pop_front();
        const CNode* node = m_graph.GetNode(id);
        for (const CEdge* edge : node->GetEdges()) {
            const CNode* other =
                edge->GetSourceNode() == node ? edge->GetDestNode() : edge->GetSourceNode();
            const auto it = position.find(other->GetID());
            if (it != position.end() && level[it->second] < 0) {
                level[it->second] = level[position[id]] + 1;
                queue.push_back(other->GetID());
            }
        }
    }
    return level;
}

// The roots the layout itself would take: for the hierarchy the node with the
// most edges and a runner-up with more than 3/5 of them (at least 2, or a pair
// of nodes); for the tree the node whose farthest node is nearest.
bool CommandLineStrategy::DefaultLevels(const std::set<int>& nodeIds,
                                        std::map<int, std::vector<int>>& levels) const {
    std::vector<int> roots;
    if (m_iLayoutType == CNetworkGraph::m_iHierarchyLayout) {
        int firstCount = 0, secondCount = 0, firstId = -1, secondId = -1;
        for (int id : nodeIds) {
            const int count = static_cast<int>(m_graph.GetNode(id)->GetEdges().size());
            if (count > firstCount) {
                secondCount = firstCount;
                secondId = firstId;
                firstCount = count;
                firstId = id;
            } else if (count > secondCount) {
                secondCount = count;
                secondId = id;
            }
        }
        if (firstId < 0) {
            return false;
        }
        roots.push_back(firstId);
        if (secondCount > firstCount * 3 / 5 && (secondCount >= 2 || nodeIds.size() == 2) &&
            secondId >= 0) {
            roots.push_back(secondId);
        }
    } else {
        int bestDepth = 0xffffff;
        int bestId = -1;
        for (int id : nodeIds) {
            int depth = 0;
            for (int level : BreadthFirstLevels(nodeIds, {id})) {
                depth = level > depth ? level : depth;
            }
            if (bestDepth > depth) {
                bestDepth = depth;
                bestId = id;
            }
        }
        if (bestId < 0) {
            return false;
        }
        roots.push_back(bestId);
    }
    const std::vector<int> level = BreadthFirstLevels(nodeIds, roots);
    std::size_t i = 0;
    for (int id : nodeIds) {
        if (level[i] >= 0) {
            levels[level[i]].push_back(id);
        }
        ++i;
    }
    return true;
}

} // namespace netloom_cli
