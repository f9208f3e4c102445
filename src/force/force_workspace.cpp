#include "force/force_workspace.h"

#include <netloom/edge.h>
#include <netloom/network_graph.h>
#include <netloom/params.h>

#include "force/force_math.h"
#include "force/quad_geometry.h"
#include "force/worker_pool.h"
#include "graph/flat_hash_map.h"
#include "graph/point_bounds.h"
#include "graph/truncate.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <unordered_map>

using netloom::SaturateToInt;
using netloom::detail::FlatHashMap;
using netloom::detail::IdKey;

namespace {

// Positions this far from the origin keep every cell square and unsaturated,
// so each node lies inside every cell on its path and cells beyond the cut-off
// can be skipped.
constexpr double kPruneLimit = 5.0e8;
// Marks a spring at the edge's destination end.
constexpr std::uint32_t kAtDest = 0x80000000u;

} // namespace

CForceWorkspace::CForceWorkspace(CConnectedGraph& graph, bool springs) : m_graph(graph) {
    const auto& nodes = graph.GetNodeMap();
    m_vecNodes.reserve(nodes.size());
    FlatHashMap<std::int32_t> index;
    index.Reserve(nodes.size());
    for (const auto& entry : nodes) {
        index.FindOrInsert(IdKey(entry.first), static_cast<std::int32_t>(m_vecNodes.size()));
        m_vecNodes.push_back(entry.second);
    }
    const std::size_t count = m_vecNodes.size();
    if (springs) {
        LoadSprings(index);
    }
    const std::size_t all = m_vecNodes.size();
    m_vecX.resize(all);
    m_vecY.resize(all);
    m_vecVx.resize(all);
    m_vecVy.resize(all);
    m_vecFixed.resize(all);
    for (std::size_t i = 0; i < all; ++i) {
        m_vecX[i] = m_vecNodes[i]->X();
        m_vecY[i] = m_vecNodes[i]->Y();
        m_vecVx[i] = m_vecNodes[i]->GetVx();
        m_vecVy[i] = m_vecNodes[i]->GetVy();
        m_vecFixed[i] = (m_vecNodes[i]->IsFixed() || i >= count) ? 1 : 0;
    }
    // Only the component's own nodes go into the tree and move.
    m_nCount = count;
    m_vecPlain.assign(count, 0);
    if (springs) {
        MarkPlainNodes(g_dLayoutDistanceSqr);
    }
    SetLanes(netloom::force::WidestLanes());
    const CNetworkGraph* parent = graph.GetParentGraph();
    SetThreads(parent != nullptr ? parent->GetLayoutThreads() : 0);
    m_vecIdOrder.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        m_vecIdOrder[i] = static_cast<std::int32_t>(i);
    }
}

// Each node's springs in its edge-set order, one spring per edge, and each
// node's neighbour table of pair strengths. Ends outside the component
// (possible only in hand-built components) are kept after the component's
// nodes: they pull but never move.
void CForceWorkspace::LoadSprings(const FlatHashMap<std::int32_t>& index) {
    const std::size_t count = m_vecNodes.size();
    auto indexOf = [&](CNode* node) {
        if (const std::int32_t* found = index.Find(IdKey(node->GetID()))) {
            if (m_vecNodes[*found] == node) {
                return *found;
            }
        }
        const auto added = static_cast<std::int32_t>(m_vecNodes.size());
        m_vecNodes.push_back(node);
        return added;
    };
    m_bLookupAllPairs = !ParentKeepsOnlyEdgePairs(m_graph);
    std::unordered_map<const CEdge*, std::uint32_t> edgeIndex;
    std::vector<std::int32_t> listedBy(count, -1); // the node whose table lists it
    m_vecSpringStart.reserve(count + 1);
    m_vecPairStart.reserve(count + 1);
    for (std::size_t i = 0; i < count; ++i) {
        CNode* node = m_vecNodes[i];
        m_vecSpringStart.push_back(static_cast<std::int32_t>(m_vecSpringEdge.size()));
        m_vecPairStart.push_back(static_cast<std::int32_t>(m_vecPairNode.size()));
        for (const CEdge* edge : node->GetEdges()) {
            const std::int32_t source = indexOf(edge->GetSourceNode());
            const std::int32_t dest = indexOf(edge->GetDestNode());
            const auto added = static_cast<std::uint32_t>(m_vecSprings.size());
            const std::uint32_t e = edgeIndex.emplace(edge, added).first->second;
            if (e == added) {
                m_vecSprings.push_back({source, dest, edge->GetNormalLength()});
            }
            m_vecSpringEdge.push_back(e | (edge->GetDestNode() == node ? kAtDest : 0u));
            const std::int32_t other = edge->GetSourceNode() == node ? dest : source;
            if (static_cast<std::size_t>(other) >= count) {
                continue;
            }
            // Each neighbour once, in order of first appearance; a mark per
            // node keeps a hub of many edges linear.
            if (listedBy[other] != static_cast<std::int32_t>(i)) {
                listedBy[other] = static_cast<std::int32_t>(i);
                m_vecPairNode.push_back(other);
                m_vecPairStrength.push_back(
                    m_graph.FindEdgeSqrLenInParent(node->GetID(), m_vecNodes[other]->GetID()));
            }
        }
    }
    m_vecSpringStart.push_back(static_cast<std::int32_t>(m_vecSpringEdge.size()));
    m_vecPairStart.push_back(static_cast<std::int32_t>(m_vecPairNode.size()));
    m_vecTerms.resize(m_vecSprings.size());
}

bool CForceWorkspace::ParentKeepsOnlyEdgePairs(const CConnectedGraph& graph) {
    // Without a parent every pair is D squared.
    const CNetworkGraph* parent = graph.GetParentGraph();
    return parent == nullptr || !parent->HasUnjoinedSqrLenPairs();
}

void CForceWorkspace::MarkPlainNodes(double strength) {
    m_dPlainStrength = strength;
    for (std::size_t i = 0; i < m_nCount; ++i) {
        bool plain = !m_bLookupAllPairs;
        for (std::int32_t p = m_vecPairStart[i]; plain && p < m_vecPairStart[i + 1]; ++p) {
            plain = std::memcmp(&m_vecPairStrength[p], &strength, sizeof strength) == 0;
        }
        m_vecPlain[i] = plain ? 1 : 0;
    }
}

void CForceWorkspace::SetLanes(int lanes) {
    m_pLaneWalk = netloom::force::LaneWalk(lanes);
    m_iLanes = m_pLaneWalk != nullptr ? lanes : 1;
}

void CForceWorkspace::SetThreads(int threads) {
    m_pPool = std::make_unique<netloom::force::WorkerPool>(netloom::force::LayoutThreads(threads));
}

double CForceWorkspace::StrengthOf(const void* workspace, std::int32_t i, std::int32_t j) {
    return static_cast<const CForceWorkspace*>(workspace)->PairStrength(i, j);
}

double CForceWorkspace::PairStrength(int i, int j) const {
    for (std::int32_t p = m_vecPairStart[i]; p < m_vecPairStart[i + 1]; ++p) {
        if (m_vecPairNode[p] == j) {
            return m_vecPairStrength[p];
        }
    }
    if (m_bLookupAllPairs) {
        return m_graph.FindEdgeSqrLenInParent(m_vecNodes[i]->GetID(), m_vecNodes[j]->GetID());
    }
    return g_dLayoutDistanceSqr;
}

// The root cell: the nodes' bounding rectangle widened by 10 and made square
// at the right or bottom. Also decides whether cells beyond the cut-off may be
// skipped.
CRect CForceWorkspace::RootCell() {
    netloom::CPointBounds points;
    bool bounded = true;
    for (std::size_t i = 0; i < m_nCount; ++i) {
        const double x = m_vecX[i];
        const double y = m_vecY[i];
        points.Add(x, y);
        bounded = bounded && std::fabs(x) < kPruneLimit && std::fabs(y) < kPruneLimit;
    }
    m_bPrune = bounded;
    CRect bound = points.Rect();
    const std::int64_t width = netloom::force::CellWidth(bound);
    const std::int64_t height = netloom::force::CellHeight(bound);
    if (width > height) {
        bound.bottom = SaturateToInt(bound.bottom + (width - height));
    } else {
        bound.right = SaturateToInt(bound.right + (height - width));
    }
    return bound;
}

void CForceWorkspace::BuildTree() {
    if (m_nCount == 0) {
        return;
    }
    const CRect bound = RootCell();
    m_constants = netloom::force::RepulsionConstants::Current(m_bPrune);
    if (!m_vecPairStart.empty() &&
        std::memcmp(&m_dPlainStrength, &m_constants.strengthFar, sizeof(double)) != 0) {
        MarkPlainNodes(m_constants.strengthFar); // the layout distance changed
    }
    if (m_bPrune) {
        // Every point lies inside every cell on its path: the cells can be
        // built from each node's path of quadrants, without inserting node by
        // node.
        m_flatTree.Build(m_vecX.data(), m_vecY.data(), m_nCount, bound, m_pPool.get());
        m_vecOrder = m_flatTree.LeafOrder();
        return;
    }
    // Saturated cells: insert node by node.
    const CQuadNode* root = InsertAll(m_cells, bound);
    m_flatTree.Flatten(root);
    OrderByTree(root);
}

CQuadNode* CForceWorkspace::BuildPointerTree(netloom::force::QuadCells& cells) {
    return m_nCount == 0 ? nullptr : InsertAll(cells, RootCell());
}

// The tree's own construction: nodes inserted one by one in ascending id order.
CQuadNode* CForceWorkspace::InsertAll(netloom::force::QuadCells& cells, const CRect& bound) {
    cells.Recycle();
    const std::int32_t first = m_vecIdOrder[0];
    CQuadNode* root = cells.Insert(m_vecNodes[first], first, m_vecX[first], m_vecY[first], nullptr);
    root->m_rcCell = bound;
    for (std::size_t rank = 1; rank < m_nCount; ++rank) {
        const std::int32_t i = m_vecIdOrder[rank];
        cells.Insert(m_vecNodes[i], i, m_vecX[i], m_vecY[i], root);
    }
    root->PruneEmptyChildren();
    root->ComputeCenter();
    return root;
}

// Lists the nodes in the order of the tree's leaves. Each node's force depends
// only on the tree and the positions, so the force pass may visit the nodes in
// any order; neighbouring leaves descend through the same cells, which keeps
// those cells in the cache.
void CForceWorkspace::OrderByTree(const CQuadNode* root) {
    const std::size_t count = m_nCount;
    m_vecOrder.clear();
    m_vecListed.assign(count, 0);
    const CQuadNode* stack[256];
    int top = 0;
    stack[top++] = root;
    while (top > 0) {
        const CQuadNode* cell = stack[--top];
        const int index = netloom::force::NodeIndexOf(cell);
        if (index >= 0 && m_vecListed[index] == 0) {
            m_vecListed[index] = 1;
            m_vecOrder.push_back(index);
        }
        for (int i = 3; i >= 0; --i) {
            if (cell->m_pChildren[i] != nullptr) {
                stack[top++] = cell->m_pChildren[i];
            }
        }
    }
    // Nodes that share a cell too narrow to split with an earlier node.
    for (std::size_t i = 0; i < count; ++i) {
        if (m_vecListed[i] == 0) {
            m_vecOrder.push_back(static_cast<std::int32_t>(i));
        }
    }
}

// Renumbers the component's nodes so that index k is order[k]. Nodes that lie
// close together in the plane then lie close together in the arrays, and so do
// most springs' ends, which keeps the force pass in the cache. Nothing is
// summed in index order except through m_vecIdOrder, so results do not change.
void CForceWorkspace::Renumber(const std::vector<std::int32_t>& order) {
    const std::size_t count = m_nCount;
    const std::size_t all = m_vecNodes.size();
    std::vector<std::int32_t> newIndex(all);
    for (std::size_t k = 0; k < all; ++k) {
        newIndex[k] = static_cast<std::int32_t>(k);
    }
    for (std::size_t k = 0; k < count; ++k) {
        newIndex[order[k]] = static_cast<std::int32_t>(k);
    }
    auto permute = [&](auto& values) {
        auto old = values;
        for (std::size_t k = 0; k < count; ++k) {
            values[k] = old[order[k]];
        }
    };
    permute(m_vecNodes);
    permute(m_vecX);
    permute(m_vecY);
    permute(m_vecVx);
    permute(m_vecVy);
    permute(m_vecFixed);
    permute(m_vecPlain);
    for (std::int32_t& i : m_vecIdOrder) {
        i = newIndex[i];
    }
    if (m_vecSpringStart.empty()) {
        return;
    }
    // Edges are renumbered too, in order of first appearance, so that a node's
    // springs and their terms lie together.
    std::vector<std::uint32_t> newEdge(m_vecSprings.size(), kAtDest);
    std::vector<Spring> springs;
    springs.reserve(m_vecSprings.size());
    std::vector<std::int32_t> springStart;
    std::vector<std::uint32_t> springEdge;
    std::vector<std::int32_t> pairStart;
    std::vector<std::int32_t> pairNode;
    std::vector<double> pairStrength;
    springStart.reserve(count + 1);
    springEdge.reserve(m_vecSpringEdge.size());
    pairStart.reserve(count + 1);
    pairNode.reserve(m_vecPairNode.size());
    pairStrength.reserve(m_vecPairStrength.size());
    for (std::size_t k = 0; k < count; ++k) {
        const std::int32_t old = order[k];
        springStart.push_back(static_cast<std::int32_t>(springEdge.size()));
        for (std::int32_t s = m_vecSpringStart[old]; s < m_vecSpringStart[old + 1]; ++s) {
            const std::uint32_t e = m_vecSpringEdge[s] & ~kAtDest;
            if (newEdge[e] == kAtDest) {
                newEdge[e] = static_cast<std::uint32_t>(springs.size());
                Spring spring = m_vecSprings[e];
                spring.source = newIndex[spring.source];
                spring.dest = newIndex[spring.dest];
                springs.push_back(spring);
            }
            springEdge.push_back(newEdge[e] | (m_vecSpringEdge[s] & kAtDest));
        }
        pairStart.push_back(static_cast<std::int32_t>(pairNode.size()));
        for (std::int32_t p = m_vecPairStart[old]; p < m_vecPairStart[old + 1]; ++p) {
            pairNode.push_back(newIndex[m_vecPairNode[p]]);
            pairStrength.push_back(m_vecPairStrength[p]);
        }
    }
    springStart.push_back(static_cast<std::int32_t>(springEdge.size()));
    pairStart.push_back(static_cast<std::int32_t>(pairNode.size()));
    m_vecSpringStart.swap(springStart);
    m_vecSpringEdge.swap(springEdge);
    m_vecSprings.swap(springs);
    m_vecPairStart.swap(pairStart);
    m_vecPairNode.swap(pairNode);
    m_vecPairStrength.swap(pairStrength);
}

void CForceWorkspace::SumRepulsion(int i, double& fx, double& fy) const {
    m_flatTree.Sum(
        m_vecX[i], m_vecY[i], m_constants,
        [this, i](std::int32_t other) { return PairStrength(i, other); }, fx, fy);
}

void CForceWorkspace::SumRepulsionGroup(const std::int32_t* nodes, int count, double* fx,
                                        double* fy) const {
    if (m_pLaneWalk == nullptr || count == 1) {
        for (int l = 0; l < count; ++l) {
            fx[l] = 0.0;
            fy[l] = 0.0;
            SumRepulsion(nodes[l], fx[l], fy[l]);
        }
        return;
    }
    netloom::force::LaneWalkArgs args;
    args.cells = m_flatTree.Cells().data();
    args.cellCount = static_cast<std::int32_t>(m_flatTree.Cells().size());
    args.k = m_constants;
    args.strength = &CForceWorkspace::StrengthOf;
    args.context = this;
    args.plain = m_vecPlain.data();
    args.x = m_vecX.data();
    args.y = m_vecY.data();
    args.nodes = nodes;
    args.count = count;
    args.fx = fx;
    args.fy = fy;
    m_pLaneWalk(args);
}

void CForceWorkspace::SpringTerms(std::size_t first, std::size_t end, double distance) {
    for (std::size_t e = first; e < end; ++e) {
        const Spring& spring = m_vecSprings[e];
        netloom::force::Spring(m_vecX[spring.source], m_vecY[spring.source], m_vecX[spring.dest],
                               m_vecY[spring.dest], spring.normalLength, false, m_vecTerms[e].x,
                               m_vecTerms[e].y, distance);
    }
}

// The pull on a destination end, (-length) * dx / n, is the negated pull on the
// source end bit for bit: negation commutes with correctly rounded products
// and quotients.
void CForceWorkspace::SpringForce(int i, double& fx, double& fy) const {
    double sx = 0.0;
    double sy = 0.0;
    for (std::int32_t s = m_vecSpringStart[i]; s < m_vecSpringStart[i + 1]; ++s) {
        const std::uint32_t spring = m_vecSpringEdge[s];
        const Term& term = m_vecTerms[spring & ~kAtDest];
        // The sign bit flipped at a destination end: branch-free negation.
        const std::uint64_t flip = static_cast<std::uint64_t>(spring & kAtDest) << 32;
        std::uint64_t bits[2];
        std::memcpy(bits, &term, sizeof bits);
        bits[0] ^= flip;
        bits[1] ^= flip;
        double tx = 0.0;
        double ty = 0.0;
        std::memcpy(&tx, &bits[0], sizeof tx);
        std::memcpy(&ty, &bits[1], sizeof ty);
        sx += tx;
        sy += ty;
    }
    fx = sx;
    fy = sy;
}

// Small components run every pass on the calling thread.
void CForceWorkspace::RunPass(std::size_t items,
                              const std::function<void(std::size_t, std::size_t)>& work) {
    if (m_nCount >= kParallelNodes) {
        m_pPool->Run(items, kParallelBlock, work);
    } else if (items > 0) {
        work(0, items);
    }
}

// The force pass over the nodes begin .. end-1 of the force-pass order: each
// free node's repulsion (summed in groups of Lanes() nodes) and spring pull
// give its new velocity.
void CForceWorkspace::ForcePass(std::size_t begin, std::size_t end, double step, double distance) {
    namespace force = netloom::force;
    std::int32_t group[8];
    double rx[8];
    double ry[8];
    int grouped = 0;
    auto finish = [&]() {
        SumRepulsionGroup(group, grouped, rx, ry);
        for (int l = 0; l < grouped; ++l) {
            const std::int32_t i = group[l];
            double fx = 0.0;
            double fy = 0.0;
            double sx = 0.0;
            double sy = 0.0;
            SpringForce(i, sx, sy);
            fx += rx[l];
            fy += ry[l];
            fx += sx;
            fy += sy;
            m_vecVx[i] = force::Accelerated(m_vecVx[i], step, force::kDamping, fx, distance);
            m_vecVy[i] = force::Accelerated(m_vecVy[i], step, force::kDamping, fy, distance);
        }
        grouped = 0;
    };
    for (std::size_t k = begin; k < end; ++k) {
        const std::int32_t i = m_vecOrder[k];
        if (m_vecFixed[i] != 0) {
            continue;
        }
        group[grouped++] = i;
        if (grouped == m_iLanes) {
            finish();
        }
    }
    if (grouped > 0) {
        finish();
    }
}

// The move pass over the nodes begin .. end-1: each free node moves by its
// limited step and keeps its energy apart; a fixed node's energy is +0.0,
// which leaves the sum as it is (it starts at +0.0 and adds only squares).
void CForceWorkspace::MovePass(std::size_t begin, std::size_t end, double step, double distance) {
    namespace force = netloom::force;
    for (std::size_t i = begin; i < end; ++i) {
        if (m_vecFixed[i] != 0) {
            m_vecEnergy[i] = 0.0;
            continue;
        }
        m_vecX[i] += force::LimitToDistance(step * m_vecVx[i], distance);
        m_vecY[i] += force::LimitToDistance(step * m_vecVy[i], distance);
        m_vecEnergy[i] = m_vecVx[i] * m_vecVx[i] + m_vecVy[i] * m_vecVy[i];
    }
}

void CForceWorkspace::IterateOnce(double step, double& energy) {
    const std::size_t count = m_nCount;
    energy = 0.0;
    if (m_nIterations % kRenumberEvery == 0) {
        BuildTree();
        Renumber(m_vecOrder);
    }
    ++m_nIterations;
    BuildTree();
    // The layout distance is a parameter of the calling thread: read once here
    // rather than once per node on every thread.
    const double distance = g_dLayoutDistance;
    RunPass(m_vecSprings.size(), [this, distance](std::size_t begin, std::size_t end) {
        SpringTerms(begin, end, distance);
    });
    // Each node's force depends only on the tree and the positions, which stay
    // as they are during this pass: the nodes can be handled in any order and on
    // several threads without changing a bit.
    RunPass(count, [this, step, distance](std::size_t begin, std::size_t end) {
        ForcePass(begin, end, step, distance);
    });
    // The moves in parallel, each node's energy kept apart.
    m_vecEnergy.resize(count);
    RunPass(count, [this, step, distance](std::size_t begin, std::size_t end) {
        MovePass(begin, end, step, distance);
    });
    // The energy is summed in ascending id order.
    for (std::size_t rank = 0; rank < count; ++rank) {
        energy += m_vecEnergy[m_vecIdOrder[rank]];
    }
}

void CForceWorkspace::WriteBack() {
    for (std::size_t i = 0; i < m_nCount; ++i) {
        if (m_vecFixed[i] == 0) {
            m_vecNodes[i]->SetPosition(m_vecX[i], m_vecY[i]);
            m_vecNodes[i]->SetVelocity(m_vecVx[i], m_vecVy[i]);
        }
    }
}
