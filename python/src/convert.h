#pragma once

// Conversion between a Python graph (networkx, or node and edge lists, with
// any hashable ids) and the library's integer ids, and of the results back to
// the caller's names. Written in C++ because a graph of 100,000 nodes crossed
// one Python call at a time costs more than its layout.

#include <netloom/netloom.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace netloom_py {

namespace py = pybind11;

// How the edges reach AddPythonEdges.
enum class EdgeSource {
    List,                   // (u, v), (u, v, attributes) or (u, v, key, attributes)
    Adjacency,              // networkx Graph: {u: {v: attributes}}, each edge twice
    DirectedAdjacency,      // networkx DiGraph: {u: {v: attributes}}
    MultiAdjacency,         // networkx MultiGraph: {u: {v: {key: attributes}}}, twice
    MultiDirectedAdjacency, // networkx MultiDiGraph
};

struct EdgeAttributes {
    py::object length;
    py::object sourcePort;
    py::object targetPort;
    int defaultLength = 40;
};

// {node: id} with ids 1..n in list order; ValueError for a node listed twice.
py::dict NodeIndex(const py::list& nodes);

// Adds the edges as ids 1..m in the order networkx lists them, between nodes
// the index maps to 1..n. Ports count on from n + 1: one per node and port
// name, one per edge end without a name, so results match the command-line
// tool's. Returns (edge keys [(u, v) or (u, v, key)], port names by id - n - 1
// with None for an unnamed end).
py::tuple AddPythonEdges(CNetworkGraph& graph, const py::dict& index, const py::handle& edges,
                         EdgeSource source, const EdgeAttributes& attributes);

// {node: {side: [port name, ...]}} for nodes 1..n.
py::dict PortsByName(const CNetworkGraph& graph, const py::list& nodes, const py::list& names);

// {node: (base_row, row, col)} for nodes 1..n.
py::dict GridByNode(const CNetworkGraph& graph, const py::list& nodes);

// {nodes[i]: (x, y)} from an (n, 2) array.
py::dict PointsByNode(const py::list& nodes,
                      const py::array_t<double, py::array::c_style | py::array::forcecast>& xy);

// [(edge key, component index), ...] in the graph's sorted edge order.
py::list EdgeOrder(CNetworkGraph& graph, const py::list& keys);

} // namespace netloom_py
