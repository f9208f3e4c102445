#include "writers.h"

#include <cstring>
#include <set>
#include <sstream>

namespace netloom_cli {
namespace {

// The id of the node key named attrName, declared before the graph when missing.
std::string EnsureNodeKey(pugi::xml_node root, const char* attrName) {
    std::set<std::string> ids;
    pugi::xml_node graph;
    for (pugi::xml_node key : root.children()) {
        const std::string name = LocalName(key);
        if (name == "graph" && !graph) {
            graph = key;
        }
        if (name != "key") {
            continue;
        }
        ids.insert(key.attribute("id").as_string());
        const std::string domain = key.attribute("for").as_string("all");
        if ((domain == "node" || domain == "all") &&
            std::string(key.attribute("attr.name").as_string()) == attrName) {
            return key.attribute("id").as_string();
        }
    }
    std::string id = attrName;
    while (ids.count(id) != 0) {
        id = "netloom_" + id;
    }
    pugi::xml_node key = graph ? root.insert_child_before("key", graph) : root.append_child("key");
    key.append_attribute("id") = id.c_str();
    key.append_attribute("for") = "node";
    key.append_attribute("attr.name") = attrName;
    key.append_attribute("attr.type") = "double";
    return id;
}

// Sets <data key="key"> of a node, keeping data ahead of a nested graph.
void SetData(pugi::xml_node node, const std::string& key, const std::string& value) {
    for (pugi::xml_node data : node.children()) {
        if (LocalName(data) == "data" && key == data.attribute("key").as_string()) {
            data.text().set(value.c_str());
            return;
        }
    }
    pugi::xml_node before;
    for (pugi::xml_node child : node.children()) {
        const std::string name = LocalName(child);
        if (name == "graph" || name == "locator") {
            before = child;
            break;
        }
    }
    pugi::xml_node data =
        before ? node.insert_child_before("data", before) : node.append_child("data");
    data.append_attribute("key") = key.c_str();
    data.text().set(value.c_str());
}

// yEd draws from its own geometry (top-left corner): move the box too.
void MoveGeometry(pugi::xml_node node, double x, double y) {
    for (pugi::xml_node data : node.children()) {
        if (LocalName(data) != "data") {
            continue;
        }
        for (pugi::xml_node shape : data.children()) {
            for (pugi::xml_node geometry : shape.children()) {
                if (LocalName(geometry) == "Geometry") {
                    const double w = geometry.attribute("width").as_double();
                    const double h = geometry.attribute("height").as_double();
                    geometry.attribute("x").set_value(FormatNumber(x - w / 2).c_str());
                    geometry.attribute("y").set_value(FormatNumber(y - h / 2).c_str());
                }
            }
        }
    }
}

std::string FreshGraphMl(const FileGraph& graph, const LayoutResult& result) {
    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\"\n"
           "         xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
           "         xsi:schemaLocation=\"http://graphml.graphdrawing.org/xmlns "
           "http://graphml.graphdrawing.org/xmlns/1.0/graphml.xsd\">\n"
           "  <key id=\"label\" for=\"node\" attr.name=\"label\" attr.type=\"string\"/>\n"
           "  <key id=\"x\" for=\"node\" attr.name=\"x\" attr.type=\"double\"/>\n"
           "  <key id=\"y\" for=\"node\" attr.name=\"y\" attr.type=\"double\"/>\n"
           "  <key id=\"fixed\" for=\"node\" attr.name=\"fixed\" attr.type=\"boolean\"/>\n"
           "  <key id=\"length\" for=\"edge\" attr.name=\"length\" attr.type=\"int\"/>\n"
           "  <graph id=\"G\" edgedefault=\"undirected\">\n";
    // Ports a node names, declared on the node as GraphML wants.
    std::vector<std::vector<std::string>> ports(graph.nodes.size());
    std::vector<std::set<std::string>> seen(graph.nodes.size());
    for (const FileEdge& edge : graph.edges) {
        if (edge.sourcePort && seen[edge.source].insert(edge.sourcePort->key).second) {
            ports[edge.source].push_back(edge.sourcePort->key);
        }
        if (edge.targetPort && seen[edge.target].insert(edge.targetPort->key).second) {
            ports[edge.target].push_back(edge.targetPort->key);
        }
    }
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const FileNode& node = graph.nodes[i];
        out << "    <node id=\"" << XmlEscape(node.id.key) << "\">\n";
        if (!node.label.empty()) {
            out << "      <data key=\"label\">" << XmlEscape(node.label) << "</data>\n";
        }
        out << "      <data key=\"x\">" << FormatNumber(result.x[i]) << "</data>\n"
            << "      <data key=\"y\">" << FormatNumber(result.y[i]) << "</data>\n";
        if (node.fixed) {
            out << "      <data key=\"fixed\">true</data>\n";
        }
        for (const std::string& port : ports[i]) {
            out << "      <port name=\"" << XmlEscape(port) << "\"/>\n";
        }
        out << "    </node>\n";
    }
    for (const FileEdge& edge : graph.edges) {
        out << "    <edge";
        if (edge.id) {
            out << " id=\"" << XmlEscape(edge.id->key) << "\"";
        }
        out << " source=\"" << XmlEscape(graph.nodes[edge.source].id.key) << "\" target=\""
            << XmlEscape(graph.nodes[edge.target].id.key) << "\"";
        if (edge.sourcePort) {
            out << " sourceport=\"" << XmlEscape(edge.sourcePort->key) << "\"";
        }
        if (edge.targetPort) {
            out << " targetport=\"" << XmlEscape(edge.targetPort->key) << "\"";
        }
        if (edge.length) {
            out << ">\n      <data key=\"length\">" << *edge.length << "</data>\n    </edge>\n";
        } else {
            out << "/>\n";
        }
    }
    out << "  </graph>\n</graphml>\n";
    return out.str();
}

} // namespace

std::string WriteGraphMl(FileGraph& graph, const LayoutResult& result) {
    if (graph.format != Format::GraphMl || !graph.xml) {
        return FreshGraphMl(graph, result);
    }
    pugi::xml_node root = graph.xml->document_element();
    const std::string xKey = EnsureNodeKey(root, "x");
    const std::string yKey = EnsureNodeKey(root, "y");
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        pugi::xml_node element = graph.xmlNodes[graph.nodes[i].sourceIndex];
        SetData(element, xKey, FormatNumber(result.x[i]));
        SetData(element, yKey, FormatNumber(result.y[i]));
        MoveGeometry(element, result.x[i], result.y[i]);
    }
    std::ostringstream out;
    graph.xml->save(out, "  ", pugi::format_default, pugi::encoding_utf8);
    return out.str();
}

} // namespace netloom_cli
