// ELK JSON through the tool: every corpus graph laid out by every layout,
// written and read back. Boxes at the file's sizes never overlap, every edge
// section starts and ends on its port or its node's border, and what the tool
// does not write comes back byte for byte.

#include "layout_run.h"
#include "options.h"
#include "readers.h"
#include "writers.h"

#include "front/sized.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>

namespace {

using namespace netloom_cli;

const std::string kData = NETLOOM_TEST_DATA_DIR "/elk/";
constexpr double kEps = 1e-6;

struct Box {
    double x, y, w, h;
    bool Holds(const Point& p) const {
        return p.x >= x - kEps && p.x <= x + w + kEps && p.y >= y - kEps && p.y <= y + h + kEps;
    }
    bool Borders(const Point& p) const {
        return Holds(p) && (std::fabs(p.x - x) < kEps || std::fabs(p.x - x - w) < kEps ||
                            std::fabs(p.y - y) < kEps || std::fabs(p.y - y - h) < kEps);
    }
};

double Number(const Json& v, const char* key) {
    return v.contains(key) ? v[key].get<double>() : 0.0;
}

// The array under key, or an empty one.
const Json& Items(const Json& v, const char* key) {
    static const Json empty = Json::array();
    const auto it = v.find(key);
    return it != v.end() ? *it : empty;
}

// Absolute boxes of every node and port of a written document, by id key.
void CollectBoxes(const Json& element, double ox, double oy, std::map<std::string, Box>& nodes,
                  std::map<std::string, Box>& ports, std::map<const Json*, Point>& origins) {
    origins[&element] = {ox, oy};
    for (const Json& child : Items(element, "children")) {
        const Box b{ox + Number(child, "x"), oy + Number(child, "y"), Number(child, "width"),
                    Number(child, "height")};
        nodes[MakeId(child["id"]).key] = b;
        for (const Json& port : Items(child, "ports")) {
            ports[MakeId(port["id"]).key] = {b.x + Number(port, "x"), b.y + Number(port, "y"),
                                             Number(port, "width"), Number(port, "height")};
        }
        CollectBoxes(child, b.x, b.y, nodes, ports, origins);
    }
}

// The input with everything the writer sets taken out.
Json Unwritten(Json doc) {
    doc.erase("width");
    doc.erase("height");
    std::vector<Json*> stack{&doc};
    while (!stack.empty()) {
        Json& e = *stack.back();
        stack.pop_back();
        if (e.contains("edges")) {
            for (Json& edge : e["edges"]) {
                edge.erase("sections");
            }
        }
        if (!e.contains("children")) {
            continue;
        }
        for (Json& child : e["children"]) {
            child.erase("x");
            child.erase("y");
            if (child.contains("ports")) {
                for (Json& port : child["ports"]) {
                    port.erase("x");
                    port.erase("y");
                }
            }
            stack.push_back(&child);
        }
    }
    return doc;
}

TEST(Elk, CorpusLaidOutByEveryLayoutWrittenAndReadBack) {
    // ELK files, and a node-link file with named ports written as a fresh ELK graph.
    const std::pair<std::string, Format> files[] = {
        {kData + "blocks.elk.json", Format::Elk},
        {kData + "nested.elk.json", Format::Elk},
        {NETLOOM_EXAMPLES_DIR "/campus.json", Format::Json}};
    const char* types[] = {"force", "tree", "radial", "hierarchy"};
    for (const auto& [file, format] : files) {
        for (const char* type : types) {
            SCOPED_TRACE(file + " " + type);
            const FileGraph graph = ReadGraph(file, format);
            LayoutOptions options;
            options.type = LayoutTypeByName(type);
            options.progress = ProgressMode::Never;
            const LayoutResult result = RunLayout(graph, options);
            const std::string text = WriteElk(graph, result);
            const FileGraph back = ReadText("out", text, Format::Elk);
            ASSERT_EQ(back.nodes.size(), graph.nodes.size());
            ASSERT_EQ(back.edges.size(), graph.edges.size());
            for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
                EXPECT_EQ(back.nodes[i].id.key, graph.nodes[i].id.key);
            }

            const Json out = Json::parse(text);
            if (graph.elk) {
                EXPECT_EQ(DumpJson(Unwritten(out)), DumpJson(Unwritten(graph.json)));
            }
            std::map<std::string, Box> nodes, ports;
            std::map<const Json*, Point> origins;
            CollectBoxes(out, 0.0, 0.0, nodes, ports, origins);
            for (const auto& [a, p] : nodes) {
                for (const auto& [b, q] : nodes) {
                    EXPECT_FALSE(a < b && p.x < q.x + q.w - kEps && q.x < p.x + p.w - kEps &&
                                 p.y < q.y + q.h - kEps && q.y < p.y + p.h - kEps)
                        << a << " overlaps " << b;
                }
            }
            // Each section's ends on its shapes; orthogonal in the hierarchy.
            std::size_t sections = 0;
            for (const auto& [element, origin] : origins) {
                for (const Json& edge : Items(*element, "edges")) {
                    for (const Json& s : edge["sections"]) {
                        ++sections;
                        std::vector<Point> path{
                            {Number(s["startPoint"], "x"), Number(s["startPoint"], "y")}};
                        for (const Json& b : Items(s, "bendPoints")) {
                            path.push_back({Number(b, "x"), Number(b, "y")});
                        }
                        path.push_back({Number(s["endPoint"], "x"), Number(s["endPoint"], "y")});
                        for (Point& p : path) {
                            p.x += origin.x;
                            p.y += origin.y;
                        }
                        const Point ends[2] = {path.front(), path.back()};
                        const std::string shapes[2] = {MakeId(s["incomingShape"]).key,
                                                       MakeId(s["outgoingShape"]).key};
                        for (int e = 0; e < 2; ++e) {
                            const auto port = ports.find(shapes[e]);
                            EXPECT_TRUE(port != ports.end() ? port->second.Holds(ends[e])
                                                            : nodes.at(shapes[e]).Borders(ends[e]))
                                << s["id"] << " end " << e;
                        }
                        for (std::size_t k = 1; options.type == 8 && k < path.size(); ++k) {
                            EXPECT_TRUE(path[k].x == path[k - 1].x || path[k].y == path[k - 1].y)
                                << s["id"] << " segment " << k;
                        }
                    }
                }
            }
            EXPECT_EQ(sections, graph.edges.size());
        }
    }
}

// The file's layout options apply unless the command line names them; the
// ones the tool lacks come back as one warning line.
TEST(Elk, OptionsFromTheFileYieldToTheCommandLine) {
    const FileGraph graph = ReadGraph(kData + "blocks.elk.json", Format::Elk);
    ASSERT_EQ(graph.warnings.size(), 1u);
    EXPECT_NE(graph.warnings[0].find("elk.edgeRouting=ORTHOGONAL"), std::string::npos);
    const struct {
        std::vector<std::string> given;
        int type, direction, distance, layerSpacing;
    } cases[] = {
        {{}, 8, 2, 30, 120},
        {{"--type", "--distance"}, 1, 2, 55, 120},
        {{"--direction", "--layer-spacing"}, 8, 3, 30, 90},
    };
    for (const auto& c : cases) {
        CommandLine line;
        line.layout.type = 1;
        line.layout.direction = 3;
        line.layout.distance = 55;
        line.layout.layerSpacing = 90;
        line.given = c.given;
        const LayoutOptions o = FileLayoutOptions(line, graph);
        EXPECT_EQ(std::vector<int>({o.type, o.direction, o.distance, o.layerSpacing}),
                  std::vector<int>({c.type, c.direction, c.distance, c.layerSpacing}));
    }
    // A .json with "children" is ELK JSON; with "nodes" it is node-link JSON.
    EXPECT_TRUE(IsElkText(R"({"id": "r", "children": []})"));
    EXPECT_FALSE(IsElkText(R"({"children": [], "nodes": []})"));
    EXPECT_FALSE(IsElkText(R"({"nodes": [{"id": 1, "children": []}]})"));
}

// The sweep that finds the clearing factor against every pair, on random boxes.
TEST(Elk, ClearingFactorMatchesEveryPair) {
    std::mt19937 rng(37);
    for (int round = 0; round < 200; ++round) {
        const int n = 2 + static_cast<int>(rng() % 60);
        std::uniform_int_distribution<int> grid(0, 12), size(8, 300);
        std::vector<double> x, y, w, h;
        for (int i = 0; i < n; ++i) {
            x.push_back(grid(rng) * 40.0);
            y.push_back(round % 2 == 0 ? grid(rng) * 200.0 : grid(rng) * 37.5);
            w.push_back(size(rng));
            h.push_back(size(rng));
        }
        double oracle = 0.0;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const double dx = std::fabs(x[i] - x[j]), dy = std::fabs(y[i] - y[j]);
                if (i == j || (dx < 0.04 && dy < 0.04)) {
                    continue;
                }
                const double rx = dx > 0 ? ((w[i] + w[j]) / 2 + 20) / dx : INFINITY;
                const double ry = dy > 0 ? ((h[i] + h[j]) / 2 + 20) / dy : INFINITY;
                oracle = std::max(oracle, std::min(rx, ry));
            }
        }
        EXPECT_EQ(SizedScale(x, y, w, h, 20.0, 0.04), oracle > 0 ? oracle : 1.0) << round;
    }
}

} // namespace
