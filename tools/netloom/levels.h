#pragma once

// Levels for the layered layouts: a levels file, or the levels that edge
// direction gives a directed input.

#include "graph_file.h"

#include <map>
#include <string>
#include <vector>

namespace netloom_cli {

// Level key to node indices.
using LevelMap = std::map<int, std::vector<std::size_t>>;

// Either "KEY: ID ID ..." lines or a JSON object {"KEY": [ID, ...]}.
LevelMap ReadLevelsFile(const std::string& path, const FileGraph& graph);

// Every node's level is the length of the longest directed path from a source
// to it, after cycles are broken by reversing the edges that a depth-first
// search (nodes and edges in file order) finds going back. Self-loops count
// for nothing.
LevelMap DirectionLevels(const FileGraph& graph);

} // namespace netloom_cli
