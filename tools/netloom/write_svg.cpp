// The SVG drawing. Its user coordinates are the layout's: the viewBox is in
// layout units and the width and height attributes apply the drawing's scale.
// A drawing shown below its natural size leaves out what would not be seen
// (labels, then boxes as dots), so the file grows with what is shown.

#include "layout_run.h"
#include "writers.h"

#include <cmath>
#include <sstream>

namespace netloom_cli {
namespace {

// Coordinates to a hundredth of a pixel.
std::string Coord(double value, double pixel) {
    const double step = 0.01 * pixel;
    return FormatNumber(std::round(value / step) * step);
}

std::string PathData(const DrawnEdge& edge, double pixel) {
    std::string d;
    for (std::size_t k = 0; k < edge.points.size(); ++k) {
        const char* verb = k == 0                             ? "M"
                           : edge.kind == PathKind::Quadratic ? (k == 1 ? " Q" : " ")
                                                              : " L";
        d += verb + Coord(edge.points[k].x, pixel) + " " + Coord(edge.points[k].y, pixel);
    }
    return d;
}

// Text centred on (x, y) by a baseline shift that every renderer honours; its
// lines stacked about y.
void Text(std::ostringstream& out, double x, double y, const std::vector<std::string>& lines,
          double lineHeight) {
    if (lines.empty()) {
        return;
    }
    const double first = y - lineHeight * static_cast<double>(lines.size() - 1) / 2;
    out << "      <text x=\"" << FormatNumber(x) << "\" y=\"" << FormatNumber(first)
        << "\" dy=\"0.35em\">";
    if (lines.size() == 1) {
        out << XmlEscape(lines[0]);
    }
    for (std::size_t k = 0; lines.size() > 1 && k < lines.size(); ++k) {
        out << "<tspan x=\"" << FormatNumber(x) << "\" y=\""
            << FormatNumber(first + lineHeight * static_cast<double>(k)) << "\" dy=\"0.35em\">"
            << XmlEscape(lines[k]) << "</tspan>";
    }
    out << "</text>\n";
}

} // namespace

std::string WriteSvg(const FileGraph& graph, const LayoutResult& result) {
    return WriteSvg(graph, result, result.MakeDrawing());
}

std::string WriteSvg(const FileGraph& graph, const LayoutResult& result, const Drawing& d) {
    const double s = d.scale;
    const double px = d.pixel;
    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" << FormatNumber(d.left) << " "
        << FormatNumber(d.top) << " " << FormatNumber(d.width) << " " << FormatNumber(d.height)
        << "\" width=\"" << FormatNumber(std::ceil(d.width * s)) << "\" height=\""
        << FormatNumber(std::ceil(d.height * s)) << "\" data-scale=\"" << FormatNumber(s) << "\">\n"
        << "  <title>" << XmlEscape(graph.path) << ", " << LayoutTypeName(result.options.type)
        << " layout</title>\n"
        << "  <style>\n"
        << "    .edge { fill: none; stroke: #5b6470; stroke-width: "
        << FormatNumber(PictureStroke(d)) << "; stroke-linejoin: round; }\n"
        << "    .node rect { stroke: #34495e; stroke-width: " << FormatNumber(1.2 * px) << "; }\n"
        << "    .node.fixed rect { stroke-width: " << FormatNumber(2.6 * px) << "; }\n"
        << "    .node text { font-family: sans-serif; font-size: " << FormatNumber(d.fontSize)
        << "px; text-anchor: middle; fill: #1d2630; }\n"
        << "    .port { fill: #34495e; }\n"
        << "  </style>\n";
    const bool arrows = d.arrowSize > 0.0 && !d.dots;
    if (arrows) {
        const std::string a = FormatNumber(d.arrowSize);
        out << "  <defs><marker id=\"arrow\" viewBox=\"0 0 10 10\" refX=\"10\" refY=\"5\" "
               "markerUnits=\"userSpaceOnUse\" markerWidth=\""
            << a << "\" markerHeight=\"" << a
            << "\" orient=\"auto\"><path d=\"M0 1 L10 5 L0 9 z\" fill=\"#5b6470\"/>"
               "</marker></defs>\n";
    }
    out << "  <rect class=\"background\" x=\"" << FormatNumber(d.left) << "\" y=\""
        << FormatNumber(d.top) << "\" width=\"" << FormatNumber(d.width) << "\" height=\""
        << FormatNumber(d.height) << "\" fill=\"#ffffff\"/>\n"
        << "  <g class=\"edges\"" << (arrows ? " marker-end=\"url(#arrow)\"" : "") << ">\n";
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& edge = graph.edges[j];
        out << "    <path class=\"edge\"";
        if (edge.id) {
            out << " data-id=\"" << XmlEscape(edge.id->key) << "\"";
        }
        out << " data-source=\"" << XmlEscape(graph.nodes[edge.source].id.key)
            << "\" data-target=\"" << XmlEscape(graph.nodes[edge.target].id.key) << "\" d=\""
            << PathData(d.edges[j], px) << "\"/>\n";
    }
    out << "  </g>\n  <g class=\"nodes\">\n";
    const std::string portRadius = FormatNumber(2.5 * px);
    const std::string dotRadius = FormatNumber(d.dotRadius);
    for (std::size_t i = 0; i < d.nodes.size(); ++i) {
        const DrawnNode& b = d.nodes[i];
        const FileNode& node = graph.nodes[i];
        out << "    <g class=\"node" << (node.fixed ? " fixed" : "") << "\" data-id=\""
            << XmlEscape(node.id.key) << "\" data-x=\"" << FormatNumber(result.x[i])
            << "\" data-y=\"" << FormatNumber(result.y[i]) << "\">\n";
        if (d.dots) {
            out << "      <circle cx=\"" << FormatNumber(b.x) << "\" cy=\"" << FormatNumber(b.y)
                << "\" r=\"" << dotRadius << "\" fill=\"#34495e\"/>\n    </g>\n";
            continue;
        }
        out << "      <rect x=\"" << FormatNumber(b.x - b.w / 2) << "\" y=\""
            << FormatNumber(b.y - b.h / 2) << "\" width=\"" << FormatNumber(b.w) << "\" height=\""
            << FormatNumber(b.h) << "\" rx=\"" << FormatNumber(4 * px) << "\" fill=\""
            << kDrawFills[b.fill] << "\"/>\n";
        const std::vector<Point> dividers = FieldDividers(b);
        if (!dividers.empty()) {
            out << "      <path class=\"fields\" fill=\"none\" stroke=\"#34495e\" stroke-width=\""
                << FormatNumber(1.2 * px) << "\" d=\"";
            for (std::size_t k = 0; k + 1 < dividers.size(); k += 2) {
                out << (k ? " M" : "M") << Coord(dividers[k].x, px) << " "
                    << Coord(dividers[k].y, px) << " L" << Coord(dividers[k + 1].x, px) << " "
                    << Coord(dividers[k + 1].y, px);
            }
            out << "\"/>\n";
        }
        if (d.labels) {
            if (b.cells.empty()) {
                Text(out, b.x, b.y, b.lines, d.lineHeight);
            }
            for (const DrawnCell& c : b.cells) {
                Text(out, c.x, c.y, c.lines, d.lineHeight);
            }
        }
        for (const Point& p : b.ports) {
            out << "      <circle class=\"port\" cx=\"" << Coord(p.x, px) << "\" cy=\""
                << Coord(p.y, px) << "\" r=\"" << portRadius << "\"/>\n";
        }
        out << "    </g>\n";
    }
    out << "  </g>\n</svg>\n";
    return out.str();
}

} // namespace netloom_cli
