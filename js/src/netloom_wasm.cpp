// The WebAssembly entry points of netloom: a plain C interface over arrays in
// the module's memory, so that JavaScript hands a whole graph over in a few
// typed-array copies. js/src/index.js wraps it; nodes are 1..n, edges 1..m and
// ports n + 1.. as in the Python bindings.

#include <netloom/netloom.h>

#include "level_rules.h"

#if defined(__EMSCRIPTEN__)
#include <emscripten/emscripten.h>
#else
// The native build of these entry points (js/test/native_twin.cpp) checks that
// the WebAssembly module computes the same bits.
#define EMSCRIPTEN_KEEPALIVE
#endif

#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#if defined(__EMSCRIPTEN__)
// Per-component progress, passed on to the JavaScript callback of the running layout.
EM_JS(void, nl_report_progress, (int done, int total), {
    if (Module.onLayoutProgress) {
        Module.onLayoutProgress(done, total);
    }
});
#else
void nl_report_progress(int, int) {}
#endif

namespace {

// What the last layout produced, read by JavaScript straight from memory.
struct Result {
    std::vector<double> positions; // x, y by node
    std::vector<int> grid;         // base row, row, col by node
    std::vector<int> portCounts;   // up, down, right, left by node
    std::vector<int> ports;        // every node's port ids, side after side
    std::vector<int> edgeOrder;    // edge id, component index
    int placed = 0;
};

Result g_result;

// The levels by edge direction of nodes 1..n and edges 1..m.
std::map<int, std::vector<int>> DirectionLevels(int n, int m, const int* ends) {
    std::vector<std::pair<std::size_t, std::size_t>> edges(static_cast<std::size_t>(m));
    for (int e = 0; e < m; ++e) {
        edges[e] = {static_cast<std::size_t>(ends[2 * e]),
                    static_cast<std::size_t>(ends[2 * e + 1])};
    }
    const std::vector<int> level =
        netloom_cli::LongestPathLevels(static_cast<std::size_t>(n), edges);
    std::map<int, std::vector<int>> levels;
    for (int v = 0; v < n; ++v) {
        levels[level[v]].push_back(v + 1);
    }
    return levels;
}

void ReadResult(CNetworkGraph& graph) {
    Result r;
    const std::size_t n = graph.GetNodeMap().size();
    r.positions.reserve(2 * n);
    r.grid.reserve(3 * n);
    r.portCounts.reserve(netloom::kSideCount * n);
    for (const auto& entry : graph.GetNodeMap()) {
        const CNode* node = entry.second;
        r.positions.push_back(node->X());
        r.positions.push_back(node->Y());
        const _tagNode cell = node->GetNodePos();
        r.grid.insert(r.grid.end(), {cell.nBaseRow, cell.nRow, cell.nCol});
        for (const std::vector<int>* side : {&node->GetUpsideSubs(), &node->GetDownsideSubs(),
                                             &node->GetRightsideSubs(), &node->GetLeftsideSubs()}) {
            r.portCounts.push_back(static_cast<int>(side->size()));
            r.ports.insert(r.ports.end(), side->begin(), side->end());
        }
    }
    const std::vector<int>& sorted = graph.GetSortedEdges();
    const std::vector<int>& component = graph.GetSortedEdgesInGraph();
    for (std::size_t k = 0; k < sorted.size() && k < component.size(); ++k) {
        r.edgeOrder.push_back(sorted[k]);
        r.edgeOrder.push_back(component[k]);
    }
    g_result = std::move(r);
}

} // namespace

extern "C" {

// Lays out nodes 1..n with start positions xy (2n values, or null), fixed flags
// (n bytes, or null) and edges 1..m between node indices ends (2m values, 0..n-1)
// with lengths (m values, or null for distance) and port ids (2m values).
// levelsMode: 0 the layout's own levels, 1 by edge direction, 2 the given
// levels: levelCount pairs (level, node index) in the caller's order. The caller checks every
// argument; an edge the graph refuses is left out, as the Python bindings do.
EMSCRIPTEN_KEEPALIVE void nl_layout(int n, const double* xy, const unsigned char* fixed, int m,
                                    const int* ends, const int* lengths, const int* ports, int type,
                                    int distance, int layerSpacing, int maxCols, bool fixedLayout,
                                    int levelsMode, int levelCount, const int* levels,
                                    int direction, int arrangeMode, bool progress) {
    CNetworkGraph graph;
    for (int v = 0; v < n; ++v) {
        graph.AddNode(v + 1, xy ? xy[2 * v] : 0.0, xy ? xy[2 * v + 1] : 0.0, fixed && fixed[v]);
    }
    for (int e = 0; e < m; ++e) {
        graph.AddEdge(e + 1, ends[2 * e] + 1, ends[2 * e + 1] + 1, lengths ? lengths[e] : distance,
                      ports[2 * e], ports[2 * e + 1], false);
    }
    graph.SetMaxColCount(maxCols > 0 ? maxCols : -1);
    graph.SetFixedLayoutFlag(fixedLayout);
    graph.SetLayoutThreads(1); // built without threads
    std::unique_ptr<netloom_cli::GivenLevelsStrategy> strategy;
    if (levelsMode != 0 || direction != 1 || arrangeMode != 0) {
        std::map<int, std::vector<int>> given;
        if (levelsMode == 1) {
            given = DirectionLevels(n, m, ends);
        } else if (levelsMode == 2) {
            for (int k = 0; k < levelCount; ++k) {
                given[levels[2 * k]].push_back(levels[2 * k + 1] + 1);
            }
        }
        strategy = std::make_unique<netloom_cli::GivenLevelsStrategy>(graph, std::move(given),
                                                                      direction, arrangeMode);
        graph.SetLayoutStrategy(strategy.get());
    }
    if (progress) {
        graph.SetProgressCallback([](int done, int total) { nl_report_progress(done, total); });
    }
    graph.Layout(distance, type, layerSpacing);
    ReadResult(graph);
    g_result.placed = strategy ? static_cast<int>(strategy->Placed()) : 0;
}

// The last layout's results: 0 positions, 1 grid, 2 port counts, 3 ports,
// 4 edge order. Writes the number of values to *length.
EMSCRIPTEN_KEEPALIVE const void* nl_result(int what, int* length) {
    auto view = [length](const auto& values) -> const void* {
        *length = static_cast<int>(values.size());
        return values.data();
    };
    switch (what) {
    case 0:
        return view(g_result.positions);
    case 1:
        return view(g_result.grid);
    case 2:
        return view(g_result.portCounts);
    case 3:
        return view(g_result.ports);
    case 4:
        return view(g_result.edgeOrder);
    default:
        *length = g_result.placed;
        return nullptr;
    }
}

} // extern "C"
