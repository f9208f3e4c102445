// Drives the library with the fuzzer's bytes: graphs built through the public
// interface (ids of any sign, shared ports, parallel edges, self-loops, fixed
// nodes, extreme coordinates), edits between layouts, every layout type,
// random strategies, the fixed-layout flag, column limits and extreme
// distances. After each layout: no NaN where the host gave none, and stacked
// components do not overlap.

#include <netloom/netloom.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

namespace {

class FuzzStrategy : public CLayoutStrategy {
public:
    int GetArrangeMode() override { return m_mode; }
    int GetDirection() override { return m_direction; }
    bool GetLevels(std::set<int>&, std::map<int, std::vector<int>>& levels) override {
        levels = m_levels;
        return m_accept;
    }
    int m_mode = 0;
    int m_direction = 1;
    bool m_accept = true;
    std::map<int, std::vector<int>> m_levels;
};

double Coordinate(FuzzedDataProvider& in, bool& wild) {
    switch (in.ConsumeIntegralInRange(0, 9)) {
    case 0:
        wild = true;
        return in.PickValueInArray({1e300, -1e300, 1e18, -3e9});
    case 1:
        wild = true;
        return in.PickValueInArray({NAN, INFINITY, -INFINITY});
    default:
        return in.ConsumeFloatingPointInRange(-2000.0, 2000.0);
    }
}

void Fail(const char* what) {
    std::fprintf(stderr, "layout_fuzzer: %s\n", what);
    std::abort();
}

// Components are stacked top to bottom without overlap (fixed layout off).
void CheckResult(const CNetworkGraph& graph, bool wild, bool fixedLayout, int distance) {
    if (wild || std::abs(distance) > 100000) {
        return;
    }
    // Rectangles saturate to the int range, so components beyond it (left
    // there by an earlier layout with an extreme distance) cannot be stacked.
    bool inIntRange = true;
    for (const auto& entry : graph.GetNodeMap()) {
        const double x = entry.second->X();
        const double y = entry.second->Y();
        if (std::isnan(x) || std::isnan(y)) {
            Fail("NaN position");
        }
        inIntRange = inIntRange && std::abs(x) < 2e9 && std::abs(y) < 2e9;
    }
    if (fixedLayout || !inIntRange) {
        return;
    }
    int previousBottom = -2147483647;
    for (const CConnectedGraph* comp : graph.GetConnectedGraphs()) {
        const CRect r = comp->GetBoundRect();
        if (r.top < previousBottom) {
            Fail("components overlap");
        }
        previousBottom = r.bottom;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    CNetworkGraph graph;
    FuzzStrategy strategy;
    bool wild = false;
    std::vector<int> ids;

    const int idLow = in.ConsumeIntegralInRange(-20, 1);
    const int nodes = in.ConsumeIntegralInRange(0, 48);
    for (int i = 0; i < nodes; ++i) {
        const int id = in.ConsumeIntegralInRange(idLow, 60);
        const double x = Coordinate(in, wild);
        const double y = Coordinate(in, wild);
        if (graph.AddNode(id, x, y, in.ConsumeIntegralInRange(0, 7) == 0)) {
            ids.push_back(id);
        }
    }
    auto anyId = [&]() {
        return ids.empty() ? 0 : ids[in.ConsumeIntegralInRange<std::size_t>(0, ids.size() - 1)];
    };
    const int edges = in.ConsumeIntegralInRange(0, 96);
    for (int i = 0; i < edges; ++i) {
        graph.AddEdge(in.ConsumeIntegralInRange(-5, 200), anyId(), anyId(),
                      in.ConsumeIntegralInRange(-10, 400), in.ConsumeIntegralInRange(-3, 12),
                      in.ConsumeIntegralInRange(-3, 12), in.ConsumeBool());
    }

    int distance = 40;
    bool fixedLayout = false;
    const int steps = in.ConsumeIntegralInRange(1, 5);
    for (int step = 0; step < steps && in.remaining_bytes() > 0; ++step) {
        switch (in.ConsumeIntegralInRange(0, 6)) {
        case 0:
            graph.DeleteNode(anyId());
            break;
        case 1:
            graph.DeleteEdge(in.ConsumeIntegralInRange(-5, 200));
            break;
        case 2:
            fixedLayout = in.ConsumeBool();
            graph.SetFixedLayoutFlag(fixedLayout);
            graph.SetMaxColCount(in.ConsumeIntegralInRange(-2, 8));
            break;
        case 3: {
            strategy.m_levels.clear();
            const int keys = in.ConsumeIntegralInRange(0, 6);
            for (int k = 0; k < keys; ++k) {
                auto& level = strategy.m_levels[in.ConsumeIntegralInRange(-3, 10)];
                const int count = in.ConsumeIntegralInRange(0, 8);
                for (int c = 0; c < count; ++c) {
                    level.push_back(in.ConsumeBool() ? anyId()
                                                     : in.ConsumeIntegralInRange(-30, 80));
                }
            }
            strategy.m_mode = in.ConsumeIntegralInRange(0, 3);
            strategy.m_direction = in.ConsumeIntegralInRange(-1, 5);
            strategy.m_accept = in.ConsumeIntegralInRange(0, 5) != 0;
            graph.SetLayoutStrategy(in.ConsumeBool() ? &strategy : nullptr);
            break;
        }
        default: {
            distance = in.PickValueInArray({40, 40, 1, 0, -5, 200, 100000, 2147483647});
            const int type = in.PickValueInArray({1, 2, 4, 8, 8, 2, 3, 0});
            const int spacing = in.PickValueInArray({200, 80, 0, -40, 100000});
            graph.Layout(distance, type, spacing);
            CheckResult(graph, wild, fixedLayout, distance);
            break;
        }
        }
    }
    return 0;
}
