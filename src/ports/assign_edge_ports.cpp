#include <netloom/connected_graph.h>
#include <netloom/edge.h>

#include "graph/flat_hash_map.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <vector>

namespace {

CNode* OtherEnd(const CEdge* e, const CNode* node) {
    return e->GetSourceNode() == node ? e->GetDestNode() : e->GetSourceNode();
}

// Edges already placed, by id: one flag per id when the component's edge ids
// lie close together, a flat table otherwise and for ids outside their range.
class PlacedEdges {
public:
    explicit PlacedEdges(const std::map<int, CEdge*>& edges) {
        if (!edges.empty()) {
            const long long low = edges.begin()->first;
            const long long span = static_cast<long long>(edges.rbegin()->first) - low + 1;
            if (span <= 4 * static_cast<long long>(edges.size()) + 64) {
                m_low = low;
                m_flags.assign(static_cast<std::size_t>(span), 0);
                return;
            }
        }
        m_table.Reserve(edges.size());
    }

    // True the first time the id is given.
    bool Claim(int id) {
        const long long slot = static_cast<long long>(id) - m_low;
        char& done = slot >= 0 && slot < static_cast<long long>(m_flags.size())
                         ? m_flags[static_cast<std::size_t>(slot)]
                         : m_table.FindOrInsert(netloom::detail::IdKey(id), 0);
        if (done != 0) {
            return false;
        }
        done = 1;
        return true;
    }

private:
    long long m_low = 0;
    std::vector<char> m_flags;
    netloom::detail::FlatHashMap<char> m_table;
};

} // namespace

// Orders the node's edges by the other end's row, top to bottom; within a row
// left to right, except in the node's own row, which runs right to left. Ties
// keep the edge-set order. Appending to `sorted` one by one with an insertion
// walk gives exactly this stable order, which a stable sort reaches in
// O(n log n) for nodes with many edges.
void CConnectedGraph::SortNodeEdges(CNode* node, EdgeSet& edges, std::vector<CEdge*>& sorted) {
    const int ownRow = node->GetNodePos().nRow;
    const std::size_t start = sorted.size();
    // One pass over the set: a range insert would walk it twice (count, copy).
    for (CEdge* e : edges) {
        sorted.push_back(e);
    }
    auto before = [node, ownRow](const CEdge* a, const CEdge* b) {
        const _tagNode p = OtherEnd(a, node)->GetNodePos();
        const _tagNode q = OtherEnd(b, node)->GetNodePos();
        if (p.nRow != q.nRow) {
            return p.nRow < q.nRow;
        }
        return p.nRow == ownRow ? p.nCol > q.nCol : p.nCol < q.nCol;
    };
    const auto first = sorted.begin() + static_cast<std::ptrdiff_t>(start);
    // A stable order is unique: short lists take the insertion walk, which
    // needs no buffer, long ones the stable sort.
    if (sorted.end() - first > 32) {
        std::stable_sort(first, sorted.end(), before);
        return;
    }
    for (auto it = first; it != sorted.end(); ++it) {
        CEdge* e = *it;
        auto hole = it;
        while (hole != first && before(e, *(hole - 1))) {
            *hole = *(hole - 1);
            --hole;
        }
        *hole = e;
    }
}

// Puts both ends of every edge on a side of their node: edges to later rows leave
// downward, close same-row neighbours use the left and right sides while those
// hold fewer than 4 ports and the edge is unique, and the rest go to the up side.
void CConnectedGraph::AssignEdgePorts() {
    // Each edge is placed from the first of its ends.
    PlacedEdges processed(m_mapEdges);
    std::vector<CEdge*> list;
    for (const auto& row : m_mapGridRows) {
        for (const _tagNode& record : row.second) {
            CNode* x = GetNode(record.nID);
            if (x == nullptr) {
                continue; // a level id that is not a node of this component
            }
            list.clear();
            SortNodeEdges(x, x->GetEdges(), list);
            for (CEdge* e : list) {
                if (!processed.Claim(e->GetID())) {
                    continue;
                }
                const bool xIsSource = e->GetSourceNode() == x;
                CNode* y = xIsSource ? e->GetDestNode() : e->GetSourceNode();
                const int xPort = xIsSource ? e->GetSourceSubNodeID() : e->GetDestSubNodeID();
                const int yPort = xIsSource ? e->GetDestSubNodeID() : e->GetSourceSubNodeID();
                if (GetNode(y->GetID()) == nullptr) {
                    continue;
                }
                const _tagNode p = x->GetNodePos();
                const _tagNode q = y->GetNodePos();
                if (p.nRow < q.nRow) {
                    x->AddDownsideSub(xPort, 0);
                    y->AddUpsideSub(yPort, 0);
                } else if (p.nRow > q.nRow) {
                    x->AddUpsideSub(xPort, 0);
                    const bool diagonalStep =
                        std::abs(p.nCol - q.nCol) == 1 && p.nRow - q.nRow >= 2;
                    y->AddDownsideSub(yPort, diagonalStep ? 0 : 1);
                } else if (p.nCol < q.nCol) {
                    const bool rightSide = (q.nCol - p.nCol == 1 || p.nBaseRow == 0) &&
                                           x->GetRightsideEdgeSize() < 4 &&
                                           y->GetLeftsideEdgeSize() < 4 && e->IsUnique();
                    if (rightSide) {
                        x->AddRightsideSub(xPort, 0);
                        y->AddLeftsideSub(yPort, 0);
                    } else {
                        x->AddUpsideSub(xPort, 0);
                        y->AddUpsideSub(yPort, 1);
                    }
                } else {
                    const bool leftSide = (p.nCol - q.nCol == 1 || p.nBaseRow == 0) &&
                                          x->GetLeftsideEdgeSize() < 4 &&
                                          y->GetRightsideEdgeSize() < 4 && e->IsUnique();
                    if (leftSide) {
                        x->AddLeftsideSub(xPort, 0);
                        y->AddRightsideSub(yPort, 0);
                    } else {
                        x->AddUpsideSub(xPort, 1);
                        y->AddUpsideSub(yPort, 0);
                    }
                }
            }
        }
    }
}
