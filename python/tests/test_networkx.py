"""The networkx-style helper."""

import math

import networkx as nx
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
    result = netloom.layout_result(G, kind="hierarchy", layer_spacing=100)
    assert_finite(result.pos, G)
    named = [p for sides in result.ports.values() for ps in sides.values() for p in ps]
    assert {"ge0", "ge1", "ge2", "up", "up2"} <= set(named)
    edges = [e for e, _ in result.edge_order]
    assert len(edges) == len(set(edges))
    assert set(edges) <= {(u, v, k) for u, v, k in G.edges(keys=True)}
    assert set(result.grid) == set(G.nodes())


def test_plain_node_and_edge_lists_and_bad_arguments():
    pos = netloom.layout(([1, 2, 3], [(1, 2), (2, 3, {"length": 10})]), kind="radial", threads=2)
    assert set(pos) == {1, 2, 3}
    with pytest.raises(ValueError, match="threads"):
        netloom.layout(([1, 2], [(1, 2)]), kind="force", threads=-1)
    with pytest.raises(ValueError, match="unknown layout kind"):
        netloom.layout(nx.path_graph(2), kind="spiral")
    with pytest.raises(KeyError, match="unknown node"):
        netloom.layout(([1], [(1, 2)]))
    with pytest.raises(TypeError, match="not a number"):
        netloom.layout(([1, 2], [(1, 2, {"length": "far"})]))


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
    with pytest.warns(UserWarning, match="leave out 13 node"):
        pos = netloom.layout(G, kind="hierarchy", levels={0: ["Medici"], 1: ["Pazzi"]})
    assert len(set(pos.values())) == len(G)
