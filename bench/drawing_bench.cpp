// Drawing geometry of large graphs: the scale search, box sizes and edge
// paths (MakeDrawing: for a hierarchy, the routes are planned twice, once for
// the scale and once to draw), the crossing and bend counts, the whole SVG
// text, and the PNG painted by cairo, after the layout. Targets: a 2,000-node
// PNG well under 3 s, a 100,000-node one under 60 s (bench/drawing_sizes.sh
// times the whole tool with its memory). BM_DrawingBounds checks the bounds of
// the 100,000-node drawings of every layout type, too large for a unit test.

#include "layout_run.h"
#include "readers.h"
#include "support/generated_graphs.h"
#include "writers.h"

#include "front/route_counts.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>

namespace {

using namespace netloom_cli;

// A layered network of about n nodes (directed) or a sparse random graph, laid out.
struct Laid {
    FileGraph graph;
    LayoutResult result;
};

const Laid& Get(int type, int n) {
    static std::map<std::pair<int, int>, Laid> cache;
    auto it = cache.find({type, n});
    if (it != cache.end()) {
        return it->second;
    }
    const netloom_test::EdgeList list = type == 8 ? netloom_test::LayeredDag(n / 30, 30, n, 5)
                                                  : netloom_test::RandomSparse(n, n / 2, 5);
    std::string text;
    for (const auto& [a, b] : list.edges) {
        text += std::to_string(a) + " " + std::to_string(b) + "\n";
    }
    Laid laid{ReadText("bench", text, Format::EdgeList), {}};
    laid.graph.directed = true;
    LayoutOptions options;
    options.type = type;
    options.progress = ProgressMode::Never;
    laid.result = RunLayout(laid.graph, options);
    return cache.emplace(std::make_pair(type, n), std::move(laid)).first->second;
}

// A scale-free graph of n nodes (undirected), laid out.
const Laid& GetScaleFree(int type, int n) {
    static std::map<std::pair<int, int>, Laid> cache;
    auto it = cache.find({type, n});
    if (it != cache.end()) {
        return it->second;
    }
    std::mt19937 rng(34);
    std::string text;
    for (const auto& [a, b] : netloom_test::ScaleFree(n, rng).edges) {
        text += std::to_string(a) + " " + std::to_string(b) + "\n";
    }
    Laid laid{ReadText("bench", text, Format::EdgeList), {}};
    LayoutOptions options;
    options.type = type;
    options.progress = ProgressMode::Never;
    laid.result = RunLayout(laid.graph, options);
    return cache.emplace(std::make_pair(type, n), std::move(laid)).first->second;
}

void BM_MakeDrawing(benchmark::State& state, int type) {
    const Laid& laid = Get(type, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(laid.result.MakeDrawing());
    }
}

void BM_CountRoutes(benchmark::State& state, int type) {
    const Laid& laid = Get(type, static_cast<int>(state.range(0)));
    const Drawing d = laid.result.MakeDrawing();
    for (auto _ : state) {
        benchmark::DoNotOptimize(CountRoutes(laid.result.request, d));
    }
}

void BM_WriteSvg(benchmark::State& state, int type) {
    const Laid& laid = Get(type, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(WriteSvg(laid.graph, laid.result));
    }
}

void BM_RenderPng(benchmark::State& state, int type) {
    const Laid& laid = Get(type, static_cast<int>(state.range(0)));
    const Drawing d = laid.result.MakeDrawing();
    for (auto _ : state) {
        benchmark::DoNotOptimize(RenderPng(laid.graph, laid.result, d));
    }
    state.counters["megapixels"] = d.width * d.scale * d.height * d.scale / 1e6;
}

// The largest case of the drawing bounds: a picture of at most
// kMaxDrawingSide pixels a side and about kMaxDrawingPixels in all, with
// labels exactly when their text is at least kReadableText pixels high. A
// drawing outside them fails the run; the counters give its size. Scale-free
// graphs, as bench/drawing_sizes.sh draws: the tree layout of the random
// directed graphs above runs out of memory at this size.
void BM_DrawingBounds(benchmark::State& state, int type) {
    const Laid& laid = GetScaleFree(type, static_cast<int>(state.range(0)));
    Drawing d;
    for (auto _ : state) {
        d = laid.result.MakeDrawing();
    }
    const double w = d.width * d.scale, h = d.height * d.scale;
    state.counters["width"] = std::ceil(w);
    state.counters["height"] = std::ceil(h);
    state.counters["labels"] = d.labels;
    state.counters["dots"] = d.dots;
    if (std::max(std::ceil(w), std::ceil(h)) > kMaxDrawingSide ||
        w * h > kMaxDrawingPixels * (1 + 1e-9) ||
        d.labels != (d.fontSize * d.scale >= kReadableText)) {
        state.SkipWithError("the drawing is out of bounds");
    }
}

BENCHMARK_CAPTURE(BM_MakeDrawing, hierarchy, 8)
    ->Arg(3000)
    ->Arg(30000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CountRoutes, hierarchy, 8)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_MakeDrawing, force, 1)
    ->Arg(3000)
    ->Arg(30000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_MakeDrawing, radial, 4)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_WriteSvg, hierarchy, 8)->Arg(3000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DrawingBounds, force, 1)->Arg(100000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_DrawingBounds, tree, 2)->Arg(100000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_DrawingBounds, radial, 4)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_DrawingBounds, hierarchy, 8)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_RenderPng, force, 1)->Arg(2000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_RenderPng, hierarchy, 8)->Arg(2000)->Unit(benchmark::kMillisecond);

} // namespace
