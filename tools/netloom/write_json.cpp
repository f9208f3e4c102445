#include "writers.h"

#include "front/route_counts.h"

#include <algorithm>
#include <set>
#include <utility>

namespace netloom_cli {

namespace {

// Keys the tool writes; earlier values are dropped first so that a file laid
// out again carries nothing stale.
const char* const kNodeKeys[] = {"x", "y", "row", "col", "baseRow", "component", "ports"};
const char* const kLinkKeys[] = {"sourceSide", "sourceSlot", "targetSide", "targetSlot", "route"};

bool HasParallelEdges(const FileGraph& graph) {
    std::set<std::pair<std::size_t, std::size_t>> seen;
    for (const FileEdge& edge : graph.edges) {
        if (!seen.emplace(std::min(edge.source, edge.target), std::max(edge.source, edge.target))
                 .second) {
            return true;
        }
    }
    return false;
}

Json FreshDocument(const FileGraph& graph) {
    Json doc = Json::object();
    doc["directed"] = graph.directed;
    doc["multigraph"] = HasParallelEdges(graph);
    doc["graph"] = Json::object();
    Json& nodes = doc["nodes"] = Json::array();
    for (const FileNode& node : graph.nodes) {
        Json element = Json::object();
        element["id"] = node.id.value;
        if (!node.label.empty()) {
            element["label"] = node.label;
        }
        if (node.fixed) {
            element["fixed"] = true;
        }
        nodes.push_back(std::move(element));
    }
    Json& links = doc["links"] = Json::array();
    for (const FileEdge& edge : graph.edges) {
        Json element = Json::object();
        element["source"] = graph.nodes[edge.source].id.value;
        element["target"] = graph.nodes[edge.target].id.value;
        if (edge.id) {
            element["id"] = edge.id->value;
        }
        if (edge.key) {
            element["key"] = edge.key->value;
        }
        if (edge.length) {
            element["length"] = *edge.length;
        }
        if (edge.sourcePort) {
            element["sourcePort"] = edge.sourcePort->value;
        }
        if (edge.targetPort) {
            element["targetPort"] = edge.targetPort->value;
        }
        links.push_back(std::move(element));
    }
    return doc;
}

} // namespace

std::string WriteJson(const FileGraph& graph, const LayoutResult& result) {
    const bool fromJson = graph.format == Format::Json;
    Json doc = fromJson ? graph.json : FreshDocument(graph);
    Json& nodes = doc["nodes"];
    const LayoutOptions& options = result.options;

    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        Json& element = nodes[fromJson ? graph.nodes[i].sourceIndex : i];
        for (const char* key : kNodeKeys) {
            element.erase(key);
        }
        element["x"] = result.x[i];
        element["y"] = result.y[i];
        if (result.layered) {
            element["row"] = result.row[i];
            element["col"] = result.col[i];
            element["baseRow"] = result.baseRow[i];
        }
        element["component"] = result.component[i];
        if (!result.ports[i].empty()) {
            Json& ports = element["ports"] = Json::array();
            for (const NodePort& port : result.ports[i]) {
                Json entry = Json::object();
                if (const FileId* id = result.PortId(port)) {
                    entry["port"] = id->value;
                }
                entry["side"] = SideName(port.side);
                entry["sideCode"] = port.side;
                entry["slot"] = port.slot;
                entry["links"] = port.edges;
                ports.push_back(std::move(entry));
            }
        }
    }
    // Each link's route: its drawn path in layout coordinates, port point first.
    const Drawing drawing = result.MakeDrawing();
    const std::vector<std::vector<Point>> routes = EdgeRoutes(drawing);
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        Json& links = doc[fromJson ? graph.jsonLinksKey : std::string("links")];
        Json& element = links[fromJson ? graph.edges[j].sourceIndex : j];
        for (const char* key : kLinkKeys) {
            element.erase(key);
        }
        const PortPlace& s = result.sourcePlace[j];
        const PortPlace& t = result.targetPlace[j];
        if (s.side >= 0) {
            element["sourceSide"] = SideName(s.side);
            element["sourceSlot"] = s.slot;
        }
        if (t.side >= 0) {
            element["targetSide"] = SideName(t.side);
            element["targetSlot"] = t.slot;
        }
        Json& route = element["route"] = Json::array();
        for (const Point& p : routes[j]) {
            route.push_back(Json::array({p.x, p.y}));
        }
    }

    Json& order = doc["edgeOrder"] = Json::array();
    for (const auto& [edge, component] : result.edgeOrder) {
        Json entry = Json::object();
        entry["link"] = edge;
        if (graph.edges[edge].id) {
            entry["id"] = graph.edges[edge].id->value;
        }
        entry["component"] = component;
        order.push_back(std::move(entry));
    }

    Json& layout = doc["layout"] = Json::object();
    layout["type"] = LayoutTypeName(options.type);
    layout["typeCode"] = options.type;
    layout["distance"] = options.distance;
    layout["layerSpacing"] = options.layerSpacing; // the one used, also when chosen
    layout["layerSpacingAuto"] = options.autoLayerSpacing;
    layout["maxCols"] = options.maxCols;
    layout["fixedLayout"] = options.fixedLayout;
    layout["pack"] = options.pack;
    layout["levels"] = result.levels;
    if (result.levels == "file") {
        layout["levelsFile"] = options.levels;
    }
    if (options.UsesStrategy()) {
        layout["direction"] = options.direction != 0 ? options.direction : 1;
        layout["arrangeMode"] = options.arrangeMode != -1 ? options.arrangeMode : 0;
    }
    layout["components"] = result.componentCount;
    // How tangled the drawn routes are, against straight lines between the
    // same node centres.
    const RouteCounts counts = CountRoutes(result.request, drawing);
    Json& drawn = layout["drawing"] = Json::object();
    drawn["crossings"] = counts.crossings;
    drawn["straightCrossings"] = counts.straightCrossings;
    drawn["bends"] = counts.bends;
    drawn["width"] = counts.width;
    drawn["height"] = counts.height;
    return DumpJson(doc, 2) + "\n";
}

} // namespace netloom_cli
