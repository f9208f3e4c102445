// Type declarations of the netloom ES module (src/index.js).

export type NodeId = string | number;
export type Kind = "force" | "force-directed" | "tree" | "radial" | "radiant" | "hierarchy" | 1 | 2 | 4 | 8;
export type Side = "up" | "down" | "right" | "left";

/** label: the text that sizes the node's box in the routes (default: the id). */
export interface NodeObject { id: NodeId; x?: number; y?: number; fixed?: boolean; label?: string }
export interface Link {
  source: NodeId | { id: NodeId };
  target: NodeId | { id: NodeId };
  /** Natural length, 0 to 46,340 (rounded); the distance when absent. */
  length?: number;
  /** Ends with the same port name on one node share a port. */
  sourcePort?: unknown;
  targetPort?: unknown;
}
export interface Graph { nodes: Array<NodeId | NodeObject>; links?: Link[] }

export interface LayoutOptions {
  kind?: Kind;                     // default "hierarchy"
  distance?: number;               // 1..100000, default 40
  layerSpacing?: number;           // 1..100000, default 200
  maxCols?: number;                // 0 (no limit)..1000000
  fixedLayout?: boolean;           // components with a fixed node stay where they are
  fixed?: Iterable<NodeId>;        // nodes the force layout must not move
  /** "degree" (the layout's own, default), "direction" or {level: [ids]}. */
  levels?: "direction" | "degree" | Record<number, NodeId[]> | Map<number, NodeId[]>;
  direction?: 1 | 2 | 3 | 4;
  arrangeMode?: number;            // 0..1000
  /** Called after each connected component with (done, total). */
  onProgress?: (done: number, total: number) => void;
  /** Called after every step (each force iteration, each layered step). */
  onStep?: (record: LayoutProgress) => void;
  /** Aborted before the call: the promise rejects; during it: the layout stops at its next step. */
  signal?: AbortSignal;
}

/** The library's progress record. */
export interface LayoutProgress {
  component: number;
  componentCount: number;
  step: string;
  iteration: number;
  maxIterations: number;
  energy: number;
  threshold: number;
  workDone: number;
  workTotal: number;
  /** Stops the layout at its next step, keeping the positions reached. */
  stop(): void;
}

export interface LayoutResult {
  positions: Map<NodeId, { x: number; y: number }>;
  grid: Map<NodeId, { baseRow: number; row: number; col: number }>;
  /** Port names by side; null for a link end without one. */
  ports: Map<NodeId, Record<Side, unknown[]>>;
  /** Link indices in port order, each with its component. */
  edgeOrder: Array<{ link: number; component: number }>;
  /** x0, y0, x1, y1, ... in node order. */
  xy: Float64Array;
  /** By link index: x0, y0, x1, y1, ... of the link's route, source port first. */
  routes: Float64Array[];
  /** Nodes the given levels left out, placed below a listed neighbour. */
  placedByNeighbour: number;
  /** onStep's record.stop() or the signal ended the layout early. */
  stopped: boolean;
}

export interface ArrayGraph {
  nodeCount: number;
  sources: Int32Array | number[];
  targets: Int32Array | number[];
  xy?: Float64Array | number[];
  fixed?: Uint8Array | number[];
  lengths?: Int32Array | number[];
}

export interface ArrayResult {
  xy: Float64Array;
  grid: Int32Array;        // baseRow, row, col per node
  portCounts: Int32Array;  // up, down, right, left per node
  ports: Int32Array;       // port name numbers (-1: unnamed), node after node, side after side
  edgeOrder: Int32Array;   // link index, component per entry
  routeCounts: Int32Array; // route points per link
  routePoints: Float64Array; // x, y of every route point, link after link
  placedByNeighbour: number;
  stopped: boolean;
}

/** Filled in by init(): layout names and codes, side names. */
export const KINDS: Readonly<Record<string, number>>;
export const SIDES: readonly Side[];
/**
 * Loads the WebAssembly module (once); layout calls do it themselves. wasmBinary
 * gives the module's bytes; wasmUrl where to fetch them (default: the package's
 * dist/netloom_wasm.wasm, located through import.meta.url).
 */
export function init(options?: {
  wasmBinary?: ArrayBuffer | Uint8Array;
  wasmUrl?: string | URL;
}): Promise<unknown>;
/** Lays out {nodes, links}; TypeError or RangeError for bad input. */
export function layout(graph: Graph, options?: LayoutOptions): Promise<LayoutResult>;
/** Lays out nodes 0..nodeCount-1 given as typed arrays. */
export function layoutArrays(graph: ArrayGraph, options?: LayoutOptions): Promise<ArrayResult>;
/** elkjs's ELK class over the same module (also "netloom/elk"). */
export { default as NetloomElk } from "./elk.js";
