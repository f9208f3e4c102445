#!/usr/bin/env bash
# Builds a wheel of the checkout with pip (no build isolation, no package index),
# installs it into a fresh virtual environment and, from outside the checkout,
# lays out a networkx graph with the installed package.
# Usage: wheel_install.sh SOURCE_DIR [PYTHON]
set -euo pipefail
root=$(cd "$1" && pwd)
python=${2:-/usr/bin/python3}

# Missing tools fail the test, naming what to install.
for module in pip venv setuptools wheel pybind11 numpy networkx; do
    if ! "$python" -c "import $module" 2>/dev/null; then
        echo "FAILED: cannot build a wheel: $python has no module $module" \
             "(scripts/ensure-deps.sh installs it)" >&2
        exit 1
    fi
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# One job: the machine's cores belong to the test run around this test.
CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-1} \
    "$python" -m pip wheel "$root" --no-build-isolation --no-index --no-deps -q -w "$work/dist"
"$python" -m venv --system-site-packages "$work/venv"
"$work/venv/bin/python" -m pip install --no-index -q "$work"/dist/netloom-*.whl

cd "$work"
"$work/venv/bin/python" - <<'PY'
import sys
import zipfile
from pathlib import Path

import networkx as nx
import netloom

assert Path(netloom.__file__).is_relative_to(sys.prefix), netloom.__file__
wheel = next(Path("dist").glob("netloom-*.whl"))
names = {Path(n).name for n in zipfile.ZipFile(wheel).namelist()}
assert {"py.typed", "_netloom.pyi", "__init__.py"} <= names, names
assert not any(n.endswith((".h", ".a")) or n.startswith("libnetloom") for n in names), names
G = nx.karate_club_graph()
pos = netloom.layout(G, kind="force", center=(1, 1), scale=2)
assert set(pos) == set(G) and len(set(pos.values())) == len(G)
print("netloom wheel %s installed in %s: %d nodes laid out" % (wheel.name, sys.prefix, len(pos)))
PY
