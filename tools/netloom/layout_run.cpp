#include "layout_run.h"

#include "interrupt.h"
#include "levels.h"
#include "pack.h"
#include "progress.h"
#include "strategy.h"

#include <netloom/netloom.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

namespace netloom_cli {

namespace {

// The file's graph as the library sees it. Library ids: node i is i + 1, edge j
// is j + 1, and ports count on from n + 1, so a port id never equals a node id.
// A port the file names is one id per node and name; an edge end without a port
// gets an id of its own.
struct LibraryGraph {
    CNetworkGraph graph;
    struct PortOwner {
        std::size_t node;
        std::optional<FileId> name;
    };
    std::vector<PortOwner> portOwners;               // by port id - n - 1
    std::vector<std::vector<std::size_t>> portEdges; // by port id - n - 1
    std::vector<int> sourcePorts, targetPorts;       // by edge
};

void BuildLibraryGraph(const FileGraph& file, const LayoutOptions& options, LibraryGraph& lib) {
    const std::size_t n = file.nodes.size();
    const std::size_t m = file.edges.size();
    for (std::size_t i = 0; i < n; ++i) {
        const FileNode& node = file.nodes[i];
        lib.graph.AddNode(static_cast<int>(i + 1), node.x, node.y, node.fixed);
    }
    std::map<std::pair<std::size_t, std::string>, int> namedPorts;
    auto portFor = [&](std::size_t node, const std::optional<FileId>& name) {
        if (name) {
            const auto it = namedPorts.find({node, name->key});
            if (it != namedPorts.end()) {
                return it->second;
            }
        }
        const int id = static_cast<int>(n + 1 + lib.portOwners.size());
        lib.portOwners.push_back(LibraryGraph::PortOwner{node, name});
        if (name) {
            namedPorts.emplace(std::make_pair(node, name->key), id);
        }
        return id;
    };
    lib.sourcePorts.resize(m);
    lib.targetPorts.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        const FileEdge& edge = file.edges[j];
        lib.sourcePorts[j] = portFor(edge.source, edge.sourcePort);
        lib.targetPorts[j] = portFor(edge.target, edge.targetPort);
        lib.portEdges.resize(lib.portOwners.size());
        for (int port : {lib.sourcePorts[j], lib.targetPorts[j]}) {
            std::vector<std::size_t>& list = lib.portEdges[static_cast<std::size_t>(port) - n - 1];
            if (list.empty() || list.back() != j) {
                list.push_back(j);
            }
        }
        const int length = edge.length ? *edge.length : options.distance;
        if (!lib.graph.AddEdge(static_cast<int>(j + 1), static_cast<int>(edge.source + 1),
                               static_cast<int>(edge.target + 1), length, lib.sourcePorts[j],
                               lib.targetPorts[j], false)) {
            throw InputError(file.path, edge.line, 0, "the library refused this edge");
        }
    }
}

// The levels of the layered layouts in library ids, and where they came from:
// a levels file, edge direction (asked for, or by default for a directed
// input), or none for the library's own choice by degree.
std::map<int, std::vector<int>> ChooseLevels(const FileGraph& file, const LayoutOptions& options,
                                             LayoutResult& result) {
    std::map<int, std::vector<int>> levels;
    const bool layered = options.type == CNetworkGraph::m_iTreeLayout ||
                         options.type == CNetworkGraph::m_iHierarchyLayout;
    LevelMap chosen;
    if (options.levels == "direction" || (options.levels.empty() && file.directed && layered)) {
        result.levels = "direction";
        chosen = DirectionLevels(file);
    } else if (options.levels.empty() || options.levels == "degree") {
        result.levels = "degree";
    } else {
        result.levels = "file";
        chosen = ReadLevelsFile(options.levels, file);
    }
    for (const auto& [key, nodes] : chosen) {
        for (std::size_t index : nodes) {
            levels[key].push_back(static_cast<int>(index + 1));
        }
    }
    return levels;
}

void RunWithProgress(CNetworkGraph& graph, const LayoutOptions& options) {
    graph.SetFixedLayoutFlag(options.fixedLayout);
    graph.SetMaxColCount(options.maxCols > 0 ? options.maxCols : -1);
    graph.SetLayoutThreads(options.threads);
    const bool show = options.progress == ProgressMode::Always ||
                      (options.progress == ProgressMode::Auto && isatty(STDERR_FILENO) == 1);
    ProgressLine progress(show, options.progress == ProgressMode::Always ? 0.0 : 1.0);
    graph.SetProgressCallback([&progress](int done, int total) { progress.Update(done, total); });
    // Ctrl-C stops the layout at its next stop point; the run then writes nothing.
    graph.SetProgressMonitor([&progress](const netloom::LayoutProgress& step) {
        progress.Report(step);
        return Interrupted();
    });
    graph.Layout(options.distance, options.type, options.layerSpacing);
    progress.Finish();
    graph.SetProgressCallback(nullptr);
    graph.SetProgressMonitor(nullptr);
    ThrowIfInterrupted();
}

// Positions, grid cells, components, ports, port places and the edge order.
void CollectResult(const FileGraph& file, LibraryGraph& lib, LayoutResult& result) {
    const std::size_t n = file.nodes.size();
    const std::size_t m = file.edges.size();
    CNetworkGraph& graph = lib.graph;
    result.x.resize(n);
    result.y.resize(n);
    result.row.resize(n);
    result.col.resize(n);
    result.baseRow.resize(n);
    result.component.assign(n, 0);
    result.sideCounts.resize(n);
    result.ports.resize(n);
    for (const CConnectedGraph* component : graph.GetConnectedGraphs()) {
        for (const auto& entry : component->GetNodeMap()) {
            result.component[static_cast<std::size_t>(entry.first - 1)] = component->GetIndex();
        }
        ++result.componentCount;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const int id = static_cast<int>(i + 1);
        graph.GetNodePosition(id, result.x[i], result.y[i]);
        graph.GetNodePhyPosition(id, result.row[i], result.col[i]);
        const CNode* node = graph.GetNode(id);
        result.baseRow[i] = node->GetNodePos().nBaseRow;
        const std::vector<int>* sides[4] = {&node->GetUpsideSubs(), &node->GetDownsideSubs(),
                                            &node->GetRightsideSubs(), &node->GetLeftsideSubs()};
        for (int side = 0; side < 4; ++side) {
            result.sideCounts[i][side] = static_cast<int>(sides[side]->size());
            for (std::size_t slot = 0; slot < sides[side]->size(); ++slot) {
                const int port = (*sides[side])[slot];
                const std::size_t owner = static_cast<std::size_t>(port) - n - 1;
                if (port <= static_cast<int>(n) || owner >= lib.portOwners.size()) {
                    continue; // not one of this graph's ports
                }
                result.ports[i].push_back(NodePort{side, static_cast<int>(slot),
                                                   lib.portOwners[owner].name,
                                                   lib.portEdges[owner]});
            }
        }
    }
    result.sourcePlace.resize(m);
    result.targetPlace.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        const FileEdge& edge = file.edges[j];
        PortPlace& s = result.sourcePlace[j];
        PortPlace& t = result.targetPlace[j];
        graph.GetSubNodePosition(static_cast<int>(edge.source + 1), lib.sourcePorts[j], s.side,
                                 s.slot);
        graph.GetSubNodePosition(static_cast<int>(edge.target + 1), lib.targetPorts[j], t.side,
                                 t.slot);
    }
    const std::vector<int>& sorted = graph.GetSortedEdges();
    const std::vector<int>& sortedIn = graph.GetSortedEdgesInGraph();
    for (std::size_t k = 0; k < sorted.size() && k < sortedIn.size(); ++k) {
        if (sorted[k] >= 1 && static_cast<std::size_t>(sorted[k]) <= m) {
            result.edgeOrder.emplace_back(static_cast<std::size_t>(sorted[k] - 1), sortedIn[k]);
        }
    }
}

} // namespace

LayoutResult RunLayout(const FileGraph& file, const LayoutOptions& options) {
    LayoutResult result;
    result.options = options;
    result.layered = options.type == CNetworkGraph::m_iTreeLayout ||
                     options.type == CNetworkGraph::m_iHierarchyLayout;
    LibraryGraph lib;
    BuildLibraryGraph(file, options, lib);
    std::map<int, std::vector<int>> levels = ChooseLevels(file, options, result);
    std::unique_ptr<CommandLineStrategy> strategy;
    if (!levels.empty() || options.UsesStrategy()) {
        strategy = std::make_unique<CommandLineStrategy>(
            lib.graph, options.direction != 0 ? options.direction : 1,
            options.arrangeMode != -1 ? options.arrangeMode : 0, std::move(levels));
        lib.graph.SetLayoutStrategy(strategy.get());
    }
    RunWithProgress(lib.graph, options);
    if (strategy) {
        result.placedByNeighbour = strategy->PlacedByNeighbour();
    }
    CollectResult(file, lib, result);
    if (options.pack) {
        // With --fixed-layout, components holding a fixed node stay where they are.
        std::vector<bool> keep;
        for (std::size_t i = 0; i < file.nodes.size() && options.fixedLayout; ++i) {
            const std::size_t c = static_cast<std::size_t>(result.component[i]);
            if (file.nodes[i].fixed && result.component[i] >= 0) {
                keep.resize(std::max(keep.size(), c + 1));
                keep[c] = true;
            }
        }
        PackComponents(result, 2.0 * options.distance, keep);
    }
    return result;
}

} // namespace netloom_cli
