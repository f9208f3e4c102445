#include "force/flat_quad_tree.h"

#include "force/quad_cells.h"
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
    // Every cell lies inside its tree's root, a rectangle of ints.
    cell.left = static_cast<std::int32_t>(left);
    cell.top = static_cast<std::int32_t>(top);
    cell.right = static_cast<std::int32_t>(right);
    cell.bottom = static_cast<std::int32_t>(bottom);
    cell.count = count;
    const std::int64_t s = ((right - left) + (bottom - top)) / 2;
    cell.farSqr = static_cast<double>(s) * static_cast<double>(s);
    return cell;
}

std::int32_t FlatQuadTree::AddCell(std::vector<FlatCell>& out, std::int64_t left, std::int64_t top,
                                   std::int64_t right, std::int64_t bottom, std::int32_t count) {
    out.push_back(MakeCell(left, top, right, bottom, count));
    return static_cast<std::int32_t>(out.size() - 1);
}

// Inserting nodes one by one splits every cell that receives a second node while
// it is at least 2 wide, and keeps the cells that receive any. So the tree
// depends only on which nodes fall into which cell. Each node's path of
// quadrants is computed on its own; sorted by path, the nodes of every cell
// form a run, the runs of its quadrants follow each other in child order, and
// the cells come out in depth-first order. The force layout numbers its nodes
// in leaf order from time to time, so the sort mostly finds them in order.
// Large trees split their top levels first and build the subtrees below them
// on several threads, each into its own array; the arrays are then joined in
// depth-first order, which gives the same cells.
void FlatQuadTree::Build(const double* x, const double* y, std::size_t n, const CRect& root,
                         WorkerPool* pool) {
    m_vecOrder.resize(n);
    m_pX = x;
    m_pY = y;
    if (n == 0) {
        m_vecCells.clear();
        return;
    }
    const Box box{root.left, root.top, root.right, root.bottom};
    const bool parallel = pool != nullptr && pool->Threads() > 1 && n >= kParallelBuild;
    SortByPath(box, parallel ? pool : nullptr);
    if (!parallel) {
        m_vecCells.clear();
        BuildCell(m_vecCells, 0, n, box, 0);
        return;
    }
    m_vecSplits.clear();
    m_nSubtrees = 0;
    Split(0, n, box, 0);
    pool->Run(m_nSubtrees, 1, [this](std::size_t first, std::size_t end) {
        for (std::size_t t = first; t < end; ++t) {
            Subtree& job = m_vecSubtrees[t];
            job.cells.clear();
            BuildCell(job.cells, job.begin, job.end, job.box, job.level);
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
        // 0 and 1 along the top, then 2 and 3 back along the bottom.
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

// The bit position of the quadrant at `level` (the root's split is level 0).
// A root at most 2^30 wide is split at most 30 times along a path.
constexpr int DigitShift(int level) {
    return 62 - 2 * level;
}

// Nodes per block when the paths are computed on several threads.
constexpr std::size_t kKeyBlock = 4096;
// Runs of a cell's nodes up to this length are split by counting.
constexpr std::size_t kCountedRun = 64;
// Nodes whose paths are computed together.
constexpr int kPathBatch = 8;
// Bits of the path sorted per pass.
constexpr int kRadixBits = 12;
// Nodes from which the sort's passes run on several threads.
constexpr std::size_t kParallelRadix = 65536;

} // namespace

namespace {

// Four 32-bit lanes: SSE2 on x86-64, NEON on ARM, scalar code elsewhere. Every
// coordinate and cell side of a tree lies in the int range, so does every
// middle. Comparisons give all ones or zero per lane.
using Int4 = std::int32_t __attribute__((vector_size(16)));
using Bits4 = std::uint32_t __attribute__((vector_size(16)));
constexpr int kLanes = 4;

} // namespace

// The quadrants of a node's path, cell by cell from the root down to the first
// cell narrower than 2, as base-4 digits from the top; zeros below. Cells are
// tracked as corner and size, by masks rather than branches (which would
// mispredict half the time); the high half starts at the middle and takes the
// odd unit. A cell narrower than 2 adds no digit. Levels 0 to 15 fill the
// upper half of the key, the rest the lower half.
void FlatQuadTree::PathKeys(const double* x, const double* y, const Box& root, int levels,
                            Keyed* out) {
    constexpr int kVectors = kPathBatch / kLanes;
    Int4 px[kVectors];
    Int4 py[kVectors];
    Int4 left[kVectors];
    Int4 top[kVectors];
    Int4 width[kVectors];
    Int4 height[kVectors];
    Bits4 upper[kVectors];
    Bits4 lower[kVectors];
    for (int v = 0; v < kVectors; ++v) {
        for (int l = 0; l < kLanes; ++l) {
            px[v][l] = TruncToInt(x[v * kLanes + l]);
            py[v][l] = TruncToInt(y[v * kLanes + l]);
        }
        left[v] = Int4{} + static_cast<std::int32_t>(root.left);
        top[v] = Int4{} + static_cast<std::int32_t>(root.top);
        width[v] = Int4{} + static_cast<std::int32_t>(root.right - root.left);
        height[v] = Int4{} + static_cast<std::int32_t>(root.bottom - root.top);
        upper[v] = Bits4{};
        lower[v] = Bits4{};
    }
    for (int level = 0; level < levels; ++level) {
        const int shift = DigitShift(level) & 31;
        for (int v = 0; v < kVectors; ++v) {
            const Int4 halfW = width[v] >> 1;
            const Int4 halfH = height[v] >> 1;
            const Int4 highX = px[v] >= left[v] + halfW;
            const Int4 highY = py[v] >= top[v] + halfH;
            // 0 and 1 along the top, then 2 and 3 back along the bottom.
            const Int4 digit = ((highY & 2) | ((highX ^ highY) & 1)) & (width[v] > 1);
            if (level < 16) {
                upper[v] |= reinterpret_cast<const Bits4&>(digit) << shift;
            } else {
                lower[v] |= reinterpret_cast<const Bits4&>(digit) << shift;
            }
            left[v] += halfW & highX;
            width[v] = halfW + (width[v] & 1 & highX);
            top[v] += halfH & highY;
            height[v] = halfH + (height[v] & 1 & highY);
        }
    }
    for (int v = 0; v < kVectors; ++v) {
        for (int l = 0; l < kLanes; ++l) {
            out[v * kLanes + l].key = static_cast<std::uint64_t>(upper[v][l]) << 32 | lower[v][l];
        }
    }
}

// Sorts the nodes by path, nodes of one narrow cell in index order: a radix
// sort from the lowest digits that a path can use up, which is stable, over
// the nodes in index order.
void FlatQuadTree::SortByPath(const Box& root, WorkerPool* pool) {
    const std::size_t n = m_vecOrder.size();
    m_vecSorting.resize(n);
    // The longest path takes the larger half at every level.
    int levels = 0;
    for (std::int64_t width = root.right - root.left; width >= 2; width -= width / 2) {
        ++levels;
    }
    // The last few nodes are computed in a batch padded with the first node.
    m_vecKeyed.resize(n + kPathBatch);
    for (std::size_t i = n; i < n + kPathBatch; ++i) {
        m_vecKeyed[i].index = 0;
    }
    auto keys = [this, &root, levels, n](std::size_t first, std::size_t last) {
        for (std::size_t b = first; b < last; ++b) {
            const std::size_t stop = std::min(n, (b + 1) * kKeyBlock);
            for (std::size_t i = b * kKeyBlock; i < stop; i += kPathBatch) {
                if (i + kPathBatch <= n) {
                    PathKeys(m_pX + i, m_pY + i, root, levels, &m_vecKeyed[i]);
                    continue;
                }
                double xs[kPathBatch];
                double ys[kPathBatch];
                for (int k = 0; k < kPathBatch; ++k) {
                    xs[k] = m_pX[i + k < n ? i + k : 0];
                    ys[k] = m_pY[i + k < n ? i + k : 0];
                }
                PathKeys(xs, ys, root, levels, &m_vecKeyed[i]);
            }
            for (std::size_t i = b * kKeyBlock; i < stop; ++i) {
                m_vecKeyed[i].index = static_cast<std::int32_t>(i);
            }
        }
    };
    const std::size_t blocks = (n + kKeyBlock - 1) / kKeyBlock;
    if (pool != nullptr) {
        pool->Run(blocks, 1, keys);
    } else {
        keys(0, blocks);
    }
    m_vecKeyed.resize(n);
    // Passes of at most kRadixBits, as even as they go.
    const int bits = 2 * levels;
    const int passes = (bits + kRadixBits - 1) / kRadixBits;
    const int digit = passes > 0 ? (bits + passes - 1) / passes : 0;
    // Each thread counts and then moves its own share of the nodes, after the
    // earlier shares' nodes of the same digit: the same order as one pass.
    // Below kParallelRadix nodes a pass takes less time than handing it out.
    if (n < kParallelRadix) {
        pool = nullptr;
    }
    const std::size_t parts = pool != nullptr ? static_cast<std::size_t>(pool->Threads()) : 1;
    const std::size_t buckets = std::size_t{1} << digit;
    std::vector<std::uint32_t>& place = m_vecBuckets;
    place.resize(parts * buckets);
    Keyed* from = m_vecKeyed.data();
    Keyed* to = m_vecSorting.data();
    for (int shift = 64 - bits; shift < 64; shift += digit) {
        const std::uint64_t mask = buckets - 1u;
        auto share = [n, parts](std::size_t part) { return n * part / parts; };
        auto count = [&](std::size_t first, std::size_t last) {
            for (std::size_t part = first; part < last; ++part) {
                std::uint32_t* sizes = &place[part * buckets];
                std::fill(sizes, sizes + buckets, 0);
                for (std::size_t i = share(part); i < share(part + 1); ++i) {
                    ++sizes[from[i].key >> shift & mask];
                }
            }
        };
        auto move = [&](std::size_t first, std::size_t last) {
            for (std::size_t part = first; part < last; ++part) {
                std::uint32_t* places = &place[part * buckets];
                for (std::size_t i = share(part); i < share(part + 1); ++i) {
                    to[places[from[i].key >> shift & mask]++] = from[i];
                }
            }
        };
        if (pool != nullptr) {
            pool->Run(parts, 1, count);
        } else {
            count(0, parts);
        }
        std::uint32_t at = 0;
        std::uint32_t largest = 0;
        for (std::size_t d = 0; d < buckets; ++d) {
            const std::uint32_t first = at;
            for (std::size_t part = 0; part < parts; ++part) {
                const std::uint32_t size = place[part * buckets + d];
                place[part * buckets + d] = at;
                at += size;
            }
            largest = std::max(largest, at - first);
        }
        if (largest == n) {
            continue; // one digit for all: the order stays
        }
        if (pool != nullptr) {
            pool->Run(parts, 1, move);
        } else {
            move(0, parts);
        }
        std::swap(from, to);
    }
    if (from != m_vecKeyed.data()) {
        m_vecKeyed.swap(m_vecSorting);
    }
    for (std::size_t i = 0; i < n; ++i) {
        m_vecOrder[i] = m_vecKeyed[i].index;
    }
}

// The ends of the runs of quadrants 0 to 3 within the run of a cell at
// `level`: counted in short runs, searched for in long ones.
void FlatQuadTree::Quadrants(std::size_t begin, std::size_t end, int level,
                             std::size_t ends[4]) const {
    const Keyed* const a = m_vecKeyed.data();
    const int shift = DigitShift(level);
    auto digit = [shift](const Keyed& k) { return static_cast<int>(k.key >> shift & 3u); };
    if (end - begin <= kCountedRun) {
        std::size_t above[4] = {0, 0, 0, 0};
        for (std::size_t i = begin; i < end; ++i) {
            const int d = digit(a[i]);
            above[0] += static_cast<std::size_t>(d > 0);
            above[1] += static_cast<std::size_t>(d > 1);
            above[2] += static_cast<std::size_t>(d > 2);
        }
        for (int q = 0; q < 3; ++q) {
            ends[q] = end - above[q];
        }
        ends[3] = end;
        return;
    }
    std::size_t from = begin;
    for (int q = 0; q < 3; ++q) {
        from = static_cast<std::size_t>(
            std::partition_point(a + from, a + end, [&](const Keyed& k) { return digit(k) <= q; }) -
            a);
        ends[q] = from;
    }
    ends[3] = end;
}

void FlatQuadTree::BuildCell(std::vector<FlatCell>& out, std::size_t begin, std::size_t end,
                             const Box& box, int level) {
    const auto count = static_cast<std::int32_t>(end - begin);
    const std::int32_t self = AddCell(out, box.left, box.top, box.right, box.bottom, count);
    if (count == 1) {
        const std::int32_t node = m_vecKeyed[begin].index;
        FlatCell& leaf = out[self];
        leaf.count = ~node;
        leaf.centerX = m_pX[node];
        leaf.centerY = m_pY[node];
        leaf.next = self + 1;
        return;
    }
    if (box.right - box.left < 2) {
        // Too narrow to split: its nodes count as one charge each at one point.
        FlatCell& narrow = out[self];
        narrow.centerX = static_cast<double>(box.left + 1);
        narrow.centerY = static_cast<double>(box.top + 1);
        narrow.next = self + 1;
        return;
    }
    std::size_t ends[4];
    Quadrants(begin, end, level, ends);
    Box quadrants[4];
    QuadrantBoxes(box, SplitOf(box), quadrants);
    std::int32_t children[4];
    std::size_t from = begin;
    for (int q = 0; q < 4; ++q) {
        children[q] = -1;
        if (ends[q] != from) {
            children[q] = static_cast<std::int32_t>(out.size());
            BuildCell(out, from, ends[q], quadrants[q], level + 1);
        }
        from = ends[q];
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
            cx += c.Nodes() * c.centerX;
            cy += c.Nodes() * c.centerY;
        }
    }
    FlatCell& cell = out[self];
    cell.centerX = cx / cell.count;
    cell.centerY = cy / cell.count;
    cell.next = next;
}

// The top levels: a cell that BuildCell would split is split here down to
// kSplitLevels; each cell below becomes a subtree of its own.
void FlatQuadTree::Split(std::size_t begin, std::size_t end, const Box& box, int level) {
    if (level == kSplitLevels || end - begin < 2 || box.right - box.left < 2) {
        // Subtree arrays are kept from one build to the next.
        if (m_nSubtrees == m_vecSubtrees.size()) {
            m_vecSubtrees.emplace_back();
        }
        Subtree& job = m_vecSubtrees[m_nSubtrees];
        job.begin = begin;
        job.end = end;
        job.box = box;
        job.level = level;
        job.split = m_vecSplits.size();
        m_vecSplits.push_back({box, 0, 0, static_cast<std::int32_t>(m_nSubtrees++), 0, 0});
        return;
    }
    const std::size_t self = m_vecSplits.size();
    m_vecSplits.push_back({box, static_cast<std::int32_t>(end - begin), 0, -1, 0, 0});
    std::size_t ends[4];
    Quadrants(begin, end, level, ends);
    Box quadrants[4];
    QuadrantBoxes(box, SplitOf(box), quadrants);
    int children = 0;
    std::size_t from = begin;
    for (int q = 0; q < 4; ++q) {
        if (ends[q] != from) {
            Split(from, ends[q], quadrants[q], level + 1);
            ++children;
        }
        from = ends[q];
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
    // Every cell is written below: resizing the last tree's array (of about
    // the same size) leaves it without filling it first.
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
    if (cell->m_iCount == 1) {
        m_vecCells[self].count = ~NodeIndexOf(cell);
    }
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
