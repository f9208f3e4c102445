#include "layered/layered_workspace.h"

// Moves the parents of a shared child, and the branches above them, next to
// each other. Not built yet: child lists keep their order.
bool CLayeredLayout::GatherSharedChildParents() {
    return true;
}

// Moves groups of same-level neighbours under different parents together. Not
// built yet: child lists keep their order.
bool CLayeredLayout::GatherNeighbourGroups() {
    return true;
}
