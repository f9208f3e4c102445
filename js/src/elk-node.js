// "netloom/elk" for Node: the Node entry first, so that the WebAssembly file is
// read from disk, then the ELK-shaped class.
import "./node.js";

export * from "./elk.js";
export { default } from "./elk.js";
