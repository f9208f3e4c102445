#pragma once

// Conversion between a Python graph (networkx, or node and edge lists, with
// any hashable ids) and the library's integer ids, and of the results back to
// the caller's names. Written in C++ because a graph of 100,000 nodes crossed
// one Python call at a time costs more than its layout.

#include "front/result.h"

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

// Adds the edges to the request in the order networkx lists them, between
// nodes the index maps to 1..n. Port names become numbers, one per distinct
// name; the front layer turns them into ports as it does for the command-line
// tool. Returns (edge keys [(u, v) or (u, v, key)], port names by number).
py::tuple AddPythonEdges(netloom::front::Request& request, const py::dict& index,
                         const py::handle& edges, EdgeSource source,
                         const EdgeAttributes& attributes);

// {node: {side: [port name, ...]}}, None for an unnamed edge end.
py::dict PortsByName(const netloom::front::Result& result, const py::list& nodes,
                     const py::list& names);

// {node: (base_row, row, col)}.
py::dict GridByNode(const netloom::front::Result& result, const py::list& nodes);

// {nodes[i]: (x, y)} from an (n, 2) array.
py::dict PointsByNode(const py::list& nodes,
                      const py::array_t<double, py::array::c_style | py::array::forcecast>& xy);

// [(edge key, component index), ...] in the layout's edge order.
py::list EdgeOrder(const netloom::front::Result& result, const py::list& keys);

// {edge key: (k, 2) array of route points}.
py::dict RoutesByEdge(const netloom::front::Result& result, const py::list& keys);

} // namespace netloom_py
