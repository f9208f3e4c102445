#include "names.h"

#include <cctype>

namespace netloom::front {

int LayoutTypeByName(const std::string& name) {
    std::string key = name;
    for (char& c : key) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    for (const NamedLayoutType& entry : kLayoutTypeNames) {
        if (key == entry.name || key == std::to_string(entry.type)) {
            return entry.type;
        }
    }
    for (const NamedLayoutType& entry : kLayoutTypeAliases) {
        if (key == entry.name) {
            return entry.type;
        }
    }
    return 0;
}

std::string LayoutTypeChoices() {
    std::string names;
    std::string codes;
    for (const NamedLayoutType& entry : kLayoutTypeNames) {
        const char* separator = names.empty() ? "" : ", ";
        names += separator + std::string(entry.name);
        codes += separator + std::to_string(entry.type);
    }
    return names + " (or " + codes + ")";
}

bool DirectionByName(const std::string& name, int& direction, bool& bottomUp) {
    std::string key = name;
    for (char& c : key) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (key.size() == 1 && key[0] >= '1' && key[0] <= '4') {
        direction = key[0] - '0';
        bottomUp = false;
        return true;
    }
    for (const NamedDirection& entry : kDirectionNames) {
        std::string entryKey = entry.name;
        for (char& c : entryKey) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        if (key == entryKey) {
            direction = entry.direction;
            bottomUp = entry.bottomUp;
            return true;
        }
    }
    return false;
}

std::string DirectionChoices() {
    std::string out = "1 to 4";
    for (const NamedDirection& entry : kDirectionNames) {
        out += ", " + std::string(entry.name);
    }
    return out;
}

} // namespace netloom::front
