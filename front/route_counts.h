#pragma once

// How tangled a drawing's edges are: crossings of the drawn routes, crossings
// of straight lines between the same node centres (what the positions alone
// would give), bends, and the drawing's size. The tool reports them, and the
// tests and benchmarks hold the router to them.

#include "geometry.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace netloom::front {

struct RouteCounts {
    std::size_t edges = 0;             // edges counted: all but self-loops
    std::size_t crossings = 0;         // of the drawn routes
    std::size_t straightCrossings = 0; // of centre-to-centre lines
    std::size_t bends = 0;             // inner corners of polyline routes
    double width = 0.0, height = 0.0;  // pixels
    bool counted = true;               // false: crossings over the work limit, both left 0
};

// The segment pair tests the tool's JSON record allows each crossing count,
// about a third of a second: a tree of a hundred thousand nodes needs 3.3
// million, one of a million 46 million, a radial drawing of a hundred
// thousand nodes (40 million crossings) far more; those stay uncounted.
constexpr double kCrossingWorkLimit = 1e7;

// Counts over every edge but self-loops. Two segments of different edges
// cross where their insides meet in one point; touching ends, a route that
// joins another (a bundle splitting) and collinear overlaps are no crossing.
RouteCounts CountRoutes(const Request& request, const Drawing& d);
// The same with the drawing's routes (EdgeRoutes) already at hand; the
// crossings are counted only where neither count tests more than limit pairs
// of segments (counted tells).
RouteCounts CountRoutes(const Request& request, const Drawing& d,
                        const std::vector<std::vector<Point>>& routes, double limit = INFINITY);

// The counts as a few readable lines.
std::string DescribeCounts(const RouteCounts& counts);

// Crossings among the given segments of the given edges (segment k belongs to
// edge owner[k]). Horizontal against vertical segments by a sweep, slanted
// ones pairwise within their bounding boxes.
std::size_t CountCrossings(const std::vector<std::pair<Point, Point>>& segments,
                           const std::vector<std::size_t>& owner);
// The same into crossings, unless it would test more than limit pairs of
// segments: then false, with crossings unchanged.
bool CountCrossingsWithin(const std::vector<std::pair<Point, Point>>& segments,
                          const std::vector<std::size_t>& owner, double limit,
                          std::size_t& crossings);

} // namespace netloom::front
