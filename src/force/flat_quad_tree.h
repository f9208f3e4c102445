#pragma once

// The quadrant tree of the force-directed layout as one array of compact cells
// in depth-first order (children 0 to 3), each cell knowing where its subtree
// ends. The repulsion descent then walks the array forward and jumps over the
// subtrees it does not open, visiting the cells in the order of the pointer
// tree's descent, so every sum adds the same terms in the same order.

#include <netloom/params.h>
#include <netloom/quad_tree.h>
#include <netloom/rect.h>

#include "force/force_math.h"
#include "force/quad_geometry.h"

#include <cstdint>
#include <vector>

namespace netloom::force {

class WorkerPool;

// The constants of the repulsion descent, taken once by the thread that runs
// the layout.
struct RepulsionConstants {
    bool prune = false;       // skip cells wholly beyond reachSqr
    double reachSqr = 0.0;    // ReachSqr() when pruning
    double cutoff = 0.0;      // 8 D^2
    double pushX = 0.0;       // D / 8
    double pushY = 0.0;       // D / 4
    double strengthFar = 0.0; // D^2, the charge of a far cell's nodes

    static RepulsionConstants Current(bool prune) {
        RepulsionConstants k;
        k.prune = prune;
        k.reachSqr = prune ? ReachSqr() : 0.0;
        k.cutoff = CutoffSqr(g_dLayoutDistanceSqr);
        k.pushX = PushX(g_dLayoutDistance);
        k.pushY = PushY(g_dLayoutDistance);
        k.strengthFar = g_dLayoutDistanceSqr;
        return k;
    }
};

struct FlatCell {
    double centerX = 0.0;
    double centerY = 0.0;
    double farSqr = 0.0; // s * s of the far-cell test
    // The cell's rectangle: a node inside has its truncated point within
    // [left, right) x [top, bottom), so it lies within [left - 1, right] x
    // [top - 1, bottom], the cell's reach box.
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    // The cell's node count, or for a leaf ~node (below zero): 48 bytes a cell.
    std::int32_t count = 0;
    // The first cell after this cell's subtree; beyond the next cell when the
    // cell has children.
    std::int32_t next = 0;

    bool IsLeaf() const { return count < 0; }
    std::int32_t Node() const { return ~count; }
    std::int32_t Nodes() const { return count < 0 ? 1 : count; }
};
static_assert(sizeof(FlatCell) == 48, "three cells to two cache lines");

class FlatQuadTree {
public:
    // Builds the tree that inserting nodes 0 .. n-1 in that order into a root
    // cell `root` gives. Every node's truncated point must lie inside `root`,
    // and the root must be at most 2^30 wide. Large trees are built on the
    // pool's threads, if given; the cells do not depend on it.
    void Build(const double* x, const double* y, std::size_t n, const CRect& root,
               WorkerPool* pool = nullptr);
    // Copies a pointer tree (any shape, including saturated cells).
    void Flatten(const CQuadNode* root);

    const std::vector<FlatCell>& Cells() const { return m_vecCells; }
    // The nodes in the order of the leaves (a narrow cell lists all its nodes);
    // filled by Build only.
    const std::vector<std::int32_t>& LeafOrder() const { return m_vecOrder; }

    // Adds to (fx, fy) the repulsion of the tree on a node at (px, py), in the
    // order of SumCells; with `k.prune`, cells wholly beyond the cut-off are
    // skipped (they would only add zeros).
    template <class Strength>
    void Sum(double px, double py, const RepulsionConstants& k, Strength strength, double& fx,
             double& fy) const;

private:
    // A node and its path from the root: two bits per level, the quadrant it
    // falls in, from the top bits down. Sorted by key (then index), the nodes
    // are in the order of the leaves, and each cell's nodes are a run.
    struct Keyed {
        std::uint64_t key;
        std::int32_t index;
    };
    struct Box {
        std::int64_t left;
        std::int64_t top;
        std::int64_t right;
        std::int64_t bottom;
    };
    // A cell of the top levels: split here (count, children), or the root of a
    // subtree built apart (subtree >= 0).
    struct SplitCell {
        Box box;
        std::int32_t count;
        std::int32_t children;
        std::int32_t subtree;
        std::int32_t position; // index in the joined array
        std::int32_t next;     // the end of its subtree there
    };
    struct Subtree {
        std::size_t begin = 0;
        std::size_t end = 0;
        Box box{};
        int level = 0;
        std::size_t split = 0; // its entry in m_vecSplits
        std::vector<FlatCell> cells;
    };
    static void PathKeys(const double* x, const double* y, const Box& root, int levels, Keyed* out);
    void SortByPath(const Box& root, WorkerPool* pool);
    void Quadrants(std::size_t begin, std::size_t end, int level, std::size_t ends[4]) const;
    void BuildCell(std::vector<FlatCell>& out, std::size_t begin, std::size_t end, const Box& box,
                   int level);
    static void Finish(std::vector<FlatCell>& out, std::int32_t self,
                       const std::int32_t children[4], std::int32_t next);
    void Split(std::size_t begin, std::size_t end, const Box& box, int level);
    std::size_t Place(std::size_t& at, std::size_t first);
    void Join(WorkerPool& pool);
    std::int32_t FlattenCell(const CQuadNode* cell);
    static FlatCell MakeCell(std::int64_t left, std::int64_t top, std::int64_t right,
                             std::int64_t bottom, std::int32_t count);
    static std::int32_t AddCell(std::vector<FlatCell>& out, std::int64_t left, std::int64_t top,
                                std::int64_t right, std::int64_t bottom, std::int32_t count);

    std::vector<FlatCell> m_vecCells;
    std::vector<std::int32_t> m_vecOrder;
    std::vector<Keyed> m_vecKeyed;
    std::vector<Keyed> m_vecSorting;
    std::vector<std::uint32_t> m_vecBuckets;
    std::vector<SplitCell> m_vecSplits;
    std::vector<Subtree> m_vecSubtrees;
    std::size_t m_nSubtrees = 0;
    const double* m_pX = nullptr;
    const double* m_pY = nullptr;
};

template <class Strength>
void FlatQuadTree::Sum(double px, double py, const RepulsionConstants& k, Strength strength,
                       double& fx, double& fy) const {
    const FlatCell* cells = m_vecCells.data();
    const auto end = static_cast<std::int32_t>(m_vecCells.size());
    const bool prune = k.prune;
    const double reachSqr = k.reachSqr;
    const double cutoff = k.cutoff;
    // Local sums: the compiler cannot keep fx and fy in registers while the
    // loop reads memory they might alias.
    double sx = fx;
    double sy = fy;
    const double pushX = k.pushX;
    const double pushY = k.pushY;
    const double strengthFar = k.strengthFar;
    std::int32_t i = 0;
    while (i < end) {
        const FlatCell& c = cells[i];
        if (prune) {
            // Skipped when wholly beyond reach (see ReachSqr): it would add
            // only zeros, which leave the sum as it is (a sum that starts at
            // +0.0 never becomes -0.0).
            const double reachLeft = static_cast<double>(c.left) - 1.0;
            const double reachTop = static_cast<double>(c.top) - 1.0;
            const auto reachRight = static_cast<double>(c.right);
            const auto reachBottom = static_cast<double>(c.bottom);
            double ex = 0.0;
            double ey = 0.0;
            if (px < reachLeft) {
                ex = reachLeft - px;
            } else if (px > reachRight) {
                ex = px - reachRight;
            }
            if (py < reachTop) {
                ey = reachTop - py;
            } else if (py > reachBottom) {
                ey = py - reachBottom;
            }
            if (ex * ex + ey * ey > reachSqr) {
                i = c.next;
                continue;
            }
        }
        const double dx = c.centerX - px;
        const double dy = c.centerY - py;
        const double d2 = SquaredDistance<Scalar>(dx, dy);
        double tx = 0.0;
        double ty = 0.0;
        if (c.IsLeaf()) {
            // The zeros beyond the cut-off are added only where no cell is
            // skipped (they keep a caller's -0.0 literal).
            if (ChargeForce(
                    dx, dy, d2, cutoff, pushX, pushY, [&] { return strength(c.Node()); }, tx, ty) ||
                !prune) {
                sx += tx;
                sy += ty;
            }
            i = c.next;
            continue;
        }
        if (d2 > c.farSqr) {
            // One charge of D squared per node at the centre (the repulsion law
            // on the d2 just computed), times the count.
            ChargeForce(
                dx, dy, d2, cutoff, pushX, pushY, [strengthFar] { return strengthFar; }, tx, ty);
            tx *= c.count;
            ty *= c.count;
            sx += tx;
            sy += ty;
            i = c.next;
        } else {
            i = i + 1; // its first child, or c.next when it has none
        }
    }
    fx = sx;
    fy = sy;
}

} // namespace netloom::force
