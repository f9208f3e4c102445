// Crossing and bend counts of a drawing.

#include "route_counts.h"

#include <algorithm>
#include <cmath>
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

} // namespace

std::size_t CountCrossings(const std::vector<Segment>& segments,
                           const std::vector<std::size_t>& owner) {
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
    // Pairs with a slanted segment: sorted along the axis in which segments
    // are short against the drawing, each compared with those it overlaps.
    std::vector<std::size_t> slanted;
    double extentX = 0.0, extentY = 0.0;
    double minX = INFINITY, maxX = -INFINITY, minY = INFINITY, maxY = -INFINITY;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        const Segment& s = segments[k];
        if (s.first.x != s.second.x && s.first.y != s.second.y) {
            slanted.push_back(k);
        }
        extentX += std::fabs(s.first.x - s.second.x);
        extentY += std::fabs(s.first.y - s.second.y);
        minX = std::min({minX, s.first.x, s.second.x});
        maxX = std::max({maxX, s.first.x, s.second.x});
        minY = std::min({minY, s.first.y, s.second.y});
        maxY = std::max({maxY, s.first.y, s.second.y});
    }
    if (slanted.empty()) {
        return count;
    }
    const bool alongX = extentX * (maxY - minY) <= extentY * (maxX - minX);
    auto lo = [&](std::size_t k, bool x) {
        const Segment& s = segments[k];
        return x ? std::min(s.first.x, s.second.x) : std::min(s.first.y, s.second.y);
    };
    auto hi = [&](std::size_t k, bool x) {
        const Segment& s = segments[k];
        return x ? std::max(s.first.x, s.second.x) : std::max(s.first.y, s.second.y);
    };
    std::vector<char> isSlanted(segments.size(), 0);
    for (std::size_t k : slanted) {
        isSlanted[k] = 1;
    }
    std::vector<std::size_t> order(segments.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return lo(a, alongX) != lo(b, alongX) ? lo(a, alongX) < lo(b, alongX) : a < b;
    });
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::size_t a = order[i];
        const double end = hi(a, alongX);
        for (std::size_t j = i + 1; j < order.size() && lo(order[j], alongX) <= end; ++j) {
            const std::size_t b = order[j];
            if ((isSlanted[a] || isSlanted[b]) && owner[a] != owner[b] &&
                lo(b, !alongX) <= hi(a, !alongX) && lo(a, !alongX) <= hi(b, !alongX) &&
                ProperCross(segments[a], segments[b])) {
                ++count;
            }
        }
    }
    return count;
}

RouteCounts CountRoutes(const Request& request, const Drawing& d) {
    RouteCounts counts;
    const std::vector<std::vector<Point>> routes = EdgeRoutes(d);
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
    counts.crossings = CountCrossings(drawn, drawnOwner);
    counts.straightCrossings = CountCrossings(straight, straightOwner);
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
