#include "convert.h"

#include "front/limits.h"
#include "front/names.h"

#include <climits>
#include <cmath>
#include <string>
#include <vector>

namespace netloom_py {

namespace {

using netloom::front::kLengthLimit;
using netloom::front::kNoPort;
using netloom::front::Request;
using netloom::front::Result;

std::string Repr(py::handle value) {
    return py::repr(value).cast<std::string>();
}

std::string EdgeName(py::handle u, py::handle v) {
    return "edge (" + Repr(u) + ", " + Repr(v) + ")";
}

// value = mapping.get(key): a new reference or None.
py::object Get(py::handle mapping, py::handle key) {
    if (PyDict_Check(mapping.ptr())) {
        PyObject* found = PyDict_GetItemWithError(mapping.ptr(), key.ptr());
        if (found == nullptr && PyErr_Occurred()) {
            throw py::error_already_set();
        }
        return found == nullptr ? py::none() : py::reinterpret_borrow<py::object>(found);
    }
    return mapping.attr("get")(key);
}

class EdgeBuilder {
public:
    EdgeBuilder(Request& request, const py::dict& index, const EdgeAttributes& attributes)
        : m_request(request), m_index(index), m_attributes(attributes),
          m_real(py::module_::import("numbers").attr("Real")) {}

    int Lookup(py::handle node) {
        PyObject* found = PyDict_GetItemWithError(m_index.ptr(), node.ptr());
        if (found == nullptr) {
            if (PyErr_Occurred()) {
                PyErr_Clear();
                throw py::type_error("edges: " + Repr(node) + " is not hashable, so not a node");
            }
            throw py::value_error("edges: " + Repr(node) + " is not a node of the graph");
        }
        return static_cast<int>(PyLong_AsLong(found));
    }

    // key is null for a graph without edge keys.
    void Add(py::handle u, py::handle v, py::handle key, py::handle data) {
        Add(u, Lookup(u), v, Lookup(v), key, data);
    }

    void Add(py::handle u, int source, py::handle v, int target, py::handle key, py::handle data) {
        if (!PyDict_Check(data.ptr()) && !py::hasattr(data, "get")) {
            throw py::type_error(EdgeName(u, v) + ": attributes must be a dict, not " + Repr(data));
        }
        // Most edges of most graphs have no attributes.
        const bool plain = PyDict_Check(data.ptr()) && PyDict_GET_SIZE(data.ptr()) == 0;
        m_request.sources.push_back(static_cast<std::size_t>(source - 1));
        m_request.targets.push_back(static_cast<std::size_t>(target - 1));
        m_request.lengths.push_back(plain ? m_attributes.defaultLength : Length(u, v, data));
        m_request.sourcePorts.push_back(plain ? kNoPort
                                              : Port(u, v, data, m_attributes.sourcePort));
        m_request.targetPorts.push_back(plain ? kNoPort
                                              : Port(u, v, data, m_attributes.targetPort));
        m_keys.append(key ? py::make_tuple(u, v, key) : py::make_tuple(u, v));
    }

    py::tuple Keys() const { return py::make_tuple(m_keys, m_names); }
    std::size_t NodeCount() const { return m_request.nodeCount; }

private:
    int Length(py::handle u, py::handle v, py::handle data) const {
        const py::object value = Get(data, m_attributes.length);
        if (value.is_none()) {
            return m_attributes.defaultLength;
        }
        auto what = [&] {
            return EdgeName(u, v) + ": " + py::str(m_attributes.length).cast<std::string>();
        };
        double x = 0.0;
        if (PyFloat_CheckExact(value.ptr())) {
            x = PyFloat_AS_DOUBLE(value.ptr());
        } else if (PyBool_Check(value.ptr()) || !py::isinstance(value, m_real)) {
            throw py::type_error(what() + " must be a number, not " + Repr(value));
        } else {
            x = PyFloat_AsDouble(value.ptr()); // an int too large for a double is out of range
            if (x == -1.0 && PyErr_Occurred()) {
                PyErr_Clear();
                x = HUGE_VAL;
            }
        }
        if (!std::isfinite(x) || x < kLengthLimit.low || x > kLengthLimit.high) {
            throw py::value_error(what() + " " + Repr(value) + " is out of range (" +
                                  std::to_string(kLengthLimit.low) + " to " +
                                  std::to_string(kLengthLimit.high) + ")");
        }
        return static_cast<int>(std::lround(x));
    }

    // The number of a port name: one per distinct name, in order of first use.
    int Port(py::handle u, py::handle v, py::handle data, const py::object& attribute) {
        const py::object name = Get(data, attribute);
        if (name.is_none()) {
            return kNoPort;
        }
        PyObject* found = PyDict_GetItemWithError(m_numbers.ptr(), name.ptr());
        if (found != nullptr) {
            return static_cast<int>(PyLong_AsLong(found));
        }
        if (PyErr_Occurred()) {
            PyErr_Clear();
            throw py::type_error(EdgeName(u, v) + ": " + py::str(attribute).cast<std::string>() +
                                 " " + Repr(name) + " is not hashable");
        }
        const int number = static_cast<int>(py::len(m_names));
        m_numbers[name] = number;
        m_names.append(name);
        return number;
    }

    Request& m_request;
    const py::dict& m_index;
    const EdgeAttributes& m_attributes;
    py::object m_real;
    py::dict m_numbers; // port name -> number
    py::list m_keys;
    py::list m_names;
};
void AddList(EdgeBuilder& builder, const py::handle& edges) {
    const py::dict empty;
    for (py::handle e : edges) {
        if (!py::isinstance<py::tuple>(e) && !py::isinstance<py::list>(e)) {
            throw py::type_error("edges: an edge must be (u, v) or (u, v, attributes), not " +
                                 Repr(e));
        }
        const py::sequence edge = py::reinterpret_borrow<py::sequence>(e);
        switch (py::len(edge)) {
        case 2:
            builder.Add(edge[0], edge[1], py::handle(), empty);
            break;
        case 3:
            builder.Add(edge[0], edge[1], py::handle(), edge[2]);
            break;
        case 4:
            builder.Add(edge[0], edge[1], edge[2], edge[3]);
            break;
        default:
            throw py::type_error("edges: an edge must be (u, v) or (u, v, attributes), not " +
                                 Repr(e));
        }
    }
}

// networkx's edge order: nodes in order, each node's neighbours in order; an
// undirected edge is listed from the end reached first.
void AddAdjacency(EdgeBuilder& builder, const py::handle& adjacency, bool directed, bool multi) {
    if (!PyDict_Check(adjacency.ptr())) {
        throw py::type_error("the adjacency of a networkx graph must be a dict");
    }
    std::vector<char> seen(builder.NodeCount() + 1, 0); // by node id
    for (const auto& [node, neighbours] : py::reinterpret_borrow<py::dict>(adjacency)) {
        const int id = builder.Lookup(node);
        for (const auto& [neighbour, data] : neighbours.cast<py::dict>()) {
            const int other = builder.Lookup(neighbour);
            if (!directed && seen[static_cast<std::size_t>(other)]) {
                continue;
            }
            if (!multi) {
                builder.Add(node, id, neighbour, other, py::handle(), data);
                continue;
            }
            for (const auto& [key, keyed] : data.cast<py::dict>()) {
                builder.Add(node, id, neighbour, other, key, keyed);
            }
        }
        seen[static_cast<std::size_t>(id)] = 1;
    }
}

} // namespace

py::dict NodeIndex(const py::list& nodes) {
    py::dict index;
    int id = 0;
    for (py::handle node : nodes) {
        if (index.contains(node)) {
            throw py::value_error("nodes: " + Repr(node) + " is listed twice");
        }
        index[node] = ++id;
    }
    return index;
}

py::tuple AddPythonEdges(Request& request, const py::dict& index, const py::handle& edges,
                         EdgeSource source, const EdgeAttributes& attributes) {
    EdgeBuilder builder(request, index, attributes);
    switch (source) {
    case EdgeSource::List:
        AddList(builder, edges);
        break;
    case EdgeSource::Adjacency:
        AddAdjacency(builder, edges, false, false);
        break;
    case EdgeSource::DirectedAdjacency:
        AddAdjacency(builder, edges, true, false);
        break;
    case EdgeSource::MultiAdjacency:
        AddAdjacency(builder, edges, false, true);
        break;
    case EdgeSource::MultiDirectedAdjacency:
        AddAdjacency(builder, edges, true, true);
        break;
    }
    return builder.Keys();
}

py::dict PortsByName(const Result& result, const py::list& nodes, const py::list& names) {
    const std::size_t n = py::len(nodes);
    py::str sideNames[netloom::front::kSideCount];
    for (int side = 0; side < netloom::front::kSideCount; ++side) {
        sideNames[side] = py::str(netloom::front::SideName(side));
    }
    py::dict out;
    for (std::size_t i = 0; i < n; ++i) {
        py::list lists[netloom::front::kSideCount];
        for (const netloom::front::NodePort& port : result.ports[i]) {
            lists[port.side].append(port.name == kNoPort
                                        ? py::object(py::none())
                                        : py::object(names[static_cast<std::size_t>(port.name)]));
        }
        py::dict sides;
        for (int side = 0; side < netloom::front::kSideCount; ++side) {
            sides[sideNames[side]] = std::move(lists[side]);
        }
        out[nodes[i]] = std::move(sides);
    }
    return out;
}

py::dict GridByNode(const Result& result, const py::list& nodes) {
    py::dict out;
    const std::size_t n = py::len(nodes);
    for (std::size_t i = 0; i < n; ++i) {
        out[nodes[i]] = py::make_tuple(result.baseRow[i], result.row[i], result.col[i]);
    }
    return out;
}

py::dict PointsByNode(const py::list& nodes,
                      const py::array_t<double, py::array::c_style | py::array::forcecast>& xy) {
    const std::size_t n = py::len(nodes);
    if (xy.ndim() != 2 || xy.shape(0) != static_cast<py::ssize_t>(n) || xy.shape(1) != 2) {
        throw py::value_error("expected an (n, 2) array for n nodes");
    }
    const auto p = xy.unchecked<2>();
    py::dict out;
    for (std::size_t i = 0; i < n; ++i) {
        const py::ssize_t k = static_cast<py::ssize_t>(i);
        out[nodes[i]] = py::make_tuple(p(k, 0), p(k, 1));
    }
    return out;
}

py::list EdgeOrder(const Result& result, const py::list& keys) {
    py::list order;
    for (const auto& [edge, component] : result.edgeOrder) {
        order.append(py::make_tuple(keys[edge], component));
    }
    return order;
}

py::dict RoutesByEdge(const Result& result, const py::list& keys) {
    py::dict out;
    const bool arrays =
        py::module_::import("importlib.util").attr("find_spec")("numpy").is_none() == false;
    for (std::size_t j = 0; j < result.routes.size(); ++j) {
        const std::vector<netloom::front::Point>& route = result.routes[j];
        if (!arrays) { // without numpy: a list of (x, y) pairs
            py::list points(route.size());
            for (std::size_t k = 0; k < route.size(); ++k) {
                points[k] = py::make_tuple(route[k].x, route[k].y);
            }
            out[keys[j]] = std::move(points);
            continue;
        }
        py::array_t<double> points({static_cast<py::ssize_t>(route.size()), py::ssize_t{2}});
        auto p = points.mutable_unchecked<2>();
        for (std::size_t k = 0; k < route.size(); ++k) {
            p(static_cast<py::ssize_t>(k), 0) = route[k].x;
            p(static_cast<py::ssize_t>(k), 1) = route[k].y;
        }
        out[keys[j]] = std::move(points);
    }
    return out;
}

} // namespace netloom_py
