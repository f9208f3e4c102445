// NetloomElk against elkjs's ELK class on generated block diagrams with ports,
// in one Node process, the two engines alternating: the whole layout call
// (ELK graph in, laid-out ELK graph out), median of RUNS runs (one run of an
// engine once a call takes over 5 s).
// Usage: node bench/elk_bench.mjs [RUNS] [SIZES] [DIRECTION]
//   SIZES: comma-separated, default 50,500,5000; DIRECTION: elk.direction, default RIGHT
import ELK from "elkjs/lib/elk.bundled.js";
import NetloomElk from "../src/elk.js";
import { random } from "./graphs.mjs";

const RUNS = Number(process.argv[2] ?? 3);
const SIZES = (process.argv[3] ?? "50,500,5000").split(",").map(Number);
const DIRECTION = process.argv[4] ?? "RIGHT";

// A block diagram: blocks in stages, each with input ports on the west and
// output ports on the east; every input fed by an output of an earlier stage,
// most from the stage just before.
export function blockDiagram(n, seed, direction = "RIGHT") {
  const rnd = random(seed);
  const stages = Math.max(2, Math.round(Math.sqrt(n) / 2));
  const children = [];
  const outputs = [];
  for (let i = 0; i < n; ++i) {
    const stage = Math.floor((i * stages) / n);
    const inputs = stage === 0 ? 0 : 1 + Math.floor(rnd() * 3);
    const outs = 1 + Math.floor(rnd() * 3);
    const ports = [];
    for (let k = 0; k < inputs; ++k) ports.push({ id: `b${i}.in${k}`, width: 8, height: 8, layoutOptions: { "elk.port.side": "WEST" } });
    for (let k = 0; k < outs; ++k) ports.push({ id: `b${i}.out${k}`, width: 8, height: 8, layoutOptions: { "elk.port.side": "EAST" } });
    children.push({ id: `b${i}`, width: 40 + Math.floor(rnd() * 160), height: 30 + Math.floor(rnd() * 90),
      labels: [{ text: `block ${i}` }], ports, stage, inputs });
    outputs.push({ stage, ids: ports.slice(inputs).map((p) => p.id) });
  }
  // The first block of each stage.
  const firstOf = Array.from({ length: stages + 1 }, (_, s) => Math.ceil((s * n) / stages));
  const edges = [];
  children.forEach((block, i) => {
    for (let k = 0; k < block.inputs; ++k) {
      // Mostly from the stage before, some from two back, a few from further.
      const r = rnd();
      const back = r < 0.8 ? 1 : r < 0.95 ? 2 : 1 + Math.floor(rnd() * block.stage);
      const stage = Math.max(0, block.stage - back);
      const first = firstOf[stage];
      const from = first + Math.floor(rnd() * (firstOf[stage + 1] - first));
      const out = outputs[from].ids[Math.floor(rnd() * outputs[from].ids.length)];
      edges.push({ id: `e${edges.length}`, sources: [out], targets: [`b${i}.in${k}`] });
    }
    delete block.stage;
    delete block.inputs;
  });
  return { id: "root", layoutOptions: { "elk.algorithm": "layered", "elk.direction": direction }, children, edges };
}

const median = (xs) => [...xs].sort((a, b) => a - b)[Math.floor(xs.length / 2)];
const engines = { netloom: new NetloomElk(), elkjs: new ELK() };
await engines.netloom.layout(blockDiagram(5, 1)); // instantiates the module

console.log("| blocks | ports | edges | netloom ms | elkjs ms | elkjs / netloom |");
console.log("|---|---|---|---|---|---|");
for (const n of SIZES) {
  const graph = blockDiagram(n, n, DIRECTION);
  const times = { netloom: [], elkjs: [] };
  for (let run = 0; run < RUNS; ++run) {
    for (const [name, engine] of Object.entries(engines)) {
      if (run > 0 && times[name][0] > 5000) continue;
      const copy = structuredClone(graph);
      const start = performance.now();
      await engine.layout(copy);
      times[name].push(performance.now() - start);
    }
  }
  const ports = graph.children.reduce((s, c) => s + c.ports.length, 0);
  const [a, b] = [median(times.netloom), median(times.elkjs)];
  console.log(`| ${n} | ${ports} | ${graph.edges.length} | ${a.toFixed(1)} | ${b.toFixed(0)}${times.elkjs.length === 1 ? " (1 run)" : ""} | ${(b / a).toFixed(1)}x |`);
}
