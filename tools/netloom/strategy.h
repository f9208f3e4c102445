#pragma once

// The layout strategy behind --levels, --direction and --arrange-mode.

#include "level_rules.h"

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
        : m_iDirection(direction), m_iArrangeMode(arrangeMode),
          m_completer(graph, std::move(levels)) {}

    int GetArrangeMode() override { return m_iArrangeMode; }
    int GetDirection() override { return m_iDirection; }
    // The given levels completed for the component (LevelCompleter).
    bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) override;

    // Nodes placed next to a listed neighbour so far.
    std::size_t PlacedByNeighbour() const { return m_completer.Placed(); }

private:
    int m_iDirection;
    int m_iArrangeMode;
    LevelCompleter m_completer;
};

} // namespace netloom_cli
