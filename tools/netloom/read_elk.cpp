// ELK JSON: {"id": "root", "layoutOptions": {...}, "children": [{"id", "width",
// "height", "labels": [{"text"}], "ports": [{"id", "width", "height"}],
// "children": [...]}], "edges": [{"id", "sources": [...], "targets": [...]}]}.
// Nested children become nodes of one graph; an edge with several sources or
// targets becomes one edge per pair.

#include "elk_walk.h"
#include "readers.h"

#include "front/names.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

namespace netloom_cli {
namespace {

using netloom::front::kSideDown;
using netloom::front::kSideLeft;
using netloom::front::kSideRight;
using netloom::front::kSideUp;

// Stops at the first sign of the document's kind: a top-level "children" or
// "nodes" key.
class KindPass : public Json::json_sax_t {
public:
    bool children = false;
    bool nodes = false;
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return ++m_depth > 0; }
    bool end_object() override { return --m_depth >= 0; }
    bool start_array(std::size_t) override { return ++m_depth > 1; }
    bool end_array() override { return --m_depth >= 0; }
    bool key(string_t& k) override {
        if (m_depth == 1) {
            children = children || k == "children";
            nodes = nodes || k == "nodes";
        }
        return !nodes;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    int m_depth = 0;
};

// The side code of ELK's port side names.
int SideCode(const std::string& name) {
    if (name == "NORTH") {
        return kSideUp;
    }
    if (name == "SOUTH") {
        return kSideDown;
    }
    if (name == "EAST") {
        return kSideRight;
    }
    if (name == "WEST") {
        return kSideLeft;
    }
    return -1;
}

// An option key as "elk.x": ELK takes "org.eclipse.elk.x", "elk.x" and a
// bare "x" alike.
std::string ShortKey(const std::string& key) {
    const std::string prefix = "org.eclipse.";
    std::string name = key.compare(0, prefix.size(), prefix) == 0 ? key.substr(prefix.size()) : key;
    return name.compare(0, 4, "elk.") == 0 ? name : "elk." + name;
}

// An option's text: ELK options are strings, numbers as written.
std::string OptionText(const Json& value) {
    return value.is_string() ? value.get<std::string>() : DumpJson(value);
}

// The options object of an element: "layoutOptions", or the older "properties".
const Json* OptionsOf(const Json& element) {
    for (const char* key : {"layoutOptions", "properties"}) {
        const auto it = element.find(key);
        if (it != element.end() && it->is_object()) {
            return &*it;
        }
    }
    return nullptr;
}

class ElkReader {
public:
    ElkReader(const std::string& path, const std::string& text) : m_path(path), m_text(text) {}

    FileGraph Read() {
        FileGraph graph;
        graph.path = m_path;
        graph.format = Format::Elk;
        graph.directed = true; // ELK's edges run from sources to targets
        try {
            graph.json = Json::parse(m_text);
        } catch (const Json::parse_error& e) {
            const TextPosition pos = PositionAt(m_text, e.byte > 0 ? e.byte - 1 : 0);
            std::string what = e.what();
            const auto colon = what.find(": ", what.find("parse error"));
            throw InputError(m_path, pos.line, pos.column,
                             "malformed JSON: " +
                                 (colon == std::string::npos ? what : what.substr(colon + 2)));
        } catch (const Json::exception& e) {
            throw InputError(m_path, 0, 0, std::string("malformed JSON: ") + e.what());
        }
        if (!graph.json.is_object()) {
            throw InputError(m_path, 1, 0, "expected an ELK graph: an object with \"children\"");
        }
        CheckChildren(graph.json, "the graph");
        graph.elk = std::make_shared<ElkData>();
        m_elk = graph.elk.get();
        const ElkWalk<const Json> walk = WalkElk<const Json>(graph.json);
        if (walk.tooDeep) {
            throw InputError(m_path, 0, 0,
                             "children nested more than " + std::to_string(kElkMaxDepth) +
                                 " levels deep");
        }
        graph.ReserveNodes(walk.nodes.size());
        for (std::size_t i = 0; i < walk.nodes.size(); ++i) {
            ReadNode(graph, *walk.nodes[i], walk.parents[i], i);
        }
        for (std::size_t i = 0; i < walk.nodes.size(); ++i) {
            ReadPorts(graph, *walk.nodes[i], i);
        }
        std::unordered_map<std::string, std::size_t> edgeIds;
        for (std::size_t k = 0; k < walk.edges.size(); ++k) {
            ReadEdge(graph, *walk.edges[k], k, edgeIds);
            m_elk->edgeContainer.push_back(walk.containers[k]);
        }
        if (walk.depth > 1) {
            graph.warnings.push_back(
                "nested children flattened into one graph: " + std::to_string(walk.depth) +
                " levels, each node laid out as a node of its own");
        }
        ReadOptions(graph);
        return graph;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const { throw InputError(m_path, 0, 0, what); }

    void CheckChildren(const Json& element, const std::string& what) const {
        for (const char* key : {"children", "edges"}) {
            const auto it = element.find(key);
            if (it != element.end() && !it->is_null() && !it->is_array()) {
                Fail(what + " \"" + key + "\" is not an array");
            }
        }
    }

    FileId ReadId(const Json& element, const std::string& what) const {
        const auto id = element.find("id");
        if (id == element.end()) {
            Fail(what + " has no \"id\"");
        }
        if (!id->is_string() && !id->is_number_integer()) {
            Fail(what + " id must be a string or an integer, not " + DumpJson(*id));
        }
        return MakeId(*id);
    }

    double Size(const Json& element, const char* key, const std::string& what) const {
        const auto it = element.find(key);
        if (it == element.end() || it->is_null()) {
            return 0.0;
        }
        // Sizes stay far from where the drawing's arithmetic would overflow.
        if (!it->is_number() || !(it->get<double>() >= 0.0 && it->get<double>() <= 1e6)) {
            Fail(what + " \"" + key + "\" must be a number from 0 to 1000000, not " +
                 DumpJson(*it));
        }
        return it->get<double>();
    }

    void ReadNode(FileGraph& graph, const Json& element, std::size_t parent, std::size_t i) {
        const std::string where = "node " + std::to_string(i + 1);
        if (!element.is_object()) {
            Fail(where + " is not an object");
        }
        FileNode node;
        node.id = ReadId(element, where);
        node.sourceIndex = i;
        const std::string named = "node " + DumpJson(node.id.value);
        CheckChildren(element, named);
        const auto labels = element.find("labels");
        if (labels != element.end() && labels->is_array()) {
            for (const Json& label : *labels) {
                if (label.is_object() && label.contains("text") && label["text"].is_string()) {
                    node.label = label["text"].get<std::string>();
                    break;
                }
            }
        }
        m_elk->widths.push_back(Size(element, "width", named));
        m_elk->heights.push_back(Size(element, "height", named));
        m_elk->parents.push_back(parent);
        AddFileNode(graph, std::move(node));
    }

    void ReadPorts(FileGraph& graph, const Json& element, std::size_t node) {
        const auto ports = element.find("ports");
        if (ports == element.end() || ports->is_null()) {
            return;
        }
        const std::string named = "node " + DumpJson(graph.nodes[node].id.value);
        if (!ports->is_array()) {
            Fail(named + " \"ports\" is not an array");
        }
        for (const Json& entry : *ports) {
            if (!entry.is_object()) {
                Fail(named + " has a port that is not an object");
            }
            ElkData::Port port;
            port.id = ReadId(entry, named + " port");
            port.node = node;
            const std::string where = "port " + DumpJson(port.id.value);
            if (const char* problem = IdTextProblem(port.id.key)) {
                Fail(where + " " + problem);
            }
            if (graph.FindNode(port.id.key) != nullptr) {
                Fail(where + " has the id of a node");
            }
            if (!m_ports.emplace(port.id.key, m_elk->ports.size()).second) {
                Fail("duplicate port id " + DumpJson(port.id.value));
            }
            port.width = Size(entry, "width", where);
            port.height = Size(entry, "height", where);
            if (const Json* options = OptionsOf(entry)) {
                for (const auto& [key, value] : options->items()) {
                    if (ShortKey(key) == "elk.port.side") {
                        port.side = SideCode(OptionText(value));
                    }
                }
            }
            m_elk->ports.push_back(std::move(port));
        }
    }

    // An edge end: a node, or a port and its node.
    void ReadEnd(const FileGraph& graph, const Json& ref, const std::string& what,
                 std::size_t& node, std::optional<FileId>& port) const {
        if (!ref.is_string() && !ref.is_number_integer()) {
            Fail(what + " must be a node or port id, not " + DumpJson(ref));
        }
        const FileId id = MakeId(ref);
        if (const std::size_t* index = graph.FindNode(id.key)) {
            node = *index;
            return;
        }
        const auto it = m_ports.find(id.key);
        if (it == m_ports.end()) {
            Fail(what + " " + DumpJson(ref) + " is neither a node nor a port");
        }
        node = m_elk->ports[it->second].node;
        port = m_elk->ports[it->second].id;
    }

    // The ends listed under the plural key ("sources"), or the one end of the
    // older form ("source" with "sourcePort").
    std::vector<std::pair<std::size_t, std::optional<FileId>>>
    Ends(const FileGraph& graph, const Json& element, const std::string& where, bool source) const {
        const char* plural = source ? "sources" : "targets";
        const char* single = source ? "source" : "target";
        const char* portKey = source ? "sourcePort" : "targetPort";
        std::vector<std::pair<std::size_t, std::optional<FileId>>> ends;
        const auto list = element.find(plural);
        if (list != element.end()) {
            if (!list->is_array() || list->empty()) {
                Fail(where + " \"" + plural + "\" must be a non-empty array of ids");
            }
            for (const Json& ref : *list) {
                ends.emplace_back();
                ReadEnd(graph, ref, where + " " + single, ends.back().first, ends.back().second);
            }
            return ends;
        }
        const auto one = element.find(single);
        if (one == element.end()) {
            Fail(where + " has no \"" + plural + "\"");
        }
        ends.emplace_back();
        ReadEnd(graph, *one, where + " " + single, ends.back().first, ends.back().second);
        const auto port = element.find(portKey);
        if (port != element.end() && !port->is_null()) {
            std::size_t node = 0;
            ReadEnd(graph, *port, where + " " + portKey, node, ends.back().second);
            if (node != ends.back().first || !ends.back().second) {
                Fail(where + " " + portKey + " " + DumpJson(*port) + " is not a port of its " +
                     single);
            }
        }
        return ends;
    }

    void ReadEdge(FileGraph& graph, const Json& element, std::size_t k,
                  std::unordered_map<std::string, std::size_t>& edgeIds) {
        std::string where = "edge " + std::to_string(k + 1);
        if (!element.is_object()) {
            Fail(where + " is not an object");
        }
        std::optional<FileId> id;
        if (element.contains("id")) {
            id = ReadId(element, where);
            where = "edge " + DumpJson(id->value);
            if (!m_edgeIds.insert(id->key).second) {
                Fail("duplicate edge id " + DumpJson(id->value));
            }
        }
        const auto sources = Ends(graph, element, where, true);
        const auto targets = Ends(graph, element, where, false);
        for (const auto& [source, sourcePort] : sources) {
            for (const auto& [target, targetPort] : targets) {
                FileEdge edge;
                // One id per file edge: a hyperedge's pairs share theirs, so
                // they carry none of their own.
                if (sources.size() == 1 && targets.size() == 1) {
                    edge.id = id;
                }
                edge.source = source;
                edge.target = target;
                edge.sourcePort = sourcePort;
                edge.targetPort = targetPort;
                edge.sourceIndex = k;
                m_elk->edgeOf.push_back(k);
                AddFileEdge(graph, std::move(edge), edgeIds);
            }
        }
    }

    // The root's layout options that the tool has; one warning lists the rest.
    void ReadOptions(FileGraph& graph) {
        const Json* options = OptionsOf(graph.json);
        if (options == nullptr) {
            return;
        }
        std::string ignored;
        auto ignore = [&ignored](const std::string& key, const std::string& value) {
            ignored += (ignored.empty() ? "" : ", ") + key + "=" + value;
        };
        for (const auto& [key, value] : options->items()) {
            const std::string name = ShortKey(key);
            const std::string text = OptionText(value);
            if (name == "elk.algorithm") {
                const std::string bare = ShortKey(text).substr(4);
                static const std::map<std::string, const char*> types = {{"layered", "hierarchy"},
                                                                         {"mrtree", "tree"},
                                                                         {"radial", "radial"},
                                                                         {"force", "force"},
                                                                         {"stress", "force"}};
                const auto it = types.find(bare);
                if (it != types.end()) {
                    m_elk->type = netloom::front::LayoutTypeByName(it->second);
                } else {
                    ignore(key, text);
                }
            } else if (name == "elk.direction") {
                // Roots at the top, left or right; ELK's UP has no counterpart.
                static const std::map<std::string, int> directions = {
                    {"DOWN", 1}, {"RIGHT", 2}, {"LEFT", 4}};
                const auto it = directions.find(text);
                if (it != directions.end()) {
                    m_elk->direction = it->second;
                } else if (text != "UNDEFINED") {
                    ignore(key, text);
                }
            } else if (name == "elk.spacing.nodeNode") {
                Spacing(key, text, m_elk->distance, ignore);
            } else if (name == "elk.layered.spacing.nodeNodeBetweenLayers") {
                Spacing(key, text, m_elk->layerSpacing, ignore);
            } else {
                ignore(key, text);
            }
        }
        if (!ignored.empty()) {
            graph.warnings.push_back("layout options without a netloom counterpart, ignored: " +
                                     ignored);
        }
    }

    template <class Ignore>
    static void Spacing(const std::string& key, const std::string& text, std::optional<int>& out,
                        Ignore& ignore) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (end == text.c_str() || *end != '\0' || !std::isfinite(value) || value < 1.0 ||
            value > 1e6) {
            ignore(key, text);
            return;
        }
        out = static_cast<int>(std::lround(value));
    }

    const std::string& m_path;
    const std::string& m_text;
    ElkData* m_elk = nullptr;
    std::unordered_map<std::string, std::size_t> m_ports; // port id key to index in ports
    std::set<std::string> m_edgeIds;
};

} // namespace

bool IsElkText(const std::string& text) {
    if (text.find("\"children\"") == std::string::npos) {
        return false;
    }
    KindPass pass;
    Json::sax_parse(text, &pass, nlohmann::detail::input_format_t::json, false);
    return pass.children && !pass.nodes;
}

FileGraph ReadElk(const std::string& path, const std::string& text) {
    return ElkReader(path, text).Read();
}

} // namespace netloom_cli
