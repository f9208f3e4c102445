#pragma once

// Cell geometry and the repulsion descent of the quadrant tree, shared by the
// tree's public operations and the force-directed layout's workspace.

#include <netloom/params.h>
#include <netloom/quad_tree.h>
#include <netloom/rect.h>

#include "force/force_math.h"

#include <cstdint>

namespace netloom::force {

// Widths in 64 bits: saturated rectangles must not overflow.
inline std::int64_t CellWidth(const CRect& r) {
    return static_cast<std::int64_t>(r.right) - r.left;
}
inline std::int64_t CellHeight(const CRect& r) {
    return static_cast<std::int64_t>(r.bottom) - r.top;
}

// The child that FindChild returns for (x, y) in a split cell: the four quadrants
// tile the cell, so a point inside lies in exactly one of them, and a point
// outside in none (then child 0).
inline CQuadNode* ChildAt(const CQuadNode* cell, int x, int y) {
    const CRect& r = cell->m_rcCell;
    if (x < r.left || x >= r.right || y < r.top || y >= r.bottom) {
        return cell->m_pChildren[0];
    }
    const CRect& low = cell->m_pChildren[0]->m_rcCell;
    const bool highX = x >= low.right;
    const bool highY = y >= low.bottom;
    return cell->m_pChildren[highY ? (highX ? 2 : 3) : (highX ? 1 : 0)];
}

// Squared distance beyond which a cell can be skipped whole: no point that a
// node inside the cell can have (within one unit of the square its truncated
// point falls in), nor the cell's centre, comes within the repulsion cut-off or
// the fixed-push radius. The margin covers rounding of the centres.
inline double ReachSqr() {
    const double cutoff = CutoffSqr(g_dLayoutDistanceSqr);
    const double reach = cutoff > kNearSqr ? cutoff : kNearSqr;
    return reach * (1.0 + 1e-6) + 1e-6;
}

// Adds to (fx, fy) the repulsion of the cells below `cell` on a node at (px, py),
// in the order of a depth-first descent through children 0 to 3. strength(leaf)
// gives a leaf's pair strength; it is asked only when the leaf lies in the
// range where the strength matters.
template <class Strength>
void SumCells(const CQuadNode* cell, double px, double py, Strength strength, double& fx,
              double& fy) {
    // The tree is at most about 34 levels deep (the root is at most 2^32 wide and
    // each level halves it); each level leaves at most three siblings waiting.
    const CQuadNode* stack[256];
    int top = 0;
    if (cell != nullptr) {
        stack[top++] = cell;
    }
    const double cutoff = CutoffSqr(g_dLayoutDistanceSqr);
    const double pushX = PushX(g_dLayoutDistance);
    const double pushY = PushY(g_dLayoutDistance);
    while (top > 0) {
        const CQuadNode* c = stack[--top];
        const double dx = c->m_dCenterX - px;
        const double dy = c->m_dCenterY - py;
        const double d2 = SquaredDistance<Scalar>(dx, dy);
        double tx = 0.0;
        double ty = 0.0;
        if (c->m_iCount == 1) {
            // Beyond the cut-off the force is zero; adding it keeps the sum
            // literal even for a caller's -0.0.
            ChargeForce(
                dx, dy, d2, cutoff, pushX, pushY, [&] { return strength(c); }, tx, ty);
            fx += tx;
            fy += ty;
            continue;
        }
        const std::int64_t width = CellWidth(c->m_rcCell);
        const std::int64_t s = (width + CellHeight(c->m_rcCell)) / 2;
        const double s2 = static_cast<double>(s) * static_cast<double>(s);
        if (d2 > s2) {
            ChargeForce(
                dx, dy, d2, cutoff, pushX, pushY, [] { return g_dLayoutDistanceSqr; }, tx, ty);
            tx *= c->m_iCount;
            ty *= c->m_iCount;
            fx += tx;
            fy += ty;
        } else if (width >= 2) {
            for (int i = 3; i >= 0; --i) {
                if (c->m_pChildren[i] != nullptr) {
                    stack[top++] = c->m_pChildren[i];
                }
            }
        }
    }
}

} // namespace netloom::force
