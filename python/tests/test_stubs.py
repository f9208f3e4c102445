"""The type stubs and docstrings against the module, and mypy on a user's script."""

import ast
import importlib.util
import os
import subprocess
import sys
from pathlib import Path

import pytest

import netloom
from netloom import _netloom

PACKAGE = Path(netloom.__file__).parent


def test_stubs_declare_what_the_module_has_and_everything_is_documented():
    tree = ast.parse((PACKAGE / "_netloom.pyi").read_text())
    declared = {}
    for node in tree.body:
        if isinstance(node, ast.FunctionDef):
            declared[node.name] = None
        elif isinstance(node, ast.ClassDef):
            declared[node.name] = {n.name for n in node.body if isinstance(n, ast.FunctionDef)}
        elif isinstance(node, ast.AnnAssign):
            declared[node.target.id] = None
    assert set(declared) == {n for n in dir(_netloom) if not n.startswith("__")}
    for name in ("Graph", "LayoutStrategy"):
        cls = getattr(_netloom, name)
        assert declared[name] == {"__init__"} | {n for n in dir(cls) if not n.startswith("_")}
        for method in declared[name] - {"__init__"}:
            # pybind11 puts the signature first; a description must follow.
            assert len(getattr(cls, method).__doc__.strip().splitlines()) > 1, method
    for name in netloom.__all__:
        assert getattr(netloom, name).__doc__ or not callable(getattr(netloom, name)), name


# A user's script: two calls the types reject, on the lines marked.
SCRIPT = """\
import netloom
pos = netloom.layout(([1, 2], [(1, 2)]), kind="tree", distance=60, center=(0, 0))
x: float = pos[1][0]
result = netloom.layout_result(([1, 2], [(1, 2)]))
row: int = result.grid[1][1]
g = netloom.Graph()
g.add_node(1, 0.0, 0.0)
ids, xy = g.positions_array()
netloom.layout(([1], []), distance="far")  # rejected
g.add_node("one")  # rejected
"""


def test_mypy_checks_a_script_against_the_stubs(tmp_path):
    if importlib.util.find_spec("mypy") is None:
        pytest.fail(
            "mypy is not installed for %s; scripts/ensure-deps.sh installs it" % sys.executable
        )
    script = tmp_path / "user.py"
    script.write_text(SCRIPT)
    run = subprocess.run(
        [sys.executable, "-m", "mypy", "--cache-dir", str(tmp_path / "cache"), str(script)],
        env=dict(os.environ, MYPYPATH=str(PACKAGE.parent)),
        capture_output=True,
        text=True,
    )
    errors = [line.split(":")[1] for line in run.stdout.splitlines() if ": error:" in line]
    rejected = [str(i) for i, line in enumerate(SCRIPT.splitlines(), 1) if "# rejected" in line]
    assert errors == rejected, run.stdout + run.stderr
