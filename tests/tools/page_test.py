#!/usr/bin/env python3
"""The interactive page in headless Chromium, as a user meets it: the search box finds a
node, hovering a node lists the same edges as the tool's JSON output, and the drawing is
not blank.

Usage: page_test.py NETLOOM SAMPLE [SCREENSHOT.png]. Exits 77 (skipped) when Chromium,
chromedriver or Selenium is not installed."""
import json
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../scripts"))
import page_browser  # noqa: E402


def main():
    tool, sample = sys.argv[1], sys.argv[2]
    problem = page_browser.missing()
    if problem:
        print("SKIPPED: the page test cannot run: " + problem)
        return 77
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys

    work = tempfile.TemporaryDirectory(prefix="netloom-page-")  # removed on exit
    page = os.path.join(work.name, "page.html")
    subprocess.run([tool, "layout", sample, "-t", "hierarchy", "-o", page], check=True)
    laid = json.loads(subprocess.run([tool, "layout", sample, "-t", "hierarchy"], check=True,
                                     capture_output=True, text=True).stdout)
    key = lambda v: v if isinstance(v, str) else json.dumps(v)  # noqa: E731
    links = [(key(link["source"]), key(link["target"])) for link in laid["links"]]
    degree = {key(v["id"]): sum(key(v["id"]) in link for link in links) for v in laid["nodes"]}
    hub = max(degree, key=degree.get)
    leaf = min((v for v in degree if degree[v]), key=lambda v: (degree[v], v))

    with page_browser.Browser(1000, 720) as browser:
        driver = browser.open(page)
        call = lambda expr, *args: driver.execute_script("return netloomPage." + expr, *args)  # noqa
        assert call("nodeCount") == len(laid["nodes"])

        def info(node):
            title = driver.find_element(By.CSS_SELECTOR, "#info h2").text
            listed = sorted((li.get_attribute("data-source"), li.get_attribute("data-target"))
                            for li in driver.find_elements(By.CSS_SELECTOR, "#info .edge"))
            assert title == node, f"the info panel shows {title!r}, not {node!r}"
            assert listed == sorted(l for l in links if node in l), f"{node}: {listed}"

        # The search box finds the hub by its id, centres and keeps it.
        driver.find_element(By.ID, "query").send_keys(hub, Keys.ENTER)
        info(hub)
        position = call("screenPosition(arguments[0])", hub)
        browser.hover(position["x"], position["y"])
        info(hub)
        # Seen whole, hovering another node shows that one.
        driver.find_element(By.ID, "fit").click()
        position = call("screenPosition(arguments[0])", leaf)
        browser.hover(position["x"], position["y"])
        info(leaf)

        errors = [entry for entry in driver.get_log("browser") if entry["level"] == "SEVERE"]
        assert not errors, errors
        png = driver.get_screenshot_as_png()
        colours = page_browser.colour_count(driver, png)
    if len(sys.argv) > 3:
        with open(sys.argv[3], "wb") as out:
            out.write(png)
    assert colours > 8, "the screenshot is blank"
    print(f"page test passed: search and hover on {hub!r} and {leaf!r}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
