// One output file's content in any format. Kept apart from the text writers:
// PNG and PDF need cairo.

#include "writers.h"

#include <cmath>

namespace netloom_cli {

std::string DetailNote(const Drawing& d) {
    const double zoom = DrawingZoom(d);
    // The zoom of a drawing at its natural size is 1 up to rounding.
    if (d.labels && zoom > 1.0 - 1e-9) {
        return "";
    }
    const auto pixels = [](double value) {
        return std::to_string(static_cast<long long>(std::ceil(value))) + " px";
    };
    std::string note = "the drawing is shown at " +
                       std::to_string(static_cast<int>(std::round(zoom * 100.0))) +
                       "% of its natural size (" + pixels(d.width * d.scale) + " by " +
                       pixels(d.height * d.scale) + ", at most " + pixels(kMaxDrawingSide) +
                       " a side and about 10^8 px in all)";
    if (d.dots) {
        note += "; labels are left out and boxes drawn as dots";
    } else if (!d.labels) {
        note += "; labels are left out";
    }
    return note + "; write .html to see everything";
}

// The output file's content; warning gets a note for the user, if any.
std::string RenderAs(FileGraph& graph, const LayoutResult& result, Format format,
                     std::string& warning) {
    switch (format) {
    case Format::Svg:
    case Format::Png:
    case Format::Pdf: {
        const Drawing& d = result.MakeDrawing();
        warning = DetailNote(d);
        return format == Format::Svg   ? WriteSvg(graph, result, d)
               : format == Format::Png ? RenderPng(graph, result, d)
                                       : RenderPdf(graph, result, d);
    }
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

void RenderTo(FileGraph& graph, const LayoutResult& result, Format format, std::string& warning,
              const TextSink& sink) {
    if (format == Format::Json) {
        WriteJson(graph, result, sink);
    } else {
        sink(RenderAs(graph, result, format, warning));
    }
}

} // namespace netloom_cli
