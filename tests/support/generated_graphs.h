#pragma once

// Graph generators shared by the tests and the benchmarks. Deterministic for a
// given generator state, so failures reproduce.

#include <netloom/netloom.h>

#include <cstdint>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace netloom_test {

struct EdgeList {
    int nodeCount = 0;
    std::vector<std::pair<int, int>> edges; // node ids 1..nodeCount
};

// A random spanning tree over n nodes plus `extra` random edges (self-loops and
// parallel edges possible).
inline EdgeList RandomSparse(int n, int extra, std::uint32_t seedValue) {
    std::mt19937 rng(seedValue);
    EdgeList g;
    g.nodeCount = n;
    for (int v = 2; v <= n; ++v) {
        std::uniform_int_distribution<int> pick(1, v - 1);
        g.edges.emplace_back(pick(rng), v);
    }
    std::uniform_int_distribution<int> any(1, n);
    for (int i = 0; i < extra; ++i) {
        g.edges.emplace_back(any(rng), any(rng));
    }
    return g;
}

// A scale-free graph grown by preferential attachment: each node after the
// first two joins two earlier nodes picked in proportion to their degree.
inline EdgeList ScaleFree(int n, std::mt19937& rng) {
    EdgeList g;
    g.nodeCount = n;
    g.edges.emplace_back(1, 2);
    std::vector<int> ends = {1, 2};
    for (int v = 3; v <= n; ++v) {
        for (int k = 0; k < 2; ++k) {
            const int u = ends[std::uniform_int_distribution<std::size_t>(0, ends.size() - 1)(rng)];
            g.edges.emplace_back(v, u);
            ends.push_back(u);
            ends.push_back(v);
        }
    }
    return g;
}

// A rows x cols grid, nodes numbered row by row from 1.
inline EdgeList Grid(int rows, int cols) {
    EdgeList g;
    g.nodeCount = rows * cols;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            const int id = r * cols + c + 1;
            if (c + 1 < cols) {
                g.edges.emplace_back(id, id + 1);
            }
            if (r + 1 < rows) {
                g.edges.emplace_back(id, id + cols);
            }
        }
    }
    return g;
}

// A DAG-like layered network: `layers` layers of `width` nodes, each node below
// the first joined to a random node of the layer above, plus `extra` random
// edges between consecutive layers.
inline EdgeList LayeredDag(int layers, int width, int extra, std::uint32_t seedValue) {
    std::mt19937 rng(seedValue);
    EdgeList g;
    g.nodeCount = layers * width;
    std::uniform_int_distribution<int> column(0, width - 1);
    auto id = [width](int layer, int col) { return layer * width + col + 1; };
    for (int layer = 1; layer < layers; ++layer) {
        for (int col = 0; col < width; ++col) {
            g.edges.emplace_back(id(layer - 1, column(rng)), id(layer, col));
        }
    }
    std::uniform_int_distribution<int> upper(0, layers - 2);
    for (int i = 0; i < extra; ++i) {
        const int layer = upper(rng);
        g.edges.emplace_back(id(layer, column(rng)), id(layer + 1, column(rng)));
    }
    return g;
}

// A hub over 2k uplinks and k switches, each switch on two uplinks of its own
// and joined to every other switch (3k + 1 nodes): every switch has k - 1
// same-level neighbours under other parents.
inline EdgeList HubGroups(int k) {
    EdgeList g;
    g.nodeCount = 1 + 3 * k;
    for (int s = 0; s < k; ++s) {
        const int sw = 2 + 2 * k + s;
        g.edges.emplace_back(1, 2 + 2 * s);
        g.edges.emplace_back(1, 3 + 2 * s);
        g.edges.emplace_back(2 + 2 * s, sw);
        g.edges.emplace_back(3 + 2 * s, sw);
        for (int t = s + 1; t < k; ++t) {
            g.edges.emplace_back(sw, 2 + 2 * k + t);
        }
    }
    return g;
}

// Fills a graph: nodes at a deterministic spread of positions, edges with ids
// 1.. in list order, length 40, ports 0.
inline void Fill(CNetworkGraph& graph, const EdgeList& list, bool rejectDuplicate = false) {
    for (int id = 1; id <= list.nodeCount; ++id) {
        graph.AddNode(id, static_cast<double>((id * 37) % 1000),
                      static_cast<double>((id * 91) % 1000), false);
    }
    int edgeId = 1;
    for (const auto& e : list.edges) {
        graph.AddEdge(edgeId++, e.first, e.second, 40, 0, 0, rejectDuplicate);
    }
}

// Every node's position by id.
using Positions = std::map<int, std::pair<double, double>>;
inline Positions Read(const CNetworkGraph& g) {
    Positions p;
    for (const auto& entry : g.GetNodeMap()) {
        p[entry.first] = {entry.second->X(), entry.second->Y()};
    }
    return p;
}

} // namespace netloom_test
