// netloom for JavaScript: the layout library compiled to WebAssembly, behind
// an ES module API. Graphs come as {nodes, links} with the caller's own ids, or
// as typed arrays for large graphs; results are keyed by the same ids.
import createNetloomModule from "../dist/netloom_wasm.mjs";
import { wasmBinary } from "./wasm-source.js";

// Layout names, sides and the ranges every option is checked against come from
// the module (the front layer's one table); they are filled in by init().
export const KINDS = {};
export const SIDES = [];
const LIMITS = {};
const limit = (name) => LIMITS[name];

let modulePromise = null;

/** Loads the WebAssembly module once; every layout call awaits it. */
export function init(options = {}) {
  if (!modulePromise) {
    modulePromise = (async () => {
      const mod = await createNetloomModule({ wasmBinary: await wasmBinary(options) });
      const names = JSON.parse(mod.UTF8ToString(mod._nl_names()));
      Object.assign(KINDS, names.kinds);
      SIDES.splice(0, SIDES.length, ...names.sides);
      Object.assign(LIMITS, names.limits);
      return mod;
    })();
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
  if (Array.isArray(low)) [low, high] = low;
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
  if (Object.keys(KINDS).length === 0) throw new Error("netloom: await init() before encoding a request");
  if (typeof kind === "string" && Object.hasOwn(KINDS, kind.toLowerCase())) {
    return KINDS[kind.toLowerCase()];
  }
  if (typeof kind === "number" && Object.values(KINDS).includes(kind)) return kind;
  if (typeof kind !== "string" && typeof kind !== "number") {
    throw new TypeError(`kind must be a layout name or code, not ${show(kind)}`);
  }
  const codes = [...new Set(Object.values(KINDS))].sort((a, b) => a - b);
  throw new RangeError(
    `kind: unknown layout ${show(kind)}; use one of ${Object.keys(KINDS).join(", ")} (or ${codes.join(", ")})`);
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
  for (const name of ["onProgress", "onStep"]) {
    if (o[name] !== undefined && typeof o[name] !== "function") throw new TypeError(`${name} must be a function`);
  }
  if (o.signal !== undefined && (typeof o.signal !== "object" || o.signal === null || !("aborted" in o.signal))) {
    throw new TypeError("signal must be an AbortSignal");
  }
  return {
    type: kindCode(o.kind ?? "hierarchy"),
    distance: integer("distance", o.distance ?? 40, limit("distance")),
    layerSpacing: integer("layerSpacing", o.layerSpacing ?? 200, limit("layer-spacing")),
    maxCols: integer("maxCols", o.maxCols ?? 0, limit("max-cols")),
    fixedLayout: Boolean(o.fixedLayout),
    direction: integer("direction", o.direction ?? 1, limit("direction")),
    arrangeMode: integer("arrangeMode", o.arrangeMode ?? 0, limit("arrange-mode")),
    levels,
    onProgress: o.onProgress,
    onStep: o.onStep,
    signal: o.signal,
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
    const level = integer(`levels key ${show(key)}`, Number(key), limit("level"));
    if (!Array.isArray(members)) {
      throw new TypeError(`levels[${show(key)}] must be an array of node ids, not ${show(members)}`);
    }
    members.forEach((m) => pairs.push(level, lookup(index, m, `levels[${show(key)}]`)));
  }
  return Int32Array.from(pairs);
}

// Port names as numbers, one per distinct name (1 and "1" differ), -1 for a
// link end without one; the module turns them into ports, as the tool does.
function portNumbers(m, sourceNames, targetNames) {
  const numbers = new Int32Array(2 * m);
  const names = [];
  const byName = new Map();
  for (let e = 0; e < 2 * m; ++e) {
    const name = (e & 1 ? targetNames : sourceNames)?.[e >> 1];
    if (name === undefined || name === null) {
      numbers[e] = -1;
      continue;
    }
    const key = `${typeof name}\u0000${name}`;
    let number = byName.get(key);
    if (number === undefined) {
      number = names.length;
      names.push(name);
      byName.set(key, number);
    }
    numbers[e] = number;
  }
  return { numbers, names };
}

// The text drawn in each node's box (it sizes boxes and routes): UTF-8 bytes and their ends.
function encodeLabels(labels) {
  const encoder = new TextEncoder();
  const parts = labels.map((label) => encoder.encode(String(label)));
  const ends = new Int32Array(parts.length);
  let total = 0;
  parts.forEach((p, i) => { total += p.length; ends[i] = total; });
  const text = new Uint8Array(Math.max(total, 1));
  parts.forEach((p, i) => text.set(p, i ? ends[i - 1] : 0));
  return { text: text.subarray(0, total), ends };
}

/**
 * The request the C entry point nl_layout takes: typed arrays and integers.
 * Exported for the exactness test, which hands the same request to a native build.
 */
export function encodeRequest(arrays, options) {
  const o = layoutOptions(options);
  const { n, xy, fixed, ends, lengths, ports, labels } = arrays;
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
  const { text, ends: labelEnds } = encodeLabels(labels ?? Array.from({ length: n }, (_, i) => i));
  return { ints, xy, fixed, ends, lengths, ports, levels, labelEnds, labelText: text,
    onProgress: o.onProgress, onStep: o.onStep, signal: o.signal };
}

/** Runs an encoded request; the raw arrays of nl_result. For the exactness test. */
export async function runRequest(request) {
  return run(await init(), request);
}

function run(mod, request) {
  const { ints, xy, fixed, ends, lengths, ports, levels, labelEnds, labelText, onProgress, onStep, signal } = request;
  signal?.throwIfAborted?.();
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
    // Every step's record; the layout stops at the next stop point once the
    // signal is aborted (say from onStep, or a timeout signal) or record.stop() is called.
    mod.onLayoutStep = (onStep || signal) && ((record) => {
      let stop = false;
      record.stop = () => { stop = true; };
      onStep?.(record);
      return stop || Boolean(signal?.aborted);
    });
    mod._nl_set_labels(n, copy(labelText), copy(labelEnds));
    mod._nl_set_directed(request.directed ? 1 : 0);
    const refused = mod._nl_layout(n, ...args, type, distance, layerSpacing, maxCols, fixedLayout, levelsMode,
      ...levelArgs, direction, arrangeMode, onProgress || onStep || signal ? 1 : 0);
    if (refused) throw new RangeError("netloom: the graph cannot be laid out (too many nodes or edges)");
  } finally {
    mod.onLayoutProgress = undefined;
    mod.onLayoutStep = undefined;
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
      routeCounts: read(5, Int32Array), routePoints: read(6, Float64Array),
    };
    mod._nl_result(7, lengthCell);
    result.placedByNeighbour = mod.HEAP32[lengthCell >> 2];
    mod._nl_result(8, lengthCell);
    result.stopped = mod.HEAP32[lengthCell >> 2] !== 0;
    // Reads more of this layout (say at given box sizes) before another runs.
    if (request.afterLayout) result.after = request.afterLayout(mod, result);
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
  const mod = await init();
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
  lengths?.forEach((v, i) => integer(`lengths[${i}]`, v, limit("length")));
  const arrays = {
    n, xy, fixed: typed("fixed", graph.fixed, Uint8Array, n), ends, lengths,
    ports: portNumbers(m).numbers,
    levelPairs: (levels) => levelPairs(levels, { get: (i) => (Number.isInteger(i) && i >= 0 && i < n ? i : undefined) }),
  };
  const request = encodeRequest(arrays, options);
  return run(mod, request);
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
  const labels = new Array(n);
  const index = new Map();
  let xy = null;
  let fixed = null;
  nodes.forEach((node, i) => {
    const object = typeof node === "object" && node !== null;
    const id = nodeId(object ? node.id : node, `nodes[${i}]${object ? ".id" : ""}`);
    if (index.has(id)) throw new RangeError(`nodes[${i}]: node id ${show(id)} is listed twice`);
    index.set(id, i);
    ids[i] = id;
    labels[i] = object && node.label !== undefined && node.label !== null ? String(node.label) : String(id);
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
      lengths ??= new Int32Array(m).fill(integer("distance", options.distance ?? 40, limit("distance")));
      const length = finite(`links[${e}].length`, link.length);
      const [low, high] = limit("length");
      if (length < low || length > high) {
        throw new RangeError(`links[${e}].length must be from ${low} to ${high}, not ${length}`);
      }
      lengths[e] = Math.round(length);
    }
    sourceNames[e] = link.sourcePort;
    targetNames[e] = link.targetPort;
  });
  const ports = portNumbers(m, sourceNames, targetNames);
  return {
    n, ids, labels, xy, fixed, ends, lengths, ports: ports.numbers, portNames: ports.names,
    levelPairs: (levels) => levelPairs(levels, index),
  };
}

/**
 * Lays out {nodes, links} and returns, keyed by the caller's node ids:
 * positions (Map id -> {x, y}), grid (Map id -> {baseRow, row, col}; tree and
 * hierarchy), ports (Map id -> {up, down, right, left}: port names, null for a
 * link end without one; hierarchy), edgeOrder ([{link, component}] with link an
 * index into links; hierarchy), routes (by link index: Float64Array x0, y0, x1,
 * ... of the link's drawn route, source port first), xy (Float64Array x0, y0,
 * x1, ... in node order), placedByNeighbour (nodes the given levels left out)
 * and stopped (onStep's record.stop() or the signal ended the layout early).
 */
export async function layout(graph, options = {}) {
  const mod = await init();
  const arrays = graphArrays(graph, options);
  const request = encodeRequest(arrays, options);
  return keyedResult(arrays, run(mod, request));
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
      sides[side] = Array.from(raw.ports.subarray(at, at + count), (p) => (p < 0 ? null : portNames[p]));
      at += count;
    });
    ports.set(ids[i], sides);
  }
  const edgeOrder = [];
  for (let k = 0; k < raw.edgeOrder.length; k += 2) {
    edgeOrder.push({ link: raw.edgeOrder[k], component: raw.edgeOrder[k + 1] });
  }
  const routes = [];
  for (let j = 0, at = 0; j < raw.routeCounts.length; ++j) {
    routes.push(raw.routePoints.subarray(2 * at, 2 * (at + raw.routeCounts[j])));
    at += raw.routeCounts[j];
  }
  return {
    positions, grid, ports, edgeOrder, routes, xy: raw.xy,
    placedByNeighbour: raw.placedByNeighbour, stopped: raw.stopped,
  };
}

// elkjs's ELK class over the same module (also "netloom/elk").
export { default as NetloomElk } from "./elk.js";
