#pragma once

// Writers of the output formats. Each returns the whole file as text, so that
// nothing touches the disk before the output is complete.

#include "graph_file.h"
#include "layout_run.h"

#include <functional>
#include <string>

namespace netloom_cli {

// Node-link JSON: the input (when it was JSON) or a fresh document, with every
// node's position, grid cell, component and ports, every link's port sides,
// the edge order and the parameters used.
std::string WriteJson(const FileGraph& graph, const LayoutResult& result);
// Receives an output's text in parts, in order.
using TextSink = std::function<void(const std::string&)>;
// The same document handed to sink in parts of about a megabyte as it is
// written, so that a large graph's file is never whole in memory.
void WriteJson(const FileGraph& graph, const LayoutResult& result, const TextSink& sink);
// GraphML with x and y on every node: the input document when it was GraphML.
std::string WriteGraphMl(FileGraph& graph, const LayoutResult& result);
// The edge-list format, with a node line per node carrying its position.
std::string WriteEdgeList(const FileGraph& graph, const LayoutResult& result);
// DOT with pos on every node: the input graph when it was DOT.
std::string WriteDot(FileGraph& graph, const LayoutResult& result);
// ELK JSON: the input (when it was ELK JSON) or a fresh ELK graph, with the
// top-left corner of every node and port and every edge's sections, scaled so
// that the file's box sizes do not overlap.
std::string WriteElk(const FileGraph& graph, const LayoutResult& result);
// A drawing: boxes with labels, edges between them.
std::string WriteSvg(const FileGraph& graph, const LayoutResult& result);
std::string WriteSvg(const FileGraph& graph, const LayoutResult& result, const Drawing& d);
// The drawing painted by cairo: a PNG image of its size in pixels, or a
// one-page PDF of that size at 96 pixels per inch (1 px = 0.75 pt). Throw
// OutputError when rendering fails, InterruptedError on Ctrl-C.
std::string RenderPng(const FileGraph& graph, const LayoutResult& result, const Drawing& d);
std::string RenderPdf(const FileGraph& graph, const LayoutResult& result, const Drawing& d);
// What a drawing shown below its natural size leaves out, for the user; empty
// when it shows everything.
std::string DetailNote(const Drawing& d);
// One self-contained HTML page that draws the graph on a canvas, with pan,
// zoom, search and the edges of the node under the pointer.
std::string WriteHtml(const FileGraph& graph, const LayoutResult& result);

// The output file's content in the given format; warning gets a note for the
// user, if any.
std::string RenderAs(FileGraph& graph, const LayoutResult& result, Format format,
                     std::string& warning);
// The same content handed to sink in parts (JSON as it is written).
void RenderTo(FileGraph& graph, const LayoutResult& result, Format format, std::string& warning,
              const TextSink& sink);

// Shortest decimal text that reads back as the same double.
std::string FormatNumber(double value);
// Text escaped for XML content and attribute values.
std::string XmlEscape(const std::string& text);

} // namespace netloom_cli
