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

} // namespace netloom::front
