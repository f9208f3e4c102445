// Force-directed layout: one iteration (tree build, force pass, move pass) and
// whole layouts, on sparse graphs (random spanning tree plus n/2 extra edges)
// and square grids. Counters: ns per node per iteration, iterations.
// The third argument is the walk width: 1 is the one-node walk, 0 the widest
// this CPU runs; a fourth, for single iterations, the threads (0: one per
// hardware thread). Run with --benchmark_enable_random_interleaving=true and
// repetitions to alternate the two.

#include <netloom/netloom.h>

#include "force/force_workspace.h"
#include "support/generated_graphs.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>

namespace {

netloom_test::EdgeList MakeList(int kind, int n) {
    if (kind == 0) {
        return netloom_test::RandomSparse(n, n / 2, 12345);
    }
    const int side = static_cast<int>(std::lround(std::sqrt(static_cast<double>(n))));
    return netloom_test::Grid(side, side);
}

// Components built, radiant start applied: the state the iteration starts from.
CConnectedGraph* Prepare(CNetworkGraph& g, int kind, int n) {
    netloom_test::Fill(g, MakeList(kind, n));
    g.Layout(40, 3, 200);
    CConnectedGraph* comp = *g.GetConnectedGraphs().begin();
    g_dLayoutDistanceSqr = g_dLayoutDistance * g_dLayoutDistance;
    comp->RadiantLayout();
    return comp;
}

// One iteration from a settled layout (the typical state of most iterations):
// the whole layout runs first, then single iterations are timed.
void BM_ForceIteration(benchmark::State& state) {
    const int kind = static_cast<int>(state.range(0));
    const int n = static_cast<int>(state.range(1));
    CNetworkGraph g;
    CConnectedGraph* comp = Prepare(g, kind, n);
    comp->SetFixedLayoutFlag(true);
    comp->LayoutComponent(1);
    CForceWorkspace workspace(*comp, true);
    if (state.range(2) != 0) {
        workspace.SetLanes(static_cast<int>(state.range(2)));
    }
    workspace.SetThreads(static_cast<int>(state.range(3)));
    const double nodes = static_cast<double>(workspace.Size());
    CQuadTree tree;
    double energy = 0.0;
    for (auto _ : state) {
        // One iteration: the cap is reached only by counting, so run the
        // iteration body through a workspace limited to one pass.
        workspace.IterateOnce(tree, 0.5, energy);
        benchmark::DoNotOptimize(energy);
    }
    state.counters["nodes"] = nodes;
    state.counters["lanes"] = workspace.Lanes();
    state.counters["ns_per_node"] =
        benchmark::Counter(nodes * static_cast<double>(state.iterations()) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_ForceLayout(benchmark::State& state) {
    const int kind = static_cast<int>(state.range(0));
    const int n = static_cast<int>(state.range(1));
    int iterations = 0;
    double nodes = 0.0;
    double seconds = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        CNetworkGraph g;
        CConnectedGraph* comp = Prepare(g, kind, n);
        comp->SetFixedLayoutFlag(true); // the radiant start is already applied
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        CForceWorkspace workspace(*comp, true);
        if (state.range(2) != 0) {
            workspace.SetLanes(static_cast<int>(state.range(2)));
        }
        CQuadTree tree;
        double energy = 0.0;
        iterations = workspace.Iterate(tree, energy);
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        nodes = static_cast<double>(workspace.Size());
        state.PauseTiming();
        g = CNetworkGraph();
        state.ResumeTiming();
    }
    state.counters["nodes"] = nodes;
    state.counters["iterations"] = iterations;
    state.counters["ns_per_node_iter"] =
        seconds * 1e9 / (nodes * iterations * static_cast<double>(state.iterations()));
}

} // namespace

// Real time: the force pass runs on several threads.
BENCHMARK(BM_ForceIteration)
    ->ArgsProduct({{0, 1}, {1000, 10000, 100000}, {1, 0}, {0}})
    ->Args({0, 100000, 1, 1})
    ->Args({0, 100000, 0, 1})
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(BM_ForceLayout)
    ->ArgsProduct({{0, 1}, {1000, 10000}, {1, 0}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(BM_ForceLayout)->Args({0, 100000, 0})->Unit(benchmark::kMillisecond)->Iterations(1);
