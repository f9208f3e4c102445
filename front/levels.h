#pragma once

// Levels of the layered layouts for every front end: by edge direction, or
// given by the caller and completed per component, handed to the library
// through one strategy class.

#include <netloom/netloom.h>

#include <cstddef>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace netloom::front {

// Levels by edge direction, for nodes 0..n-1 and edges (source, target): each
// node's level is the length of the longest directed path from a source to it,
// after cycles are broken by reversing the edges that a depth-first search
// (nodes and edges in the given order) finds going back. Self-loops count for
// nothing.
std::vector<int> LongestPathLevels(std::size_t n,
                                   const std::vector<std::pair<std::size_t, std::size_t>>& edges);

// Completes a strategy's levels for the components of one graph during its
// layout: the given levels restricted to the component (a node's first listing
// wins); each node they leave out one level below its nearest listed neighbour
// (breadth first from the listed nodes in ascending id, edges in the order they
// were added); a component they do not mention gets the levels the layout would
// choose by itself.
class LevelCompleter {
public:
    LevelCompleter(const CNetworkGraph& graph, std::map<int, std::vector<int>> given)
        : m_graph(graph), m_given(std::move(given)) {}

    bool Complete(const std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels);
    // Nodes placed next to a listed neighbour so far.
    std::size_t Placed() const { return m_placed; }

private:
    const CConnectedGraph* ComponentOf(int nodeId);

    const CNetworkGraph& m_graph;
    std::map<int, std::vector<int>> m_given;
    std::unordered_map<int, const CConnectedGraph*> m_components;
    std::size_t m_placed = 0;
};

// A strategy that hands every component the given levels, completed as above
// (none given: the layout's own levels), with a fixed direction and arrange
// mode.
class GivenLevelsStrategy : public CLayoutStrategy {
public:
    GivenLevelsStrategy(const CNetworkGraph& graph, std::map<int, std::vector<int>> levels,
                        int direction, int arrangeMode)
        : m_completer(graph, std::move(levels)), m_iDirection(direction),
          m_iArrangeMode(arrangeMode) {}
    int GetArrangeMode() override { return m_iArrangeMode; }
    int GetDirection() override { return m_iDirection; }
    bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) override {
        return m_completer.Complete(nodeIds, levels);
    }
    std::size_t Placed() const { return m_completer.Placed(); }

private:
    LevelCompleter m_completer;
    int m_iDirection;
    int m_iArrangeMode;
};

// Library node ids (index + 1) by level key.
using LibraryLevels = std::map<int, std::vector<int>>;

// The levels by edge direction of nodes 0..n-1, as library ids by level.
LibraryLevels DirectionLevels(std::size_t n, const std::vector<std::size_t>& sources,
                              const std::vector<std::size_t>& targets);

} // namespace netloom::front
