// Tree and hierarchy layouts of graphs with many shared children: grids,
// DAG-like layered networks and sparse graphs. The counters report how many
// common-ancestor searches ran per layout and how many gave up at the limit.

#include "layered/layered_workspace.h"
#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <benchmark/benchmark.h>

namespace {

void Run(benchmark::State& state, const netloom_test::EdgeList& list, int type) {
    CNetworkGraph graph;
    netloom_test::Fill(graph, list);
    netloom::layered::ResetSearchStats();
    for (auto _ : state) {
        graph.Layout(40, type, 200);
    }
    const auto stats = netloom::layered::GetSearchStats();
    const double layouts = static_cast<double>(state.iterations());
    state.counters["searches"] = static_cast<double>(stats.searches) / layouts;
    state.counters["bound_hits"] = static_cast<double>(stats.giveUps) / layouts;
    state.counters["nodes"] = list.nodeCount;
    state.counters["edges"] = static_cast<double>(list.edges.size());
}

void BM_Grid100(benchmark::State& state) {
    Run(state, netloom_test::Grid(100, 100), static_cast<int>(state.range(0)));
}
void BM_LayeredDag10k(benchmark::State& state) {
    Run(state, netloom_test::LayeredDag(50, 200, 5200, 3), static_cast<int>(state.range(0)));
}
void BM_Sparse(benchmark::State& state) {
    const int n = static_cast<int>(state.range(1));
    Run(state, netloom_test::RandomSparse(n, n / 2, 5), static_cast<int>(state.range(0)));
}

} // namespace

// range(0): layout type (2 tree, 8 hierarchy).
BENCHMARK(BM_Grid100)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LayeredDag10k)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sparse)
    ->Args({2, 10000})
    ->Args({8, 10000})
    ->Args({2, 100000})
    ->Args({8, 100000})
    ->Unit(benchmark::kMillisecond);
