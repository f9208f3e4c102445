// The cost of a progress monitor. BM_LayoutWithMonitor: whole force layouts of
// a sparse graph (random spanning tree plus n/2 extra edges) without a monitor
// (0), with one that copies the record and answers "go on" (1), and with one
// that also takes a lock as the tool's progress line does (2); counters: calls
// and work units (the same with and without a monitor). BM_MonitorCall: one report of a force
// iteration through the monitor, the cost a layout pays per call.

#include <netloom/netloom.h>

#include "pipeline/progress_report.h"
#include "support/generated_graphs.h"

#include <benchmark/benchmark.h>

#include <mutex>

namespace {

netloom::ProgressMonitor MakeMonitor(int mode, netloom::LayoutProgress& last, std::mutex& lock,
                                     long& calls) {
    if (mode == 0) {
        return nullptr;
    }
    return [mode, &last, &lock, &calls](const netloom::LayoutProgress& p) {
        ++calls;
        if (mode == 2) {
            const std::lock_guard<std::mutex> guard(lock);
            last = p;
        } else {
            last = p;
        }
        return false;
    };
}

void BM_LayoutWithMonitor(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    netloom::LayoutProgress last;
    std::mutex lock;
    long calls = 0;
    for (auto _ : state) {
        state.PauseTiming();
        CNetworkGraph g;
        netloom_test::Fill(g, netloom_test::RandomSparse(n, n / 2, 12345));
        g.SetProgressMonitor(MakeMonitor(static_cast<int>(state.range(1)), last, lock, calls));
        calls = 0;
        state.ResumeTiming();
        g.Layout(40, CNetworkGraph::m_iForceDirectedLayout, 200);
        benchmark::DoNotOptimize(g.GetLayoutWorkDone());
        state.PauseTiming();
        state.counters["work"] = static_cast<double>(g.GetLayoutWorkDone());
        g = CNetworkGraph();
        state.ResumeTiming();
    }
    state.counters["calls"] = static_cast<double>(calls);
}

void BM_MonitorCall(benchmark::State& state) {
    netloom::LayoutProgress last;
    std::mutex lock;
    long calls = 0;
    const netloom::ProgressMonitor monitor =
        MakeMonitor(static_cast<int>(state.range(0)), last, lock, calls);
    netloom::ProgressReport report(monitor, 1, 1);
    report.BeginComponent(0, 1);
    int iteration = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(report.ForceIteration(++iteration, 1.0, 0.5, 100000, false));
    }
}

} // namespace

BENCHMARK(BM_LayoutWithMonitor)
    ->ArgsProduct({{10000}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();
BENCHMARK(BM_LayoutWithMonitor)
    ->ArgsProduct({{100000}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();
BENCHMARK(BM_MonitorCall)->Arg(1)->Arg(2);
