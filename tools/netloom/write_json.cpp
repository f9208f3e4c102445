#include "writers.h"

#include "front/route_counts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace netloom_cli {

namespace {

// Keys the tool writes; earlier values are dropped first so that a file laid
// out again carries nothing stale.
const char* const kNodeKeys[] = {"x", "y", "row", "col", "baseRow", "component", "ports"};
const char* const kLinkKeys[] = {"sourceSide", "sourceSlot", "targetSide", "targetSlot", "route"};

bool HasParallelEdges(const FileGraph& graph) {
    std::vector<std::pair<std::size_t, std::size_t>> ends;
    ends.reserve(graph.edges.size());
    for (const FileEdge& edge : graph.edges) {
        ends.emplace_back(std::min(edge.source, edge.target), std::max(edge.source, edge.target));
    }
    std::sort(ends.begin(), ends.end());
    return std::adjacent_find(ends.begin(), ends.end()) != ends.end();
}

// Writes JSON text straight into a string, laid out exactly as Json::dump with
// an indent of 2 would lay out the same document, without building the
// document: a million-node graph then costs its text and no tree of values.
class JsonText {
public:
    // With a sink, Spill hands it the text written so far once that is large.
    explicit JsonText(std::string& text, const TextSink* sink = nullptr)
        : m_text(text), m_sink(sink), m_values(nlohmann::detail::output_adapter<char>(text), ' ',
                                               Json::error_handler_t::replace) {}

    // Opens an object or array; the first member or element follows.
    void Open(char bracket) {
        m_text += bracket;
        m_first.push_back(true);
    }
    // Closes the innermost object or array; an empty one stays on its line.
    void Close(char bracket) {
        const bool empty = m_first.back();
        m_first.pop_back();
        if (!empty) {
            m_text += '\n';
            Indent(m_first.size());
        }
        m_text += bracket;
    }
    // Starts the next array element or object member (with its key).
    void Next() {
        m_text += m_first.back() ? "\n" : ",\n";
        m_first.back() = false;
        Indent(m_first.size());
    }
    void Key(const char* key) {
        Next();
        m_text += '"';
        m_text += key;
        m_text += "\": ";
    }

    void Value(const Json& value) {
        m_values.dump(value, true, false, 2, static_cast<unsigned>(2 * m_first.size()));
    }
    void Text(const char* text) {
        m_text += '"';
        m_text += text;
        m_text += '"';
    }
    void Bool(bool value) { m_text += value ? "true" : "false"; }
    template <typename Integer> void Int(Integer value) {
        char buffer[24];
        const char* end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        m_text.append(buffer, static_cast<std::size_t>(end - buffer));
    }
    // The shortest text that reads back as the same double, formatted as
    // Json::dump formats numbers (1.0, 1e+16); not finite: null.
    void Double(double value) {
        if (!std::isfinite(value)) {
            m_text += "null";
            return;
        }
        char buffer[64];
        const char* end = nlohmann::detail::to_chars(buffer, buffer + sizeof buffer, value);
        m_text.append(buffer, static_cast<std::size_t>(end - buffer));
    }

    void Member(const char* key, const Json& value) {
        Key(key);
        Value(value);
    }

    void Spill() {
        if (m_sink != nullptr && m_text.size() >= kSpillSize) {
            (*m_sink)(m_text);
            m_text.clear();
        }
    }

private:
    static constexpr std::size_t kSpillSize = std::size_t{1} << 20;

    void Indent(std::size_t depth) { m_text.append(2 * depth, ' '); }

    std::string& m_text;
    const TextSink* m_sink;
    nlohmann::detail::serializer<Json> m_values;
    std::vector<bool> m_first;
};

void WriteNodeResult(JsonText& out, const LayoutResult& result, std::size_t i) {
    out.Key("x");
    out.Double(result.x[i]);
    out.Key("y");
    out.Double(result.y[i]);
    if (result.layered) {
        out.Key("row");
        out.Int(result.row[i]);
        out.Key("col");
        out.Int(result.col[i]);
        out.Key("baseRow");
        out.Int(result.baseRow[i]);
    }
    out.Key("component");
    out.Int(result.component[i]);
    if (result.ports[i].empty()) {
        return;
    }
    out.Key("ports");
    out.Open('[');
    for (const NodePort& port : result.ports[i]) {
        out.Next();
        out.Open('{');
        if (const FileId* id = result.PortId(port)) {
            out.Member("port", id->value);
        }
        out.Key("side");
        out.Text(SideName(port.side));
        out.Key("sideCode");
        out.Int(port.side);
        out.Key("slot");
        out.Int(port.slot);
        out.Key("links");
        out.Open('[');
        for (const std::size_t edge : port.edges) {
            out.Next();
            out.Int(edge);
        }
        out.Close(']');
        out.Close('}');
    }
    out.Close(']');
}

void WriteLinkResult(JsonText& out, const LayoutResult& result, std::size_t j,
                     const std::vector<Point>& route) {
    const PortPlace& s = result.sourcePlace[j];
    const PortPlace& t = result.targetPlace[j];
    if (s.side >= 0) {
        out.Key("sourceSide");
        out.Text(SideName(s.side));
        out.Key("sourceSlot");
        out.Int(s.slot);
    }
    if (t.side >= 0) {
        out.Key("targetSide");
        out.Text(SideName(t.side));
        out.Key("targetSlot");
        out.Int(t.slot);
    }
    out.Key("route");
    out.Open('[');
    for (const Point& p : route) {
        out.Next();
        out.Open('[');
        out.Next();
        out.Double(p.x);
        out.Next();
        out.Double(p.y);
        out.Close(']');
    }
    out.Close(']');
}

// A graph read from another format: the whole document is the tool's own,
// handed to sink in parts.
void WriteFreshDocument(const FileGraph& graph, const LayoutResult& result,
                        const std::vector<std::vector<Point>>& routes, const Json& tail,
                        const TextSink& sink) {
    std::string text;
    JsonText out(text, &sink);
    out.Open('{');
    out.Key("directed");
    out.Bool(graph.directed);
    out.Key("multigraph");
    out.Bool(HasParallelEdges(graph));
    out.Key("graph");
    out.Open('{');
    out.Close('}');
    out.Key("nodes");
    out.Open('[');
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const FileNode& node = graph.nodes[i];
        out.Next();
        out.Open('{');
        out.Member("id", node.id.value);
        if (!node.label.empty()) {
            out.Member("label", node.label);
        }
        if (node.fixed) {
            out.Key("fixed");
            out.Bool(true);
        }
        WriteNodeResult(out, result, i);
        out.Close('}');
        out.Spill();
    }
    out.Close(']');
    out.Key("links");
    out.Open('[');
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& edge = graph.edges[j];
        out.Next();
        out.Open('{');
        out.Member("source", graph.nodes[edge.source].id.value);
        out.Member("target", graph.nodes[edge.target].id.value);
        if (edge.id) {
            out.Member("id", edge.id->value);
        }
        if (edge.key) {
            out.Member("key", edge.key->value);
        }
        if (edge.length) {
            out.Key("length");
            out.Int(*edge.length);
        }
        if (edge.sourcePort) {
            out.Member("sourcePort", edge.sourcePort->value);
        }
        if (edge.targetPort) {
            out.Member("targetPort", edge.targetPort->value);
        }
        WriteLinkResult(out, result, j, routes[j]);
        out.Close('}');
        out.Spill();
    }
    out.Close(']');
    for (const auto& [key, value] : tail.items()) {
        out.Member(key.c_str(), value);
    }
    out.Close('}');
    text += '\n';
    sink(text);
}

} // namespace

std::string WriteJson(const FileGraph& graph, const LayoutResult& result) {
    std::string text;
    WriteJson(graph, result, [&text](const std::string& part) { text += part; });
    return text;
}

void WriteJson(const FileGraph& graph, const LayoutResult& result, const TextSink& sink) {
    const bool fromJson = graph.format == Format::Json;
    const LayoutOptions& options = result.options;
    const Drawing& drawing = result.MakeDrawing();
    const std::vector<std::vector<Point>> routes = EdgeRoutes(drawing);

    // The keys after the nodes and links: the edge order and the layout used.
    Json tail = Json::object();
    Json& order = tail["edgeOrder"] = Json::array();
    for (const auto& [edge, component] : result.edgeOrder) {
        Json entry = Json::object();
        entry["link"] = edge;
        if (graph.edges[edge].id) {
            entry["id"] = graph.edges[edge].id->value;
        }
        entry["component"] = component;
        order.push_back(std::move(entry));
    }
    Json& layout = tail["layout"] = Json::object();
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
    if (options.bottomUp && result.layered) {
        layout["bottomUp"] = true;
    }
    layout["components"] = result.componentCount;
    // How tangled the drawn routes are, against straight lines between the
    // same node centres; null where counting would take more than about a
    // second (--stats always counts).
    const RouteCounts counts = CountRoutes(result.request, drawing, routes, kCrossingWorkLimit);
    Json& drawn = layout["drawing"] = Json::object();
    drawn["crossings"] = counts.counted ? Json(counts.crossings) : Json();
    drawn["straightCrossings"] = counts.counted ? Json(counts.straightCrossings) : Json();
    drawn["bends"] = counts.bends;
    drawn["width"] = counts.width;
    drawn["height"] = counts.height;

    if (!fromJson) {
        WriteFreshDocument(graph, result, routes, tail, sink);
        return;
    }

    // A JSON input keeps everything it carried; the tool's keys are replaced.
    Json doc = graph.json;
    Json& nodes = doc["nodes"];
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        Json& element = nodes[graph.nodes[i].sourceIndex];
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
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        Json& element = doc[graph.jsonLinksKey][graph.edges[j].sourceIndex];
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
    for (const auto& [key, value] : tail.items()) {
        doc[key] = value;
    }
    sink(DumpJson(doc, 2) + "\n");
}

} // namespace netloom_cli
