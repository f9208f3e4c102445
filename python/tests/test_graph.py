"""The low-level Graph against the results the C++ tests check."""

import math
import threading

import numpy as np
import pytest

import netloom

NO_METHOD = 3  # a layout type with no method: components are only stacked


def triangle_pair():
    g = netloom.Graph()
    g.add_node(1, 0, 0)
    g.add_node(2, 30, 0)
    g.add_node(3, 500, 500)
    g.add_node(4, -50, -50)
    g.add_node(5, -50, 10)
    g.add_edge(1, 1, 2, 10)
    g.add_edge(2, 5, 4, 10)
    return g


def test_stacking_and_parameters_match_the_library():
    g = triangle_pair()
    g.layout(40, NO_METHOD, 200)
    assert g.positions() == {
        1: (110.0, 210.0),
        2: (140.0, 210.0),
        3: (110.0, 430.0),
        4: (110.0, 650.0),
        5: (110.0, 710.0),
    }
    ids, xy = g.positions_array()
    assert list(ids) == [1, 2, 3, 4, 5]
    assert xy.shape == (5, 2) and xy[4, 1] == 710.0
    g.layout(50, NO_METHOD, 80)
    params = netloom.layout_parameters()
    assert params["layout_distance"] == 50.0
    assert params["column_spacing"] == 50.0
    assert params["layer_spacing"] == 80.0
    assert params["layout_distance_sqr"] == 2500.0
    g.layout(40, NO_METHOD, 200)


def test_building_errors_are_python_exceptions():
    g = netloom.Graph()
    g.add_node(1)
    g.add_node(2, 1.5, 2.5, True)
    with pytest.raises(ValueError, match="duplicate node id 1"):
        g.add_node(1)
    with pytest.raises(KeyError, match="unknown target node 9"):
        g.add_edge(1, 1, 9)
    g.add_edge(1, 1, 2, 30, 11, 21)
    with pytest.raises(ValueError, match="duplicate edge id 1"):
        g.add_edge(1, 2, 1)
    with pytest.raises(ValueError, match="same ports"):
        g.add_edge(2, 2, 1, 30, 21, 11)
    g.add_edge(2, 2, 1, 30, 21, 11, reject_duplicate=False)
    with pytest.raises(TypeError):
        g.add_node("three")
    with pytest.raises(TypeError):
        g.add_edge(3, 1.5, 2)
    with pytest.raises(KeyError):
        g.position(7)
    with pytest.raises(KeyError):
        g.delete_edge(7)
    assert g.edge(1) == {
        "source": 1,
        "target": 2,
        "length": 30.0,
        "source_port": 11,
        "target_port": 21,
        "unique": True,
    }
    g.delete_node(1)
    assert g.number_of_edges() == 0
    assert g.position(2) == (1.5, 2.5)
    copy = g.copy()
    copy.delete_node(2)
    assert g.number_of_nodes() == 1 and copy.number_of_nodes() == 0


def test_bulk_arrays_add_all_or_nothing():
    n = 1000
    g = netloom.Graph()
    ids = np.arange(1, n + 1)
    g.add_nodes(ids, x=np.linspace(0, 1, n), y=np.zeros(n))
    assert g.number_of_nodes() == n
    with pytest.raises(ValueError, match="duplicate node id 5 at index 2"):
        g.add_nodes(np.array([n + 1, n + 2, 5]))
    assert g.number_of_nodes() == n, "a failed batch adds nothing"
    sources = np.arange(1, n)
    g.add_edges(np.arange(1, n), sources, sources + 1, lengths=np.full(n - 1, 20))
    assert g.number_of_edges() == n - 1
    with pytest.raises(KeyError):
        g.add_edges(np.array([n, n + 1]), np.array([1, 2]), np.array([3, n + 7]))
    assert g.number_of_edges() == n - 1
    with pytest.raises(ValueError, match="length"):
        g.add_edges(np.array([n]), np.array([1, 2]), np.array([3]))
    with pytest.raises(ValueError, match="32-bit"):
        g.add_nodes(np.array([2**40]))
    g.layout(40, netloom.RADIANT, 200)
    _, xy = g.positions_array()
    assert np.isfinite(xy).all()


def test_ports_and_edge_order_readers():
    g = netloom.Graph()
    for i in (1, 2, 3):
        g.add_node(i)
    g.add_edge(1, 1, 2, 40, 11, 21)
    g.add_edge(2, 1, 3, 40, 12, 31)
    g.add_edge(3, 2, 3, 40, 22, 32)
    g.layout(40, netloom.HIERARCHY, 200)
    seen = set()
    for node in (1, 2, 3):
        sides = g.ports(node)
        assert set(sides) == set(netloom.SIDES)
        for side, ports in sides.items():
            for slot, port in enumerate(ports):
                assert g.port_position(node, port) == (netloom.SIDES.index(side), slot)
                seen.add(port)
    assert g.port_position(1, 999) is None
    ids, cells = g.grid_array()
    assert [tuple(c) for c in cells] == [g.grid(i) for i in ids]
    ids, counts, flat = g.ports_array()
    assert counts.tolist() == [[len(g.ports(i)[s]) for s in netloom.SIDES] for i in ids]
    assert list(flat) == [p for i in ids for s in netloom.SIDES for p in g.ports(i)[s]]
    assert sorted(g.sorted_edges()) == sorted(set(g.sorted_edges()))
    assert len(g.sorted_edges_in_graph()) == len(g.sorted_edges())


def test_layout_releases_the_gil():
    g = netloom.Graph()
    n = 200_000
    ids = np.arange(1, n + 1)
    g.add_nodes(ids)
    g.add_edges(ids[:-1], ids[:-1], ids[1:])
    started = threading.Event()

    def work():
        started.set()
        g.layout(40, NO_METHOD, 200)

    worker = threading.Thread(target=work)
    worker.start()
    started.wait()
    spins = 0
    while worker.is_alive():
        spins += 1
    worker.join()
    # Holding the GIL, the layout would let this loop run only once or twice.
    assert spins > 1000
    assert math.isfinite(g.position(n)[0])
