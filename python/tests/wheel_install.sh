#!/usr/bin/env bash
# The Python package as pip users build it, offline (no package index):
# 1. with PYTHON (Debian's): a wheel, installed into a venv that sees the system's
#    numpy and networkx, lays out a networkx graph from outside the checkout;
# 2. with another interpreter (NETLOOM_OTHER_PYTHON, else pyenv's oldest 3.9+, else
#    PYTHON) in a venv without system site packages (no numpy, setuptools, wheel or
#    pybind11 module): `pip install --no-build-isolation .` builds with the
#    machine's CMake and pybind11 and lays out as route 1 does; without CMake on
#    PATH it stops naming CMake and the command that installs it.
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
for candidate in "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.{20..9}*/bin/python3; do
    [ -z "${NETLOOM_OTHER_PYTHON:-}" ] && [ -x "$candidate" ] && other=$candidate
done
other=${other:-$python}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# One job: the machine's cores belong to the test run around this test.
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-1}
"$python" -m pip wheel "$root" --no-index --no-deps -q -w "$work/dist"
"$python" -m venv --system-site-packages "$work/venv"
"$work/venv/bin/python" -m pip install --no-index -q "$work"/dist/netloom-*.whl

# The layouts both routes compare: every type on (nodes, edges), and Graph.layout by name.
cat > "$work/layouts.py" <<'PY'
import json, sys
import netloom
nodes = list(range(30))
edges = [(i, (i * 7 + 3) % 30) for i in range(30) if i != (i * 7 + 3) % 30] + [(0, 5), (5, 9)]
results = [netloom.layout_result((nodes, edges), kind=k) for k in ("force", "tree", "radial", "hierarchy")]
g = netloom.Graph()
g.add_node(1); g.add_node(2); g.add_edge(1, 1, 2); g.layout(type="tree")
json.dump([netloom.__version__, sorted(g.positions().items())]
          + [[r.pos[n] for n in nodes] + [r.grid[n] for n in nodes] + r.edge_order
             + [[[float(c) for c in p] for p in route] for route in r.routes.values()]
             for r in results], sys.stdout)
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
! "$venv" -c 'import numpy' 2>/dev/null || { echo "FAILED: the venv of $other sees numpy" >&2; exit 1; }
mkdir "$work/empty"
if PATH="$work/empty" "$venv" -m pip install --no-build-isolation --no-index -q "$root" > "$work/log" 2>&1 ||
   ! grep -q "needs CMake.*apt-get install cmake" "$work/log"; then
    echo "FAILED: without CMake on PATH the build does not stop naming it:" >&2
    cat "$work/log" >&2
    exit 1
fi
"$venv" -m pip install --no-build-isolation --no-index -q "$root"
"$venv" "$work/layouts.py" > "$work/other.json"
cmp -s "$work/debian.json" "$work/other.json" || { echo "FAILED: $other lays out otherwise" >&2; exit 1; }
grep -q "^\[\"$(cat "$root/VERSION")\"" "$work/other.json" || { echo "FAILED: __version__" >&2; exit 1; }
echo "netloom built with $other in a venv without system packages (no numpy): layouts equal $python's"
