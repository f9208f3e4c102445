#!/usr/bin/env python3
"""The demo page (js/demo/) in headless Chromium, served from localhost: picking a JSON
and a GraphML sample draws one circle per node and a screenshot that is not blank, and
the page keeps responding while a 10,000-node graph is laid out in its worker.

Usage: browser_test.py [SCREENSHOT.png]. Exits 77 (skipped) when Chromium, chromedriver
or Selenium is not installed."""
import functools
import json
import os
import random
import sys
import tempfile
import threading
from http.server import SimpleHTTPRequestHandler, ThreadingHTTPServer

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "../.."))
sys.path.insert(0, os.path.join(ROOT, "scripts"))
import page_browser  # noqa: E402

# The longest the page's main thread may pause while the worker lays out 10^4 nodes.
LONGEST_PAUSE_MS = 500


class Handler(SimpleHTTPRequestHandler):
    extensions_map = {".mjs": "text/javascript", ".js": "text/javascript",
                      ".wasm": "application/wasm", ".html": "text/html"}

    def log_message(self, *args):
        pass


def main():
    problem = page_browser.missing()
    if problem:
        print("SKIPPED: the demo page test cannot run: " + problem)
        return 77
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait

    server = ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(
        Handler, directory=os.path.join(ROOT, "js")))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    work = tempfile.TemporaryDirectory(prefix="netloom-demo-")
    rnd = random.Random(1)
    big = os.path.join(work.name, "big.json")
    with open(big, "w") as out:
        n = 10000
        links = [{"source": rnd.randrange(i), "target": i} for i in range(1, n)]
        json.dump({"nodes": [{"id": i} for i in range(n)], "links": links}, out)
    samples = [("campus.json", "hierarchy", 36), ("org-tree.graphml", "tree", None), (big, "force", 10000)]
    try:
        with page_browser.Browser(1000, 720) as browser:
            driver = browser.open(f"http://127.0.0.1:{server.server_port}/demo/index.html")
            state = lambda key: driver.execute_script(f"return netloomDemo.{key}")  # noqa: E731
            for sample, kind, count in samples:
                path = sample if os.path.isabs(sample) else os.path.join(ROOT, "examples", sample)
                if count is None:
                    count = open(path).read().count("<node ")
                # The layout kind for the next file (a change event would lay out the last one).
                driver.execute_script("kind.value = arguments[0]; netloomDemo.state = 'picking'", kind)
                driver.find_element(By.ID, "file").send_keys(path)
                WebDriverWait(driver, 300).until(lambda d: state("state") in ("drawn", "error"))
                assert state("state") == "drawn", driver.find_element(By.ID, "status").text
                circles = len(driver.find_elements(By.CSS_SELECTOR, "circle.node"))
                assert circles == count == state("nodeCount"), (sample, circles, count)
                if count < 1000:
                    png = driver.get_screenshot_as_png()
                    assert page_browser.colour_count(driver, png) > 8, f"{sample}: blank drawing"
                    if len(sys.argv) > 1 and sample == "campus.json":
                        with open(sys.argv[1], "wb") as out:
                            out.write(png)
            pause, took = state("longestPause"), state("layoutMs")
            assert pause < LONGEST_PAUSE_MS, f"the page paused {pause:.0f} ms during the layout"
            errors = [e for e in driver.get_log("browser") if e["level"] == "SEVERE"]
            assert not errors, errors
    finally:
        server.shutdown()
    print(f"demo page test passed: 10^4-node force layout in the worker took {took:.0f} ms, "
          f"the page's longest pause meanwhile {pause:.0f} ms")
    return 0


if __name__ == "__main__":
    sys.exit(main())
