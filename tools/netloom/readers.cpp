#include "readers.h"

namespace netloom_cli {

namespace {

void CheckIdText(const FileGraph& graph, int line, const char* what, const FileId& id) {
    if (const char* problem = IdTextProblem(id.key)) {
        throw InputError(graph.path, line, 0,
                         std::string(what) + " " + DumpJson(id.value) + " " + problem);
    }
}

// The document an input of nothing but blanks stands for: an empty graph in
// every format, as Graphviz reads an empty DOT file.
const char* EmptyDocument(Format format) {
    switch (format) {
    case Format::Json:
        return "{\"nodes\": [], \"links\": []}";
    case Format::GraphMl:
        return "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\">"
               "<graph edgedefault=\"undirected\"/></graphml>";
    case Format::Dot:
        return "graph {}";
    default:
        return "";
    }
}

} // namespace

std::size_t AddFileNode(FileGraph& graph, FileNode node) {
    CheckIdText(graph, node.line, "node id", node.id);
    const std::size_t index = graph.nodes.size();
    if (graph.FindNode(node.id.key) != nullptr) {
        throw InputError(graph.path, node.line, 0, "duplicate node id " + DumpJson(node.id.value));
    }
    graph.nodes.push_back(std::move(node));
    graph.IndexLastNode();
    return index;
}

void AddFileEdge(FileGraph& graph, FileEdge edge,
                 std::unordered_map<std::string, std::size_t>& edgeIds) {
    if (edge.id) {
        CheckIdText(graph, edge.line, "edge id", *edge.id);
    }
    if (edge.sourcePort) {
        CheckIdText(graph, edge.line, "port", *edge.sourcePort);
    }
    if (edge.targetPort) {
        CheckIdText(graph, edge.line, "port", *edge.targetPort);
    }
    if (edge.id && !edgeIds.emplace(edge.id->key, graph.edges.size()).second) {
        throw InputError(graph.path, edge.line, 0, "duplicate edge id " + DumpJson(edge.id->value));
    }
    graph.edges.push_back(std::move(edge));
}

FileGraph ReadText(const std::string& name, const std::string& rawText, Format format) {
    const bool blank = rawText.find_first_not_of(" \t\r\n") == std::string::npos;
    const std::string empty = blank ? EmptyDocument(format) : "";
    const std::string& text = blank ? empty : rawText;
    switch (format) {
    case Format::Json:
        if (IsElkText(text)) {
            return ReadElk(name, text);
        }
        return ReadJsonGraph(name, text);
    case Format::Elk:
        return ReadElk(name, text);
    case Format::GraphMl:
        return ReadGraphMl(name, text);
    case Format::EdgeList:
        return ReadEdgeList(name, text);
    case Format::Dot:
        return ReadDot(name, text);
    case Format::Svg:
    case Format::Png:
    case Format::Pdf:
    case Format::Html:
        break;
    }
    throw InputError(name, 0, 0, "SVG, PNG, PDF and HTML are output formats only");
}

FileGraph ReadGraph(const std::string& path, Format format) {
    return ReadText(path, ReadWholeFile(path), format);
}

} // namespace netloom_cli
