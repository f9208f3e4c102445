#include <netloom/connected_graph.h>

// Force-directed layout (type 1). Not implemented yet: the component keeps its positions.
bool CConnectedGraph::ForceDirectedLayout() {
    return true;
}
