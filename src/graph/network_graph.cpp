#include <netloom/connected_graph.h>
#include <netloom/network_graph.h>
#include <netloom/params.h>

#include "graph/graph_indexes.h"
#include "graph/point_bounds.h"

#include <algorithm>
#include <unordered_map>

using netloom::detail::IdKey;
using netloom::detail::PairKey;

namespace {

template <class T> std::vector<T*> InCreationOrder(const std::map<int, T*>& table) {
    std::vector<T*> objects;
    objects.reserve(table.size());
    for (const auto& entry : table) {
        objects.push_back(entry.second);
    }
    std::sort(objects.begin(), objects.end(), netloom::CreationOrderLess());
    return objects;
}

// The square of the host's integer length as a 32-bit product: wraps like the
// 32-bit multiplication it stands for instead of overflowing.
double SquareOfLength(int length) {
    const std::int64_t wide = static_cast<std::int64_t>(length) * length;
    return static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(wide)));
}

} // namespace

CNetworkGraph::CNetworkGraph(int nParam, int nLayoutType)
    : m_iLayoutType(nLayoutType), m_nParam(nParam) {}

CNetworkGraph::CNetworkGraph(const CNetworkGraph& other)
    : m_iLayoutType(other.m_iLayoutType), m_nParam(other.m_nParam) {
    CopyFrom(other);
}

CNetworkGraph& CNetworkGraph::operator=(const CNetworkGraph& other) {
    if (this != &other) {
        CNetworkGraph copy(other);
        Swap(copy);
    }
    return *this;
}

CNetworkGraph::CNetworkGraph(CNetworkGraph&& other) noexcept
    : m_iLayoutType(other.m_iLayoutType), m_nParam(other.m_nParam) {
    Swap(other);
}

CNetworkGraph& CNetworkGraph::operator=(CNetworkGraph&& other) noexcept {
    if (this != &other) {
        CNetworkGraph moved(std::move(other));
        Swap(moved);
    }
    return *this;
}

CNetworkGraph::~CNetworkGraph() {
    DeleteOwnedObjects();
}

void CNetworkGraph::DeleteOwnedObjects() {
    for (auto& entry : m_mapNodes) {
        delete entry.second;
    }
    for (auto& entry : m_mapEdges) {
        delete entry.second;
    }
    DeleteConnectedGraphs();
    m_mapNodes.clear();
    m_mapEdges.clear();
    m_pIndexes.reset();
}

void CNetworkGraph::DeleteConnectedGraphs() {
    for (CConnectedGraph* comp : m_setConnectedGraphs) {
        delete comp;
    }
    m_setConnectedGraphs.clear();
}

void CNetworkGraph::Swap(CNetworkGraph& other) noexcept {
    std::swap(m_mapNodes, other.m_mapNodes);
    std::swap(m_mapEdges, other.m_mapEdges);
    std::swap(m_mapNodeDegree, other.m_mapNodeDegree);
    std::swap(m_bUnjoinedSqrLenPairs, other.m_bUnjoinedSqrLenPairs);
    std::swap(m_dEnergy, other.m_dEnergy);
    std::swap(m_iLayoutType, other.m_iLayoutType);
    std::swap(m_bFixedLayout, other.m_bFixedLayout);
    std::swap(m_setConnectedGraphs, other.m_setConnectedGraphs);
    std::swap(m_vecSortedEdges, other.m_vecSortedEdges);
    std::swap(m_vecSortedEdgesInGraph, other.m_vecSortedEdgesInGraph);
    std::swap(m_pLayoutStrategy, other.m_pLayoutStrategy);
    std::swap(m_iMaxColCount, other.m_iMaxColCount);
    std::swap(m_nParam, other.m_nParam);
    std::swap(m_iLayoutThreads, other.m_iLayoutThreads);
    std::swap(m_fnProgress, other.m_fnProgress);
    std::swap(m_fnMonitor, other.m_fnMonitor);
    std::swap(m_bLayoutStopped, other.m_bLayoutStopped);
    std::swap(m_nLayoutWork, other.m_nLayoutWork);
    std::swap(m_pIndexes, other.m_pIndexes);
}

// Objects are copied in creation order, so the copies' sets iterate in the same
// order as the originals'.
void CNetworkGraph::CopyFrom(const CNetworkGraph& other) {
    std::unordered_map<const CNode*, CNode*> nodeCopies;
    for (CNode* node : InCreationOrder(other.m_mapNodes)) {
        auto* copy = new CNode(*node);
        copy->m_setEdges.clear();
        nodeCopies.emplace(node, copy);
        InsertNodeRecord(copy);
    }
    std::unordered_map<const CEdge*, CEdge*> edgeCopies;
    for (CEdge* edge : InCreationOrder(other.m_mapEdges)) {
        auto* copy = new CEdge(*edge);
        copy->m_pSource = nodeCopies.at(edge->m_pSource);
        copy->m_pDest = nodeCopies.at(edge->m_pDest);
        edgeCopies.emplace(edge, copy);
        InsertEdgeRecord(copy);
    }
    for (const auto& entry : nodeCopies) {
        for (CEdge* edge : entry.first->m_setEdges) {
            auto found = edgeCopies.find(edge);
            if (found != edgeCopies.end()) {
                entry.second->m_setEdges.insert(found->second);
            }
        }
    }
    m_mapNodeDegree = other.m_mapNodeDegree;
    if (other.m_pIndexes) {
        Index().edgeSqrLen = other.m_pIndexes->edgeSqrLen;
    }
    m_bUnjoinedSqrLenPairs = other.m_bUnjoinedSqrLenPairs;
    m_dEnergy = other.m_dEnergy;
    m_bFixedLayout = other.m_bFixedLayout;
    m_vecSortedEdges = other.m_vecSortedEdges;
    m_vecSortedEdgesInGraph = other.m_vecSortedEdgesInGraph;
    m_pLayoutStrategy = other.m_pLayoutStrategy;
    m_iMaxColCount = other.m_iMaxColCount;
    m_iLayoutThreads = other.m_iLayoutThreads;
    m_fnProgress = other.m_fnProgress;
    m_fnMonitor = other.m_fnMonitor;
    m_bLayoutStopped = other.m_bLayoutStopped;
    m_nLayoutWork = other.m_nLayoutWork;
}

bool CNetworkGraph::AddNode(CNode* node) {
    return node != nullptr && InsertNodeRecord(node);
}

bool CNetworkGraph::AddNode(int id, double x, double y, bool fixed) {
    if (GetNode(id) != nullptr) {
        return false;
    }
    InsertNodeRecord(new CNode(id, x, y, fixed));
    return true;
}

void CNetworkGraph::Reserve(std::size_t nodes, std::size_t edges) {
    Indexes& index = Index();
    index.nodeIndex.Reserve(nodes);
    // At most one squared length per edge.
    index.edgeSqrLen.Reserve(edges);
    if (index.pairIndexBuilt) {
        index.edgesByPair.Reserve(edges);
    }
}

bool CNetworkGraph::InsertNodeRecord(CNode* node) {
    const int id = node->GetID();
    auto& nodeIndex = Index().nodeIndex;
    if (nodeIndex.Find(IdKey(id)) != nullptr) {
        return false;
    }
    nodeIndex.InsertMulti(IdKey(id), node);
    // Ascending ids, the usual case, append at the end without a search.
    if (m_mapNodes.empty() || m_mapNodes.rbegin()->first < id) {
        m_mapNodes.emplace_hint(m_mapNodes.end(), id, node);
    } else {
        m_mapNodes.emplace(id, node);
    }
    return true;
}

void CNetworkGraph::InsertEdgeRecord(CEdge* e) {
    // Ascending ids, the usual case, append at the end without a search.
    const int id = e->GetID();
    if (m_mapEdges.empty() || m_mapEdges.rbegin()->first < id) {
        m_mapEdges.emplace_hint(m_mapEdges.end(), id, e);
    } else if (!m_mapEdges.emplace(id, e).second) {
        return;
    }
    if (Index().pairIndexBuilt) {
        Index().edgesByPair.InsertMulti(PairKey(e->m_pSource->GetID(), e->m_pDest->GetID()), e);
    }
}

void CNetworkGraph::EraseEdgeRecord(CEdge* e) {
    m_mapEdges.erase(e->GetID());
    if (!Index().pairIndexBuilt) {
        return;
    }
    Index().edgesByPair.Erase(PairKey(e->m_pSource->GetID(), e->m_pDest->GetID()), e);
}

void CNetworkGraph::EnsurePairIndex() const {
    Indexes& index = Index();
    if (index.pairIndexBuilt) {
        return;
    }
    index.edgesByPair.Reserve(m_mapEdges.size());
    for (const auto& entry : m_mapEdges) {
        CEdge* e = entry.second;
        index.edgesByPair.InsertMulti(PairKey(e->m_pSource->GetID(), e->m_pDest->GetID()), e);
    }
    index.pairIndexBuilt = true;
}

bool CNetworkGraph::AddEdge(int id, int sourceID, int destID, int length, int sourceSubNodeID,
                            int destSubNodeID, bool rejectDuplicate) {
    CNode* source = GetNode(sourceID);
    CNode* dest = GetNode(destID);
    // An id above every id in use, the usual case, is free without a search.
    const bool newHighest = m_mapEdges.empty() || m_mapEdges.rbegin()->first < id;
    if (source == nullptr || dest == nullptr || (!newHighest && GetEdge(id) != nullptr)) {
        return false;
    }
    auto* edge = new CEdge(id, source, dest, sourceSubNodeID, destSubNodeID);
    if (rejectDuplicate && IsEdgeExist(edge)) {
        delete edge;
        return false;
    }
    // The graph changes, so the components of the last layout no longer describe it.
    DeleteConnectedGraphs();
    source->AddEdge(edge);
    dest->AddEdge(edge);
    edge->SetNormalLength(static_cast<double>(length));
    InsertEdgeRecord(edge);
    Index().edgeSqrLen.FindOrInsert(PairKey(sourceID, destID), 0.0) = SquareOfLength(length);
    return true;
}

// Any equal edge joins the same two nodes, so only their bucket is searched.
bool CNetworkGraph::IsEdgeExist(CEdge* e) const {
    EnsurePairIndex();
    bool found = false;
    Index().edgesByPair.ForEach(PairKey(e->m_pSource->GetID(), e->m_pDest->GetID()),
                                [&](CEdge* other) {
                                    found = *other == *e;
                                    return !found;
                                });
    return found;
}

bool CNetworkGraph::DeleteEdge(int id) {
    CEdge* edge = GetEdge(id);
    if (edge == nullptr) {
        return false;
    }
    DeleteConnectedGraphs();
    edge->BreakEdge();
    EraseEdgeRecord(edge);
    // The table keeps the pair's squared length. While every stored pair is
    // joined by an edge, a pair without an edge has D squared and the force
    // layout need not look it up; once one is not, it looks up every pair.
    m_bUnjoinedSqrLenPairs =
        m_bUnjoinedSqrLenPairs || FindEdge(edge->m_pSource, edge->m_pDest) == nullptr;
    delete edge;
    return true;
}

bool CNetworkGraph::DeleteNode(int id) {
    CNode* node = GetNode(id);
    if (node == nullptr) {
        return false;
    }
    DeleteConnectedGraphs();
    // Copy first: deleting an edge removes it from the node's own set.
    const std::vector<CEdge*> incident(node->m_setEdges.begin(), node->m_setEdges.end());
    for (CEdge* edge : incident) {
        if (GetEdge(edge->GetID()) == edge) {
            DeleteEdge(edge->GetID());
        }
    }
    m_mapNodes.erase(id);
    Index().nodeIndex.Erase(IdKey(id), node);
    delete node;
    return true;
}

// The edge with the lowest id whose ends are a and b in either direction.
CEdge* CNetworkGraph::FindEdge(CNode* a, CNode* b) const {
    if (a == nullptr || b == nullptr) {
        return nullptr;
    }
    EnsurePairIndex();
    CEdge* best = nullptr;
    Index().edgesByPair.ForEach(PairKey(a->GetID(), b->GetID()), [&](CEdge* e) {
        const bool joins =
            (e->m_pSource == a && e->m_pDest == b) || (e->m_pSource == b && e->m_pDest == a);
        if (joins && (best == nullptr || e->GetID() < best->GetID())) {
            best = e;
        }
        return true;
    });
    return best;
}

double CNetworkGraph::FindEdgeSqrLen(int idA, int idB) const {
    const double* found = m_pIndexes ? m_pIndexes->edgeSqrLen.Find(PairKey(idA, idB)) : nullptr;
    return found == nullptr ? g_dLayoutDistanceSqr : *found;
}

CNode* CNetworkGraph::GetNode(int id) const {
    CNode* const* found = m_pIndexes ? m_pIndexes->nodeIndex.Find(IdKey(id)) : nullptr;
    return found == nullptr ? nullptr : *found;
}

CEdge* CNetworkGraph::GetEdge(int id) const {
    auto found = m_mapEdges.find(id);
    return found == m_mapEdges.end() ? nullptr : found->second;
}

bool CNetworkGraph::GetNodePosition(int id, double& x, double& y) const {
    const CNode* node = GetNode(id);
    if (node == nullptr) {
        return false;
    }
    x = node->X();
    y = node->Y();
    return true;
}

bool CNetworkGraph::GetNodePhyPosition(int id, int& row, int& col) const {
    const CNode* node = GetNode(id);
    if (node == nullptr) {
        return false;
    }
    row = node->m_tagNode.nRow;
    col = node->m_tagNode.nCol;
    return true;
}

void CNetworkGraph::SetNodePosition(int id, double x, double y, _tagNode& pos) {
    CNode* node = GetNode(id);
    if (node != nullptr) {
        node->SetPosition(x, y);
        node->SetNodePos(pos);
    }
}

CRect CNetworkGraph::GetBoundRect() const {
    if (m_mapNodes.empty()) {
        return CRect(0, 0, 0, 0);
    }
    netloom::CPointBounds points;
    for (const auto& entry : m_mapNodes) {
        points.Add(entry.second->X(), entry.second->Y());
    }
    return points.Rect();
}

void CNetworkGraph::OffsetGraph(double dx, double dy) {
    for (auto& entry : m_mapNodes) {
        entry.second->Move(dx, dy);
    }
}

bool CNetworkGraph::ContainFixedNode() const {
    for (const auto& entry : m_mapNodes) {
        if (entry.second->IsFixed()) {
            return true;
        }
    }
    return false;
}
