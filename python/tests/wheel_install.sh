#!/usr/bin/env bash
# The Python package as pip users build it, offline (no package index):
# 1. with PYTHON (Debian's): a wheel, installed into a venv that sees the system's
#    numpy and networkx, lays out a networkx graph from outside the checkout;
# 2. with another interpreter (NETLOOM_OTHER_PYTHON, else a pyenv CPython, else
#    PYTHON) in a venv WITHOUT system site packages, so no numpy, setuptools,
#    wheel or pybind11 module: `pip install --no-build-isolation .` builds with the
#    machine's CMake and pybind11 headers, and the layouts equal route 1's; with
#    CMake off PATH the build fails naming it and the command that installs it.
# Usage: wheel_install.sh SOURCE_DIR [PYTHON]
set -euo pipefail
root=$(cd "$1" && pwd)
python=${2:-/usr/bin/python3}

# Missing tools fail the test, naming what to install.
for module in pip venv numpy networkx; do
    if ! "$python" -c "import $module" 2>/dev/null; then
        echo "FAILED: cannot build a wheel: $python has no module $module" \
             "(scripts/ensure-deps.sh installs it)" >&2
        exit 1
    fi
done
other=${NETLOOM_OTHER_PYTHON:-}
if [ -z "$other" ]; then
    for candidate in $(ls -d "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.*/bin/python3 2>/dev/null | sort -V -r); do
        if "$candidate" -c 'import sys, ensurepip; sys.exit(sys.version_info < (3, 9))' 2>/dev/null; then
            other=$candidate
            break
        fi
    done
fi
other=${other:-$python}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# One job: the machine's cores belong to the test run around this test.
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-1}
"$python" -m pip wheel "$root" --no-index --no-deps -q -w "$work/dist"
"$python" -m venv --system-site-packages "$work/venv"
"$work/venv/bin/python" -m pip install --no-index -q "$work"/dist/netloom-*.whl

# The layouts both routes compare: every type on (nodes, edges), positions and grid.
cat > "$work/layouts.py" <<'PY'
import json, sys
import netloom
nodes = list(range(30))
edges = [(i, (i * 7 + 3) % 30) for i in range(30) if i != (i * 7 + 3) % 30] + [(0, 5), (5, 9)]
out = {}
for kind in ("force", "tree", "radial", "hierarchy"):
    r = netloom.layout_result((nodes, edges), kind=kind)
    out[kind] = [[r.pos[n] for n in nodes], [r.grid[n] for n in nodes], r.edge_order]
g = netloom.Graph()
g.add_node(1), g.add_node(2), g.add_edge(1, 1, 2)
g.layout(type="tree")
out["graph"] = sorted(g.positions().items())
json.dump([netloom.__version__, out], sys.stdout)
PY

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
assert {"py.typed", "_netloom.pyi", "__init__.py", "_version.py", "LICENSE"} <= names, names
assert not any(n.endswith((".h", ".a")) or n.startswith("libnetloom") for n in names), names
G = nx.karate_club_graph()
pos = netloom.layout(G, kind="force", center=(1, 1), scale=2)
assert set(pos) == set(G) and len(set(pos.values())) == len(G)
print("netloom wheel %s installed in %s: %d nodes laid out" % (wheel.name, sys.prefix, len(pos)))
PY
"$work/venv/bin/python" "$work/layouts.py" > "$work/debian.json"

"$other" -m venv "$work/isolated"
venv="$work/isolated/bin/python"
if "$venv" -c 'import numpy' 2>/dev/null; then
    echo "FAILED: the venv of $other sees numpy; it should have no packages" >&2
    exit 1
fi
mkdir "$work/empty"
if PATH="$work/empty" "$venv" -m pip install --no-build-isolation --no-index --no-deps -q "$root" \
        > "$work/nocmake.log" 2>&1; then
    echo "FAILED: the build succeeded without CMake on PATH" >&2
    exit 1
fi
if ! grep -q "needs CMake.*apt-get install cmake" "$work/nocmake.log"; then
    echo "FAILED: without CMake the build does not say what to install:" >&2
    cat "$work/nocmake.log" >&2
    exit 1
fi
"$venv" -m pip install --no-build-isolation --no-index --no-deps -q "$root"
"$venv" "$work/layouts.py" > "$work/other.json"
if ! cmp -s "$work/debian.json" "$work/other.json"; then
    echo "FAILED: $other without numpy lays out otherwise than $python:" >&2
    diff <(tr ']' '\n' < "$work/debian.json") <(tr ']' '\n' < "$work/other.json") | head >&2
    exit 1
fi
version=$(cat "$root/VERSION")
grep -q "^\[\"$version\"" "$work/other.json" || { echo "FAILED: __version__ is not $version" >&2; exit 1; }
echo "netloom built and installed with $("$venv" -c 'import sys; print(sys.version.split()[0])') ($other," \
     "venv without system packages, no numpy): layouts equal $python's"
