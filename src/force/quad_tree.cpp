#include <netloom/connected_graph.h>
#include <netloom/node.h>
#include <netloom/params.h>
#include <netloom/quad_tree.h>

#include "force/force_math.h"
#include "force/quad_geometry.h"
#include "graph/truncate.h"

using netloom::TruncToInt;

CQuadTree::~CQuadTree() {
    Clear();
}

void CQuadTree::Clear() {
    m_pRoot = nullptr;
    m_nUsed = 0;
    m_vecBlocks.clear();
}

void CQuadTree::RecycleCells() {
    m_pRoot = nullptr;
    m_nUsed = 0;
}

CQuadNode* CQuadTree::NewCell() {
    const std::size_t block = m_nUsed / kBlockCells;
    const std::size_t slot = m_nUsed % kBlockCells;
    if (block == m_vecBlocks.size()) {
        m_vecBlocks.emplace_back(new CQuadNode[kBlockCells]);
    }
    ++m_nUsed;
    CQuadNode* cell = &m_vecBlocks[block][slot];
    *cell = CQuadNode();
    return cell;
}

void CQuadNode::Split(CQuadTree& tree) {
    const std::int64_t left = m_rcCell.left;
    const std::int64_t top = m_rcCell.top;
    const std::int64_t right = m_rcCell.right;
    const std::int64_t bottom = m_rcCell.bottom;
    const auto mx = static_cast<int>(left + (right - left) / 2);
    const auto my = static_cast<int>(top + (bottom - top) / 2);
    const CRect quadrants[4] = {
        CRect(m_rcCell.left, m_rcCell.top, mx, my),
        CRect(mx, m_rcCell.top, m_rcCell.right, my),
        CRect(mx, my, m_rcCell.right, m_rcCell.bottom),
        CRect(m_rcCell.left, my, mx, m_rcCell.bottom),
    };
    for (int i = 0; i < 4; ++i) {
        m_pChildren[i] = tree.NewCell();
        m_pChildren[i]->m_rcCell = quadrants[i];
    }
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
    InsertAt(node, -1, node->X(), node->Y(), cell);
    return true;
}

// The descent of one insertion, as a loop: each step either ends at a cell or
// goes on into the child that holds the node's integer point.
void CQuadTree::InsertAt(CNode* node, int index, double x, double y, CQuadNode* cell) {
    auto makeLeaf = [&](CQuadNode* leaf) {
        leaf->m_pNode = node;
        leaf->m_iNodeIndex = index;
        leaf->m_dCenterX = x;
        leaf->m_dCenterY = y;
        leaf->m_iCount = 1;
    };
    if (cell == nullptr) {
        m_pRoot = NewCell();
        makeLeaf(m_pRoot);
        return;
    }
    const int ix = TruncToInt(x);
    const int iy = TruncToInt(y);
    while (true) {
        const bool wide = netloom::force::CellWidth(cell->m_rcCell) >= 2;
        if (cell->m_iCount >= 2) {
            ++cell->m_iCount;
            if (!wide) {
                return;
            }
            cell = netloom::force::ChildAt(cell, ix, iy);
        } else if (cell->m_iCount == 1) {
            if (!wide) {
                ++cell->m_iCount;
                return;
            }
            cell->Split(*this);
            ++cell->m_iCount;
            CQuadNode* held = netloom::force::ChildAt(cell, TruncToInt(cell->m_dCenterX),
                                                      TruncToInt(cell->m_dCenterY));
            held->m_dCenterX = cell->m_dCenterX;
            held->m_dCenterY = cell->m_dCenterY;
            held->m_iCount = 1;
            held->m_pNode = cell->m_pNode;
            held->m_iNodeIndex = cell->m_iNodeIndex;
            cell->m_pNode = nullptr;
            cell->m_iNodeIndex = -1;
            cell = netloom::force::ChildAt(cell, ix, iy);
        } else {
            makeLeaf(cell);
            return;
        }
    }
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
