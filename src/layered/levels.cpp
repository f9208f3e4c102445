#include "layered/layered_workspace.h"

#include <netloom/edge.h>
#include <netloom/network_graph.h>
#include <netloom/node.h>

#include <algorithm>

// One layout edge per pair of joined nodes: the lowest edge id of the pair.
bool CLayeredLayout::CollectLayoutEdges() {
    if (m_pGraph == nullptr) {
        return true;
    }
    // Edges come in ascending id, so the ids are appended in order.
    m_setLayoutEdges.clear();
    const auto& edges = m_pGraph->GetEdgeMap();
    netloom::detail::FlatHashMap<char> pairs;
    pairs.Reserve(edges.size());
    for (const auto& entry : edges) {
        const CEdge* e = entry.second;
        if (e == nullptr || e->GetSourceNode() == nullptr || e->GetDestNode() == nullptr) {
            continue;
        }
        const std::uint64_t key =
            netloom::detail::PairKey(e->GetSourceNode()->GetID(), e->GetDestNode()->GetID());
        char& seen = pairs.FindOrInsert(key, 0);
        if (seen == 0) {
            seen = 1;
            m_setLayoutEdges.push_back(entry.first);
        }
    }
    // Flags by id for the lookups of the level walks, when the edge ids do not
    // spread far beyond their count.
    m_vecLayoutEdgeFlags.clear();
    if (!edges.empty()) {
        const long long low = edges.begin()->first;
        const long long span = static_cast<long long>(edges.rbegin()->first) - low + 1;
        if (span <= 4 * static_cast<long long>(edges.size()) + 64) {
            m_iLayoutEdgeBase = static_cast<std::int32_t>(low);
            m_vecLayoutEdgeFlags.assign(static_cast<std::size_t>(span), 0);
            for (int id : m_setLayoutEdges) {
                m_vecLayoutEdgeFlags[static_cast<std::size_t>(id - low)] = 1;
            }
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
    // The children met from one node, linked after its edges are read so that
    // its child list grows once.
    std::vector<CLayerNode*> children;
    while (!queue.empty()) {
        CLayerNode* u = queue.front();
        queue.pop();
        CNode* node = u->m_pGraphNode != nullptr ? u->m_pGraphNode : FindGraphNode(u->m_iID);
        if (node == nullptr || expanded.Holds(u->m_iWalkMark)) {
            continue;
        }
        children.clear();
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
            CLayerNode* v = known;
            if (v == nullptr) {
                v = CreateLayerNode(otherID, u->m_iLevel + 1);
                v->m_pGraphNode = other;
            } else if (v->m_iLevel > m_iMaxLevel) {
                m_iMaxLevel = v->m_iLevel;
            }
            if (v->m_iLevel == u->m_iLevel) {
                u->AddSibling(v);
                v->AddSibling(u);
            } else if (v->m_iLevel > u->m_iLevel) {
                children.push_back(v);
            }
        }
        u->m_vecChildren.reserve(u->m_vecChildren.size() + children.size());
        for (CLayerNode* v : children) {
            LinkParentChild(u, v);
            queue.push(v);
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
    // Ids without gaps (the usual case) index directly.
    const bool dense =
        static_cast<long long>(ids.back()) - ids.front() + 1 == static_cast<long long>(ids.size());
    auto indexOf = [&ids, dense](int id) {
        if (dense) {
            const long long slot = static_cast<long long>(id) - ids.front();
            return slot >= 0 && slot < static_cast<long long>(ids.size()) ? static_cast<int>(slot)
                                                                          : -1;
        }
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
