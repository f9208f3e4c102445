// Given box sizes: one scale for the whole layout, then every port and edge end
// moved onto the given borders. The edges keep their route's bends, scaled;
// orthogonal routes stay orthogonal.

#include "sized.h"

#include "names.h"
#include "routes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace netloom::front {

namespace {

constexpr double kSameSpot = 1e-3; // of the node distance, as for the drawing

// A point of the drawing's box `from` carried to the same place of box `to`:
// a point on one border lands on the same border, as far along it.
Point Carry(const DrawnNode& from, const DrawnNode& to, const Point& p) {
    const double u = from.w > 0.0 ? (p.x - from.x) / (from.w / 2) : 0.0;
    const double v = from.h > 0.0 ? (p.y - from.y) / (from.h / 2) : 0.0;
    return {to.x + std::clamp(u, -1.0, 1.0) * (to.w / 2),
            to.y + std::clamp(v, -1.0, 1.0) * (to.h / 2)};
}

// Keeps a path of horizontal and vertical segments so after its ends moved:
// the first and last bends follow their ends along the segment's axis, and a
// segment that came out slanted gets an elbow.
void KeepOrthogonal(const std::vector<Point>& route, std::vector<Point>& path) {
    const std::size_t k = path.size();
    if (k >= 3) {
        if (route[0].x == route[1].x) {
            path[1].x = path[0].x;
        } else if (route[0].y == route[1].y) {
            path[1].y = path[0].y;
        }
        if (route[k - 1].x == route[k - 2].x) {
            path[k - 2].x = path[k - 1].x;
        } else if (route[k - 1].y == route[k - 2].y) {
            path[k - 2].y = path[k - 1].y;
        }
    } else if (k == 2 && path[0].x != path[1].x && path[0].y != path[1].y) {
        const Point a = path[0];
        const Point b = path[1];
        if (route[0].x == route[1].x) {
            const double mid = a.y + (b.y - a.y) / 2;
            path = {a, {a.x, mid}, {b.x, mid}, b};
        } else {
            const double mid = a.x + (b.x - a.x) / 2;
            path = {a, {mid, a.y}, {mid, b.y}, b};
        }
        return;
    }
    std::vector<Point> out{path[0]};
    for (std::size_t i = 1; i < path.size(); ++i) {
        const Point& a = out.back();
        const Point& b = path[i];
        if (a.x != b.x && a.y != b.y) {
            out.push_back({a.x, b.y});
        }
        out.push_back(b);
    }
    path = std::move(out);
}

} // namespace

double SizedScale(const std::vector<double>& x, const std::vector<double>& y,
                  const std::vector<double>& w, const std::vector<double>& h, double gap,
                  double same) {
    const std::size_t n = x.size();
    // What pair (i, j) needs: the factor at which they clear in x or in y,
    // whichever comes first.
    auto need = [&](std::size_t i, std::size_t j) {
        const double dx = std::fabs(x[i] - x[j]);
        const double dy = std::fabs(y[i] - y[j]);
        if (dx < same && dy < same) {
            return 0.0;
        }
        const double inf = std::numeric_limits<double>::infinity();
        const double rx = dx > 0.0 ? ((w[i] + w[j]) / 2 + gap) / dx : inf;
        const double ry = dy > 0.0 ? ((h[i] + h[j]) / 2 + gap) / dy : inf;
        return std::min(rx, ry);
    };
    std::vector<std::size_t> byX(n);
    std::iota(byX.begin(), byX.end(), std::size_t{0});
    std::vector<std::size_t> byY = byX;
    std::stable_sort(byX.begin(), byX.end(),
                     [&](std::size_t a, std::size_t b) { return x[a] < x[b]; });
    std::stable_sort(byY.begin(), byY.end(),
                     [&](std::size_t a, std::size_t b) { return y[a] < y[b]; });
    double s = 0.0;
    for (std::size_t a = 1; a < n; ++a) {
        s = std::max({s, need(byX[a - 1], byX[a]), need(byY[a - 1], byY[a])});
    }
    const double wMax = n == 0 ? 0.0 : *std::max_element(w.begin(), w.end());
    // A pair further apart in x than its widths need at the factor found so far
    // cannot ask for more; x order ends each scan there.
    for (std::size_t a = 0; a < n; ++a) {
        const std::size_t i = byX[a];
        const double reach = (w[i] + wMax) / 2 + gap;
        for (std::size_t b = a + 1; b < n; ++b) {
            const std::size_t j = byX[b];
            if ((x[j] - x[i]) * s >= reach) {
                break;
            }
            s = std::max(s, need(i, j));
        }
    }
    return s > 0.0 ? s : 1.0;
}

SizedLayout PlaceSized(const Request& request, const Result& result, const Drawing& d,
                       const SizedInput& input) {
    const std::size_t n = request.nodeCount;
    auto size = [](const std::vector<double>& v, std::size_t i) {
        return i < v.size() && v[i] > 0.0 ? v[i] : 0.0;
    };
    std::vector<double> w(n), h(n);
    for (std::size_t i = 0; i < n; ++i) {
        w[i] = size(input.widths, i);
        h[i] = size(input.heights, i);
    }
    SizedLayout out;
    out.scale = SizedScale(result.x, result.y, w, h, input.gap, result.distance * kSameSpot);
    const double s = out.scale;
    std::vector<DrawnNode> boxes(n);
    for (std::size_t i = 0; i < n; ++i) {
        boxes[i].x = result.x[i] * s;
        boxes[i].y = result.y[i] * s;
        boxes[i].w = w[i];
        boxes[i].h = h[i];
    }

    // Ports: the layout's, then the extra ones after them on their sides. A
    // named port the layout put on no side sits where its first edge ends.
    out.ports.resize(n);
    std::vector<std::vector<char>> placed(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::array<int, kSideCount> total = result.sideCounts[i];
        if (i < input.extraPorts.size()) {
            for (const SizedInput::Extra& extra : input.extraPorts[i]) {
                ++total[static_cast<std::size_t>(std::clamp(extra.side, 0, kSideCount - 1))];
            }
        }
        std::array<int, kSideCount> next = result.sideCounts[i];
        for (const NodePort& port : result.ports[i]) {
            const bool sided = port.side >= 0 && port.side < kSideCount;
            out.ports[i].push_back(sided ? PortPoint(boxes[i], port.side, port.slot,
                                                     total[static_cast<std::size_t>(port.side)])
                                         : Point{boxes[i].x, boxes[i].y});
            placed[i].push_back(sided ? 1 : 0);
        }
        if (i < input.extraPorts.size()) {
            for (const SizedInput::Extra& extra : input.extraPorts[i]) {
                const auto c = static_cast<std::size_t>(std::clamp(extra.side, 0, kSideCount - 1));
                out.ports[i].push_back(
                    PortPoint(boxes[i], static_cast<int>(c), next[c]++, total[c]));
                placed[i].push_back(extra.name == kNoPort ? 1 : 0);
            }
        }
    }

    const std::vector<std::vector<Point>> routes = EdgeRoutes(d);
    out.paths.resize(request.EdgeCount());
    for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
        const std::vector<Point>& route = routes[j];
        const std::size_t ends[2] = {request.sources[j], request.targets[j]};
        const PortPlace* places[2] = {&result.sourcePlace[j], &result.targetPlace[j]};
        const int names[2] = {j < request.sourcePorts.size() ? request.sourcePorts[j] : kNoPort,
                              j < request.targetPorts.size() ? request.targetPorts[j] : kNoPort};
        Point at[2];
        for (int e = 0; e < 2; ++e) {
            const std::size_t node = ends[e];
            const Point routeEnd = route.size() >= 2
                                       ? (e == 0 ? route.front() : route.back())
                                       : Point{d.nodes[ends[1 - e]].x, d.nodes[ends[1 - e]].y};
            const Point carried =
                route.size() >= 2
                    ? Carry(d.nodes[node], boxes[node], routeEnd)
                    : BorderToward(boxes[node], {boxes[ends[1 - e]].x, boxes[ends[1 - e]].y},
                                   false);
            at[e] = carried;
            // The end's port: by side and slot, else by name (the extra ports
            // follow the layout's own).
            const auto& ports = result.ports[node];
            const std::size_t count = out.ports[node].size();
            for (std::size_t k = 0; k < count; ++k) {
                const bool own = k < ports.size();
                const bool bySide = own && places[e]->side >= 0 &&
                                    ports[k].side == places[e]->side &&
                                    ports[k].slot == places[e]->slot;
                const int name =
                    own ? ports[k].name : input.extraPorts[node][k - ports.size()].name;
                const bool byName = places[e]->side < 0 && names[e] != kNoPort && name == names[e];
                if (bySide || byName) {
                    if (!placed[node][k]) {
                        out.ports[node][k] = carried;
                        placed[node][k] = 1;
                    }
                    at[e] = out.ports[node][k];
                    break;
                }
            }
        }
        std::vector<Point>& path = out.paths[j];
        path.push_back(at[0]);
        for (std::size_t k = 1; k + 1 < route.size(); ++k) {
            path.push_back({route[k].x * s, route[k].y * s});
        }
        path.push_back(at[1]);
        if (d.orthogonal && route.size() >= 2) {
            KeepOrthogonal(route, path);
        }
    }

    // Move everything so that the drawing starts at the padding.
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    auto add = [&](const Point& p) {
        minX = std::min(minX, p.x);
        minY = std::min(minY, p.y);
        maxX = std::max(maxX, p.x);
        maxY = std::max(maxY, p.y);
    };
    for (const DrawnNode& b : boxes) {
        add({b.x - b.w / 2, b.y - b.h / 2});
        add({b.x + b.w / 2, b.y + b.h / 2});
    }
    for (const auto& path : out.paths) {
        std::for_each(path.begin(), path.end(), add);
    }
    if (minX > maxX) {
        minX = minY = maxX = maxY = 0.0;
    }
    const double dx = input.padding - minX;
    const double dy = input.padding - minY;
    auto shift = [dx, dy](Point& p) {
        p.x += dx;
        p.y += dy;
    };
    out.width = maxX - minX + 2 * input.padding;
    out.height = maxY - minY + 2 * input.padding;
    for (const DrawnNode& b : boxes) {
        out.corners.push_back({b.x - b.w / 2 + dx, b.y - b.h / 2 + dy});
    }
    for (auto& ports : out.ports) {
        std::for_each(ports.begin(), ports.end(), shift);
    }
    for (auto& path : out.paths) {
        std::for_each(path.begin(), path.end(), shift);
    }
    return out;
}

} // namespace netloom::front
