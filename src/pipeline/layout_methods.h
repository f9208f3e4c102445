#pragma once

// The layout methods the pipeline runs on a component, one entry per layout
// type. Each subsystem defines its own entry next to the method.

#include <netloom/connected_graph.h>

#include <cstdint>

namespace netloom {

struct LayoutMethod {
    int type;
    // The step name a component's remaining work is reported under.
    const char* name;
    bool (CConnectedGraph::*run)();
    // Steps the method is expected to take; a step is one pass over the
    // component's nodes and edges.
    std::int64_t expectedSteps;
};

// The method of a layout type; null for a type the library does not know.
const LayoutMethod* FindLayoutMethod(int layoutType);

// The subsystems' entries.
LayoutMethod RadiantMethod();
LayoutMethod ForceDirectedMethod();
// The tree or the hierarchy layout.
LayoutMethod LayeredMethod(int layoutType);

} // namespace netloom
