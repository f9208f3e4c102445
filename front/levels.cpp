#include "levels.h"

#include <algorithm>
#include <deque>

namespace netloom::front {

std::vector<int> LongestPathLevels(std::size_t n,
                                   const std::vector<std::pair<std::size_t, std::size_t>>& edges) {
    std::vector<std::vector<std::size_t>> out(n); // edge indices by source, in file order
    for (std::size_t j = 0; j < edges.size(); ++j) {
        if (edges[j].first != edges[j].second) {
            out[edges[j].first].push_back(j);
        }
    }
    // Depth-first search without recursion; an edge into a node still on the
    // stack goes back and is reversed.
    enum : char { kNew, kOnStack, kDone };
    std::vector<char> state(n, kNew);
    std::vector<char> reversed(edges.size(), 0);
    struct Frame {
        std::size_t node;
        std::size_t next;
    };
    std::vector<Frame> stack;
    for (std::size_t start = 0; start < n; ++start) {
        if (state[start] != kNew) {
            continue;
        }
        state[start] = kOnStack;
        stack.push_back({start, 0});
        while (!stack.empty()) {
            Frame& top = stack.back();
            if (top.next == out[top.node].size()) {
                state[top.node] = kDone;
                stack.pop_back();
                continue;
            }
            const std::size_t j = out[top.node][top.next++];
            const std::size_t to = edges[j].second;
            if (state[to] == kOnStack) {
                reversed[j] = 1;
            } else if (state[to] == kNew) {
                state[to] = kOnStack;
                stack.push_back({to, 0});
            }
        }
    }
    // Longest paths over the acyclic result, sources first (Kahn's order).
    std::vector<std::vector<std::size_t>> next(n);
    std::vector<std::size_t> indegree(n, 0);
    for (std::size_t j = 0; j < edges.size(); ++j) {
        const auto& [source, target] = edges[j];
        if (source == target) {
            continue;
        }
        const std::size_t from = reversed[j] ? target : source;
        const std::size_t to = reversed[j] ? source : target;
        next[from].push_back(to);
        ++indegree[to];
    }
    std::vector<int> level(n, 0);
    std::vector<std::size_t> queue;
    for (std::size_t v = 0; v < n; ++v) {
        if (indegree[v] == 0) {
            queue.push_back(v);
        }
    }
    for (std::size_t k = 0; k < queue.size(); ++k) {
        const std::size_t v = queue[k];
        for (std::size_t w : next[v]) {
            level[w] = std::max(level[w], level[v] + 1);
            if (--indegree[w] == 0) {
                queue.push_back(w);
            }
        }
    }
    return level;
}

const CConnectedGraph* LevelCompleter::ComponentOf(int nodeId) {
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

bool LevelCompleter::Complete(const std::set<int>& nodeIds,
                              std::map<int, std::vector<int>>& levels) {
    std::unordered_map<int, int> levelOf;
    for (const auto& [key, ids] : m_given) {
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

LibraryLevels DirectionLevels(std::size_t n, const std::vector<std::size_t>& sources,
                              const std::vector<std::size_t>& targets) {
    std::vector<std::pair<std::size_t, std::size_t>> edges(sources.size());
    for (std::size_t j = 0; j < edges.size(); ++j) {
        edges[j] = {sources[j], targets[j]};
    }
    const std::vector<int> level = LongestPathLevels(n, edges);
    LibraryLevels levels;
    for (std::size_t v = 0; v < n; ++v) {
        levels[level[v]].push_back(static_cast<int>(v + 1));
    }
    return levels;
}

} // namespace netloom::front
