#pragma once

// The layout strategy behind --levels, --direction and --arrange-mode.

#include <netloom/netloom.h>

#include <map>
#include <set>
#include <vector>

namespace netloom_cli {

class CommandLineStrategy : public CLayoutStrategy {
public:
    // levels: level key to library node ids; empty when no --levels file.
    CommandLineStrategy(const CNetworkGraph& graph, int layoutType, int direction, int arrangeMode,
                        std::map<int, std::vector<int>> levels)
        : m_graph(graph), m_iLayoutType(layoutType), m_iDirection(direction),
          m_iArrangeMode(arrangeMode), m_mapLevels(std::move(levels)) {}

    int GetArrangeMode() override { return m_iArrangeMode; }
    int GetDirection() override { return m_iDirection; }
    // The file's levels restricted to the component; a component the file does
    // not mention gets the levels the layout would choose by itself.
    bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) override;

private:
    bool DefaultLevels(const std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) const;
    std::vector<int> BreadthFirstLevels(const std::set<int>& nodeIds,
                                        const std::vector<int>& roots) const;

    const CNetworkGraph& m_graph;
    int m_iLayoutType;
    int m_iDirection;
    int m_iArrangeMode;
    std::map<int, std::vector<int>> m_mapLevels;
};

} // namespace netloom_cli
