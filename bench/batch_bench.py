#!/usr/bin/env python3
"""Batch throughput: 1,000 graphs of 50 to 200 nodes, a quarter of them in each
layout type, laid out with 1 and 2 workers by the tool (--outdir, --jobs) and by
netloom.layout_many (jobs). Prints graphs per second.

Usage: PYTHONPATH=build/python/python batch_bench.py NETLOOM_TOOL [GRAPHS]
"""

import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import netloom

KINDS = ("force", "tree", "radial", "hierarchy")


def sample(count, seed=5):
    """(nodes, edges) pairs: random trees with a tenth as many extra edges."""
    rng = random.Random(seed)
    graphs = []
    for _ in range(count):
        n = rng.randint(50, 200)
        edges = [(rng.randrange(v), v) for v in range(1, n)]
        edges += [(rng.randrange(n), rng.randrange(n)) for _ in range(n // 10)]
        graphs.append((list(range(n)), edges))
    return graphs


def best_of(runs, work):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    tool = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    graphs = sample(count)
    by_kind = {kind: graphs[i::len(KINDS)] for i, kind in enumerate(KINDS)}
    with tempfile.TemporaryDirectory() as folder:
        files = {kind: [] for kind in KINDS}
        for kind, group in by_kind.items():
            for i, (_, edges) in enumerate(group):
                path = Path(folder) / ("%s-%04d.edgelist" % (kind, i))
                path.write_text("".join("%d %d\n" % e for e in edges))
                files[kind].append(str(path))
        for jobs in (1, 2):
            def run_tool():
                for kind in KINDS:
                    subprocess.run([tool, "layout", *files[kind], "--type", kind, "--outdir",
                                    str(Path(folder) / "out"), "--to", "json", "--jobs",
                                    str(jobs)], check=True)
            seconds = best_of(3, run_tool)
            print("tool        jobs=%d  %6.2f s  %7.1f graphs/s" % (jobs, seconds, count / seconds))
    for jobs in (1, 2):
        def run_many():
            for kind in KINDS:
                netloom.layout_many(by_kind[kind], jobs=jobs, kind=kind)
        seconds = best_of(3, run_many)
        print("layout_many jobs=%d  %6.2f s  %7.1f graphs/s" % (jobs, seconds, count / seconds))


if __name__ == "__main__":
    main()
