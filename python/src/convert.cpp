#include "convert.h"

#include <climits>
#include <cmath>
#include <string>
#include <vector>

namespace netloom_py {

namespace {

// Edge lengths as the command-line tool reads them.
constexpr double kMaxLength = 46340;

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
    EdgeBuilder(CNetworkGraph& graph, const py::dict& index, const EdgeAttributes& attributes)
        : m_graph(graph), m_index(index), m_attributes(attributes),
          m_nodeCount(static_cast<int>(py::len(index))),
          m_portsByNode(static_cast<std::size_t>(m_nodeCount)),
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
        const int length = plain ? m_attributes.defaultLength : Length(u, v, data);
        const int sourcePort =
            plain ? Unnamed() : Port(source, u, v, data, m_attributes.sourcePort);
        const int targetPort =
            plain ? Unnamed() : Port(target, u, v, data, m_attributes.targetPort);
        const int id = static_cast<int>(py::len(m_keys)) + 1;
        m_graph.AddEdge(id, source, target, length, sourcePort, targetPort, false);
        m_keys.append(key ? py::make_tuple(u, v, key) : py::make_tuple(u, v));
    }

    py::tuple Result() const { return py::make_tuple(m_keys, m_names); }
    std::size_t NodeCount() const { return static_cast<std::size_t>(m_nodeCount); }

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
        if (!std::isfinite(x) || x < 0.0 || x > kMaxLength) {
            throw py::value_error(what() + " " + Repr(value) + " is out of range (0 to 46340)");
        }
        return static_cast<int>(std::lround(x));
    }

    // The id the next new port gets.
    int NextPort() const {
        const std::size_t next = static_cast<std::size_t>(m_nodeCount) + 1 + py::len(m_names);
        if (next > static_cast<std::size_t>(INT_MAX)) {
            throw py::value_error("too many ports for 32-bit port ids");
        }
        return static_cast<int>(next);
    }

    int Unnamed() {
        const int id = NextPort();
        m_names.append(py::none());
        return id;
    }

    int Port(int node, py::handle u, py::handle v, py::handle data, const py::object& attribute) {
        const py::object name = Get(data, attribute);
        if (name.is_none()) {
            return Unnamed();
        }
        const int id = NextPort();
        py::object& named = m_portsByNode[static_cast<std::size_t>(node - 1)];
        if (!named) {
            named = py::dict();
        }
        PyObject* found = PyDict_GetItemWithError(named.ptr(), name.ptr());
        if (found != nullptr) {
            return static_cast<int>(PyLong_AsLong(found));
        }
        if (PyErr_Occurred()) {
            PyErr_Clear();
            throw py::type_error(EdgeName(u, v) + ": " + py::str(attribute).cast<std::string>() +
                                 " " + Repr(name) + " is not hashable");
        }
        named[name] = id;
        m_names.append(name);
        return id;
    }

    CNetworkGraph& m_graph;
    const py::dict& m_index;
    const EdgeAttributes& m_attributes;
    int m_nodeCount;
    std::vector<py::object> m_portsByNode; // {name: port id} by node id - 1
    py::object m_real;
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

// Node i of the list, library id i + 1.
const CNode* NodeOf(const CNetworkGraph& graph, std::size_t i) {
    const CNode* node = graph.GetNode(static_cast<int>(i + 1));
    if (node == nullptr) {
        throw py::value_error("the graph has no node " + std::to_string(i + 1));
    }
    return node;
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

py::tuple AddPythonEdges(CNetworkGraph& graph, const py::dict& index, const py::handle& edges,
                         EdgeSource source, const EdgeAttributes& attributes) {
    EdgeBuilder builder(graph, index, attributes);
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
    return builder.Result();
}

py::dict PortsByName(const CNetworkGraph& graph, const py::list& nodes, const py::list& names) {
    const std::size_t n = py::len(nodes);
    py::str sideNames[netloom::kSideCount];
    for (int side = 0; side < netloom::kSideCount; ++side) {
        sideNames[side] = py::str(netloom::SideName(side));
    }
    py::dict result;
    for (std::size_t i = 0; i < n; ++i) {
        const CNode* node = NodeOf(graph, i);
        const std::vector<int>* lists[netloom::kSideCount] = {
            &node->GetUpsideSubs(), &node->GetDownsideSubs(), &node->GetRightsideSubs(),
            &node->GetLeftsideSubs()};
        py::dict sides;
        for (int side = 0; side < netloom::kSideCount; ++side) {
            py::list ports(lists[side]->size());
            for (std::size_t slot = 0; slot < lists[side]->size(); ++slot) {
                const long long k =
                    static_cast<long long>((*lists[side])[slot]) - static_cast<long long>(n) - 1;
                ports[slot] = k >= 0 && static_cast<std::size_t>(k) < py::len(names)
                                  ? py::object(names[static_cast<std::size_t>(k)])
                                  : py::object(py::int_((*lists[side])[slot]));
            }
            sides[sideNames[side]] = std::move(ports);
        }
        result[nodes[i]] = std::move(sides);
    }
    return result;
}

py::dict GridByNode(const CNetworkGraph& graph, const py::list& nodes) {
    py::dict result;
    const std::size_t n = py::len(nodes);
    for (std::size_t i = 0; i < n; ++i) {
        const _tagNode r = NodeOf(graph, i)->GetNodePos();
        result[nodes[i]] = py::make_tuple(r.nBaseRow, r.nRow, r.nCol);
    }
    return result;
}

py::dict PointsByNode(const py::list& nodes,
                      const py::array_t<double, py::array::c_style | py::array::forcecast>& xy) {
    const std::size_t n = py::len(nodes);
    if (xy.ndim() != 2 || xy.shape(0) != static_cast<py::ssize_t>(n) || xy.shape(1) != 2) {
        throw py::value_error("expected an (n, 2) array for n nodes");
    }
    const auto p = xy.unchecked<2>();
    py::dict result;
    for (std::size_t i = 0; i < n; ++i) {
        const py::ssize_t k = static_cast<py::ssize_t>(i);
        result[nodes[i]] = py::make_tuple(p(k, 0), p(k, 1));
    }
    return result;
}

py::list EdgeOrder(CNetworkGraph& graph, const py::list& keys) {
    const std::vector<int>& sorted = graph.GetSortedEdges();
    const std::vector<int>& component = graph.GetSortedEdgesInGraph();
    py::list order;
    for (std::size_t k = 0; k < sorted.size() && k < component.size(); ++k) {
        if (sorted[k] >= 1 && static_cast<std::size_t>(sorted[k]) <= py::len(keys)) {
            order.append(
                py::make_tuple(keys[static_cast<std::size_t>(sorted[k] - 1)], component[k]));
        }
    }
    return order;
}

} // namespace netloom_py
