// Extreme graphs: a path of 1,000,000 nodes and a star of 1,000,000 leaves under
// every layout type, a complete graph of 2,000 nodes under the hierarchy layout,
// a 300 x 300 grid, 100,000 isolated nodes, and host coordinates of 1e300 and
// NaN. Reports the time and the peak resident memory of the process.

#include "support/generated_graphs.h"

#include <netloom/netloom.h>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>

namespace {

double PeakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void Run(benchmark::State& state, const netloom_test::EdgeList& list, int type) {
    CNetworkGraph graph;
    netloom_test::Fill(graph, list);
    for (auto _ : state) {
        graph.Layout(40, type, 200);
    }
    state.counters["nodes"] = list.nodeCount;
    state.counters["peak_MiB"] = PeakResidentMiB();
}

netloom_test::EdgeList Path(int n) {
    netloom_test::EdgeList g{n, {}};
    for (int v = 1; v < n; ++v) {
        g.edges.emplace_back(v, v + 1);
    }
    return g;
}

netloom_test::EdgeList Star(int leaves) {
    netloom_test::EdgeList g{leaves + 1, {}};
    for (int v = 2; v <= leaves + 1; ++v) {
        g.edges.emplace_back(1, v);
    }
    return g;
}

void BM_Path1M(benchmark::State& state) {
    Run(state, Path(1000000), static_cast<int>(state.range(0)));
}
void BM_Star1M(benchmark::State& state) {
    Run(state, Star(1000000), static_cast<int>(state.range(0)));
}
void BM_Complete2000(benchmark::State& state) {
    netloom_test::EdgeList g{2000, {}};
    for (int a = 1; a <= 2000; ++a) {
        for (int b = a + 1; b <= 2000; ++b) {
            g.edges.emplace_back(a, b);
        }
    }
    Run(state, g, CNetworkGraph::m_iHierarchyLayout);
}
void BM_Grid300(benchmark::State& state) {
    Run(state, netloom_test::Grid(300, 300), static_cast<int>(state.range(0)));
}
void BM_Isolated100k(benchmark::State& state) {
    Run(state, netloom_test::EdgeList{100000, {}}, static_cast<int>(state.range(0)));
}
void BM_HostCoordinates(benchmark::State& state) {
    CNetworkGraph graph;
    netloom_test::Fill(graph, netloom_test::RandomSparse(10000, 5000, 1));
    int k = 0;
    for (const auto& entry : graph.GetNodeMap()) {
        const double v = (k++ % 2 == 0) ? 1e300 : std::nan("");
        entry.second->SetPosition(v, -v);
    }
    graph.SetFixedLayoutFlag(true);
    for (auto _ : state) {
        graph.Layout(40, static_cast<int>(state.range(0)), 200);
    }
    state.counters["peak_MiB"] = PeakResidentMiB();
}

void AllTypes(benchmark::internal::Benchmark* b) {
    for (int type : {4, 2, 8, 1}) {
        b->Arg(type);
    }
    b->Iterations(1)->Unit(benchmark::kMillisecond);
}

} // namespace

// range(0): layout type (1 force, 2 tree, 4 radiant, 8 hierarchy).
BENCHMARK(BM_Path1M)->Apply(AllTypes);
BENCHMARK(BM_Star1M)->Apply(AllTypes);
BENCHMARK(BM_Complete2000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Grid300)->Apply(AllTypes);
BENCHMARK(BM_Isolated100k)->Apply(AllTypes);
BENCHMARK(BM_HostCoordinates)->Apply(AllTypes);
