#pragma once

// The layout strategy behind --levels, --direction and --arrange-mode.

#include <netloom/netloom.h>

#include <map>
#include <set>
#include <unordered_map>
#include <vector>

namespace netloom_cli {

class CommandLineStrategy : public CLayoutStrategy {
public:
    // levels: level key to library node ids; empty for the library's own.
    CommandLineStrategy(const CNetworkGraph& graph, int direction, int arrangeMode,
                        std::map<int, std::vector<int>> levels)
        : m_graph(graph), m_iDirection(direction), m_iArrangeMode(arrangeMode),
          m_mapLevels(std::move(levels)) {}

    int GetArrangeMode() override { return m_iArrangeMode; }
    int GetDirection() override { return m_iDirection; }
    // The given levels restricted to the component, each node they leave out
    // one level below its nearest listed neighbour; a component they do not
    // mention gets the levels the layout would choose by itself.
    bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) override;

    // Nodes placed next to a listed neighbour so far.
    std::size_t PlacedByNeighbour() const { return m_placed; }

private:
    const CConnectedGraph* ComponentOf(int nodeId);

    const CNetworkGraph& m_graph;
    int m_iDirection;
    int m_iArrangeMode;
    std::map<int, std::vector<int>> m_mapLevels;
    std::unordered_map<int, const CConnectedGraph*> m_components;
    std::size_t m_placed = 0;
};

} // namespace netloom_cli
