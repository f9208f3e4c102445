// Built against an installed netloom: lays out a triangle and checks the result.
#include <netloom/netloom.h>

#include <cstdio>

int main() {
    CNetworkGraph graph;
    graph.AddNode(1, 0.0, 0.0, false);
    graph.AddNode(2, 50.0, 0.0, false);
    graph.AddNode(3, 0.0, 50.0, false);
    graph.AddEdge(1, 1, 2, 40, 0, 0, true);
    graph.AddEdge(2, 2, 3, 40, 0, 0, true);
    graph.AddEdge(3, 3, 1, 40, 0, 0, true);
    if (!graph.Layout(40, CNetworkGraph::m_iRadiantLayout, 200)) {
        return 1;
    }
    // Stacked components start near (100, 200); truncation toward zero of
    // fractional positions may shift the rectangle by one unit.
    const CRect bounds = graph.GetBoundRect();
    if (bounds.left < 99 || bounds.left > 100 || bounds.top < 199 || bounds.top > 200 ||
        g_dLayoutDistance != 40.0) {
        std::fprintf(stderr, "unexpected bounds %d %d\n", bounds.left, bounds.top);
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
