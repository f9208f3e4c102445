// Runs the built netloom tool on files, as a user would.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include <fcntl.h>
#include <signal.h>
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
#include <random>
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

    // Runs the tool with args in folder cwd (default: this one); stdin from
    // /dev/null unless input names a file.
    ToolRun Tool(const std::vector<std::string>& args, const std::string& stdinFile = "/dev/null",
                 const fs::path& cwd = {}) {
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
            if (!cwd.empty() && chdir(cwd.c_str()) != 0) {
                _exit(126);
            }
            Exec(args);
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

    [[noreturn]] static void Exec(const std::vector<std::string>& args) {
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

    // Runs the tool with stderr on a pipe and sends it SIGINT once `marker`
    // shows there, as Ctrl-C would.
    ToolRun Interrupt(const std::vector<std::string>& args, const std::string& marker) {
        int pipeEnds[2];
        EXPECT_EQ(pipe(pipeEnds), 0);
        const pid_t pid = fork();
        if (pid == 0) {
            const int none = open("/dev/null", O_RDWR);
            dup2(none, 0);
            dup2(none, 1);
            dup2(pipeEnds[1], 2);
            close(pipeEnds[0]);
            Exec(args);
        }
        close(pipeEnds[1]);
        ToolRun run;
        bool sent = false;
        char buffer[4096];
        for (ssize_t n; (n = read(pipeEnds[0], buffer, sizeof buffer)) > 0;) {
            run.err.append(buffer, static_cast<std::size_t>(n));
            if (!sent && run.err.find(marker) != std::string::npos) {
                sent = kill(pid, SIGINT) == 0;
            }
        }
        close(pipeEnds[0]);
        int status = 0;
        waitpid(pid, &status, 0);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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

// The graph of an interactive page: the text of its graph script element.
json PageGraph(const std::string& html) {
    const std::string open = "<script type=\"application/json\" id=\"graph\">";
    const std::size_t begin = html.find(open) + open.size();
    return json::parse(html.substr(begin, html.find("</script>", begin) - begin));
}

TEST_F(CliTest, DrawingsHaveOneElementPerNodeAndEdgeAtOneScale) {
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
        const auto nodes = root.select_nodes("//g[@class='node' or @class='node fixed']");
        const auto edges = root.select_nodes("//path[@class='edge']");
        EXPECT_EQ(nodes.size(), graph["nodes"].size()) << c.file;
        EXPECT_EQ(edges.size(), graph["links"].size()) << c.file;
        std::set<std::string> ids;
        for (const auto& node : nodes) {
            ids.insert(node.node().attribute("data-id").as_string());
        }
        EXPECT_EQ(ids.size(), nodes.size());

        // The page draws the same, in pixels.
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
    }
}

// PNG and PDF show the SVG's drawing at its width and height in pixels, the
// PDF page at 0.75 pt a pixel; a drawing too large at its natural size is
// shown smaller, at most 16384 px a side, and each format says so.
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
        EXPECT_LE(std::max(width, height), 16384.0);
        const std::string& png = file["png"];
        ASSERT_EQ(png.substr(0, 16), std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16));
        auto word = [&](std::size_t at) {
            return double(std::uint32_t(std::uint8_t(png[at])) << 24 |
                          std::uint8_t(png[at + 1]) << 16 | std::uint8_t(png[at + 2]) << 8 |
                          std::uint8_t(png[at + 3]));
        };
        EXPECT_EQ(word(16), width) << args[0];
        EXPECT_EQ(word(20), height) << args[0];
        EXPECT_EQ(err["png"].find(".html") != std::string::npos, args.size() > 1) << err["png"];
        EXPECT_EQ(err["svg"], err["png"]);
        EXPECT_EQ(err["pdf"], err["png"]);
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
    const fs::path data = fs::path(NETLOOM_TEST_DATA_DIR) / "cli";
    std::ifstream cases(data / "bad-inputs.txt");
    std::string line;
    int count = 0;
    while (std::getline(cases, line)) {
        const std::size_t dashes = line.find(" -- ");
        if (line.empty() || line[0] == '#' || dashes == std::string::npos) {
            continue;
        }
        ++count;
        const std::string message = line.substr(dashes + 4);
        std::istringstream words(line.substr(0, dashes));
        std::string file, output, word;
        int status = 0;
        words >> file >> status >> output;
        const fs::path kept = File(output.substr(0, output.find('/')), "keep me\n");
        std::vector<std::string> args = {"layout", "bad/" + file, "-o", Path(output).string()};
        while (words >> word) {
            args.push_back(word);
        }
        const ToolRun run = Tool(args, "/dev/null", data);
        EXPECT_EQ(run.status, status) << line << ": " << run.err;
        EXPECT_NE(run.err.find(message), std::string::npos) << line << ": " << run.err;
        EXPECT_EQ(run.err.find("netloom: error: "), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(Slurp(kept), "keep me\n") << line;
    }
    EXPECT_GE(count, 20);
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

// Every case of tests/data/cli/cases.txt prints exactly its expected file
// (scripts/update-golden.sh writes them); a "+" case's output reads back as the
// same graph as its input.
TEST_F(CliTest, GoldenOutputs) {
    const fs::path root = fs::path(NETLOOM_TEST_DATA_DIR).parent_path().parent_path();
    std::ifstream cases(root / "tests/data/cli/cases.txt");
    std::string line;
    int count = 0;
    while (std::getline(cases, line)) {
        std::istringstream words(line);
        std::string name, input, format, word;
        if (!(words >> name >> input >> format) || name[0] == '#') {
            continue;
        }
        const bool roundTrip = format.back() == '+';
        if (roundTrip) {
            format.pop_back();
        }
        std::vector<std::string> args = {"layout", input, "--to", format, "--progress", "never"};
        while (words >> word) {
            args.push_back(word);
        }
        const ToolRun run = Tool(args, "/dev/null", root);
        ASSERT_EQ(run.status, 0) << name << ": " << run.err;
        EXPECT_EQ(run.out, Slurp(root / "tests/data/cli/expected" / (name + "." + format))) << name;
        if (roundTrip) {
            // The edge list is the common form: ids, positions, labels, ports, lengths.
            args[3] = "edgelist";
            const std::string first = Tool(args, "/dev/null", root).out;
            args[1] = File("back." + format, run.out).string();
            EXPECT_EQ(Tool(args, "/dev/null", root).out, first) << name << " read back";
        }
        ++count;
    }
    EXPECT_GE(count, 10);
}

TEST_F(CliTest, HelpDocumentsEveryOptionWithItsDefault) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"layout", "--help"}}) {
        const ToolRun run = Tool(args);
        EXPECT_EQ(run.status, 0);
        for (const char* option :
             {"--output", "--from", "--to", "--type", "--distance", "--layer-spacing", "--max-cols",
              "--fixed-layout", "--pack", "--levels", "--direction", "--arrange-mode", "--progress",
              "--stats", "force", "tree", "radial", "hierarchy", "INPUT"}) {
            EXPECT_NE(run.out.find(option), std::string::npos) << args[0] << " lacks " << option;
        }
        for (const char* value : {"=hierarchy", "=40", "=0", "=auto"}) {
            EXPECT_NE(run.out.find(value), std::string::npos) << args[0] << " lacks " << value;
        }
    }
}

// A levels file that leaves nodes out places them next to a listed neighbour
// and says so.
TEST_F(CliTest, PartialLevelsFile) {
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

TEST_F(CliTest, StandardInputAndProgress) {
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

// A batch with a bad input in the middle: the others are written, the bad one
// is named on one line, its old output stays, and one or two workers write
// the same bytes.
TEST_F(CliTest, BatchGoesOnPastABadInput) {
    const fs::path bad = File("bad.json", "{\"nodes\": [");
    std::map<std::string, std::string> first;
    for (const std::string jobs : {"1", "2"}) {
        const fs::path dir = Path("out" + jobs);
        fs::create_directory(dir);
        Spit(dir / "bad.svg", "keep me\n");
        const ToolRun run =
            Tool({"layout", kExamples + "/campus.json", kExamples + "/karate.json", bad.string(),
                  kExamples + "/services.edgelist", kExamples + "/org-tree.graphml", "--outdir",
                  dir.string(), "--to", "svg,json", "--jobs", jobs, "--type", "force"});
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_EQ(run.err.find("netloom: error: " + bad.string() + ":1:"), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(Slurp(dir / "bad.svg"), "keep me\n");
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(dir)) {
            files[entry.path().filename().string()] = Slurp(entry.path());
        }
        EXPECT_EQ(files.size(), 9u) << "4 inputs x svg, json and the old bad.svg";
        EXPECT_TRUE(first.empty() || files == first);
        first = files;
    }
    EXPECT_EQ(Tool({"layout", kExamples + "/campus.json", Path("x.json").string()}).status, 2);
}

namespace {

// Ctrl-C during a long force layout: exit status 130, nothing written, an
// existing output untouched and no temporary file left.
TEST_F(CliTest, CtrlCStopsTheLayoutAndWritesNothing) {
    std::string text;
    std::mt19937 rng(5);
    for (int v = 2; v <= 20000; ++v) {
        text += "n" + std::to_string(rng() % (v - 1) + 1) + " n" + std::to_string(v) + "\n";
    }
    const std::string big = File("big.edgelist", text).string();
    const std::string out = File("big.json", "old output\n").string();
    const ToolRun single = Interrupt(
        {"layout", big, "--type", "force", "--progress", "always", "-o", out}, "component 1: F");
    EXPECT_EQ(single.status, 130) << single.err;
    EXPECT_NE(single.err.find("netloom: error: interrupted; nothing written"), std::string::npos)
        << single.err;
    EXPECT_EQ(Slurp(out), "old output\n");

    std::set<std::string> names; // no temporary file left
    for (const auto& entry : fs::directory_iterator(m_dir)) {
        names.insert(entry.path().filename().string());
    }
    EXPECT_EQ(names, (std::set<std::string>{"big.edgelist", "big.json"}));
}

} // namespace
