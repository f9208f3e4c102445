#include <netloom/connected_graph.h>
#include <netloom/network_graph.h>
#include <netloom/params.h>

#include <queue>

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

CConnectedGraph* CNetworkGraph::ConstructConnectedGraph(CNode* seed) {
    auto* comp = new CConnectedGraph(this, m_nParam, m_iLayoutType);
    comp->AddNodeandNeighbor(seed);
    return comp;
}

// Collects the seed's whole connected component: every reachable node, every
// edge incident to one of them, and each node's edge count. Iterative, so long
// chains do not exhaust the stack; the result does not depend on visiting order.
void CNetworkGraph::AddNodeandNeighbor(CNode* node) {
    std::queue<CNode*> pending;
    AddNode(node);
    node->SetVisited(true);
    pending.push(node);
    while (!pending.empty()) {
        CNode* current = pending.front();
        pending.pop();
        const EdgeSet& edges = current->GetEdges();
        m_mapNodeDegree[current->GetID()] = static_cast<int>(edges.size());
        for (CEdge* e : edges) {
            CNode* other = e->GetSourceNode() == current ? e->GetDestNode() : e->GetSourceNode();
            if (!other->IsVisited()) {
                AddNode(other);
                other->SetVisited(true);
                pending.push(other);
            }
            InsertEdgeRecord(e);
        }
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
