// Building large graphs: AddNode and AddEdge with the duplicate check on, and
// FindEdge lookups. Reports peak resident memory per node and edge.

#include "front/request.h"
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

// Second argument 1: the indexes are reserved for the whole graph first (a
// bulk build); 0: they grow as the graph does (edge by edge, as before).
void BM_BuildGraph(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const bool reserve = state.range(1) != 0;
    const auto list = netloom_test::RandomSparse(n, n / 2, 7);
    for (auto _ : state) {
        auto graph = std::make_unique<CNetworkGraph>();
        if (reserve) {
            graph->Reserve(static_cast<std::size_t>(n), list.edges.size());
        }
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
    ->ArgsProduct({{10000, 66667, 100000, 1000000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

// A front end's whole build of a tree: the request's nodes, edges and port ids
// into the library's graph, as the tool, Python and JavaScript do it.
void BM_BuildLibraryGraph(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto list = netloom_test::RandomSparse(n, 0, 5);
    netloom::front::Request request;
    request.nodeCount = static_cast<std::size_t>(n);
    for (const auto& e : list.edges) {
        request.sources.push_back(static_cast<std::size_t>(e.first - 1));
        request.targets.push_back(static_cast<std::size_t>(e.second - 1));
    }
    for (auto _ : state) {
        auto lib = std::make_unique<netloom::front::LibraryGraph>();
        benchmark::DoNotOptimize(netloom::front::BuildLibraryGraph(request, 40, *lib));
        state.PauseTiming();
        lib.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_BuildLibraryGraph)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

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
