#include "writers.h"

#include <sstream>

namespace netloom_cli {
namespace {

// Ids that would not read back as the same token are quoted: text that looks
// like a number, is empty, or holds a blank, quote, '=', '#' or '{'.
std::string Token(const FileId& id) {
    if (!id.value.is_string()) {
        return DumpJson(id.value);
    }
    const std::string& text = id.key;
    bool quote = text.empty() || text.find_first_of(" \t\"=#{%\\") != std::string::npos;
    if (!quote) {
        const std::size_t digits = text[0] == '-' ? 1 : 0;
        quote = text.size() > digits &&
                text.find_first_not_of("0123456789", digits) == std::string::npos;
    }
    if (!quote) {
        return text;
    }
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    return out + "\"";
}

// key=value, with the value quoted as an id would be ("key=\"a b\"").
std::string Attribute(const char* key, const FileId& value) {
    return std::string(" ") + key + "=" + Token(value);
}

// A label on one line: the format has no escape for line breaks and other
// control characters, so they become blanks.
std::string OneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            c = ' ';
        }
    }
    return text;
}

} // namespace

std::string WriteEdgeList(const FileGraph& graph, const LayoutResult& result) {
    std::ostringstream out;
    out << "# netloom edge list: nodes with positions, then edges\n";
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const FileNode& node = graph.nodes[i];
        out << Token(node.id) << " x=" << FormatNumber(result.x[i])
            << " y=" << FormatNumber(result.y[i]);
        if (node.fixed) {
            out << " fixed=1";
        }
        if (!node.label.empty()) {
            out << Attribute("label", MakeTextId(OneLine(node.label)));
        }
        out << "\n";
    }
    for (const FileEdge& edge : graph.edges) {
        out << Token(graph.nodes[edge.source].id) << " " << Token(graph.nodes[edge.target].id);
        if (edge.id) {
            out << Attribute("id", *edge.id);
        }
        if (edge.length) {
            out << " length=" << *edge.length;
        }
        if (edge.sourcePort) {
            out << Attribute("sourcePort", *edge.sourcePort);
        }
        if (edge.targetPort) {
            out << Attribute("targetPort", *edge.targetPort);
        }
        out << "\n";
    }
    return out.str();
}

} // namespace netloom_cli
