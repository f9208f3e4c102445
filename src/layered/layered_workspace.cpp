#include "layered/layered_workspace.h"

#include <netloom/network_graph.h>

#include "layered/column_limit.h"

#include <algorithm>

CLayeredLayout::CLayeredLayout(CNetworkGraph* graph, int colUnit)
    : m_pGraph(graph), m_iMaxColCount(kNoColumnLimit), m_iColUnit(colUnit) {
    if (m_pGraph != nullptr && m_pGraph->GetMaxColCount() > 0) {
        m_iMaxColCount = m_pGraph->GetMaxColCount();
    }
    BuildIDMap(std::set<int>());
    if (m_pGraph != nullptr && !m_pGraph->GetNodeMap().empty()) {
        const auto& nodes = m_pGraph->GetNodeMap();
        const long long top = ToLayoutID(nodes.rbegin()->first);
        if (top > 0 && top <= 4 * static_cast<long long>(nodes.size()) + 64) {
            m_vecLayerNodeById.assign(static_cast<std::size_t>(top) + 1, nullptr);
        }
    }
    m_pRoot = GetOrCreateLayerNode(0, -1);
}

CLayeredLayout::~CLayeredLayout() = default;

CLayerNode* CLayeredLayout::GetOrCreateLayerNode(int id, int level) {
    CLayerNode* node = FindLayerNode(id);
    if (node == nullptr) {
        return CreateLayerNode(id, level);
    }
    if (node->m_iLevel > m_iMaxLevel) {
        m_iMaxLevel = node->m_iLevel;
    }
    return node;
}

CLayerNode* CLayeredLayout::CreateLayerNode(int id, int level) {
    CLayerNode* node = &m_layerNodeStore.emplace_back(id, level);
    m_mapLayerNodes.push_back(node);
    if (id > 0 && static_cast<std::size_t>(id) < m_vecLayerNodeById.size()) {
        m_vecLayerNodeById[static_cast<std::size_t>(id)] = node;
    } else {
        m_mapLayerNodeIndex.InsertMulti(netloom::detail::IdKey(id), node);
    }
    if (node->m_iLevel > m_iMaxLevel) {
        m_iMaxLevel = node->m_iLevel;
    }
    return node;
}

CLayerNode* CLayeredLayout::FindLayerNode(int id) const {
    if (id > 0 && static_cast<std::size_t>(id) < m_vecLayerNodeById.size()) {
        return m_vecLayerNodeById[static_cast<std::size_t>(id)];
    }
    CLayerNode* const* found = m_mapLayerNodeIndex.Find(netloom::detail::IdKey(id));
    return found == nullptr ? nullptr : *found;
}

std::vector<CLayerNode*> CLayeredLayout::GetLayerNodesById() const {
    // Sorted as (id, node) pairs: the comparisons read no node. Ids are unique.
    std::vector<std::pair<int, CLayerNode*>> keyed;
    keyed.reserve(m_mapLayerNodes.size());
    for (CLayerNode* node : m_mapLayerNodes) {
        keyed.emplace_back(node->m_iID, node);
    }
    std::sort(keyed.begin(), keyed.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<CLayerNode*> nodes;
    nodes.reserve(keyed.size());
    for (const auto& entry : keyed) {
        nodes.push_back(entry.second);
    }
    return nodes;
}

bool CLayeredLayout::IsLayoutEdge(int edgeID) const {
    if (!m_vecLayoutEdgeFlags.empty()) {
        const long long slot = static_cast<long long>(edgeID) - m_iLayoutEdgeBase;
        return slot >= 0 && slot < static_cast<long long>(m_vecLayoutEdgeFlags.size()) &&
               m_vecLayoutEdgeFlags[static_cast<std::size_t>(slot)] != 0;
    }
    return std::binary_search(m_setLayoutEdges.begin(), m_setLayoutEdges.end(), edgeID);
}

void CLayeredLayout::BuildIDMap(const std::set<int>& extraIDs) {
    m_vecHostIDs.clear();
    bool positive = extraIDs.empty() || *extraIDs.begin() > 0;
    if (m_pGraph != nullptr) {
        const auto& nodes = m_pGraph->GetNodeMap();
        if (!nodes.empty() && nodes.begin()->first <= 0) {
            positive = false;
        }
    }
    if (positive) {
        return; // identity
    }
    if (m_pGraph != nullptr) {
        for (const auto& entry : m_pGraph->GetNodeMap()) {
            m_vecHostIDs.push_back(entry.first);
        }
    }
    m_vecHostIDs.insert(m_vecHostIDs.end(), extraIDs.begin(), extraIDs.end());
    std::sort(m_vecHostIDs.begin(), m_vecHostIDs.end());
    m_vecHostIDs.erase(std::unique(m_vecHostIDs.begin(), m_vecHostIDs.end()), m_vecHostIDs.end());
}

int CLayeredLayout::ToLayoutID(int hostID) const {
    if (m_vecHostIDs.empty()) {
        return hostID;
    }
    auto found = std::lower_bound(m_vecHostIDs.begin(), m_vecHostIDs.end(), hostID);
    return static_cast<int>(found - m_vecHostIDs.begin()) + 1;
}

int CLayeredLayout::ToHostID(int layoutID) const {
    if (m_vecHostIDs.empty() || layoutID < 1 || layoutID > static_cast<int>(m_vecHostIDs.size())) {
        return layoutID;
    }
    return m_vecHostIDs[static_cast<std::size_t>(layoutID) - 1];
}

CNode* CLayeredLayout::FindGraphNode(int layoutID) const {
    if (m_pGraph == nullptr || layoutID <= 0) {
        return nullptr; // the virtual root and the dummies
    }
    return m_pGraph->GetNode(ToHostID(layoutID));
}
