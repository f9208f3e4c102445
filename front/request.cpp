#include "request.h"

#include <climits>
#include <unordered_map>

namespace netloom::front {

std::string Request::Problem() const {
    const std::size_t m = sources.size();
    auto sized = [](const auto& v, std::size_t n) { return v.empty() || v.size() == n; };
    if (targets.size() != m || !sized(lengths, m) || !sized(sourcePorts, m) ||
        !sized(targetPorts, m)) {
        return "every edge needs a source and a target (and lengths and ports, if given)";
    }
    if (!sized(x, nodeCount) || y.size() != x.size() || !sized(fixed, nodeCount) ||
        !sized(labels, nodeCount) || !sized(records, nodeCount)) {
        return "positions, fixed flags, labels and records must be given for every node or none";
    }
    // Node, edge and port ids are 32-bit: n nodes and at most 2m ports.
    if (nodeCount + 2 * m >= static_cast<std::size_t>(INT_MAX)) {
        return "too many nodes and edges for 32-bit ids";
    }
    for (std::size_t j = 0; j < m; ++j) {
        if (sources[j] >= nodeCount || targets[j] >= nodeCount) {
            return "edge " + std::to_string(j) + " ends at a node that does not exist";
        }
    }
    return {};
}

const LibraryGraph::Port* LibraryGraph::PortOf(int id) const {
    if (id <= static_cast<int>(nodeCount)) {
        return nullptr;
    }
    const std::size_t k = static_cast<std::size_t>(id) - nodeCount - 1;
    return k < ports.size() ? &ports[k] : nullptr;
}

std::vector<std::size_t> LibraryGraph::Port::Edges() const {
    std::vector<std::size_t> edges;
    edges.reserve(1 + more.size());
    edges.push_back(edge);
    edges.insert(edges.end(), more.begin(), more.end());
    return edges;
}

bool BuildLibraryGraph(const Request& request, int distance, LibraryGraph& lib) {
    const std::size_t n = request.nodeCount;
    const std::size_t m = request.EdgeCount();
    lib.nodeCount = n;
    lib.graph.Reserve(n, m);
    for (std::size_t i = 0; i < n; ++i) {
        lib.graph.AddNode(static_cast<int>(i + 1), request.x.empty() ? 0.0 : request.x[i],
                          request.y.empty() ? 0.0 : request.y[i],
                          !request.fixed.empty() && request.fixed[i] != 0);
    }
    // (node, name) -> port id, for the named ports.
    std::unordered_map<unsigned long long, int> named;
    auto portFor = [&](std::size_t node, int name, std::size_t edge) {
        const unsigned long long key =
            (static_cast<unsigned long long>(node) << 32) | static_cast<unsigned int>(name);
        if (name != kNoPort) {
            const auto it = named.find(key);
            if (it != named.end()) {
                LibraryGraph::Port& port = lib.ports[static_cast<std::size_t>(it->second) - n - 1];
                if ((port.more.empty() ? port.edge : port.more.back()) != edge) {
                    port.more.push_back(edge);
                }
                return it->second;
            }
        }
        const int id = static_cast<int>(n + 1 + lib.ports.size());
        lib.ports.push_back(LibraryGraph::Port{node, name, edge, {}});
        if (name != kNoPort) {
            named.emplace(key, id);
        }
        return id;
    };
    auto nameOf = [](const std::vector<int>& names, std::size_t j) {
        return names.empty() ? kNoPort : names[j];
    };
    lib.ports.reserve(2 * m);
    lib.sourcePorts.resize(m);
    lib.targetPorts.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        lib.sourcePorts[j] = portFor(request.sources[j], nameOf(request.sourcePorts, j), j);
        lib.targetPorts[j] = portFor(request.targets[j], nameOf(request.targetPorts, j), j);
        if (!lib.graph.AddEdge(static_cast<int>(j + 1), static_cast<int>(request.sources[j] + 1),
                               static_cast<int>(request.targets[j] + 1),
                               request.Length(j, distance), lib.sourcePorts[j], lib.targetPorts[j],
                               false)) {
            return false;
        }
    }
    return true;
}

} // namespace netloom::front
