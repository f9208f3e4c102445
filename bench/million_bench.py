#!/usr/bin/env python3
"""The tool at a million nodes: a random tree given as an edge list, laid out
with the tree, radial and hierarchy layouts to JSON. Reports wall time and peak
memory from /usr/bin/time -v, the median of RUNS runs, with the CPU time (user
and system: steadier than the wall time on a shared machine). With a second tool the
two alternate in one run and their outputs are compared byte for byte (and,
where they differ, once more without the drawing record's crossing counts,
which a tool may leave uncounted on large drawings).

Usage: million_bench.py NETLOOM_TOOL [OTHER_TOOL] [--nodes N] [--runs R]
                        [--types tree,radial,hierarchy]
"""

import argparse
import filecmp
import json
import random
import re
import statistics
import subprocess
import tempfile
from pathlib import Path

LIMITS = {"tree": (3.0, 1.0), "radial": (3.0, 1.0), "hierarchy": (6.0, 2.0)}


def write_tree(path, n, seed=7):
    rng = random.Random(seed)
    with open(path, "w") as out:
        out.writelines("%d %d\n" % (rng.randrange(v), v) for v in range(1, n))


def clock(text):
    """Seconds from time -v's 'h:mm:ss' or 'm:ss.ss'."""
    seconds = 0.0
    for part in text.split(":"):
        seconds = seconds * 60 + float(part)
    return seconds


def run(tool, source, kind, target):
    done = subprocess.run(["/usr/bin/time", "-v", tool, "layout", source, "--type", kind,
                           "--to", "json", "-o", target, "--progress", "never"],
                          capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit("%s failed: %s" % (tool, done.stderr[-2000:]))
    wall = re.search(r"Elapsed \(wall clock\) time.*: (\S+)", done.stderr).group(1)
    rss = re.search(r"Maximum resident set size \(kbytes\): (\d+)", done.stderr).group(1)
    cpu = sum(float(re.search(r"%s time \(seconds\): (\S+)" % what, done.stderr).group(1))
              for what in ("User", "System"))
    return clock(wall), int(rss) / (1024.0 * 1024.0), cpu


def compare(first, second):
    """identical, or where two outputs differ: only in the drawing record's
    crossing counts (one tool counts where the other leaves them null), or more."""
    if filecmp.cmp(str(first), str(second), shallow=False):
        return "identical"
    docs = [json.loads(path.read_text()) for path in (first, second)]
    for doc in docs:
        for key in ("crossings", "straightCrossings"):
            doc.get("layout", {}).get("drawing", {}).pop(key, None)
    if docs[0] == docs[1]:
        return "identical but for the drawing record's crossing counts"
    return "DIFFER"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tools", nargs="+")
    parser.add_argument("--nodes", type=int, default=1000000)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--types", default="tree,radial,hierarchy")
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        source = str(Path(folder) / "tree.edgelist")
        write_tree(source, args.nodes)
        for kind in args.types.split(","):
            figures = {tool: [] for tool in args.tools}
            for _ in range(args.runs):
                for k, tool in enumerate(args.tools):
                    figures[tool].append(run(tool, source, kind,
                                             str(Path(folder) / ("out%d.json" % k))))
            for tool in args.tools:
                wall = statistics.median(f[0] for f in figures[tool])
                rss = statistics.median(f[1] for f in figures[tool])
                cpu = statistics.median(f[2] for f in figures[tool])
                limit = LIMITS.get(kind, (0, 0))
                print("%-10s %-40s %6.2f s %5.2f GB  (cpu %6.2f s; target %.0f s, %.0f GB)"
                      % (kind, tool, wall, rss, cpu, limit[0], limit[1]))
            if len(args.tools) == 2:
                print("%-10s outputs %s" % (kind, compare(Path(folder) / "out0.json",
                                                          Path(folder) / "out1.json")))


if __name__ == "__main__":
    main()
