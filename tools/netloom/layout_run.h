#pragma once

// Builds a library graph from a file graph, lays it out with the options of the
// command line and collects everything the writers report.

#include "graph_file.h"

#include <netloom/names.h>

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace netloom_cli {

enum class ProgressMode { Auto, Always, Never };

struct LayoutOptions {
    int type = 8;
    int distance = 40;
    int layerSpacing = 200;
    int maxCols = 0; // 0: no limit
    bool fixedLayout = false;
    // --levels: "direction", "degree", a levels file, or empty for direction on
    // directed inputs and degree on the others.
    std::string levels;
    int direction = 0;    // 0: not given
    int arrangeMode = -1; // -1: not given
    ProgressMode progress = ProgressMode::Auto;
    int threads = 0;   // force layout threads; 0: one per hardware thread
    bool pack = false; // components placed in rows by the tool after the layout

    bool UsesStrategy() const { return direction != 0 || arrangeMode != -1; }
};

// Side codes and layout type names as the library names them.
using netloom::kSideDown;
using netloom::kSideLeft;
using netloom::kSideRight;
using netloom::kSideUp;
using netloom::LayoutTypeName;
using netloom::SideName;

struct PortPlace {
    int side = -1; // -1: the port is on no side
    int slot = -1;
};

// One port of a node as the layout placed it.
struct NodePort {
    int side = 0;
    int slot = 0;
    std::optional<FileId> name; // the file's port id; none for an unnamed edge end
    std::vector<std::size_t> edges;
};

struct LayoutResult {
    LayoutOptions options;
    bool layered = false; // grid rows and columns are meaningful
    std::vector<double> x, y;
    std::vector<int> row, col, baseRow, component;
    std::vector<std::array<int, 4>> sideCounts;         // ports per side, by side code
    std::vector<std::vector<NodePort>> ports;           // per node, sides up, down, right, left
    std::vector<PortPlace> sourcePlace, targetPlace;    // per edge
    std::vector<std::pair<std::size_t, int>> edgeOrder; // edge index, component index
    int componentCount = 0;
    // Where the layered layouts' levels came from: "direction", "degree" or
    // "file"; and how many nodes a levels file left out of a component it
    // names, placed next to their nearest listed neighbour.
    std::string levels;
    std::size_t placedByNeighbour = 0;
};

LayoutResult RunLayout(const FileGraph& graph, const LayoutOptions& options);

} // namespace netloom_cli
