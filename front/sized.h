#pragma once

// A layout drawn with box sizes the caller gives (an editor's own node sizes)
// instead of the drawing's label boxes: positions multiplied by the one factor
// at which no two given boxes overlap, ports on the given borders, and each
// edge's route kept (scaled) between ends moved onto those borders.

#include "geometry.h"

#include <cstddef>
#include <vector>

namespace netloom::front {

struct SizedInput {
    std::vector<double> widths, heights; // by node; missing or negative: 0
    // Ports of a node beyond the layout's own, by node: those no edge uses,
    // after the node's connected ports on their side; and named ports of
    // layouts that give ports no side, which sit where their first edge ends.
    struct Extra {
        int side = 0;
        int name = kNoPort;
    };
    std::vector<std::vector<Extra>> extraPorts;
    double gap = 20.0;     // least space between two boxes
    double padding = 12.0; // space around the whole drawing
};

struct SizedLayout {
    double scale = 1.0; // the factor the layout's positions were multiplied by
    double width = 0.0; // the drawing's extent, padding included
    double height = 0.0;
    std::vector<Point> corners; // top-left corner of each node's box
    // Each port's point on its node's border (absolute): per node, one per entry
    // of Result::ports, then one per extra port.
    std::vector<std::vector<Point>> ports;
    // Each edge from its source end to its target end: the end points lie on
    // the ports (or the borders), the points between are the route's bends.
    std::vector<std::vector<Point>> paths;
};

// Places the request's laid-out result (with the drawing d made from the same
// two) at the given sizes.
SizedLayout PlaceSized(const Request& request, const Result& result, const Drawing& d,
                       const SizedInput& input);

// The least factor at which no two boxes (centres x, y times the factor; sizes
// w, h; gap between) overlap; pairs closer than `same` in both axes are one
// spot and skipped. 1 for fewer than two spots.
double SizedScale(const std::vector<double>& x, const std::vector<double>& y,
                  const std::vector<double>& w, const std::vector<double>& h, double gap,
                  double same);

} // namespace netloom::front
