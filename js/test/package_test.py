#!/usr/bin/env python3
"""The npm package as users get it: `npm pack` holds exactly README, licence, module,
types and .wasm at VERSION's version; installed into a fresh project it lays out a
graph in Node, and pages built from it by esbuild, Vite and webpack lay out the same
bits in headless Chromium. Exits 77 (skipped) without npm, js/dist or a browser."""
import functools
import json
import os
import shutil
import subprocess
import sys
import tempfile
import threading
from http.server import ThreadingHTTPServer

from browser_test import ROOT, Handler, page_browser

JS = os.path.join(ROOT, "js")
BUNDLERS = {"esbuild": "0.28.2", "vite": "8.3.8", "webpack": "5.112.2", "webpack-cli": "7.3.1"}
PACKED = {"package.json", "README.md", "LICENSE", "src/index.js", "src/index.d.ts", "src/node.js",
          "src/wasm-source.js", "src/elk.js", "src/elk.d.ts", "src/elk-node.js",
          "dist/netloom_wasm.mjs", "dist/netloom_wasm.wasm"}
BUILDS = {"esbuild": ["esbuild", "page-esbuild.js", "--bundle", "--format=esm", "--loader:.wasm=file",
                      "--log-level=warning", "--outfile=out/esbuild/page.js"],
          "vite": ["vite", "build", "--config", "vite.config.mjs"],
          "webpack": ["webpack", "--config", "webpack.config.mjs", "--no-stats"]}
NODE_LAYOUT = """import { GRAPH } from "./main.js"; import { layout } from "netloom";
const { positions } = await layout(GRAPH, { kind: "hierarchy" });
console.log(JSON.stringify(Object.fromEntries(positions)));"""


def run(cmd, cwd):
    done = subprocess.run(cmd, cwd=cwd, capture_output=True, text=True, timeout=300)
    if done.returncode != 0:
        sys.exit(f"FAILED: {' '.join(cmd)} (in {cwd}):\n{done.stdout}{done.stderr}")
    return done.stdout


def main(work):
    if not shutil.which("npm") or not os.path.exists(os.path.join(JS, "dist/netloom_wasm.wasm")):
        print("SKIPPED: the npm package test needs npm and js/dist (make wasm)")
        return 77
    listing = run(["npm", "pack", "--json", "--pack-destination", work], JS)
    packed = json.loads(listing[listing.index("["):])[0]  # after the prepack script's output
    names = {f["path"] for f in packed["files"]}
    assert names == PACKED, f"npm pack: unexpected or missing {sorted(names ^ PACKED)}"
    version = open(os.path.join(ROOT, "VERSION")).read().strip()
    assert packed["version"] == version, f"js/package.json has {packed['version']}, VERSION {version}"
    app = os.path.join(work, "app")
    shutil.copytree(os.path.join(ROOT, "examples", "bundlers"), app)
    with open(os.path.join(app, "package.json"), "w") as out:
        json.dump({"private": True, "type": "module", "devDependencies": BUNDLERS,
                   "dependencies": {"netloom": "file:" + os.path.join(work, packed["filename"])}}, out)
    run(["npm", "install", "--no-audit", "--no-fund", "--loglevel=error"], app)
    expected = json.loads(run(["node", "--input-type=module", "-e", NODE_LAYOUT], app))
    problem = page_browser.missing()
    if problem:
        print("SKIPPED: the bundled pages cannot be opened: " + problem)
        return 77
    for name, command in BUILDS.items():
        run(["npx"] + command, app)
        out = os.path.join(app, "out", name)
        if not os.path.exists(os.path.join(out, "index.html")):
            shutil.copy(os.path.join(app, "index.html"), out)
        bundles = [open(os.path.join(d, f)).read() for d, _, fs in os.walk(out) for f in fs if f.endswith(".js")]
        assert bundles and not any("node:fs" in b for b in bundles), f"{name} bundled a Node module"
    server = ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=app + "/out"))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    from selenium.webdriver.support.ui import WebDriverWait

    try:
        with page_browser.Browser(400, 300) as browser:
            for name in BUILDS:
                driver = browser.open(f"http://127.0.0.1:{server.server_port}/{name}/index.html")
                text = WebDriverWait(driver, 60).until(lambda d: d.execute_script(
                    "const t = document.getElementById('result').textContent; return t != 'pending' && t"))
                assert text.startswith("{") and json.loads(text) == expected, f"{name}: {text} != {expected}"
                errors = [e for e in driver.get_log("browser") if e["level"] == "SEVERE"]
                assert not errors, (name, errors)
    finally:
        server.shutdown()
    print(f"npm package test passed: {len(PACKED)} files packed; the esbuild, Vite and webpack "
          f"pages lay out {len(expected)} nodes as Node does")
    return 0


if __name__ == "__main__":
    with tempfile.TemporaryDirectory(prefix="netloom-npm-") as work:
        sys.exit(main(work))
