// Reading graph files: a 100,000-node, 300,000-edge graph as compact JSON,
// indented JSON, GraphML, DOT and an edge list, parsed from memory.

#include "readers.h"
#include "support/generated_graphs.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

const netloom_test::EdgeList& Graph() {
    static const netloom_test::EdgeList graph = netloom_test::RandomSparse(100000, 200001, 11);
    return graph;
}

std::string Json(bool indented) {
    const std::string nl = indented ? "\n    " : "";
    std::string text = "{\"directed\": false, \"nodes\": [";
    for (int v = 1; v <= Graph().nodeCount; ++v) {
        text += (v > 1 ? "," : "") + nl + "{\"id\": " + std::to_string(v) + "}";
    }
    text += "], \"links\": [";
    bool first = true;
    for (const auto& e : Graph().edges) {
        text += (first ? "" : ",") + nl + "{\"source\": " + std::to_string(e.first) +
                ", \"target\": " + std::to_string(e.second) + "}";
        first = false;
    }
    return text + "]}\n";
}

std::string GraphMl() {
    std::string text = "<?xml version=\"1.0\"?>\n<graphml><graph edgedefault=\"undirected\">\n";
    for (int v = 1; v <= Graph().nodeCount; ++v) {
        text += "<node id=\"n" + std::to_string(v) + "\"/>\n";
    }
    for (const auto& e : Graph().edges) {
        text += "<edge source=\"n" + std::to_string(e.first) + "\" target=\"n" +
                std::to_string(e.second) + "\"/>\n";
    }
    return text + "</graph></graphml>\n";
}

std::string Dot() {
    std::string text = "graph G {\n";
    for (int v = 1; v <= Graph().nodeCount; ++v) {
        text += "  n" + std::to_string(v) + ";\n";
    }
    for (const auto& e : Graph().edges) {
        text += "  n" + std::to_string(e.first) + " -- n" + std::to_string(e.second) + ";\n";
    }
    return text + "}\n";
}

// A trailing comment sends every line through the general tokenizer, the
// path plain "SOURCE TARGET" lines took before they had one of their own.
std::string EdgeList(const char* tail = "") {
    std::string text;
    for (const auto& e : Graph().edges) {
        text += std::to_string(e.first) + " " + std::to_string(e.second) + tail + "\n";
    }
    return text;
}

template <class Reader> void Read(benchmark::State& state, const std::string& text, Reader read) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(read("bench", text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}

void BM_ReadJson(benchmark::State& state) {
    Read(state, Json(false), netloom_cli::ReadJsonGraph);
}
void BM_ReadJsonIndented(benchmark::State& state) {
    Read(state, Json(true), netloom_cli::ReadJsonGraph);
}
void BM_ReadGraphMl(benchmark::State& state) {
    Read(state, GraphMl(), netloom_cli::ReadGraphMl);
}
void BM_ReadDot(benchmark::State& state) {
    Read(state, Dot(), netloom_cli::ReadDot);
}
void BM_ReadEdgeList(benchmark::State& state) {
    Read(state, EdgeList(), netloom_cli::ReadEdgeList);
}
void BM_ReadEdgeListTokenized(benchmark::State& state) {
    Read(state, EdgeList(" #"), netloom_cli::ReadEdgeList);
}
// The JSON parser alone, the floor of the JSON reader.
void BM_ParseJsonOnly(benchmark::State& state) {
    const std::string text = Json(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(netloom_cli::Json::parse(text));
    }
}

} // namespace

BENCHMARK(BM_ReadJson)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadJsonIndented)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadGraphMl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadDot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadEdgeList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadEdgeListTokenized)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseJsonOnly)->Unit(benchmark::kMillisecond);
