#pragma once

// How tangled a drawing's edges are: crossings of the drawn routes, crossings
// of straight lines between the same node centres (what the positions alone
// would give), bends, and the drawing's size. The tool reports them, and the
// tests and benchmarks hold the router to them.

#include "geometry.h"

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
};

// Counts over every edge but self-loops. Two segments of different edges
// cross where their insides meet in one point; touching ends, a route that
// joins another (a bundle splitting) and collinear overlaps are no crossing.
RouteCounts CountRoutes(const Request& request, const Drawing& d);
// The same with the drawing's routes (EdgeRoutes) already at hand.
RouteCounts CountRoutes(const Request& request, const Drawing& d,
                        const std::vector<std::vector<Point>>& routes);

// The counts as a few readable lines.
std::string DescribeCounts(const RouteCounts& counts);

// Crossings among the given segments of the given edges (segment k belongs to
// edge owner[k]). Horizontal against vertical segments by a sweep, slanted
// ones pairwise within their bounding boxes.
std::size_t CountCrossings(const std::vector<std::pair<Point, Point>>& segments,
                           const std::vector<std::size_t>& owner);

} // namespace netloom::front
