// The interactive page: page/page.html, compiled in, with the drawing as JSON
// in its graph script element. The page works in the drawing's pixels (layout
// units times the drawing's scale), to a hundredth of a pixel. To keep a large
// page small, ports are given from their box's centre and each point of an
// edge from the point before it: orthogonal routes then write mostly zeros.

#include "layout_run.h"
#include "page_html.h"
#include "writers.h"

#include <cmath>
#include <iterator>
#include <string_view>

namespace netloom_cli {
namespace {

constexpr std::string_view kGraphMarker = "@GRAPH@";

class PageJson {
public:
    explicit PageJson(double scale) : m_scale(scale) {}

    // Layout units to hundredths of the drawing's pixels.
    double Hundredths(double value) const { return std::round(value * m_scale * 100.0); }
    void Pixels(double value) { Offset(Hundredths(value), 0.0); }
    // The pixels from one value (in hundredths) to another.
    void Offset(double hundredths, double from) {
        m_text += FormatNumber((hundredths - from) / 100.0 + 0.0);
    }
    void Text(const std::string& text) { m_text += DumpJson(Json(text)); }
    void Key(const char* key) {
        m_text += '"';
        m_text += key;
        m_text += "\":";
    }
    PageJson& operator<<(const char* raw) {
        m_text += raw;
        return *this;
    }
    PageJson& operator<<(const std::string& raw) {
        m_text += raw;
        return *this;
    }

    // The text, safe inside a script element: '<' only occurs inside JSON
    // strings, where \u003c stands for it, so "</script>" or "<!--" in a label
    // cannot end or change the element.
    std::string Finish() const {
        std::string out;
        out.reserve(m_text.size());
        for (char c : m_text) {
            if (c == '<') {
                out += "\\u003c";
            } else {
                out += c;
            }
        }
        return out;
    }

private:
    double m_scale;
    std::string m_text;
};

void WriteNode(PageJson& out, const FileNode& node, const DrawnNode& box,
               const LayoutResult& result, std::size_t index) {
    const std::vector<NodePort>& ports = result.ports[index];
    out << "{";
    out.Key("id");
    out.Text(node.id.key);
    if (!node.label.empty()) {
        out << ",";
        out.Key("label");
        out.Text(node.label);
    }
    if (box.label != node.id.key) {
        out << ",";
        out.Key("text");
        out.Text(box.label);
    }
    const std::pair<const char*, double> numbers[] = {
        {"x", box.x}, {"y", box.y}, {"w", box.w}, {"h", box.h}};
    for (const auto& [key, value] : numbers) {
        out << ",";
        out.Key(key);
        out.Pixels(value);
    }
    out << ",\"fill\":" << std::to_string(box.fill);
    if (node.fixed) {
        out << ",\"fixed\":true";
    }
    if (!box.cells.empty()) {
        // A record's fields, [dx, dy, text] each, and the lines between them,
        // dx1, dy1, dx2, dy2 after one another.
        auto offset = [&out, &box](const Point& p) {
            out.Offset(out.Hundredths(p.x), out.Hundredths(box.x));
            out << ",";
            out.Offset(out.Hundredths(p.y), out.Hundredths(box.y));
        };
        out << ",\"cells\":[";
        for (std::size_t k = 0; k < box.cells.size(); ++k) {
            const DrawnCell& c = box.cells[k];
            std::string text;
            for (std::size_t l = 0; l < c.lines.size(); ++l) {
                text += (l > 0 ? "\n" : "") + c.lines[l];
            }
            out << (k ? ",[" : "[");
            offset({c.x, c.y});
            out << ",";
            out.Text(text);
            out << "]";
        }
        out << "],\"dividers\":[";
        const std::vector<Point> dividers = FieldDividers(box);
        for (std::size_t k = 0; k < dividers.size(); ++k) {
            out << (k ? "," : "");
            offset(dividers[k]);
        }
        out << "]";
    }
    if (!ports.empty()) {
        // [side code, slot, dx, dy, [edges], name when the file names the port]
        out << ",\"ports\":[";
        for (std::size_t k = 0; k < ports.size(); ++k) {
            out << (k ? ",[" : "[") << std::to_string(ports[k].side) << ","
                << std::to_string(ports[k].slot) << ",";
            out.Offset(out.Hundredths(box.ports[k].x), out.Hundredths(box.x));
            out << ",";
            out.Offset(out.Hundredths(box.ports[k].y), out.Hundredths(box.y));
            out << ",[";
            for (std::size_t e = 0; e < ports[k].edges.size(); ++e) {
                out << (e ? "," : "") << std::to_string(ports[k].edges[e]);
            }
            out << "]";
            if (const FileId* id = result.PortId(ports[k])) {
                out << ",";
                out.Text(id->key);
            }
            out << "]";
        }
        out << "]";
    }
    out << "}";
}

void WriteEdge(PageJson& out, const FileEdge& edge, const DrawnEdge& path) {
    out << "{";
    if (edge.id) {
        out.Key("id");
        out.Text(edge.id->key);
        out << ",";
    }
    out << "\"source\":" << std::to_string(edge.source)
        << ",\"target\":" << std::to_string(edge.target);
    if (path.kind == PathKind::Quadratic) {
        out << ",\"curve\":true";
    }
    out << ",\"points\":[";
    double lastX = 0.0, lastY = 0.0;
    for (std::size_t k = 0; k < path.points.size(); ++k) {
        const double x = out.Hundredths(path.points[k].x);
        const double y = out.Hundredths(path.points[k].y);
        out << (k ? "," : "");
        out.Offset(x, lastX);
        out << ",";
        out.Offset(y, lastY);
        lastX = x;
        lastY = y;
    }
    out << "]}";
}

} // namespace

std::string WriteHtml(const FileGraph& graph, const LayoutResult& result) {
    const Drawing& d = result.MakeDrawing();
    // The page zooms itself: it works at the scale of the boxes' natural size.
    const double scale = 1.0 / d.pixel;
    PageJson out(scale);
    const std::string file = graph.path.substr(graph.path.find_last_of('/') + 1);
    out << "{";
    out.Key("title");
    out.Text(file + ", " + LayoutTypeName(result.options.type) + " layout");
    out << ",\"layout\":\"" << LayoutTypeName(result.options.type)
        << "\",\"directed\":" << (graph.directed ? "true" : "false")
        << ",\"scale\":" << FormatNumber(scale) << ",\"bounds\":[";
    const double bounds[] = {d.left, d.top, d.width, d.height};
    for (std::size_t k = 0; k < std::size(bounds); ++k) {
        out << (k ? "," : "");
        out.Pixels(bounds[k]);
    }
    out << "]";
    const std::pair<const char*, double> sizes[] = {{"font", d.fontSize},
                                                    {"line", d.lineHeight},
                                                    {"stroke", d.strokeWidth},
                                                    {"arrow", d.arrowSize}};
    for (const auto& [key, value] : sizes) {
        out << ",\"" << key << "\":";
        out.Pixels(value);
    }
    out << ",\"fills\":[";
    for (std::size_t k = 0; k < std::size(kDrawFills); ++k) {
        out << (k ? ",\"" : "\"") << kDrawFills[k] << "\"";
    }
    out << "],\"sides\":[";
    for (int side = 0; side < 4; ++side) {
        out << (side ? ",\"" : "\"") << SideName(side) << "\"";
    }
    out << "],\n\"nodes\":[";
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        out << (i ? ",\n" : "\n");
        WriteNode(out, graph.nodes[i], d.nodes[i], result, i);
    }
    out << "],\n\"edges\":[";
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        out << (j ? ",\n" : "\n");
        WriteEdge(out, graph.edges[j], d.edges[j]);
    }
    out << "]}";

    const std::string_view page = kPageHtml;
    const std::size_t at = page.find(kGraphMarker);
    std::string html(page.substr(0, at));
    html += out.Finish();
    html.append(page.substr(at + kGraphMarker.size()));
    return html;
}

} // namespace netloom_cli
