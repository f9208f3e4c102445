#include "levels.h"

#include <cstdlib>
#include <sstream>

namespace netloom_cli {

LevelMap ReadLevelsFile(const std::string& path, const FileGraph& graph) {
    const std::string text = ReadWholeFile(path);
    LevelMap levels;
    auto lookup = [&](const std::string& key, int line, int column) {
        const std::size_t* index = graph.FindNode(key);
        if (index == nullptr) {
            throw InputError(path, line, column, "\"" + key + "\" is not a node of " + graph.path);
        }
        return *index;
    };
    auto levelKey = [&](const std::string& key, int line, int column) {
        char* end = nullptr;
        const long value = std::strtol(key.c_str(), &end, 10);
        if (key.empty() || *end != '\0' || value < -1000000000L || value > 1000000000L) {
            throw InputError(path, line, column, "level key \"" + key + "\" is not an integer");
        }
        return static_cast<int>(value);
    };

    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && text[first] == '{') {
        Json doc;
        try {
            doc = Json::parse(text);
        } catch (const Json::parse_error& e) {
            const TextPosition pos = PositionAt(text, e.byte > 0 ? e.byte - 1 : 0);
            throw InputError(path, pos.line, pos.column, "malformed JSON in the levels file");
        }
        for (const auto& [key, ids] : doc.items()) {
            const int level = levelKey(key, 0, 0);
            if (!ids.is_array()) {
                throw InputError(path, 0, 0, "level \"" + key + "\" is not an array of node ids");
            }
            for (const auto& id : ids) {
                levels[level].push_back(lookup(MakeId(id).key, 0, 0));
            }
        }
        return levels;
    }

    std::istringstream in(text);
    std::string line;
    int lineNumber = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        const std::size_t hash = line.find('#');
        if (hash != std::string::npos) {
            line.erase(hash);
        }
        const std::size_t colon = line.find(':');
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        if (colon == std::string::npos) {
            throw InputError(path, lineNumber, 0, "expected \"LEVEL: NODE NODE ...\"");
        }
        std::string key = line.substr(0, colon);
        key.erase(0, key.find_first_not_of(" \t"));
        key.erase(key.find_last_not_of(" \t") + 1);
        const int level = levelKey(key, lineNumber, 1);
        std::vector<std::size_t>& ids = levels[level];
        std::size_t i = colon + 1;
        while (i < line.size()) {
            const std::size_t start = line.find_first_not_of(" \t\r,", i);
            if (start == std::string::npos) {
                break;
            }
            std::size_t end = line.find_first_of(" \t\r,", start);
            if (end == std::string::npos) {
                end = line.size();
            }
            std::string token = line.substr(start, end - start);
            if (token.size() >= 2 && token.front() == '"' && token.back() == '"') {
                token = token.substr(1, token.size() - 2);
            }
            ids.push_back(lookup(token, lineNumber, static_cast<int>(start) + 1));
            i = end;
        }
    }
    return levels;
}

LevelMap DirectionLevels(const FileGraph& graph) {
    const std::size_t n = graph.nodes.size();
    std::vector<std::vector<std::size_t>> out(n); // edge indices by source, in file order
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        if (graph.edges[j].source != graph.edges[j].target) {
            out[graph.edges[j].source].push_back(j);
        }
    }
    // Depth-first search without recursion; an edge into a node still on the
    // stack goes back and is reversed.
    enum : char { kNew, kOnStack, kDone };
    std::vector<char> state(n, kNew);
    std::vector<char> reversed(graph.edges.size(), 0);
    struct Frame {
        std::size_t node;
        std::size_t next;
    };
    std::vector<Frame> stack;
    for (std::size_t start = 0; start < n; ++start) {
        if (state[start] != kNew) {
            continue;
        }
        state[start] = kOnStack;
        stack.push_back({start, 0});
        while (!stack.empty()) {
            Frame& top = stack.back();
            if (top.next == out[top.node].size()) {
                state[top.node] = kDone;
                stack.pop_back();
                continue;
            }
            const std::size_t j = out[top.node][top.next++];
            const std::size_t to = graph.edges[j].target;
            if (state[to] == kOnStack) {
                reversed[j] = 1;
            } else if (state[to] == kNew) {
                state[to] = kOnStack;
                stack.push_back({to, 0});
            }
        }
    }
    // Longest paths over the acyclic result, sources first (Kahn's order).
    std::vector<std::vector<std::size_t>> next(n);
    std::vector<std::size_t> indegree(n, 0);
    for (std::size_t j = 0; j < graph.edges.size(); ++j) {
        const FileEdge& e = graph.edges[j];
        if (e.source == e.target) {
            continue;
        }
        const std::size_t from = reversed[j] ? e.target : e.source;
        const std::size_t to = reversed[j] ? e.source : e.target;
        next[from].push_back(to);
        ++indegree[to];
    }
    std::vector<int> level(n, 0);
    std::vector<std::size_t> queue;
    for (std::size_t v = 0; v < n; ++v) {
        if (indegree[v] == 0) {
            queue.push_back(v);
        }
    }
    for (std::size_t k = 0; k < queue.size(); ++k) {
        const std::size_t v = queue[k];
        for (std::size_t w : next[v]) {
            level[w] = std::max(level[w], level[v] + 1);
            if (--indegree[w] == 0) {
                queue.push_back(w);
            }
        }
    }
    LevelMap levels;
    for (std::size_t v = 0; v < n; ++v) {
        levels[level[v]].push_back(v);
    }
    return levels;
}

} // namespace netloom_cli
