// esbuild does not rewrite new URL(..., import.meta.url): the .wasm comes in
// through its file loader (--loader:.wasm=file) and its URL goes to init().
import wasmUrl from "netloom/netloom_wasm.wasm";
import { run } from "./main.js";

run({ wasmUrl });
