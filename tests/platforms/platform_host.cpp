// Lays out one corpus with every layout type and several distances and prints
// every bit of the results: positions as the hex of the doubles, grid cells,
// port sides and slots, edge order, bounds and the layout parameters as the
// host reads them. scripts/test-platforms.sh compares the output of each
// target with the native build's.
//
//   platform_host GRAPH-FILE...
//
// A graph file has one edge a line, "FROM TO [LENGTH]", and these lines:
//   @node NAME X Y FIXED   a node's start position, fixed when FIXED is 1
//   @threads N             the force layout's threads (default 1)
//   @force-only            lay the graph out with the force layout only
// '#' starts a comment. Nodes take ids 1, 2, ... in the order they appear.

#include <netloom/netloom.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct GraphFile {
    std::string name;
    std::vector<double> x, y; // start positions, one per node (ids 1..n)
    std::vector<bool> fixed;
    struct Link {
        int from, to, length;
    };
    std::vector<Link> links;
    int threads = 1;
    bool forceOnly = false;
};

std::uint64_t Bits(double v) {
    std::uint64_t b = 0;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

bool ReadGraph(const char* path, GraphFile& graphFile) {
    std::ifstream in(path);
    if (!in) {
        return false;
    }
    std::map<std::string, int> ids;
    auto id = [&](const std::string& key) {
        auto found = ids.emplace(key, static_cast<int>(ids.size()) + 1);
        if (found.second) {
            graphFile.x.push_back(0.0);
            graphFile.y.push_back(0.0);
            graphFile.fixed.push_back(false);
        }
        return found.first->second;
    };
    graphFile.name = path;
    graphFile.name.erase(0, graphFile.name.find_last_of("/\\") + 1);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string a, b;
        if (!(words >> a)) {
            continue;
        }
        if (a == "@node") {
            int fixed = 0;
            words >> b;
            const int v = id(b) - 1;
            words >> graphFile.x[v] >> graphFile.y[v] >> fixed;
            graphFile.fixed[v] = fixed != 0;
        } else if (a == "@threads") {
            words >> graphFile.threads;
        } else if (a == "@force-only") {
            graphFile.forceOnly = true;
        } else if (words >> b) {
            int length = 40;
            words >> length;
            const int from = id(a);
            graphFile.links.push_back({from, id(b), length});
        }
    }
    return true;
}

void Run(const GraphFile& graphFile, int type, int distance) {
    // The parameters as a host writes them: Layout must overwrite the distance.
    g_dLayoutDistance = 1.0;
    CNetworkGraph graph;
    graph.SetLayoutThreads(graphFile.threads);
    for (std::size_t v = 0; v < graphFile.x.size(); ++v) {
        graph.AddNode(static_cast<int>(v) + 1, graphFile.x[v], graphFile.y[v], graphFile.fixed[v]);
    }
    int edgeId = 0;
    for (const GraphFile::Link& link : graphFile.links) {
        ++edgeId;
        graph.AddEdge(edgeId, link.from, link.to, link.length, 100 * link.from + edgeId,
                      100 * link.to + edgeId, edgeId % 2 == 0);
    }
    graph.Layout(distance, type, 3 * distance);

    std::printf("graph %s type %d distance %d work %" PRId64 "\n", graphFile.name.c_str(), type,
                distance, graph.GetLayoutWorkDone());
    std::printf("params %016" PRIx64 " %016" PRIx64 " %016" PRIx64 " %016" PRIx64 "\n",
                Bits(g_dLayoutDistance), Bits(g_dLayoutDistanceSqr), Bits(g_dColumnSpacing),
                Bits(g_dLayerSpacing));
    for (const auto& entry : graph.GetNodeMap()) {
        double x = 0.0;
        double y = 0.0;
        int row = -1;
        int col = -1;
        graph.GetNodePosition(entry.first, x, y);
        graph.GetNodePhyPosition(entry.first, row, col);
        std::printf("n %d %016" PRIx64 " %016" PRIx64 " %d %d\n", entry.first, Bits(x), Bits(y),
                    row, col);
    }
    for (const auto& entry : graph.GetEdgeMap()) {
        const CEdge* edge = entry.second;
        int side[2] = {-1, -1};
        int slot[2] = {-1, -1};
        graph.GetSubNodePosition(edge->GetSourceNode()->GetID(), edge->GetSourceSubNodeID(),
                                 side[0], slot[0]);
        graph.GetSubNodePosition(edge->GetDestNode()->GetID(), edge->GetDestSubNodeID(), side[1],
                                 slot[1]);
        std::printf("e %d %d %d %d %d\n", entry.first, side[0], slot[0], side[1], slot[1]);
    }
    std::printf("order");
    for (int id : graph.GetSortedEdges()) {
        std::printf(" %d", id);
    }
    std::printf("\nin-graph");
    for (int index : graph.GetSortedEdgesInGraph()) {
        std::printf(" %d", index);
    }
    const CRect bounds = graph.GetBoundRect();
    std::printf("\nbounds %d %d %d %d\n", bounds.left, bounds.top, bounds.right, bounds.bottom);
}

} // namespace

int main(int argc, char** argv) {
    std::vector<GraphFile> corpus;
    for (int i = 1; i < argc; ++i) {
        GraphFile graphFile;
        if (!ReadGraph(argv[i], graphFile)) {
            std::fprintf(stderr, "platform_host: cannot read %s\n", argv[i]);
            return 2;
        }
        corpus.push_back(graphFile);
    }
    const int types[] = {CNetworkGraph::m_iForceDirectedLayout, CNetworkGraph::m_iTreeLayout,
                         CNetworkGraph::m_iRadiantLayout, CNetworkGraph::m_iHierarchyLayout};
    const int distances[] = {30, 40, 75};
    for (const GraphFile& graphFile : corpus) {
        for (int type : types) {
            if (graphFile.forceOnly && type != CNetworkGraph::m_iForceDirectedLayout) {
                continue;
            }
            for (int distance : distances) {
                Run(graphFile, type, distance);
            }
        }
    }
    return 0;
}
