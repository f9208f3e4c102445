// ELK JSON out: the input document (or a fresh one) with every node's "x", "y"
// (top-left corner, relative to its parent as ELK has them), every port's "x",
// "y" (relative to its node) and every edge's "sections", at the given box
// sizes. Everything else of the input comes back as it was.

#include "elk_walk.h"
#include "writers.h"

#include "front/sized.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace netloom_cli {

namespace {

Json PointJson(const Point& p, const Point& origin) {
    Json out = Json::object();
    out["x"] = p.x - origin.x;
    out["y"] = p.y - origin.y;
    return out;
}

// The shape an edge end names: a node or a port.
Json Shape(const Json& edge, bool source, std::size_t index) {
    const auto list = edge.find(source ? "sources" : "targets");
    if (list != edge.end()) {
        return (*list)[index];
    }
    const auto port = edge.find(source ? "sourcePort" : "targetPort");
    return port != edge.end() && !port->is_null() ? *port : edge[source ? "source" : "target"];
}

// An id as ELK takes it: a string or an integer; other ids (a float, a
// tuple) as their text.
Json ElkId(const FileId& id) {
    return id.value.is_string() || id.value.is_number_integer() ? id.value : Json(id.key);
}

// An ELK document of a graph read from another format: nodes at the drawing's
// box sizes (pixels), one port per node and port name, every edge at the root.
Json FreshElk(const FileGraph& graph, const LayoutResult& result, ElkData& elk) {
    const Drawing& d = result.MakeDrawing();
    Json doc = Json::object();
    doc["id"] = "root";
    Json& children = doc["children"] = Json::array();
    std::vector<std::unordered_map<std::string, std::string>> portIds(graph.nodes.size());
    // Ids are one namespace in ELK: a made-up id that is taken gets a number.
    std::unordered_set<std::string> taken;
    for (const FileNode& node : graph.nodes) {
        taken.insert(node.id.key);
    }
    for (const FileEdge& edge : graph.edges) {
        if (edge.id) {
            taken.insert(edge.id->key);
        }
    }
    auto fresh = [&taken](const std::string& base) {
        std::string id = base;
        for (int k = 2; !taken.insert(id).second; ++k) {
            id = base + "#" + std::to_string(k);
        }
        return id;
    };
    auto port = [&](std::size_t node, const std::optional<FileId>& id) -> std::optional<FileId> {
        if (!id) {
            return std::nullopt;
        }
        // The node's id goes first.
        auto it = portIds[node].find(id->key);
        if (it == portIds[node].end()) {
            it = portIds[node]
                     .emplace(id->key, fresh(graph.nodes[node].id.key + ":" + id->key))
                     .first;
            elk.ports.push_back({MakeTextId(it->second), node, 0.0, 0.0, -1, id->key});
        }
        return MakeTextId(it->second);
    };
    std::vector<std::pair<std::optional<FileId>, std::optional<FileId>>> ends;
    for (const FileEdge& edge : graph.edges) {
        ends.emplace_back(port(edge.source, edge.sourcePort), port(edge.target, edge.targetPort));
    }
    // The ports in document order: node after node.
    std::stable_sort(
        elk.ports.begin(), elk.ports.end(),
        [](const ElkData::Port& a, const ElkData::Port& b) { return a.node < b.node; });
    std::vector<Json> nodePorts(graph.nodes.size(), Json::array());
    for (const ElkData::Port& p : elk.ports) {
        nodePorts[p.node].push_back({{"id", p.id.value}, {"width", 0}, {"height", 0}});
    }
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        Json node = Json::object();
        node["id"] = ElkId(graph.nodes[i].id);
        const double w = d.nodes[i].w / d.pixel;
        const double h = d.nodes[i].h / d.pixel;
        node["width"] = w;
        node["height"] = h;
        elk.widths.push_back(w);
        elk.heights.push_back(h);
        elk.parents.push_back(kElkRoot);
        if (!graph.nodes[i].label.empty()) {
            node["labels"] = Json::array({{{"text", graph.nodes[i].label}}});
        }
        if (!nodePorts[i].empty()) {
            node["ports"] = std::move(nodePorts[i]);
        }
        children.push_back(std::move(node));
    }
    Json& edges = doc["edges"] = Json::array();
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& edge = graph.edges[j];
        Json element = Json::object();
        element["id"] = edge.id ? ElkId(*edge.id) : Json(fresh("e" + std::to_string(j)));
        element["sources"] = Json::array(
            {ends[j].first ? ends[j].first->value : ElkId(graph.nodes[edge.source].id)});
        element["targets"] = Json::array(
            {ends[j].second ? ends[j].second->value : ElkId(graph.nodes[edge.target].id)});
        edges.push_back(std::move(element));
        elk.edgeOf.push_back(j);
        elk.edgeContainer.push_back(kElkRoot);
    }
    return doc;
}

} // namespace

std::string WriteElk(const FileGraph& graph, const LayoutResult& result) {
    ElkData fresh;
    Json doc = graph.elk ? graph.json : FreshElk(graph, result, fresh);
    const ElkData& elk = graph.elk ? *graph.elk : fresh;
    const std::size_t n = graph.nodes.size();

    // Each ELK port's entry among its node's ports: the layout's port of the
    // same name, else an extra port after them.
    std::unordered_map<std::string, int> numbers;
    for (std::size_t k = 0; k < result.portIds.size(); ++k) {
        numbers.emplace(result.portIds[k].key, static_cast<int>(k));
    }
    SizedInput input;
    input.widths = elk.widths;
    input.heights = elk.heights;
    input.extraPorts.resize(n);
    std::vector<std::size_t> entry(elk.ports.size());
    for (std::size_t k = 0; k < elk.ports.size(); ++k) {
        const ElkData::Port& port = elk.ports[k];
        const auto number = numbers.find(port.name.empty() ? port.id.key : port.name);
        const auto& placed = result.ports[port.node];
        std::size_t at = placed.size();
        for (std::size_t p = 0; number != numbers.end() && p < placed.size(); ++p) {
            if (placed[p].name == number->second) {
                at = p;
                break;
            }
        }
        if (at == placed.size()) {
            // A port of a layout without sides keeps its name, so that its
            // edges end on it.
            const int name = number != numbers.end() ? number->second : kNoPort;
            at += input.extraPorts[port.node].size();
            input.extraPorts[port.node].push_back({port.side >= 0 ? port.side : kSideRight, name});
        }
        entry[k] = at;
    }
    const SizedLayout sized = PlaceSized(result.request, result, result.MakeDrawing(), input);

    // A key added to an object copies its members (ordered_json keeps them in a
    // vector), which moves every element inside: edges and ports are written
    // first, then the nodes children before parents, the root last.
    const ElkWalk<Json> walk = WalkElk<Json>(doc);
    auto corner = [&sized](std::size_t node) {
        return node == kElkRoot ? Point{} : sized.corners[node];
    };
    for (std::size_t i = 0, k = 0; i < n; ++i) {
        const auto ports = walk.nodes[i]->find("ports");
        if (ports == walk.nodes[i]->end() || !ports->is_array()) {
            continue;
        }
        for (Json& element : *ports) {
            const ElkData::Port& port = elk.ports[k];
            const Point p = sized.ports[i][entry[k]];
            element["x"] = p.x - sized.corners[i].x - port.width / 2;
            element["y"] = p.y - sized.corners[i].y - port.height / 2;
            ++k;
        }
    }
    for (std::size_t k = 0; k < walk.edges.size(); ++k) {
        Json& edge = *walk.edges[k];
        edge["sections"] = Json::array();
    }
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const std::size_t k = elk.edgeOf[j];
        Json& edge = *walk.edges[k];
        Json& sections = edge["sections"];
        const Point origin = corner(elk.edgeContainer[k]);
        const std::vector<Point>& path = sized.paths[j];
        Json section = Json::object();
        const std::string id = edge.contains("id") ? MakeId(edge["id"]).key : std::to_string(k);
        section["id"] = id + "_s" + std::to_string(sections.size());
        sections.push_back(Json());
        section["startPoint"] = PointJson(path.front(), origin);
        if (path.size() > 2) {
            Json& bends = section["bendPoints"] = Json::array();
            for (std::size_t p = 1; p + 1 < path.size(); ++p) {
                bends.push_back(PointJson(path[p], origin));
            }
        }
        section["endPoint"] = PointJson(path.back(), origin);
        // Pair p of a hyperedge joins source p / targets and target p % targets.
        const std::size_t pair = sections.size() - 1;
        const std::size_t targets = edge.contains("targets") ? edge["targets"].size() : 1;
        section["incomingShape"] = Shape(edge, true, pair / targets);
        section["outgoingShape"] = Shape(edge, false, pair % targets);
        sections.back() = std::move(section);
    }
    for (std::size_t i = n; i-- > 0;) {
        Json& element = *walk.nodes[i];
        const Point at = corner(i);
        const Point origin = corner(elk.parents[i]);
        element["x"] = at.x - origin.x;
        element["y"] = at.y - origin.y;
    }
    doc["width"] = sized.width;
    doc["height"] = sized.height;
    return DumpJson(doc, 2) + "\n";
}

} // namespace netloom_cli
