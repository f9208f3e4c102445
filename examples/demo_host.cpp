// A small host program: builds an office network, lays it out and prints every
// node's position and grid cell.
//
//   netloom_demo [type]    type: 1 force, 2 tree, 4 radiant, 8 hierarchy (default)

#include <netloom/netloom.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct Link {
    int id, from, to;
};

// Core router 1, two distribution switches, access switches and hosts, and a
// separate lab segment that forms a second component.
const int kNodes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 20, 21, 22};
const Link kLinks[] = {{1, 1, 2},   {2, 1, 3},  {3, 2, 4},    {4, 2, 5},   {5, 3, 6},
                       {6, 3, 7},   {7, 4, 8},  {8, 4, 9},    {9, 5, 10},  {10, 6, 11},
                       {11, 7, 12}, {12, 2, 3}, {13, 20, 21}, {14, 20, 22}};

} // namespace

int main(int argc, char** argv) {
    int type = CNetworkGraph::m_iHierarchyLayout;
    if (argc > 1) {
        char* end = nullptr;
        type = static_cast<int>(std::strtol(argv[1], &end, 10));
        if (end == argv[1] || *end != '\0') {
            std::fprintf(stderr, "netloom_demo: layout type must be a number (1, 2, 4 or 8)\n");
            return 2;
        }
    }

    CNetworkGraph graph;
    for (int id : kNodes) {
        graph.AddNode(id, 0.0, 0.0, false);
    }
    for (const Link& link : kLinks) {
        // Ports: 100 * node id + edge id, unique per edge end.
        graph.AddEdge(link.id, link.from, link.to, 40, 100 * link.from + link.id,
                      100 * link.to + link.id, true);
    }

    graph.Layout(40, type, 200);

    std::printf("layout type %d: %zu nodes, %zu edges\n", type, graph.GetNodeMap().size(),
                graph.GetEdgeMap().size());
    std::printf("%6s %12s %12s %5s %5s\n", "node", "x", "y", "row", "col");
    for (const auto& entry : graph.GetNodeMap()) {
        double x = 0.0;
        double y = 0.0;
        int row = 0;
        int col = 0;
        graph.GetNodePosition(entry.first, x, y);
        graph.GetNodePhyPosition(entry.first, row, col);
        std::printf("%6d %12.3f %12.3f %5d %5d\n", entry.first, x, y, row, col);
    }
    const CRect bounds = graph.GetBoundRect();
    std::printf("bounds: left %d top %d right %d bottom %d\n", bounds.left, bounds.top,
                bounds.right, bounds.bottom);
    return 0;
}
