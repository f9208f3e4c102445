"""How much of netloom.layout_result on a networkx graph is the conversion.

Builds a 100,000-node networkx graph (a random spanning tree plus 20,000
random extra edges, one edge in four with named ports) and runs
netloom.layout_result with the hierarchy layout, timing the layout call inside
it apart from the rest: converting the graph to the library's and reading the
positions back. Reading grid, ports and edge order (done on first use) is
timed after. The conversion includes the library's own node and edge
insertion, timed apart too (the same graph from numpy arrays, as
bench_numpy.py builds it). Each is the best of three runs.

    PYTHONPATH=build/python/python /usr/bin/python3 python/bench/bench_networkx.py
"""

import time

import networkx as nx
import numpy as np

import netloom

NODES = 100_000
EXTRA = 20_000
RUNS = 3


def random_graph(seed=1):
    rng = np.random.default_rng(seed)
    G = nx.Graph()
    G.add_nodes_from("n%d" % i for i in range(NODES))
    parents = (rng.random(NODES - 1) * np.arange(1, NODES)).astype(int)
    extra = rng.integers(0, NODES, (EXTRA, 2))
    pairs = list(zip(parents.tolist(), range(1, NODES))) + [tuple(e) for e in extra.tolist()]
    for j, (a, b) in enumerate(pairs):
        if j % 4 == 0:
            G.add_edge("n%d" % a, "n%d" % b, source_port="p%d" % (j % 8), target_port="up")
        else:
            G.add_edge("n%d" % a, "n%d" % b)
    return G


def main():
    G = random_graph()
    layout_call = netloom.Graph.layout
    spent = []

    def timed_layout(graph, *args):
        start = time.perf_counter()
        layout_call(graph, *args)
        spent.append(time.perf_counter() - start)

    netloom.Graph.layout = timed_layout
    totals, layouts, reads = [], [], []
    for _ in range(RUNS):
        start = time.perf_counter()
        result = netloom.layout_result(G, kind="hierarchy")
        totals.append(time.perf_counter() - start)
        layouts.append(spent[-1])
        start = time.perf_counter()
        result.grid, result.ports, result.edge_order
        reads.append(time.perf_counter() - start)
        del result
    layout = min(layouts)
    convert = min(t - s for t, s in zip(totals, layouts))
    read = min(reads)
    insert = min(library_insertion(G) for _ in range(RUNS))
    print(
        "hierarchy layout %.3f s; conversion and positions %.3f s (%.0f%% of the layout), "
        "of which the library's insertion %.3f s (%.0f%%); grid, ports and edge order "
        "%.3f s (%.0f%%)"
        % (
            layout,
            convert,
            100 * convert / layout,
            insert,
            100 * insert / layout,
            read,
            100 * read / layout,
        )
    )


def library_insertion(G):
    index = {n: i for i, n in enumerate(G, start=1)}
    ends = np.array([(index[u], index[v]) for u, v in G.edges()])
    m = len(ends)
    start = time.perf_counter()
    g = netloom.Graph()
    g.add_nodes(np.arange(1, len(index) + 1))
    g.add_edges(
        np.arange(1, m + 1),
        ends[:, 0],
        ends[:, 1],
        source_ports=np.arange(len(index) + 1, len(index) + 1 + 2 * m, 2),
        target_ports=np.arange(len(index) + 2, len(index) + 2 + 2 * m, 2),
        reject_duplicate=False,
    )
    return time.perf_counter() - start


if __name__ == "__main__":
    main()
