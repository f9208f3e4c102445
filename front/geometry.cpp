// The drawing's geometry: box sizes from labels and ports, the one scale at
// which the boxes stand apart (all of them in layered layouts, all but the few
// closest in the free ones), a path per edge, and the scale of a static picture.

#include "geometry.h"

#include "names.h"
#include "routes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <unordered_map>

namespace netloom::front {

const char* const kDrawFills[8] = {"#dbe9f6", "#fde2c8", "#d9f0d3", "#eadcf2",
                                   "#fbe3ea", "#e0f3f1", "#f3efd2", "#e4e4e4"};

namespace {

// Sizes in pixels.
constexpr double kFont = 12.0;
constexpr double kCharWidth = 7.0;
constexpr double kBoxHeight = 24.0;
constexpr double kPortSpacing = 12.0;
constexpr double kGap = 24.0; // least space between two boxes
constexpr double kStroke = 1.3;
constexpr double kArrow = 9.0;
constexpr double kParallel = 14.0; // apex distance between parallel edges
constexpr double kMargin = 20.0;
constexpr double kLine = 15.0;      // between the lines of a label
constexpr double kCellWidth = 24.0; // least width of a record's field
constexpr double kSameSpot = 1e-3;  // of the node distance
// Free layouts may put a few nodes nearly on top of each other: the boxes of
// this share of the nodes may overlap, so that a handful of close pairs does
// not blow the drawing up.
constexpr double kCrowdedShare = 0.02;
// Below this share of their natural size boxes become dots.
constexpr double kDotZoom = 0.2;
constexpr double kDotRadius = 2.0;

std::size_t CodePoints(const std::string& text) {
    std::size_t count = 0;
    for (unsigned char c : text) {
        count += (c & 0xC0) != 0x80 ? 1 : 0;
    }
    return count;
}

// Cuts a line to width characters (on a character boundary) with an ellipsis.
std::string ShortLine(const std::string& text, std::size_t width) {
    if (CodePoints(text) <= width) {
        return text;
    }
    std::size_t count = 0;
    std::size_t cut = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            if (count + 1 >= width) {
                cut = i;
                break;
            }
            ++count;
        }
    }
    return text.substr(0, cut) + "\xE2\x80\xA6";
}

// A label's lines (split at '\n', a trailing '\r' dropped), each cut to width.
std::vector<std::string> LabelLines(const std::string& text, std::size_t width) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find('\n', start);
        std::string line = text.substr(start, end == std::string::npos ? end : end - start);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(ShortLine(line, std::max<std::size_t>(width, 1)));
        if (end == std::string::npos) {
            return lines;
        }
        start = end + 1;
    }
}

struct Size {
    double w = 0.0, h = 0.0;
};

// The pixel size of a text's lines: their widest line and their count.
Size TextSize(const std::vector<std::string>& lines, double least) {
    std::size_t widest = 0;
    for (const std::string& line : lines) {
        widest = std::max(widest, CodePoints(line));
    }
    return {std::max(least, kCharWidth * static_cast<double>(widest) + 16.0),
            std::max(kBoxHeight, kLine * static_cast<double>(lines.size()) + kBoxHeight - kLine)};
}

// The natural size (pixels) of a record field: a leaf fits its text, a group
// its fields side by side or stacked.
Size FieldSize(const RecordField& f, std::size_t width) {
    if (f.fields.empty()) {
        return TextSize(LabelLines(f.text, width), kCellWidth);
    }
    Size size;
    for (const RecordField& child : f.fields) {
        const Size c = FieldSize(child, width);
        size.w = f.vertical ? std::max(size.w, c.w) : size.w + c.w;
        size.h = f.vertical ? size.h + c.h : std::max(size.h, c.h);
    }
    return size;
}

// Places the leaves of f in the rectangle (left, top, w, h), pixels about the
// box's centre: a group's fields share its length along its direction in
// proportion to their natural sizes, and each takes its whole breadth.
void PlaceCells(const RecordField& f, double left, double top, double w, double h,
                std::size_t width, std::vector<DrawnCell>& cells) {
    if (f.fields.empty()) {
        DrawnCell cell;
        cell.x = left + w / 2;
        cell.y = top + h / 2;
        cell.w = w;
        cell.h = h;
        cell.lines = LabelLines(f.text, width);
        cell.port = f.port;
        cells.push_back(std::move(cell));
        return;
    }
    std::vector<double> lengths;
    double total = 0.0;
    for (const RecordField& child : f.fields) {
        const Size c = FieldSize(child, width);
        lengths.push_back(f.vertical ? c.h : c.w);
        total += lengths.back();
    }
    double at = f.vertical ? top : left;
    for (std::size_t k = 0; k < f.fields.size(); ++k) {
        const double share = (f.vertical ? h : w) * lengths[k] / total;
        if (f.vertical) {
            PlaceCells(f.fields[k], left, at, w, share, width, cells);
        } else {
            PlaceCells(f.fields[k], at, top, share, h, width, cells);
        }
        at += share;
    }
}

// The hash key of grid cell (cx, cy).
std::uint64_t CellKey(std::int64_t cx, std::int64_t cy) {
    return (static_cast<std::uint64_t>(cx) << 32) ^ static_cast<std::uint64_t>(cy & 0xffffffff);
}

// The cells of a grid, keyed by CellKey, each a list of items in the order
// they were added: an open-addressing table of cells and a link per item,
// without an allocation per cell.
class CellLists {
public:
    static constexpr std::uint32_t kNone = 0xffffffffu;
    explicit CellLists(std::size_t items) : m_next(items, kNone) {
        std::size_t size = 16;
        m_shift = 60;
        while (size < 2 * items) {
            size *= 2;
            --m_shift;
        }
        m_mask = size - 1;
        m_keys.resize(size);
        m_head.assign(size, kNone);
        m_tail.resize(size);
    }
    std::uint32_t First(std::uint64_t key) const { return m_head[Slot(key)]; }
    std::uint32_t Next(std::uint32_t item) const { return m_next[item]; }
    void Add(std::uint64_t key, std::uint32_t item) {
        const std::size_t slot = Slot(key);
        if (m_head[slot] == kNone) {
            m_keys[slot] = key;
            m_head[slot] = item;
        } else {
            m_next[m_tail[slot]] = item;
        }
        m_tail[slot] = item;
    }

private:
    // The key's slot, or the empty one where it would go.
    std::size_t Slot(std::uint64_t key) const {
        // The product's top bits depend on every bit of the key.
        std::size_t slot = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> m_shift);
        while (m_head[slot] != kNone && m_keys[slot] != key) {
            slot = (slot + 1) & m_mask;
        }
        return slot;
    }
    std::size_t m_mask = 0;
    int m_shift = 60;
    std::vector<std::uint64_t> m_keys;
    std::vector<std::uint32_t> m_head, m_tail, m_next;
};

// One distinct layout position with the largest box (pixels) placed there.
struct Spot {
    double x = 0.0, y = 0.0;
    double w = 0.0, h = 0.0;
};

// Positions closer than eps (in both axes) count as one: the layout put those
// nodes on one spot, and no scale would part their boxes. A node joins the
// first spot near it, looking through the neighbouring cells in order.
std::vector<Spot> DistinctSpots(const std::vector<DrawnNode>& nodes, double eps) {
    std::vector<Spot> spots;
    CellLists cells(nodes.size());
    for (const DrawnNode& node : nodes) {
        const auto cx = static_cast<std::int64_t>(std::floor(node.x / eps));
        const auto cy = static_cast<std::int64_t>(std::floor(node.y / eps));
        Spot* same = nullptr;
        for (std::int64_t dx = -1; dx <= 1 && same == nullptr; ++dx) {
            for (std::int64_t dy = -1; dy <= 1 && same == nullptr; ++dy) {
                for (std::uint32_t k = cells.First(CellKey(cx + dx, cy + dy));
                     k != CellLists::kNone; k = cells.Next(k)) {
                    if (std::fabs(spots[k].x - node.x) < eps &&
                        std::fabs(spots[k].y - node.y) < eps) {
                        same = &spots[k];
                        break;
                    }
                }
            }
        }
        if (same != nullptr) {
            same->w = std::max(same->w, node.w);
            same->h = std::max(same->h, node.h);
        } else {
            cells.Add(CellKey(cx, cy), static_cast<std::uint32_t>(spots.size()));
            spots.push_back({node.x, node.y, node.w, node.h});
        }
    }
    return spots;
}

// Whether more than `allowed` boxes (pixel sizes plus kGap) overlap another at
// scale s. Boxes go into a grid of cells as large as the largest box, so each
// is compared with the boxes of its own and the neighbouring cells only.
bool Crowded(const std::vector<Spot>& spots, double s, double cellW, double cellH,
             std::size_t allowed) {
    CellLists cells(spots.size());
    std::vector<char> overlapping(allowed > 0 ? spots.size() : 0, 0);
    std::size_t count = 0;
    for (std::size_t i = 0; i < spots.size(); ++i) {
        const auto cx = static_cast<std::int64_t>(std::floor(spots[i].x * s / cellW));
        const auto cy = static_cast<std::int64_t>(std::floor(spots[i].y * s / cellH));
        for (std::int64_t dx = -1; dx <= 1; ++dx) {
            for (std::int64_t dy = -1; dy <= 1; ++dy) {
                for (std::uint32_t j = cells.First(CellKey(cx + dx, cy + dy));
                     j != CellLists::kNone; j = cells.Next(j)) {
                    const Spot& a = spots[i];
                    const Spot& b = spots[j];
                    if (std::fabs(a.x - b.x) * s < (a.w + b.w) / 2 + kGap &&
                        std::fabs(a.y - b.y) * s < (a.h + b.h) / 2 + kGap) {
                        if (allowed == 0) {
                            return true;
                        }
                        for (std::size_t k : {i, static_cast<std::size_t>(j)}) {
                            count += overlapping[k] == 0 ? 1 : 0;
                            overlapping[k] = 1;
                        }
                        if (count > allowed) {
                            return true;
                        }
                    }
                }
            }
        }
        cells.Add(CellKey(cx, cy), static_cast<std::uint32_t>(i));
    }
    return false;
}

constexpr double kNever = std::numeric_limits<double>::infinity();

bool Overlap(const Spot& a, const Spot& b, double s) {
    return std::fabs(a.x - b.x) * s < (a.w + b.w) / 2 + kGap &&
           std::fabs(a.y - b.y) * s < (a.h + b.h) / 2 + kGap;
}

// Whether Crowded's grid at scale s compares spots a and b: their cells are
// next to each other.
bool GridNeighbours(const Spot& a, const Spot& b, double s, double cellW, double cellH) {
    const auto cell = [s](double v, double side) {
        return static_cast<std::int64_t>(std::floor(v * s / side));
    };
    return std::llabs(cell(a.x, cellW) - cell(b.x, cellW)) <= 1 &&
           std::llabs(cell(a.y, cellH) - cell(b.y, cellH)) <= 1;
}

// Two spots whose boxes overlap at some scale, and the scale above which
// they are apart (to rounding: they overlap only below t (1 + 1e-15)).
struct SpotPair {
    double t;
    std::uint32_t i, j;
};

// The pairs of spots whose boxes overlap at scale lo, into pairs; false when
// there are more than limit of them or the coordinates are too large for the
// grid. The grid's cells are twice the largest box plus gap at lo, so an
// overlapping pair always lies in neighbouring cells, rounding included.
bool PairsOverlappingAt(const std::vector<Spot>& spots, double lo, double cellW, double cellH,
                        std::size_t limit, std::vector<SpotPair>& pairs) {
    const double sideX = 2 * cellW / lo, sideY = 2 * cellH / lo;
    struct Binned {
        std::int64_t cy, cx;
        std::uint32_t spot;
        bool operator<(const Binned& o) const {
            return cy != o.cy ? cy < o.cy : cx != o.cx ? cx < o.cx : spot < o.spot;
        }
    };
    std::vector<Binned> binned(spots.size());
    for (std::size_t i = 0; i < spots.size(); ++i) {
        const double fx = std::floor(spots[i].x / sideX), fy = std::floor(spots[i].y / sideY);
        if (!(std::fabs(fx) < 0x1p40 && std::fabs(fy) < 0x1p40)) {
            return false;
        }
        binned[i] = {static_cast<std::int64_t>(fy), static_cast<std::int64_t>(fx),
                     static_cast<std::uint32_t>(i)};
    }
    std::sort(binned.begin(), binned.end());
    for (const Binned& a : binned) {
        // The cells of the rows from a's row on, each pair once.
        for (std::int64_t dy = 0; dy <= 1; ++dy) {
            const std::int64_t fromX = dy == 0 ? a.cx : a.cx - 1;
            auto k = std::lower_bound(binned.begin(), binned.end(),
                                      Binned{a.cy + dy, fromX, dy == 0 ? a.spot + 1 : 0});
            for (; k != binned.end() && k->cy == a.cy + dy && k->cx <= a.cx + 1; ++k) {
                const Spot& p = spots[a.spot];
                const Spot& q = spots[k->spot];
                if (Overlap(p, q, lo)) {
                    if (pairs.size() == limit) {
                        return false;
                    }
                    const double dx = std::fabs(p.x - q.x), dy = std::fabs(p.y - q.y);
                    const double tx = dx > 0.0 ? ((p.w + q.w) / 2 + kGap) / dx : kNever;
                    const double ty = dy > 0.0 ? ((p.h + q.h) / 2 + kGap) / dy : kNever;
                    pairs.push_back({std::min(tx, ty), a.spot, k->spot});
                }
            }
        }
    }
    return true;
}

// Crowded, answered from the pairs that overlap at a smaller scale, largest t
// first: a pair overlapping at s overlaps at every smaller scale, so no other
// pair can, and none whose t lies below s.
bool CrowdedAmong(const std::vector<Spot>& spots, const std::vector<SpotPair>& pairs, double s,
                  double cellW, double cellH, std::size_t allowed, std::vector<std::uint32_t>& mark,
                  std::uint32_t stamp) {
    std::size_t count = 0;
    for (const auto& [t, i, j] : pairs) {
        if (t < s * (1.0 - 1e-12)) {
            return false;
        }
        const Spot& a = spots[i];
        const Spot& b = spots[j];
        if (!Overlap(a, b, s) || !GridNeighbours(a, b, s, cellW, cellH)) {
            continue;
        }
        if (allowed == 0) {
            return true;
        }
        for (std::uint32_t k : {i, j}) {
            count += mark[k] != stamp ? 1 : 0;
            mark[k] = stamp;
        }
        if (count > allowed) {
            return true;
        }
    }
    return false;
}

} // namespace

double ClearingScale(const std::vector<DrawnNode>& nodes, double eps, double crowdedShare) {
    const std::vector<Spot> spots = DistinctSpots(nodes, eps);
    if (spots.size() < 2) {
        return 1.0;
    }
    const auto allowed =
        static_cast<std::size_t>(std::floor(crowdedShare * static_cast<double>(spots.size())));
    double cellW = 0.0, cellH = 0.0;
    for (const Spot& s : spots) {
        cellW = std::max(cellW, s.w + kGap);
        cellH = std::max(cellH, s.h + kGap);
    }
    auto crowded = [&](double s) { return Crowded(spots, s, cellW, cellH, allowed); };
    double lo = 0.0;
    double hi = 1.0;
    while (crowded(hi)) {
        lo = hi;
        hi *= 2.0;
        if (hi > 1e12) {
            return hi;
        }
    }
    if (lo == 0.0) {
        // Already clear at 1: shrink while it stays clear.
        lo = hi / 2.0;
        while (lo > 1e-9 && !crowded(lo)) {
            hi = lo;
            lo /= 2.0;
        }
    }
    // Every scale the bisection tries lies above lo: only the pairs that
    // overlap at lo can overlap there. Where those are too many (a crowd of
    // boxes on few spots), each scale takes a pass of the grid instead.
    std::vector<SpotPair> pairs;
    const bool paired = PairsOverlappingAt(spots, lo, cellW, cellH, 8 * spots.size(), pairs);
    if (!paired) {
        std::vector<SpotPair>().swap(pairs);
    }
    std::sort(pairs.begin(), pairs.end(), [](const SpotPair& a, const SpotPair& b) {
        return a.t != b.t ? a.t > b.t : a.i != b.i ? a.i < b.i : a.j < b.j;
    });
    std::vector<std::uint32_t> mark(paired && allowed > 0 ? spots.size() : 0, 0);
    std::uint32_t stamp = 0;
    while (hi - lo > hi * 1e-9) {
        const double mid = lo + (hi - lo) / 2.0;
        const bool over =
            paired ? CrowdedAmong(spots, pairs, mid, cellW, cellH, allowed, mark, ++stamp)
                   : crowded(mid);
        (over ? lo : hi) = mid;
    }
    return hi;
}

namespace {

// Self-loops without port sides nest at their box's top right corner, each a
// little larger than the one before.
void Loops(const Request& request, const Result& result, Drawing& d) {
    std::map<std::size_t, std::vector<std::size_t>> loops;
    for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
        if (request.sources[j] == request.targets[j] && result.sourcePlace[j].side < 0 &&
            result.targetPlace[j].side < 0) {
            loops[request.sources[j]].push_back(j);
        }
    }
    for (const auto& [node, edges] : loops) {
        const DrawnNode& a = d.nodes[node];
        const double size = 0.8 * std::min(a.w, a.h) / static_cast<double>(edges.size() + 1);
        const double cx = a.x + a.w / 2;
        const double cy = a.y - a.h / 2;
        for (std::size_t k = 0; k < edges.size(); ++k) {
            const double r = size * static_cast<double>(k + 1);
            d.edges[edges[k]].points = {
                {cx - r, cy}, {cx - r, cy - r}, {cx + r, cy - r}, {cx + r, cy + r}, {cx, cy + r}};
        }
    }
}

// The point where edge j meets its source's (or target's) box when that end
// names a field of a record: of the field's points on the sides it reaches
// from which the line to `toward` leaves the box, the one on the side the
// layout gave the port, else the one nearest to `toward`. False when there is
// none (the end is then an ordinary one).
bool FieldEnd(const Request& request, const Result& result, const Drawing& d, std::size_t j,
              bool source, const Point& toward, Point& out) {
    const std::vector<int>& names = source ? request.sourcePorts : request.targetPorts;
    if (j >= names.size() || names[j] == kNoPort) {
        return false;
    }
    const DrawnNode& b = d.nodes[source ? request.sources[j] : request.targets[j]];
    const DrawnCell* cell = FieldOf(b, names[j]);
    if (cell == nullptr) {
        return false;
    }
    const int given = (source ? result.sourcePlace : result.targetPlace)[j].side;
    double best = std::numeric_limits<double>::infinity();
    for (int side = 0; side < kSideCount; ++side) {
        const Point p = FieldPoint(b, *cell, side);
        const bool outward = side == kSideUp     ? toward.y < p.y
                             : side == kSideDown ? toward.y > p.y
                             : side == kSideLeft ? toward.x < p.x
                                                 : toward.x > p.x;
        const double distance = side == given ? -1.0 : std::hypot(p.x - toward.x, p.y - toward.y);
        if (Touches(b, *cell, side) && outward && distance < best) {
            best = distance;
            out = p;
        }
    }
    return best < std::numeric_limits<double>::infinity();
}

// Straight edges; parallel edges bend apart. An end at a record's field
// starts at that field.
void StraightEdges(const Request& request, const Result& result, Drawing& d) {
    // The edges grouped by their two ends, each group in edge order.
    const std::size_t m = request.EdgeCount();
    struct Ends {
        std::size_t lo, hi, edge;
        bool operator<(const Ends& o) const {
            return lo != o.lo ? lo < o.lo : hi != o.hi ? hi < o.hi : edge < o.edge;
        }
    };
    std::vector<Ends> order(m);
    for (std::size_t j = 0; j < m; ++j) {
        const std::size_t s = request.sources[j], t = request.targets[j];
        order[j] = {std::min(s, t), std::max(s, t), j};
    }
    std::sort(order.begin(), order.end());
    const double unit = 1.0 / d.scale;
    for (std::size_t first = 0, last = 0; first < m; first = last) {
        const Ends& pair = order[first];
        for (last = first + 1; last < m && order[last].lo == pair.lo && order[last].hi == pair.hi;
             ++last) {
        }
        const std::size_t count = last - first;
        const DrawnNode& a = d.nodes[pair.lo];
        const DrawnNode& b = d.nodes[pair.hi];
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t j = order[first + k].edge;
            DrawnEdge& out = d.edges[j];
            const DrawnNode& from = d.nodes[request.sources[j]];
            const DrawnNode& to = d.nodes[request.targets[j]];
            if (pair.lo == pair.hi) {
                continue; // drawn by Loops
            }
            const double offset =
                (static_cast<double>(k) - static_cast<double>(count - 1) / 2.0) * kParallel * unit;
            auto end = [&](bool source, const Point& toward) {
                Point p;
                return FieldEnd(request, result, d, j, source, toward, p)
                           ? p
                           : BorderToward(source ? from : to, toward);
            };
            if (offset == 0.0 || (a.x == b.x && a.y == b.y)) {
                out.points = {end(true, {to.x, to.y}), end(false, {from.x, from.y})};
                Point p;
                if (FieldEnd(request, result, d, j, true, out.points[1], p) ||
                    FieldEnd(request, result, d, j, false, out.points[0], p)) {
                    // Each end aims at the other's point, which a field moves.
                    const Point target = end(false, out.points[0]);
                    out.points = {end(true, target), target};
                }
                continue;
            }
            // Offsets are measured across the line from the lower to the higher
            // node index, so that the two directions of a pair do not coincide.
            const double dx = b.x - a.x;
            const double dy = b.y - a.y;
            const double len = std::hypot(dx, dy);
            const Point control{(a.x + b.x) / 2 - dy / len * 2 * offset,
                                (a.y + b.y) / 2 + dx / len * 2 * offset};
            out.kind = PathKind::Quadratic;
            out.points = {end(true, control), control, end(false, control)};
        }
    }
}

// Whether the segment a-b passes through the inside of box b (its border
// excluded, with a tolerance).
bool CrossesBox(const Point& a, const Point& b, const DrawnNode& box) {
    const double tol = 1e-7 * (box.w + box.h);
    double t0 = 0.0, t1 = 1.0;
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {a.x - (box.x - box.w / 2 + tol), (box.x + box.w / 2 - tol) - a.x,
                         a.y - (box.y - box.h / 2 + tol), (box.y + box.h / 2 - tol) - a.y};
    for (int k = 0; k < 4; ++k) {
        if (p[k] == 0.0) {
            if (q[k] <= 0.0) {
                return false;
            }
        } else {
            const double t = q[k] / p[k];
            if (p[k] < 0.0) {
                t0 = std::max(t0, t);
            } else {
                t1 = std::min(t1, t);
            }
        }
    }
    return t0 < t1;
}

// The edges whose straight path crosses a box other than its ends'. Box
// centres are binned in square cells as large as the largest box, and each row
// of cells keeps its centres sorted by column: a crossed box has its centre in
// a cell next to one the path passes through, so a path looks, row by row,
// only at the columns its part in (or next to) that row spans.
std::vector<std::size_t> EdgesThroughBoxes(const Request& request, const Drawing& d) {
    double cell = 0.0;
    for (const DrawnNode& b : d.nodes) {
        cell = std::max({cell, b.w, b.h});
    }
    auto cellOf = [&](double v) { return static_cast<long long>(std::floor(v / cell)); };
    struct Binned {
        long long column;
        std::size_t node;
        bool operator<(const Binned& o) const {
            return column != o.column ? column < o.column : node < o.node;
        }
    };
    std::unordered_map<long long, std::vector<Binned>> rows;
    for (std::size_t i = 0; i < d.nodes.size(); ++i) {
        rows[cellOf(d.nodes[i].y)].push_back({cellOf(d.nodes[i].x), i});
    }
    for (auto& [row, binned] : rows) {
        std::sort(binned.begin(), binned.end());
    }
    std::vector<std::size_t> out;
    for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
        const std::size_t source = request.sources[j], target = request.targets[j];
        const auto& pts = d.edges[j].points;
        if (source == target || pts.size() != 2) {
            continue; // loops and bent parallels stay as they are
        }
        const Point a = pts[0], b = pts[1];
        const double loX = std::min(a.x, b.x), hiX = std::max(a.x, b.x);
        bool crosses = false;
        for (long long ry = cellOf(std::min(a.y, b.y)) - 1;
             ry <= cellOf(std::max(a.y, b.y)) + 1 && !crosses; ++ry) {
            const auto it = rows.find(ry);
            if (it == rows.end()) {
                continue;
            }
            // The path's x-extent within the row widened by 1.5 cells each
            // way: where a point lies that is within half a cell of a centre
            // in this row, with room for rounding.
            double x0 = loX, x1 = hiX;
            if (a.y != b.y) {
                const double slope = (b.x - a.x) / (b.y - a.y);
                const double u0 = a.x + ((static_cast<double>(ry) - 1.5) * cell - a.y) * slope;
                const double u1 = a.x + ((static_cast<double>(ry) + 2.5) * cell - a.y) * slope;
                x0 = std::max(loX, std::min(u0, u1));
                x1 = std::min(hiX, std::max(u0, u1));
            }
            if (x0 > x1) {
                continue;
            }
            const std::vector<Binned>& binned = it->second;
            auto k = std::lower_bound(binned.begin(), binned.end(), Binned{cellOf(x0) - 1, 0});
            const long long last = cellOf(x1) + 1;
            for (; k != binned.end() && k->column <= last && !crosses; ++k) {
                const std::size_t i = k->node;
                crosses = i != source && i != target && CrossesBox(a, b, d.nodes[i]);
            }
        }
        if (crosses) {
            out.push_back(j);
        }
    }
    return out;
}

} // namespace

Point BorderToward(const DrawnNode& b, const Point& p, bool stopAtP) {
    const double dx = p.x - b.x;
    const double dy = p.y - b.y;
    if (dx == 0.0 && dy == 0.0) {
        return {b.x, b.y};
    }
    const double tx = dx != 0.0 ? (b.w / 2) / std::fabs(dx) : 1e300;
    const double ty = dy != 0.0 ? (b.h / 2) / std::fabs(dy) : 1e300;
    const double t = stopAtP ? std::min(1.0, std::min(tx, ty)) : std::min(tx, ty);
    return {b.x + dx * t, b.y + dy * t};
}

const DrawnCell* FieldOf(const DrawnNode& b, int port) {
    for (const DrawnCell& c : b.cells) {
        if (c.port == port && port != kNoPort) {
            return &c;
        }
    }
    return nullptr;
}

bool Touches(const DrawnNode& b, const DrawnCell& c, int side) {
    const double tol = 1e-9 * (b.w + b.h);
    switch (side) {
    case kSideUp:
        return c.y - c.h / 2 <= b.y - b.h / 2 + tol;
    case kSideDown:
        return c.y + c.h / 2 >= b.y + b.h / 2 - tol;
    case kSideRight:
        return c.x + c.w / 2 >= b.x + b.w / 2 - tol;
    default:
        return c.x - c.w / 2 <= b.x - b.w / 2 + tol;
    }
}

Point FieldPoint(const DrawnNode& b, const DrawnCell& c, int side) {
    switch (side) {
    case kSideUp:
        return {c.x, b.y - b.h / 2};
    case kSideDown:
        return {c.x, b.y + b.h / 2};
    case kSideRight:
        return {b.x + b.w / 2, c.y};
    default:
        return {b.x - b.w / 2, c.y};
    }
}

std::vector<Point> FieldDividers(const DrawnNode& b) {
    std::vector<Point> out;
    const double tol = 1e-9 * (b.w + b.h);
    for (const DrawnCell& c : b.cells) {
        const double right = c.x + c.w / 2, bottom = c.y + c.h / 2;
        if (right < b.x + b.w / 2 - tol) {
            out.push_back({right, c.y - c.h / 2});
            out.push_back({right, bottom});
        }
        if (bottom < b.y + b.h / 2 - tol) {
            out.push_back({c.x - c.w / 2, bottom});
            out.push_back({right, bottom});
        }
    }
    return out;
}

Drawing MakeDrawing(const Request& request, const Result& result, std::size_t labelWidth) {
    Drawing d;
    const std::size_t n = request.nodeCount;
    d.nodes.resize(n);
    d.edges.resize(request.EdgeCount());
    for (std::size_t i = 0; i < n; ++i) {
        DrawnNode& b = d.nodes[i];
        const bool record = i < request.records.size() && !request.records[i].fields.empty();
        Size text;
        if (record) {
            b.label = RecordText(request.records[i]);
            text = FieldSize(request.records[i], labelWidth);
        } else {
            b.lines = LabelLines(request.labels.empty() ? std::to_string(i) : request.labels[i],
                                 labelWidth);
            b.label = b.lines[0];
            for (std::size_t k = 1; k < b.lines.size(); ++k) {
                b.label.append(1, '\n').append(b.lines[k]);
            }
            text = TextSize(b.lines, 0.0);
        }
        const auto& counts = result.sideCounts[i];
        b.w = std::max(
            {48.0, text.w, (std::max(counts[kSideUp], counts[kSideDown]) + 1) * kPortSpacing});
        b.h = std::max({kBoxHeight, text.h,
                        (std::max(counts[kSideLeft], counts[kSideRight]) + 1) * kPortSpacing});
        if (record) {
            PlaceCells(request.records[i], -b.w / 2, -b.h / 2, b.w, b.h, labelWidth, b.cells);
        }
        b.x = result.x[i];
        b.y = result.y[i];
        b.fill = std::max(0, result.component[i]) % 8;
    }
    d.orthogonal = result.type == CNetworkGraph::m_iHierarchyLayout;
    // Positions within a thousandth of the node distance are one spot.
    d.scale =
        ClearingScale(d.nodes, result.distance * kSameSpot, result.layered ? 0.0 : kCrowdedShare);
    if (d.orthogonal) {
        d.scale = std::max(d.scale, RoutingScale(request, result, d));
    }
    const double unit = 1.0 / d.scale;
    for (DrawnNode& b : d.nodes) {
        b.w *= unit;
        b.h *= unit;
        for (DrawnCell& c : b.cells) {
            c.x = b.x + c.x * unit;
            c.y = b.y + c.y * unit;
            c.w *= unit;
            c.h *= unit;
        }
    }
    d.fontSize = kFont * unit;
    d.lineHeight = kLine * unit;
    d.strokeWidth = kStroke * unit;
    d.arrowSize = request.directed ? kArrow * unit : 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        d.nodes[i].ports.reserve(result.ports[i].size());
        for (const NodePort& port : result.ports[i]) {
            d.nodes[i].ports.push_back(PortPoint(d.nodes[i], port.side, port.slot,
                                                 result.sideCounts[i][port.side], port.name));
        }
    }
    Loops(request, result, d);
    if (d.orthogonal) {
        std::vector<std::size_t> routed;
        for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
            if (d.edges[j].points.empty()) {
                routed.push_back(j);
            }
        }
        RouteEdges(request, result, d, routed);
    } else {
        StraightEdges(request, result, d);
        if (result.layered) {
            // Tree edges stay straight unless that line would cross a box;
            // those few go round on the rows' tracks instead.
            RouteEdges(request, result, d, EdgesThroughBoxes(request, d));
        }
    }

    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    auto add = [&](double x, double y) {
        minX = std::min(minX, x);
        minY = std::min(minY, y);
        maxX = std::max(maxX, x);
        maxY = std::max(maxY, y);
    };
    for (const DrawnNode& b : d.nodes) {
        add(b.x - b.w / 2, b.y - b.h / 2);
        add(b.x + b.w / 2, b.y + b.h / 2);
    }
    for (const DrawnEdge& e : d.edges) {
        for (const Point& p : e.points) {
            add(p.x, p.y);
        }
    }
    if (minX > maxX) {
        add(0, 0);
    }
    const double margin = kMargin * unit;
    d.left = minX - margin;
    d.top = minY - margin;
    d.width = maxX - minX + 2 * margin;
    d.height = maxY - minY + 2 * margin;
    d.pixel = unit;
    d.scale = std::min({d.scale, kMaxDrawingSide / std::max(d.width, d.height),
                        std::sqrt(kMaxDrawingPixels / d.width / d.height)});
    const double zoom = DrawingZoom(d);
    d.labels = kFont * zoom >= kReadableText;
    d.dots = zoom < kDotZoom;
    d.dotRadius = kDotRadius / d.scale;
    return d;
}

std::vector<std::vector<Point>> EdgeRoutes(const Drawing& d) {
    std::vector<std::vector<Point>> routes(d.edges.size());
    for (std::size_t j = 0; j < d.edges.size(); ++j) {
        const std::vector<Point>& p = d.edges[j].points;
        if (d.edges[j].kind == PathKind::Quadratic) {
            // B(1/2) = (start + 2 control + end) / 4
            routes[j] = {p[0],
                         {(p[0].x + 2 * p[1].x + p[2].x) / 4, (p[0].y + 2 * p[1].y + p[2].y) / 4},
                         p[2]};
        } else {
            routes[j] = p;
        }
    }
    return routes;
}

} // namespace netloom::front
