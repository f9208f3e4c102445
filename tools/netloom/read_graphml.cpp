// GraphML as yEd, Gephi and networkx write it. Positions come from data keys
// named x and y (or a yEd node geometry), lengths from a key named length,
// ports from the sourceport and targetport attributes or keys of those names.

#include "readers.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <unordered_set>

namespace netloom_cli {
namespace {

std::string Lower(std::string s) {
    for (char& c : s) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return s;
}

// What a data key means to the tool.
enum class Role { None, X, Y, Fixed, Label, Length, SourcePort, TargetPort, NodeGraphics };

class GraphMlReader {
public:
    GraphMlReader(const std::string& path, const std::string& text)
        : m_path(path), m_text(text), m_lines(text) {}

    FileGraph Read() {
        FileGraph graph;
        graph.path = m_path;
        graph.format = Format::GraphMl;
        graph.xml = std::make_shared<pugi::xml_document>();
        const pugi::xml_parse_result result = graph.xml->load_buffer(
            m_text.data(), m_text.size(), pugi::parse_default, pugi::encoding_utf8);
        if (!result) {
            const TextPosition pos = m_lines.At(static_cast<std::size_t>(result.offset));
            throw InputError(m_path, pos.line, pos.column,
                             std::string("malformed XML: ") + result.description());
        }
        pugi::xml_node root = graph.xml->document_element();
        if (LocalName(root) != "graphml") {
            Fail(root, "expected a <graphml> document, found <" + std::string(root.name()) + ">");
        }
        ReadKeys(root);
        pugi::xml_node top;
        for (pugi::xml_node child : root.children()) {
            if (LocalName(child) == "graph") {
                top = child;
                break;
            }
        }
        if (!top) {
            Fail(root, "no <graph> element");
        }
        graph.directed = std::string(top.attribute("edgedefault").as_string()) == "directed";

        // Nodes first (edges may refer to nodes that come later), nested graphs included.
        std::vector<pugi::xml_node> edgeElements;
        std::function<void(pugi::xml_node)> walk = [&](pugi::xml_node parent) {
            for (pugi::xml_node child : parent.children()) {
                const std::string name = LocalName(child);
                if (name == "node") {
                    ReadNode(graph, child);
                    for (pugi::xml_node inner : child.children()) {
                        if (LocalName(inner) == "graph") {
                            walk(inner);
                        }
                    }
                } else if (name == "edge") {
                    edgeElements.push_back(child);
                } else if (name == "graph") {
                    walk(child);
                }
            }
        };
        walk(top);
        // networkx writes a multigraph's edge keys as edge ids, so they repeat
        // ("0" for the first edge of every node pair): then no id names an edge.
        std::unordered_set<std::string> ids;
        for (pugi::xml_node element : edgeElements) {
            const pugi::xml_attribute id = element.attribute("id");
            if (id && !ids.insert(id.as_string()).second) {
                m_edgeIdsAreKeys = true;
                break;
            }
        }
        std::unordered_map<std::string, std::size_t> edgeIds;
        graph.edges.reserve(edgeElements.size());
        graph.xmlEdges.reserve(edgeElements.size());
        for (pugi::xml_node element : edgeElements) {
            ReadEdge(graph, element, edgeIds);
        }
        return graph;
    }

private:
    int LineOf(const pugi::xml_node& node) const {
        const std::ptrdiff_t offset = node.offset_debug();
        return offset < 0 ? 0 : m_lines.At(static_cast<std::size_t>(offset)).line;
    }

    [[noreturn]] void Fail(const pugi::xml_node& node, const std::string& what) const {
        throw InputError(m_path, LineOf(node), 0, what);
    }

    void ReadKeys(const pugi::xml_node& root) {
        for (pugi::xml_node key : root.children()) {
            if (LocalName(key) != "key") {
                continue;
            }
            const std::string id = key.attribute("id").as_string();
            const std::string domain = key.attribute("for").as_string("all");
            const std::string name = Lower(key.attribute("attr.name").as_string());
            const std::string yfiles = key.attribute("yfiles.type").as_string();
            Role role = Role::None;
            if (domain == "node" || domain == "all") {
                if (yfiles == "nodegraphics") {
                    role = Role::NodeGraphics;
                } else if (name == "x") {
                    role = Role::X;
                } else if (name == "y") {
                    role = Role::Y;
                } else if (name == "fixed") {
                    role = Role::Fixed;
                } else if (name == "label" || name == "name") {
                    role = Role::Label;
                }
                if (role != Role::None) {
                    m_nodeKeys[id] = role;
                }
            }
            role = Role::None;
            if (domain == "edge" || domain == "all") {
                if (name == "length") {
                    role = Role::Length;
                } else if (name == "sourceport" || name == "source_port" || name == "tailport") {
                    role = Role::SourcePort;
                } else if (name == "targetport" || name == "target_port" || name == "headport") {
                    role = Role::TargetPort;
                }
                if (role != Role::None) {
                    m_edgeKeys[id] = role;
                }
            }
        }
    }

    double Number(const pugi::xml_node& where, const std::string& what, const char* text) const {
        errno = 0;
        char* end = nullptr;
        const double value = std::strtod(text, &end);
        while (end != nullptr && (*end == ' ' || *end == '\t' || *end == '\n' || *end == '\r')) {
            ++end;
        }
        if (end == text || *end != '\0' || errno == ERANGE || value != value) {
            Fail(where, what + " \"" + text + "\" is not a number");
        }
        return value;
    }

    void ReadNode(FileGraph& graph, const pugi::xml_node& element) {
        const pugi::xml_attribute idAttr = element.attribute("id");
        if (!idAttr) {
            Fail(element, "<node> without an id");
        }
        FileNode node;
        node.id = MakeTextId(idAttr.as_string());
        node.line = LineOf(element);
        node.sourceIndex = graph.xmlNodes.size();
        const std::string named = "node " + node.id.key;
        bool hasX = false;
        bool hasY = false;
        for (pugi::xml_node data : element.children()) {
            if (LocalName(data) != "data") {
                continue;
            }
            const auto role = m_nodeKeys.find(data.attribute("key").as_string());
            if (role == m_nodeKeys.end()) {
                continue;
            }
            const char* text = data.child_value();
            switch (role->second) {
            case Role::X:
                node.x = Number(data, named + " x", text);
                hasX = true;
                break;
            case Role::Y:
                node.y = Number(data, named + " y", text);
                hasY = true;
                break;
            case Role::Fixed: {
                const std::string v = Lower(text);
                node.fixed = v == "true" || v == "1" || v == "yes";
                break;
            }
            case Role::Label:
                node.label = text;
                break;
            case Role::NodeGraphics:
                ReadGeometry(data, node, named, hasX, hasY);
                break;
            default:
                break;
            }
        }
        node.hasPosition = hasX || hasY;
        graph.xmlNodes.push_back(element);
        try {
            AddFileNode(graph, std::move(node));
        } catch (const InputError&) {
            Fail(element, "duplicate node id \"" + std::string(idAttr.as_string()) + "\"");
        }
    }

    // yEd keeps the box's top-left corner and size; the layout wants the centre.
    void ReadGeometry(const pugi::xml_node& data, FileNode& node, const std::string& named,
                      bool& hasX, bool& hasY) {
        pugi::xml_node geometry;
        pugi::xml_node label;
        std::function<void(pugi::xml_node)> find = [&](pugi::xml_node parent) {
            for (pugi::xml_node child : parent.children()) {
                const std::string name = LocalName(child);
                if (name == "Geometry" && !geometry) {
                    geometry = child;
                } else if (name == "NodeLabel" && !label) {
                    label = child;
                }
                find(child);
            }
        };
        find(data);
        if (geometry && !hasX && !hasY) {
            const double w =
                Number(geometry, named + " width", geometry.attribute("width").as_string("0"));
            const double h =
                Number(geometry, named + " height", geometry.attribute("height").as_string("0"));
            node.x = Number(geometry, named + " x", geometry.attribute("x").as_string("0")) + w / 2;
            node.y = Number(geometry, named + " y", geometry.attribute("y").as_string("0")) + h / 2;
            hasX = hasY = true;
        }
        if (label && node.label.empty()) {
            node.label = label.child_value();
        }
    }

    void ReadEdge(FileGraph& graph, const pugi::xml_node& element,
                  std::unordered_map<std::string, std::size_t>& edgeIds) {
        FileEdge edge;
        edge.line = LineOf(element);
        edge.sourceIndex = graph.xmlEdges.size();
        const pugi::xml_attribute id = element.attribute("id");
        const std::string where = id ? "edge \"" + std::string(id.as_string()) + "\""
                                     : "edge " + std::to_string(graph.xmlEdges.size() + 1);
        if (id) {
            (m_edgeIdsAreKeys ? edge.key : edge.id) = MakeTextId(id.as_string());
        }
        const char* ends[2] = {"source", "target"};
        for (int end = 0; end < 2; ++end) {
            const pugi::xml_attribute attr = element.attribute(ends[end]);
            if (!attr) {
                Fail(element, where + " has no " + ends[end]);
            }
            const std::size_t* index = graph.FindNode(attr.as_string());
            if (index == nullptr) {
                Fail(element,
                     where + " " + ends[end] + " \"" + attr.as_string() + "\" is not a node");
            }
            (end == 0 ? edge.source : edge.target) = *index;
        }
        if (const pugi::xml_attribute port = element.attribute("sourceport")) {
            edge.sourcePort = MakeTextId(port.as_string());
        }
        if (const pugi::xml_attribute port = element.attribute("targetport")) {
            edge.targetPort = MakeTextId(port.as_string());
        }
        for (pugi::xml_node data : element.children()) {
            if (LocalName(data) != "data") {
                continue;
            }
            const auto role = m_edgeKeys.find(data.attribute("key").as_string());
            if (role == m_edgeKeys.end()) {
                continue;
            }
            const char* text = data.child_value();
            if (role->second == Role::Length) {
                const double value = Number(data, where + " length", text);
                try {
                    edge.length = CheckedLength(value, m_path, 0, 0);
                } catch (const InputError& e) {
                    Fail(data, where + ": " + e.what());
                }
            } else if (role->second == Role::SourcePort && !edge.sourcePort) {
                edge.sourcePort = MakeTextId(text);
            } else if (role->second == Role::TargetPort && !edge.targetPort) {
                edge.targetPort = MakeTextId(text);
            }
        }
        graph.xmlEdges.push_back(element);
        try {
            AddFileEdge(graph, std::move(edge), edgeIds);
        } catch (const InputError&) {
            Fail(element, "duplicate edge id \"" + std::string(id.as_string()) + "\"");
        }
    }

    const std::string& m_path;
    const std::string& m_text;
    LineIndex m_lines;
    std::map<std::string, Role> m_nodeKeys;
    std::map<std::string, Role> m_edgeKeys;
    bool m_edgeIdsAreKeys = false;
};

} // namespace

FileGraph ReadGraphMl(const std::string& path, const std::string& text) {
    return GraphMlReader(path, text).Read();
}

} // namespace netloom_cli
