"""The networkx-style helper."""

import json
import math
import warnings
from pathlib import Path

import networkx as nx
import numpy as np
import pytest

import netloom


def assert_finite(pos, G):
    assert set(pos) == set(G.nodes())
    for x, y in pos.values():
        assert math.isfinite(x) and math.isfinite(y)


@pytest.mark.parametrize("kind", ["force", "tree", "radial", "hierarchy"])
def test_every_kind_places_every_node(kind):
    G = nx.balanced_tree(2, 3)
    G.add_edge("a", "b")  # a second component with string ids
    pos = netloom.layout(G, kind=kind)
    assert_finite(pos, G)
    # Components are stacked, never on top of each other.
    tree_y = [pos[n][1] for n in G.nodes() if not isinstance(n, str)]
    assert all(pos["a"][1] < y for y in tree_y) or all(pos["a"][1] > y for y in tree_y)


def test_ports_lengths_and_multigraph_edges_come_back_by_name():
    G = nx.MultiGraph()
    G.add_edge("core", "sw1", source_port="ge0", target_port="up", length=60)
    G.add_edge("core", "sw1", source_port="ge1", target_port="up2")
    G.add_edge("core", "sw2", source_port="ge2")
    G.add_edge("sw2", "sw3", source_port="up")  # "up" of another node: another port
    result = netloom.layout_result(G, kind="hierarchy", layer_spacing=100)
    assert_finite(result.pos, G)
    named = {n: sorted(sum(sides.values(), []), key=str) for n, sides in result.ports.items()}
    assert named == {
        "core": ["ge0", "ge1", "ge2"],
        "sw1": ["up", "up2"],
        "sw2": [None, "up"],
        "sw3": [None],
    }
    edges = [e for e, _ in result.edge_order]
    assert sorted(edges, key=str) == sorted(G.edges(keys=True), key=str)
    assert set(result.grid) == set(G.nodes())


def test_edges_are_numbered_in_networkx_order():
    from netloom import _netloom

    for cls in (nx.Graph, nx.DiGraph, nx.MultiGraph, nx.MultiDiGraph):
        G = cls()
        G.add_edges_from([(3, 1), (1, 2), (2, 3), (1, 1), (2, 1), (3, 1), (4, 0)])
        multi = G.is_multigraph()
        source = 1 + int(G.is_directed()) + 2 * int(multi)
        index = _netloom._node_index(list(G))
        request = _netloom._Request(len(index), None, None, None, [], False)
        keys, names = _netloom._add_edges(request, index, G._adj, source, "l", "s", "t", 40)
        assert keys == [tuple(e) for e in (G.edges(keys=True) if multi else G.edges())]
        assert names == []


def test_networkx_conventions_for_pos_center_and_scale():
    G = nx.karate_club_graph()
    # Start positions are in the result's own coordinates: fixed nodes stay put.
    for flip_y in (True, False):
        pos = netloom.layout(G, kind="force", flip_y=flip_y)
        options = dict(pos=pos, fixed=G.nodes, fixed_layout=True, flip_y=flip_y)
        assert netloom.layout(G, kind="force", **options) == pos
    scaled = np.array(list(netloom.layout(G, kind="force", center=(5, -5), scale=2).values()))
    assert np.allclose(scaled.mean(axis=0), (5, -5))
    assert np.isclose(np.abs(scaled - (5, -5)).max(), 2)


def test_plain_node_and_edge_lists():
    pos = netloom.layout(([1, 2, 3], [(1, 2), (2, 3, {"length": 10})]), kind="radial", threads=2)
    assert set(pos) == {1, 2, 3}


class GhostLevels:
    def get_levels(self, nodes):
        return {0: ["ghost"]}


G3 = nx.path_graph(["a", "b", "c"])
BAD_ARGUMENTS = [
    (G3, dict(distance=0), ValueError, "distance must be from 1 to 100000, not 0"),
    (G3, dict(distance=-5), ValueError, "distance must be from 1"),
    (G3, dict(distance="40"), TypeError, "distance must be an integer, not '40'"),
    (G3, dict(layer_spacing=100_001), ValueError, "layer_spacing must be from 1"),
    (G3, dict(max_cols=-1), ValueError, "max_cols"),
    (G3, dict(direction=5), ValueError, "direction must be from 1 to 4, not 5"),
    (G3, dict(arrange_mode=-1), ValueError, "arrange_mode"),
    (G3, dict(threads=-1), ValueError, "threads"),
    (G3, dict(kind="spiral"), ValueError, "kind: unknown layout 'spiral'"),
    (G3, dict(kind=3), ValueError, "kind: unknown layout 3"),
    (G3, dict(kind=None), TypeError, "kind must be"),
    (G3, dict(levels={0: ["a", "nowhere"]}), ValueError, r"levels\[0\]: 'nowhere' is not a node"),
    (G3, dict(levels={"top": ["a"]}), TypeError, "levels: key 'top'"),
    (G3, dict(levels={0: "a"}), TypeError, r"levels\[0\] must be a list of nodes"),
    (G3, dict(levels="height"), ValueError, "levels must be 'direction', 'degree'"),
    (G3, dict(levels="direction", strategy=object()), ValueError, "cannot be combined"),
    (G3, dict(fixed=["ghost"]), ValueError, "fixed: 'ghost' is not a node"),
    (G3, dict(pos={"ghost": (0, 0)}), ValueError, "pos: 'ghost' is not a node"),
    (G3, dict(pos={"a": (0, float("nan"))}), ValueError, r"pos\['a'\] must be finite"),
    (G3, dict(pos={"a": 5}), TypeError, r"pos\['a'\] must be a pair"),
    (G3, dict(scale=0), ValueError, "scale must be above 0"),
    (G3, dict(center=(0,)), TypeError, "center must be a pair"),
    (([1, 1], []), {}, ValueError, "nodes: 1 is listed twice"),
    (([1], [(1, 2)]), {}, ValueError, "edges: 2 is not a node of the graph"),
    (([1], [(1,)]), {}, TypeError, "an edge must be"),
    (([1, 2], [(1, 2, {"length": "far"})]), {}, TypeError, r"length must be a number, not 'far'"),
    (
        ([1, 2], [(1, 2, {"length": -1})]),
        {},
        ValueError,
        r"length -1 is out of range \(0 to 46340\)",
    ),
    (
        ([1, 2], [(1, 2, {"w": 1e9})]),
        dict(length="w"),
        ValueError,
        "w 1000000000.0 is out of range",
    ),
    (([1, 2], [(1, 2, {"source_port": []})]), {}, TypeError, r"source_port \[\] is not hashable"),
    ("graph", {}, TypeError, "G must be a networkx graph or a"),
    (G3, dict(strategy=GhostLevels()), ValueError, r"levels\[0\]: 'ghost' is not a node"),
]


@pytest.mark.parametrize("graph, options, error, message", BAD_ARGUMENTS)
def test_bad_arguments_name_the_argument_and_value(graph, options, error, message):
    with pytest.raises(error, match=message):
        netloom.layout(graph, **options)


def test_levels_given_by_node_name():
    G = nx.path_graph(["top", "mid", "low"])
    result = netloom.layout_result(
        G, kind="tree", levels={0: ["low"], 1: ["mid"], 2: ["top"]}, flip_y=False
    )
    assert result.grid["low"][1] < result.grid["mid"][1] < result.grid["top"][1]


@pytest.mark.parametrize("kind", ["tree", "hierarchy"])
def test_directed_graphs_are_layered_by_direction(kind):
    G = nx.DiGraph([("app", "lib"), ("lib", "core"), ("app", "core"), ("core", "app")])
    G.add_edge("tool", "lib")
    pos = netloom.layout(G, kind=kind)  # y upward: sources on top
    assert pos["app"][1] > pos["lib"][1] > pos["core"][1]
    assert pos["tool"][1] > pos["lib"][1]
    by_degree = netloom.layout(G, kind=kind, levels="degree")
    assert set(by_degree) == set(G)


def test_partial_levels_place_the_rest_with_a_warning():
    G = nx.florentine_families_graph()
    with pytest.warns(UserWarning, match="leave out 13 node") as caught:
        pos = netloom.layout(G, kind="hierarchy", levels={0: ["Medici"], 1: ["Pazzi"]})
    assert len(set(pos.values())) == len(G)
    assert caught[0].filename == __file__


# The tool's golden outputs (tests/data/cli/expected/) and the same layout here.
TOOL_CASES = [
    ("campus-hierarchy", "campus.json", "hierarchy", {}),
    ("campus-direction", "campus.json", "hierarchy", {"levels": "direction", "direction": 3}),
    ("florentine-levels", "florentine.json", "hierarchy", {"levels": {0: ["Medici"], 1: ["Pazzi"]}}),
    ("florentine-tree", "florentine.json", "tree", {}),
    ("karate-force", "karate.json", "force", {}),
    ("mesh-radial", "mesh.json", "radial", {"distance": 60}),
]


def test_positions_ports_and_routes_match_the_command_line_tool():
    # Bit for bit: both run the same front layer on the same graph, edges in file order.
    root = Path(__file__).parents[2]
    names = {"length": "length", "sourcePort": "source_port", "targetPort": "target_port"}
    for golden, example, kind, options in TOOL_CASES:
        doc = json.loads((root / "examples" / example).read_text())
        tool = json.loads((root / "tests/data/cli/expected" / (golden + ".json")).read_text())
        nodes = [n["id"] for n in doc["nodes"]]
        labels = {n["id"]: n["label"] for n in doc["nodes"] if "label" in n}
        edges = [
            (e["source"], e["target"], {names[k]: v for k, v in e.items() if k in names})
            for e in doc["links"]
        ]
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            result = netloom.layout_result(
                (nodes, edges), kind, flip_y=False, label=labels, **options
            )
        assert [result.pos[n] for n in nodes] == [(n["x"], n["y"]) for n in tool["nodes"]], golden
        ports = [
            [(side, slot, name) for side, names in result.ports[n].items() for slot, name in enumerate(names)]
            for n in nodes
        ]
        assert ports == [
            [(p["side"], p["slot"], p.get("port")) for p in n.get("ports", [])] for n in tool["nodes"]
        ], golden
        routes = list(result.routes.values())
        assert [r.tolist() for r in routes] == [link["route"] for link in tool["links"]], golden


def test_layout_many_equals_one_by_one():
    graphs = [nx.gnm_random_graph(30 + 7 * i, 40 + 9 * i, seed=i) for i in range(12)]
    for kind in ("force", "hierarchy"):
        expected = [netloom.layout(G, kind=kind, distance=55) for G in graphs]
        assert netloom.layout_many(graphs, jobs=3, kind=kind, distance=55) == expected
    assert netloom.layout_many([]) == []
    with pytest.raises(ValueError, match="jobs"):
        netloom.layout_many(graphs, jobs=0)
