// Tree and hierarchy layouts of graphs with many shared children and neighbour
// groups: grids, DAG-like layered networks, dense DAGs with many shared uplinks,
// a hub graph with large neighbour groups, and sparse graphs.

#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <benchmark/benchmark.h>

namespace {

void Run(benchmark::State& state, const netloom_test::EdgeList& list, int type) {
    CNetworkGraph graph;
    netloom_test::Fill(graph, list);
    for (auto _ : state) {
        graph.Layout(40, type, 200);
    }
    state.counters["nodes"] = list.nodeCount;
    state.counters["edges"] = static_cast<double>(list.edges.size());
}

void BM_Grid100(benchmark::State& state) {
    Run(state, netloom_test::Grid(100, 100), static_cast<int>(state.range(0)));
}
void BM_LayeredDag10k(benchmark::State& state) {
    Run(state, netloom_test::LayeredDag(50, 200, 5200, 3), static_cast<int>(state.range(0)));
}
// The same family ten times deeper: 500 layers of 200 nodes.
void BM_LayeredDag100k(benchmark::State& state) {
    Run(state, netloom_test::LayeredDag(500, 200, 52000, 3), static_cast<int>(state.range(0)));
}
// Layers of 20 nodes, each with one parent in the layer above, plus two extra
// edges per node between adjacent layers. range(1): node count.
void BM_DenseDag(benchmark::State& state) {
    const int n = static_cast<int>(state.range(1));
    Run(state, netloom_test::LayeredDag(n / 20, 20, 2 * n, 7), static_cast<int>(state.range(0)));
}
// A hub over 40 uplinks and 20 switches, each switch on two private uplinks and
// joined to every other switch: neighbour groups of 20 members.
void BM_HubGroups(benchmark::State& state) {
    Run(state, netloom_test::HubGroups(20), static_cast<int>(state.range(0)));
}
void BM_Sparse(benchmark::State& state) {
    const int n = static_cast<int>(state.range(1));
    Run(state, netloom_test::RandomSparse(n, n / 2, 5), static_cast<int>(state.range(0)));
}

} // namespace

// range(0): layout type (2 tree, 8 hierarchy).
BENCHMARK(BM_Grid100)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LayeredDag10k)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LayeredDag100k)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DenseDag)
    ->Args({2, 1000})
    ->Args({8, 1000})
    ->Args({2, 10000})
    ->Args({8, 10000})
    ->Args({2, 100000})
    ->Args({8, 100000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HubGroups)->Arg(2)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sparse)
    ->Args({2, 10000})
    ->Args({8, 10000})
    ->Args({2, 100000})
    ->Args({8, 100000})
    ->Unit(benchmark::kMillisecond);
