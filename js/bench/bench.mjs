// netloom (WebAssembly) against the JavaScript layout engines on the same
// generated graphs, in one run, engines alternating; the layout call alone,
// median of RUNS runs (one run for a call that takes over 5 s). Each JavaScript
// engine's call runs in a worker thread that is stopped after CAP seconds. With
// NETLOOM_NATIVE_TWIN (the entry points built natively, see js/test/), the
// same request natively too, its layout call timed by the twin itself.
// Usage: node bench/bench.mjs [RUNS] [CAP]
import { spawnSync } from "node:child_process";
import { Worker, isMainThread, parentPort, workerData } from "node:worker_threads";
import ELK from "elkjs/lib/elk.bundled.js";
import dagre from "dagre";
import * as d3 from "d3-force";
import Graph from "graphology";
import forceAtlas2 from "graphology-layout-forceatlas2";
import { encodeRequest, graphArrays, init, layout } from "../src/index.js";
import { layered, sparse, tree } from "./graphs.mjs";

const RUNS = Number(process.argv[2] ?? 5);
const CAP = Number(process.argv[3] ?? 60);
const elk = new ELK();

const engines = {
  netloom: (g, kind) => layout(g, { kind }),
  elkjs: (g) => elk.layout({
    id: "root", layoutOptions: { "elk.algorithm": "layered" },
    children: g.nodes.map((id) => ({ id, width: 10, height: 10 })),
    edges: g.links.map((l, i) => ({ id: `e${i}`, sources: [l.source], targets: [l.target] })),
  }),
  dagre: (g) => {
    const d = new dagre.graphlib.Graph().setGraph({}).setDefaultEdgeLabel(() => ({}));
    g.nodes.forEach((id) => d.setNode(id, { width: 10, height: 10 }));
    g.links.forEach((l) => d.setEdge(l.source, l.target));
    dagre.layout(d);
  },
  "d3-force": (g) => {
    const nodes = g.nodes.map((id) => ({ id }));
    const links = g.links.map((l) => ({ ...l }));
    d3.forceSimulation(nodes).force("link", d3.forceLink(links).id((d) => d.id))
      .force("charge", d3.forceManyBody()).force("center", d3.forceCenter()).stop().tick(300);
  },
  forceatlas2: (g) => {
    const graph = new Graph({ multi: true });
    g.nodes.forEach((id, i) => graph.addNode(id, { x: Math.cos(i), y: Math.sin(i) }));
    g.links.forEach((l) => graph.addEdge(l.source, l.target));
    forceAtlas2.assign(graph, { iterations: 300, settings: forceAtlas2.inferSettings(graph) });
  },
};

const rows = [
  ["layered 1k", () => layered(1000, 10, 1), "hierarchy", ["elkjs", "dagre"]],
  ["layered 10k", () => layered(10000, 20, 2), "hierarchy", ["elkjs", "dagre"]],
  ["tree 10k", () => tree(10000, 4), "tree", ["elkjs"]],
  ["force 1k", () => sparse(1000, 500, 3), "force", ["d3-force", "forceatlas2"]],
  ["force 10k", () => sparse(10000, 5000, 4), "force", ["d3-force", "forceatlas2"]],
];

// In a worker: build the row's graph, then time one engine's call on it.
if (!isMainThread) {
  const [, graph] = rows[workerData.row];
  const g = graph();
  parentPort.postMessage({ started: true });
  const start = performance.now();
  try {
    await engines[workerData.engine](g);
    parentPort.postMessage({ ms: performance.now() - start });
  } catch (e) {
    parentPort.postMessage({ failed: e.message.slice(0, 40) });
  }
}

// One capped call of a JavaScript engine: { ms }, { failed } or { capped }.
function capped(engine, row) {
  return new Promise((resolve) => {
    const worker = new Worker(new URL(import.meta.url), { workerData: { engine, row } });
    let timer;
    const done = (result) => {
      clearTimeout(timer);
      worker.terminate().then(() => resolve(result));
    };
    worker.on("message", (m) => {
      if (m.started) timer = setTimeout(() => done({ capped: true }), CAP * 1000);
      else done(m);
    });
    worker.on("error", (e) => done({ failed: e.message.slice(0, 40) }));
  });
}

const median = (xs) => [...xs].sort((a, b) => a - b)[Math.floor(xs.length / 2)];

await init(); // the names and limits the requests are checked against

function nativeMs(g, kind) {
  const twin = process.env.NETLOOM_NATIVE_TWIN;
  if (!twin) return NaN;
  const r = encodeRequest(graphArrays(g, { kind }), { kind });
  const bytes = (a) => new Uint8Array(a.buffer, a.byteOffset, a.byteLength);
  const parts = [r.ints, Int32Array.of(0, 0, 0, r.labelText.length), r.ends, r.ports, r.labelEnds, r.labelText];
  const input = Buffer.concat(parts.map(bytes));
  const run = spawnSync(twin, { input, maxBuffer: 1 << 28, env: { ...process.env, NETLOOM_TWIN_TIME: "1" } });
  return Number(String(run.stderr).trim());
}

if (isMainThread) {
  await layout({ nodes: ["warm-up"], links: [] }); // instantiates the module
  console.log("| graph | nodes | links | netloom wasm ms | native ms | JS engines ms | fastest JS / wasm | wasm / native |");
  console.log("|---|---|---|---|---|---|---|---|");
  for (const [row, [name, graph, kind, others]] of rows.entries()) {
    const g = graph();
    const times = Object.fromEntries(["netloom", ...others].map((e) => [e, []]));
    const native = [];
    for (let run = 0; run < RUNS; ++run) {
      for (const engine of Object.keys(times)) {
        const t = times[engine];
        if ((run > 0 && t[0] > 5000) || t.failed || t.capped) continue;
        if (engine === "netloom") {
          const start = performance.now();
          await engines.netloom(g, kind);
          t.push(performance.now() - start);
          continue;
        }
        const result = await capped(engine, row);
        if (result.ms !== undefined) t.push(result.ms);
        else Object.assign(t, result);
      }
      native.push(nativeMs(g, kind));
    }
    const m = Object.fromEntries(Object.entries(times).map(([e, t]) => [e, median(t)]));
    // A capped engine counts as CAP seconds: the ratio is then a lower bound.
    const ran = others.filter((e) => !times[e].failed).map((e) => (times[e].capped ? CAP * 1000 : m[e]));
    const fastest = ran.length ? Math.min(...ran) : NaN;
    const bound = others.some((e) => times[e].capped && CAP * 1000 === fastest) ? "> " : "";
    const js = others.map((e) => times[e].failed ? `${e} failed (${times[e].failed})`
      : times[e].capped ? `${e} > ${CAP} s (stopped)`
      : `${e} ${m[e].toFixed(0)}${times[e].length === 1 ? " (1 run)" : ""}`).join(", ");
    console.log(`| ${name} | ${g.nodes.length} | ${g.links.length} | ${m.netloom.toFixed(1)} | ${median(native).toFixed(1)} | ${js} | ${bound}${(fastest / m.netloom).toFixed(1)}x | ${(m.netloom / median(native)).toFixed(2)} |`);
  }
}
