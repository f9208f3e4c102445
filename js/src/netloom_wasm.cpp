// The WebAssembly entry points of netloom: a plain C interface over arrays in
// the module's memory, so that JavaScript hands a whole graph over in a few
// typed-array copies. js/src/index.js wraps it. The front layer (front/) turns
// the arrays into the library's graph and reads the results back, as it does
// for the command-line tool and the Python bindings.

#include "front/limits.h"
#include "front/names.h"
#include "front/run.h"
#include "front/sized.h"

#if defined(__EMSCRIPTEN__)
#include <emscripten/emscripten.h>
#else
// The native build of these entry points (js/test/native_twin.cpp) checks that
// the WebAssembly module computes the same bits.
#define EMSCRIPTEN_KEEPALIVE
#endif

#include <string>
#include <utility>
#include <vector>

#if defined(__EMSCRIPTEN__)
// Per-component progress, passed on to the JavaScript callback of the running layout.
EM_JS(void, nl_report_progress, (int done, int total), {
    if (Module.onLayoutProgress) {
        Module.onLayoutProgress(done, total);
    }
});
// The library's progress record; a true answer stops the layout.
EM_JS(int, nl_report_step,
      (int component, int componentCount, const char* step, int iteration, int maxIterations,
       double energy, double threshold, double workDone, double workTotal),
      {
          if (!Module.onLayoutStep) {
              return 0;
          }
          return Module.onLayoutStep({
              component : component,
              componentCount : componentCount,
              step : UTF8ToString(step),
              iteration : iteration,
              maxIterations : maxIterations,
              energy : energy,
              threshold : threshold,
              workDone : workDone,
              workTotal : workTotal
          })
                     ? 1
                     : 0;
      });
#else
void nl_report_progress(int, int) {}
int nl_report_step(int, int, const char*, int, int, double, double, double, double) {
    return 0;
}
#endif

namespace {

using namespace netloom::front;

// What the last layout produced, read by JavaScript straight from memory.
struct Arrays {
    std::vector<double> positions;   // x, y by node
    std::vector<int> grid;           // base row, row, col by node
    std::vector<int> portCounts;     // up, down, right, left by node
    std::vector<int> ports;          // every node's port names (numbers, -1 none), side after side
    std::vector<int> edgeOrder;      // edge index, component index
    std::vector<int> routeCounts;    // points per edge
    std::vector<double> routePoints; // x, y of every route point, edge after edge
    int placed = 0;
    int stopped = 0;
};

Arrays g_result;
std::vector<std::string> g_labels;
bool g_directed = false;
// The last layout's request and result, for drawing it at given box sizes.
Request g_request;
Result g_last;
Drawing g_drawing;

// The last layout at given box sizes: corners (x, y by node), ports (count by
// node, then x, y of each), paths (count by edge, then x, y of each), and
// scale, width, height.
struct SizedArrays {
    std::vector<double> corners;
    std::vector<int> portCounts;
    std::vector<double> ports;
    std::vector<int> pathCounts;
    std::vector<double> paths;
    std::vector<double> extent;
};
SizedArrays g_sized;

Arrays ReadResult(const Result& r) {
    Arrays a;
    const std::size_t n = r.x.size();
    for (std::size_t i = 0; i < n; ++i) {
        a.positions.insert(a.positions.end(), {r.x[i], r.y[i]});
        a.grid.insert(a.grid.end(), {r.baseRow[i], r.row[i], r.col[i]});
        a.portCounts.insert(a.portCounts.end(), r.sideCounts[i].begin(), r.sideCounts[i].end());
        for (const NodePort& port : r.ports[i]) {
            a.ports.push_back(port.name);
        }
    }
    for (const auto& [edge, component] : r.edgeOrder) {
        a.edgeOrder.insert(a.edgeOrder.end(), {static_cast<int>(edge), component});
    }
    for (const std::vector<Point>& route : r.routes) {
        a.routeCounts.push_back(static_cast<int>(route.size()));
        for (const Point& p : route) {
            a.routePoints.insert(a.routePoints.end(), {p.x, p.y});
        }
    }
    a.placed = static_cast<int>(r.placedByNeighbour);
    a.stopped = r.stopped ? 1 : 0;
    return a;
}

} // namespace

extern "C" {

// The text drawn in each node's box for the next layout (it sizes the boxes,
// and so the routes): n labels, label i being text[ends[i - 1] .. ends[i]).
EMSCRIPTEN_KEEPALIVE void nl_set_labels(int n, const char* text, const int* ends) {
    g_labels.assign(static_cast<std::size_t>(n), std::string());
    for (int i = 0; i < n; ++i) {
        const int start = i == 0 ? 0 : ends[i - 1];
        g_labels[static_cast<std::size_t>(i)].assign(text + start, text + ends[i]);
    }
}

// Whether the next layout's edges have a direction (ELK graphs): the drawing
// then leaves room for arrowheads, as the tool's does for directed files.
EMSCRIPTEN_KEEPALIVE void nl_set_directed(int directed) {
    g_directed = directed != 0;
}

// Lays out nodes 0..n-1 with start positions xy (2n values, or null), fixed flags
// (n bytes, or null) and edges between node indices ends (2m values) with
// lengths (m values, or null for distance) and port names as numbers (2m
// values, -1 for an end without one). levelsMode: 0 the layout's own levels,
// 1 by edge direction, 2 the given levels: levelCount pairs (level, node index)
// in the caller's order. Returns 0, or 1 when the request is refused (the
// caller checks every argument first).
EMSCRIPTEN_KEEPALIVE int nl_layout(int n, const double* xy, const unsigned char* fixed, int m,
                                   const int* ends, const int* lengths, const int* ports, int type,
                                   int distance, int layerSpacing, int maxCols, bool fixedLayout,
                                   int levelsMode, int levelCount, const int* levels, int direction,
                                   int arrangeMode, bool progress) {
    Request request;
    request.nodeCount = static_cast<std::size_t>(n);
    if (xy != nullptr) {
        for (int v = 0; v < n; ++v) {
            request.x.push_back(xy[2 * v]);
            request.y.push_back(xy[2 * v + 1]);
        }
    }
    if (fixed != nullptr) {
        request.fixed.assign(fixed, fixed + n);
    }
    for (int e = 0; e < m; ++e) {
        request.sources.push_back(static_cast<std::size_t>(ends[2 * e]));
        request.targets.push_back(static_cast<std::size_t>(ends[2 * e + 1]));
        request.sourcePorts.push_back(ports[2 * e]);
        request.targetPorts.push_back(ports[2 * e + 1]);
    }
    if (lengths != nullptr) {
        request.lengths.assign(lengths, lengths + m);
    }
    if (g_labels.size() == request.nodeCount) {
        request.labels = std::move(g_labels);
    }
    g_labels.clear();
    request.directed = g_directed;
    g_directed = false;
    Options options;
    options.type = type;
    options.distance = distance;
    options.layerSpacing = layerSpacing;
    options.maxCols = maxCols;
    options.fixedLayout = fixedLayout;
    options.levelSource = levelsMode == 1   ? LevelSource::Direction
                          : levelsMode == 2 ? LevelSource::Given
                                            : LevelSource::Degree;
    for (int k = 0; k < levelCount; ++k) {
        options.givenLevels[levels[2 * k]].push_back(static_cast<std::size_t>(levels[2 * k + 1]));
    }
    // The defaults (1, 0) mean "not given", as for the tool and Python.
    options.direction = direction == 1 ? 0 : direction;
    options.arrangeMode = arrangeMode == 0 ? -1 : arrangeMode;
    options.threads = 1; // built without threads
    // The routes come from the drawing, which is kept for nl_sized.
    options.routes = false;
    Progress watch;
    if (progress) {
        watch.components = [](int done, int total) { nl_report_progress(done, total); };
        watch.monitor = [](const netloom::LayoutProgress& p) {
            return nl_report_step(p.component, p.componentCount, p.step, p.iteration,
                                  p.maxIterations, p.energy, p.threshold,
                                  static_cast<double>(p.workDone),
                                  static_cast<double>(p.workTotal)) != 0;
        };
    }
    Result result;
    std::string problem;
    if (!RunLayout(request, options, watch, result, problem)) {
        g_result = Arrays();
        return 1;
    }
    g_drawing = MakeDrawing(request, result);
    result.routes = EdgeRoutes(g_drawing);
    g_result = ReadResult(result);
    g_request = std::move(request);
    g_last = std::move(result);
    return 0;
}

// Draws the last layout with node sizes wh (w, h by node) and the ports
// beyond the layout's own: extraCounts by node, then extras (side code, port
// name or -1) in node order. Read the outcome with nl_sized_result.
EMSCRIPTEN_KEEPALIVE void nl_sized(const double* wh, const int* extraCounts, const int* extras,
                                   double gap, double padding) {
    const std::size_t n = g_request.nodeCount;
    SizedInput input;
    input.gap = gap;
    input.padding = padding;
    input.extraPorts.resize(n);
    for (std::size_t i = 0, at = 0; i < n; ++i) {
        input.widths.push_back(wh[2 * i]);
        input.heights.push_back(wh[2 * i + 1]);
        for (int k = 0; k < extraCounts[i]; ++k) {
            input.extraPorts[i].push_back({extras[2 * at], extras[2 * at + 1]});
            ++at;
        }
    }
    const SizedLayout s = PlaceSized(g_request, g_last, g_drawing, input);
    g_sized = SizedArrays();
    for (const Point& p : s.corners) {
        g_sized.corners.insert(g_sized.corners.end(), {p.x, p.y});
    }
    for (const auto& ports : s.ports) {
        g_sized.portCounts.push_back(static_cast<int>(ports.size()));
        for (const Point& p : ports) {
            g_sized.ports.insert(g_sized.ports.end(), {p.x, p.y});
        }
    }
    for (const auto& path : s.paths) {
        g_sized.pathCounts.push_back(static_cast<int>(path.size()));
        for (const Point& p : path) {
            g_sized.paths.insert(g_sized.paths.end(), {p.x, p.y});
        }
    }
    g_sized.extent = {s.scale, s.width, s.height};
}

// nl_sized's arrays: 0 corners, 1 port counts, 2 port points, 3 path counts,
// 4 path points, 5 scale, width and height.
EMSCRIPTEN_KEEPALIVE const void* nl_sized_result(int what, int* length) {
    auto view = [length](const auto& values) -> const void* {
        *length = static_cast<int>(values.size());
        return values.data();
    };
    switch (what) {
    case 0:
        return view(g_sized.corners);
    case 1:
        return view(g_sized.portCounts);
    case 2:
        return view(g_sized.ports);
    case 3:
        return view(g_sized.pathCounts);
    case 4:
        return view(g_sized.paths);
    default:
        return view(g_sized.extent);
    }
}

// The last layout's results: 0 positions, 1 grid, 2 port counts, 3 ports,
// 4 edge order, 5 route point counts, 6 route points. Writes the number of
// values to *length; 7 writes the nodes placed by neighbour, 8 whether the
// layout was stopped.
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
    case 5:
        return view(g_result.routeCounts);
    case 6:
        return view(g_result.routePoints);
    case 7:
        *length = g_result.placed;
        return nullptr;
    default:
        *length = g_result.stopped;
        return nullptr;
    }
}

// The names and ranges every front end uses, as JSON text: {"kinds": {name:
// code}, "sides": [...], "limits": {name: [low, high]}}.
EMSCRIPTEN_KEEPALIVE const char* nl_names() {
    static const std::string text = [] {
        std::string s = "{\"kinds\":{";
        bool first = true;
        for (const NamedLayoutType& e : kLayoutTypeNames) {
            s += (first ? "\"" : ",\"") + std::string(e.name) + "\":" + std::to_string(e.type);
            first = false;
        }
        for (const NamedLayoutType& e : kLayoutTypeAliases) {
            s += ",\"" + std::string(e.name) + "\":" + std::to_string(e.type);
        }
        s += "},\"sides\":[";
        for (int side = 0; side < kSideCount; ++side) {
            s += (side ? ",\"" : "\"") + std::string(kSideNames[side]) + "\"";
        }
        s += "],\"limits\":{";
        first = true;
        for (const Limit* limit : kLimits) {
            s += (first ? "\"" : ",\"") + std::string(limit->name) + "\":[" +
                 std::to_string(limit->low) + "," + std::to_string(limit->high) + "]";
            first = false;
        }
        return s + "}}";
    }();
    return text.c_str();
}

} // extern "C"
