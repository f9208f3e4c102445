#include "layered/layered_workspace.h"

#include <netloom/edge.h>
#include <netloom/network_graph.h>
#include <netloom/node.h>

#include <algorithm>
#include <unordered_set>

// One layout edge per pair of joined nodes: the lowest edge id of the pair.
bool CLayeredLayout::CollectLayoutEdges() {
    if (m_pGraph == nullptr) {
        return true;
    }
    // Edges come in ascending id, so the ids are appended in order.
    m_setLayoutEdges.clear();
    const auto& edges = m_pGraph->GetEdgeMap();
    std::unordered_set<std::uint64_t> pairs;
    pairs.reserve(edges.size());
    for (const auto& entry : edges) {
        const CEdge* e = entry.second;
        if (e == nullptr || e->GetSourceNode() == nullptr || e->GetDestNode() == nullptr) {
            continue;
        }
        const std::uint64_t key =
            netloom::detail::PairKey(e->GetSourceNode()->GetID(), e->GetDestNode()->GetID());
        if (pairs.insert(key).second) {
            m_setLayoutEdges.push_back(entry.first);
        }
    }
    return true;
}

bool CLayeredLayout::AssignLevels() {
    if (m_pGraph == nullptr) {
        return true;
    }
    std::queue<CLayerNode*> queue;
    if (m_pGraph->GetLayoutType() != CNetworkGraph::m_iHierarchyLayout) {
        ChooseTreeRoot(queue);
    } else {
        ChooseHierarchyRoots(queue);
    }
    return AssignLevelsBreadthFirst(queue);
}

// Breadth-first levels from the queued roots over the layout edges, each edge
// crossed once. A node that is queued again (one turn per parent) was expanded
// on its first turn, so an edge is crossed exactly when its other end has been
// expanded already in this call.
bool CLayeredLayout::AssignLevelsBreadthFirst(std::queue<CLayerNode*>& queue) {
    if (m_pGraph == nullptr) {
        return true;
    }
    const netloom::layered::PassMark expanded = NewWalkMark();
    while (!queue.empty()) {
        CLayerNode* u = queue.front();
        queue.pop();
        CNode* node = FindGraphNode(u->m_iID);
        if (node == nullptr || expanded.Holds(u->m_iWalkMark)) {
            continue;
        }
        for (CEdge* e : node->GetEdges()) {
            if (!IsLayoutEdge(e->GetID())) {
                continue;
            }
            CNode* other = e->GetSourceNode() == node ? e->GetDestNode() : e->GetSourceNode();
            const int otherID = ToLayoutID(other->GetID());
            CLayerNode* known = FindLayerNode(otherID);
            if (known != nullptr && known != u && expanded.Holds(known->m_iWalkMark)) {
                continue; // crossed from the other end
            }
            CLayerNode* v = GetOrCreateLayerNode(otherID, u->m_iLevel + 1);
            if (v->m_iLevel == u->m_iLevel) {
                u->AddSibling(v);
                v->AddSibling(u);
            } else if (v->m_iLevel > u->m_iLevel) {
                LinkParentChild(u, v);
                queue.push(v);
            }
        }
        expanded.Set(u->m_iWalkMark);
    }
    return true;
}

// The tree root: the node whose farthest node is nearest, the lowest id among
// equals. Computed from eccentricity bounds instead of one search per node.
bool CLayeredLayout::ChooseTreeRoot(std::queue<CLayerNode*>& roots) {
    if (m_pGraph == nullptr) {
        return true;
    }
    std::vector<int> ids; // host ids of the candidates, ascending
    for (const auto& entry : m_pGraph->GetNodeMap()) {
        if (entry.second != nullptr) {
            ids.push_back(entry.first);
        }
    }
    if (ids.empty()) {
        return true;
    }
    auto indexOf = [&ids](int id) {
        auto found = std::lower_bound(ids.begin(), ids.end(), id);
        return found != ids.end() && *found == id ? static_cast<int>(found - ids.begin()) : -1;
    };

    // Layout edges between two different candidates, as index pairs.
    std::vector<std::pair<int, int>> pairs;
    for (const auto& entry : m_pGraph->GetEdgeMap()) {
        const CEdge* e = entry.second;
        if (!IsLayoutEdge(entry.first) || e->GetSourceNode() == e->GetDestNode()) {
            continue;
        }
        const int a = indexOf(e->GetSourceNode()->GetID());
        const int b = indexOf(e->GetDestNode()->GetID());
        if (a >= 0 && b >= 0) {
            pairs.emplace_back(a, b);
        }
    }
    netloom::layered::Adjacency graph;
    graph.start.assign(ids.size() + 1, 0);
    for (const auto& p : pairs) {
        ++graph.start[static_cast<std::size_t>(p.first) + 1];
        ++graph.start[static_cast<std::size_t>(p.second) + 1];
    }
    for (std::size_t i = 1; i < graph.start.size(); ++i) {
        graph.start[i] += graph.start[i - 1];
    }
    graph.to.resize(2 * pairs.size());
    std::vector<int> fill(graph.start.begin(), graph.start.end() - 1);
    for (const auto& p : pairs) {
        graph.to[static_cast<std::size_t>(fill[static_cast<std::size_t>(p.first)]++)] = p.second;
        graph.to[static_cast<std::size_t>(fill[static_cast<std::size_t>(p.second)]++)] = p.first;
    }

    int depth = 0;
    const int best = netloom::layered::MinEccentricityNode(graph, depth);
    m_iMaxLevel = 0;
    if (best >= 0 && depth < 0xffffff) {
        CLayerNode* root = GetOrCreateLayerNode(ToLayoutID(ids[static_cast<std::size_t>(best)]), 0);
        LinkParentChild(m_pRoot, root);
        roots.push(root);
    }
    return true;
}

// The hierarchy roots: the node with the most edges, and the runner-up when it
// has more than 60% of the leader's count (and at least 2), or when the
// component is a single pair.
bool CLayeredLayout::ChooseHierarchyRoots(std::queue<CLayerNode*>& roots) {
    if (m_pGraph == nullptr) {
        return true;
    }
    int firstCount = 0;
    int secondCount = 0;
    int firstID = 0;
    int secondID = 0;
    bool hasFirst = false;
    bool hasSecond = false;
    for (const auto& entry : m_pGraph->GetNodeDegreeMap()) {
        if (entry.second > firstCount) {
            secondCount = firstCount;
            secondID = firstID;
            hasSecond = hasFirst;
            firstCount = entry.second;
            firstID = entry.first;
            hasFirst = true;
        } else if (entry.second > secondCount) {
            secondCount = entry.second;
            secondID = entry.first;
            hasSecond = true;
        }
    }
    const auto& nodes = m_pGraph->GetNodeMap();
    if (hasFirst && nodes.count(firstID) != 0) {
        CLayerNode* root = GetOrCreateLayerNode(ToLayoutID(firstID), 0);
        LinkParentChild(m_pRoot, root);
        roots.push(root);
    }
    if (secondCount <= (firstCount * 3) / 5) {
        return true;
    }
    if (secondCount < 2 && nodes.size() != 2) {
        return true;
    }
    if (hasSecond && nodes.count(secondID) != 0) {
        CLayerNode* root = GetOrCreateLayerNode(ToLayoutID(secondID), 0);
        LinkParentChild(m_pRoot, root);
        roots.push(root);
    }
    return true;
}
