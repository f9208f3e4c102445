#include "force/flat_quad_tree.h"

#include "graph/truncate.h"

namespace netloom::force {

std::int32_t FlatQuadTree::AddCell(std::int64_t left, std::int64_t top, std::int64_t right,
                                   std::int64_t bottom, std::int32_t count) {
    FlatCell cell;
    cell.left = static_cast<std::int32_t>(left);
    cell.top = static_cast<std::int32_t>(top);
    cell.right = static_cast<std::int32_t>(right);
    cell.bottom = static_cast<std::int32_t>(bottom);
    cell.count = count;
    const std::int64_t s = ((right - left) + (bottom - top)) / 2;
    cell.farSqr = static_cast<double>(s) * static_cast<double>(s);
    cell.wide = (right - left) >= 2 ? 1 : 0;
    m_vecCells.push_back(cell);
    return static_cast<std::int32_t>(m_vecCells.size() - 1);
}

// Inserting nodes one by one splits every cell that receives a second node while
// it is at least 2 wide, and keeps the cells that receive any. So the tree
// depends only on which nodes fall into which cell: each cell's nodes are
// distributed over its quadrants at once (a stable counting pass, so that each
// cell lists its nodes in insertion order), and the cells come out in
// depth-first order.
void FlatQuadTree::Build(const double* x, const double* y, std::size_t n, const CRect& root) {
    m_vecCells.clear();
    m_vecOrder.resize(n);
    m_vecPoints.resize(n);
    m_vecScratch.resize(n);
    m_pX = x;
    m_pY = y;
    for (std::size_t i = 0; i < n; ++i) {
        m_vecPoints[i] = {TruncToInt(x[i]), TruncToInt(y[i]), static_cast<std::int32_t>(i)};
    }
    if (n == 0) {
        return;
    }
    BuildCell(m_vecPoints.data(), m_vecScratch.data(), 0, n, root.left, root.top, root.right,
              root.bottom);
}

void FlatQuadTree::BuildCell(Point* from, Point* to, std::size_t begin, std::size_t end,
                             std::int64_t left, std::int64_t top, std::int64_t right,
                             std::int64_t bottom) {
    const auto count = static_cast<std::int32_t>(end - begin);
    const std::int32_t self = AddCell(left, top, right, bottom, count);
    if (count == 1) {
        const std::int32_t node = from[begin].index;
        m_vecOrder[begin] = node;
        FlatCell& leaf = m_vecCells[self];
        leaf.node = node;
        leaf.centerX = m_pX[node];
        leaf.centerY = m_pY[node];
        leaf.next = self + 1;
        return;
    }
    if (right - left < 2) {
        // Too narrow to split: the cell keeps the node that came first.
        for (std::size_t i = begin; i < end; ++i) {
            m_vecOrder[i] = from[i].index;
        }
        FlatCell& narrow = m_vecCells[self];
        narrow.node = from[begin].index;
        narrow.centerX = static_cast<double>(left + 1);
        narrow.centerY = static_cast<double>(top + 1);
        narrow.next = self + 1;
        return;
    }
    const std::int64_t mx = left + (right - left) / 2;
    const std::int64_t my = top + (bottom - top) / 2;
    std::size_t sizes[4] = {0, 0, 0, 0};
    auto quadrant = [mx, my](const Point& p) {
        const bool highX = p.x >= mx;
        const bool highY = p.y >= my;
        return highY ? (highX ? 2 : 3) : (highX ? 1 : 0);
    };
    for (std::size_t i = begin; i < end; ++i) {
        ++sizes[quadrant(from[i])];
    }
    std::size_t starts[4];
    std::size_t at = begin;
    for (int q = 0; q < 4; ++q) {
        starts[q] = at;
        at += sizes[q];
    }
    std::size_t fill[4] = {starts[0], starts[1], starts[2], starts[3]};
    for (std::size_t i = begin; i < end; ++i) {
        to[fill[quadrant(from[i])]++] = from[i];
    }
    const std::int64_t bounds[4][4] = {
        {left, top, mx, my},
        {mx, top, right, my},
        {mx, my, right, bottom},
        {left, my, mx, bottom},
    };
    double cx = 0.0;
    double cy = 0.0;
    for (int q = 0; q < 4; ++q) {
        if (sizes[q] == 0) {
            continue;
        }
        const auto child = static_cast<std::int32_t>(m_vecCells.size());
        BuildCell(to, from, starts[q], starts[q] + sizes[q], bounds[q][0], bounds[q][1],
                  bounds[q][2], bounds[q][3]);
        const FlatCell& c = m_vecCells[child];
        cx += c.count * c.centerX;
        cy += c.count * c.centerY;
    }
    FlatCell& cell = m_vecCells[self];
    cell.centerX = cx / count;
    cell.centerY = cy / count;
    cell.next = static_cast<std::int32_t>(m_vecCells.size());
}

void FlatQuadTree::Flatten(const CQuadNode* root) {
    m_vecCells.clear();
    m_vecOrder.clear();
    if (root != nullptr) {
        FlattenCell(root);
    }
}

std::int32_t FlatQuadTree::FlattenCell(const CQuadNode* cell) {
    const CRect& r = cell->m_rcCell;
    const std::int32_t self = AddCell(r.left, r.top, r.right, r.bottom, cell->m_iCount);
    m_vecCells[self].centerX = cell->m_dCenterX;
    m_vecCells[self].centerY = cell->m_dCenterY;
    m_vecCells[self].node = cell->m_iNodeIndex;
    if (cell->m_iCount >= 2) {
        for (const CQuadNode* child : cell->m_pChildren) {
            if (child != nullptr) {
                FlattenCell(child);
            }
        }
    }
    m_vecCells[self].next = static_cast<std::int32_t>(m_vecCells.size());
    return self;
}

} // namespace netloom::force
