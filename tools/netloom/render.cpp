// One output file's content in any format, the drawn ones rendered from the SVG.
// Kept apart from the text writers: PNG and PDF need librsvg and cairo.

#include "writers.h"

namespace netloom_cli {

// The output file's content; warning gets a note for the user, if any.
std::string RenderAs(FileGraph& graph, const LayoutResult& result, Format format,
                     std::string& warning) {
    switch (format) {
    case Format::Svg:
        return WriteSvg(graph, result);
    case Format::Png:
        return RenderPng(WriteSvg(graph, result), warning);
    case Format::Pdf:
        return RenderPdf(WriteSvg(graph, result));
    case Format::GraphMl:
        return WriteGraphMl(graph, result);
    case Format::EdgeList:
        return WriteEdgeList(graph, result);
    case Format::Dot:
        return WriteDot(graph, result);
    case Format::Html:
        return WriteHtml(graph, result);
    case Format::Elk:
        return WriteElk(graph, result);
    case Format::Json:
        break;
    }
    return WriteJson(graph, result);
}

} // namespace netloom_cli
