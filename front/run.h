#pragma once

// One layout run for every front end: the request becomes the library's graph,
// the levels and the strategy are chosen, the layout runs under the caller's
// progress monitor, and the result is read back, with the edge routes when
// asked for.

#include "request.h"
#include "result.h"

#include <functional>
#include <map>
#include <vector>

namespace netloom::front {

// Where the levels of the tree and hierarchy layouts come from.
enum class LevelSource {
    Auto,      // by direction for a directed request, else the layout's own
    Degree,    // the layout's own choice
    Direction, // each node at its longest directed path from a source
    Given,     // Options::givenLevels, completed per component
};

struct Options {
    int type = CNetworkGraph::m_iHierarchyLayout;
    int distance = 40;
    int layerSpacing = 200;
    int maxCols = 0; // 0: no limit
    bool fixedLayout = false;
    LevelSource levelSource = LevelSource::Auto;
    std::map<int, std::vector<std::size_t>> givenLevels; // level key to node indices
    int direction = 0;                                   // 0: not given (1)
    int arrangeMode = -1;                                // -1: not given (0)
    int threads = 0;     // force layout threads; 0: one per hardware thread
    bool pack = false;   // components placed in rows after the layout
    bool routes = false; // fill Result::routes
    // Layered layouts with their roots at the bottom: the layout at `direction`
    // (1 for bottom to top) turned upside down, ports and routes with it.
    bool bottomUp = false;
    // A strategy of the caller's own, in library ids (node i is i + 1): it
    // replaces the levels above. Not owned.
    CLayoutStrategy* strategy = nullptr;

    bool UsesStrategy() const { return direction != 0 || arrangeMode != -1; }
};

// What a caller hears during the layout: per component (done, total), and the
// library's progress record, whose monitor returns true to stop the layout.
struct Progress {
    std::function<void(int, int)> components;
    std::function<bool(const LayoutProgress&)> monitor;
};

// False, with why, when the request or the options cannot be laid out.
bool RunLayout(const Request& request, const Options& options, const Progress& progress,
               Result& result, std::string& problem);
// The same, building the library's graph in lib (an empty one), so that the
// caller chooses when it is freed: a tool that exits after writing need not.
bool RunLayout(const Request& request, const Options& options, const Progress& progress,
               Result& result, std::string& problem, LibraryGraph& lib);

} // namespace netloom::front
