#include "force/flat_quad_tree.h"

#include "force/worker_pool.h"
#include "graph/truncate.h"

#include <algorithm>
#include <utility>

namespace netloom::force {

namespace {

// Components from this size on build the tree's subtrees on several threads.
constexpr std::size_t kParallelBuild = 4096;
// Levels split on the calling thread before the subtrees are handed out.
constexpr int kSplitLevels = 2;

} // namespace

FlatCell FlatQuadTree::MakeCell(std::int64_t left, std::int64_t top, std::int64_t right,
                                std::int64_t bottom, std::int32_t count) {
    FlatCell cell;
    cell.reachLeft = static_cast<double>(left) - 1.0;
    cell.reachTop = static_cast<double>(top) - 1.0;
    cell.reachRight = static_cast<double>(right);
    cell.reachBottom = static_cast<double>(bottom);
    cell.count = count;
    const std::int64_t s = ((right - left) + (bottom - top)) / 2;
    cell.farSqr = static_cast<double>(s) * static_cast<double>(s);
    cell.wide = (right - left) >= 2 ? 1 : 0;
    return cell;
}

std::int32_t FlatQuadTree::AddCell(std::vector<FlatCell>& out, std::int64_t left, std::int64_t top,
                                   std::int64_t right, std::int64_t bottom, std::int32_t count) {
    out.push_back(MakeCell(left, top, right, bottom, count));
    return static_cast<std::int32_t>(out.size() - 1);
}

// Inserting nodes one by one splits every cell that receives a second node while
// it is at least 2 wide, and keeps the cells that receive any. So the tree
// depends only on which nodes fall into which cell: each cell's nodes are
// distributed over its quadrants at once (a stable counting pass, so that each
// cell lists its nodes in insertion order), and the cells come out in
// depth-first order. Large trees split their top levels first and build the
// subtrees below them on several threads, each into its own array; the arrays
// are then joined in depth-first order, which gives the same cells.
void FlatQuadTree::Build(const double* x, const double* y, std::size_t n, const CRect& root,
                         WorkerPool* pool) {
    m_vecOrder.resize(n);
    m_vecPoints.resize(n);
    m_vecScratch.resize(n);
    m_pX = x;
    m_pY = y;
    for (std::size_t i = 0; i < n; ++i) {
        m_vecPoints[i] = {TruncToInt(x[i]), TruncToInt(y[i]), static_cast<std::int32_t>(i)};
    }
    const Box box{root.left, root.top, root.right, root.bottom};
    if (n == 0 || pool == nullptr || pool->Threads() <= 1 || n < kParallelBuild) {
        m_vecCells.clear();
        if (n == 0) {
            return;
        }
        BuildCell(m_vecCells, m_vecPoints.data(), m_vecScratch.data(), 0, n, box);
        return;
    }
    m_vecSplits.clear();
    m_nSubtrees = 0;
    Split(m_vecPoints.data(), m_vecScratch.data(), 0, n, box, 0, *pool);
    pool->Run(m_nSubtrees, 1, [this](std::size_t first, std::size_t end) {
        for (std::size_t t = first; t < end; ++t) {
            Subtree& job = m_vecSubtrees[t];
            job.cells.clear();
            BuildCell(job.cells, job.from, job.to, job.begin, job.end, job.box);
        }
    });
    Join(*pool);
}

namespace {

// The quadrant of a split cell that a truncated point falls in.
struct QuadrantOf {
    std::int64_t mx;
    std::int64_t my;
    int operator()(std::int32_t x, std::int32_t y) const {
        const int highX = x >= mx ? 1 : 0;
        const int highY = y >= my ? 1 : 0;
        // 0 and 1 along the top, then 2 and 3 back along the bottom; without
        // branches, which points in random order would mispredict.
        return highY << 1 | (highX ^ highY);
    }
};

template <class Box> QuadrantOf SplitOf(const Box& box) {
    return {box.left + (box.right - box.left) / 2, box.top + (box.bottom - box.top) / 2};
}

// The four quadrants of a cell split at `at`, in child order.
template <class Box> void QuadrantBoxes(const Box& box, const QuadrantOf& at, Box quadrants[4]) {
    quadrants[0] = {box.left, box.top, at.mx, at.my};
    quadrants[1] = {at.mx, box.top, box.right, at.my};
    quadrants[2] = {at.mx, at.my, box.right, box.bottom};
    quadrants[3] = {box.left, at.my, at.mx, box.bottom};
}

// Points per block of the parallel partition, and the cells large enough to
// be partitioned on several threads.
constexpr std::size_t kPartitionBlock = 2048;
constexpr std::size_t kParallelPartition = 16384;

} // namespace

// Distributes a cell's nodes over its quadrants (stably); `starts` and `sizes`
// give each quadrant's range in `to`, and `quadrants` their boxes. Returns
// false when one quadrant takes every node: then nothing moves, and the range
// is the same in `from`. With a
// pool, blocks of points are counted and then moved on its threads, each block
// to its own places (after the earlier blocks' points of the same quadrant),
// which gives the same order.
bool FlatQuadTree::Partition(const Point* from, Point* to, std::size_t begin, std::size_t end,
                             const Box& box, std::size_t starts[4], std::size_t sizes[4],
                             Box quadrants[4], WorkerPool* pool) {
    const QuadrantOf quadrant = SplitOf(box);
    const std::size_t blocks =
        pool != nullptr ? (end - begin + kPartitionBlock - 1) / kPartitionBlock : 1;
    const std::size_t block = pool != nullptr ? kPartitionBlock : end - begin;
    // The calling thread's own four places when alone: subtrees are built on
    // several threads at once.
    std::size_t own[4] = {0, 0, 0, 0};
    if (pool != nullptr) {
        m_vecBlockFill.assign(blocks * 4, 0);
    }
    std::size_t* const fills = pool != nullptr ? m_vecBlockFill.data() : own;
    auto count = [&](std::size_t first, std::size_t last) {
        for (std::size_t b = first; b < last; ++b) {
            std::size_t* sizesOf = &fills[b * 4];
            const std::size_t stop = std::min(end, begin + (b + 1) * block);
            for (std::size_t i = begin + b * block; i < stop; ++i) {
                ++sizesOf[quadrant(from[i].x, from[i].y)];
            }
        }
    };
    auto move = [&](std::size_t first, std::size_t last) {
        for (std::size_t b = first; b < last; ++b) {
            std::size_t* fill = &fills[b * 4];
            const std::size_t stop = std::min(end, begin + (b + 1) * block);
            for (std::size_t i = begin + b * block; i < stop; ++i) {
                to[fill[quadrant(from[i].x, from[i].y)]++] = from[i];
            }
        }
    };
    if (pool != nullptr) {
        pool->Run(blocks, 1, count);
    } else {
        count(0, blocks);
    }
    // Each block's counts become the places its points go to.
    std::size_t at = begin;
    for (int q = 0; q < 4; ++q) {
        starts[q] = at;
        for (std::size_t b = 0; b < blocks; ++b) {
            const std::size_t size = fills[b * 4 + q];
            fills[b * 4 + q] = at;
            at += size;
        }
        sizes[q] = at - starts[q];
    }
    QuadrantBoxes(box, quadrant, quadrants);
    // Nodes close together share quadrant after quadrant: when one quadrant
    // takes them all, they stay where they are, in the same order.
    for (int q = 0; q < 4; ++q) {
        if (sizes[q] == end - begin) {
            return false;
        }
    }
    if (pool != nullptr) {
        pool->Run(blocks, 1, move);
    } else {
        move(0, blocks);
    }
    return true;
}

void FlatQuadTree::BuildCell(std::vector<FlatCell>& out, Point* from, Point* to, std::size_t begin,
                             std::size_t end, const Box& box) {
    const auto count = static_cast<std::int32_t>(end - begin);
    const std::int32_t self = AddCell(out, box.left, box.top, box.right, box.bottom, count);
    if (count == 1) {
        const std::int32_t node = from[begin].index;
        m_vecOrder[begin] = node;
        FlatCell& leaf = out[self];
        leaf.node = node;
        leaf.centerX = m_pX[node];
        leaf.centerY = m_pY[node];
        leaf.next = self + 1;
        return;
    }
    if (box.right - box.left < 2) {
        // Too narrow to split: the cell keeps the node that came first.
        for (std::size_t i = begin; i < end; ++i) {
            m_vecOrder[i] = from[i].index;
        }
        FlatCell& narrow = out[self];
        narrow.node = from[begin].index;
        narrow.centerX = static_cast<double>(box.left + 1);
        narrow.centerY = static_cast<double>(box.top + 1);
        narrow.next = self + 1;
        return;
    }
    std::size_t starts[4];
    std::size_t sizes[4];
    Box quadrants[4];
    const bool moved = Partition(from, to, begin, end, box, starts, sizes, quadrants);
    Point* const into = moved ? to : from;
    Point* const spare = moved ? from : to;
    std::int32_t children[4];
    for (int q = 0; q < 4; ++q) {
        children[q] = -1;
        if (sizes[q] != 0) {
            children[q] = static_cast<std::int32_t>(out.size());
            BuildCell(out, into, spare, starts[q], starts[q] + sizes[q], quadrants[q]);
        }
    }
    Finish(out, self, children, static_cast<std::int32_t>(out.size()));
}

// A split cell's centre: its children's centres weighted by their counts, in
// quadrant order.
void FlatQuadTree::Finish(std::vector<FlatCell>& out, std::int32_t self,
                          const std::int32_t children[4], std::int32_t next) {
    double cx = 0.0;
    double cy = 0.0;
    for (int q = 0; q < 4; ++q) {
        if (children[q] >= 0) {
            const FlatCell& c = out[children[q]];
            cx += c.count * c.centerX;
            cy += c.count * c.centerY;
        }
    }
    FlatCell& cell = out[self];
    cell.centerX = cx / cell.count;
    cell.centerY = cy / cell.count;
    cell.next = next;
}

// The top levels: a cell that BuildCell would split is split here down to
// kSplitLevels; each cell below becomes a subtree of its own.
void FlatQuadTree::Split(Point* from, Point* to, std::size_t begin, std::size_t end, const Box& box,
                         int level, WorkerPool& pool) {
    if (level == kSplitLevels || end - begin < 2 || box.right - box.left < 2) {
        // Subtree arrays are kept from one build to the next.
        if (m_nSubtrees == m_vecSubtrees.size()) {
            m_vecSubtrees.emplace_back();
        }
        Subtree& job = m_vecSubtrees[m_nSubtrees];
        job.from = from;
        job.to = to;
        job.begin = begin;
        job.end = end;
        job.box = box;
        job.split = m_vecSplits.size();
        m_vecSplits.push_back({box, 0, 0, static_cast<std::int32_t>(m_nSubtrees++), 0, 0});
        return;
    }
    const std::size_t self = m_vecSplits.size();
    m_vecSplits.push_back({box, static_cast<std::int32_t>(end - begin), 0, -1, 0, 0});
    std::size_t starts[4];
    std::size_t sizes[4];
    Box quadrants[4];
    const bool moved = Partition(from, to, begin, end, box, starts, sizes, quadrants,
                                 end - begin >= kParallelPartition ? &pool : nullptr);
    Point* const into = moved ? to : from;
    Point* const spare = moved ? from : to;
    int children = 0;
    for (int q = 0; q < 4; ++q) {
        if (sizes[q] != 0) {
            Split(into, spare, starts[q], starts[q] + sizes[q], quadrants[q], level + 1, pool);
            ++children;
        }
    }
    m_vecSplits[self].children = children;
}

// Places the split cell at m_vecSplits[at] and everything below it at `first`
// onwards, in depth-first order, and returns the end of its subtree; `at`
// moves past them. Only positions are decided here: the subtrees' cells are
// copied afterwards, in parallel, and the split cells written last.
std::size_t FlatQuadTree::Place(std::size_t& at, std::size_t first) {
    SplitCell& split = m_vecSplits[at++];
    split.position = static_cast<std::int32_t>(first);
    if (split.subtree >= 0) {
        return first + m_vecSubtrees[split.subtree].cells.size();
    }
    std::size_t end = first + 1;
    for (int left = split.children; left > 0; --left) {
        end = Place(at, end);
    }
    split.next = static_cast<std::int32_t>(end);
    return end;
}

void FlatQuadTree::Join(WorkerPool& pool) {
    std::size_t at = 0;
    m_vecCells.resize(Place(at, 0));
    pool.Run(m_nSubtrees, 1, [this](std::size_t begin, std::size_t end) {
        for (std::size_t t = begin; t < end; ++t) {
            const std::vector<FlatCell>& cells = m_vecSubtrees[t].cells;
            const std::int32_t offset = m_vecSplits[m_vecSubtrees[t].split].position;
            FlatCell* out = m_vecCells.data() + offset;
            for (std::size_t k = 0; k < cells.size(); ++k) {
                out[k] = cells[k];
                out[k].next += offset;
            }
        }
    });
    // The split cells, deepest first: a cell's centre needs its children's.
    for (std::size_t k = m_vecSplits.size(); k-- > 0;) {
        const SplitCell& split = m_vecSplits[k];
        if (split.subtree >= 0) {
            continue;
        }
        const Box& box = split.box;
        m_vecCells[split.position] =
            MakeCell(box.left, box.top, box.right, box.bottom, split.count);
        std::int32_t children[4] = {-1, -1, -1, -1};
        std::int32_t child = split.position + 1;
        for (int q = 0; q < split.children; ++q) {
            children[q] = child;
            child = m_vecCells[child].next;
        }
        Finish(m_vecCells, split.position, children, split.next);
    }
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
    const std::int32_t self = AddCell(m_vecCells, r.left, r.top, r.right, r.bottom, cell->m_iCount);
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
