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

} // namespace netloom_cli
