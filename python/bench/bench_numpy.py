"""How much of building and laying out a graph from numpy arrays is the binding's.

Builds a 100,000-edge graph (a random spanning tree of 66,667 nodes plus 33,334
random extra edges, duplicate check on) from numpy arrays, lays it out and
reads the positions back as an array, for each layout type. Building and
reading back are timed apart from the layout; they include the library's own
node and edge insertion, so their share of the total is an upper bound on the
time the binding spends. The same build from C++ is
`graph_build_bench --benchmark_filter=BM_BuildGraph/66667`; the difference is
the binding's.

    PYTHONPATH=build/python/python /usr/bin/python3 python/bench/bench_numpy.py
"""

import time

import numpy as np

import netloom

NODES = 66_667
EDGES = 100_000


def random_graph(rng):
    ids = np.arange(1, NODES + 1, dtype=np.int32)
    # Spanning tree: node k joins a random earlier node.
    tree_targets = ids[1:]
    tree_sources = (rng.random(NODES - 1) * (tree_targets - 1)).astype(np.int32) + 1
    extra = EDGES - (NODES - 1)
    extra_sources = rng.integers(1, NODES + 1, extra, dtype=np.int32)
    extra_targets = rng.integers(1, NODES + 1, extra, dtype=np.int32)
    sources = np.concatenate([tree_sources, extra_sources])
    targets = np.concatenate([tree_targets, extra_targets])
    edge_ids = np.arange(1, EDGES + 1, dtype=np.int32)
    # Every edge end gets a port of its own.
    source_ports = 2 * edge_ids
    target_ports = 2 * edge_ids + 1
    return ids, edge_ids, sources, targets, source_ports, target_ports


def run(kind, arrays):
    ids, edge_ids, sources, targets, source_ports, target_ports = arrays
    start = time.perf_counter()
    g = netloom.Graph()
    g.add_nodes(ids)
    g.add_edges(edge_ids, sources, targets, source_ports=source_ports,
                target_ports=target_ports)
    built = time.perf_counter()
    g.layout(40, kind, 200)
    laid_out = time.perf_counter()
    g.positions_array()
    done = time.perf_counter()
    return built - start, laid_out - built, done - laid_out


def main():
    arrays = random_graph(np.random.default_rng(1))
    print("%-10s %9s %9s %9s %9s" % ("layout", "build s", "layout s", "read s", "share"))
    for name, kind in [("radiant", netloom.RADIANT), ("tree", netloom.TREE),
                       ("hierarchy", netloom.HIERARCHY)]:
        build, lay, read = run(kind, arrays)
        share = (build + read) / (build + lay + read)
        print("%-10s %9.3f %9.3f %9.3f %8.1f%%" % (name, build, lay, read, 100 * share))


if __name__ == "__main__":
    main()
