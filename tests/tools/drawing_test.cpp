// The drawing's geometry on the sample networks and on generated graphs: boxes
// apart, layout coordinates kept, hierarchy edges on their ports' sides and
// never sharing a segment, no edge through a box.

#include "layout_run.h"
#include "readers.h"
#include "writers.h"

#include "front/route_counts.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <zlib.h>

namespace {

using namespace netloom_cli;

struct Segment {
    std::size_t edge;
    Point a, b;
};

// A random directed graph (DOT) in layers: mostly edges one or more layers
// down, some within a layer or upwards, parallels, loops, and a few named ports.
std::string RandomGraph(std::mt19937& rng, int n) {
    std::string text = "digraph {\n";
    for (int i = 0; i < n; ++i) {
        text += " n" + std::to_string(i) + ";\n";
    }
    std::uniform_int_distribution<int> pick(0, n - 1), roll(0, 99);
    for (int k = 0; k < n * 3 / 2; ++k) {
        const int a = pick(rng), b = roll(rng) < 4 ? a : pick(rng);
        const std::string port = roll(rng) < 5 ? ":p" + std::to_string(roll(rng) % 2) : "";
        const std::string edge = " n" + std::to_string(std::min(a, b)) + port + " -> n" +
                                 std::to_string(std::max(a, b)) + ";\n";
        text += roll(rng) < 5 ? edge + edge : edge; // some parallel
    }
    return text + "}\n";
}

// Edges that share a named port share its point; they are exempt from the
// no-overlap rule with each other.
std::set<std::pair<std::size_t, std::size_t>> SharedPorts(const LayoutResult& r) {
    std::set<std::pair<std::size_t, std::size_t>> shared;
    for (const auto& ports : r.ports) {
        for (const NodePort& port : ports) {
            for (std::size_t a : port.edges) {
                for (std::size_t b : port.edges) {
                    shared.insert({a, b});
                }
            }
        }
    }
    return shared;
}

// Whether p lies on side `side` of box b.
bool OnSide(const Point& p, const DrawnNode& b, int side, double tol) {
    const double l = b.x - b.w / 2, r = b.x + b.w / 2, t = b.y - b.h / 2, u = b.y + b.h / 2;
    const bool inX = p.x > l - tol && p.x<r + tol, inY = p.y> t - tol && p.y < u + tol;
    switch (side) {
    case kSideUp:
        return std::fabs(p.y - t) < tol && inX;
    case kSideDown:
        return std::fabs(p.y - u) < tol && inX;
    case kSideRight:
        return std::fabs(p.x - r) < tol && inY;
    default:
        return std::fabs(p.x - l) < tol && inY;
    }
}

// Checks every geometric promise of one drawing; name tells the case.
void CheckDrawing(const FileGraph& g, const LayoutResult& r, const std::string& name) {
    const Drawing d = r.MakeDrawing();
    const double tol = 1e-6 / d.scale * 100;
    const std::size_t n = d.nodes.size();
    // Layout coordinates are drawing coordinates; boxes at distinct spots are
    // apart, but for a few (2% of the nodes) in the free layouts.
    std::set<std::size_t> crowded;
    for (std::size_t i = 0; i < n; ++i) {
        ASSERT_EQ(d.nodes[i].x, r.x[i]) << name;
        ASSERT_EQ(d.nodes[i].y, r.y[i]) << name;
        for (std::size_t j = i + 1; j < n; ++j) {
            const DrawnNode& a = d.nodes[i];
            const DrawnNode& b = d.nodes[j];
            const bool sameSpot = std::fabs(a.x - b.x) < r.distance * 1e-3 &&
                                  std::fabs(a.y - b.y) < r.distance * 1e-3;
            if (!sameSpot && std::fabs(a.x - b.x) < (a.w + b.w) / 2 - tol &&
                std::fabs(a.y - b.y) < (a.h + b.h) / 2 - tol) {
                EXPECT_FALSE(r.layered) << name << ": boxes " << i << " and " << j << " overlap";
                crowded.insert(i);
                crowded.insert(j);
            }
        }
    }
    EXPECT_LE(crowded.size(), n / 50) << name;
    // Everything lies inside the drawn area.
    auto inside = [&](double x, double y) {
        return x >= d.left && x <= d.left + d.width && y >= d.top && y <= d.top + d.height;
    };
    for (const DrawnNode& b : d.nodes) {
        EXPECT_TRUE(inside(b.x - b.w / 2, b.y - b.h / 2) && inside(b.x + b.w / 2, b.y + b.h / 2));
    }
    for (const DrawnEdge& e : d.edges) {
        for (const Point& p : e.points) {
            EXPECT_TRUE(inside(p.x, p.y)) << name;
        }
    }
    if (!r.layered) {
        return; // free layouts keep straight lines (see docs/drawings.md)
    }
    std::vector<Segment> segments;
    for (std::size_t j = 0; j < g.edges.size(); ++j) {
        const auto& pts = d.edges[j].points;
        ASSERT_GE(pts.size(), 2u) << name;
        if (d.edges[j].kind != PathKind::Polyline) {
            continue;
        }
        for (std::size_t k = 0; k + 1 < pts.size(); ++k) {
            segments.push_back({j, pts[k], pts[k + 1]});
        }
        if (!d.orthogonal) {
            continue;
        }
        const FileEdge& e = g.edges[j];
        for (int end = 0; end < 2; ++end) {
            const PortPlace& place = end == 0 ? r.sourcePlace[j] : r.targetPlace[j];
            const Point& p = end == 0 ? pts.front() : pts.back();
            const Point& q = end == 0 ? pts[1] : pts[pts.size() - 2];
            if (place.side < 0) {
                continue;
            }
            EXPECT_TRUE(OnSide(p, d.nodes[end == 0 ? e.source : e.target], place.side, tol))
                << name << ": edge " << j << " end " << end << " off its port's side";
            const bool vertical = place.side == kSideUp || place.side == kSideDown;
            EXPECT_TRUE(vertical ? p.x == q.x : p.y == q.y)
                << name << ": edge " << j << " leaves its side at a slant";
        }
        for (std::size_t k = 0; k + 1 < pts.size(); ++k) {
            EXPECT_TRUE(pts[k].x == pts[k + 1].x || pts[k].y == pts[k + 1].y)
                << name << ": edge " << j << " has a slanted segment";
        }
    }
    // No segment through the inside of a box.
    for (const Segment& s : segments) {
        for (std::size_t i = 0; i < n; ++i) {
            const DrawnNode& b = d.nodes[i];
            const double l = b.x - b.w / 2 + tol, rr = b.x + b.w / 2 - tol;
            const double t = b.y - b.h / 2 + tol, u = b.y + b.h / 2 - tol;
            // Clip the segment to the box's inside.
            double t0 = 0.0, t1 = 1.0;
            const double dx = s.b.x - s.a.x, dy = s.b.y - s.a.y;
            const double pk[4] = {-dx, dx, -dy, dy};
            const double qk[4] = {s.a.x - l, rr - s.a.x, s.a.y - t, u - s.a.y};
            bool inside = true;
            for (int k = 0; k < 4 && inside; ++k) {
                if (pk[k] == 0.0) {
                    inside = qk[k] > 0.0;
                } else if (pk[k] < 0.0) {
                    t0 = std::max(t0, qk[k] / pk[k]);
                } else {
                    t1 = std::min(t1, qk[k] / pk[k]);
                }
            }
            inside = inside && t0 < t1;
            EXPECT_FALSE(inside) << name << ": edge " << s.edge << " passes through box " << i;
        }
    }
    if (!d.orthogonal) {
        return;
    }
    // No two edges share a stretch of line: collinear segments sorted along
    // their line must not overlap, unless the edges share a port.
    const auto shared = SharedPorts(r);
    std::map<std::pair<bool, long long>, std::vector<std::tuple<double, double, std::size_t>>>
        lines;
    for (const Segment& s : segments) {
        const bool horizontal = s.a.y == s.b.y;
        const double at = horizontal ? s.a.y : s.a.x;
        const double lo = horizontal ? std::min(s.a.x, s.b.x) : std::min(s.a.y, s.b.y);
        const double hi = horizontal ? std::max(s.a.x, s.b.x) : std::max(s.a.y, s.b.y);
        lines[{horizontal, std::llround(at / tol)}].emplace_back(lo, hi, s.edge);
    }
    for (auto& [line, spans] : lines) {
        std::sort(spans.begin(), spans.end());
        for (std::size_t k = 0; k < spans.size(); ++k) {
            for (std::size_t l = k + 1;
                 l < spans.size() && std::get<0>(spans[l]) < std::get<1>(spans[k]) - tol; ++l) {
                const std::size_t a = std::get<2>(spans[k]), b = std::get<2>(spans[l]);
                EXPECT_TRUE(a == b || shared.count({a, b}))
                    << name << ": edges " << a << " and " << b << " share a segment";
            }
        }
    }
}

LayoutResult Lay(const FileGraph& g, int type, int direction, bool bottomUp = false) {
    LayoutOptions options;
    options.type = type;
    options.direction = direction;
    options.bottomUp = bottomUp;
    options.progress = ProgressMode::Never;
    options.threads = 1;
    return RunLayout(g, options);
}

TEST(Drawing, SamplesAndGeneratedGraphsKeepTheGeometricPromises) {
    const std::string examples = NETLOOM_EXAMPLES_DIR;
    const std::pair<const char*, Format> samples[] = {{"campus.json", Format::Json},
                                                      {"services.edgelist", Format::EdgeList},
                                                      {"org-tree.graphml", Format::GraphMl},
                                                      {"mesh.json", Format::Json}};
    for (const auto& [file, format] : samples) {
        const FileGraph g = ReadGraph(examples + "/" + file, format);
        for (int type : {1, 2, 4, 8}) {
            CheckDrawing(g, Lay(g, type, 0), std::string(file) + " type " + std::to_string(type));
        }
        for (int direction = 2; direction <= 4; ++direction) {
            CheckDrawing(g, Lay(g, 8, direction),
                         std::string(file) + " direction " + std::to_string(direction));
        }
    }
    // Between facing sides of neighbours, an edge whose run into the right box
    // lies at the height of another's run from the left box must turn after it
    // (placed by hand, as a layout may).
    const FileGraph pair = ReadText("pair", "a b\na b\n", Format::EdgeList);
    LayoutResult crossed;
    crossed.request.nodeCount = 2;
    crossed.request.sources = {0, 0};
    crossed.request.targets = {1, 1};
    crossed.request.labels = {"a", "b"};
    crossed.type = 8;
    crossed.distance = 40;
    crossed.layered = true;
    crossed.x = {0.0, 100.0};
    crossed.y = {0.0, 0.0};
    crossed.component = {0, 0};
    crossed.sideCounts = {{0, 0, 3, 0}, {0, 0, 0, 3}};
    crossed.ports = {{{kSideRight, 0, kNoPort, {0}}, {kSideRight, 1, kNoPort, {1}}},
                     {{kSideLeft, 1, kNoPort, {0}}, {kSideLeft, 2, kNoPort, {1}}}};
    crossed.sourcePlace = {{kSideRight, 0}, {kSideRight, 1}};
    crossed.targetPlace = {{kSideLeft, 1}, {kSideLeft, 2}};
    CheckDrawing(pair, crossed, "crossed pair");

    std::mt19937 rng(7);
    for (int round = 0; round < 14; ++round) {
        const FileGraph g = ReadText("generated", RandomGraph(rng, 10 + round * 13), Format::Dot);
        for (int direction = 0; direction <= 4; ++direction) {
            CheckDrawing(g, Lay(g, 8, direction),
                         "generated " + std::to_string(round) + " direction " +
                             std::to_string(direction));
        }
        CheckDrawing(g, Lay(g, 2, 0), "generated tree " + std::to_string(round));
        // Bottom to top is top to bottom turned over: y negated, the up and
        // down sides traded, and the drawing keeps its promises.
        const std::string name = "generated bottom-up " + std::to_string(round);
        const LayoutResult down = Lay(g, 8, 1), up = Lay(g, 8, 1, true);
        ASSERT_EQ(up.x, down.x) << name;
        for (std::size_t i = 0; i < up.y.size(); ++i) {
            ASSERT_EQ(up.y[i], -down.y[i]) << name;
        }
        for (std::size_t j = 0; j < g.edges.size(); ++j) {
            const int side = down.sourcePlace[j].side;
            EXPECT_EQ(up.sourcePlace[j].side, side == kSideUp     ? kSideDown
                                              : side == kSideDown ? kSideUp
                                                                  : side)
                << name;
        }
        CheckDrawing(g, up, name);
    }
}

// An edge naming a record's field meets the box at that field: at the middle
// of the field's extent along the side it ends on, where the field reaches
// that side. Routed hierarchy edges end at their fields here but for the one
// whose field (d) reaches neither the top nor the bottom; straight ones do
// where a side of the field faces the other end.
TEST(Drawing, RecordFieldsHoldTheirEdgeEnds) {
    const FileGraph g =
        ReadGraph(std::string(NETLOOM_TEST_DATA_DIR) + "/cli/record.gv", Format::Dot);
    for (const auto& [type, least] : {std::pair{1, 4}, {2, 4}, {4, 4}, {8, 6}}) {
        const LayoutResult r = Lay(g, type, 0);
        const std::string name = "record.gv type " + std::to_string(type);
        CheckDrawing(g, r, name);
        const Drawing d = r.MakeDrawing();
        int atField = 0;
        for (std::size_t j = 0; j < g.edges.size(); ++j) {
            for (bool source : {true, false}) {
                const DrawnNode& b = d.nodes[source ? g.edges[j].source : g.edges[j].target];
                const DrawnCell* cell =
                    FieldOf(b, (source ? r.request.sourcePorts : r.request.targetPorts)[j]);
                const Point p = source ? d.edges[j].points.front() : d.edges[j].points.back();
                const double tol = 1e-9 * (b.w + b.h);
                for (int side = 0; cell != nullptr && side < kSideCount; ++side) {
                    if (OnSide(p, b, side, tol) && Touches(b, *cell, side)) {
                        const bool across = side == kSideUp || side == kSideDown;
                        atField += std::fabs((across ? p.x - cell->x : p.y - cell->y)) < tol;
                        break;
                    }
                }
            }
        }
        EXPECT_GE(atField, least) << name;
    }
}

// The plain count: every pair of segments of different edges.
std::size_t PairwiseCrossings(const std::vector<std::pair<Point, Point>>& segments,
                              const std::vector<std::size_t>& owner) {
    auto orient = [](const Point& a, const Point& b, const Point& c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    };
    auto apart = [](double p, double q) { return (p < 0 && q > 0) || (p > 0 && q < 0); };
    std::size_t count = 0;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (std::size_t j = i + 1; j < segments.size(); ++j) {
            const auto& [a, b] = segments[i];
            const auto& [c, e] = segments[j];
            count += owner[i] != owner[j] && apart(orient(a, b, c), orient(a, b, e)) &&
                     apart(orient(c, e, a), orient(c, e, b));
        }
    }
    return count;
}

// Random routes on a coarse lattice (shared ends, collinear overlaps, runs of
// horizontal and vertical pieces) and long slanted lines across the field:
// the counted crossings are the pairwise ones.
TEST(Drawing, CrossingCountMatchesThePairwiseCount) {
    std::mt19937 rng(38);
    for (int round = 0; round < 60; ++round) {
        const int lattice = 4 + round % 20;
        std::uniform_int_distribution<int> at(0, lattice);
        std::vector<std::pair<Point, Point>> segments;
        std::vector<std::size_t> owner;
        for (std::size_t edge = 0; edge < static_cast<std::size_t>(5 + round * 6); ++edge) {
            Point p{static_cast<double>(at(rng)), static_cast<double>(at(rng))};
            const int pieces = 1 + at(rng) % 3;
            for (int k = 0; k < pieces; ++k) {
                Point q{static_cast<double>(at(rng)), static_cast<double>(at(rng))};
                if (k % 2 == 1 && round % 2 == 0) {
                    (at(rng) % 2 == 0 ? q.x : q.y) = (at(rng) % 2 == 0 ? p.x : p.y);
                }
                if (edge % 7 == 0) {
                    q = {q.x * 0.37 - lattice, q.y * 1.9 + 0.5}; // long and off the lattice
                }
                segments.emplace_back(p, q);
                owner.push_back(edge);
                p = q;
            }
        }
        const std::size_t pairwise = PairwiseCrossings(segments, owner);
        ASSERT_EQ(CountCrossings(segments, owner), pairwise) << "round " << round;
        // Without room for any pair test only drawings without slanted
        // segments are counted; an uncounted one leaves the count alone.
        std::size_t within = 7;
        const bool counted = CountCrossingsWithin(segments, owner, 0.0, within);
        ASSERT_EQ(within, counted ? pairwise : 7) << "round " << round;
    }
}

// The straightforward clearing scale: distinct spots by a scan of those found
// so far, and every scale of the search checked on all pairs of spots.
double ClearingScaleByAllPairs(const std::vector<DrawnNode>& nodes, double eps, double share) {
    std::vector<DrawnNode> spots;
    for (const DrawnNode& b : nodes) {
        auto same = std::find_if(spots.begin(), spots.end(), [&](const DrawnNode& s) {
            return std::fabs(s.x - b.x) < eps && std::fabs(s.y - b.y) < eps;
        });
        if (same == spots.end()) {
            spots.push_back(b);
        } else {
            same->w = std::max(same->w, b.w);
            same->h = std::max(same->h, b.h);
        }
    }
    if (spots.size() < 2) {
        return 1.0;
    }
    const auto allowed = static_cast<std::size_t>(std::floor(share * spots.size()));
    auto crowded = [&](double s) {
        std::vector<char> over(spots.size(), 0);
        for (std::size_t i = 0; i < spots.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                const DrawnNode &a = spots[i], &b = spots[j];
                if (std::fabs(a.x - b.x) * s < (a.w + b.w) / 2 + 24.0 &&
                    std::fabs(a.y - b.y) * s < (a.h + b.h) / 2 + 24.0) {
                    over[i] = over[j] = 1;
                }
            }
        }
        return static_cast<std::size_t>(std::count(over.begin(), over.end(), 1)) > allowed;
    };
    double lo = 0.0, hi = 1.0;
    for (; crowded(hi); hi *= 2.0) {
        lo = hi;
        if (hi * 2.0 > 1e12) {
            return hi * 2.0;
        }
    }
    if (lo == 0.0) {
        for (lo = hi / 2.0; lo > 1e-9 && !crowded(lo); lo /= 2.0) {
            hi = lo;
        }
    }
    while (hi - lo > hi * 1e-9) {
        const double mid = lo + (hi - lo) / 2.0;
        (crowded(mid) ? lo : hi) = mid;
    }
    return hi;
}

// Boxes on a lattice of spots, some spots shared or a hair apart, some in a
// tight crowd, spread from a millionth to a million units: the scale is the
// straightforward one's to the bit, with and without crowded boxes allowed.
TEST(Drawing, ClearingScaleMatchesTheAllPairsSearch) {
    std::mt19937 rng(38);
    for (int round = 0; round < 120; ++round) {
        std::uniform_int_distribution<int> at(0, 3 + round % 30), roll(0, 99);
        const double unit = std::pow(10.0, round % 13 - 6);
        std::vector<DrawnNode> nodes(static_cast<std::size_t>(2 + round * 2));
        for (DrawnNode& b : nodes) {
            b.x = at(rng) * unit;
            b.y = at(rng) * unit * (round % 3 == 0 ? 0.0 : 1.0); // some all in one row
            if (roll(rng) < 10) {
                b.x += unit * 1e-5 * roll(rng); // the same spot within eps
            } else if (roll(rng) < 20 + round % 50) {
                b.x = b.x * 1e-2 + unit * 7; // a crowd near one spot
                b.y = b.y * 1e-2;
            }
            b.w = 48.0 + roll(rng) * 2;
            b.h = 24.0 + (roll(rng) < 10 ? 30 : 0);
        }
        for (double share : {0.0, 0.02, 0.3}) {
            ASSERT_EQ(ClearingScale(nodes, unit * 1e-3, share),
                      ClearingScaleByAllPairs(nodes, unit * 1e-3, share))
                << "round " << round << " share " << share;
        }
    }
}

// A corpus of example graphs (tests/data/routes: Graphviz's examples, networkx
// data sets) and generated layered graphs with ports, laid out as hierarchies
// in all four directions and as trees: the drawings keep their promises, the
// routes cross and bend in total no more than recorded, and the counts match
// a pairwise count.
TEST(Drawing, RoutesOfACorpusKeepThePromisesAndTheRecordedCounts) {
    std::vector<std::pair<std::string, FileGraph>> graphs;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(NETLOOM_TEST_DATA_DIR) + "/routes")) {
        const std::string path = entry.path().string();
        const std::string extension = entry.path().extension().string();
        if (extension != ".gv" && extension != ".edgelist") {
            continue;
        }
        const Format format = extension == ".gv" ? Format::Dot : Format::EdgeList;
        graphs.emplace_back(entry.path().filename().string(), ReadGraph(path, format));
    }
    std::sort(graphs.begin(), graphs.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::mt19937 rng(33);
    for (int round = 0; round < 6; ++round) {
        graphs.emplace_back("generated " + std::to_string(round),
                            ReadText("generated", RandomGraph(rng, 20 + round * 25), Format::Dot));
    }
    std::size_t crossings = 0, straight = 0, bends = 0, edges = 0;
    for (const auto& [name, g] : graphs) {
        for (int direction = 1; direction <= 5; ++direction) {
            const LayoutResult r = direction == 5 ? Lay(g, 2, 0) : Lay(g, 8, direction);
            const std::string what = name + " direction " + std::to_string(direction);
            CheckDrawing(g, r, what);
            const Drawing d = r.MakeDrawing();
            const RouteCounts counts = CountRoutes(r.request, d);
            crossings += counts.crossings;
            straight += counts.straightCrossings;
            bends += counts.bends;
            edges += counts.edges;
            std::vector<std::pair<Point, Point>> segments;
            std::vector<std::size_t> owner;
            const auto routes = EdgeRoutes(d);
            for (std::size_t j = 0; j < routes.size(); ++j) {
                for (std::size_t k = 0;
                     r.request.sources[j] != r.request.targets[j] && k + 1 < routes[j].size();
                     ++k) {
                    segments.emplace_back(routes[j][k], routes[j][k + 1]);
                    owner.push_back(j);
                }
            }
            ASSERT_EQ(counts.crossings, PairwiseCrossings(segments, owner)) << what;
        }
    }
    std::printf("corpus: %zu edges, %zu crossings (straight lines %zu), %zu bends\n", edges,
                crossings, straight, bends);
    // The totals may only fall: limits.txt holds the figures of today's router.
    std::ifstream file(std::string(NETLOOM_TEST_DATA_DIR) + "/routes/limits.txt");
    std::map<std::string, std::size_t> limit;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string key;
        if (words >> key && key[0] != '#') {
            words >> limit[key];
        }
    }
    EXPECT_LE(crossings, limit["crossings"]);
    EXPECT_LE(bends, limit["bends"]);
    EXPECT_EQ(straight, limit["straightCrossings"]) << "the positions changed";
}

// A scale-free graph (preferential attachment, two edges per new node), as
// an edge list.
// A scale-free graph as an edge list, ids from 0.
std::string ScaleFree(int n, std::mt19937& rng) {
    std::string text;
    for (const auto& [a, b] : netloom_test::ScaleFree(n, rng).edges) {
        text += std::to_string(a - 1) + " " + std::to_string(b - 1) + "\n";
    }
    return text;
}

// The share of a PNG's pixels with ink (any channel below 200). The image is
// read as the tool writes it: 8-bit RGB rows without filtering.
double InkedShare(const std::string& png) {
    std::size_t at = 8;
    std::string idat;
    std::uint32_t width = 0, height = 0;
    auto word = [&](std::size_t i) {
        return std::uint32_t(std::uint8_t(png[i])) << 24 | std::uint8_t(png[i + 1]) << 16 |
               std::uint8_t(png[i + 2]) << 8 | std::uint8_t(png[i + 3]);
    };
    while (at + 8 <= png.size()) {
        const std::uint32_t length = word(at);
        const std::string type = png.substr(at + 4, 4);
        if (type == "IHDR") {
            width = word(at + 8);
            height = word(at + 12);
        } else if (type == "IDAT") {
            idat += png.substr(at + 8, length);
        }
        at += 12 + length;
    }
    std::string raw(std::size_t(height) * (1 + 3 * std::size_t(width)), '\0');
    uLongf size = raw.size();
    if (uncompress(reinterpret_cast<Bytef*>(raw.data()), &size,
                   reinterpret_cast<const Bytef*>(idat.data()), idat.size()) != Z_OK) {
        return -1.0;
    }
    std::size_t inked = 0;
    for (std::size_t p = 0; p < raw.size(); p += 3) {
        p += p % (1 + 3 * std::size_t(width)) == 0 ? 1 : 0; // the row's filter byte
        inked += p + 2 < raw.size() && std::min({std::uint8_t(raw[p]), std::uint8_t(raw[p + 1]),
                                                 std::uint8_t(raw[p + 2])}) < 200;
    }
    return double(inked) / (double(width) * height);
}

// Pictures of any size stay within 16384 px a side and about 10^8 px; their
// labels are drawn only at 6 px or more; a PNG is never blank.
TEST(Drawing, PicturesAreBoundedReadableAndInked) {
    std::mt19937 rng(34);
    for (int n : {10, 2000}) {
        const FileGraph g = ReadText("sf.edgelist", ScaleFree(n, rng), Format::EdgeList);
        for (int type : {1, 2, 4, 8}) {
            const std::string name = std::to_string(n) + " nodes, type " + std::to_string(type);
            const LayoutResult r = Lay(g, type, 0);
            const Drawing d = r.MakeDrawing();
            const double w = std::ceil(d.width * d.scale), h = std::ceil(d.height * d.scale);
            EXPECT_LE(std::max(w, h), 16384.0) << name;
            EXPECT_LE(d.width * d.scale * d.height * d.scale, 1e8 * (1 + 1e-9)) << name;
            // Text height in the SVG: its font size in user units times the
            // pixels per user unit.
            const std::string svg = WriteSvg(g, r, d);
            const std::size_t font = svg.find("font-size: ");
            ASSERT_NE(font, std::string::npos) << name;
            const double pixels = std::stod(svg.substr(font + 11)) * d.scale;
            EXPECT_EQ(svg.find("<text") != std::string::npos, pixels >= 6.0) << name;
            EXPECT_EQ(d.labels, pixels >= 6.0) << name;
            if (n == 10) {
                EXPECT_TRUE(d.labels && !d.dots) << name << ": a small graph is drawn whole";
            }
            // The large free layouts paint 10^8 px: their geometry is enough here.
            if (n < 2000 || r.layered) {
                const double share = InkedShare(RenderPng(g, r, d));
                EXPECT_GT(share, 0.002) << name << ": the PNG looks blank";
            }
        }
    }
}

} // namespace
