// Feeds the command-line tool's input readers with the fuzzer's bytes. The
// first byte picks the format (JSON, GraphML, edge list; ELK JSON from 0xE0, DOT from 0xF0 on) and,
// for graphs the reader accepts, a layout type. A reader either returns a graph or throws
// InputError with a message; anything else is a bug. A small accepted graph is
// then laid out and written in every output format, and the JSON, GraphML,
// edge-list and DOT outputs, and the graph inside the HTML page, must read back
// with the same number of nodes and edges; ELK JSON, written for every input,
// reads back with them too.

#include "graph_file.h"
#include "layout_run.h"
#include "readers.h"
#include "writers.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

void Fail(const char* what, const std::string& detail) {
    std::fprintf(stderr, "parsers_fuzzer: %s: %s\n", what, detail.c_str());
    std::abort();
}

void ExpectSameShape(const netloom_cli::FileGraph& original, const netloom_cli::FileGraph& back,
                     const char* format) {
    if (back.nodes.size() != original.nodes.size() || back.edges.size() != original.edges.size()) {
        Fail("written graph reads back with another shape", format);
    }
}

void LayOutAndWrite(netloom_cli::FileGraph& graph, int type) {
    netloom_cli::LayoutOptions options;
    options.type = type;
    options.progress = netloom_cli::ProgressMode::Never;
    const netloom_cli::LayoutResult result = netloom_cli::RunLayout(graph, options);
    const std::string json = netloom_cli::WriteJson(graph, result);
    const std::string edgeList = netloom_cli::WriteEdgeList(graph, result);
    netloom_cli::WriteSvg(graph, result);
    const std::string html = netloom_cli::WriteHtml(graph, result);
    const std::string graphMl = netloom_cli::WriteGraphMl(graph, result);
    const std::string dot = netloom_cli::WriteDot(graph, result);
    const std::string elk = netloom_cli::WriteElk(graph, result);
    try {
        ExpectSameShape(graph, netloom_cli::ReadJsonGraph("out.json", json), "JSON");
        ExpectSameShape(graph, netloom_cli::ReadGraphMl("out.graphml", graphMl), "GraphML");
        ExpectSameShape(graph, netloom_cli::ReadEdgeList("out.edgelist", edgeList), "edge list");
        ExpectSameShape(graph, netloom_cli::ReadDot("out.gv", dot), "DOT");
        ExpectSameShape(graph, netloom_cli::ReadElk("out.elk.json", elk), "ELK JSON");
    } catch (const netloom_cli::InputError& e) {
        Fail("written graph does not read back", e.Describe());
    }
    // No label may end the page's graph script element early.
    const std::string open = "id=\"graph\">";
    const std::size_t begin = html.find(open) + open.size();
    const netloom_cli::Json page = netloom_cli::Json::parse(
        html.substr(begin, html.find("</script>", begin) - begin), nullptr, false);
    const auto count = [&page](const char* key) {
        return page.is_object() && page.contains(key) ? page[key].size() : ~std::size_t{0};
    };
    if (count("nodes") != graph.nodes.size() || count("edges") != graph.edges.size()) {
        Fail("the page's graph does not read back", "HTML");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    static const int kTypes[] = {8, 2, 4, 1};
    netloom_cli::FileGraph graph;
    try {
        switch (data[0] >= 0xF0 ? 3 : data[0] >= 0xE0 ? 4 : data[0] % 3) {
        case 0:
            graph = netloom_cli::ReadJsonGraph("fuzz.json", text);
            break;
        case 1:
            graph = netloom_cli::ReadGraphMl("fuzz.graphml", text);
            break;
        case 2:
            graph = netloom_cli::ReadEdgeList("fuzz.edgelist", text);
            break;
        case 3:
            graph = netloom_cli::ReadDot("fuzz.gv", text);
            break;
        default:
            graph = netloom_cli::ReadElk("fuzz.elk.json", text);
            break;
        }
    } catch (const netloom_cli::InputError& e) {
        if (e.Describe().empty()) {
            std::abort();
        }
        return 0;
    } catch (const std::exception& e) {
        Fail("unexpected exception while reading", e.what());
    }
    if (graph.nodes.size() <= 200 && graph.edges.size() <= 400) {
        try {
            LayOutAndWrite(graph, kTypes[(data[0] / 3) % 4]);
        } catch (const std::exception& e) {
            Fail("unexpected exception while writing", e.what());
        }
    }
    return 0;
}
