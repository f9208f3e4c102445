#pragma once

#include <netloom/network_graph.h>

#include "graph/flat_hash_map.h"

#include <cstddef>
#include <memory>

// The lookup indexes of a CNetworkGraph.
struct CNetworkGraph::Indexes {
    // Squared natural length per node pair, keyed by PairKey(smaller id, larger
    // id). Only ever looked up, so a hash map.
    netloom::detail::FlatHashMap<double> edgeSqrLen;
    // Edges by unordered pair of end-node ids, so that the duplicate test and
    // FindEdge do not scan the whole edge table. Built on first use, then kept
    // up to date; components that never ask pay nothing for it.
    netloom::detail::FlatHashMap<CEdge*> edgesByPair;
    bool pairIndexBuilt = false;
    // Membership of the sorted edge list, rebuilt whenever the list's length is
    // not the one indexed (the host holds a reference to the list).
    netloom::detail::FlatHashMap<bool> sortedEdgeIds;
    std::size_t sortedEdgesIndexed = 0;
    // Node lookup by id without walking the ordered table.
    netloom::detail::FlatHashMap<CNode*> nodeIndex;
};

// Lookups read m_pIndexes directly: without indexes nothing is found.
inline CNetworkGraph::Indexes& CNetworkGraph::Index() const {
    if (!m_pIndexes) {
        m_pIndexes = std::make_unique<Indexes>();
    }
    return *m_pIndexes;
}
