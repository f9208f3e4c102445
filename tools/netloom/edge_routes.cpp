#include "edge_routes.h"

#include <algorithm>

namespace netloom_cli {
namespace {

constexpr double kStub = 10.0; // pixels

DrawPoint Outward(const DrawPoint& p, int side, double by) {
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

bool Vertical(int side) {
    return side == kSideUp || side == kSideDown;
}

} // namespace

DrawPoint PortPoint(const DrawnNode& b, int side, int slot, int count) {
    count = std::max(count, slot + 1);
    const double t = static_cast<double>(slot + 1) / (count + 1);
    const double left = b.x - b.w / 2;
    const double top = b.y - b.h / 2;
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

double RoutingScale(const FileGraph&, const LayoutResult&, const Drawing&) {
    return 0.0;
}

void RouteEdges(const FileGraph& graph, const LayoutResult& result, Drawing& d) {
    const double stub = kStub / d.scale;
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& edge = graph.edges[j];
        const DrawnNode& a = d.nodes[edge.source];
        const DrawnNode& b = d.nodes[edge.target];
        const PortPlace& ps = result.sourcePlace[j];
        const PortPlace& pt = result.targetPlace[j];
        if (ps.side < 0 || pt.side < 0) {
            d.edges[j].points = {{a.x, a.y}, {b.x, b.y}};
            continue;
        }
        const DrawPoint p = PortPoint(a, ps.side, ps.slot, result.sideCounts[edge.source][ps.side]);
        const DrawPoint q = PortPoint(b, pt.side, pt.slot, result.sideCounts[edge.target][pt.side]);
        const DrawPoint p1 = Outward(p, ps.side, stub);
        const DrawPoint q1 = Outward(q, pt.side, stub);
        std::vector<DrawPoint> points = {p, p1};
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
        d.edges[j].points = std::move(points);
    }
}

} // namespace netloom_cli
