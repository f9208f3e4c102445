"""Headless Chromium through Selenium, for the interactive page's test and benchmark.

Uses Debian's chromium, chromium-driver and python3-selenium (run with /usr/bin/python3).
"""
import os
import sys
import shutil
import tempfile

CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"
PACKAGES = "chromium chromium-driver python3-selenium"


def missing():
    """What of the browser stack is not installed, as text; None when all is there."""
    absent = [path for path in (CHROMIUM, CHROMEDRIVER) if not os.access(path, os.X_OK)]
    try:
        import selenium  # noqa: F401
    except ImportError:
        absent.append("the selenium module for " + os.path.realpath(sys.executable))
    if not absent:
        return None
    verb = "is" if len(absent) == 1 else "are"
    return (f"{', '.join(absent)} {verb} not installed; "
            f"install with: sudo apt-get install -y {PACKAGES}")


def colour_count(driver, png):
    """The number of distinct colours in a PNG screenshot, decoded by the browser."""
    import base64

    return driver.execute_async_script("""
        const done = arguments[arguments.length - 1], img = new Image();
        img.onload = () => {
            const c = document.createElement("canvas"), g = c.getContext("2d");
            [c.width, c.height] = [img.width, img.height];
            g.drawImage(img, 0, 0);
            const d = g.getImageData(0, 0, c.width, c.height).data, seen = new Set();
            for (let i = 0; i < d.length; i += 4) seen.add((d[i] << 16) | (d[i + 1] << 8) | d[i + 2]);
            done(seen.size);
        };
        img.src = "data:image/png;base64," + arguments[0];""", base64.b64encode(png).decode())


class Browser:
    """A headless Chromium with a profile of its own, closed on exit."""

    def __init__(self, width=1200, height=800):
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service

        self.profile = tempfile.mkdtemp(prefix="netloom-chromium-")
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for arg in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                    "--no-first-run", "--disable-background-networking",
                    "--disable-component-update", "--disable-sync", "--hide-scrollbars",
                    f"--window-size={width},{height}", f"--user-data-dir={self.profile}"):
            options.add_argument(arg)
        self.driver = webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)

    def open(self, path):
        self.driver.get(path if "://" in path else "file://" + os.path.abspath(path))
        return self.driver

    def hover(self, x, y):
        """Moves the mouse to (x, y), CSS pixels of the window."""
        from selenium.webdriver.common.action_chains import ActionBuilder

        actions = ActionBuilder(self.driver)
        actions.pointer_action.move_to_location(int(round(x)), int(round(y)))
        actions.perform()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.driver.quit()
        shutil.rmtree(self.profile, ignore_errors=True)
