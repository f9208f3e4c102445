"""netloom: layout of network diagrams.

Two levels:

* ``netloom.Graph`` and ``netloom.LayoutStrategy``: the library's own interface,
  with integer node, edge and port ids.
* ``netloom.layout(G, kind=...)``: lays out a networkx graph (or any nodes and
  edges with hashable ids) and returns ``{node: (x, y)}`` ready for
  ``networkx.draw(G, pos)``; ``netloom.layout_result`` also returns grid cells,
  ports and the edge order.
"""

import warnings

from ._netloom import (  # noqa: F401
    FORCE_DIRECTED,
    HIERARCHY,
    LAYOUT_TYPE_NAMES,
    RADIANT,
    SIDES,
    TREE,
    Graph,
    LayoutStrategy,
    direction_levels,
    layout_parameters,
)

__all__ = [
    "Graph",
    "LayoutStrategy",
    "LayoutResult",
    "layout",
    "layout_result",
    "layout_parameters",
    "FORCE_DIRECTED",
    "TREE",
    "RADIANT",
    "HIERARCHY",
    "SIDES",
]

# The library's layout type names, and "force-directed", which only Python accepts.
KINDS = {**LAYOUT_TYPE_NAMES, "force-directed": FORCE_DIRECTED}


class LayoutResult:
    """What a layout produced, keyed by the caller's own node and edge ids.

    pos:        {node: (x, y)}
    grid:       {node: (base_row, row, col)} (tree and hierarchy layouts)
    ports:      {node: {"up": [port, ...], "down": [...], "right": [...], "left": [...]}}
    edge_order: [(edge, component_index), ...] where edge is (u, v) or (u, v, key)
    """

    def __init__(self, pos, grid, ports, edge_order):
        self.pos = pos
        self.grid = grid
        self.ports = ports
        self.edge_order = edge_order

    def __repr__(self):
        return "LayoutResult(%d nodes, %d ordered edges)" % (len(self.pos), len(self.edge_order))


class _MappedStrategy(LayoutStrategy):
    """Runs a strategy written for the caller's node ids on the library's ids."""

    def __init__(self, to_int, to_node, levels=None, direction=1, arrange_mode=0, user=None):
        LayoutStrategy.__init__(self)
        self._to_int = to_int
        self._to_node = to_node
        self._levels = levels
        self._direction = direction
        self._arrange_mode = arrange_mode
        self._user = user

    def get_arrange_mode(self):
        if self._user is not None and hasattr(self._user, "get_arrange_mode"):
            return int(self._user.get_arrange_mode())
        return self._arrange_mode

    def get_direction(self):
        if self._user is not None and hasattr(self._user, "get_direction"):
            return int(self._user.get_direction())
        return self._direction

    def get_levels(self, node_ids):
        if self._user is not None and hasattr(self._user, "get_levels"):
            levels = self._user.get_levels([self._to_node[i] for i in node_ids])
        else:
            levels = self._levels
        if levels is None:
            return None
        result = {}
        for key, nodes in levels.items():
            # Nodes outside this graph are passed on as ids the graph does not hold.
            result[int(key)] = [self._to_int.get(n, -1 - i) for i, n in enumerate(nodes)]
        return result


def _edges_of(G):
    """(u, v, key, attributes) for every edge of a networkx graph or an edge list."""
    if hasattr(G, "is_multigraph") and G.is_multigraph():
        return [(u, v, k, d) for u, v, k, d in G.edges(keys=True, data=True)]
    if hasattr(G, "edges") and hasattr(G, "nodes"):
        return [(u, v, None, d) for u, v, d in G.edges(data=True)]
    raise TypeError("expected a networkx graph or a (nodes, edges) pair")


def layout_result(
    G,
    kind="hierarchy",
    distance=40,
    layer_spacing=200,
    max_cols=None,
    fixed_layout=False,
    pos=None,
    fixed=None,
    levels=None,
    direction=1,
    arrange_mode=0,
    strategy=None,
    length="length",
    source_port="source_port",
    target_port="target_port",
    flip_y=True,
    threads=0,
):
    """Lays out G and returns a LayoutResult.

    G: a networkx graph, or a pair (nodes, edges) where edges are (u, v) or
       (u, v, attributes) tuples.
    kind: "force", "tree", "radial" or "hierarchy" (or 1, 2, 4, 8).
    pos / fixed: start positions {node: (x, y)} and nodes the force-directed
       layout must not move (with fixed_layout=True their components stay put).
    levels / direction / arrange_mode: a strategy for the tree and hierarchy
       layouts. levels: "direction" (each node at its longest directed path from
       a source, cycles broken; the default for a directed G), "degree" (the
       layout picks its roots) or {level: [nodes]} (a node it leaves out of a
       component it names goes one level below its nearest listed neighbour,
       with a UserWarning); direction 1 to 4; arrange_mode 2 splits the second
       level. Or
       strategy, an object with any of get_levels(nodes), get_direction() and
       get_arrange_mode() working on your node ids.
    length, source_port, target_port: edge attribute names.
    flip_y: the library's y grows downward; by default y is negated so that
       matplotlib (y upward) shows the first layer on top.
    threads: threads of the force-directed layout for components of 1,024
       nodes or more; 0 for one per hardware thread. Positions do not depend
       on it.
    """
    if isinstance(G, tuple) and len(G) == 2:
        nodes, raw_edges = G
        nodes = list(nodes)
        edges = []
        for e in raw_edges:
            if len(e) == 2:
                edges.append((e[0], e[1], None, {}))
            elif len(e) == 3:
                edges.append((e[0], e[1], None, dict(e[2])))
            else:
                raise TypeError("an edge must be (u, v) or (u, v, attributes)")
    else:
        nodes = list(G.nodes())
        edges = _edges_of(G)

    if isinstance(kind, str):
        if kind not in KINDS:
            raise ValueError("unknown layout kind %r; use one of %s" % (kind, ", ".join(sorted(KINDS))))
        type_code = KINDS[kind]
    else:
        type_code = int(kind)

    pos = pos or {}
    fixed = set(fixed or ())
    to_int = {}
    to_node = {}
    graph = Graph()
    for i, n in enumerate(nodes, start=1):
        if n in to_int:
            raise ValueError("node %r is listed twice" % (n,))
        to_int[n] = i
        to_node[i] = n
        x, y = pos.get(n, (0.0, 0.0))
        graph.add_node(i, float(x), float(y), n in fixed)

    port_ids = {}

    def port_of(value, fresh):
        if value is None:
            return fresh
        if value not in port_ids:
            port_ids[value] = len(port_ids) + 1
        return port_ids[value]

    # Ends without a port get ids of their own, after every named port.
    fresh_base = 1 << 30
    edge_keys = {}
    for i, (u, v, k, d) in enumerate(edges, start=1):
        for end in (u, v):
            if end not in to_int:
                raise KeyError("edge (%r, %r) names an unknown node %r" % (u, v, end))
        try:
            edge_length = int(d.get(length, distance))
        except (TypeError, ValueError):
            raise TypeError("edge (%r, %r): length %r is not a number" % (u, v, d.get(length)))
        sp = port_of(d.get(source_port), fresh_base + 2 * i)
        tp = port_of(d.get(target_port), fresh_base + 2 * i + 1)
        graph.add_edge(i, to_int[u], to_int[v], edge_length, sp, tp, False)
        edge_keys[i] = (u, v) if k is None else (u, v, k)

    if max_cols is not None:
        graph.set_max_col_count(int(max_cols))
    graph.set_fixed_layout(bool(fixed_layout))
    graph.set_layout_threads(int(threads))
    layered = type_code in (KINDS["tree"], KINDS["hierarchy"])
    directed = hasattr(G, "is_directed") and G.is_directed()
    if levels is None and strategy is None and directed and layered:
        levels = "direction"
    if strategy is not None:
        if isinstance(levels, str):
            raise ValueError("levels=%r and a strategy cannot be combined" % (levels,))
        graph.set_strategy(
            _MappedStrategy(to_int, to_node, levels, int(direction), int(arrange_mode), strategy)
        )
    elif levels is not None or direction != 1 or arrange_mode != 0:
        if levels == "direction":
            by_level = {}
            index_edges = [(to_int[u] - 1, to_int[v] - 1) for u, v, _, _ in edges]
            for i, level in enumerate(direction_levels(len(nodes), index_edges), start=1):
                by_level.setdefault(level, []).append(i)
        elif levels is None or levels == "degree":
            by_level = {}
        elif isinstance(levels, str):
            raise ValueError("levels must be 'direction', 'degree' or {level: [nodes]}, not %r" % (levels,))
        else:
            # Nodes outside this graph are passed on as ids the graph does not hold.
            by_level = {
                int(key): [to_int.get(n, -1 - i) for i, n in enumerate(members)]
                for key, members in levels.items()
            }
        graph.set_levels(by_level, int(direction), int(arrange_mode))
    graph.layout(int(distance), type_code, int(layer_spacing))
    placed = graph.placed_by_neighbour()
    if placed:
        warnings.warn(
            "the levels leave out %d node(s) of components they name; each went one level "
            "below its nearest listed neighbour" % placed,
            UserWarning,
            stacklevel=2,
        )

    sign = -1.0 if flip_y else 1.0
    positions = graph.positions()
    port_names = {v: k for k, v in port_ids.items()}
    result_pos = {}
    grid = {}
    ports = {}
    for i, n in to_node.items():
        x, y = positions[i]
        result_pos[n] = (x, sign * y)
        grid[n] = graph.grid(i)
        sides = graph.ports(i)
        ports[n] = {side: [port_names.get(p, p) for p in sides[side]] for side in SIDES}
    order = [
        (edge_keys[e], c)
        for e, c in zip(graph.sorted_edges(), graph.sorted_edges_in_graph())
        if e in edge_keys
    ]
    return LayoutResult(result_pos, grid, ports, order)


def layout(G, kind="hierarchy", distance=40, layer_spacing=200, **options):
    """Lays out G and returns {node: (x, y)}; see layout_result for the options."""
    return layout_result(G, kind, distance, layer_spacing, **options).pos
