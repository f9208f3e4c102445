#pragma once

// Readers of the input formats. Each throws InputError for a file it cannot
// take, naming the line where the problem is.

#include "graph_file.h"

#include <mutex>
#include <string>

namespace netloom_cli {

// Node-link JSON (networkx node_link_data, d3).
FileGraph ReadJsonGraph(const std::string& path, const std::string& text);
// GraphML (yEd, Gephi, networkx).
FileGraph ReadGraphMl(const std::string& path, const std::string& text);
// Plain edge lists: "SOURCE TARGET [LENGTH] [key=value ...]", one node per
// line for nodes of their own.
FileGraph ReadEdgeList(const std::string& path, const std::string& text);

// ELK JSON: a root with nested "children", "ports", "edges" with "sources"
// and "targets", and "layoutOptions".
FileGraph ReadElk(const std::string& path, const std::string& text);
// Whether a JSON text is ELK JSON: a top-level object with "children" and no
// "nodes". False for text that is not JSON at all.
bool IsElkText(const std::string& text);

// DOT, through Graphviz's graph library. That library keeps global state (its
// scanner, its error handler): every use of it holds this lock.
std::recursive_mutex& GraphvizLock();
FileGraph ReadDot(const std::string& path, const std::string& text);

// Reads a text or a file of the given format; `name` names the text in errors.
FileGraph ReadText(const std::string& name, const std::string& text, Format format);
FileGraph ReadGraph(const std::string& path, Format format);

// Shared by the readers: registers a node, failing on a duplicate id.
std::size_t AddFileNode(FileGraph& graph, FileNode node);
// Registers an edge, failing on a duplicate edge id.
void AddFileEdge(FileGraph& graph, FileEdge edge,
                 std::unordered_map<std::string, std::size_t>& edgeIds);

} // namespace netloom_cli
