"""The Dask example on a local cluster of two worker processes."""

import importlib.util
import os
from pathlib import Path

import pytest

import netloom

distributed = pytest.importorskip(
    "distributed", reason="Dask is missing: apt-get install python3-dask python3-distributed"
)


def test_cluster_positions_equal_the_local_ones():
    path = Path(os.environ.get("NETLOOM_EXAMPLES", "examples")) / "dask_layouts.py"
    found = importlib.util.spec_from_file_location("dask_layouts", path)
    example = importlib.util.module_from_spec(found)
    found.loader.exec_module(example)
    graphs = example.sample_graphs(24)
    cluster = distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None
    )
    with cluster, distributed.Client(cluster) as client:
        for kind in ("force", "radial"):
            remote = example.layout_on_cluster(client, graphs, kind=kind, distance=50)
            assert remote == [netloom.layout(G, kind=kind, distance=50) for G in graphs]
        pids = client.run(os.getpid)
    assert len(set(pids.values()) - {os.getpid()}) == 2
