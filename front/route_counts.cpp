// Crossing and bend counts of a drawing.

#include "route_counts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>

namespace netloom::front {
namespace {

using Segment = std::pair<Point, Point>;

double Orient(const Point& a, const Point& b, const Point& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// The insides of the two segments meet in one point.
bool ProperCross(const Segment& s, const Segment& t) {
    const double o1 = Orient(s.first, s.second, t.first);
    const double o2 = Orient(s.first, s.second, t.second);
    const double o3 = Orient(t.first, t.second, s.first);
    const double o4 = Orient(t.first, t.second, s.second);
    return ((o1 < 0 && o2 > 0) || (o1 > 0 && o2 < 0)) && ((o3 < 0 && o4 > 0) || (o3 > 0 && o4 < 0));
}

bool Horizontal(const Segment& s) {
    return s.first.y == s.second.y && s.first.x != s.second.x;
}

bool Vertical(const Segment& s) {
    return s.first.x == s.second.x && s.first.y != s.second.y;
}

// Horizontal against vertical segments, of any edges: a sweep along x with a
// Fenwick tree over the heights of the horizontals open at x.
std::size_t OrthogonalCrossings(const std::vector<Segment>& segments) {
    std::vector<double> ys;
    struct Event {
        double x;
        int type; // 0: a horizontal ends, 1: a vertical, 2: a horizontal starts
        std::size_t segment;
    };
    std::vector<Event> events;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        const Segment& s = segments[k];
        if (Horizontal(s)) {
            ys.push_back(s.first.y);
            events.push_back({std::min(s.first.x, s.second.x), 2, k});
            events.push_back({std::max(s.first.x, s.second.x), 0, k});
        } else if (Vertical(s)) {
            events.push_back({s.first.x, 1, k});
        }
    }
    std::sort(ys.begin(), ys.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    std::sort(events.begin(), events.end(), [](const Event& a, const Event& b) {
        return a.x != b.x ? a.x < b.x : a.type < b.type;
    });
    std::vector<long long> tree(ys.size() + 1, 0);
    auto rank = [&](double y) {
        return static_cast<std::size_t>(std::lower_bound(ys.begin(), ys.end(), y) - ys.begin());
    };
    auto add = [&](std::size_t i, long long v) {
        for (++i; i < tree.size(); i += i & (~i + 1)) {
            tree[i] += v;
        }
    };
    auto prefix = [&](std::size_t n) { // horizontals open below rank n
        long long sum = 0;
        for (; n > 0; n -= n & (~n + 1)) {
            sum += tree[n];
        }
        return sum;
    };
    std::size_t count = 0;
    for (const Event& e : events) {
        const Segment& s = segments[e.segment];
        if (e.type != 1) {
            add(rank(s.first.y), e.type == 2 ? 1 : -1);
            continue;
        }
        const double lo = std::min(s.first.y, s.second.y), hi = std::max(s.first.y, s.second.y);
        const std::size_t below = static_cast<std::size_t>(
            std::upper_bound(ys.begin(), ys.end(), lo) - ys.begin()); // first rank above lo
        const std::size_t upto = rank(hi);                            // first rank at or above hi
        if (upto > below) {
            count += static_cast<std::size_t>(prefix(upto) - prefix(below));
        }
    }
    return count;
}

// The segments' bounding boxes, and which segments are slanted.
struct SegmentBoxes {
    std::vector<double> loX, hiX, loY, hiY;
    std::vector<char> slanted;
    explicit SegmentBoxes(const std::vector<Segment>& segments) {
        const std::size_t n = segments.size();
        loX.resize(n);
        hiX.resize(n);
        loY.resize(n);
        hiY.resize(n);
        slanted.resize(n);
        for (std::size_t k = 0; k < n; ++k) {
            const Segment& s = segments[k];
            loX[k] = std::min(s.first.x, s.second.x);
            hiX[k] = std::max(s.first.x, s.second.x);
            loY[k] = std::min(s.first.y, s.second.y);
            hiY[k] = std::max(s.first.y, s.second.y);
            slanted[k] = s.first.x != s.second.x && s.first.y != s.second.y;
        }
    }
    // The axis in which segments are short against the drawing: sorted along
    // it, a segment overlaps fewer others.
    bool SweepAlongX() const {
        double extentX = 0.0, extentY = 0.0;
        double minX = INFINITY, maxX = -INFINITY, minY = INFINITY, maxY = -INFINITY;
        for (std::size_t k = 0; k < loX.size(); ++k) {
            extentX += hiX[k] - loX[k];
            extentY += hiY[k] - loY[k];
            minX = std::min(minX, loX[k]);
            maxX = std::max(maxX, hiX[k]);
            minY = std::min(minY, loY[k]);
            maxY = std::max(maxY, hiY[k]);
        }
        return extentX * (maxY - minY) <= extentY * (maxX - minX);
    }
    bool Meet(std::size_t a, std::size_t b) const {
        return loX[b] <= hiX[a] && loX[a] <= hiX[b] && loY[b] <= hiY[a] && loY[a] <= hiY[b];
    }
};

// Pairs with a slanted segment, sorted along one axis and each compared with
// those it overlaps there: the fallback for drawings the grid cannot cover.
std::size_t SlantedCrossingsBySweep(const std::vector<Segment>& segments,
                                    const std::vector<std::size_t>& owner,
                                    const SegmentBoxes& box) {
    const bool alongX = box.SweepAlongX();
    const std::vector<double>& lo = alongX ? box.loX : box.loY;
    const std::vector<double>& hi = alongX ? box.hiX : box.hiY;
    std::vector<std::size_t> order(segments.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return lo[a] != lo[b] ? lo[a] < lo[b] : a < b; });
    std::size_t count = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::size_t a = order[i];
        for (std::size_t j = i + 1; j < order.size() && lo[order[j]] <= hi[a]; ++j) {
            const std::size_t b = order[j];
            if ((box.slanted[a] || box.slanted[b]) && owner[a] != owner[b] && box.Meet(a, b) &&
                ProperCross(segments[a], segments[b])) {
                ++count;
            }
        }
    }
    return count;
}

// Pairs with a slanted segment: every segment is entered in the cells of a
// grid that it passes through (with a row to spare on either side for
// rounding), and the pairs that meet in a cell are tested there. About one cell per segment, so a
// drawing of short edges costs about linear time. False, with nothing
// counted, when the cheaper of the two ways would test more than limit pairs.
bool SlantedCrossings(const std::vector<Segment>& segments, const std::vector<std::size_t>& owner,
                      double limit, std::size_t& count) {
    const SegmentBoxes box(segments);
    const std::size_t n = segments.size();
    count = 0;
    if (std::find(box.slanted.begin(), box.slanted.end(), 1) == box.slanted.end()) {
        return true;
    }
    // The pairs the sweep would test.
    double sweepWork = 0.0;
    {
        const bool alongX = box.SweepAlongX();
        std::vector<double> starts(alongX ? box.loX : box.loY);
        std::sort(starts.begin(), starts.end());
        for (std::size_t k = 0; k < n; ++k) {
            sweepWork += static_cast<double>(
                std::upper_bound(starts.begin(), starts.end(), alongX ? box.hiX[k] : box.hiY[k]) -
                std::lower_bound(starts.begin(), starts.end(), alongX ? box.loX[k] : box.loY[k]));
        }
    }
    const auto bySweep = [&] {
        if (sweepWork > limit) {
            return false;
        }
        count = SlantedCrossingsBySweep(segments, owner, box);
        return true;
    };
    double minX = INFINITY, maxX = -INFINITY, minY = INFINITY, maxY = -INFINITY;
    for (std::size_t k = 0; k < n; ++k) {
        minX = std::min(minX, box.loX[k]);
        maxX = std::max(maxX, box.hiX[k]);
        minY = std::min(minY, box.loY[k]);
        maxY = std::max(maxY, box.hiY[k]);
    }
    const double width = maxX - minX, height = maxY - minY;
    const double cells = static_cast<double>(n);
    double side = std::sqrt(width * height / cells);
    if (!(side > 0.0)) {
        side = std::max(width, height) / cells;
    }
    if (!std::isfinite(width) || !std::isfinite(height) || !(side > 0.0) ||
        n >= (std::size_t{1} << 32)) {
        return bySweep();
    }
    const std::size_t cols = static_cast<std::size_t>(std::min(width / side, cells)) + 1;
    const std::size_t rows = static_cast<std::size_t>(std::min(height / side, cells)) + 1;
    auto column = [&](double x) {
        return std::min(cols - 1, static_cast<std::size_t>((x - minX) / side));
    };
    auto row = [&](double y) {
        return std::min(rows - 1, static_cast<std::size_t>((y - minY) / side));
    };
    // The rows of column c that segment k passes through. Within a column the
    // segment's heights are taken over the column widened by half a cell each
    // way, and a row is added on either side, so that rounding never drops a
    // cell it crosses.
    auto rowsIn = [&](std::size_t k, std::size_t c) {
        const std::size_t r0 = row(box.loY[k]), r1 = row(box.hiY[k]);
        if (column(box.hiX[k]) - column(box.loX[k]) <= 1) {
            return std::make_pair(r0, r1);
        }
        const Segment& s = segments[k];
        const double x0 = std::max(box.loX[k], minX + (static_cast<double>(c) - 0.5) * side);
        const double x1 = std::min(box.hiX[k], minX + (static_cast<double>(c) + 1.5) * side);
        const double slope = (s.second.y - s.first.y) / (s.second.x - s.first.x);
        const double y0 = s.first.y + (x0 - s.first.x) * slope;
        const double y1 = s.first.y + (x1 - s.first.x) * slope;
        const std::size_t lo = std::max(r0, row(std::min(y0, y1)));
        const std::size_t hi = std::min(r1, row(std::max(y0, y1)));
        return std::make_pair(lo > r0 ? lo - 1 : lo, hi < r1 ? hi + 1 : hi);
    };
    auto forCells = [&](std::size_t k, auto&& visit) {
        for (std::size_t c = column(box.loX[k]); c <= column(box.hiX[k]); ++c) {
            const auto [lo, hi] = rowsIn(k, c);
            for (std::size_t r = lo; r <= hi; ++r) {
                visit(c * rows + r);
            }
        }
    };
    // The first cell (lowest column, then row) that both segments pass through.
    auto firstCommon = [&](std::size_t a, std::size_t b) {
        const std::size_t last = std::min(column(box.hiX[a]), column(box.hiX[b]));
        for (std::size_t c = std::max(column(box.loX[a]), column(box.loX[b])); c <= last; ++c) {
            const auto [la, ha] = rowsIn(a, c);
            const auto [lb, hb] = rowsIn(b, c);
            if (std::max(la, lb) <= std::min(ha, hb)) {
                return c * rows + std::max(la, lb);
            }
        }
        return cols * rows;
    };
    // The cells' segment lists, one array in cell order. Where segments crowd
    // the cells (many long ones) the sweep does fewer comparisons: the cheaper
    // of the two runs.
    std::vector<std::size_t> start(cols * rows + 1, 0);
    std::size_t entries = 0;
    for (std::size_t k = 0; k < n && entries <= 64 * n + 1024; ++k) {
        forCells(k, [&](std::size_t cell) {
            ++start[cell + 1];
            ++entries;
        });
    }
    if (entries > 64 * n + 1024) {
        return bySweep();
    }
    double gridWork = 0.0;
    for (std::size_t cell = 1; cell < start.size(); ++cell) {
        gridWork += static_cast<double>(start[cell]) * static_cast<double>(start[cell]);
    }
    if (gridWork > sweepWork) {
        return bySweep();
    }
    if (gridWork > limit) {
        return false;
    }
    std::partial_sum(start.begin(), start.end(), start.begin());
    std::vector<std::uint32_t> members(entries);
    std::vector<std::size_t> fill(start.begin(), start.end() - 1);
    for (std::size_t k = 0; k < n; ++k) {
        forCells(k,
                 [&](std::size_t cell) { members[fill[cell]++] = static_cast<std::uint32_t>(k); });
    }
    // Each pair is tested in the first cell the two share only.
    for (std::size_t cell = 0; cell + 1 < start.size(); ++cell) {
        for (std::size_t i = start[cell]; i < start[cell + 1]; ++i) {
            const std::size_t a = members[i];
            if (!box.slanted[a]) {
                continue;
            }
            for (std::size_t j = start[cell]; j < start[cell + 1]; ++j) {
                const std::size_t b = members[j];
                if (b != a && (!box.slanted[b] || a < b) && owner[a] != owner[b] &&
                    box.Meet(a, b) && ProperCross(segments[a], segments[b]) &&
                    firstCommon(a, b) == cell) {
                    ++count;
                }
            }
        }
    }
    return true;
}

} // namespace

std::size_t CountCrossings(const std::vector<Segment>& segments,
                           const std::vector<std::size_t>& owner) {
    std::size_t count = 0;
    CountCrossingsWithin(segments, owner, INFINITY, count);
    return count;
}

bool CountCrossingsWithin(const std::vector<Segment>& segments,
                          const std::vector<std::size_t>& owner, double limit,
                          std::size_t& crossings) {
    std::size_t slanted = 0;
    if (!SlantedCrossings(segments, owner, limit, slanted)) {
        return false;
    }
    std::size_t count = OrthogonalCrossings(segments);
    // The sweep counted pairs of one edge too: take those back.
    for (std::size_t a = 0; a < segments.size();) {
        std::size_t b = a;
        while (b < segments.size() && owner[b] == owner[a]) {
            ++b;
        }
        for (std::size_t i = a; i < b; ++i) {
            for (std::size_t j = a; j < b; ++j) {
                if (Horizontal(segments[i]) && Vertical(segments[j]) &&
                    ProperCross(segments[i], segments[j])) {
                    --count;
                }
            }
        }
        a = b;
    }
    crossings = count + slanted;
    return true;
}

RouteCounts CountRoutes(const Request& request, const Drawing& d) {
    return CountRoutes(request, d, EdgeRoutes(d));
}

RouteCounts CountRoutes(const Request& request, const Drawing& d,
                        const std::vector<std::vector<Point>>& routes, double limit) {
    RouteCounts counts;
    std::vector<Segment> drawn, straight;
    std::vector<std::size_t> drawnOwner, straightOwner;
    for (std::size_t j = 0; j < routes.size(); ++j) {
        const std::size_t s = request.sources[j], t = request.targets[j];
        if (s == t) {
            continue;
        }
        ++counts.edges;
        const std::vector<Point>& p = routes[j];
        for (std::size_t k = 0; k + 1 < p.size(); ++k) {
            drawn.emplace_back(p[k], p[k + 1]);
            drawnOwner.push_back(j);
        }
        if (d.edges[j].kind == PathKind::Polyline && p.size() > 2) {
            counts.bends += p.size() - 2;
        }
        straight.emplace_back(Point{d.nodes[s].x, d.nodes[s].y}, Point{d.nodes[t].x, d.nodes[t].y});
        straightOwner.push_back(j);
    }
    counts.counted = CountCrossingsWithin(drawn, drawnOwner, limit, counts.crossings) &&
                     CountCrossingsWithin(straight, straightOwner, limit, counts.straightCrossings);
    if (!counts.counted) {
        counts.crossings = counts.straightCrossings = 0;
    }
    counts.width = d.width * d.scale;
    counts.height = d.height * d.scale;
    return counts;
}

std::string DescribeCounts(const RouteCounts& c) {
    char text[512];
    const double perEdge = c.edges > 0 ? static_cast<double>(c.bends) / c.edges : 0.0;
    std::snprintf(text, sizeof text,
                  "edges       %zu\n"
                  "crossings   %zu (straight lines between the node centres: %zu)\n"
                  "bends       %zu (%.2f per edge)\n"
                  "drawing     %.0f x %.0f px\n",
                  c.edges, c.crossings, c.straightCrossings, c.bends, perEdge, c.width, c.height);
    return text;
}

} // namespace netloom::front
