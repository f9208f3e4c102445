#pragma once

// Levels for the layered layouts read from a levels file.

#include "graph_file.h"

#include <map>
#include <string>
#include <vector>

namespace netloom_cli {

// Level key to node indices.
using LevelMap = std::map<int, std::vector<std::size_t>>;

// Either "KEY: ID ID ..." lines or a JSON object {"KEY": [ID, ...]}.
LevelMap ReadLevelsFile(const std::string& path, const FileGraph& graph);

} // namespace netloom_cli
