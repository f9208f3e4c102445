// DOT with pos on every node, so that Graphviz's renderers draw netloom's layout
// as it is (neato -n2): the input graph with all its attributes when it was DOT,
// else a fresh graph. Layout units are points; Graphviz's y grows upward.

#include "readers.h"
#include "writers.h"

#include <graphviz/cgraph.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace netloom_cli {
namespace {

std::string Position(double x, double y, bool fixed) {
    return FormatNumber(x) + "," + FormatNumber(y == 0.0 ? 0.0 : -y) + (fixed ? "!" : "");
}

// A quoted DOT string; in a label a line break becomes DOT's \n escape.
std::string Quoted(const std::string& text, bool label = false) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        if (c == '\n') {
            out += label ? "\\n" : " ";
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string FreshDot(const FileGraph& graph, const LayoutResult& result) {
    std::ostringstream out;
    const char* arrow = graph.directed ? " -> " : " -- ";
    out << (graph.directed ? "digraph" : "graph") << " netloom {\n";
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const FileNode& node = graph.nodes[i];
        out << "  " << Quoted(node.id.key)
            << " [pos=" << Quoted(Position(result.x[i], result.y[i], node.fixed));
        if (!node.label.empty()) {
            out << ", label=" << Quoted(node.label, true);
        }
        out << "];\n";
    }
    for (const FileEdge& edge : graph.edges) {
        out << "  " << Quoted(graph.nodes[edge.source].id.key) << arrow
            << Quoted(graph.nodes[edge.target].id.key);
        std::string attributes;
        auto add = [&attributes](const char* name, const std::string& value) {
            attributes += (attributes.empty() ? "" : ", ") + std::string(name) + "=" + value;
        };
        if (edge.id) {
            add("id", Quoted(edge.id->key));
        }
        if (edge.sourcePort) {
            add("tailport", Quoted(edge.sourcePort->key));
        }
        if (edge.targetPort) {
            add("headport", Quoted(edge.targetPort->key));
        }
        if (edge.length) {
            add("len", FormatNumber(*edge.length / 72.0));
        }
        out << (attributes.empty() ? "" : " [" + attributes + "]") << ";\n";
    }
    out << "}\n";
    return out.str();
}

} // namespace

std::string WriteDot(FileGraph& graph, const LayoutResult& result) {
    if (graph.format != Format::Dot || !graph.dot) {
        return FreshDot(graph, result);
    }
    const std::lock_guard<std::recursive_mutex> lock(GraphvizLock());
    Agraph_t* g = graph.dot.get();
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const std::string pos = Position(result.x[i], result.y[i], graph.nodes[i].fixed);
        agsafeset(graph.dotNodes[graph.nodes[i].sourceIndex], const_cast<char*>("pos"),
                  const_cast<char*>(pos.c_str()), const_cast<char*>(""));
    }
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    if (stream == nullptr) {
        throw InputError(graph.path, 0, 0, "cannot write DOT: out of memory");
    }
    agwrite(g, stream);
    std::fclose(stream);
    std::string out(text, size);
    std::free(text);
    return out;
}

} // namespace netloom_cli
