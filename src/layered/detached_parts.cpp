#include "layered/layered_workspace.h"

#include <netloom/network_graph.h>

// Joins the parts that a strategy's levels leave unreached from the virtual
// root to the reached structure. Without a strategy every node is reached.
bool CLayeredLayout::AttachDetachedParts() {
    if (m_pGraph == nullptr || m_pGraph->GetLayoutStrategy() == nullptr) {
        return true;
    }
    return true; // not built yet: detached parts stay detached
}
