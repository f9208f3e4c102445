"""Progress records, stopping a layout early, and Ctrl-C during a layout."""

import math
import os
import signal
import threading

import networkx as nx
import pytest

import netloom

G = nx.grid_2d_graph(12, 12)


def grid(n=12):
    g = netloom.Graph()
    for v in range(1, n * n + 1):
        g.add_node(v)
    for v in range(1, n * n + 1):
        if v % n:
            g.add_edge(v, v, v + 1)
        if v <= n * n - n:
            g.add_edge(n * n + v, v, v + n)
    return g


def test_records_stop_and_a_tqdm_style_wrapper():
    plain = grid()
    plain.layout(40, netloom.FORCE_DIRECTED)
    g = grid()
    records = []
    g.layout(40, netloom.FORCE_DIRECTED, progress=records.append)
    assert g.positions() == plain.positions() and not g.was_layout_stopped()
    assert records[0].step == "RadiantLayout"
    assert [r.iteration for r in records[1:]] == list(range(1, len(records)))
    assert {(r.step, r.max_iterations, r.threshold) for r in records[1:]} == {
        ("ForceDirectedLayout", 1500, 72.0)
    }
    assert records[-1].work_done == records[-1].work_total == g.layout_work_done()
    assert "component=0/1" in repr(records[-1])

    # A bar's update returns True after drawing: the return value never stops.
    class Bar:
        n = 0

        def update(self, k):
            self.n += k
            return True

    bar = Bar()
    result = netloom.layout_result(G, "force", progress=lambda p: bar.update(p.work_done - bar.n))
    assert bar.n > 0 and not result.stopped

    seen = []
    result = netloom.layout_result(
        G, "force", progress=lambda p: seen.append(p) or (p.iteration == 5 and p.stop())
    )
    assert result.stopped and len(seen) == 6
    assert all(math.isfinite(c) for xy in result.pos.values() for c in xy)

    flag = netloom.StopFlag()
    flag.set()
    g.layout(40, netloom.HIERARCHY, stop=flag)
    assert g.was_layout_stopped() and flag.is_set()
    with pytest.raises(TypeError, match="progress"):
        netloom.layout(G, progress=3)


def test_an_exception_or_ctrl_c_stops_the_layout_and_is_raised():
    def fail(p):
        raise ValueError("from the callable")

    g = grid()
    with pytest.raises(ValueError, match="from the callable"):
        g.layout(40, netloom.FORCE_DIRECTED, progress=fail)
    assert g.was_layout_stopped()

    # SIGINT from another thread once a long layout runs, as Ctrl-C would.
    started = threading.Event()

    def interrupt():
        started.wait()
        os.kill(os.getpid(), signal.SIGINT)

    sender = threading.Thread(target=interrupt)
    sender.start()
    g = grid(60)
    with pytest.raises(KeyboardInterrupt):
        g.layout(40, netloom.FORCE_DIRECTED, progress=lambda p: started.set())
    sender.join()
    assert g.was_layout_stopped()
    assert all(math.isfinite(c) for xy in g.positions().values() for c in xy)
