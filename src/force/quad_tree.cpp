#include <netloom/connected_graph.h>
#include <netloom/node.h>
#include <netloom/params.h>
#include <netloom/quad_tree.h>

#include "force/force_math.h"
#include "force/quad_cells.h"
#include "force/quad_geometry.h"
#include "graph/truncate.h"

using netloom::TruncToInt;

CQuadTree::CQuadTree() = default;
CQuadTree::~CQuadTree() = default;

netloom::force::QuadCells& CQuadTree::Cells() {
    if (!m_pCells) {
        m_pCells = std::make_unique<netloom::force::QuadCells>();
    }
    return *m_pCells;
}

void CQuadTree::Clear() {
    m_pRoot = nullptr;
    m_pCells.reset();
}

namespace netloom::force {

CQuadNode* QuadCells::NewCell() {
    const std::size_t block = m_nUsed / kBlockCells;
    const std::size_t slot = m_nUsed % kBlockCells;
    if (block == m_vecBlocks.size()) {
        m_vecBlocks.emplace_back(new IndexedCell[kBlockCells]);
    }
    ++m_nUsed;
    IndexedCell* cell = &m_vecBlocks[block][slot];
    *cell = IndexedCell();
    return cell;
}

void QuadCells::Split(CQuadNode& cell) {
    const CRect& r = cell.m_rcCell;
    const std::int64_t left = r.left;
    const std::int64_t top = r.top;
    const std::int64_t right = r.right;
    const std::int64_t bottom = r.bottom;
    const auto mx = static_cast<int>(left + (right - left) / 2);
    const auto my = static_cast<int>(top + (bottom - top) / 2);
    const CRect quadrants[4] = {
        CRect(r.left, r.top, mx, my),
        CRect(mx, r.top, r.right, my),
        CRect(mx, my, r.right, r.bottom),
        CRect(r.left, my, mx, r.bottom),
    };
    for (int i = 0; i < 4; ++i) {
        cell.m_pChildren[i] = NewCell();
        cell.m_pChildren[i]->m_rcCell = quadrants[i];
    }
}

} // namespace netloom::force

void CQuadNode::Split(CQuadTree& tree) {
    tree.Cells().Split(*this);
}

void CQuadNode::PruneEmptyChildren() {
    for (CQuadNode*& child : m_pChildren) {
        if (child == nullptr) {
            continue;
        }
        if (child->m_iCount == 0) {
            child = nullptr; // the cell goes back to the pool with the next build
        } else {
            child->PruneEmptyChildren();
        }
    }
}

void CQuadNode::ComputeCenter() {
    if (m_iCount <= 1) {
        return;
    }
    if (netloom::force::CellWidth(m_rcCell) < 2) {
        m_dCenterX = static_cast<double>(static_cast<std::int64_t>(m_rcCell.left) + 1);
        m_dCenterY = static_cast<double>(static_cast<std::int64_t>(m_rcCell.top) + 1);
        return;
    }
    double x = 0.0;
    double y = 0.0;
    for (CQuadNode* child : m_pChildren) {
        if (child == nullptr) {
            continue;
        }
        child->ComputeCenter();
        x += child->m_iCount * child->m_dCenterX;
        y += child->m_iCount * child->m_dCenterY;
    }
    m_dCenterX = x / m_iCount;
    m_dCenterY = y / m_iCount;
}

CQuadNode* CQuadTree::FindChild(int x, int y, CQuadNode* cell) const {
    for (CQuadNode* child : cell->m_pChildren) {
        if (child != nullptr && child->m_rcCell.PtInRect(x, y)) {
            return child;
        }
    }
    return cell->m_pChildren[0];
}

bool CQuadTree::Insert(CNode* node, CQuadNode* cell) {
    CQuadNode* made = Cells().InsertUnindexed(node, node->X(), node->Y(), cell);
    if (cell == nullptr) {
        m_pRoot = made;
    }
    return true;
}

// The descent of one insertion, as a loop: each step either ends at a cell or
// goes on into the child that holds the node's integer point.
template <bool kIndexed>
CQuadNode* netloom::force::QuadCells::InsertAt(CNode* node, int index, double x, double y,
                                               CQuadNode* cell) {
    auto makeLeaf = [&](CQuadNode* leaf) {
        leaf->m_pNode = node;
        if constexpr (kIndexed) {
            static_cast<IndexedCell*>(leaf)->nodeIndex = index;
        }
        leaf->m_dCenterX = x;
        leaf->m_dCenterY = y;
        leaf->m_iCount = 1;
    };
    if (cell == nullptr) {
        CQuadNode* root = NewCell();
        makeLeaf(root);
        return root;
    }
    CQuadNode* const start = cell;
    const int ix = TruncToInt(x);
    const int iy = TruncToInt(y);
    while (true) {
        const bool wide = netloom::force::CellWidth(cell->m_rcCell) >= 2;
        if (cell->m_iCount >= 2) {
            ++cell->m_iCount;
            if (!wide) {
                return start;
            }
            cell = netloom::force::ChildAt(cell, ix, iy);
        } else if (cell->m_iCount == 1) {
            if (!wide) {
                ++cell->m_iCount;
                return start;
            }
            Split(*cell);
            ++cell->m_iCount;
            CQuadNode* held = netloom::force::ChildAt(cell, TruncToInt(cell->m_dCenterX),
                                                      TruncToInt(cell->m_dCenterY));
            held->m_dCenterX = cell->m_dCenterX;
            held->m_dCenterY = cell->m_dCenterY;
            held->m_iCount = 1;
            held->m_pNode = cell->m_pNode;
            cell->m_pNode = nullptr;
            if constexpr (kIndexed) {
                static_cast<IndexedCell*>(held)->nodeIndex = NodeIndexOf(cell);
                static_cast<IndexedCell*>(cell)->nodeIndex = -1;
            }
            cell = netloom::force::ChildAt(cell, ix, iy);
        } else {
            makeLeaf(cell);
            return start;
        }
    }
}

CQuadNode* netloom::force::QuadCells::Insert(CNode* node, int index, double x, double y,
                                             CQuadNode* cell) {
    return InsertAt<true>(node, index, x, y, cell);
}

CQuadNode* netloom::force::QuadCells::InsertUnindexed(CNode* node, double x, double y,
                                                      CQuadNode* cell) {
    return InsertAt<false>(node, -1, x, y, cell);
}

void CQuadTree::SumRepulsion(CNode* node, CQuadNode* cell, double& fx, double& fy) const {
    const CConnectedGraph* graph = m_pGraph;
    netloom::force::SumCells(
        cell, node->X(), node->Y(),
        [graph, node](const CQuadNode* leaf) {
            if (leaf->m_pNode == nullptr) {
                return g_dLayoutDistanceSqr;
            }
            return graph != nullptr
                       ? graph->FindEdgeSqrLenInParent(node->GetID(), leaf->m_pNode->GetID())
                       : g_dLayoutDistanceSqr;
        },
        fx, fy);
}
