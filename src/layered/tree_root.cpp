#include "layered/layered_workspace.h"

#include <algorithm>
#include <climits>
#include <vector>

namespace netloom {
namespace layered {
namespace {

// Breadth-first distances from source (-1 where unreached). Returns the
// eccentricity of source; farthest is the last node reached; reached counts them.
int Distances(const Adjacency& g, int source, std::vector<int>& dist, std::vector<int>& queue,
              int& farthest, int& reached) {
    std::fill(dist.begin(), dist.end(), -1);
    queue.clear();
    queue.push_back(source);
    dist[static_cast<std::size_t>(source)] = 0;
    for (std::size_t head = 0; head < queue.size(); ++head) {
        const int v = queue[head];
        const int dv = dist[static_cast<std::size_t>(v)];
        for (int k = g.start[static_cast<std::size_t>(v)];
             k < g.start[static_cast<std::size_t>(v) + 1]; ++k) {
            const int w = g.to[static_cast<std::size_t>(k)];
            if (dist[static_cast<std::size_t>(w)] < 0) {
                dist[static_cast<std::size_t>(w)] = dv + 1;
                queue.push_back(w);
            }
        }
    }
    farthest = queue.back();
    reached = static_cast<int>(queue.size());
    return dist[static_cast<std::size_t>(farthest)];
}

struct Best {
    int ecc = INT_MAX;
    int node = -1;
    void Consider(int v, int e) {
        if (e < ecc || (e == ecc && v < node)) {
            ecc = e;
            node = v;
        }
    }
};

// One search per node; only for graphs that are not connected, where each node's
// eccentricity is taken within its own part.
int ByFullSearch(const Adjacency& g, int& eccentricity) {
    const int n = g.Size();
    std::vector<int> dist(static_cast<std::size_t>(n));
    std::vector<int> queue;
    Best best;
    for (int v = 0; v < n; ++v) {
        int far = 0;
        int reached = 0;
        best.Consider(v, Distances(g, v, dist, queue, far, reached));
    }
    eccentricity = best.ecc;
    return best.node;
}

} // namespace

int MinEccentricityNode(const Adjacency& g, int& eccentricity) {
    const int n = g.Size();
    if (n <= 0) {
        return -1;
    }
    const auto un = static_cast<std::size_t>(n);
    std::vector<int> dist(un);
    std::vector<int> queue;
    queue.reserve(un);
    int a = 0;
    int reached = 0;
    Distances(g, 0, dist, queue, a, reached);
    if (reached < n) {
        return ByFullSearch(g, eccentricity);
    }

    // Bounds from every finished search w: ecc(v) >= d(v, w), ecc(v) >= ecc(w) -
    // d(v, w) and ecc(v) <= ecc(w) + d(v, w).
    std::vector<int> lower(un, 0);
    std::vector<int> upper(un, INT_MAX);
    std::vector<char> done(un, 0);
    Best best;
    auto searchFrom = [&](int w) {
        int far = 0;
        int count = 0;
        const int eccW = Distances(g, w, dist, queue, far, count);
        for (std::size_t v = 0; v < un; ++v) {
            const int d = dist[v];
            lower[v] = std::max(lower[v], std::max(d, eccW - d));
            upper[v] = std::min(upper[v], eccW + d);
            if (!done[v] && lower[v] == upper[v]) {
                done[v] = 1;
                best.Consider(static_cast<int>(v), lower[v]);
            }
        }
        return far;
    };

    // Two sweeps: the second and third searches start from far ends. On a tree
    // every node's farthest node is one of the two ends found, so the bounds are
    // then exact everywhere.
    const int b = searchFrom(a);
    searchFrom(b);
    const bool tree = static_cast<std::size_t>(g.to.size()) == 2 * (un - 1);
    if (tree) {
        for (std::size_t v = 0; v < un; ++v) {
            if (!done[v]) {
                done[v] = 1;
                best.Consider(static_cast<int>(v), lower[v]);
            }
        }
    }

    // Search from the most promising open candidate until none can beat the best.
    // A node stays a candidate while its lower bound could still win (ties go to
    // the lower index).
    for (;;) {
        int pick = -1;
        for (std::size_t v = 0; v < un; ++v) {
            if (done[v]) {
                continue;
            }
            const int vi = static_cast<int>(v);
            if (lower[v] > best.ecc || (lower[v] == best.ecc && vi > best.node)) {
                done[v] = 1; // cannot win
                continue;
            }
            if (pick < 0 || lower[v] < lower[static_cast<std::size_t>(pick)]) {
                pick = vi;
            }
        }
        if (pick < 0) {
            break;
        }
        searchFrom(pick);
    }
    eccentricity = best.ecc;
    return best.node;
}

} // namespace layered
} // namespace netloom
