// Runs the built netloom tool on files, as a user would.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using json = nlohmann::ordered_json;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void Spit(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

class CliTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::path(::testing::TempDir()) / "netloom-cli-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { fs::remove_all(m_dir); }

    fs::path File(const std::string& name, const std::string& text) {
        Spit(m_dir / name, text);
        return m_dir / name;
    }
    fs::path Path(const std::string& name) const { return m_dir / name; }

    // Runs the tool with args; stdin from /dev/null unless input names a file.
    ToolRun Tool(const std::vector<std::string>& args, const std::string& stdinFile = "/dev/null") {
        const fs::path out = m_dir / ".stdout";
        const fs::path err = m_dir / ".stderr";
        const pid_t pid = fork();
        if (pid == 0) {
            const int in = open(stdinFile.c_str(), O_RDONLY);
            const int o = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int e = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(in, 0);
            dup2(o, 1);
            dup2(e, 2);
            std::vector<char*> argv;
            std::string tool = NETLOOM_CLI_PATH;
            argv.push_back(tool.data());
            std::vector<std::string> copy = args;
            for (std::string& a : copy) {
                argv.push_back(a.data());
            }
            argv.push_back(nullptr);
            execv(tool.c_str(), argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        ToolRun run;
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.out = Slurp(out);
        run.err = Slurp(err);
        fs::remove(out);
        fs::remove(err);
        return run;
    }

    json LayoutJson(const std::vector<std::string>& args) {
        const ToolRun run = Tool(args);
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }

    fs::path m_dir;
};

const std::string kExamples = NETLOOM_EXAMPLES_DIR;

// Every node fixed, force layout with --fixed-layout: nothing moves, so the
// positions read are the positions written.
const char* const kPinned[] = {"layout", "--type", "force", "--fixed-layout"};

std::vector<std::string> Pinned(const std::string& input,
                                std::initializer_list<std::string> more = {}) {
    std::vector<std::string> args(std::begin(kPinned), std::end(kPinned));
    args.push_back(input);
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

TEST_F(CliTest, JsonRoundTripKeepsIdsPortsPositionsAndOtherAttributes) {
    const fs::path input = File("g.json", R"({
      "directed": false, "graph": {"name": "t"},
      "nodes": [
        {"id": "gw", "x": 10.5, "y": -3.25, "fixed": true, "color": "red"},
        {"id": 7, "x": 200, "y": 40, "fixed": true},
        {"id": "a b", "x": 0.1, "y": 1e3, "fixed": 1, "label": "A B"}
      ],
      "links": [
        {"source": "gw", "target": 7, "sourcePort": "eth0", "targetPort": 3, "id": "l1", "length": 55},
        {"source": 7, "target": "a b", "weight": 2},
        {"source": "a b", "target": "gw", "sourcePort": "eth0", "targetPort": "eth1"}
      ]})");
    const json out = LayoutJson(Pinned(input.string()));
    const json in = json::parse(Slurp(input));
    ASSERT_EQ(out["nodes"].size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(out["nodes"][i]["id"], in["nodes"][i]["id"]); // type kept: 7 stays a number
        EXPECT_EQ(out["nodes"][i]["x"].get<double>(), in["nodes"][i]["x"].get<double>());
        EXPECT_EQ(out["nodes"][i]["y"].get<double>(), in["nodes"][i]["y"].get<double>());
    }
    EXPECT_EQ(out["nodes"][0]["color"], "red");
    EXPECT_EQ(out["graph"]["name"], "t");
    for (std::size_t j = 0; j < 3; ++j) {
        for (const char* key : {"source", "target", "sourcePort", "targetPort", "id", "length"}) {
            EXPECT_EQ(out["links"][j].value(key, json()), in["links"][j].value(key, json()))
                << "link " << j << " " << key;
        }
    }
    EXPECT_EQ(out["links"][1]["weight"], 2);
    EXPECT_EQ(out["layout"]["type"], "force");
    EXPECT_EQ(out["layout"]["fixedLayout"], true);

    // The output reads back as input, giving the same graph and positions.
    const fs::path again = File("again.json", out.dump());
    const json second = LayoutJson(Pinned(again.string()));
    EXPECT_EQ(second["nodes"], out["nodes"]);
    EXPECT_EQ(second["links"], out["links"]);
}

TEST_F(CliTest, HierarchyJsonReportsPortSidesSlotsAndEdgeOrder) {
    const json out =
        LayoutJson({"layout", (fs::path(kExamples) / "campus.json").string(), "-t", "8"});
    const json in = json::parse(Slurp(fs::path(kExamples) / "campus.json"));
    ASSERT_EQ(out["links"].size(), in["links"].size());
    std::map<std::string, std::size_t> nodeAt;
    for (std::size_t i = 0; i < out["nodes"].size(); ++i) {
        nodeAt[out["nodes"][i]["id"].get<std::string>()] = i;
        EXPECT_TRUE(out["nodes"][i].contains("row"));
        EXPECT_TRUE(out["nodes"][i].contains("col"));
    }
    const std::set<std::string> sides = {"up", "down", "right", "left"};
    // Each side and slot a link reports is the one its node lists for that port.
    for (std::size_t j = 0; j < out["links"].size(); ++j) {
        const json& link = out["links"][j];
        for (const char* end : {"source", "target"}) {
            const std::string side = std::string(end) + "Side";
            if (!link.contains(side)) {
                continue;
            }
            EXPECT_EQ(sides.count(link[side].get<std::string>()), 1u);
            const json& node = out["nodes"][nodeAt[link[end].get<std::string>()]];
            bool found = false;
            for (const json& port : node["ports"]) {
                if (port.value("port", json()) == link[std::string(end) + "Port"]) {
                    found = true;
                    EXPECT_EQ(port["side"], link[side]);
                    EXPECT_EQ(port["slot"], link[std::string(end) + "Slot"]);
                    EXPECT_NE(std::find(port["links"].begin(), port["links"].end(), json(j)),
                              port["links"].end());
                }
            }
            EXPECT_TRUE(found) << "link " << j << " " << end;
        }
    }
    std::set<std::size_t> listed;
    for (const json& entry : out["edgeOrder"]) {
        const std::size_t link = entry["link"].get<std::size_t>();
        ASSERT_LT(link, out["links"].size());
        EXPECT_TRUE(listed.insert(link).second) << "link " << link << " listed twice";
        EXPECT_LT(entry["component"].get<int>(), out["layout"]["components"].get<int>());
    }
}

TEST_F(CliTest, ComponentsAreStackedFromTheLeftEdgeDownward) {
    // Without fixed nodes every component's rectangle (10 outside its nodes)
    // starts at x 100, the first one at y 200, each 200 below the one before.
    for (const char* type : {"force", "tree", "radial", "hierarchy"}) {
        const json out = LayoutJson(
            {"layout", (fs::path(kExamples) / "services.edgelist").string(), "--type", type});
        std::map<int, std::vector<double>> box; // component: min x, min y, max y
        for (const json& node : out["nodes"]) {
            const int c = node["component"].get<int>();
            const double x = node["x"].get<double>();
            const double y = node["y"].get<double>();
            auto [it, fresh] = box.emplace(c, std::vector<double>{x, y, y});
            if (!fresh) {
                it->second = {std::min(it->second[0], x), std::min(it->second[1], y),
                              std::max(it->second[2], y)};
            }
        }
        ASSERT_EQ(box.size(), 2u) << type;
        EXPECT_EQ(out["layout"]["components"], 2) << type;
        // Rectangles hold truncated integers, hence the tolerance.
        EXPECT_NEAR(box[0][0], 110.0, 1.0) << type;
        EXPECT_NEAR(box[1][0], 110.0, 1.0) << type;
        EXPECT_NEAR(box[0][1], 210.0, 1.0) << type;
        EXPECT_NEAR(box[1][1], box[0][2] + 220.0, 2.0) << type;
    }
}

TEST_F(CliTest, GraphMlRoundTripKeepsIdsPortsAndPositions) {
    const fs::path input = File("g.graphml", R"(<?xml version="1.0" encoding="UTF-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="kx" for="node" attr.name="x" attr.type="double"/>
  <key id="ky" for="node" attr.name="y" attr.type="double"/>
  <key id="kf" for="node" attr.name="fixed" attr.type="boolean"/>
  <key id="kl" for="edge" attr.name="length" attr.type="int"/>
  <key id="kc" for="node" attr.name="colour" attr.type="string"/>
  <graph id="G" edgedefault="undirected">
    <node id="n0"><data key="kx">12.5</data><data key="ky">30</data><data key="kf">true</data><data key="kc">blue</data><port name="p1"/></node>
    <node id="n1"><data key="kx">-40</data><data key="ky">7.75</data><data key="kf">true</data><port name="p2"/></node>
    <node id="n2"><data key="kx">100</data><data key="ky">100</data><data key="kf">true</data></node>
    <edge id="e0" source="n0" target="n1" sourceport="p1" targetport="p2"><data key="kl">70</data></edge>
    <edge source="n1" target="n2"/>
  </graph>
</graphml>
)");
    const fs::path output = Path("out.graphml");
    const ToolRun run = Tool(Pinned(input.string(), {"-o", output.string()}));
    ASSERT_EQ(run.status, 0) << run.err;
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_file(output.c_str()));
    const pugi::xml_node graph = doc.child("graphml").child("graph");
    const std::map<std::string, std::pair<double, double>> expected = {
        {"n0", {12.5, 30}}, {"n1", {-40, 7.75}}, {"n2", {100, 100}}};
    int nodes = 0;
    for (pugi::xml_node node : graph.children("node")) {
        ++nodes;
        const auto want = expected.at(node.attribute("id").as_string());
        EXPECT_EQ(node.find_child_by_attribute("data", "key", "kx").text().as_double(), want.first);
        EXPECT_EQ(node.find_child_by_attribute("data", "key", "ky").text().as_double(),
                  want.second);
    }
    EXPECT_EQ(nodes, 3);
    EXPECT_STREQ(graph.find_child_by_attribute("node", "id", "n0")
                     .find_child_by_attribute("data", "key", "kc")
                     .text()
                     .as_string(),
                 "blue");
    const pugi::xml_node e0 = graph.find_child_by_attribute("edge", "id", "e0");
    EXPECT_STREQ(e0.attribute("sourceport").as_string(), "p1");
    EXPECT_STREQ(e0.attribute("targetport").as_string(), "p2");

    // The written file reads back with the same ids, ports and positions.
    const json back = LayoutJson(Pinned(output.string()));
    ASSERT_EQ(back["nodes"].size(), 3u);
    for (const json& node : back["nodes"]) {
        const auto want = expected.at(node["id"].get<std::string>());
        EXPECT_EQ(node["x"].get<double>(), want.first);
        EXPECT_EQ(node["y"].get<double>(), want.second);
    }
    EXPECT_EQ(back["links"][0]["sourcePort"], "p1");
    EXPECT_EQ(back["links"][0]["targetPort"], "p2");
    EXPECT_EQ(back["links"][0]["length"], 70);
    EXPECT_EQ(back["links"][0]["id"], "e0");

    // A graph from another format comes out as GraphML that reads back the same.
    const fs::path fromJson = Path("from.graphml");
    ASSERT_EQ(Tool(Pinned(Path("g.graphml").string(), {"-o", fromJson.string()})).status, 0);
    const json viaJson = LayoutJson(Pinned(File("b.json", back.dump()).string(), {}));
    const fs::path fresh = Path("fresh.graphml");
    ASSERT_EQ(Tool(Pinned(Path("b.json").string(), {"-o", fresh.string()})).status, 0);
    const json freshBack = LayoutJson(Pinned(fresh.string()));
    for (std::size_t i = 0; i < 3; ++i) {
        for (const char* key : {"id", "x", "y"}) {
            EXPECT_EQ(freshBack["nodes"][i][key], viaJson["nodes"][i][key]);
        }
    }
    EXPECT_EQ(freshBack["links"][0]["sourcePort"], "p1");
}

TEST_F(CliTest, YedGeometryGivesTheBoxCentre) {
    const fs::path input = File("y.graphml", R"(<?xml version="1.0"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns" xmlns:y="http://www.yworks.com/xml/graphml">
  <key id="d6" for="node" yfiles.type="nodegraphics"/>
  <graph id="G" edgedefault="directed">
    <node id="n0"><data key="d6"><y:ShapeNode><y:Geometry height="30" width="60" x="10" y="20"/><y:NodeLabel>Alpha</y:NodeLabel></y:ShapeNode></data></node>
  </graph>
</graphml>
)");
    const json out = LayoutJson({"layout", input.string(), "--fixed-layout", "-t", "force"});
    // Not fixed, so the lone component is stacked; the label still comes through.
    EXPECT_EQ(out["nodes"][0]["id"], "n0");
    const ToolRun svg = Tool({"layout", input.string(), "--to", "svg"});
    ASSERT_EQ(svg.status, 0) << svg.err;
    EXPECT_NE(svg.out.find(">Alpha</text>"), std::string::npos);
    // Written back, the yEd box moves with the node (centre at x, y).
    const ToolRun back =
        Tool({"layout", input.string(), "--fixed-layout", "-t", "force", "--to", "graphml"});
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(back.out.c_str()));
    const pugi::xml_node geometry = doc.select_node("//*[local-name()='Geometry']").node();
    EXPECT_DOUBLE_EQ(geometry.attribute("x").as_double() + 30, out["nodes"][0]["x"].get<double>());
    EXPECT_DOUBLE_EQ(geometry.attribute("y").as_double() + 15, out["nodes"][0]["y"].get<double>());
}

TEST_F(CliTest, EdgeListRoundTripKeepsIdsPortsAndPositions) {
    const fs::path input =
        File("g.edgelist", "# test\n"
                           "a x=1.5 y=2 fixed=1\n"
                           "\"b c\" x=-3 y=4 fixed=1 label=\"Bee Sea\"\n"
                           "7 x=0 y=0 fixed=1\n"
                           "lonely x=9 y=9 fixed=1\n"
                           "a \"b c\" 30 sourcePort=ge-0/0/1 targetPort=\"p 2\"\n"
                           "\"b c\" 7 id=e9\n"
                           "7 a {'weight': 3}\n");
    const json first = LayoutJson(Pinned(input.string()));
    ASSERT_EQ(first["nodes"].size(), 4u);
    EXPECT_EQ(first["nodes"][1]["id"], "b c");
    EXPECT_EQ(first["nodes"][1]["label"], "Bee Sea");
    EXPECT_EQ(first["nodes"][2]["id"], 7);
    EXPECT_EQ(first["nodes"][0]["x"], 1.5);
    EXPECT_EQ(first["links"][0]["length"], 30);
    EXPECT_EQ(first["links"][0]["sourcePort"], "ge-0/0/1");
    EXPECT_EQ(first["links"][0]["targetPort"], "p 2");
    EXPECT_EQ(first["links"][1]["id"], "e9");

    const fs::path written = Path("out.edgelist");
    ASSERT_EQ(Tool(Pinned(input.string(), {"-o", written.string()})).status, 0);
    const json second = LayoutJson(Pinned(written.string()));
    EXPECT_EQ(second["nodes"], first["nodes"]);
    EXPECT_EQ(second["links"], first["links"]);
}

// Every number in a path's d attribute, pairwise as points.
std::vector<std::pair<double, double>> PathPoints(const std::string& d) {
    std::vector<double> numbers;
    std::string token;
    for (char c : d + " ") {
        if ((c >= '0' && c <= '9') || c == '.' || c == '-' || c == 'e') {
            token += c;
        } else if (!token.empty()) {
            numbers.push_back(std::stod(token));
            token.clear();
        }
    }
    std::vector<std::pair<double, double>> points;
    for (std::size_t k = 0; k + 1 < numbers.size(); k += 2) {
        points.emplace_back(numbers[k], numbers[k + 1]);
    }
    return points;
}

// The graph of an interactive page: the text of its graph script element.
json PageGraph(const std::string& html) {
    const std::string open = "<script type=\"application/json\" id=\"graph\">";
    const std::size_t begin = html.find(open) + open.size();
    return json::parse(html.substr(begin, html.find("</script>", begin) - begin));
}

TEST_F(CliTest, DrawingsHaveOneElementPerNodeAndEdgeInsideTheirBounds) {
    struct Case {
        std::string file;
        std::string type;
    };
    for (const Case& c : {Case{"campus.json", "hierarchy"}, Case{"org-tree.graphml", "tree"},
                          Case{"services.edgelist", "force"}, Case{"campus.json", "radial"}}) {
        const fs::path input = fs::path(kExamples) / c.file;
        const fs::path svg = Path("out.svg");
        const ToolRun run = Tool({"layout", input.string(), "-t", c.type, "-o", svg.string()});
        ASSERT_EQ(run.status, 0) << run.err;
        const json graph = LayoutJson({"layout", input.string(), "-t", c.type});
        pugi::xml_document doc;
        ASSERT_TRUE(doc.load_file(svg.c_str())) << c.file;
        const pugi::xml_node root = doc.child("svg");
        std::istringstream box(root.attribute("viewBox").as_string());
        double left = 0, top = 0, width = 0, height = 0;
        box >> left >> top >> width >> height;
        ASSERT_GT(width, 0);
        ASSERT_GT(height, 0);
        // One scale for both axes: the pixel size is the viewBox times the scale.
        const double scale = root.attribute("data-scale").as_double();
        EXPECT_EQ(root.attribute("width").as_double(), std::ceil(width * scale)) << c.file;
        EXPECT_EQ(root.attribute("height").as_double(), std::ceil(height * scale)) << c.file;
        auto inside = [&](double x, double y) {
            return x >= left && x <= left + width && y >= top && y <= top + height;
        };
        const auto nodes = root.select_nodes("//g[@class='node' or @class='node fixed']");
        const auto edges = root.select_nodes("//path[@class='edge']");
        EXPECT_EQ(nodes.size(), graph["nodes"].size()) << c.file;
        EXPECT_EQ(edges.size(), graph["links"].size()) << c.file;
        std::set<std::string> ids;
        for (const auto& node : nodes) {
            ids.insert(node.node().attribute("data-id").as_string());
            const pugi::xml_node rect = node.node().child("rect");
            const double x = rect.attribute("x").as_double();
            const double y = rect.attribute("y").as_double();
            EXPECT_TRUE(inside(x, y) && inside(x + rect.attribute("width").as_double(),
                                               y + rect.attribute("height").as_double()))
                << c.file << " node " << node.node().attribute("data-id").as_string();
        }
        EXPECT_EQ(ids.size(), nodes.size());
        for (const auto& edge : edges) {
            for (const auto& [x, y] : PathPoints(edge.node().attribute("d").as_string())) {
                EXPECT_TRUE(inside(x, y)) << c.file << " edge point " << x << "," << y;
            }
        }

        // The page draws the same: its bounds and boxes are in pixels.
        const fs::path html = Path("out.html");
        ASSERT_EQ(Tool({"layout", input.string(), "-t", c.type, "-o", html.string()}).status, 0);
        const json page = PageGraph(Slurp(html));
        EXPECT_EQ(page["nodes"].size(), graph["nodes"].size()) << c.file;
        EXPECT_EQ(page["edges"].size(), graph["links"].size()) << c.file;
        const double s = root.attribute("data-scale").as_double();
        const std::vector<double> b = page["bounds"];
        const double viewBox[] = {left, top, width, height};
        for (int k = 0; k < 4; ++k) {
            EXPECT_NEAR(b[k], viewBox[k] * s, 0.006) << c.file;
        }
        for (const json& node : page["nodes"]) {
            const double x = node["x"], y = node["y"], w = node["w"], h = node["h"];
            EXPECT_TRUE(x - w / 2 > b[0] - 0.02 && x + w / 2 < b[0] + b[2] + 0.02 &&
                        y - h / 2 > b[1] - 0.02 && y + h / 2 < b[1] + b[3] + 0.02)
                << c.file << " page node " << node["id"];
        }
    }
}

// PNG and PDF render the SVG at its width and height in pixels, the PDF page at
// 0.75 pt a pixel; a PNG beyond 32767 px a side is scaled down, with a warning.
TEST_F(CliTest, PngAndPdfHaveTheSizeOfTheSvg) {
    const std::string tall = File("tall.edgelist", "a b\nb c\n").string();
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{(fs::path(kExamples) / "services.edgelist").string()},
          std::vector<std::string>{tall, "--layer-spacing", "100000"}}) {
        std::map<std::string, std::string> err, file;
        for (const std::string ext : {"svg", "png", "pdf"}) {
            std::vector<std::string> line = {"layout", "-o", Path("out." + ext).string()};
            line.insert(line.end(), args.begin(), args.end());
            const ToolRun run = Tool(line);
            ASSERT_EQ(run.status, 0) << run.err;
            err[ext] = run.err;
            file[ext] = Slurp(Path("out." + ext));
        }
        pugi::xml_document svg;
        ASSERT_TRUE(svg.load_string(file["svg"].c_str()));
        const double width = svg.child("svg").attribute("width").as_double();
        const double height = svg.child("svg").attribute("height").as_double();
        const double fit = std::min(1.0, 32767 / std::max(width, height));
        const std::string& png = file["png"];
        ASSERT_EQ(png.substr(0, 16), std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16));
        auto word = [&](std::size_t at) {
            return double(std::uint32_t(std::uint8_t(png[at])) << 24 |
                          std::uint8_t(png[at + 1]) << 16 | std::uint8_t(png[at + 2]) << 8 |
                          std::uint8_t(png[at + 3]));
        };
        EXPECT_NEAR(word(16), width * fit, 0.5) << args[0];
        EXPECT_NEAR(word(20), height * fit, 0.5) << args[0];
        EXPECT_EQ(err["png"].rfind("netloom: warning: the drawing is", 0) == 0, fit < 1)
            << err["png"];
        EXPECT_EQ(err["svg"] + err["pdf"], "");
        std::smatch box;
        ASSERT_EQ(file["pdf"].rfind("%PDF-", 0), 0u);
        ASSERT_TRUE(std::regex_search(file["pdf"], box,
                                      std::regex(R"(/MediaBox \[ *0 0 ([0-9.]+) ([0-9.]+) *\])")));
        EXPECT_NEAR(std::stod(box[1]), width * 0.75, 0.01);
        EXPECT_NEAR(std::stod(box[2]), height * 0.75, 0.01);
    }
}

// --pack moves whole components into rows: nine paths and a tree, one column
// far taller than wide, come out near square, no two components' boxes (grown
// by half the 2 x 40 gap) overlapping, every offset inside one kept exactly.
TEST_F(CliTest, PackMovesWholeComponentsIntoRows) {
    std::string text;
    for (int k = 1; k < 30; ++k)
        text += "h" + std::to_string(k / 3) + " h" + std::to_string(k) + "\n";
    for (char p = '0'; p <= '8'; ++p)
        text += std::string("a") + p + " b" + p + "\nb" + p + " c" + p + "\n";
    const std::string input = File("parts.edgelist", text).string();
    const json plain = LayoutJson({"layout", input, "-t", "tree"});
    const json packed = LayoutJson({"layout", input, "-t", "tree", "--pack"});
    EXPECT_EQ(plain["layout"]["pack"], false);
    EXPECT_EQ(packed["layout"]["pack"], true);
    using Box = std::array<double, 4>; // left, top, right, bottom, grown by 40
    auto boxes = [](const json& out) {
        std::map<int, Box> box; // by component, -1: the page
        for (const json& node : out["nodes"]) {
            const double x = node["x"], y = node["y"];
            for (int c : {-1, node["component"].get<int>()}) {
                Box& b = box.try_emplace(c, Box{1e9, 1e9, -1e9, -1e9}).first->second;
                b = {std::min(b[0], x - 40), std::min(b[1], y - 40), std::max(b[2], x + 40),
                     std::max(b[3], y + 40)};
            }
        }
        return box;
    };
    const std::map<int, Box> before = boxes(plain), after = boxes(packed);
    const Box page = after.at(-1), column = before.at(-1);
    EXPECT_TRUE(page[0] == column[0] && page[1] == column[1]) << "the top-left corner stays";
    EXPECT_GT(column[3] - column[1], 3 * (column[2] - column[0]));
    const double aspect = (page[2] - page[0]) / (page[3] - page[1]);
    EXPECT_TRUE(aspect > 0.5 && aspect < 2) << aspect;
    for (const auto& [c, a] : after)
        for (const auto& [d, b] : after)
            EXPECT_TRUE(c >= d || c < 0 || a[2] <= b[0] || b[2] <= a[0] || a[3] <= b[1] ||
                        b[3] <= a[1])
                << "components " << c << " and " << d << " overlap";
    for (std::size_t i = 0; i < plain["nodes"].size(); ++i) {
        const int c = plain["nodes"][i]["component"];
        for (std::size_t k : {0, 1}) // every node of a component moved as its box did
            EXPECT_EQ(packed["nodes"][i][k ? "y" : "x"].get<double>() -
                          plain["nodes"][i][k ? "y" : "x"].get<double>(),
                      after.at(c)[k] - before.at(c)[k]);
    }
}

// A bad input names the file and line, exits with its status and leaves an
// existing output file as it was.
TEST_F(CliTest, BadInputGivesOneLineAndLeavesTheOutputAlone) {
    struct Case {
        std::string name;
        std::string text;
        std::vector<std::string> extra;
        int status;
        std::string message;
        std::string output = "keep.json"; // -o; the file before any '/' exists
    };
    const std::vector<Case> cases = {
        {"broken.json",
         "{\"nodes\": [\n  {\"id\": 1},\n  {\"id\": 2,}\n]}",
         {},
         1,
         "broken.json:3:"},
        {"unknown.json",
         "{\"nodes\": [{\"id\": 1}],\n \"links\": [\n  {\"source\": 1,\n   "
         "\"target\": 5}]}",
         {},
         1,
         "unknown.json:4: link 1 target 5 is not a node"},
        {"dup.json",
         "{\"nodes\": [{\"id\": \"a\"},\n {\"id\": \"a\"}]}",
         {},
         1,
         "dup.json:2: duplicate node id \"a\""},
        {"nan.json",
         "{\"nodes\": [{\"id\": 1,\n \"x\": \"left\"}]}",
         {},
         1,
         "nan.json:2: node 1 \"x\" must be a number"},
        {"dup.graphml",
         "<graphml><graph>\n<node id=\"a\"/>\n<node id=\"a\"/>\n</graph></graphml>",
         {},
         1,
         "dup.graphml:3: duplicate node id \"a\""},
        {"edge.graphml",
         "<graphml><graph>\n<node id=\"a\"/>\n<edge source=\"a\" "
         "target=\"b\"/>\n</graph></graphml>",
         {},
         1,
         "edge.graphml:3: edge 1 target \"b\" is not a node"},
        {"bad.graphml",
         "<graphml><graph>\n<node id=\"a\">\n</graph></graphml>",
         {},
         1,
         "bad.graphml:3:"},
        {"len.edgelist",
         "a b\nb c many\n",
         {},
         1,
         "len.edgelist:2:5: length \"many\" is not a number"},
        {"big.edgelist", "a b 99999\n", {}, 1, "big.edgelist:1:5: edge length 99999"},
        {"dupedge.edgelist",
         "a b id=1\nb c id=1\n",
         {},
         1,
         "dupedge.edgelist:2: duplicate edge id 1"},
        {"x.edgelist", "a x=1 y=oops\n", {}, 1, "x.edgelist:1:7: y \"oops\" is not a number"},
        {"type.json",
         "{\"nodes\": []}",
         {"--type", "spiral"},
         2,
         "--type: unknown layout \"spiral\""},
        {"dir.json", "{\"nodes\": []}", {"--direction", "9"}, 2, "--direction"},
        {"opt.json", "{\"nodes\": []}", {"--colour"}, 2, "--colour"},
        {"from.json", "{\"nodes\": []}", {"--from", "html"}, 2, "--from: unknown input format"},
        {"graph.xyz", "graph { a -- b }", {}, 2, "cannot tell the format"},
        {"bad.gv", "graph {\n a -- b\n c -- ;\n}", {}, 1, "bad.gv:3: malformed DOT: syntax error"},
        {"levels.json",
         "{\"nodes\": [{\"id\": \"a\"}]}",
         {"--levels", "LEVELS"},
         1,
         "levels.txt:2:4: \"zz\" is not a node"},
        {"png.edgelist", "a b\nb c many\n", {}, 1, "png.edgelist:2:5:", "keep.png"},
        {"pdf.edgelist", "a b\nb c many\n", {}, 1, "pdf.edgelist:2:5:", "keep.pdf"},
        {"dir.edgelist", "a b\n", {}, 1, "keep.png/x.png: cannot create a file", "keep.png/x.png"},
        {"dir.edgelist", "a b\n", {}, 1, "keep.pdf/x.pdf: cannot create a file", "keep.pdf/x.pdf"},
    };
    for (const Case& c : cases) {
        const fs::path input = File(c.name, c.text);
        File("levels.txt", "0: a\n1: zz\n");
        const fs::path output = File(c.output.substr(0, c.output.find('/')), "keep me\n");
        std::vector<std::string> args = {"layout", input.string(), "-o", Path(c.output).string()};
        for (const std::string& e : c.extra) {
            args.push_back(e == "LEVELS" ? Path("levels.txt").string() : e);
        }
        const ToolRun run = Tool(args);
        EXPECT_EQ(run.status, c.status) << c.name << ": " << run.err;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.name << ": " << run.err;
        EXPECT_EQ(run.err.find("netloom: error: "), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(Slurp(output), "keep me\n") << c.name;
    }
    // A missing input file is named too; no temporary files stay behind.
    const ToolRun missing =
        Tool({"layout", Path("nope.json").string(), "-o", Path("o.json").string()});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("nope.json: cannot open"), std::string::npos) << missing.err;
    EXPECT_FALSE(fs::exists(Path("o.json")));
    for (const auto& entry : fs::directory_iterator(m_dir)) {
        EXPECT_EQ(entry.path().filename().string().find(".netloom-"), std::string::npos)
            << entry.path();
    }
}

// The ids of a layout's nodes as the tool matches them, its edges and the
// port names at their ends.
std::pair<std::set<std::string>, std::multiset<std::string>> Shape(const json& layout) {
    std::set<std::string> ids;
    for (const json& node : layout["nodes"])
        ids.insert(node["id"].is_string() ? node["id"].get<std::string>() : node["id"].dump());
    auto port = [](const json& link, std::initializer_list<const char*> names) {
        for (const char* name : names)
            if (link.contains(name))
                return link[name].dump();
        return std::string("-");
    };
    std::multiset<std::string> ports;
    for (const json& link : layout.contains("links") ? layout["links"] : layout["edges"])
        ports.insert(port(link, {"sourcePort", "source_port", "tailport"}) + " " +
                     port(link, {"targetPort", "target_port", "headport"}));
    return {ids, ports};
}

// Every file of the project's corpus (the input forms other tools write) is read,
// laid out with every type, written in every format, and read back the same.
TEST_F(CliTest, CorpusGoesThroughEveryTypeAndFormat) {
    const std::string neato = "/usr/bin/neato";
    ASSERT_TRUE(fs::exists(neato)) << "Graphviz's neato is missing; make deps installs it";
    for (const auto& entry :
         fs::directory_iterator(std::string(NETLOOM_TEST_DATA_DIR) + "/corpus")) {
        const std::string input = entry.path().string();
        const auto shape = Shape(LayoutJson({"layout", input}));
        for (const char* type : {"force", "tree", "radial", "hierarchy"}) {
            for (const char* ext : {".json", ".graphml", ".edgelist", ".gv", ".svg"}) {
                const std::string out = Path(std::string("out") + ext).string();
                const ToolRun run = Tool({"layout", input, "-t", type, "-o", out});
                ASSERT_EQ(run.status, 0) << input << " " << type << " " << ext << run.err;
                if (std::string(ext) != ".svg") {
                    EXPECT_EQ(Shape(LayoutJson({"layout", out})), shape) << input << " " << ext;
                }
                // Graphviz draws the written DOT as it stands.
                if (std::string(ext) == ".gv") {
                    const std::string png = Path("out.png").string();
                    EXPECT_EQ(
                        std::system(
                            (neato + " -n2 -Tpng " + out + " -o " + png + " 2>/dev/null").c_str()),
                        0);
                    EXPECT_GT(fs::file_size(png), 100u) << input;
                }
            }
        }
    }
}

TEST_F(CliTest, HelpDocumentsEveryOptionWithItsDefault) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"layout", "--help"}}) {
        const ToolRun run = Tool(args);
        EXPECT_EQ(run.status, 0);
        for (const char* option :
             {"--output", "--from", "--to", "--type", "--distance", "--layer-spacing", "--max-cols",
              "--fixed-layout", "--pack", "--levels", "--direction", "--arrange-mode", "--progress",
              "force", "tree", "radial", "hierarchy", "INPUT"}) {
            EXPECT_NE(run.out.find(option), std::string::npos) << args[0] << " lacks " << option;
        }
        for (const char* value : {"=hierarchy", "=40", "=200", "=0", "=auto"}) {
            EXPECT_NE(run.out.find(value), std::string::npos) << args[0] << " lacks " << value;
        }
    }
}

// A directed input is layered by direction: every edge points down. A levels
// file that leaves nodes out places them next to a listed neighbour and says so.
TEST_F(CliTest, LevelsFromDirectionAndFromPartialFiles) {
    const std::string dag = std::string(NETLOOM_TEST_DATA_DIR) + "/corpus/uplinks.gv";
    for (const char* type : {"tree", "hierarchy"}) {
        const json out = LayoutJson({"layout", dag, "-t", type});
        EXPECT_EQ(out["layout"]["levels"], "direction");
        std::map<std::string, double> y;
        for (const json& node : out["nodes"])
            y[node["id"]] = node["y"];
        for (const json& link : out["links"])
            EXPECT_LT(y[link["source"]], y[link["target"]]) << type << " " << link.dump();
    }
    EXPECT_EQ(LayoutJson({"layout", dag, "--levels", "degree"})["layout"]["levels"], "degree");

    const std::string part = std::string(NETLOOM_TEST_DATA_DIR) + "/campus-partial.levels";
    const ToolRun run = Tool({"layout", (fs::path(kExamples) / "campus.json").string(), "--levels",
                              part, "-o", Path("p.json").string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err.rfind("netloom: warning: the levels file leaves out ", 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    std::set<std::pair<double, double>> places;
    const json placed = json::parse(Slurp(Path("p.json")));
    for (const json& node : placed["nodes"])
        places.emplace(node["x"], node["y"]);
    EXPECT_EQ(places.size(), placed["nodes"].size()) << "no two nodes on one point";
}

TEST_F(CliTest, OptionsReachTheLayoutAndAreReported) {
    const fs::path levels = File("levels.txt", "# roots first\n0: core1 core2\n1: fw\n");
    const json out =
        LayoutJson({"layout", (fs::path(kExamples) / "campus.json").string(), "-t", "tree",
                    "--distance", "50", "--layer-spacing", "120", "--max-cols", "3", "--levels",
                    levels.string(), "--direction", "2", "--arrange-mode", "2"});
    const json& layout = out["layout"];
    EXPECT_EQ(layout["type"], "tree");
    EXPECT_EQ(layout["typeCode"], 2);
    EXPECT_EQ(layout["distance"], 50);
    EXPECT_EQ(layout["layerSpacing"], 120);
    EXPECT_EQ(layout["maxCols"], 3);
    EXPECT_EQ(layout["direction"], 2);
    EXPECT_EQ(layout["arrangeMode"], 2);
    EXPECT_EQ(layout["levels"], "file");
    EXPECT_EQ(layout["levelsFile"], levels.string());

    // Numbers as layout names, JSON levels, standard input and output formats by name.
    File("levels.json", R"({"0": ["core1"], "3": ["fw", "isp"]})");
    const ToolRun viaStdin = Tool(
        {"layout", "-", "--type", "8", "--levels", Path("levels.json").string(), "--to", "svg"},
        (fs::path(kExamples) / "campus.json").string());
    EXPECT_EQ(viaStdin.status, 0) << viaStdin.err;
    EXPECT_EQ(viaStdin.out.rfind("<?xml", 0), 0u);

    // The progress line, forced on, counts the components.
    const ToolRun progress = Tool({"layout", (fs::path(kExamples) / "campus.json").string(),
                                   "--progress", "always", "-o", Path("p.json").string()});
    EXPECT_EQ(progress.status, 0);
    EXPECT_NE(progress.err.find("components 2/2"), std::string::npos) << progress.err;
    const ToolRun quiet = Tool({"layout", (fs::path(kExamples) / "campus.json").string()});
    EXPECT_EQ(quiet.err, "");
}

} // namespace

namespace {

// Ids that are not UTF-8 (an edge list in Latin-1, say) are reported and
// written back without failing on the encoding.
TEST_F(CliTest, BytesThatAreNotUtf8AndNumbersOutOfRange) {
    // Ids must be UTF-8 text without control characters: written out, two
    // such ids could otherwise become one.
    const fs::path latin1 = File("latin1.edgelist", "caf\xe9 a\n");
    ToolRun run = Tool({"layout", latin1.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("latin1.edgelist:1"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("is not UTF-8 text"), std::string::npos) << run.err;
    const fs::path control = File("control.json", R"({"nodes": [{"id": "a\u0001"}], "links": []})");
    run = Tool({"layout", control.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("contains a control character"), std::string::npos) << run.err;

    // Labels may carry anything; every output stays well formed.
    const fs::path labels = File("labels.edgelist", "a label=\"x\xff\x01y</script><!--\" \n a b\n");
    for (const char* out : {"out.json", "out.svg", "out.graphml", "out.html"}) {
        run = Tool({"layout", labels.string(), "-o", Path(out).string()});
        EXPECT_EQ(run.status, 0) << run.err;
    }
    EXPECT_NO_THROW(json::parse(Slurp(Path("out.json"))));
    for (const char* out : {"out.svg", "out.graphml"}) {
        pugi::xml_document doc;
        EXPECT_TRUE(doc.load_string(Slurp(Path(out)).c_str())) << out;
    }
    // In the page, the label stays inside its script element.
    const json page = PageGraph(Slurp(Path("out.html")));
    EXPECT_EQ(page["nodes"][0]["label"], "x\xEF\xBF\xBD\x01y</script><!--");

    // A number beyond the range of a double is malformed input, not a crash.
    const fs::path huge = File("huge.json", R"({"nodes": [{"id": 1, "x": 1e999}], "links": []})");
    run = Tool({"layout", huge.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("malformed JSON"), std::string::npos) << run.err;
}

} // namespace
