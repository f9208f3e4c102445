// Building large graphs: AddNode and AddEdge with the duplicate check on, and
// FindEdge lookups. Reports peak resident memory per node and edge.

#include "support/generated_graphs.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <memory>

namespace {

double PeakResidentBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

void BM_BuildGraph(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto list = netloom_test::RandomSparse(n, n / 2, 7);
    for (auto _ : state) {
        auto graph = std::make_unique<CNetworkGraph>();
        netloom_test::Fill(*graph, list, true);
        benchmark::DoNotOptimize(graph->GetEdgeMap().size());
        // Building only: the graph is destroyed off the clock.
        state.PauseTiming();
        graph.reset();
        state.ResumeTiming();
    }
    state.counters["nodes"] = n;
    state.counters["edges"] = static_cast<double>(list.edges.size());
    state.counters["peak_bytes_per_node_and_edge"] =
        PeakResidentBytes() / static_cast<double>(n + static_cast<int>(list.edges.size()));
}
// 66667 nodes give the 100,000 edges of the Python binding's benchmark.
BENCHMARK(BM_BuildGraph)
    ->Arg(10000)
    ->Arg(66667)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

void BM_FindEdge(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto list = netloom_test::RandomSparse(n, n / 2, 11);
    CNetworkGraph graph;
    netloom_test::Fill(graph, list, true);
    std::size_t i = 0;
    for (auto _ : state) {
        const auto& e = list.edges[i++ % list.edges.size()];
        benchmark::DoNotOptimize(graph.FindEdge(graph.GetNode(e.first), graph.GetNode(e.second)));
    }
}
BENCHMARK(BM_FindEdge)->Arg(100000);

} // namespace
