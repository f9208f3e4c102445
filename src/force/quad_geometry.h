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

// True when no point that a node inside the cell can have, nor the cell's
// centre, comes within the repulsion cut-off (or the fixed-push radius) of
// (px, py). A node lies within one unit of the square its truncated point falls
// in; the margin covers rounding of the centres.
inline bool BeyondReach(const CQuadNode* cell, double px, double py, double reachSqr) {
    const CRect& r = cell->m_rcCell;
    double ex = 0.0;
    double ey = 0.0;
    if (px < r.left - 1.0) {
        ex = r.left - 1.0 - px;
    } else if (px > r.right + 0.0) {
        ex = px - r.right;
    }
    if (py < r.top - 1.0) {
        ey = r.top - 1.0 - py;
    } else if (py > r.bottom + 0.0) {
        ey = py - r.bottom;
    }
    return ex * ex + ey * ey > reachSqr;
}

// Squared distance beyond which a cell can be skipped whole.
inline double ReachSqr() {
    const double cutoff = 8.0 * g_dLayoutDistanceSqr;
    const double reach = cutoff > 2.0 ? cutoff : 2.0;
    return reach * (1.0 + 1e-6) + 1e-6;
}

// Adds to (fx, fy) the repulsion of the cells below `cell` on a node at (px, py),
// in the order of a depth-first descent through children 0 to 3. strength(leaf)
// gives a leaf's pair strength; it is asked only when the leaf lies in the
// range where the strength matters. With `prune`, cells wholly beyond the
// cut-off are skipped: they would add only zeros, which leave the sums as they
// are (a sum that starts at +0.0 never becomes -0.0).
template <class Strength>
void SumCells(const CQuadNode* cell, double px, double py, bool prune, Strength strength,
              double& fx, double& fy) {
    // The tree is at most about 34 levels deep (the root is at most 2^32 wide and
    // each level halves it); each level leaves at most three siblings waiting.
    const CQuadNode* stack[256];
    int top = 0;
    if (cell != nullptr) {
        stack[top++] = cell;
    }
    const double reachSqr = prune ? ReachSqr() : 0.0;
    const double cutoff = 8.0 * g_dLayoutDistanceSqr;
    while (top > 0) {
        const CQuadNode* c = stack[--top];
        if (prune && BeyondReach(c, px, py, reachSqr)) {
            continue;
        }
        if (c->m_iCount == 1) {
            const double dx = c->m_dCenterX - px;
            const double dy = c->m_dCenterY - py;
            const double d2 = dx * dx + dy * dy;
            if (d2 <= 2.0) {
                fx += g_dLayoutDistance / 8.0;
                fy += g_dLayoutDistance / 4.0;
            } else if (d2 <= cutoff) {
                const double k = strength(c);
                fx += -k * dx / d2;
                fy += -k * dy / d2;
            } else if (!prune) {
                // Beyond the cut-off the force is zero; adding it keeps the sum
                // literal even for a caller's -0.0.
                fx += 0.0;
                fy += 0.0;
            }
            continue;
        }
        const double ddx = c->m_dCenterX - px;
        const double ddy = c->m_dCenterY - py;
        const double d2 = ddx * ddx + ddy * ddy;
        const std::int64_t width = CellWidth(c->m_rcCell);
        const std::int64_t s = (width + CellHeight(c->m_rcCell)) / 2;
        const double s2 = static_cast<double>(s) * static_cast<double>(s);
        if (d2 > s2) {
            double tx = 0.0;
            double ty = 0.0;
            Repulsion(px, py, c->m_dCenterX, c->m_dCenterY, g_dLayoutDistanceSqr, tx, ty);
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
