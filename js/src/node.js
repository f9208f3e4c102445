// The package's entry for Node: the same API, with the WebAssembly file read
// from disk instead of fetched.
import { readFile } from "node:fs/promises";
import { setWasmReader } from "./wasm-source.js";

setWasmReader(async (url) => {
  if (url.protocol === "file:") return readFile(url);
  const response = await fetch(url);
  if (!response.ok) throw new Error(`netloom: cannot load ${url}: HTTP ${response.status}`);
  return new Uint8Array(await response.arrayBuffer());
});

export * from "./index.js";
