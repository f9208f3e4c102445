"""Draws a hierarchy layout with its edge routes in matplotlib.

    PYTHONPATH=build/python/python python3 examples/draw_routes.py examples/campus.json out.png
"""

import json
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import networkx as nx  # noqa: E402
from matplotlib.collections import LineCollection  # noqa: E402

import netloom  # noqa: E402

source, target = sys.argv[1], sys.argv[2]
G = nx.node_link_graph(json.load(open(source)))
r = netloom.layout_result(G, kind="hierarchy")

fig, ax = plt.subplots(figsize=(16, 12))
ax.add_collection(LineCollection(list(r.routes.values()), colors="#4a6fa5", linewidths=1))
for node, (x, y) in r.pos.items():
    ax.text(x, y, G.nodes[node].get("label", node), ha="center", va="center", fontsize=6,
            bbox=dict(boxstyle="square,pad=0.3", fc="#dbe9f6", ec="#333333", lw=0.6))
ax.autoscale()
ax.set_aspect("equal")
ax.axis("off")
fig.savefig(target, dpi=100, bbox_inches="tight")
