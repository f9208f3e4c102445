#include <netloom/connected_graph.h>

// Radiant layout (type 4). Not implemented yet: the component keeps its positions.
bool CConnectedGraph::RadiantLayout() {
    return true;
}
