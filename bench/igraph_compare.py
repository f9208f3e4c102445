#!/usr/bin/env python3
"""netloom's layered and force layouts against igraph's Sugiyama and grid
Fruchterman-Reingold layouts on the same graphs.

The graphs are those of the C++ benchmarks (tests/support/generated_graphs.h,
bench/gathering_bench.cpp, bench/force_bench.cpp), produced here with the same
generator (std::mt19937 and libstdc++'s uniform_int_distribution), so the
figures match theirs. Each peer runs in its own process and builds every graph
once before any timing; a run builds a fresh graph (untimed) and times the
layout call alone. Peers alternate case by case, the order turned each run;
each figure is the median of RUNS. Several netloom builds (the Python module
folders of two builds, say before and after a change) can be measured in one
run: each is a peer, the first the one the ratios are taken for.

    /usr/bin/python3 bench/igraph_compare.py [--netloom build/py/python ...]
        [--runs 3] [--cases layered-10k-hierarchy,...] [--check]

--check prints the first edges of each graph instead, to compare with the C++
generator.
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import time

# name: (generator, arguments, netloom type, igraph layout, ratio target or None)
CASES = {
    "layered-10k-hierarchy": ("layered", (50, 200, 5200, 3), 8, "sugiyama", 0.2),
    "layered-10k-tree": ("layered", (50, 200, 5200, 3), 2, "sugiyama", None),
    "dense-10k-hierarchy": ("layered", (500, 20, 20000, 7), 8, "sugiyama", 0.5),
    "dense-10k-tree": ("layered", (500, 20, 20000, 7), 2, "sugiyama", 0.5),
    "layered-100k-hierarchy": ("layered", (500, 200, 52000, 3), 8, "sugiyama", None),
    "layered-100k-tree": ("layered", (500, 200, 52000, 3), 2, "sugiyama", None),
    "dense-100k-hierarchy": ("layered", (5000, 20, 200000, 7), 8, "sugiyama", None),
    "dense-100k-tree": ("layered", (5000, 20, 200000, 7), 2, "sugiyama", None),
    "sparse-10k-force": ("sparse", (10000, 5000, 12345), 1, "fr-grid", 1.0),
}


class Mt19937:
    """std::mt19937 seeded with one integer, drawing through random.Random's
    generator (the same algorithm) from the state that seeding gives."""

    def __init__(self, seed):
        import random

        mt = [seed & 0xFFFFFFFF]
        for i in range(1, 624):
            prev = mt[-1]
            mt.append((1812433253 * (prev ^ (prev >> 30)) + i) & 0xFFFFFFFF)
        self._rng = random.Random()
        self._rng.setstate((3, tuple(mt) + (624,), None))
        self.draw = lambda: self._rng.getrandbits(32)

    def uniform(self, low, high):
        """libstdc++'s uniform_int_distribution(low, high): Lemire's
        multiply-and-shift with rejection, in 32-bit words."""
        span = high - low + 1
        product = self.draw() * span
        low_word = product & 0xFFFFFFFF
        if low_word < span:
            threshold = (0x100000000 - span) % span
            while low_word < threshold:
                product = self.draw() * span
                low_word = product & 0xFFFFFFFF
        return low + (product >> 32)


def layered_dag(layers, width, extra, seed):
    rng = Mt19937(seed)
    edges = []
    for layer in range(1, layers):
        for col in range(width):
            edges.append(((layer - 1) * width + rng.uniform(0, width - 1) + 1, layer * width + col + 1))
    for _ in range(extra):
        layer = rng.uniform(0, layers - 2)
        # GCC evaluates the C++ call's arguments last to first.
        b = (layer + 1) * width + rng.uniform(0, width - 1) + 1
        a = layer * width + rng.uniform(0, width - 1) + 1
        edges.append((a, b))
    return layers * width, edges


def random_sparse(n, extra, seed):
    rng = Mt19937(seed)
    edges = [(rng.uniform(1, v - 1), v) for v in range(2, n + 1)]
    for _ in range(extra):
        b = rng.uniform(1, n)
        edges.append((rng.uniform(1, n), b))
    return n, edges


def make_graph(name):
    kind, args = CASES[name][0], CASES[name][1]
    return layered_dag(*args) if kind == "layered" else random_sparse(*args)


# ---- workers: one process per peer, commands on standard input ----


def netloom_worker(folder, names):
    sys.path.insert(0, folder)
    import numpy as np
    import netloom

    graphs = {}
    for name in names:
        n, edges = make_graph(name)
        ids = np.arange(1, n + 1, dtype=np.int64)
        # The node spread of the C++ benchmarks' Fill.
        x = ((ids * 37) % 1000).astype(np.float64)
        y = ((ids * 91) % 1000).astype(np.float64)
        pairs = np.array(edges, dtype=np.int64)
        graphs[name] = (ids, x, y, np.arange(1, len(edges) + 1, dtype=np.int64), pairs)

    def run(name):
        ids, x, y, edge_ids, pairs = graphs[name]
        g = netloom.Graph()
        g.add_nodes(ids, x, y)
        g.add_edges(edge_ids, pairs[:, 0], pairs[:, 1], reject_duplicate=False)
        start = time.perf_counter()
        g.layout(40, CASES[name][2], 200)
        return time.perf_counter() - start

    return run


def igraph_worker(names):
    import igraph

    graphs = {name: make_graph(name) for name in names}

    def run(name):
        n, edges = graphs[name]
        g = igraph.Graph(n=n + 1, edges=edges, directed=True)  # vertex 0 unused, isolated
        g.delete_vertices(0)
        start = time.perf_counter()
        if CASES[name][3] == "sugiyama":
            g.layout_sugiyama()
        else:
            g.layout_fruchterman_reingold(grid=True)
        return time.perf_counter() - start

    return run


def serve(peer, names):
    run = igraph_worker(names) if peer == "igraph" else netloom_worker(peer, names)
    print("ready", flush=True)
    for line in sys.stdin:
        print(json.dumps(run(line.strip())), flush=True)


# ---- the comparison ----


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--netloom", action="append", help="a netloom Python module folder")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--cases", default=",".join(CASES))
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--serve", help=argparse.SUPPRESS)
    args = parser.parse_args()
    names = [c for c in args.cases.split(",") if c]
    unknown = [c for c in names if c not in CASES]
    if unknown:
        parser.error("unknown case %s; cases: %s" % (", ".join(unknown), ", ".join(CASES)))
    if args.serve:
        serve(args.serve, names)
        return
    if args.check:
        for name in names:
            n, edges = make_graph(name)
            print(name, n, len(edges), edges[:3], edges[-3:])
        return
    folders = args.netloom or [os.path.join("build", "py", "python")]
    peers = [os.path.abspath(f) for f in folders] + ["igraph"]
    for folder in peers[:-1]:
        if not os.path.isdir(os.path.join(folder, "netloom")):
            parser.error("no netloom module in %s (build it with -DNETLOOM_BUILD_PYTHON=ON)" % folder)
    workers = []
    for peer in peers:
        proc = subprocess.Popen(
            [sys.executable, os.path.abspath(__file__), "--serve", peer, "--cases", ",".join(names)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        if proc.stdout.readline().strip() != "ready":
            sys.exit("worker for %s failed to start" % peer)
        workers.append(proc)
    times = {(p, c): [] for p in range(len(peers)) for c in names}
    for r in range(args.runs):
        for name in names:
            for k in range(len(peers)):
                p = (k + r) % len(peers)
                workers[p].stdin.write(name + "\n")
                workers[p].stdin.flush()
                times[(p, name)].append(json.loads(workers[p].stdout.readline()))
    for proc in workers:
        proc.stdin.close()
        proc.wait()
    labels = ["netloom %d" % i if len(peers) > 2 else "netloom" for i in range(len(peers) - 1)]
    header = "%-24s" % "case" + "".join("%12s" % l for l in labels) + "%12s" % "igraph"
    header += "".join("%9s" % ("ratio %d" % i if len(peers) > 2 else "ratio") for i in range(len(peers) - 1))
    print(header + "%8s" % "target")
    for name in names:
        med = [statistics.median(times[(p, name)]) for p in range(len(peers))]
        row = "%-24s" % name + "".join("%10.1f ms" % (1000 * m) for m in med)
        row += "".join("%9.2f" % (m / med[-1]) for m in med[:-1])
        target = CASES[name][4]
        row += "%8s" % ("-" if target is None else "%.2f" % target)
        if target is not None:
            row += "  " + ("met" if med[0] / med[-1] <= target else "missed")
        print(row)
    for i, folder in enumerate(peers[:-1]):
        if len(peers) > 2:
            print("netloom %d: %s" % (i, folder))


if __name__ == "__main__":
    main()
