#!/usr/bin/env python3
"""The npm package as its users get it: `npm pack` holds exactly the README, the
licence, the module, its types and the .wasm, at the version of the VERSION file;
the tarball installed into a fresh project lays out a graph in Node, and a page
built from it with esbuild, Vite and webpack (from the npm registry) lays out the
same graph, to the same bits, in headless Chromium.

Usage: package_test.py. Needs js/dist (make wasm). Exits 77 (skipped) when npm or
the browser stack is not installed."""
import functools
import json
import os
import shutil
import subprocess
import sys
import tempfile
import threading
from http.server import SimpleHTTPRequestHandler, ThreadingHTTPServer

HERE = os.path.dirname(os.path.abspath(__file__))
JS = os.path.dirname(HERE)
ROOT = os.path.dirname(JS)
sys.path.insert(0, os.path.join(ROOT, "scripts"))
import page_browser  # noqa: E402

# Pinned so that the test sees the same bundlers every day.
BUNDLERS = {"esbuild": "0.28.2", "vite": "8.3.8", "webpack": "5.112.2", "webpack-cli": "7.3.1"}
PACKED = {"package.json", "README.md", "LICENSE", "src/index.js", "src/index.d.ts", "src/node.js",
          "src/wasm-source.js", "dist/netloom_wasm.mjs", "dist/netloom_wasm.wasm"}
BUILDS = {
    "esbuild": [["npx", "esbuild", "page-esbuild.js", "--bundle", "--format=esm", "--platform=browser",
                 "--loader:.wasm=file", "--log-level=warning", "--outfile=out/esbuild/page.js"]],
    "vite": [["npx", "vite", "build", "--config", "vite.config.mjs"]],
    "webpack": [["npx", "webpack", "--config", "webpack.config.mjs", "--no-stats"]],
}
NODE_LAYOUT = """
import { GRAPH } from "./main.js";
import { layout } from "netloom";
const { positions } = await layout(GRAPH, { kind: "hierarchy" });
console.log(JSON.stringify(Object.fromEntries(positions)));
"""


class Handler(SimpleHTTPRequestHandler):
    extensions_map = {".js": "text/javascript", ".mjs": "text/javascript",
                      ".wasm": "application/wasm", ".html": "text/html"}

    def log_message(self, *args):
        pass


def run(cmd, cwd, timeout=300):
    done = subprocess.run(cmd, cwd=cwd, capture_output=True, text=True, timeout=timeout)
    if done.returncode != 0:
        raise SystemExit(f"FAILED: {' '.join(cmd)} (in {cwd}):\n{done.stdout}{done.stderr}")
    return done.stdout


def check_tarball(work):
    listing = run(["npm", "pack", "--json", "--pack-destination", work], JS)
    packed = json.loads(listing[listing.index("["):])[0]  # after the prepack script's output
    names = {f["path"] for f in packed["files"]}
    assert names == PACKED, f"npm pack holds {sorted(names ^ PACKED)} unexpectedly (or misses them)"
    version = open(os.path.join(ROOT, "VERSION")).read().strip()
    assert packed["version"] == version, f"js/package.json has {packed['version']}, VERSION {version}"
    return os.path.join(work, packed["filename"])


def main():
    if not shutil.which("npm") or not os.path.exists(os.path.join(JS, "dist/netloom_wasm.wasm")):
        print("SKIPPED: the npm package test needs npm and js/dist (make wasm)")
        return 77
    work = tempfile.mkdtemp(prefix="netloom-npm-")
    try:
        tarball = check_tarball(work)
        app = os.path.join(work, "app")
        shutil.copytree(os.path.join(JS, "bundled-page"), app)
        with open(os.path.join(app, "package.json"), "w") as out:
            json.dump({"private": True, "type": "module", "dependencies": {"netloom": "file:" + tarball},
                       "devDependencies": BUNDLERS}, out)
        run(["npm", "install", "--no-audit", "--no-fund", "--loglevel=error"], app)
        expected = json.loads(run(["node", "--input-type=module", "-e", NODE_LAYOUT], app))
        assert len(expected) == 5, expected

        problem = page_browser.missing()
        if problem:
            print("SKIPPED: the bundled pages cannot be opened: " + problem)
            return 77
        for name, commands in BUILDS.items():
            for command in commands:
                run(command, app)
            out = os.path.join(app, "out", name)
            if not os.path.exists(os.path.join(out, "index.html")):
                shutil.copy(os.path.join(app, "index.html"), out)
            for file in os.listdir(out):
                if file.endswith(".js"):
                    assert "node:fs" not in open(os.path.join(out, file)).read(), (name, file)
        server = ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(
            Handler, directory=os.path.join(app, "out")))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        try:
            with page_browser.Browser(400, 300) as browser:
                from selenium.webdriver.support.ui import WebDriverWait

                for name in BUILDS:
                    driver = browser.open(f"http://127.0.0.1:{server.server_port}/{name}/index.html")
                    result = lambda d: d.execute_script(  # noqa: E731
                        "return document.getElementById('result').textContent")
                    WebDriverWait(driver, 60).until(lambda d: result(d) != "pending")
                    text = result(driver)
                    assert not text.startswith("error"), f"{name}: {text}"
                    assert json.loads(text) == expected, f"{name}: {text} differs from Node's {expected}"
                    errors = [e for e in driver.get_log("browser") if e["level"] == "SEVERE"]
                    assert not errors, (name, errors)
        finally:
            server.shutdown()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    print(f"npm package test passed: the tarball holds {len(PACKED)} files; esbuild, Vite and webpack "
          "pages lay out the graph as Node does")
    return 0


if __name__ == "__main__":
    sys.exit(main())
