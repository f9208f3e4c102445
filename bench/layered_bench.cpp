// Tree and hierarchy layouts of generated trees and sparse graphs.

#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <benchmark/benchmark.h>

namespace {

// range(0): node count; range(1): extra edges per 100 nodes on top of a random
// spanning tree (0 gives a tree).
void RunLayout(benchmark::State& state, int type) {
    const int n = static_cast<int>(state.range(0));
    const int extra = static_cast<int>(state.range(1) * n / 100);
    CNetworkGraph graph;
    netloom_test::Fill(graph, netloom_test::RandomSparse(n, extra, 42));
    for (auto _ : state) {
        graph.Layout(40, type, 200);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_TreeLayout(benchmark::State& state) {
    RunLayout(state, CNetworkGraph::m_iTreeLayout);
}
void BM_HierarchyLayout(benchmark::State& state) {
    RunLayout(state, CNetworkGraph::m_iHierarchyLayout);
}

void BM_TreeLayoutPath(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    netloom_test::EdgeList path{n, {}};
    for (int v = 1; v < n; ++v) {
        path.edges.emplace_back(v, v + 1);
    }
    CNetworkGraph graph;
    netloom_test::Fill(graph, path);
    for (auto _ : state) {
        graph.Layout(40, CNetworkGraph::m_iTreeLayout, 200);
    }
}

void Sizes(benchmark::internal::Benchmark* b) {
    for (int extra : {0, 10}) {
        for (int n : {10000, 100000, 1000000}) {
            b->Args({n, extra});
        }
    }
    b->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(BM_TreeLayout)->Apply(Sizes);
BENCHMARK(BM_HierarchyLayout)->Apply(Sizes);
BENCHMARK(BM_TreeLayoutPath)->Arg(1000000)->Unit(benchmark::kMillisecond);
