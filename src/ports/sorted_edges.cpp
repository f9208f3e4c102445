#include <netloom/connected_graph.h>

#include "graph/graph_indexes.h"

// Lists the component's edges in the order their ports stand on the nodes, row
// by row, and appends the new ones to the host graph's edge order.
void CConnectedGraph::BuildSortedEdges() {
    if (m_pParentGraph == nullptr) {
        return;
    }
    std::vector<int> ids;
    for (const auto& row : m_mapGridRows) {
        for (const _tagNode& record : row.second) {
            const CNode* node = GetNode(record.nID);
            if (node == nullptr) {
                continue;
            }
            ids.clear();
            node->GetSortedEdges(ids);
            m_pParentGraph->AddSortedEdge(ids, m_iIndex);
        }
    }
}

void CNetworkGraph::AddSortedEdge(std::vector<int>& ids, int graphIndex) {
    Indexes& index = Index();
    if (index.sortedEdgesIndexed != m_vecSortedEdges.size()) {
        index.sortedEdgeIds.Clear();
        for (int id : m_vecSortedEdges) {
            index.sortedEdgeIds.FindOrInsert(netloom::detail::IdKey(id), true);
        }
    }
    for (int id : ids) {
        if (index.sortedEdgeIds.Find(netloom::detail::IdKey(id)) == nullptr) {
            index.sortedEdgeIds.InsertMulti(netloom::detail::IdKey(id), true);
            m_vecSortedEdges.push_back(id);
            m_vecSortedEdgesInGraph.push_back(graphIndex);
        }
    }
    index.sortedEdgesIndexed = m_vecSortedEdges.size();
}

void CNetworkGraph::GetSubNodePosition(int nodeId, int sub, int& side, int& index) const {
    if (const CNode* node = GetNode(nodeId)) {
        node->GetSubNodePosition(sub, side, index);
    }
}
