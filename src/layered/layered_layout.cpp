#include <netloom/connected_graph.h>

// Tree and hierarchy layouts (types 2 and 8). Not implemented yet: the component
// keeps its positions.
bool CConnectedGraph::LayeredLayout() {
    return true;
}
