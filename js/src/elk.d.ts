// Type declarations of netloom/elk (src/elk.js): elkjs's ELK class, laid out by netloom.

/**
 * The ELK layout options netloom honours, in any spelling ("org.eclipse.elk.x",
 * "elk.x" or "x"). Every other option is accepted and ignored.
 */
export interface HonouredLayoutOptions {
  /** layered -> hierarchy (default), mrtree -> tree, radial -> radial, force and stress -> force. */
  "elk.algorithm"?: "layered" | "mrtree" | "radial" | "force" | "stress" | string;
  /** DOWN (default): roots at the top; RIGHT: at the left; LEFT: at the right. UP is ignored. */
  "elk.direction"?: "DOWN" | "RIGHT" | "LEFT" | "UNDEFINED" | string;
  /** netloom's node distance (1..100000, rounded); default 40. */
  "elk.spacing.nodeNode"?: number | string;
  /** Distance between the layers of the tree and hierarchy layouts (1..100000); default 200. */
  "elk.layered.spacing.nodeNodeBetweenLayers"?: number | string;
}
export type LayoutOptions = HonouredLayoutOptions & Record<string, unknown>;

export interface ElkPoint { x: number; y: number }
export interface ElkLabel { text?: string; [key: string]: unknown }
/** A port's side option ("elk.port.side": NORTH, SOUTH, EAST, WEST) places a port no edge uses. */
export interface ElkPort {
  id: string | number; width?: number; height?: number; x?: number; y?: number;
  layoutOptions?: LayoutOptions; [key: string]: unknown;
}
export interface ElkEdgeSection {
  id: string; startPoint: ElkPoint; endPoint: ElkPoint; bendPoints?: ElkPoint[];
  incomingShape: string | number; outgoingShape: string | number;
}
/** sources and targets name nodes or ports; several of each: one section per pair. */
export interface ElkExtendedEdge {
  id?: string | number; sources: Array<string | number>; targets: Array<string | number>;
  sections?: ElkEdgeSection[]; [key: string]: unknown;
}
/** Nested children are laid out as nodes of one graph; x, y stay relative to the parent. */
export interface ElkNode {
  id: string | number; width?: number; height?: number; x?: number; y?: number;
  labels?: ElkLabel[]; ports?: ElkPort[]; children?: ElkNode[]; edges?: ElkExtendedEdge[];
  layoutOptions?: LayoutOptions; [key: string]: unknown;
}
export interface ElkLayoutArguments { layoutOptions?: LayoutOptions; [key: string]: unknown }

export const HONOURED_OPTIONS: readonly string[];

export default class NetloomElk {
  constructor(options?: { defaultLayoutOptions?: LayoutOptions; [key: string]: unknown });
  /**
   * Resolves to a laid-out copy of the graph: the constructor's options, then
   * args.layoutOptions, then the graph's own (the last wins).
   */
  layout<T extends ElkNode>(graph: T, args?: ElkLayoutArguments): Promise<T>;
  knownLayoutAlgorithms(): Promise<Array<{ id: string; name: string }>>;
  knownLayoutOptions(): Promise<Array<{ id: string }>>;
  knownLayoutCategories(): Promise<unknown[]>;
  terminateWorker(): void;
}
export { NetloomElk };
