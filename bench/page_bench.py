#!/usr/bin/env python3
"""Times the interactive page (-o x.html) on a large generated graph in headless Chromium:
page size, loading, and for three views a full redraw, the hit-test of a pointer position
and the handling of a pointer move (hit-test and info panel).

Usage: /usr/bin/python3 bench/page_bench.py NETLOOM [--nodes 100000] [--type hierarchy]
       [--shots DIR]
The graph is a tree of about four children per node with a tenth more edges between
nearby nodes, the same on every run. A redraw is timed until its pixels are ready (the
page reads one pixel back, which waits for the rasteriser); medians of several runs.
"""
import argparse
import os
import random
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../scripts"))
import page_browser  # noqa: E402

# Times the view set up by the first argument (JavaScript run on netloomPage).
MEASURE = """
const P = netloomPage, canvas = document.getElementById("view");
const ctx = canvas.getContext("2d");
new Function("P", arguments[0])(P);
const median = (f, runs) => {
  const t = [];
  for (let r = 0; r < runs; r++) {
    const t0 = performance.now();
    f();
    t.push(performance.now() - t0);
  }
  return t.sort((a, b) => a - b)[runs >> 1];
};
const points = Array.from({ length: 20000 }, (_, i) =>
  [(i * 7919) % innerWidth, 70 + ((i * 104729) % (innerHeight - 110))]);
return {
  zoom: P.view().k,
  redraw: median(() => { P.draw(); ctx.getImageData(0, 0, 1, 1); }, 7),
  hitTest: median(() => { for (const [x, y] of points) P.nodeAt(x, y); }, 5) / points.length * 1e3,
  hover: median(() => {
    for (const [x, y] of points.slice(0, 200))
      canvas.dispatchEvent(new PointerEvent("pointermove", { clientX: x, clientY: y }));
  }, 5) / 200,
};
"""


def write_graph(path, n):
    rng = random.Random(1)
    with open(path, "w") as out:
        for i in range(1, n):
            parent = rng.randrange(max(0, (i - 1) // 4 - 3), (i - 1) // 4 + 1)
            out.write(f"n{parent} n{i}\n")
        for _ in range(n // 10):
            a = rng.randrange(n)
            b = min(n - 1, a + rng.randrange(1, 200))
            if a != b:
                out.write(f"n{a} n{b}\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("netloom")
    parser.add_argument("--nodes", type=int, default=100000)
    parser.add_argument("--type", default="hierarchy")
    parser.add_argument("--shots", help="folder for screenshots of the views timed")
    parser.add_argument("--page", help="time this page (made by an earlier run) instead")
    args = parser.parse_args()
    problem = page_browser.missing()
    if problem:
        sys.exit("page_bench.py cannot run: " + problem)

    page = args.page
    if not page:
        work = tempfile.mkdtemp(prefix="netloom-page-bench-")
        graph, page = os.path.join(work, "big.edgelist"), os.path.join(work, "big.html")
        write_graph(graph, args.nodes)
        start = time.monotonic()
        subprocess.run([args.netloom, "layout", graph, "-t", args.type, "--progress", "never",
                        "-o", page], check=True)
        print(f"{args.nodes} nodes, {args.type} layout: tool {time.monotonic() - start:.1f} s, "
              f"page {page} of {os.path.getsize(page):,} bytes")

    node = f"n{args.nodes // 3}"
    views = (("whole", "P.fit()"), ("zoomed out 8x from a node", f"P.search('{node}'); P.zoom(0.125)"),
             ("zoomed in on a node", f"P.search('{node}')"))
    with page_browser.Browser(1280, 800) as browser:
        driver = browser.open(page)
        driver.set_script_timeout(600)
        load = driver.execute_script(
            "return performance.getEntriesByType('navigation')[0].loadEventEnd")
        print(f"page loaded (parse, index, first draw) in {load:.0f} ms")
        print(f"{'view':28} {'zoom':>8} {'redraw ms':>10} {'hit-test us':>12} {'hover ms':>9}")
        for name, setup in views:
            r = driver.execute_script(MEASURE, setup)
            print(f"{name:28} {r['zoom']:8.2g} {r['redraw']:10.1f} {r['hitTest']:12.2f} "
                  f"{r['hover']:9.3f}")
            if args.shots:
                os.makedirs(args.shots, exist_ok=True)
                browser.hover(640, 400)
                shot = f"page-{args.type}-{name.replace(' ', '-')}.png"
                driver.save_screenshot(os.path.join(args.shots, shot))


if __name__ == "__main__":
    main()
