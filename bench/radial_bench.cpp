// Radiant layout of large sparse graphs (random spanning tree plus n/2 extra
// edges), components already built.

#include <netloom/netloom.h>

#include "support/generated_graphs.h"

#include <benchmark/benchmark.h>

namespace {

void BM_RadiantLayout(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    CNetworkGraph g;
    netloom_test::Fill(g, netloom_test::RandomSparse(n, n / 2, 777));
    g.Layout(40, 3, 200);
    CConnectedGraph* comp = *g.GetConnectedGraphs().begin();
    for (auto _ : state) {
        comp->RadiantLayout();
    }
    state.counters["ns_per_node"] =
        benchmark::Counter(static_cast<double>(n) * static_cast<double>(state.iterations()) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(BM_RadiantLayout)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
