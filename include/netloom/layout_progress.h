#pragma once

#include <cstdint>
#include <functional>

namespace netloom {

// What a progress monitor receives during CNetworkGraph::Layout: at least once
// per component, after the radiant placement, after every force iteration,
// and after every step of the layered layouts.
struct LayoutProgress {
    int component = 0;      // index of the component being laid out, from 0
    int componentCount = 0; // components of this Layout call
    // The step just finished, by the name the library gives it:
    // "RadiantLayout", "ForceDirectedLayout" (one force iteration), the layered
    // steps ("ChooseLevels", ..., "CollectGridRecords", "AssignEdgePorts",
    // "BuildSortedEdges"), or the layout method's name for a component too
    // small for any step.
    const char* step = "";
    // Force iterations: the one just done (from 1) of at most maxIterations,
    // the total energy after it, and the energy below which the layout ends.
    // All 0 for other steps.
    int iteration = 0;
    int maxIterations = 0;
    double energy = 0.0;
    double threshold = 0.0;
    // Work units done so far in this call and the estimated total. A unit is
    // one node or edge passed over once; a force component is counted at its
    // iteration cap until it settles, so the total only ever falls. After a
    // layout that ran to its end the two are equal.
    std::int64_t workDone = 0;
    std::int64_t workTotal = 0;
};

// A monitor returns true to stop the layout. Once it has asked, it is not
// called again during that Layout call.
using ProgressMonitor = std::function<bool(const LayoutProgress&)>;

} // namespace netloom
