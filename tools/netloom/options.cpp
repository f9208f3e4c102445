#include "options.h"

#include "front/limits.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>

namespace netloom_cli {
namespace {

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

std::optional<Format> FormatByName(const std::string& name) {
    static const std::map<std::string, Format> names = {
        {"json", Format::Json},         {"graphml", Format::GraphMl}, {"xml", Format::GraphMl},
        {"edgelist", Format::EdgeList}, {"edges", Format::EdgeList},  {"el", Format::EdgeList},
        {"txt", Format::EdgeList},      {"gv", Format::Dot},          {"dot", Format::Dot},
        {"svg", Format::Svg},           {"png", Format::Png},         {"pdf", Format::Pdf},
        {"html", Format::Html},         {"htm", Format::Html},        {"elk", Format::Elk}};
    const auto it = names.find(Lower(name));
    return it == names.end() ? std::nullopt : std::optional<Format>(it->second);
}

std::optional<Format> FormatOfPath(const std::string& path) {
    const std::string elk = ".elk.json";
    if (path.size() > elk.size() && Lower(path.substr(path.size() - elk.size())) == elk) {
        return Format::Elk;
    }
    const std::size_t dot = path.find_last_of('.');
    const std::size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return std::nullopt;
    }
    return FormatByName(path.substr(dot + 1));
}

CLI::Range Range(const Limit& limit) {
    return CLI::Range(limit.low, limit.high);
}

// Drawings are written, never read.
bool IsDrawing(Format format) {
    return format == Format::Svg || format == Format::Png || format == Format::Pdf ||
           format == Format::Html;
}

// A layout type by its name, another name it goes by, or its code.
std::optional<int> TypeByName(const std::string& name) {
    const int type = LayoutTypeByName(name);
    return type != 0 ? std::optional<int>(type) : std::nullopt;
}

// "force (1), tree (2), radial (4) or hierarchy (8)"
std::string TypeHelp() {
    const std::size_t count = std::size(kLayoutTypeNames);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const NamedLayoutType& entry = kLayoutTypeNames[i];
        text += i == 0 ? "" : i + 1 == count ? " or " : ", ";
        text += std::string(entry.name) + " (" + std::to_string(entry.type) + ")";
    }
    return text;
}

const char* const kFormatHelp = "json, elk, graphml, edgelist or dot";
const char* const kOutputHelp = "json, elk, svg, png, pdf, html, graphml, edgelist or dot";

} // namespace

CLI::App* DefineCommandLine(CLI::App& app, CommandLine& line) {
    app.description("netloom lays out network graphs: it reads a graph file, runs one of the "
                    "netloom layouts and writes positions, ports and an edge order (JSON), a "
                    "drawing (SVG, PNG, PDF), an interactive page to explore it in a browser "
                    "(HTML) or the graph back with positions (JSON, GraphML, edge list, DOT).");
    app.set_version_flag("--version", "netloom " NETLOOM_VERSION);
    app.require_subcommand(1);

    CLI::App* layout = app.add_subcommand("layout", "Lay out a graph file");
    layout
        ->add_option("INPUT", line.inputs,
                     "Graph file: node-link JSON (.json), ELK JSON (.elk.json, or a .json with "
                     "\"children\"), GraphML (.graphml, .xml), an edge "
                     "list (.edgelist, .edges, .txt) or DOT (.gv, .dot); - reads standard input. "
                     "Several files need --outdir")
        ->required();
    layout->add_option("--outdir", line.outdir,
                       "Lay out every INPUT and write DIR/NAME.EXT for each format of --to "
                       "(NAME: the input's name without its extension; DIR is created if "
                       "missing). A bad input is reported on its own line and the others go on; "
                       "the exit status is 1 if any failed");
    layout
        ->add_option("-j,--jobs", line.jobs,
                     "Files laid out at the same time with --outdir (default: one per hardware "
                     "thread); each force layout then uses one thread unless --threads says "
                     "otherwise. The outputs are the same for any number")
        ->check(CLI::Range(1, 1024));
    layout->add_option(
        "-o,--output", line.output,
        "Output file; its extension picks the format (.json, .elk.json, .svg, .png, .pdf, .html, "
        ".graphml, .edgelist, .gv). Default: JSON on standard output");
    layout->add_option("--from", line.from,
                       std::string("Input format: ") + kFormatHelp +
                           " (default: from INPUT's "
                           "extension)");
    layout->add_option("--to", line.to,
                       std::string("Output format: ") + kOutputHelp +
                           " (default: from OUTPUT's extension, json on standard output); with "
                           "--outdir a comma-separated list (default: json). PNG and "
                           "PDF render the SVG drawing at its size in pixels (PDF at 96 pixels "
                           "per inch); a PNG beyond 32767 px a side is scaled down to fit");
    layout->add_option("-t,--type", line.type, "Layout: " + TypeHelp())->capture_default_str();
    layout
        ->add_option("-d,--distance", line.layout.distance,
                     "Node distance: spring length of the force layout, column unit of the "
                     "layered layouts, default edge length")
        ->check(Range(kDistanceLimit))
        ->capture_default_str();
    layout
        ->add_option("--layer-spacing", line.layerSpacing,
                     "Distance between the layers of the tree and hierarchy layouts, or auto: "
                     "laid out once at 200, then again at the spacing that gives the busiest "
                     "row gap the room its edges' tracks need")
        ->capture_default_str();
    layout
        ->add_option("--max-cols", line.layout.maxCols,
                     "Most columns in a grid row of the layered layouts; 0 for no limit")
        ->check(Range(kMaxColsLimit))
        ->capture_default_str();
    layout->add_flag("--fixed-layout", line.layout.fixedLayout,
                     "Keep components that hold a fixed node where they are and stack the "
                     "others below them (default: off)");
    layout->add_flag("--pack", line.layout.pack,
                     "Place the components in rows, largest first, for a page near 4:3, "
                     "2 x distance apart, each only moved as a whole (default: off, one "
                     "column as the layout stacks them)");
    layout->add_option("--levels", line.layout.levels,
                       "Levels of the tree and hierarchy layouts: \"direction\" (each node at "
                       "its longest directed path from a source, cycles broken), \"degree\" (the "
                       "layout picks its roots among the best-connected nodes), or a levels file: "
                       "lines \"LEVEL: NODE NODE ...\" or a JSON object {\"LEVEL\": [NODE, ...]}, "
                       "the lowest level holding the roots; nodes it leaves out go one level below "
                       "their nearest listed neighbour (default: direction for directed inputs, "
                       "else degree)");
    layout->add_option_function<std::string>(
        "--direction",
        [&line](const std::string& name) {
            if (!DirectionByName(name, line.layout.direction, line.layout.bottomUp)) {
                throw CLI::ValidationError("--direction", "unknown direction \"" + name +
                                                              "\"; use " + DirectionChoices());
            }
        },
        "Orientation of the layered grid, 1 to 4 or a name: 1 (TB, top-down) roots on top, 2 "
        "(LR, left-right) at the left, 3 on top mirrored, 4 (RL, right-left) at the right, BT "
        "(bottom-up) at the bottom (default: a DOT input's rankdir, else 1)");
    layout
        ->add_option("--label-width", line.layout.labelWidth,
                     "Most characters of a drawn label line; longer lines end in an ellipsis")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    layout
        ->add_option("--arrange-mode", line.layout.arrangeMode,
                     "Arrangement mode of the layered layouts: 2 splits the second level into "
                     "two groups, one above and one below the roots (default: 0)")
        ->check(Range(kArrangeModeLimit));
    layout
        ->add_option("--threads", line.layout.threads,
                     "Threads of the force layout for large components; 0 for one per "
                     "hardware thread. The result is the same for any number")
        ->check(Range(kThreadsLimit))
        ->capture_default_str();
    layout->add_flag("--stats", line.stats,
                     "Print the drawing's crossings (and those of straight lines between the "
                     "same node centres), bends and size on stderr, the crossings counted at "
                     "any size; the JSON output's drawing record leaves them null where "
                     "counting would test over 10 million pairs of segments (default: off)");
    layout
        ->add_option("--progress", line.progress,
                     "Progress line on stderr: auto (when stderr is a terminal and the layout "
                     "takes over a second), always or never")
        ->capture_default_str();

    // netloom --help documents the layout options too.
    app.footer([layout] { return layout->help("netloom layout", CLI::AppFormatMode::Sub); });
    return layout;
}

void ResolveChoices(CommandLine& line) {
    const std::optional<int> type = TypeByName(line.type);
    if (!type) {
        throw UsageError("--type: unknown layout \"" + line.type + "\"; use " +
                         LayoutTypeChoices());
    }
    line.layout.type = *type;
    line.layout.autoLayerSpacing = Lower(line.layerSpacing) == "auto";
    if (!line.layout.autoLayerSpacing) {
        const std::string& text = line.layerSpacing;
        int value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size() ||
            value < kLayerSpacingLimit.low || value > kLayerSpacingLimit.high) {
            throw UsageError("--layer-spacing: \"" + text +
                             "\" is neither auto nor a whole number from " +
                             std::to_string(kLayerSpacingLimit.low) + " to " +
                             std::to_string(kLayerSpacingLimit.high));
        }
        line.layout.layerSpacing = value;
    }
    static const std::map<std::string, ProgressMode> modes = {{"auto", ProgressMode::Auto},
                                                              {"always", ProgressMode::Always},
                                                              {"never", ProgressMode::Never}};
    const auto mode = modes.find(Lower(line.progress));
    if (mode == modes.end()) {
        throw UsageError("--progress: unknown value \"" + line.progress +
                         "\"; use auto, always or never");
    }
    line.layout.progress = mode->second;
}

LayoutOptions FileLayoutOptions(const CommandLine& line, const FileGraph& graph) {
    LayoutOptions options = line.layout;
    if (!graph.elk) {
        return options;
    }
    auto set = [&line](const char* name, const std::optional<int>& value, int& out) {
        if (value && std::find(line.given.begin(), line.given.end(), name) == line.given.end()) {
            out = *value;
        }
    };
    set("--type", graph.elk->type, options.type);
    set("--direction", graph.elk->direction, options.direction);
    set("--distance", graph.elk->distance, options.distance);
    set("--layer-spacing", graph.elk->layerSpacing, options.layerSpacing);
    // An ELK document gets the layer spacing it names, or the library's start
    // value, as the JavaScript class gives it: not the tool's fitted spacing.
    if (std::find(line.given.begin(), line.given.end(), "--layer-spacing") == line.given.end()) {
        options.autoLayerSpacing = false;
    }
    return options;
}

Format InputFormat(const CommandLine& line) {
    return InputFormatOf(line, line.input);
}

Format InputFormatOf(const CommandLine& line, const std::string& path) {
    if (!line.from.empty()) {
        const auto format = FormatByName(line.from);
        if (!format || IsDrawing(*format)) {
            throw UsageError("--from: unknown input format \"" + line.from + "\"; use " +
                             kFormatHelp);
        }
        return *format;
    }
    if (path == "-") {
        return Format::Json;
    }
    const auto format = FormatOfPath(path);
    if (!format || IsDrawing(*format)) {
        throw UsageError("cannot tell the format of \"" + path +
                         "\" from its extension; use --from " + kFormatHelp);
    }
    return *format;
}

Format OutputFormat(const CommandLine& line) {
    if (!line.to.empty()) {
        const auto format = FormatByName(line.to);
        if (!format) {
            throw UsageError("--to: unknown output format \"" + line.to + "\"; use " + kOutputHelp);
        }
        return *format;
    }
    if (line.output.empty()) {
        return Format::Json;
    }
    const auto format = FormatOfPath(line.output);
    if (!format) {
        throw UsageError("cannot tell the format of \"" + line.output +
                         "\" from its extension; use --to " + kOutputHelp);
    }
    return *format;
}

std::vector<Format> OutputFormats(const CommandLine& line) {
    std::vector<Format> formats;
    std::size_t start = 0;
    while (start <= line.to.size() && !line.to.empty()) {
        const std::size_t comma = std::min(line.to.find(',', start), line.to.size());
        const std::string name = line.to.substr(start, comma - start);
        const auto format = FormatByName(name);
        if (!format) {
            throw UsageError("--to: unknown output format \"" + name + "\"; use " + kOutputHelp);
        }
        if (std::find(formats.begin(), formats.end(), *format) == formats.end()) {
            formats.push_back(*format);
        }
        start = comma + 1;
    }
    if (formats.empty()) {
        formats.push_back(Format::Json);
    }
    return formats;
}

const char* FormatExtension(Format format) {
    switch (format) {
    case Format::GraphMl:
        return ".graphml";
    case Format::EdgeList:
        return ".edgelist";
    case Format::Dot:
        return ".gv";
    case Format::Svg:
        return ".svg";
    case Format::Png:
        return ".png";
    case Format::Pdf:
        return ".pdf";
    case Format::Html:
        return ".html";
    case Format::Elk:
        return ".elk.json";
    case Format::Json:
        break;
    }
    return ".json";
}

} // namespace netloom_cli
