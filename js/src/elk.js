// An engine with the shape of elkjs's ELK class: new NetloomElk().layout(graph,
// {layoutOptions}) resolves to the laid-out ELK graph, so an app switches
// engines by changing one import. The graph is read as the netloom tool reads
// ELK JSON: nested children become nodes of one graph, an edge with several
// sources or targets one edge per pair; the result has every node's and port's
// x, y and every edge's sections, at the graph's own box sizes.
import { encodeRequest, init, runRequest } from "./index.js";

const MAX_DEPTH = 200;
const GAP = 20; // least space between two boxes
const PADDING = 12; // around the whole drawing
const SIDE_CODES = { NORTH: 0, SOUTH: 1, EAST: 2, WEST: 3 };
const RIGHT = 2;
const KINDS = { layered: "hierarchy", mrtree: "tree", radial: "radial", force: "force", stress: "force" };
const DIRECTIONS = { DOWN: 1, RIGHT: 2, LEFT: 4 }; // ELK's UP has no counterpart

/** The ELK layout options this engine honours; every other one is ignored. */
export const HONOURED_OPTIONS = [
  "elk.algorithm", "elk.direction", "elk.spacing.nodeNode", "elk.layered.spacing.nodeNodeBetweenLayers",
];

const isObject = (v) => typeof v === "object" && v !== null && !Array.isArray(v);
const show = (v) => JSON.stringify(v) ?? String(v);

// "org.eclipse.elk.x", "elk.x" and a bare "x" all name "elk.x".
function shortKey(key) {
  const name = key.startsWith("org.eclipse.") ? key.slice("org.eclipse.".length) : key;
  return name.startsWith("elk.") ? name : `elk.${name}`;
}

const optionText = (v) => (typeof v === "string" ? v : JSON.stringify(v));

// The options object of an element: "layoutOptions", or the older "properties".
const optionsOf = (element) => [element.layoutOptions, element.properties].find(isObject);

// An id as the tool keys it: a string as it is, an integer as JSON writes it.
// what() names the value in an error (built only then).
function idKey(value, what) {
  if (typeof value === "string") return value;
  if (Number.isInteger(value)) return String(value);
  throw new TypeError(`${what()} must be a string or an integer, not ${show(value)}`);
}

function size(element, key, what) {
  const v = element[key];
  if (v === undefined || v === null) return 0;
  if (typeof v !== "number" || !(v >= 0 && v <= 1e6)) {
    throw new RangeError(`${what()} "${key}" must be a number from 0 to 1000000, not ${show(v)}`);
  }
  return v;
}

// Nodes depth first, edges as the walk leaves the node listing them: the
// tool's order, so both number the graph alike.
function walk(root) {
  const w = { nodes: [], parents: [], edges: [], containers: [] };
  const visit = (element, self, level) => {
    if (level > MAX_DEPTH) throw new RangeError(`children nested more than ${MAX_DEPTH} levels deep`);
    if (!isObject(element)) return;
    for (const key of ["children", "edges"]) {
      if (element[key] !== undefined && element[key] !== null && !Array.isArray(element[key])) {
        throw new TypeError(`${self < 0 ? "the graph" : `node ${show(element.id)}`} "${key}" is not an array`);
      }
    }
    for (const child of element.children ?? []) {
      const index = w.nodes.length;
      w.nodes.push(child);
      w.parents.push(self);
      visit(child, index, level + 1);
    }
    for (const edge of element.edges ?? []) {
      w.edges.push(edge);
      w.containers.push(self);
    }
  };
  visit(root, -1, 1);
  return w;
}

function spacing(text) {
  const v = Number(text);
  return text.trim() !== "" && Number.isFinite(v) && v >= 1 && v <= 1e6 ? Math.round(v) : undefined;
}

// The netloom options of ELK layout options (keys in any spelling).
export function netloomOptions(layoutOptions) {
  const out = { kind: "hierarchy", levels: "direction" };
  for (const [key, value] of Object.entries(layoutOptions)) {
    const name = shortKey(key);
    const text = optionText(value);
    if (name === "elk.algorithm") {
      const kind = KINDS[shortKey(text).slice(4)];
      if (kind) out.kind = kind;
    } else if (name === "elk.direction" && DIRECTIONS[text]) {
      out.direction = DIRECTIONS[text];
    } else if (name === "elk.spacing.nodeNode" && spacing(text) !== undefined) {
      out.distance = spacing(text);
    } else if (name === "elk.layered.spacing.nodeNodeBetweenLayers" && spacing(text) !== undefined) {
      out.layerSpacing = spacing(text);
    }
  }
  return out;
}

/** Reads an ELK graph into the request the module lays out, and what writing it back needs. */
export function readElk(graph) {
  if (!isObject(graph)) throw new TypeError(`graph must be an ELK graph object, not ${show(graph)}`);
  const w = walk(graph);
  const n = w.nodes.length;
  const index = new Map();
  const labels = new Array(n);
  const wh = new Float64Array(2 * n);
  w.nodes.forEach((node, i) => {
    if (!isObject(node)) throw new TypeError(`node ${i + 1} is not an object`);
    if (!("id" in node)) throw new TypeError(`node ${i + 1} has no "id"`);
    const key = idKey(node.id, () => `node ${i + 1} id`);
    if (index.has(key)) throw new RangeError(`duplicate node id ${show(node.id)}`);
    index.set(key, i);
    const label = Array.isArray(node.labels) && node.labels.find((l) => isObject(l) && typeof l.text === "string");
    labels[i] = label ? label.text : key;
    wh[2 * i] = size(node, "width", () => `node ${show(node.id)}`);
    wh[2 * i + 1] = size(node, "height", () => `node ${show(node.id)}`);
  });
  const ports = [];
  const portIndex = new Map();
  w.nodes.forEach((node, i) => {
    if (node.ports === undefined || node.ports === null) return;
    if (!Array.isArray(node.ports)) throw new TypeError(`node ${show(node.id)} "ports" is not an array`);
    for (const port of node.ports) {
      if (!isObject(port) || !("id" in port)) throw new TypeError(`node ${show(node.id)} has a port without an "id"`);
      const key = idKey(port.id, () => `node ${show(node.id)} port id`);
      if (index.has(key)) throw new RangeError(`port ${show(port.id)} has the id of a node`);
      if (portIndex.has(key)) throw new RangeError(`duplicate port id ${show(port.id)}`);
      let side = -1;
      for (const [k, v] of Object.entries(optionsOf(port) ?? {})) {
        if (shortKey(k) === "elk.port.side") side = SIDE_CODES[optionText(v)] ?? -1;
      }
      portIndex.set(key, ports.length);
      ports.push({ key, node: i, width: size(port, "width", () => `port ${show(port.id)}`),
        height: size(port, "height", () => `port ${show(port.id)}`), side });
    }
  });
  const end = (ref, what) => {
    const key = idKey(ref, what);
    if (index.has(key)) return { node: index.get(key), port: null, ref };
    if (!portIndex.has(key)) throw new RangeError(`${what()} ${show(ref)} is neither a node nor a port`);
    return { node: ports[portIndex.get(key)].node, port: key, ref };
  };
  const ends = (edge, where, plural, single, portKey) => {
    if (edge[plural] !== undefined) {
      if (!Array.isArray(edge[plural]) || edge[plural].length === 0) {
        throw new TypeError(`${where()} "${plural}" must be a non-empty array of ids`);
      }
      return edge[plural].map((ref) => end(ref, () => `${where()} ${single}`));
    }
    if (edge[single] === undefined) throw new TypeError(`${where()} has no "${plural}"`);
    const one = end(edge[single], () => `${where()} ${single}`);
    if (edge[portKey] !== undefined && edge[portKey] !== null) {
      const port = end(edge[portKey], () => `${where()} ${portKey}`);
      if (port.node !== one.node || port.port === null) {
        throw new RangeError(`${where()} ${portKey} ${show(edge[portKey])} is not a port of its ${single}`);
      }
      return [port];
    }
    return [one];
  };
  const pairs = []; // {edge: ELK edge number, source, target}
  const edgeIds = new Set();
  w.edges.forEach((edge, k) => {
    const where = () => ("id" in edge ? `edge ${show(edge.id)}` : `edge ${k + 1}`);
    if (!isObject(edge)) throw new TypeError(`edge ${k + 1} is not an object`);
    if ("id" in edge) {
      const key = idKey(edge.id, () => `edge ${k + 1} id`);
      if (edgeIds.has(key)) throw new RangeError(`duplicate edge id ${show(edge.id)}`);
      edgeIds.add(key);
    }
    const sources = ends(edge, where, "sources", "source", "sourcePort");
    const targets = ends(edge, where, "targets", "target", "targetPort");
    for (const source of sources) for (const target of targets) pairs.push({ edge: k, source, target });
  });
  // Port names as numbers in the order the edge ends name them, source first.
  const numbers = new Map();
  const portNumbers = new Int32Array(2 * pairs.length);
  const endsArray = new Int32Array(2 * pairs.length);
  pairs.forEach((pair, j) => {
    [pair.source, pair.target].forEach((e, side) => {
      endsArray[2 * j + side] = e.node;
      if (e.port === null) {
        portNumbers[2 * j + side] = -1;
        return;
      }
      if (!numbers.has(e.port)) numbers.set(e.port, numbers.size);
      portNumbers[2 * j + side] = numbers.get(e.port);
    });
  });
  const arrays = { n, xy: null, fixed: null, ends: endsArray, lengths: null, ports: portNumbers, labels,
    levelPairs: () => new Int32Array(0) };
  return { walk: w, arrays, wh, ports, numbers, pairs };
}

const point = (xy, at, origin) => ({ x: xy[2 * at] - origin.x, y: xy[2 * at + 1] - origin.y });

// Writes the sized layout into a copy of the graph.
function writeElk(graph, read, sized) {
  const out = structuredClone(graph);
  const w = walk(out);
  const corner = (i) => (i < 0 ? { x: 0, y: 0 } : { x: sized.corners[2 * i], y: sized.corners[2 * i + 1] });
  const portStart = [];
  for (let i = 0, at = 0; i < read.arrays.n; ++i) {
    portStart.push(at);
    at += sized.portCounts[i];
  }
  w.nodes.forEach((node, i) => {
    const c = corner(i);
    const parent = corner(w.parents[i]);
    node.x = c.x - parent.x;
    node.y = c.y - parent.y;
  });
  let k = 0;
  w.nodes.forEach((node, i) => {
    for (const port of Array.isArray(node.ports) ? node.ports : []) {
      const p = read.ports[k];
      const at = portStart[i] + read.entries[k];
      port.x = sized.ports[2 * at] - sized.corners[2 * i] - p.width / 2;
      port.y = sized.ports[2 * at + 1] - sized.corners[2 * i + 1] - p.height / 2;
      ++k;
    }
  });
  w.edges.forEach((edge) => { edge.sections = []; });
  for (let j = 0, at = 0; j < read.pairs.length; ++j) {
    const { edge: e, source, target } = read.pairs[j];
    const edge = w.edges[e];
    const origin = corner(w.containers[e]);
    const count = sized.pathCounts[j];
    const id = "id" in edge ? String(edge.id) : String(e);
    const section = { id: `${id}_s${edge.sections.length}`, startPoint: point(sized.paths, at, origin) };
    if (count > 2) {
      section.bendPoints = [];
      for (let p = 1; p + 1 < count; ++p) section.bendPoints.push(point(sized.paths, at + p, origin));
    }
    section.endPoint = point(sized.paths, at + count - 1, origin);
    section.incomingShape = source.ref;
    section.outgoingShape = target.ref;
    edge.sections.push(section);
    at += count;
  }
  out.width = sized.extent[1];
  out.height = sized.extent[2];
  return out;
}

// Each ELK port's entry among its node's ports in the layout's result: the
// layout's port of the same name, else an extra port after them.
function portEntries(read, raw) {
  const { n } = read.arrays;
  const names = [];
  for (let i = 0, at = 0; i < n; ++i) {
    let count = 0;
    for (let s = 0; s < 4; ++s) count += raw.portCounts[4 * i + s];
    names.push(raw.ports.subarray(at, at + count));
    at += count;
  }
  const extras = Array.from({ length: n }, () => []);
  read.entries = read.ports.map((port) => {
    const number = read.numbers.get(port.key);
    const found = number === undefined ? -1 : names[port.node].indexOf(number);
    if (found >= 0) return found;
    // A port of a layout without sides keeps its name, so that its edges end on it.
    extras[port.node].push([port.side >= 0 ? port.side : RIGHT, number ?? -1]);
    return names[port.node].length + extras[port.node].length - 1;
  });
  return extras;
}

function sizedLayout(mod, read, raw) {
  const extras = portEntries(read, raw);
  const { n } = read.arrays;
  const counts = Int32Array.from(extras, (e) => e.length);
  const sides = Int32Array.from(extras.flat(2));
  const copies = [read.wh, counts, sides].map((array) => {
    const pointer = mod._malloc(Math.max(array.byteLength, 8));
    mod.HEAPU8.set(new Uint8Array(array.buffer, array.byteOffset, array.byteLength), pointer);
    return pointer;
  });
  const lengthCell = mod._malloc(4);
  try {
    mod._nl_sized(...copies, GAP, PADDING);
    const read = (what, Type) => {
      const pointer = mod._nl_sized_result(what, lengthCell);
      const count = mod.HEAP32[lengthCell >> 2];
      return new Type(mod.HEAPU8.buffer.slice(pointer, pointer + count * Type.BYTES_PER_ELEMENT));
    };
    return { corners: read(0, Float64Array), portCounts: read(1, Int32Array), ports: read(2, Float64Array),
      pathCounts: read(3, Int32Array), paths: read(4, Float64Array), extent: read(5, Float64Array), n };
  } finally {
    copies.forEach((p) => mod._free(p));
    mod._free(lengthCell);
  }
}

/** elkjs's ELK class, laid out by netloom. */
export default class NetloomElk {
  constructor({ defaultLayoutOptions = {} } = {}) {
    this.defaultLayoutOptions = defaultLayoutOptions;
  }

  /**
   * Lays out an ELK graph; resolves to a laid-out copy. Options: the
   * constructor's defaults, then `layoutOptions`, then the graph's own
   * (as elkjs ranks them).
   */
  async layout(graph, { layoutOptions = {} } = {}) {
    await init();
    const read = readElk(graph);
    const options = netloomOptions({ ...this.defaultLayoutOptions, ...layoutOptions,
      ...(isObject(graph) ? optionsOf(graph) : {}) });
    const request = encodeRequest(read.arrays, options);
    request.directed = true;
    request.afterLayout = (mod, raw) => sizedLayout(mod, read, raw);
    const result = await runRequest(request);
    return writeElk(graph, read, result.after);
  }

  knownLayoutAlgorithms() {
    return Promise.resolve(Object.keys(KINDS).map((id) => ({ id: `org.eclipse.elk.${id}`, name: id })));
  }

  knownLayoutOptions() {
    return Promise.resolve(HONOURED_OPTIONS.map((id) => ({ id: `org.eclipse.${id}` })));
  }

  knownLayoutCategories() {
    return Promise.resolve([]);
  }

  terminateWorker() {}
}
export { NetloomElk };
