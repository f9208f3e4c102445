#!/usr/bin/env python3
"""Lays out many graphs on a Dask cluster.

Laying out many graphs is embarrassingly parallel: each layout is one task, and
Dask's distributed scheduler spreads the tasks over the workers of a cluster.
Without an address the example starts a local cluster of worker processes; with
one it uses the scheduler of a real cluster, whose workers need the netloom
package installed (pip install --no-build-isolation . on each, or the wheel):

    python3 examples/dask_layouts.py                      # local cluster, 2 workers
    python3 examples/dask_layouts.py --scheduler tcp://scheduler:8786 --graphs 10000
"""

import argparse
import random
import time

import networkx as nx
from distributed import Client, LocalCluster

import netloom


def sample_graphs(count, seed=1):
    """`count` random sparse graphs of 50 to 200 nodes (trees with a few extra edges)."""
    rng = random.Random(seed)
    graphs = []
    for i in range(count):
        n = rng.randint(50, 200)
        G = nx.Graph(nx.random_tree(n, seed=rng.randrange(2**31)))
        for _ in range(n // 10):
            G.add_edge(rng.randrange(n), rng.randrange(n))
        graphs.append(G)
    return graphs


def layout_on_cluster(client, graphs, **options):
    """netloom.layout of every graph as one task each on the client's cluster, in order."""
    futures = client.map(netloom.layout, graphs, pure=False, **options)
    return client.gather(futures)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--scheduler", help="address of a running scheduler (default: a local cluster)")
    parser.add_argument("--workers", type=int, default=2, help="worker processes of the local cluster")
    parser.add_argument("--graphs", type=int, default=200, help="number of graphs")
    parser.add_argument("--kind", default="force", help="force, tree, radial or hierarchy")
    args = parser.parse_args()

    graphs = sample_graphs(args.graphs)
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, dashboard_address=None)
        client = Client(cluster)
    with client:
        start = time.perf_counter()
        positions = layout_on_cluster(client, graphs, kind=args.kind)
        elapsed = time.perf_counter() - start
    nodes = sum(len(p) for p in positions)
    print("%d graphs (%d nodes) laid out in %.2f s on %s"
          % (len(positions), nodes, elapsed, args.scheduler or "a local cluster"))


if __name__ == "__main__":
    main()
