#include "result.h"

namespace netloom::front {

std::array<const std::vector<int>*, 4> SideLists(const CNode& node) {
    return {&node.GetUpsideSubs(), &node.GetDownsideSubs(), &node.GetRightsideSubs(),
            &node.GetLeftsideSubs()};
}

void CollectResult(LibraryGraph& lib, std::size_t m, Result& result) {
    const std::size_t n = lib.nodeCount;
    CNetworkGraph& graph = lib.graph;
    result.x.resize(n);
    result.y.resize(n);
    result.row.resize(n);
    result.col.resize(n);
    result.baseRow.resize(n);
    result.component.assign(n, 0);
    result.sideCounts.resize(n);
    result.ports.resize(n);
    for (const CConnectedGraph* component : graph.GetConnectedGraphs()) {
        for (const auto& entry : component->GetNodeMap()) {
            result.component[static_cast<std::size_t>(entry.first - 1)] = component->GetIndex();
        }
        ++result.componentCount;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const CNode* node = graph.GetNode(static_cast<int>(i + 1));
        graph.GetNodePosition(static_cast<int>(i + 1), result.x[i], result.y[i]);
        graph.GetNodePhyPosition(static_cast<int>(i + 1), result.row[i], result.col[i]);
        result.baseRow[i] = node->GetNodePos().nBaseRow;
        const auto sides = SideLists(*node);
        for (int side = 0; side < 4; ++side) {
            const std::vector<int>& list = *sides[static_cast<std::size_t>(side)];
            result.sideCounts[i][static_cast<std::size_t>(side)] = static_cast<int>(list.size());
            for (std::size_t slot = 0; slot < list.size(); ++slot) {
                if (const LibraryGraph::Port* port = lib.PortOf(list[slot])) {
                    result.ports[i].push_back(
                        NodePort{side, static_cast<int>(slot), port->name, port->Edges()});
                }
            }
        }
    }
    result.sourcePlace.resize(m);
    result.targetPlace.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        const std::size_t sourceNode = lib.PortOf(lib.sourcePorts[j])->node;
        const std::size_t targetNode = lib.PortOf(lib.targetPorts[j])->node;
        PortPlace& s = result.sourcePlace[j];
        PortPlace& t = result.targetPlace[j];
        graph.GetSubNodePosition(static_cast<int>(sourceNode + 1), lib.sourcePorts[j], s.side,
                                 s.slot);
        graph.GetSubNodePosition(static_cast<int>(targetNode + 1), lib.targetPorts[j], t.side,
                                 t.slot);
    }
    const std::vector<int>& sorted = graph.GetSortedEdges();
    const std::vector<int>& sortedIn = graph.GetSortedEdgesInGraph();
    for (std::size_t k = 0; k < sorted.size() && k < sortedIn.size(); ++k) {
        if (sorted[k] >= 1 && static_cast<std::size_t>(sorted[k]) <= m) {
            result.edgeOrder.emplace_back(static_cast<std::size_t>(sorted[k] - 1), sortedIn[k]);
        }
    }
}

} // namespace netloom::front
