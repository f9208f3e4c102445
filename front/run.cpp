#include "run.h"

#include "geometry.h"
#include "levels.h"
#include "limits.h"
#include "names.h"
#include "pack.h"

#include <algorithm>
#include <memory>

namespace netloom::front {

namespace {

std::string OptionProblem(const Options& o) {
    const std::pair<const Limit*, long long> checks[] = {
        {&kDistanceLimit, o.distance},
        {&kLayerSpacingLimit, o.layerSpacing},
        {&kMaxColsLimit, o.maxCols},
        {&kThreadsLimit, o.threads},
        {&kDirectionLimit, o.direction == 0 ? 1 : o.direction},
        {&kArrangeModeLimit, o.arrangeMode == -1 ? 0 : o.arrangeMode}};
    for (const auto& [limit, value] : checks) {
        if (!limit->Holds(value)) {
            return std::string(limit->name) + " must be from " + std::to_string(limit->low) +
                   " to " + std::to_string(limit->high) + ", not " + std::to_string(value);
        }
    }
    if (LayoutTypeName(o.type) == std::string("unknown")) {
        return "unknown layout type " + std::to_string(o.type) + "; use " + LayoutTypeChoices();
    }
    return {};
}

// The levels in library ids, and their source's name in result.levels.
LibraryLevels ChooseLevels(const Request& request, const Options& options, Result& result,
                           std::string& problem) {
    LevelSource source = options.levelSource;
    if (source == LevelSource::Auto) {
        source = request.directed && IsLayered(options.type) ? LevelSource::Direction
                                                             : LevelSource::Degree;
    }
    LibraryLevels levels;
    switch (source) {
    case LevelSource::Direction:
        result.levels = "direction";
        return DirectionLevels(request.nodeCount, request.sources, request.targets);
    case LevelSource::Given:
        result.levels = "given";
        for (const auto& [key, nodes] : options.givenLevels) {
            if (!kLevelLimit.Holds(key)) {
                problem = "level " + std::to_string(key) + " is out of range";
                return {};
            }
            for (std::size_t index : nodes) {
                if (index >= request.nodeCount) {
                    problem =
                        "a level lists node " + std::to_string(index) + ", which does not exist";
                    return {};
                }
                levels[key].push_back(static_cast<int>(index + 1));
            }
        }
        return levels;
    default:
        result.levels = "degree";
        return levels;
    }
}

// The side a port is on once the drawing is turned upside down.
int FlippedSide(int side) {
    return side == kSideUp ? kSideDown : side == kSideDown ? kSideUp : side;
}

// Turns a result upside down: y becomes -y, ports on the up and down sides
// trade sides, and those on the left and right keep their order from the top.
void TurnUpsideDown(const Request& request, Result& result) {
    for (std::size_t i = 0; i < result.y.size(); ++i) {
        result.y[i] = 0.0 - result.y[i];
        std::swap(result.sideCounts[i][kSideUp], result.sideCounts[i][kSideDown]);
        for (NodePort& port : result.ports[i]) {
            if (port.side == kSideLeft || port.side == kSideRight) {
                port.slot =
                    result.sideCounts[i][static_cast<std::size_t>(port.side)] - 1 - port.slot;
            }
            port.side = FlippedSide(port.side);
        }
        std::sort(result.ports[i].begin(), result.ports[i].end(),
                  [](const NodePort& a, const NodePort& b) {
                      return a.side != b.side ? a.side < b.side : a.slot < b.slot;
                  });
    }
    auto flip = [&result](PortPlace& place, std::size_t node) {
        if (place.side == kSideLeft || place.side == kSideRight) {
            place.slot =
                result.sideCounts[node][static_cast<std::size_t>(place.side)] - 1 - place.slot;
        }
        place.side = FlippedSide(place.side);
    };
    for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
        flip(result.sourcePlace[j], request.sources[j]);
        flip(result.targetPlace[j], request.targets[j]);
    }
}

} // namespace

bool RunLayout(const Request& request, const Options& options, const Progress& progress,
               Result& result, std::string& problem) {
    LibraryGraph lib;
    return RunLayout(request, options, progress, result, problem, lib);
}

bool RunLayout(const Request& request, const Options& options, const Progress& progress,
               Result& result, std::string& problem, LibraryGraph& lib) {
    problem = request.Problem();
    if (problem.empty()) {
        problem = OptionProblem(options);
    }
    if (!problem.empty()) {
        return false;
    }
    result = Result();
    result.type = options.type;
    result.distance = options.distance;
    result.layered = IsLayered(options.type);
    if (!BuildLibraryGraph(request, options.distance, lib)) {
        problem = "the library refused an edge";
        return false;
    }
    LibraryLevels levels = ChooseLevels(request, options, result, problem);
    if (!problem.empty()) {
        return false;
    }
    std::unique_ptr<GivenLevelsStrategy> strategy;
    if (options.strategy != nullptr) {
        lib.graph.SetLayoutStrategy(options.strategy);
    } else if (!levels.empty() || options.UsesStrategy()) {
        strategy = std::make_unique<GivenLevelsStrategy>(
            lib.graph, std::move(levels), options.direction != 0 ? options.direction : 1,
            options.arrangeMode != -1 ? options.arrangeMode : 0);
        lib.graph.SetLayoutStrategy(strategy.get());
    }
    CNetworkGraph& graph = lib.graph;
    graph.SetFixedLayoutFlag(options.fixedLayout);
    graph.SetMaxColCount(options.maxCols > 0 ? options.maxCols : -1);
    graph.SetLayoutThreads(options.threads);
    if (progress.components) {
        graph.SetProgressCallback(progress.components);
    }
    if (progress.monitor) {
        graph.SetProgressMonitor(progress.monitor);
    }
    graph.Layout(options.distance, options.type, options.layerSpacing);
    graph.SetProgressCallback(nullptr);
    graph.SetProgressMonitor(nullptr);
    result.stopped = graph.WasLayoutStopped();
    if (strategy) {
        result.placedByNeighbour = strategy->Placed();
        graph.SetLayoutStrategy(nullptr); // the graph may outlive this call
    }
    CollectResult(lib, request.EdgeCount(), result);
    if (options.bottomUp && result.layered) {
        TurnUpsideDown(request, result);
    }
    if (options.pack) {
        // With a fixed layout, components holding a fixed node stay where they are.
        std::vector<bool> keep;
        for (std::size_t i = 0; i < request.fixed.size() && options.fixedLayout; ++i) {
            if (request.fixed[i] != 0 && result.component[i] >= 0) {
                const std::size_t c = static_cast<std::size_t>(result.component[i]);
                keep.resize(std::max(keep.size(), c + 1));
                keep[c] = true;
            }
        }
        PackComponents(result, 2.0 * options.distance, keep);
    }
    if (options.routes) {
        result.routes = EdgeRoutes(MakeDrawing(request, result));
    }
    return true;
}

} // namespace netloom::front
