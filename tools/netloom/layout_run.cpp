#include "layout_run.h"

#include "progress.h"
#include "strategy.h"

#include <netloom/netloom.h>

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

namespace netloom_cli {

const char* SideName(int side) {
    static const char* const names[] = {"up", "down", "right", "left"};
    return side >= 0 && side < 4 ? names[side] : "none";
}

const char* TypeName(int type) {
    switch (type) {
    case CNetworkGraph::m_iForceDirectedLayout:
        return "force";
    case CNetworkGraph::m_iTreeLayout:
        return "tree";
    case CNetworkGraph::m_iRadiantLayout:
        return "radial";
    case CNetworkGraph::m_iHierarchyLayout:
        return "hierarchy";
    default:
        return "unknown";
    }
}

// Either "KEY: ID ID ..." lines or a JSON object {"KEY": [ID, ...]}.
LevelMap ReadLevelsFile(const std::string& path, const FileGraph& graph) {
    const std::string text = ReadWholeFile(path);
    LevelMap levels;
    auto lookup = [&](const std::string& key, int line, int column) {
        const std::size_t* index = graph.FindNode(key);
        if (index == nullptr) {
            throw InputError(path, line, column, "\"" + key + "\" is not a node of " + graph.path);
        }
        return *index;
    };
    auto levelKey = [&](const std::string& key, int line, int column) {
        char* end = nullptr;
        const long value = std::strtol(key.c_str(), &end, 10);
        if (key.empty() || *end != '\0' || value < -1000000000L || value > 1000000000L) {
            throw InputError(path, line, column, "level key \"" + key + "\" is not an integer");
        }
        return static_cast<int>(value);
    };

    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && text[first] == '{') {
        Json doc;
        try {
            doc = Json::parse(text);
        } catch (const Json::parse_error& e) {
            const TextPosition pos = PositionAt(text, e.byte > 0 ? e.byte - 1 : 0);
            throw InputError(path, pos.line, pos.column, "malformed JSON in the levels file");
        }
        for (const auto& [key, ids] : doc.items()) {
            const int level = levelKey(key, 0, 0);
            if (!ids.is_array()) {
                throw InputError(path, 0, 0, "level \"" + key + "\" is not an array of node ids");
            }
            for (const auto& id : ids) {
                levels[level].push_back(lookup(MakeId(id).key, 0, 0));
            }
        }
        return levels;
    }

    std::istringstream in(text);
    std::string line;
    int lineNumber = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        const std::size_t hash = line.find('#');
        if (hash != std::string::npos) {
            line.erase(hash);
        }
        const std::size_t colon = line.find(':');
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        if (colon == std::string::npos) {
            throw InputError(path, lineNumber, 0, "expected \"LEVEL: NODE NODE ...\"");
        }
        std::string key = line.substr(0, colon);
        key.erase(0, key.find_first_not_of(" \t"));
        key.erase(key.find_last_not_of(" \t") + 1);
        const int level = levelKey(key, lineNumber, 1);
        std::vector<std::size_t>& ids = levels[level];
        std::size_t i = colon + 1;
        while (i < line.size()) {
            const std::size_t start = line.find_first_not_of(" \t\r,", i);
            if (start == std::string::npos) {
                break;
            }
            std::size_t end = line.find_first_of(" \t\r,", start);
            if (end == std::string::npos) {
                end = line.size();
            }
            std::string token = line.substr(start, end - start);
            if (token.size() >= 2 && token.front() == '"' && token.back() == '"') {
                token = token.substr(1, token.size() - 2);
            }
            ids.push_back(lookup(token, lineNumber, static_cast<int>(start) + 1));
            i = end;
        }
    }
    return levels;
}

namespace {

struct PortKeyLess {
    bool operator()(const std::pair<std::size_t, std::string>& a,
                    const std::pair<std::size_t, std::string>& b) const {
        return a < b;
    }
};

} // namespace

LayoutResult RunLayout(const FileGraph& file, const LayoutOptions& options) {
    const std::size_t n = file.nodes.size();
    const std::size_t m = file.edges.size();
    LayoutResult result;
    result.options = options;
    result.layered = options.type == CNetworkGraph::m_iTreeLayout ||
                     options.type == CNetworkGraph::m_iHierarchyLayout;

    // Library ids: node i is i + 1, edge j is j + 1, and ports count on from
    // n + 1, so a port id never equals a node id. A port the file names is one
    // id per node and name; an edge end without a port gets an id of its own.
    CNetworkGraph graph;
    for (std::size_t i = 0; i < n; ++i) {
        const FileNode& node = file.nodes[i];
        graph.AddNode(static_cast<int>(i + 1), node.x, node.y, node.fixed);
    }
    std::map<std::pair<std::size_t, std::string>, int, PortKeyLess> namedPorts;
    struct PortOwner {
        std::size_t node;
        std::optional<FileId> name;
    };
    std::vector<PortOwner> portOwners; // by port id - n - 1
    auto portFor = [&](std::size_t node, const std::optional<FileId>& name) {
        if (name) {
            const auto it = namedPorts.find({node, name->key});
            if (it != namedPorts.end()) {
                return it->second;
            }
        }
        const int id = static_cast<int>(n + 1 + portOwners.size());
        portOwners.push_back(PortOwner{node, name});
        if (name) {
            namedPorts.emplace(std::make_pair(node, name->key), id);
        }
        return id;
    };
    std::vector<int> sourcePorts(m), targetPorts(m);
    std::vector<std::vector<std::size_t>> portEdges; // by port id - n - 1
    for (std::size_t j = 0; j < m; ++j) {
        const FileEdge& edge = file.edges[j];
        sourcePorts[j] = portFor(edge.source, edge.sourcePort);
        targetPorts[j] = portFor(edge.target, edge.targetPort);
        portEdges.resize(portOwners.size());
        for (int port : {sourcePorts[j], targetPorts[j]}) {
            std::vector<std::size_t>& list = portEdges[static_cast<std::size_t>(port) - n - 1];
            if (list.empty() || list.back() != j) {
                list.push_back(j);
            }
        }
        const int length = edge.length ? *edge.length : options.distance;
        if (!graph.AddEdge(static_cast<int>(j + 1), static_cast<int>(edge.source + 1),
                           static_cast<int>(edge.target + 1), length, sourcePorts[j],
                           targetPorts[j], false)) {
            throw InputError(file.path, edge.line, 0, "the library refused this edge");
        }
    }

    std::unique_ptr<CommandLineStrategy> strategy;
    if (options.UsesStrategy()) {
        std::map<int, std::vector<int>> levels;
        if (!options.levelsFile.empty()) {
            for (const auto& [key, nodes] : ReadLevelsFile(options.levelsFile, file)) {
                for (std::size_t index : nodes) {
                    levels[key].push_back(static_cast<int>(index + 1));
                }
            }
        }
        strategy = std::make_unique<CommandLineStrategy>(
            graph, options.type, options.direction != 0 ? options.direction : 1,
            options.arrangeMode != -1 ? options.arrangeMode : 0, std::move(levels));
        graph.SetLayoutStrategy(strategy.get());
    }
    graph.SetFixedLayoutFlag(options.fixedLayout);
    graph.SetMaxColCount(options.maxCols > 0 ? options.maxCols : -1);
    g_iLayoutThreads = options.threads;

    const bool show = options.progress == ProgressMode::Always ||
                      (options.progress == ProgressMode::Auto && isatty(STDERR_FILENO) == 1);
    {
        ProgressLine progress(show, options.progress == ProgressMode::Always ? 0.0 : 1.0);
        graph.SetProgressCallback(
            [&progress](int done, int total) { progress.Update(done, total); });
        graph.Layout(options.distance, options.type, options.layerSpacing);
        progress.Finish();
    }
    graph.SetProgressCallback(nullptr);

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
                if (port <= static_cast<int>(n) || owner >= portOwners.size()) {
                    continue; // not one of this graph's ports
                }
                NodePort entry{side, static_cast<int>(slot), portOwners[owner].name,
                               portEdges[owner]};
                result.ports[i].push_back(std::move(entry));
            }
        }
    }
    result.sourcePlace.resize(m);
    result.targetPlace.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        const FileEdge& edge = file.edges[j];
        PortPlace& s = result.sourcePlace[j];
        PortPlace& t = result.targetPlace[j];
        graph.GetSubNodePosition(static_cast<int>(edge.source + 1), sourcePorts[j], s.side, s.slot);
        graph.GetSubNodePosition(static_cast<int>(edge.target + 1), targetPorts[j], t.side, t.slot);
    }
    const std::vector<int>& sorted = graph.GetSortedEdges();
    const std::vector<int>& sortedIn = graph.GetSortedEdgesInGraph();
    for (std::size_t k = 0; k < sorted.size() && k < sortedIn.size(); ++k) {
        if (sorted[k] >= 1 && static_cast<std::size_t>(sorted[k]) <= m) {
            result.edgeOrder.emplace_back(static_cast<std::size_t>(sorted[k] - 1), sortedIn[k]);
        }
    }
    return result;
}

} // namespace netloom_cli
