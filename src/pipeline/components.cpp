#include <netloom/connected_graph.h>
#include <netloom/network_graph.h>
#include <netloom/params.h>

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

void CNetworkGraph::DecomposeGraph() {
    int index = 0;
    for (auto& entry : m_mapNodes) {
        CNode* node = entry.second;
        if (node->IsVisited()) {
            continue;
        }
        CConnectedGraph* comp = ConstructConnectedGraph(node);
        comp->SetLayoutStrategy(m_pLayoutStrategy);
        comp->SetMaxColCount(m_iMaxColCount);
        comp->SetFixedLayoutFlag(m_bFixedLayout);
        comp->SetIndex(index);
        ++index;
        m_setConnectedGraphs.insert(comp);
    }
}

CConnectedGraph* CNetworkGraph::ConstructConnectedGraph(CNode* start) {
    auto* comp = new CConnectedGraph(this, m_nParam, m_iLayoutType);
    comp->AddNodeandNeighbor(start);
    return comp;
}

// Collects the start node's whole connected component: every reachable node, every
// edge incident to one of them, and each node's edge count. Iterative, so long
// chains do not exhaust the stack; the result does not depend on visiting order,
// so the tables are filled afterwards in ascending id, which is cheapest.
void CNetworkGraph::AddNodeandNeighbor(CNode* node) {
    std::vector<CNode*> nodes{node};
    std::vector<CEdge*> edges;
    node->SetVisited(true);
    for (std::size_t next = 0; next < nodes.size(); ++next) {
        CNode* current = nodes[next];
        for (CEdge* e : current->GetEdges()) {
            CNode* other = e->GetSourceNode() == current ? e->GetDestNode() : e->GetSourceNode();
            if (!other->IsVisited()) {
                other->SetVisited(true);
                nodes.push_back(other);
            }
            edges.push_back(e);
        }
    }
    // Sorted as (id, object) pairs, so that the comparisons read no object. Ids
    // are unique within the nodes and within the edges; each edge is met from
    // both of its ends.
    auto sortById = [](auto& list) {
        using Object = typename std::decay_t<decltype(list)>::value_type;
        std::vector<std::pair<int, Object>> keyed;
        keyed.reserve(list.size());
        for (Object item : list) {
            keyed.emplace_back(item->GetID(), item);
        }
        std::sort(keyed.begin(), keyed.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        keyed.erase(std::unique(keyed.begin(), keyed.end()), keyed.end());
        list.clear();
        for (const auto& entry : keyed) {
            list.push_back(entry.second);
        }
    };
    sortById(nodes);
    sortById(edges);
    for (CNode* n : nodes) {
        InsertNodeRecord(n);
        m_mapNodeDegree.emplace_hint(m_mapNodeDegree.end(), n->GetID(),
                                     static_cast<int>(n->GetEdges().size()));
    }
    for (CEdge* e : edges) {
        InsertEdgeRecord(e);
    }
}

CConnectedGraph::CConnectedGraph(CNetworkGraph* parent, int param, int nLayoutType)
    : CNetworkGraph(6, 1), m_pParentGraph(parent), m_iParam(param) {
    m_iLayoutType = nLayoutType;
}

// The nodes and edges belong to the host graph: forget them before the base
// destructor would delete them.
CConnectedGraph::~CConnectedGraph() {
    m_mapNodes.clear();
    m_mapEdges.clear();
}

double CConnectedGraph::FindEdgeSqrLenInParent(int idA, int idB) const {
    if (m_pParentGraph != nullptr) {
        return m_pParentGraph->FindEdgeSqrLen(idA, idB);
    }
    return g_dLayoutDistanceSqr;
}
