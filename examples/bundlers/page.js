// webpack and Vite locate the .wasm themselves.
import { run } from "./main.js";

run();
