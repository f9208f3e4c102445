"""netloom: layout of network diagrams.

Two levels:

* ``netloom.layout(G, kind=...)``: lays out a networkx graph (or any nodes and
  edges with hashable ids) and returns ``{node: (x, y)}`` ready for
  ``networkx.draw(G, pos)``; ``netloom.layout_result`` also returns grid cells,
  ports by the names the edges gave them and the edge order. Both check their
  arguments as the ``netloom`` command-line tool does.
* ``netloom.Graph`` and ``netloom.LayoutStrategy``: the library's own interface,
  with integer node, edge and port ids.
"""

from __future__ import annotations

import contextlib
import gc
import math
import numbers
import os
import sys
import threading
import warnings
from concurrent.futures import ThreadPoolExecutor
from types import FrameType
from typing import (
    Any,
    Callable,
    Dict,
    Hashable,
    Iterable,
    Iterator,
    List,
    Mapping,
    Optional,
    Sequence,
    Tuple,
    Union,
)

try:
    import numpy as np
except ImportError:  # layouts work without numpy; the *_array methods and center/scale need it
    np = None

from ._netloom import (  # noqa: F401
    _add_edges,
    _node_index,
    _points_by_node,
    _Request,
    _run_layout,
    FORCE_DIRECTED,
    HIERARCHY,
    LAYOUT_TYPE_NAMES,
    LIMITS,
    RADIANT,
    SIDES,
    TREE,
    Graph,
    LayoutProgress,
    LayoutStrategy,
    StopFlag,
    direction_levels,
    layout_parameters,
)
from ._version import __version__

__all__ = [
    "Graph",
    "LayoutStrategy",
    "LayoutResult",
    "LayoutProgress",
    "StopFlag",
    "layout",
    "layout_result",
    "layout_many",
    "layout_parameters",
    "FORCE_DIRECTED",
    "TREE",
    "RADIANT",
    "HIERARCHY",
    "SIDES",
]

Node = Hashable
Position = Tuple[float, float]
# The graph argument: a networkx graph, or (nodes, edges) with edges (u, v) or
# (u, v, attributes).
GraphLike = Any

# The layout type names and aliases every front end accepts.
KINDS: Dict[str, int] = dict(LAYOUT_TYPE_NAMES)
_CODES = frozenset(KINDS.values())

# The ranges every front end checks.
_MAX_DISTANCE = LIMITS["distance"][1]
_MAX_COLS = LIMITS["max-cols"][1]
_MAX_ARRANGE_MODE = LIMITS["arrange-mode"][1]
_MAX_THREADS = LIMITS["threads"][1]
_MAX_LEVEL = LIMITS["level"][1]


class LayoutResult:
    """What a layout produced, keyed by the caller's own node and edge ids.

    pos:        {node: (x, y)}
    grid:       {node: (base_row, row, col)} (tree and hierarchy layouts)
    ports:      {node: {"up": [port, ...], "down": [...], "right": [...], "left": [...]}}
                (hierarchy layout), each port by the name an edge gave it, None for an
                edge end without a named port
    edge_order: [(edge, component_index), ...] where edge is (u, v) or (u, v, key)
                (hierarchy layout)
    routes:     {edge: (k, 2) array of points}, each edge's drawn route from its source's
                port to its target's, in the coordinates of pos (orthogonal in the
                hierarchy layout, straight or bent in the others); edges keyed as in
                edge_order
    stopped:    True when a progress callable or a StopFlag stopped the layout early
                (every position is still valid)

    grid, ports and edge_order are read from the laid-out graph when first used
    (the result keeps that graph until then), so a caller who needs only pos
    does not pay for them.
    """

    def __init__(
        self,
        pos: Dict[Node, Position],
        grid: Optional[Dict[Node, Tuple[int, int, int]]] = None,
        ports: Optional[Dict[Node, Dict[str, List[Optional[Hashable]]]]] = None,
        edge_order: Optional[List[Tuple[Tuple[Hashable, ...], int]]] = None,
        reader: Optional[Callable[[str], Any]] = None,
    ) -> None:
        self.pos = pos
        self._values: Dict[str, Any] = {
            "grid": grid,
            "ports": ports,
            "edge_order": edge_order,
            "routes": None,
        }
        self._reader = reader
        self.stopped = False

    def _get(self, name: str) -> Any:
        if self._values[name] is None and self._reader is not None:
            with _no_collection():
                self._values[name] = self._reader(name)
            if all(v is not None for v in self._values.values()):
                self._reader = None
        return self._values[name]

    @property
    def grid(self) -> Dict[Node, Tuple[int, int, int]]:
        """{node: (base_row, row, col)}"""
        return self._get("grid")

    @property
    def ports(self) -> Dict[Node, Dict[str, List[Optional[Hashable]]]]:
        """{node: {side: [port name or None, ...]}}"""
        return self._get("ports")

    @property
    def edge_order(self) -> List[Tuple[Tuple[Hashable, ...], int]]:
        """[(edge, component_index), ...]"""
        return self._get("edge_order")

    @property
    def routes(self) -> Dict[Tuple[Hashable, ...], Any]:
        """{edge: (k, 2) array of route points}"""
        return self._get("routes")

    def __repr__(self) -> str:
        return "LayoutResult(%d nodes)" % len(self.pos)


def _integer(name: str, value: Any, low: int, high: int) -> int:
    if isinstance(value, bool) or not isinstance(value, numbers.Integral):
        raise TypeError("%s must be an integer, not %r" % (name, value))
    if not low <= int(value) <= high:
        raise ValueError("%s must be from %d to %d, not %r" % (name, low, high, value))
    return int(value)


def _finite(name: str, value: Any) -> float:
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError("%s must be a number, not %r" % (name, value))
    if not math.isfinite(value):
        raise ValueError("%s must be finite, not %r" % (name, value))
    return float(value)


def _point(name: str, value: Any) -> Position:
    try:
        x, y = value
    except (TypeError, ValueError):
        raise TypeError("%s must be a pair (x, y), not %r" % (name, value)) from None
    return _finite(name, x), _finite(name, y)


def _kind_code(kind: Union[str, int], name: str = "kind") -> int:
    if isinstance(kind, str):
        code = KINDS.get(kind.lower())
        if code is None and kind.isdigit() and int(kind) in _CODES:
            code = int(kind)
    elif isinstance(kind, numbers.Integral) and not isinstance(kind, bool):
        code = int(kind) if int(kind) in _CODES else None
    else:
        raise TypeError("%s must be a layout name or code, not %r" % (name, kind))
    if code is None:
        raise ValueError(
            "%s: unknown layout %r; use one of %s (or %s)"
            % (name, kind, ", ".join(sorted(KINDS)), ", ".join(map(str, sorted(_CODES))))
        )
    return code


_native_graph_layout = Graph.layout


def _graph_layout(
    self: Graph,
    distance: int = 40,
    type: Union[str, int] = HIERARCHY,
    layer_spacing: int = 200,
    progress: Optional[Callable[[LayoutProgress], Any]] = None,
    stop: Optional[StopFlag] = None,
) -> None:
    # Layout names ("force", "tree", "radial", "hierarchy") as well as codes.
    if isinstance(type, str):
        type = _kind_code(type, "type")
    _native_graph_layout(self, distance, type, layer_spacing, progress, stop)


_graph_layout.__doc__ = _native_graph_layout.__doc__
Graph.layout = _graph_layout  # type: ignore


def _nodes_and_edges(G: GraphLike) -> Tuple[List[Node], Any, int, bool]:
    """Nodes, the edges as _add_edges takes them, their source code, and whether G is directed."""
    if isinstance(G, tuple) and len(G) == 2:
        return list(G[0]), G[1], 0, False
    if not (hasattr(G, "edges") and hasattr(G, "nodes")):
        raise TypeError("G must be a networkx graph or a (nodes, edges) pair, not %r" % (G,))
    directed = bool(G.is_directed()) if hasattr(G, "is_directed") else False
    multi = bool(G.is_multigraph()) if hasattr(G, "is_multigraph") else False
    adjacency = getattr(G, "_adj", None)
    if type(adjacency) is dict:
        # A plain networkx graph: its adjacency dicts, walked in C++.
        return list(G.nodes()), adjacency, 1 + int(directed) + 2 * int(multi), directed
    if multi:
        return list(G.nodes()), list(G.edges(keys=True, data=True)), 0, directed
    return list(G.nodes()), list(G.edges(data=True)), 0, directed


def _lookup(index: Dict[Node, int], node: Any, where: str) -> int:
    try:
        i = index.get(node)
    except TypeError:
        raise TypeError("%s: %r is not hashable, so not a node" % (where, node)) from None
    if i is None:
        raise ValueError("%s: %r is not a node of the graph" % (where, node))
    return i


def _level_map(levels: Any, index: Dict[Node, int]) -> Dict[int, List[int]]:
    if not isinstance(levels, Mapping):
        raise TypeError(
            "levels must be 'direction', 'degree' or {level: [nodes]}, not %r" % (levels,)
        )
    result = {}
    for key, members in levels.items():
        level = _integer("levels: key %r" % (key,), key, -_MAX_LEVEL, _MAX_LEVEL)
        if isinstance(members, (str, bytes)) or not isinstance(members, Iterable):
            raise TypeError("levels[%r] must be a list of nodes, not %r" % (key, members))
        result[level] = [_lookup(index, n, "levels[%r]" % (key,)) for n in members]
    return result


def _caller_level() -> int:
    """The warnings stack level of the caller's code: the first frame outside this module."""
    frame: Optional[FrameType] = sys._getframe(1)
    level = 1
    while frame is not None and frame.f_globals.get("__name__") == __name__:
        frame = frame.f_back
        level += 1
    return level


_collection_lock = threading.Lock()
_collection_holders = 0
_collection_was_enabled = False


@contextlib.contextmanager
def _no_collection() -> Iterator[None]:
    """Building and reading back allocate objects for every node and edge: the
    garbage collector would walk the caller's whole graph again and again.
    Layouts on several threads share the switch: the last one out restores it."""
    global _collection_holders, _collection_was_enabled
    with _collection_lock:
        if _collection_holders == 0:
            _collection_was_enabled = gc.isenabled()
            gc.disable()
        _collection_holders += 1
    try:
        yield
    finally:
        with _collection_lock:
            _collection_holders -= 1
            if _collection_holders == 0 and _collection_was_enabled:
                gc.enable()


def _labels(G: GraphLike, nodes: List[Node], label: Any) -> List[str]:
    """The text drawn in each node's box: its label attribute (or mapping entry), or its id."""
    if isinstance(label, Mapping):
        return [str(label.get(v, v)) for v in nodes]
    data = getattr(G, "nodes", None)
    if not hasattr(data, "items") and not callable(getattr(data, "__getitem__", None)):
        return [str(v) for v in nodes]
    try:
        return [str(data[v].get(label, v)) for v in nodes]
    except (TypeError, AttributeError, KeyError):
        return [str(v) for v in nodes]


def _request(G, nodes, index, edges, source, directed, pos, fixed, flip_y, distance, attributes):
    """The front layer's request for nodes 1..n and edges 1..m, the edge keys and port names."""
    n = len(nodes)
    x = y = fixed_flags = None
    zeros = np.zeros if np is not None else (lambda size, dtype=float: [dtype()] * size)
    if pos:
        x = zeros(n)
        y = zeros(n)
        for node, p in pos.items():
            i = _lookup(index, node, "pos") - 1
            x[i], y[i] = _point("pos[%r]" % (node,), p)
        if flip_y:
            y = [-v for v in y] if np is None else -y
    if fixed:
        fixed_flags = zeros(n, dtype=bool)
        for node in fixed:
            fixed_flags[_lookup(index, node, "fixed") - 1] = True
    request = _Request(n, x, y, fixed_flags, _labels(G, nodes, attributes[3]), directed)
    keys, names = _add_edges(request, index, edges, source, *attributes[:3], distance)
    return request, keys, names


class _MappedStrategy(LayoutStrategy):
    """Runs a strategy written for the caller's node ids on the library's ids."""

    def __init__(self, to_int, nodes, levels, direction, arrange_mode, user):
        LayoutStrategy.__init__(self)
        self._to_int = to_int
        self._nodes = nodes
        self._levels = levels
        self._direction = direction
        self._arrange_mode = arrange_mode
        self._user = user

    def get_arrange_mode(self):
        if hasattr(self._user, "get_arrange_mode"):
            return _integer(
                "get_arrange_mode()", self._user.get_arrange_mode(), 0, _MAX_ARRANGE_MODE
            )
        return self._arrange_mode

    def get_direction(self):
        if hasattr(self._user, "get_direction"):
            return _integer("get_direction()", self._user.get_direction(), 1, 4)
        return self._direction

    def get_levels(self, node_ids):
        if hasattr(self._user, "get_levels"):
            levels = self._user.get_levels([self._nodes[i - 1] for i in node_ids])
            return None if levels is None else _level_map(levels, self._to_int)
        return self._levels


def layout_result(
    G: GraphLike,
    kind: Union[str, int] = "hierarchy",
    distance: int = 40,
    layer_spacing: int = 200,
    max_cols: Optional[int] = None,
    fixed_layout: bool = False,
    pos: Optional[Mapping[Node, Sequence[float]]] = None,
    fixed: Optional[Iterable[Node]] = None,
    levels: Union[str, Mapping[int, Iterable[Node]], None] = None,
    direction: int = 1,
    arrange_mode: int = 0,
    strategy: Any = None,
    length: str = "length",
    source_port: str = "source_port",
    target_port: str = "target_port",
    flip_y: bool = True,
    threads: int = 0,
    center: Optional[Sequence[float]] = None,
    scale: Optional[float] = None,
    progress: Optional[Callable[[LayoutProgress], Any]] = None,
    stop: Optional[StopFlag] = None,
    label: Union[str, Mapping[Node, str]] = "label",
) -> LayoutResult:
    """Lays out G and returns a LayoutResult.

    G: a networkx graph, or a pair (nodes, edges) where edges are (u, v) or
       (u, v, attributes) tuples.
    kind: "force", "tree", "radial" or "hierarchy" (or 1, 2, 4, 8).
    distance: node distance (1 to 100,000): spring length of the force layout,
       column unit of the layered layouts, the length of an edge without one.
    layer_spacing: distance between the layers of the tree and hierarchy
       layouts (1 to 100,000).
    max_cols: most columns in a grid row of the layered layouts; None or 0 for
       no limit.
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
    label: the node attribute whose text is drawn in a node's box, or a mapping
       {node: text} (default: the id);
       box sizes, and so the routes, depend on it as in the command-line tool.
    length, source_port, target_port: edge attribute names. A length is a number
       from 0 to 46,340; ends with the same port name on one node share a port,
       an end without one gets a port of its own (None in the result).
    flip_y: the library's y grows downward; by default y is negated (in pos and
       in the result) so that matplotlib (y upward) shows the first layer on top.
    threads: threads of the force-directed layout for components of 1,024
       nodes or more (0 to 1,024); 0 for one per hardware thread. Positions do
       not depend on it.
    center / scale: as networkx's layouts, off by default: with either, the
       positions are moved so that their mean is center (default (0, 0)); with
       scale, they are also scaled so that the largest coordinate is scale.
    progress: called with a LayoutProgress after every step (each force
       iteration, each layered step); its return value is ignored, and
       record.stop() ends the layout at the next point where every position is
       valid (result.stopped is then True). stop: a StopFlag another thread may
       set to the same effect. Ctrl-C stops the layout and raises
       KeyboardInterrupt.

    Bad arguments raise TypeError or ValueError naming the argument and value.
    """
    type_code = _kind_code(kind)
    distance = _integer("distance", distance, 1, _MAX_DISTANCE)
    layer_spacing = _integer("layer_spacing", layer_spacing, 1, _MAX_DISTANCE)
    max_cols = 0 if max_cols is None else _integer("max_cols", max_cols, 0, _MAX_COLS)
    direction = _integer("direction", direction, 1, 4)
    arrange_mode = _integer("arrange_mode", arrange_mode, 0, _MAX_ARRANGE_MODE)
    threads = _integer("threads", threads, 0, _MAX_THREADS)
    if center is not None:
        center = _point("center", center)
    if scale is not None and _finite("scale", scale) <= 0:
        raise ValueError("scale must be above 0, not %r" % (scale,))
    if np is None and (center is not None or scale is not None):
        raise ImportError("center and scale need numpy (pip install numpy)")
    if isinstance(levels, str) and levels not in ("direction", "degree"):
        raise ValueError(
            "levels must be 'direction', 'degree' or {level: [nodes]}, not %r" % (levels,)
        )
    if strategy is not None and isinstance(levels, str):
        raise ValueError("levels=%r and a strategy cannot be combined" % (levels,))

    nodes, edges, source, directed = _nodes_and_edges(G)
    with _no_collection():
        index = _node_index(nodes)
        request, keys, names = _request(
            G,
            nodes,
            index,
            edges,
            source,
            directed,
            pos,
            fixed,
            flip_y,
            distance,
            (length, source_port, target_port, label),
        )
    given: Dict[int, List[int]] = {}
    mode = "auto"
    own = None
    if strategy is not None:
        level_map = None if levels is None else _level_map(levels, index)
        own = _MappedStrategy(index, nodes, level_map, direction, arrange_mode, strategy)
    elif isinstance(levels, str):
        mode = levels
    elif levels is not None:
        mode = "given"
        given = {k: [i - 1 for i in v] for k, v in _level_map(levels, index).items()}
    if progress is not None and not callable(progress):
        raise TypeError("progress must be callable, not %r" % (progress,))
    run = _run_layout(
        request,
        type_code,
        distance,
        layer_spacing,
        max_cols,
        bool(fixed_layout),
        mode,
        given,
        direction if direction != 1 else 0,
        arrange_mode if arrange_mode != 0 else -1,
        threads,
        own,
        progress,
        stop,
        True,
    )
    placed = run.placed_by_neighbour
    if placed:
        warnings.warn(
            "the levels leave out %d node(s) of components they name; each went one level "
            "below its nearest listed neighbour" % placed,
            UserWarning,
            stacklevel=_caller_level(),
        )

    sign = -1.0 if flip_y else 1.0
    shift: Any = 0.0
    factor = 1.0
    if np is None:
        with _no_collection():
            pos = {node: (x, y * sign) for node, (x, y) in zip(nodes, run.positions())}
    else:
        xy = run.xy()
        xy[:, 1] *= sign
        if len(nodes) and (center is not None or scale is not None):
            shift = xy.mean(axis=0)
            xy -= shift
            limit = np.abs(xy).max()
            if scale is not None and limit > 0:
                factor = scale / limit
                xy *= factor
            if center is not None:
                xy += center
        with _no_collection():
            pos = _points_by_node(nodes, xy)

    def routes() -> Dict[Tuple[Hashable, ...], Any]:
        out = run.routes(keys)
        if np is None:
            return {key: [(x, y * sign) for x, y in points] for key, points in out.items()}
        for points in out.values():
            points[:, 1] *= sign
            if center is not None or scale is not None:
                points -= shift
                points *= factor
                if center is not None:
                    points += center
        return out

    readers = {
        "grid": lambda: run.grid(nodes),
        "ports": lambda: run.ports(nodes, names),
        "edge_order": lambda: run.edge_order(keys),
        "routes": routes,
    }
    result = LayoutResult(pos, reader=lambda name: readers[name]())
    result.stopped = run.stopped
    return result


def layout(
    G: GraphLike,
    kind: Union[str, int] = "hierarchy",
    distance: int = 40,
    layer_spacing: int = 200,
    **options: Any,
) -> Dict[Node, Position]:
    """Lays out G and returns {node: (x, y)}, as networkx's layout functions do.

    Takes the options of layout_result (pos, fixed, levels, center, scale, ...).
    """
    return layout_result(G, kind, distance, layer_spacing, **options).pos


def layout_many(
    graphs: Iterable[GraphLike], jobs: Optional[int] = None, **options: Any
) -> List[Dict[Node, Position]]:
    """Lays out every graph and returns their positions in order: the same as
    [layout(G, **options) for G in graphs], computed on `jobs` threads (default:
    one per CPU). The layouts run without the GIL. Each force layout uses one
    thread unless `threads` says otherwise, so the jobs do not compete for cores.
    """
    graphs = list(graphs)
    jobs = _integer("jobs", (os.cpu_count() or 1) if jobs is None else jobs, 1, 4096)
    options.setdefault("threads", 1)
    if jobs == 1 or len(graphs) <= 1:
        return [layout(G, **options) for G in graphs]
    # Ctrl-C reaches the waiting main thread; the flag then stops the running
    # layouts and the queued ones are dropped.
    stop = options.setdefault("stop", StopFlag())
    pool = ThreadPoolExecutor(max_workers=min(jobs, len(graphs)))
    try:
        futures = [pool.submit(layout, G, **options) for G in graphs]
        return [future.result() for future in futures]
    except BaseException:
        stop.set()
        raise
    finally:
        pool.shutdown(wait=True, cancel_futures=True)
