#pragma once

// Codes and names of port sides and layout types, one table for every front end
// (the command-line tool, the Python bindings, the WebAssembly package) that
// prints or parses them.

#include <netloom/network_graph.h>

#include <string>

namespace netloom::front {

// Side codes of a port, as CNode::GetSubNodePosition reports them.
inline constexpr int kSideUp = 0;
inline constexpr int kSideDown = 1;
inline constexpr int kSideRight = 2;
inline constexpr int kSideLeft = 3;
inline constexpr int kSideCount = 4;

// Side names by side code.
inline constexpr const char* kSideNames[kSideCount] = {"up", "down", "right", "left"};

// The name of a side code; "none" for a code outside 0 to 3 (a port on no side).
constexpr const char* SideName(int side) {
    return side >= 0 && side < kSideCount ? kSideNames[side] : "none";
}

// A layout type code of CNetworkGraph::Layout and a name for it.
struct NamedLayoutType {
    int type;
    const char* name;
};

// Each layout type with its name, in the order of the codes.
inline constexpr NamedLayoutType kLayoutTypeNames[] = {
    {CNetworkGraph::m_iForceDirectedLayout, "force"},
    {CNetworkGraph::m_iTreeLayout, "tree"},
    {CNetworkGraph::m_iRadiantLayout, "radial"},
    {CNetworkGraph::m_iHierarchyLayout, "hierarchy"},
};

// Further names accepted for a layout type when parsing.
inline constexpr NamedLayoutType kLayoutTypeAliases[] = {
    {CNetworkGraph::m_iForceDirectedLayout, "force-directed"},
    {CNetworkGraph::m_iRadiantLayout, "radiant"},
};

// The name of a layout type code; "unknown" for any other code.
constexpr const char* LayoutTypeName(int type) {
    for (const NamedLayoutType& entry : kLayoutTypeNames) {
        if (entry.type == type) {
            return entry.name;
        }
    }
    return "unknown";
}

// The layout type of a name or alias (any case) or of its code written as a
// number ("8"); 0 when it names none.
int LayoutTypeByName(const std::string& name);

// "force, tree, radial, hierarchy (or 1, 2, 4, 8)", for messages.
std::string LayoutTypeChoices();

// An orientation of the layered layouts by name: the numbers 1 to 4 of the
// library, and bottom to top, which is 1 turned upside down.
struct NamedDirection {
    const char* name;
    int direction;
    bool bottomUp;
};

inline constexpr NamedDirection kDirectionNames[] = {
    {"TB", 1, false},         {"LR", 2, false},       {"RL", 4, false},
    {"BT", 1, true},          {"top-down", 1, false}, {"left-right", 2, false},
    {"right-left", 4, false}, {"bottom-up", 1, true},
};

// The orientation of a name (any case) or of a number 1 to 4; false when the
// text names none.
bool DirectionByName(const std::string& name, int& direction, bool& bottomUp);

// "1 to 4, TB, LR, RL, BT, top-down, ...", for messages.
std::string DirectionChoices();

// The tree and hierarchy layouts place nodes on a grid of rows and columns.
constexpr bool IsLayered(int type) {
    return type == CNetworkGraph::m_iTreeLayout || type == CNetworkGraph::m_iHierarchyLayout;
}

} // namespace netloom::front
