#pragma once

// The graph every front end hands over, in one indexed shape: nodes 0..n-1,
// edges between node indices, port names already turned into numbers by the
// caller. Building the library's graph from it is the one place of the port-id
// rule, so the tool, Python and JavaScript number ports alike.

#include "record.h"

#include <netloom/netloom.h>

#include <cstddef>
#include <string>
#include <vector>

namespace netloom::front {

inline constexpr int kNoPort = -1;   // an edge end that names no port
inline constexpr int kNoLength = -1; // an edge without a natural length of its own

struct Request {
    std::size_t nodeCount = 0;
    std::vector<double> x, y; // start positions; empty: every node at (0, 0)
    std::vector<char> fixed;  // empty: no node fixed
    std::vector<std::size_t> sources, targets;
    std::vector<int> lengths; // empty or kNoLength: the layout distance
    // Port names as numbers: ends of one node with the same number share one
    // port; kNoPort (or empty vectors) gives the end a port of its own.
    std::vector<int> sourcePorts, targetPorts;
    std::vector<std::string> labels; // drawn text by node; empty: the node index
    bool directed = false;           // edges have a direction (arrowheads, levels)
    // Record nodes, drawn as boxes divided into fields whose ports (numbers as
    // in sourcePorts) sit at their field; empty, or by node, where a node
    // without fields is a plain box.
    std::vector<RecordField> records;

    std::size_t EdgeCount() const { return sources.size(); }
    int Length(std::size_t edge, int distance) const {
        return edge < lengths.size() && lengths[edge] != kNoLength ? lengths[edge] : distance;
    }
    // Why the request cannot be laid out (an end beyond the nodes, vectors of
    // the wrong size, ids past 32 bits), or empty when it can.
    std::string Problem() const;
};

// The library's graph of a request. Ids: node i is i + 1, edge j is j + 1, and
// ports count on from n + 1 in the order of the edges, source end before
// target end, so a port id never equals a node id. A named port is one id per
// node and name; an end without a name gets an id of its own.
struct LibraryGraph {
    CNetworkGraph graph;
    std::size_t nodeCount = 0;
    struct Port {
        std::size_t node;
        int name;         // kNoPort: an unnamed end
        std::size_t edge; // the first edge at the port
        // The edges after the first, for named ports shared by several ends:
        // unnamed ends, nearly all of a large graph's, allocate nothing.
        std::vector<std::size_t> more;
        std::vector<std::size_t> Edges() const;
    };
    std::vector<Port> ports;                   // by port id - n - 1
    std::vector<int> sourcePorts, targetPorts; // library port ids by edge

    // The port of a library port id, or null for an id that is none of ours.
    const Port* PortOf(int id) const;
};

// Fills lib from the request (which must have no Problem()); edges without a
// length of their own get `distance`. False when the library refuses an edge.
bool BuildLibraryGraph(const Request& request, int distance, LibraryGraph& lib);

} // namespace netloom::front
