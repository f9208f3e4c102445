#pragma once

// The repulsion descent for a group of up to eight nodes at once, one node per
// vector lane. Each lane takes its own decisions at every cell (skip beyond the
// cut-off, leaf, far charge, open) and adds its own terms in the order of its
// own descent, with the operations of the one-node descent (FlatQuadTree::Sum);
// IEEE arithmetic is correctly rounded in every lane, so each lane's sums are
// the one-node sums bit for bit. Neighbouring nodes share most of their descent,
// so a group visits far fewer cells than its nodes one by one.

#include "force/flat_quad_tree.h"

#include <cstdint>

namespace netloom::force {

struct LaneWalkArgs {
    const FlatCell* cells = nullptr;
    std::int32_t cellCount = 0;
    RepulsionConstants k;
    // Pair strength of nodes i and j, asked for leaves in range of a node
    // whose `plain` flag is 0; a plain node meets only k.strengthFar.
    double (*strength)(const void* context, std::int32_t i, std::int32_t j) = nullptr;
    const void* context = nullptr;
    const char* plain = nullptr;
    const double* x = nullptr;
    const double* y = nullptr;
    // The group: `count` node indices (1 to the walk's width).
    const std::int32_t* nodes = nullptr;
    int count = 0;
    // Out: each node's repulsion, summed from +0.0.
    double* fx = nullptr;
    double* fy = nullptr;
};

using LaneWalkFn = void (*)(const LaneWalkArgs& args);

// The widest group walk this CPU runs (8, 4 or 2 lanes; 1 where the library was
// built without vector lanes). The environment variable NETLOOM_LANES caps it
// (for tools such as valgrind that lack the widest instructions).
int WidestLanes();
// The group walk of the given width, or nullptr for 1 or a width this CPU or
// build lacks.
LaneWalkFn LaneWalk(int width);

} // namespace netloom::force
