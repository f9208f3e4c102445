#pragma once

// The order in which an ELK graph's nodes and edges are numbered: nodes depth
// first (a node, then its children), edges as the walk leaves the node that
// lists them (a node's children's edges before its own). The reader and the writer both walk it, so
// the writer finds each node and edge of a copy of the document by its number.

#include "graph_file.h"

#include <cstddef>
#include <vector>

namespace netloom_cli {

constexpr int kElkMaxDepth = 200;

template <class J> struct ElkWalk {
    std::vector<J*> nodes;
    std::vector<std::size_t> parents; // by node: its parent, or kElkRoot
    std::vector<J*> edges;
    std::vector<std::size_t> containers; // by edge: the node listing it, or kElkRoot
    int depth = 0;                       // levels of children
    bool tooDeep = false;
};

template <class J> void WalkElkLevel(J& element, std::size_t self, int level, ElkWalk<J>& walk) {
    if (level > kElkMaxDepth) {
        walk.tooDeep = true;
        return;
    }
    if (!element.is_object()) {
        return;
    }
    const auto children = element.find("children");
    if (children != element.end() && children->is_array() && !children->empty()) {
        walk.depth = std::max(walk.depth, level);
        for (J& child : *children) {
            const std::size_t index = walk.nodes.size();
            walk.nodes.push_back(&child);
            walk.parents.push_back(self);
            WalkElkLevel(child, index, level + 1, walk);
        }
    }
    const auto edges = element.find("edges");
    if (edges != element.end() && edges->is_array()) {
        for (J& edge : *edges) {
            walk.edges.push_back(&edge);
            walk.containers.push_back(self);
        }
    }
}

template <class J> ElkWalk<J> WalkElk(J& root) {
    ElkWalk<J> walk;
    WalkElkLevel(root, kElkRoot, 1, walk);
    return walk;
}

} // namespace netloom_cli
