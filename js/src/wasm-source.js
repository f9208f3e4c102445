// Where the WebAssembly module's bytes come from. The default URL is written as
// `new URL("...", import.meta.url)`, the form webpack, Vite and Parcel rewrite
// into the URL of the .wasm file they emit; init({wasmUrl}) or init({wasmBinary})
// overrides it for anything else. This file imports no Node module, so browser
// bundles never see one; the Node entry (node.js) installs a file reader.

let readUrl = fetchBytes;

/** Replaces how a URL is read (the Node entry reads file: URLs from disk). */
export function setWasmReader(read) {
  readUrl = read;
}

/** The module's bytes: options.wasmBinary, else read from options.wasmUrl or the package's .wasm. */
export async function wasmBinary(options = {}) {
  if (options.wasmBinary) {
    const bytes = options.wasmBinary;
    if (!(bytes instanceof ArrayBuffer || ArrayBuffer.isView(bytes))) {
      throw new TypeError("wasmBinary must be an ArrayBuffer or a typed array");
    }
    return bytes instanceof ArrayBuffer ? new Uint8Array(bytes) : bytes;
  }
  const url = options.wasmUrl
    ? new URL(String(options.wasmUrl), globalThis.location ? globalThis.location.href : undefined)
    : new URL("../dist/netloom_wasm.wasm", import.meta.url);
  return readUrl(url);
}

async function fetchBytes(url) {
  if (url.protocol === "file:") {
    // Node importing this file directly rather than through the package's Node entry.
    const fs = globalThis.process?.getBuiltinModule?.("fs");
    if (!fs) {
      throw new Error(`netloom: cannot read ${url}: import "netloom" (its Node entry, src/node.js) ` +
                      "or pass init({wasmBinary})");
    }
    return fs.readFileSync(url);
  }
  const response = await fetch(url);
  if (!response.ok) {
    throw new Error(`netloom: cannot load ${url}: HTTP ${response.status}; ` +
                    "serve the package's dist/netloom_wasm.wasm and pass its URL as init({wasmUrl})");
  }
  return new Uint8Array(await response.arrayBuffer());
}
