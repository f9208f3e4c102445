// netloom for JavaScript: the layout library compiled to WebAssembly, behind
// an ES module API. Graphs come as {nodes, links} with the caller's own ids, or
// as typed arrays for large graphs; results are keyed by the same ids.
import createNetloomModule from "../dist/netloom_wasm.mjs";
import { wasmBinary } from "./wasm-source.js";

export const KINDS = Object.freeze({
  force: 1, "force-directed": 1, tree: 2, radial: 4, radiant: 4, hierarchy: 8,
});
export const SIDES = Object.freeze(["up", "down", "right", "left"]);

// The command-line tool's limits.
const MAX_DISTANCE = 100000;
const MAX_COLS = 1000000;
const MAX_ARRANGE_MODE = 1000;
const MAX_LENGTH = 46340;
const MAX_LEVEL = 1000000000;

let modulePromise = null;

/** Loads the WebAssembly module once; every layout call awaits it. */
export function init(options = {}) {
  if (!modulePromise) {
    modulePromise = (async () => createNetloomModule({ wasmBinary: await wasmBinary(options) }))();
    modulePromise.catch(() => { modulePromise = null; });
  }
  return modulePromise;
}

const show = (v) => {
  if (typeof v === "string") return JSON.stringify(v);
  if (typeof v === "object" && v !== null) return Array.isArray(v) ? "an array" : "an object";
  return String(v);
};

function integer(name, value, low, high) {
  if (typeof value !== "number" || !Number.isInteger(value)) {
    throw new TypeError(`${name} must be an integer, not ${show(value)}`);
  }
  if (value < low || value > high) {
    throw new RangeError(`${name} must be from ${low} to ${high}, not ${value}`);
  }
  return value;
}

function finite(name, value) {
  if (typeof value !== "number") throw new TypeError(`${name} must be a number, not ${show(value)}`);
  if (!Number.isFinite(value)) throw new RangeError(`${name} must be finite, not ${value}`);
  return value;
}

function kindCode(kind) {
  if (typeof kind === "string" && Object.hasOwn(KINDS, kind.toLowerCase())) {
    return KINDS[kind.toLowerCase()];
  }
  if (typeof kind === "number" && [1, 2, 4, 8].includes(kind)) return kind;
  if (typeof kind !== "string" && typeof kind !== "number") {
    throw new TypeError(`kind must be a layout name or code, not ${show(kind)}`);
  }
  throw new RangeError(
    `kind: unknown layout ${show(kind)}; use one of ${Object.keys(KINDS).join(", ")} (or 1, 2, 4, 8)`);
}

// The options every layout takes, checked and with their defaults.
function layoutOptions(o) {
  if (typeof o !== "object" || o === null) throw new TypeError(`options must be an object, not ${show(o)}`);
  const levels = o.levels ?? "degree";
  if (typeof levels === "string" && levels !== "direction" && levels !== "degree") {
    throw new RangeError(`levels must be "direction", "degree" or {level: [ids]}, not ${show(levels)}`);
  }
  if (typeof levels !== "string" && (typeof levels !== "object" || levels === null)) {
    throw new TypeError(`levels must be "direction", "degree" or {level: [ids]}, not ${show(levels)}`);
  }
  if (o.onProgress !== undefined && typeof o.onProgress !== "function") {
    throw new TypeError("onProgress must be a function");
  }
  return {
    type: kindCode(o.kind ?? "hierarchy"),
    distance: integer("distance", o.distance ?? 40, 1, MAX_DISTANCE),
    layerSpacing: integer("layerSpacing", o.layerSpacing ?? 200, 1, MAX_DISTANCE),
    maxCols: integer("maxCols", o.maxCols ?? 0, 0, MAX_COLS),
    fixedLayout: Boolean(o.fixedLayout),
    direction: integer("direction", o.direction ?? 1, 1, 4),
    arrangeMode: integer("arrangeMode", o.arrangeMode ?? 0, 0, MAX_ARRANGE_MODE),
    levels,
    onProgress: o.onProgress,
  };
}

function nodeId(value, where) {
  if (typeof value === "string") return value;
  if (typeof value === "number" && Number.isFinite(value)) return value;
  throw new TypeError(`${where} must be a string or a finite number, not ${show(value)}`);
}

function lookup(index, value, where) {
  const id = nodeId(typeof value === "object" && value !== null ? value.id : value, where);
  const i = index.get(id);
  if (i === undefined) throw new RangeError(`${where}: ${show(id)} is not a node`);
  return i;
}

// Level pairs (level, node index) in the caller's order, for {level: [ids]} or a Map.
function levelPairs(levels, index) {
  const entries = levels instanceof Map ? [...levels] : Object.entries(levels);
  const pairs = [];
  for (const [key, members] of entries) {
    const level = integer(`levels key ${show(key)}`, Number(key), -MAX_LEVEL, MAX_LEVEL);
    if (!Array.isArray(members)) {
      throw new TypeError(`levels[${show(key)}] must be an array of node ids, not ${show(members)}`);
    }
    members.forEach((m) => pairs.push(level, lookup(index, m, `levels[${show(key)}]`)));
  }
  return Int32Array.from(pairs);
}

// Port ids as the library wants them: per node, ends with the same port name
// share one; an end without a name gets one of its own. Ports are numbered from
// n + 1 in the order of the links, source end before target end.
function portIds(n, ends, sourceNames, targetNames) {
  const m = ends.length / 2;
  const ids = new Int32Array(2 * m);
  const names = [];
  const byNode = new Map();
  for (let e = 0; e < 2 * m; ++e) {
    const name = (e & 1 ? targetNames : sourceNames)?.[e >> 1];
    if (name === undefined || name === null) {
      ids[e] = n + 1 + names.length;
      names.push(null);
      continue;
    }
    const key = `${ends[e]}\u0000${typeof name}\u0000${name}`;
    let id = byNode.get(key);
    if (id === undefined) {
      id = n + 1 + names.length;
      names.push(name);
      byNode.set(key, id);
    }
    ids[e] = id;
  }
  return { ids, names };
}

/**
 * The request the C entry point nl_layout takes: typed arrays and integers.
 * Exported for the exactness test, which hands the same request to a native build.
 */
export function encodeRequest(arrays, options) {
  const o = layoutOptions(options);
  const { n, xy, fixed, ends, lengths, ports } = arrays;
  let levelsMode = 0;
  let levels = new Int32Array(0);
  if (o.levels === "direction") {
    levelsMode = 1;
  } else if (typeof o.levels === "object") {
    levelsMode = 2;
    levels = arrays.levelPairs(o.levels);
  }
  const ints = Int32Array.of(n, ends.length / 2, o.type, o.distance, o.layerSpacing, o.maxCols,
    o.fixedLayout ? 1 : 0, levelsMode, levels.length / 2, o.direction, o.arrangeMode);
  return { ints, xy, fixed, ends, lengths, ports, levels, onProgress: o.onProgress };
}

/** Runs an encoded request; the raw arrays of nl_result. For the exactness test. */
export async function runRequest(request) {
  return run(await init(), request);
}

function run(mod, request) {
  const { ints, xy, fixed, ends, lengths, ports, levels, onProgress } = request;
  const allocations = [];
  const copy = (array) => {
    if (!array) return 0;
    const pointer = mod._malloc(Math.max(array.byteLength, 8));
    allocations.push(pointer);
    mod.HEAPU8.set(new Uint8Array(array.buffer, array.byteOffset, array.byteLength), pointer);
    return pointer;
  };
  const [n, m, type, distance, layerSpacing, maxCols, fixedLayout, levelsMode, , direction,
    arrangeMode] = ints;
  try {
    const args = [copy(xy), copy(fixed), m, copy(ends), copy(lengths), copy(ports)];
    let levelArgs = [0, 0];
    if (levelsMode === 2) levelArgs = [levels.length / 2, copy(levels)];
    mod.onLayoutProgress = onProgress;
    mod._nl_layout(n, ...args, type, distance, layerSpacing, maxCols, fixedLayout, levelsMode,
      ...levelArgs, direction, arrangeMode, onProgress ? 1 : 0);
  } finally {
    mod.onLayoutProgress = undefined;
    allocations.forEach((p) => mod._free(p));
  }
  const lengthCell = mod._malloc(4);
  const read = (what, Type) => {
    const pointer = mod._nl_result(what, lengthCell);
    const count = mod.HEAP32[lengthCell >> 2];
    return new Type(mod.HEAPU8.buffer.slice(pointer, pointer + count * Type.BYTES_PER_ELEMENT));
  };
  try {
    const result = {
      xy: read(0, Float64Array), grid: read(1, Int32Array), portCounts: read(2, Int32Array),
      ports: read(3, Int32Array), edgeOrder: read(4, Int32Array),
    };
    mod._nl_result(5, lengthCell);
    result.placedByNeighbour = mod.HEAP32[lengthCell >> 2];
    return result;
  } finally {
    mod._free(lengthCell);
  }
}

function typed(name, value, Type, length) {
  if (value === undefined || value === null) return null;
  if (!ArrayBuffer.isView(value) && !Array.isArray(value)) {
    throw new TypeError(`${name} must be a typed array or an array, not ${show(value)}`);
  }
  if (value.length !== length) throw new RangeError(`${name} must have ${length} values, not ${value.length}`);
  return value instanceof Type ? value : Type.from(value);
}

/**
 * Bulk layout for large graphs: nodes 0..nodeCount-1, links sources[i] -> targets[i].
 * Returns typed arrays: xy (x0, y0, x1, ...), grid (baseRow, row, col per node),
 * portCounts (up, down, right, left per node), ports (port ids, see layout) and
 * edgeOrder (link index, component per entry).
 */
export async function layoutArrays(graph, options = {}) {
  if (typeof graph !== "object" || graph === null) throw new TypeError("graph must be an object");
  const n = integer("nodeCount", graph.nodeCount, 0, 0x3fffffff);
  const sources = typed("sources", graph.sources ?? [], Int32Array, (graph.sources ?? []).length);
  const m = sources.length;
  const targets = typed("targets", graph.targets ?? [], Int32Array, m);
  const ends = new Int32Array(2 * m);
  for (let e = 0; e < m; ++e) {
    ends[2 * e] = integer(`sources[${e}]`, sources[e], 0, n - 1);
    ends[2 * e + 1] = integer(`targets[${e}]`, targets[e], 0, n - 1);
  }
  const xy = typed("xy", graph.xy, Float64Array, 2 * n);
  xy?.forEach((v, i) => finite(`xy[${i}]`, v));
  const lengths = typed("lengths", graph.lengths, Int32Array, m);
  lengths?.forEach((v, i) => integer(`lengths[${i}]`, v, 0, MAX_LENGTH));
  const arrays = {
    n, xy, fixed: typed("fixed", graph.fixed, Uint8Array, n), ends, lengths,
    ports: portIds(n, ends).ids,
    levelPairs: (levels) => levelPairs(levels, { get: (i) => (Number.isInteger(i) && i >= 0 && i < n ? i : undefined) }),
  };
  const request = encodeRequest(arrays, options);
  const result = run(await init(), request);
  for (let k = 0; k < result.edgeOrder.length; k += 2) result.edgeOrder[k] -= 1;
  return result;
}

/**
 * Reads {nodes, links} into the arrays the library takes. nodes: ids or objects
 * {id, x?, y?, fixed?}; links: {source, target, length?, sourcePort?, targetPort?}
 * with ids or node objects as ends.
 */
export function graphArrays(graph, options = {}) {
  if (typeof graph !== "object" || graph === null) {
    throw new TypeError(`graph must be an object {nodes, links}, not ${show(graph)}`);
  }
  const { nodes, links = [] } = graph;
  if (!Array.isArray(nodes)) throw new TypeError(`graph.nodes must be an array, not ${show(nodes)}`);
  if (!Array.isArray(links)) throw new TypeError(`graph.links must be an array, not ${show(links)}`);
  const n = nodes.length;
  const ids = new Array(n);
  const index = new Map();
  let xy = null;
  let fixed = null;
  nodes.forEach((node, i) => {
    const object = typeof node === "object" && node !== null;
    const id = nodeId(object ? node.id : node, `nodes[${i}]${object ? ".id" : ""}`);
    if (index.has(id)) throw new RangeError(`nodes[${i}]: node id ${show(id)} is listed twice`);
    index.set(id, i);
    ids[i] = id;
    if (!object) return;
    if (node.x !== undefined || node.y !== undefined) {
      xy ??= new Float64Array(2 * n);
      xy[2 * i] = finite(`nodes[${i}].x`, node.x ?? 0);
      xy[2 * i + 1] = finite(`nodes[${i}].y`, node.y ?? 0);
    }
    if (node.fixed) (fixed ??= new Uint8Array(n))[i] = 1;
  });
  for (const id of options.fixed ?? []) (fixed ??= new Uint8Array(n))[lookup(index, id, "fixed")] = 1;
  const m = links.length;
  const ends = new Int32Array(2 * m);
  let lengths = null;
  const sourceNames = new Array(m);
  const targetNames = new Array(m);
  links.forEach((link, e) => {
    if (typeof link !== "object" || link === null) {
      throw new TypeError(`links[${e}] must be an object {source, target}, not ${show(link)}`);
    }
    ends[2 * e] = lookup(index, link.source, `links[${e}].source`);
    ends[2 * e + 1] = lookup(index, link.target, `links[${e}].target`);
    if (link.length !== undefined && link.length !== null) {
      lengths ??= new Int32Array(m).fill(integer("distance", options.distance ?? 40, 1, MAX_DISTANCE));
      const length = finite(`links[${e}].length`, link.length);
      if (length < 0 || length > MAX_LENGTH) {
        throw new RangeError(`links[${e}].length must be from 0 to ${MAX_LENGTH}, not ${length}`);
      }
      lengths[e] = Math.round(length);
    }
    sourceNames[e] = link.sourcePort;
    targetNames[e] = link.targetPort;
  });
  const ports = portIds(n, ends, sourceNames, targetNames);
  return {
    n, ids, xy, fixed, ends, lengths, ports: ports.ids, portNames: ports.names,
    levelPairs: (levels) => levelPairs(levels, index),
  };
}

/**
 * Lays out {nodes, links} and returns, keyed by the caller's node ids:
 * positions (Map id -> {x, y}), grid (Map id -> {baseRow, row, col}; tree and
 * hierarchy), ports (Map id -> {up, down, right, left}: port names, null for a
 * link end without one; hierarchy), edgeOrder ([{link, component}] with link an
 * index into links; hierarchy), xy (Float64Array x0, y0, x1, ... in node order)
 * and placedByNeighbour (nodes the given levels left out).
 */
export async function layout(graph, options = {}) {
  const arrays = graphArrays(graph, options);
  const request = encodeRequest(arrays, options);
  return keyedResult(arrays, run(await init(), request));
}

function keyedResult({ n, ids, portNames }, raw) {
  const positions = new Map();
  const grid = new Map();
  const ports = new Map();
  let at = 0;
  for (let i = 0; i < n; ++i) {
    positions.set(ids[i], { x: raw.xy[2 * i], y: raw.xy[2 * i + 1] });
    grid.set(ids[i], { baseRow: raw.grid[3 * i], row: raw.grid[3 * i + 1], col: raw.grid[3 * i + 2] });
    const sides = {};
    SIDES.forEach((side, s) => {
      const count = raw.portCounts[4 * i + s];
      sides[side] = Array.from(raw.ports.subarray(at, at + count), (p) => portNames[p - n - 1] ?? null);
      at += count;
    });
    ports.set(ids[i], sides);
  }
  const edgeOrder = [];
  for (let k = 0; k < raw.edgeOrder.length; k += 2) {
    edgeOrder.push({ link: raw.edgeOrder[k] - 1, component: raw.edgeOrder[k + 1] });
  }
  return { positions, grid, ports, edgeOrder, xy: raw.xy, placedByNeighbour: raw.placedByNeighbour };
}
