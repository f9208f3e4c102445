#pragma once

// What a layout gives back, read from the library's graph in the request's
// indices: positions, grid cells, components, every port's side and slot, and
// the edge order.

#include "request.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace netloom::front {

struct Point {
    double x = 0.0;
    double y = 0.0;
};

struct PortPlace {
    int side = -1; // -1: the port is on no side
    int slot = -1;
};

// One port of a node as the layout placed it.
struct NodePort {
    int side = 0;
    int slot = 0;
    int name = kNoPort; // the request's port name; kNoPort for an unnamed end
    std::vector<std::size_t> edges;
};

struct Result {
    int type = 0;
    int distance = 0;
    bool layered = false; // grid rows and columns are meaningful
    std::vector<double> x, y;
    std::vector<int> row, col, baseRow, component;
    std::vector<std::array<int, 4>> sideCounts;         // ports per side, by side code
    std::vector<std::vector<NodePort>> ports;           // per node, sides up, down, right, left
    std::vector<PortPlace> sourcePlace, targetPlace;    // per edge
    std::vector<std::pair<std::size_t, int>> edgeOrder; // edge index, component index
    int componentCount = 0;
    // Where the layered layouts' levels came from: "direction", "degree" or
    // "given"; and how many nodes the given levels left out of a component
    // they name, placed next to their nearest listed neighbour.
    std::string levels;
    std::size_t placedByNeighbour = 0;
    bool stopped = false; // a progress monitor stopped the layout
    // Each edge's route in layout coordinates, from its source's port point to
    // its target's; filled when the options ask for routes.
    std::vector<std::vector<Point>> routes;
};

// A node's four port lists, in side-code order (up, down, right, left).
std::array<const std::vector<int>*, 4> SideLists(const CNode& node);

// Reads everything but the routes from a laid-out library graph.
void CollectResult(LibraryGraph& lib, std::size_t edgeCount, Result& result);

} // namespace netloom::front
