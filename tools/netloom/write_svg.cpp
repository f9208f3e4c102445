// The drawing: one box per node with its label, one path per edge. Positions
// are scaled uniformly so that no two boxes overlap; for the hierarchy layout
// edges leave and enter at their port slots on the box sides and run
// orthogonally, otherwise they are straight lines between box borders.

#include "writers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>

namespace netloom_cli {
namespace {

constexpr double kFont = 12.0;
constexpr double kCharWidth = 7.0;
constexpr double kBoxHeight = 24.0;
constexpr double kPortSpacing = 12.0;
constexpr double kGap = 24.0;  // least space between two boxes
constexpr double kStub = 10.0; // straight piece of an edge at its port
constexpr double kMargin = 20.0;
constexpr std::size_t kMaxLabel = 24;
constexpr double kMaxExtent = 16000.0; // largest drawing side, in pixels

const char* const kFills[] = {"#dbe9f6", "#fde2c8", "#d9f0d3", "#eadcf2",
                              "#fbe3ea", "#e0f3f1", "#f3efd2", "#e4e4e4"};

std::size_t CodePoints(const std::string& text) {
    std::size_t count = 0;
    for (unsigned char c : text) {
        count += (c & 0xC0) != 0x80 ? 1 : 0;
    }
    return count;
}

// Cuts a label to kMaxLabel characters (on a character boundary) with an ellipsis.
std::string ShortLabel(const std::string& text) {
    if (CodePoints(text) <= kMaxLabel) {
        return text;
    }
    std::size_t count = 0;
    std::size_t cut = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            if (count == kMaxLabel - 1) {
                cut = i;
                break;
            }
            ++count;
        }
    }
    return text.substr(0, cut) + "\xE2\x80\xA6";
}

struct Point {
    double x = 0.0;
    double y = 0.0;
};

struct Box {
    Point centre;
    double w = 0.0;
    double h = 0.0;
    std::string label;
};

// Smallest scale at which boxes a and b (positions pa, pb in layout units) do
// not overlap; 0 when they coincide.
double PairScale(const Point& pa, const Point& pb, const Box& a, const Box& b) {
    const double dx = std::fabs(pa.x - pb.x);
    const double dy = std::fabs(pa.y - pb.y);
    const double needX = (a.w + b.w) / 2 + kGap;
    const double needY = (a.h + b.h) / 2 + kGap;
    const double inf = std::numeric_limits<double>::infinity();
    const double sx = dx > 1e-9 ? needX / dx : inf;
    const double sy = dy > 1e-9 ? needY / dy : inf;
    const double s = std::min(sx, sy);
    return std::isfinite(s) ? s : 0.0;
}

struct Scale {
    double x = 1.0;
    double y = 1.0;
};

// The scale at which no two boxes overlap. The grid of the layered layouts is
// abstract, so there each axis then shrinks as far as the boxes allow (their
// layers are much further apart than their columns); other layouts keep their
// shape.
Scale ChooseScale(const std::vector<Point>& pos, const std::vector<Box>& boxes, bool layered) {
    const std::size_t n = pos.size();
    // Each node's need: the scale that clears it of its tightest neighbour.
    std::vector<double> need(n, 0.0);
    auto consider = [&](std::size_t i, std::size_t j) {
        const double s = PairScale(pos[i], pos[j], boxes[i], boxes[j]);
        need[i] = std::max(need[i], s);
        need[j] = std::max(need[j], s);
    };
    if (n <= 4000) {
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = i + 1; j < n; ++j) {
                consider(i, j);
            }
        }
    } else {
        // Large drawings: the neighbours in x order and in y order decide.
        for (int axis = 0; axis < 2; ++axis) {
            std::vector<std::size_t> order(n);
            std::iota(order.begin(), order.end(), 0);
            std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                return axis == 0 ? pos[a].x < pos[b].x : pos[a].y < pos[b].y;
            });
            for (std::size_t k = 0; k < n; ++k) {
                for (std::size_t l = k + 1; l < n && l <= k + 32; ++l) {
                    consider(order[k], order[l]);
                }
            }
        }
    }
    // The grid of the layered layouts clears every box; a free layout may put a
    // few nodes almost on top of each other, and those alone do not blow the
    // drawing up.
    double scale = 0.0;
    if (n > 0) {
        std::sort(need.begin(), need.end());
        const double quantile = layered ? 1.0 : 0.9;
        scale = need[static_cast<std::size_t>(quantile * static_cast<double>(n - 1))];
    }
    if (scale <= 0.0) {
        scale = 1.0;
    }
    double minX = 0, maxX = 0, minY = 0, maxY = 0;
    for (std::size_t i = 0; i < n; ++i) {
        minX = i == 0 ? pos[i].x : std::min(minX, pos[i].x);
        maxX = i == 0 ? pos[i].x : std::max(maxX, pos[i].x);
        minY = i == 0 ? pos[i].y : std::min(minY, pos[i].y);
        maxY = i == 0 ? pos[i].y : std::max(maxY, pos[i].y);
    }
    const double extent = std::max(maxX - minX, maxY - minY);
    if (extent > 0.0 && extent * scale > kMaxExtent) {
        scale = kMaxExtent / extent; // a few nodes nearly on top of each other
    }
    Scale result{scale, scale};
    if (!layered || n > 4000) {
        return result;
    }
    // Room between layers for the edges' port stubs and bends.
    const double routing = 2 * kStub + 16.0;
    for (int axis = 1; axis >= 0; --axis) {
        double needed = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = i + 1; j < n; ++j) {
                const double dx = std::fabs(pos[i].x - pos[j].x);
                const double dy = std::fabs(pos[i].y - pos[j].y);
                const double needX = (boxes[i].w + boxes[j].w) / 2 + kGap;
                const double needY = (boxes[i].h + boxes[j].h) / 2 + kGap + routing;
                if (axis == 1 && dx * result.x < needX && dy > 1e-9) {
                    needed = std::max(needed, needY / dy);
                } else if (axis == 0 && dy * result.y < needY && dx > 1e-9) {
                    needed = std::max(needed, needX / dx);
                }
            }
        }
        double& s = axis == 1 ? result.y : result.x;
        if (needed > 0.0) {
            s = std::min(s, needed);
        }
    }
    return result;
}

// The point of box b on side (0 up, 1 down, 2 right, 3 left) at slot of count.
Point PortPoint(const Box& b, int side, int slot, int count) {
    count = std::max(count, slot + 1);
    const double t = static_cast<double>(slot + 1) / (count + 1);
    const double left = b.centre.x - b.w / 2;
    const double top = b.centre.y - b.h / 2;
    switch (side) {
    case kSideUp:
        return {left + t * b.w, top};
    case kSideDown:
        return {left + t * b.w, top + b.h};
    case kSideRight:
        return {left + b.w, top + t * b.h};
    default:
        return {left, top + t * b.h};
    }
}

Point Outward(const Point& p, int side, double by) {
    switch (side) {
    case kSideUp:
        return {p.x, p.y - by};
    case kSideDown:
        return {p.x, p.y + by};
    case kSideRight:
        return {p.x + by, p.y};
    default:
        return {p.x - by, p.y};
    }
}

// Where the line from the box centre towards p leaves the box.
Point BorderToward(const Box& b, const Point& p) {
    const double dx = p.x - b.centre.x;
    const double dy = p.y - b.centre.y;
    if (std::fabs(dx) < 1e-12 && std::fabs(dy) < 1e-12) {
        return b.centre;
    }
    const double tx = std::fabs(dx) > 1e-12 ? (b.w / 2) / std::fabs(dx) : 1e300;
    const double ty = std::fabs(dy) > 1e-12 ? (b.h / 2) / std::fabs(dy) : 1e300;
    const double t = std::min(1.0, std::min(tx, ty));
    return {b.centre.x + dx * t, b.centre.y + dy * t};
}

bool Vertical(int side) {
    return side == kSideUp || side == kSideDown;
}

class Bounds {
public:
    void Add(const Point& p) {
        m_minX = std::min(m_minX, p.x);
        m_minY = std::min(m_minY, p.y);
        m_maxX = std::max(m_maxX, p.x);
        m_maxY = std::max(m_maxY, p.y);
    }
    bool Empty() const { return m_minX > m_maxX; }
    double m_minX = std::numeric_limits<double>::infinity();
    double m_minY = std::numeric_limits<double>::infinity();
    double m_maxX = -std::numeric_limits<double>::infinity();
    double m_maxY = -std::numeric_limits<double>::infinity();
};

std::string PathData(const std::vector<Point>& points) {
    std::string d;
    for (std::size_t k = 0; k < points.size(); ++k) {
        d += (k == 0 ? "M" : " L") + FormatNumber(std::round(points[k].x * 100) / 100) + " " +
             FormatNumber(std::round(points[k].y * 100) / 100);
    }
    return d;
}

} // namespace

std::string WriteSvg(const FileGraph& graph, const LayoutResult& result) {
    const std::size_t n = graph.nodes.size();
    std::vector<Box> boxes(n);
    std::vector<Point> pos(n);
    for (std::size_t i = 0; i < n; ++i) {
        const FileNode& node = graph.nodes[i];
        Box& b = boxes[i];
        b.label = ShortLabel(node.label.empty() ? node.id.key : node.label);
        const auto& counts = result.sideCounts[i];
        b.w = std::max({48.0, kCharWidth * static_cast<double>(CodePoints(b.label)) + 16.0,
                        (std::max(counts[kSideUp], counts[kSideDown]) + 1) * kPortSpacing});
        b.h = std::max(kBoxHeight,
                       (std::max(counts[kSideLeft], counts[kSideRight]) + 1) * kPortSpacing);
        pos[i] = {result.x[i], result.y[i]};
    }
    const Scale scale = ChooseScale(pos, boxes, result.layered);
    Bounds bounds;
    for (std::size_t i = 0; i < n; ++i) {
        boxes[i].centre = {pos[i].x * scale.x, pos[i].y * scale.y};
        bounds.Add({boxes[i].centre.x - boxes[i].w / 2, boxes[i].centre.y - boxes[i].h / 2});
        bounds.Add({boxes[i].centre.x + boxes[i].w / 2, boxes[i].centre.y + boxes[i].h / 2});
    }

    std::ostringstream edges;
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& edge = graph.edges[j];
        const Box& a = boxes[edge.source];
        const Box& b = boxes[edge.target];
        const PortPlace& ps = result.sourcePlace[j];
        const PortPlace& pt = result.targetPlace[j];
        std::vector<Point> points;
        if (ps.side >= 0 && pt.side >= 0) {
            const Point p = PortPoint(a, ps.side, ps.slot, result.sideCounts[edge.source][ps.side]);
            const Point q = PortPoint(b, pt.side, pt.slot, result.sideCounts[edge.target][pt.side]);
            const Point p1 = Outward(p, ps.side, kStub);
            const Point q1 = Outward(q, pt.side, kStub);
            points = {p, p1};
            if (Vertical(ps.side) && Vertical(pt.side)) {
                const double mid = (p1.y + q1.y) / 2;
                points.push_back({p1.x, mid});
                points.push_back({q1.x, mid});
            } else if (!Vertical(ps.side) && !Vertical(pt.side)) {
                const double mid = (p1.x + q1.x) / 2;
                points.push_back({mid, p1.y});
                points.push_back({mid, q1.y});
            } else if (Vertical(ps.side)) {
                points.push_back({p1.x, q1.y});
            } else {
                points.push_back({q1.x, p1.y});
            }
            points.push_back(q1);
            points.push_back(q);
        } else if (edge.source == edge.target) {
            // A loop over the box's top right corner.
            const Point c = a.centre;
            const double r = std::min(a.w, a.h) / 2;
            points = {{c.x + a.w / 2 - r, c.y - a.h / 2},
                      {c.x + a.w / 2 - r, c.y - a.h / 2 - r},
                      {c.x + a.w / 2 + r, c.y - a.h / 2 - r},
                      {c.x + a.w / 2 + r, c.y - a.h / 2 + r},
                      {c.x + a.w / 2, c.y - a.h / 2 + r}};
        } else {
            const Point from = ps.side >= 0 ? PortPoint(a, ps.side, ps.slot,
                                                        result.sideCounts[edge.source][ps.side])
                                            : BorderToward(a, b.centre);
            const Point to = pt.side >= 0 ? PortPoint(b, pt.side, pt.slot,
                                                      result.sideCounts[edge.target][pt.side])
                                          : BorderToward(b, a.centre);
            points = {from, to};
        }
        for (const Point& p : points) {
            bounds.Add(p);
        }
        edges << "    <path class=\"edge\"";
        if (edge.id) {
            edges << " data-id=\"" << XmlEscape(edge.id->key) << "\"";
        }
        edges << " data-source=\"" << XmlEscape(graph.nodes[edge.source].id.key)
              << "\" data-target=\"" << XmlEscape(graph.nodes[edge.target].id.key) << "\" d=\""
              << PathData(points) << "\"/>\n";
    }

    std::ostringstream nodes;
    for (std::size_t i = 0; i < n; ++i) {
        const Box& b = boxes[i];
        const FileNode& node = graph.nodes[i];
        const std::size_t fill =
            static_cast<std::size_t>(std::max(0, result.component[i])) % std::size(kFills);
        nodes << "    <g class=\"node" << (node.fixed ? " fixed" : "") << "\" data-id=\""
              << XmlEscape(node.id.key) << "\" data-x=\"" << FormatNumber(result.x[i])
              << "\" data-y=\"" << FormatNumber(result.y[i]) << "\">\n"
              << "      <rect x=\"" << FormatNumber(b.centre.x - b.w / 2) << "\" y=\""
              << FormatNumber(b.centre.y - b.h / 2) << "\" width=\"" << FormatNumber(b.w)
              << "\" height=\"" << FormatNumber(b.h) << "\" rx=\"4\" fill=\"" << kFills[fill]
              << "\"/>\n"
              << "      <text x=\"" << FormatNumber(b.centre.x) << "\" y=\""
              << FormatNumber(b.centre.y) << "\">" << XmlEscape(b.label) << "</text>\n";
        for (const NodePort& port : result.ports[i]) {
            const Point p = PortPoint(b, port.side, port.slot, result.sideCounts[i][port.side]);
            nodes << "      <circle class=\"port\" cx=\"" << FormatNumber(p.x) << "\" cy=\""
                  << FormatNumber(p.y) << "\" r=\"2.5\"/>\n";
        }
        nodes << "    </g>\n";
    }

    if (bounds.Empty()) {
        bounds.Add({0, 0});
    }
    const double left = std::floor(bounds.m_minX - kMargin);
    const double top = std::floor(bounds.m_minY - kMargin);
    const double width = std::ceil(bounds.m_maxX + kMargin) - left;
    const double height = std::ceil(bounds.m_maxY + kMargin) - top;
    const std::string viewBox = FormatNumber(left) + " " + FormatNumber(top) + " " +
                                FormatNumber(width) + " " + FormatNumber(height);

    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" << viewBox << "\" width=\""
        << FormatNumber(width) << "\" height=\"" << FormatNumber(height) << "\">\n"
        << "  <title>" << XmlEscape(graph.path) << ", " << TypeName(result.options.type)
        << " layout</title>\n"
        << "  <style>\n"
        << "    .edge { fill: none; stroke: #5b6470; stroke-width: 1.3; }\n"
        << "    .node rect { stroke: #34495e; stroke-width: 1.2; }\n"
        << "    .node.fixed rect { stroke-width: 2.6; }\n"
        << "    .node text { font-family: sans-serif; font-size: " << kFont
        << "px; text-anchor: middle; dominant-baseline: central; fill: #1d2630; }\n"
        << "    .port { fill: #34495e; }\n"
        << "  </style>\n"
        << "  <rect class=\"background\" x=\"" << FormatNumber(left) << "\" y=\""
        << FormatNumber(top) << "\" width=\"" << FormatNumber(width) << "\" height=\""
        << FormatNumber(height) << "\" fill=\"#ffffff\"/>\n"
        << "  <g class=\"edges\">\n"
        << edges.str() << "  </g>\n"
        << "  <g class=\"nodes\">\n"
        << nodes.str() << "  </g>\n"
        << "</svg>\n";
    return out.str();
}

} // namespace netloom_cli
