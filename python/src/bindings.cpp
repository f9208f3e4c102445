// Python bindings of netloom: a faithful low-level Graph and a LayoutStrategy
// base class that Python code subclasses. Failures become Python exceptions.

#include <netloom/netloom.h>

#include "convert.h"
#include "front/levels.h"
#include "front/limits.h"
#include "front/names.h"
#include "front/run.h"

#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace py = pybind11;

namespace {

// Calls back into Python for the layered layouts. The layout runs without the
// GIL; each callback takes it. An exception raised by Python code is kept and
// raised again when Layout returns; the library meanwhile sees a neutral answer.
class PyLayoutStrategy : public CLayoutStrategy {
public:
    int GetArrangeMode() override { return CallInt("get_arrange_mode", 0); }
    int GetDirection() override { return CallInt("get_direction", 1); }

    bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) override {
        py::gil_scoped_acquire gil;
        try {
            py::function override = Override("get_levels");
            py::object result = override(std::vector<int>(nodeIds.begin(), nodeIds.end()));
            if (result.is_none() || (py::isinstance<py::bool_>(result) && !result.cast<bool>())) {
                return false;
            }
            levels = result.cast<std::map<int, std::vector<int>>>();
            return true;
        } catch (py::error_already_set& e) {
            Keep(std::make_exception_ptr(e));
        } catch (py::cast_error&) {
            Keep(std::make_exception_ptr(py::type_error(
                "LayoutStrategy.get_levels must return a dict of int to list of int, or None")));
        }
        return false;
    }

    // Raises the first exception a callback kept during the last layout.
    void RaisePending() {
        if (m_pending) {
            std::exception_ptr pending = m_pending;
            m_pending = nullptr;
            std::rethrow_exception(pending);
        }
    }

private:
    py::function Override(const char* name) {
        py::function override = py::get_override(static_cast<const CLayoutStrategy*>(this), name);
        if (!override) {
            throw py::type_error(std::string("LayoutStrategy subclass does not define ") + name);
        }
        return override;
    }

    int CallInt(const char* name, int fallback) {
        py::gil_scoped_acquire gil;
        try {
            return Override(name)().cast<int>();
        } catch (py::error_already_set& e) {
            Keep(std::make_exception_ptr(e));
        } catch (py::type_error&) {
            Keep(std::current_exception());
        } catch (py::cast_error&) {
            Keep(std::make_exception_ptr(
                py::type_error(std::string("LayoutStrategy.") + name + " must return an int")));
        }
        return fallback;
    }

    void Keep(std::exception_ptr e) {
        if (!m_pending) {
            m_pending = e;
        }
    }

    std::exception_ptr m_pending;
};

// The Python Graph: a host graph plus the strategy object it keeps alive.
struct PyGraph {
    CNetworkGraph graph;
    py::object strategy = py::none();
    std::unique_ptr<netloom::front::GivenLevelsStrategy> givenLevels;
};

// A flag any thread may set to stop the layouts it was handed; read without the GIL.
struct StopFlag {
    std::atomic<bool> set{false};
};

// One progress record as Python sees it: the library's fields, and stop() to
// end the layout at its next stop point.
struct PyProgress {
    netloom::LayoutProgress record;
    bool stop = false;
};

// Lays the graph out with the GIL released. After every step the monitor reads
// the stop flag; on the main thread it also takes the GIL briefly to handle
// pending signals (Ctrl-C), and with a progress callable it hands it the
// record. An exception (KeyboardInterrupt, or one the callable raised) stops
// the layout at its next stop point and is raised once Layout returns.
std::function<bool(const netloom::LayoutProgress&)>
PythonMonitor(const py::object& progress, const StopFlag* stop, std::exception_ptr& pending) {
    const bool mainThread = py::module_::import("threading")
                                .attr("current_thread")()
                                .is(py::module_::import("threading").attr("main_thread")());
    const bool callable = !progress.is_none();
    return [mainThread, callable, progress, stop, &pending](const netloom::LayoutProgress& record) {
        if (stop != nullptr && stop->set.load()) {
            return true;
        }
        if (!mainThread && !callable) {
            return false;
        }
        py::gil_scoped_acquire gil;
        try {
            if (mainThread && PyErr_CheckSignals() != 0) {
                throw py::error_already_set();
            }
            if (!callable) {
                return false;
            }
            py::object holder = py::cast(PyProgress{record});
            progress(holder);
            return holder.cast<const PyProgress&>().stop;
        } catch (py::error_already_set&) {
            pending = std::current_exception();
        }
        return true;
    };
}

void LayoutWithProgress(PyGraph& g, int distance, int type, int layerSpacing,
                        const py::object& progress, const StopFlag* stop) {
    std::exception_ptr pending;
    g.graph.SetProgressMonitor(PythonMonitor(progress, stop, pending));
    {
        py::gil_scoped_release release;
        g.graph.Layout(distance, type, layerSpacing);
    }
    g.graph.SetProgressMonitor(nullptr);
    if (pending) {
        std::rethrow_exception(pending);
    }
}

CNode* RequireNode(const PyGraph& g, int id) {
    CNode* node = g.graph.GetNode(id);
    if (node == nullptr) {
        throw py::key_error("unknown node " + std::to_string(id));
    }
    return node;
}

void AddNode(PyGraph& g, int id, double x, double y, bool fixed) {
    if (!g.graph.AddNode(id, x, y, fixed)) {
        throw py::value_error("duplicate node id " + std::to_string(id));
    }
}

void AddEdge(PyGraph& g, int id, int source, int target, int length, int sourcePort, int targetPort,
             bool rejectDuplicate) {
    if (g.graph.AddEdge(id, source, target, length, sourcePort, targetPort, rejectDuplicate)) {
        return;
    }
    if (g.graph.GetNode(source) == nullptr) {
        throw py::key_error("edge " + std::to_string(id) + ": unknown source node " +
                            std::to_string(source));
    }
    if (g.graph.GetNode(target) == nullptr) {
        throw py::key_error("edge " + std::to_string(id) + ": unknown target node " +
                            std::to_string(target));
    }
    if (g.graph.GetEdge(id) != nullptr) {
        throw py::value_error("duplicate edge id " + std::to_string(id));
    }
    throw py::value_error("edge " + std::to_string(id) + " duplicates an edge between nodes " +
                          std::to_string(source) + " and " + std::to_string(target) +
                          " through the same ports");
}

using IntArray = py::array_t<long long, py::array::c_style | py::array::forcecast>;
using FloatArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
using BoolArray = py::array_t<bool, py::array::c_style | py::array::forcecast>;

int ToInt(long long v, const char* what, py::ssize_t i) {
    if (v < INT32_MIN || v > INT32_MAX) {
        throw py::value_error(std::string(what) + "[" + std::to_string(i) +
                              "] does not fit a 32-bit integer");
    }
    return static_cast<int>(v);
}

template <class A> void CheckLength(const A& a, py::ssize_t n, const char* what) {
    if (a.ndim() != 1 || a.shape(0) != n) {
        throw py::value_error(std::string(what) + " must be a 1-d array of length " +
                              std::to_string(n));
    }
}

// Adds all nodes or none: a failure removes the nodes this call added.
void AddNodes(PyGraph& g, const IntArray& ids, const std::optional<FloatArray>& xs,
              const std::optional<FloatArray>& ys, const std::optional<BoolArray>& fixed) {
    if (ids.ndim() != 1) {
        throw py::value_error("ids must be a 1-d array");
    }
    const py::ssize_t n = ids.shape(0);
    if (xs)
        CheckLength(*xs, n, "x");
    if (ys)
        CheckLength(*ys, n, "y");
    if (fixed)
        CheckLength(*fixed, n, "fixed");
    const long long* id = ids.data();
    std::vector<int> added;
    added.reserve(static_cast<std::size_t>(n));
    g.graph.Reserve(g.graph.GetNodeMap().size() + static_cast<std::size_t>(n),
                    g.graph.GetEdgeMap().size());
    try {
        py::gil_scoped_release release;
        for (py::ssize_t i = 0; i < n; ++i) {
            const int nodeId = ToInt(id[i], "ids", i);
            if (!g.graph.AddNode(nodeId, xs ? xs->data()[i] : 0.0, ys ? ys->data()[i] : 0.0,
                                 fixed ? fixed->data()[i] : false)) {
                throw py::value_error("duplicate node id " + std::to_string(nodeId) + " at index " +
                                      std::to_string(i));
            }
            added.push_back(nodeId);
        }
    } catch (...) {
        for (int nodeId : added) {
            g.graph.DeleteNode(nodeId);
        }
        throw;
    }
}

// Adds all edges or none: a failure removes the edges this call added.
void AddEdges(PyGraph& g, const IntArray& ids, const IntArray& sources, const IntArray& targets,
              const std::optional<IntArray>& lengths, const std::optional<IntArray>& sourcePorts,
              const std::optional<IntArray>& targetPorts, bool rejectDuplicate) {
    if (ids.ndim() != 1) {
        throw py::value_error("ids must be a 1-d array");
    }
    const py::ssize_t n = ids.shape(0);
    CheckLength(sources, n, "sources");
    CheckLength(targets, n, "targets");
    if (lengths)
        CheckLength(*lengths, n, "lengths");
    if (sourcePorts)
        CheckLength(*sourcePorts, n, "source_ports");
    if (targetPorts)
        CheckLength(*targetPorts, n, "target_ports");
    std::vector<int> added;
    added.reserve(static_cast<std::size_t>(n));
    g.graph.Reserve(g.graph.GetNodeMap().size(),
                    g.graph.GetEdgeMap().size() + static_cast<std::size_t>(n));
    try {
        py::gil_scoped_release release;
        for (py::ssize_t i = 0; i < n; ++i) {
            const int edgeId = ToInt(ids.data()[i], "ids", i);
            const int length = lengths ? ToInt(lengths->data()[i], "lengths", i) : 40;
            const int sp = sourcePorts ? ToInt(sourcePorts->data()[i], "source_ports", i) : 0;
            const int tp = targetPorts ? ToInt(targetPorts->data()[i], "target_ports", i) : 0;
            AddEdge(g, edgeId, ToInt(sources.data()[i], "sources", i),
                    ToInt(targets.data()[i], "targets", i), length, sp, tp, rejectDuplicate);
            added.push_back(edgeId);
        }
    } catch (...) {
        for (int edgeId : added) {
            g.graph.DeleteEdge(edgeId);
        }
        throw;
    }
}

py::dict Sides(const CNode* node) {
    // By side code: up, down, right, left.
    const auto lists = netloom::front::SideLists(*node);
    py::dict sides;
    for (int side = 0; side < netloom::front::kSideCount; ++side) {
        sides[netloom::front::SideName(side)] = *lists[side];
    }
    return sides;
}

// Node ids in ascending order, the order of every bulk reader.
py::array_t<int> NodeIds(const PyGraph& g) {
    const auto& nodes = g.graph.GetNodeMap();
    py::array_t<int> ids(static_cast<py::ssize_t>(nodes.size()));
    auto out = ids.mutable_unchecked<1>();
    py::ssize_t k = 0;
    for (const auto& e : nodes) {
        out(k++) = e.first;
    }
    return ids;
}

// (ids, (n, 3) array of base_row, row, col).
py::tuple GridArray(const PyGraph& g) {
    const auto& nodes = g.graph.GetNodeMap();
    py::array_t<int> cells({static_cast<py::ssize_t>(nodes.size()), py::ssize_t{3}});
    auto out = cells.mutable_unchecked<2>();
    py::ssize_t k = 0;
    for (const auto& e : nodes) {
        const _tagNode r = e.second->GetNodePos();
        out(k, 0) = r.nBaseRow;
        out(k, 1) = r.nRow;
        out(k, 2) = r.nCol;
        ++k;
    }
    return py::make_tuple(NodeIds(g), cells);
}

// (ids, (n, 4) array of port counts by side, the port ids of all nodes and
// sides one after another).
py::tuple PortsArray(const PyGraph& g) {
    const auto& nodes = g.graph.GetNodeMap();
    py::array_t<int> counts({static_cast<py::ssize_t>(nodes.size()),
                             static_cast<py::ssize_t>(netloom::front::kSideCount)});
    auto c = counts.mutable_unchecked<2>();
    std::vector<int> ports;
    py::ssize_t k = 0;
    for (const auto& e : nodes) {
        const CNode* node = e.second;
        const auto lists = netloom::front::SideLists(*node);
        for (int side = 0; side < netloom::front::kSideCount; ++side) {
            c(k, side) = static_cast<int>(lists[side]->size());
            ports.insert(ports.end(), lists[side]->begin(), lists[side]->end());
        }
        ++k;
    }
    return py::make_tuple(NodeIds(g), counts, py::array_t<int>(ports.size(), ports.data()));
}

// The levels by edge direction of the graph's own nodes (ascending id) and
// edges (ascending id), as {level: [node ids]}.
std::map<int, std::vector<int>> GraphDirectionLevels(const PyGraph& g) {
    const auto& nodes = g.graph.GetNodeMap();
    std::vector<int> ids;
    std::unordered_map<const CNode*, std::size_t> index;
    ids.reserve(nodes.size());
    for (const auto& e : nodes) {
        index.emplace(e.second, ids.size());
        ids.push_back(e.first);
    }
    std::vector<std::pair<std::size_t, std::size_t>> edges;
    edges.reserve(g.graph.GetEdgeMap().size());
    for (const auto& e : g.graph.GetEdgeMap()) {
        edges.emplace_back(index.at(e.second->GetSourceNode()), index.at(e.second->GetDestNode()));
    }
    const std::vector<int> level = netloom::front::LongestPathLevels(ids.size(), edges);
    std::map<int, std::vector<int>> levels;
    for (std::size_t v = 0; v < level.size(); ++v) {
        levels[level[v]].push_back(ids[v]);
    }
    return levels;
}

void SetLevels(PyGraph& g, std::map<int, std::vector<int>> levels, int direction, int arrangeMode) {
    g.givenLevels = std::make_unique<netloom::front::GivenLevelsStrategy>(
        g.graph, std::move(levels), direction, arrangeMode);
    g.graph.SetLayoutStrategy(g.givenLevels.get());
    g.strategy = py::none();
}

// Layout type codes and names, side names and the checked ranges.
void BindNames(py::module_& m) {
    m.attr("FORCE_DIRECTED") = int{CNetworkGraph::m_iForceDirectedLayout};
    m.attr("TREE") = int{CNetworkGraph::m_iTreeLayout};
    m.attr("RADIANT") = int{CNetworkGraph::m_iRadiantLayout};
    m.attr("HIERARCHY") = int{CNetworkGraph::m_iHierarchyLayout};
    py::tuple sides(netloom::front::kSideCount);
    for (int side = 0; side < netloom::front::kSideCount; ++side) {
        sides[static_cast<py::size_t>(side)] = netloom::front::SideName(side);
    }
    m.attr("SIDES") = sides;
    // Layout type names and the other names they go by, each with its code.
    py::dict typeNames;
    for (const netloom::front::NamedLayoutType& entry : netloom::front::kLayoutTypeNames) {
        typeNames[entry.name] = entry.type;
    }
    for (const netloom::front::NamedLayoutType& entry : netloom::front::kLayoutTypeAliases) {
        typeNames[entry.name] = entry.type;
    }
    m.attr("LAYOUT_TYPE_NAMES") = typeNames;
    // The ranges every front end checks: {name: (low, high)}.
    py::dict limits;
    for (const netloom::front::Limit* limit : netloom::front::kLimits) {
        limits[limit->name] = py::make_tuple(limit->low, limit->high);
    }
    m.attr("LIMITS") = limits;
}

// Stopping and watching a layout: StopFlag and LayoutProgress.
void BindProgress(py::module_& m) {
    py::class_<StopFlag>(m, "StopFlag",
                         "A flag that stops the layouts it is given (Graph.layout(stop=...)) at "
                         "their next stop point; any thread may set it.")
        .def(py::init<>())
        .def(
            "set", [](StopFlag& f) { f.set.store(true); }, "Stops the layouts.")
        .def(
            "is_set", [](const StopFlag& f) { return f.set.load(); }, "Whether set() was called.");
    py::class_<PyProgress>(m, "LayoutProgress",
                           "Progress of a layout, handed to a progress callable after each step.")
        .def_property_readonly("component", [](const PyProgress& p) { return p.record.component; })
        .def_property_readonly("component_count",
                               [](const PyProgress& p) { return p.record.componentCount; })
        .def_property_readonly("step",
                               [](const PyProgress& p) { return std::string(p.record.step); })
        .def_property_readonly("iteration", [](const PyProgress& p) { return p.record.iteration; })
        .def_property_readonly("max_iterations",
                               [](const PyProgress& p) { return p.record.maxIterations; })
        .def_property_readonly("energy", [](const PyProgress& p) { return p.record.energy; })
        .def_property_readonly("threshold", [](const PyProgress& p) { return p.record.threshold; })
        .def_property_readonly("work_done", [](const PyProgress& p) { return p.record.workDone; })
        .def_property_readonly("work_total", [](const PyProgress& p) { return p.record.workTotal; })
        .def(
            "stop", [](PyProgress& p) { p.stop = true; },
            "Stops the layout at its next point where every node has a valid position.")
        .def("__repr__", [](const PyProgress& p) {
            return "LayoutProgress(component=" + std::to_string(p.record.component) + "/" +
                   std::to_string(p.record.componentCount) + ", step=" + p.record.step +
                   ", iteration=" + std::to_string(p.record.iteration) +
                   ", work=" + std::to_string(p.record.workDone) + "/" +
                   std::to_string(p.record.workTotal) + ")";
        });
}

// Functions of the library and the levels rule.
void BindFunctions(py::module_& m) {
    m.def(
        "layout_parameters",
        [] {
            py::dict d;
            d["layout_distance"] = g_dLayoutDistance;
            d["layout_distance_sqr"] = g_dLayoutDistanceSqr;
            d["column_spacing"] = g_dColumnSpacing;
            d["layer_spacing"] = g_dLayerSpacing;
            return d;
        },
        "The calling thread's layout parameters, set by its last layout.");
    m.def(
        "direction_levels",
        [](std::size_t count, const std::vector<std::pair<std::size_t, std::size_t>>& edges) {
            for (const auto& [source, target] : edges) {
                if (source >= count || target >= count) {
                    throw py::index_error("an edge names a node index out of range");
                }
            }
            return netloom::front::LongestPathLevels(count, edges);
        },
        py::arg("count"), py::arg("edges"),
        "Levels by edge direction for nodes 0..count-1 and (source, target) index pairs: the "
        "longest directed path from a source, cycles broken by reversing the edges a "
        "depth-first search in the given order finds going back.");
}

// The front layer behind netloom.layout_result (python/netloom/__init__.py).
void BindFrontLayer(py::module_& m) {
    m.def("_node_index", &netloom_py::NodeIndex, py::arg("nodes"),
          "{node: id} with ids 1..n in list order; ValueError for a node listed twice.");
    py::class_<netloom::front::Request>(m, "_Request", "A graph as the front layer takes it.")
        // Lists or arrays: numpy is optional.
        .def(py::init([](std::size_t n, std::optional<std::vector<double>> x,
                         std::optional<std::vector<double>> y,
                         std::optional<std::vector<bool>> fixed, std::vector<std::string> labels,
                         bool directed) {
                 netloom::front::Request r;
                 r.nodeCount = n;
                 if (x && y) {
                     r.x = std::move(*x);
                     r.y = std::move(*y);
                 }
                 if (fixed) {
                     r.fixed.assign(fixed->begin(), fixed->end());
                 }
                 r.labels = std::move(labels);
                 r.directed = directed;
                 if (!r.labels.empty() && r.labels.size() != n) {
                     throw py::value_error("one label per node");
                 }
                 return r;
             }),
             py::arg("n"), py::arg("x"), py::arg("y"), py::arg("fixed"), py::arg("labels"),
             py::arg("directed"));
    py::class_<netloom::front::Result>(m, "_Result", "What a front-layer layout produced.")
        .def("xy",
             [](const netloom::front::Result& r) {
                 py::array_t<double> xy({static_cast<py::ssize_t>(r.x.size()), py::ssize_t{2}});
                 auto out = xy.mutable_unchecked<2>();
                 for (std::size_t i = 0; i < r.x.size(); ++i) {
                     out(static_cast<py::ssize_t>(i), 0) = r.x[i];
                     out(static_cast<py::ssize_t>(i), 1) = r.y[i];
                 }
                 return xy;
             })
        .def("positions",
             [](const netloom::front::Result& r) {
                 py::list out(r.x.size());
                 for (std::size_t i = 0; i < r.x.size(); ++i) {
                     out[i] = py::make_tuple(r.x[i], r.y[i]);
                 }
                 return out;
             })
        .def_readonly("stopped", &netloom::front::Result::stopped)
        .def_readonly("placed_by_neighbour", &netloom::front::Result::placedByNeighbour)
        .def("grid", &netloom_py::GridByNode, py::arg("nodes"))
        .def("ports", &netloom_py::PortsByName, py::arg("nodes"), py::arg("names"))
        .def("edge_order", &netloom_py::EdgeOrder, py::arg("keys"))
        .def("routes", &netloom_py::RoutesByEdge, py::arg("keys"));
    m.def(
        "_run_layout",
        [](const netloom::front::Request& request, int type, int distance, int layerSpacing,
           int maxCols, bool fixedLayout, const std::string& levels,
           const std::map<int, std::vector<std::size_t>>& given, int direction, int arrangeMode,
           int threads, py::object strategy, py::object progress, const StopFlag* stop,
           bool routes) {
            netloom::front::Options o;
            o.type = type;
            o.distance = distance;
            o.layerSpacing = layerSpacing;
            o.maxCols = maxCols;
            o.fixedLayout = fixedLayout;
            o.levelSource = levels == "direction" ? netloom::front::LevelSource::Direction
                            : levels == "degree"  ? netloom::front::LevelSource::Degree
                            : levels == "given"   ? netloom::front::LevelSource::Given
                                                  : netloom::front::LevelSource::Auto;
            o.givenLevels = given;
            o.direction = direction;
            o.arrangeMode = arrangeMode;
            o.threads = threads;
            o.routes = routes;
            PyLayoutStrategy* own = nullptr;
            if (!strategy.is_none()) {
                own = static_cast<PyLayoutStrategy*>(strategy.cast<CLayoutStrategy*>());
                o.strategy = own;
            }
            std::exception_ptr pending;
            netloom::front::Progress watch;
            watch.monitor = PythonMonitor(progress, stop, pending);
            netloom::front::Result result;
            std::string problem;
            bool ok = false;
            {
                py::gil_scoped_release release;
                ok = netloom::front::RunLayout(request, o, watch, result, problem);
            }
            if (pending) {
                std::rethrow_exception(pending);
            }
            if (own != nullptr) {
                own->RaisePending();
            }
            if (!ok) {
                throw py::value_error(problem);
            }
            return result;
        },
        py::arg("request"), py::arg("type"), py::arg("distance"), py::arg("layer_spacing"),
        py::arg("max_cols"), py::arg("fixed_layout"), py::arg("levels"), py::arg("given"),
        py::arg("direction"), py::arg("arrange_mode"), py::arg("threads"), py::arg("strategy"),
        py::arg("progress"), py::arg("stop"), py::arg("routes"),
        "Lays out a request through the front layer, as the command-line tool does.");
    m.def(
        "_add_edges",
        [](netloom::front::Request& request, const py::dict& index, py::handle edges, int source,
           py::object length, py::object sourcePort, py::object targetPort, int defaultLength) {
            if (source < 0 ||
                source > static_cast<int>(netloom_py::EdgeSource::MultiDirectedAdjacency)) {
                throw py::value_error("unknown edge source " + std::to_string(source));
            }
            const netloom_py::EdgeAttributes attributes{std::move(length), std::move(sourcePort),
                                                        std::move(targetPort), defaultLength};
            return netloom_py::AddPythonEdges(
                request, index, edges, static_cast<netloom_py::EdgeSource>(source), attributes);
        },
        py::arg("request"), py::arg("index"), py::arg("edges"), py::arg("source"),
        py::arg("length"), py::arg("source_port"), py::arg("target_port"),
        py::arg("default_length"),
        "Adds edges 1..m from a list (source 0) or a networkx adjacency (1 Graph, 2 DiGraph, "
        "3 MultiGraph, 4 MultiDiGraph), with ports from n + 1; returns (edge keys, port "
        "names).");
    m.def("_points_by_node", &netloom_py::PointsByNode, py::arg("nodes"), py::arg("xy"),
          "{nodes[i]: (x, y)} from an (n, 2) array.");
}

void BindStrategy(py::module_& m) {
    py::class_<CLayoutStrategy, PyLayoutStrategy>(
        m, "LayoutStrategy",
        "Base class of a layout strategy: subclass it and define get_arrange_mode(), "
        "get_direction() and get_levels(node_ids) -> {level: [node ids]} or None to decline.")
        .def(py::init<>());
}

void BindGraph(py::module_& m) {
    py::class_<PyGraph>(m, "Graph", "A network graph: nodes and edges with integer ids.")
        .def(py::init<>())
        .def("add_node", &AddNode, py::arg("id"), py::arg("x") = 0.0, py::arg("y") = 0.0,
             py::arg("fixed") = false, "Adds a node; ValueError if the id is taken.")
        .def("add_edge", &AddEdge, py::arg("id"), py::arg("source"), py::arg("target"),
             py::arg("length") = 40, py::arg("source_port") = 0, py::arg("target_port") = 0,
             py::arg("reject_duplicate") = true,
             "Adds an edge; KeyError for an unknown node, ValueError for a taken id or, with "
             "reject_duplicate, an edge between the same nodes through the same ports.")
        .def("add_nodes", &AddNodes, py::arg("ids"), py::arg("x") = py::none(),
             py::arg("y") = py::none(), py::arg("fixed") = py::none(),
             "Adds nodes from arrays, all or none.")
        .def("add_edges", &AddEdges, py::arg("ids"), py::arg("sources"), py::arg("targets"),
             py::arg("lengths") = py::none(), py::arg("source_ports") = py::none(),
             py::arg("target_ports") = py::none(), py::arg("reject_duplicate") = true,
             "Adds edges from arrays, all or none.")
        .def(
            "delete_node",
            [](PyGraph& g, int id) {
                if (!g.graph.DeleteNode(id))
                    throw py::key_error("unknown node " + std::to_string(id));
            },
            py::arg("id"), "Deletes a node and its edges.")
        .def(
            "delete_edge",
            [](PyGraph& g, int id) {
                if (!g.graph.DeleteEdge(id))
                    throw py::key_error("unknown edge " + std::to_string(id));
            },
            py::arg("id"), "Deletes an edge.")
        .def(
            "set_fixed_layout", [](PyGraph& g, bool on) { g.graph.SetFixedLayoutFlag(on); },
            py::arg("on"),
            "Keeps components that hold a fixed node where they are; the others are stacked "
            "below them.")
        .def(
            "set_max_col_count", [](PyGraph& g, int n) { g.graph.SetMaxColCount(n); },
            py::arg("count"),
            "Most columns in a grid row of the layered layouts; 0 or less for no limit.")
        .def(
            "set_layout_threads",
            [](PyGraph& g, int threads) {
                if (threads < 0) {
                    throw py::value_error("threads must be 0 (one per hardware thread) or more");
                }
                g.graph.SetLayoutThreads(threads);
            },
            py::arg("threads"),
            "Threads of the force-directed layout for components of 1,024 nodes or more; 0 (the "
            "default) for one per hardware thread. Positions do not depend on it.")
        .def(
            "set_strategy",
            [](PyGraph& g, py::object strategy) {
                if (strategy.is_none()) {
                    g.graph.SetLayoutStrategy(nullptr);
                } else {
                    g.graph.SetLayoutStrategy(strategy.cast<CLayoutStrategy*>());
                }
                g.strategy = strategy;
                g.givenLevels.reset();
            },
            py::arg("strategy"), "Attaches a LayoutStrategy (None removes it).")
        .def("set_levels", &SetLevels, py::arg("levels"), py::arg("direction") = 1,
             py::arg("arrange_mode") = 0,
             "Lays the tree and hierarchy layouts out on these levels ({level: [node ids]}): a "
             "node they leave out of a component they name goes one level below its nearest "
             "listed neighbour, a component they do not name gets the layout's own levels.")
        .def(
            "set_direction_levels",
            [](PyGraph& g, int direction, int arrangeMode) {
                SetLevels(g, GraphDirectionLevels(g), direction, arrangeMode);
            },
            py::arg("direction") = 1, py::arg("arrange_mode") = 0,
            "Lays the tree and hierarchy layouts out on levels by edge direction: each node at "
            "its longest directed path from a source, cycles broken by reversing the edges a "
            "depth-first search (nodes and edges in ascending id) finds going back.")
        .def(
            "placed_by_neighbour",
            [](const PyGraph& g) { return g.givenLevels ? g.givenLevels->Placed() : 0; },
            "Nodes that set_levels left out and the last layouts placed by a neighbour.")
        .def(
            "layout",
            [](PyGraph& g, int distance, int type, int layerSpacing, const py::object& progress,
               const StopFlag* stop) {
                LayoutWithProgress(g, distance, type, layerSpacing, progress, stop);
                if (!g.strategy.is_none()) {
                    static_cast<PyLayoutStrategy*>(g.strategy.cast<CLayoutStrategy*>())
                        ->RaisePending();
                }
            },
            py::arg("distance") = 40, py::arg("type") = int{CNetworkGraph::m_iHierarchyLayout},
            py::arg("layer_spacing") = 200, py::arg("progress") = py::none(),
            py::arg("stop") = nullptr,
            "Lays the graph out (1 force-directed, 2 tree, 4 radiant, 8 hierarchy). "
            "The GIL is released meanwhile. progress(record) is called after every step "
            "(a LayoutProgress; record.stop() ends the layout with valid positions); a set "
            "StopFlag ends it too. Ctrl-C stops the layout and raises KeyboardInterrupt.")
        .def(
            "was_layout_stopped", [](const PyGraph& g) { return g.graph.WasLayoutStopped(); },
            "Whether the last layout was stopped before its end.")
        .def(
            "layout_work_done", [](const PyGraph& g) { return g.graph.GetLayoutWorkDone(); },
            "Work units the last layout did (LayoutProgress.work_done at its end).")
        .def(
            "number_of_nodes", [](const PyGraph& g) { return g.graph.GetNodeMap().size(); },
            "The number of nodes.")
        .def(
            "number_of_edges", [](const PyGraph& g) { return g.graph.GetEdgeMap().size(); },
            "The number of edges.")
        .def(
            "node_ids",
            [](const PyGraph& g) {
                std::vector<int> ids;
                for (const auto& e : g.graph.GetNodeMap())
                    ids.push_back(e.first);
                return ids;
            },
            "Node ids in ascending order.")
        .def(
            "edge_ids",
            [](const PyGraph& g) {
                std::vector<int> ids;
                for (const auto& e : g.graph.GetEdgeMap())
                    ids.push_back(e.first);
                return ids;
            },
            "Edge ids in ascending order.")
        .def(
            "edge",
            [](const PyGraph& g, int id) {
                const CEdge* e = g.graph.GetEdge(id);
                if (e == nullptr)
                    throw py::key_error("unknown edge " + std::to_string(id));
                py::dict d;
                d["source"] = e->GetSourceNode()->GetID();
                d["target"] = e->GetDestNode()->GetID();
                d["length"] = e->GetNormalLength();
                d["source_port"] = e->GetSourceSubNodeID();
                d["target_port"] = e->GetDestSubNodeID();
                d["unique"] = e->IsUnique();
                return d;
            },
            py::arg("id"), "An edge as {source, target, length, source_port, target_port, unique}.")
        .def(
            "position",
            [](const PyGraph& g, int id) {
                const CNode* n = RequireNode(g, id);
                return py::make_tuple(n->X(), n->Y());
            },
            py::arg("id"), "A node's position (x, y).")
        .def(
            "positions",
            [](const PyGraph& g) {
                py::dict d;
                for (const auto& e : g.graph.GetNodeMap())
                    d[py::int_(e.first)] = py::make_tuple(e.second->X(), e.second->Y());
                return d;
            },
            "All positions as {id: (x, y)}.")
        .def(
            "positions_array",
            [](const PyGraph& g) {
                const auto& nodes = g.graph.GetNodeMap();
                py::array_t<int> ids(static_cast<py::ssize_t>(nodes.size()));
                py::array_t<double> xy({static_cast<py::ssize_t>(nodes.size()), py::ssize_t{2}});
                auto i = ids.mutable_unchecked<1>();
                auto p = xy.mutable_unchecked<2>();
                py::ssize_t k = 0;
                for (const auto& e : nodes) {
                    i(k) = e.first;
                    p(k, 0) = e.second->X();
                    p(k, 1) = e.second->Y();
                    ++k;
                }
                return py::make_tuple(ids, xy);
            },
            "Node ids (ascending) and an (n, 2) array of positions.")
        .def(
            "set_position",
            [](PyGraph& g, int id, double x, double y) { RequireNode(g, id)->SetPosition(x, y); },
            py::arg("id"), py::arg("x"), py::arg("y"), "Moves a node.")
        .def(
            "grid",
            [](const PyGraph& g, int id) {
                const _tagNode r = RequireNode(g, id)->GetNodePos();
                return py::make_tuple(r.nBaseRow, r.nRow, r.nCol);
            },
            py::arg("id"), "Grid record (base_row, row, col) of the layered layouts.")
        .def("grid_array", &GridArray,
             "Node ids (ascending) and an (n, 3) array of grid records (base_row, row, col).")
        .def(
            "ports", [](const PyGraph& g, int id) { return Sides(RequireNode(g, id)); },
            py::arg("id"), "Port ids on each side: {'up': [...], 'down': ..., ...}.")
        .def("ports_array", &PortsArray,
             "Node ids (ascending), an (n, 4) array of port counts by side (up, down, right, "
             "left) and the port ids of every node and side in that order, one after another.")
        .def(
            "port_position",
            [](const PyGraph& g, int id, int port) -> py::object {
                RequireNode(g, id);
                int side = -1;
                int index = -1;
                g.graph.GetSubNodePosition(id, port, side, index);
                if (side < 0)
                    return py::none();
                return py::make_tuple(side, index);
            },
            py::arg("node"), py::arg("port"),
            "(side, slot) of a port (side 0 up, 1 down, 2 right, 3 left), or None.")
        .def(
            "sorted_edges", [](PyGraph& g) { return g.graph.GetSortedEdges(); },
            "Edge ids in port order, as the hierarchy layout lists them.")
        .def(
            "sorted_edges_in_graph", [](PyGraph& g) { return g.graph.GetSortedEdgesInGraph(); },
            "Component index of each entry of sorted_edges().")
        .def(
            "bound_rect",
            [](const PyGraph& g) {
                const CRect r = g.graph.GetBoundRect();
                return py::make_tuple(r.left, r.top, r.right, r.bottom);
            },
            "The bounding rectangle of all nodes (left, top, right, bottom).")
        .def(
            "copy",
            [](const PyGraph& g) {
                auto* copy = new PyGraph();
                copy->graph = g.graph;
                copy->strategy = g.strategy;
                return copy;
            },
            "A deep copy.");
}

} // namespace

PYBIND11_MODULE(_netloom, m) {
    m.doc() = "netloom: layout of network diagrams (low-level interface)";
    BindNames(m);
    BindProgress(m);
    BindFunctions(m);
    BindFrontLayer(m);
    BindStrategy(m);
    BindGraph(m);
}
