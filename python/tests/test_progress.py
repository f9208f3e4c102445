"""Progress records, stopping a layout early, and Ctrl-C during a layout."""

import math
import os
import signal
import threading

import networkx as nx
import pytest

import netloom

G = nx.grid_2d_graph(12, 12)


def finite(result):
    return all(math.isfinite(c) for xy in result.pos.values() for c in xy)


def test_records_stop_flag_and_exceptions():
    records = []
    assert not netloom.layout_result(G, "force", progress=records.append).stopped
    assert records[0].step == "RadiantLayout" and "component=0/1" in repr(records[0])
    assert [r.iteration for r in records[1:]] == list(range(1, len(records)))
    assert {(r.step, r.max_iterations, r.threshold) for r in records[1:]} == {
        ("ForceDirectedLayout", 1500, 72.0)
    }
    assert records[-1].work_done == records[-1].work_total
    # tqdm's update returns True after drawing: the return value never stops.
    assert not netloom.layout_result(G, "force", progress=lambda p: True).stopped

    seen = []
    result = netloom.layout_result(
        G, "force", progress=lambda p: seen.append(p) or (p.iteration == 5 and p.stop())
    )
    assert result.stopped and len(seen) == 6 and finite(result)
    flag = netloom.StopFlag()
    flag.set()
    assert netloom.layout_result(G, "tree", stop=flag).stopped

    with pytest.raises(TypeError, match="progress"):
        netloom.layout(G, progress=3)


def test_ctrl_c_stops_the_layout_and_raises_keyboard_interrupt():
    # SIGINT from another thread once a long layout runs, as Ctrl-C would.
    started = threading.Event()
    sender = threading.Thread(target=lambda: (started.wait(), os.kill(os.getpid(), signal.SIGINT)))
    sender.start()
    H = nx.convert_node_labels_to_integers(nx.grid_2d_graph(60, 60), 1)
    sources, targets = zip(*H.edges())
    g = netloom.Graph()
    g.add_nodes(list(H))
    g.add_edges(list(range(1, len(sources) + 1)), list(sources), list(targets))
    with pytest.raises(KeyboardInterrupt):
        g.layout(40, netloom.FORCE_DIRECTED, progress=lambda p: started.set())
    sender.join()
    assert g.was_layout_stopped() and g.layout_work_done() > 0
    assert all(math.isfinite(c) for xy in g.positions().values() for c in xy)
