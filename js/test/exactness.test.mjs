// The WebAssembly module gives the native library's bits: every result array of
// the same request, built natively (build/test/tests/native_twin, given as
// NETLOOM_NATIVE_TWIN), on the sample networks and on generated graphs; and the
// command-line tool's results on the samples (its golden outputs,
// tests/data/cli/expected/): positions, ports and routes.
import { test } from "node:test";
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { encodeRequest, graphArrays, init, layout, runRequest } from "../src/index.js";
import { layered, random, sparse, tree } from "../bench/graphs.mjs";

const root = new URL("../../", import.meta.url);
const sample = (name) => JSON.parse(readFileSync(new URL(`examples/${name}`, root)));
const bytes = (a) => new Uint8Array(a.buffer, a.byteOffset, a.byteLength);

function native(twin, r) {
  const flags = Int32Array.of(r.xy ? 1 : 0, r.fixed ? 1 : 0, r.lengths ? 1 : 0, r.labelText.length);
  const parts = [r.ints, flags, r.xy, r.fixed, r.ends, r.lengths, r.ports, r.levels, r.labelEnds, r.labelText];
  const input = Buffer.concat(parts.filter(Boolean).map(bytes));
  const run = spawnSync(twin, { input, maxBuffer: 1 << 28 });
  assert.equal(run.status, 0, String(run.stderr));
  const out = run.stdout;
  let at = 0;
  const next = (Type) => {
    const count = out.readInt32LE(at);
    const array = new Type(out.buffer.slice(out.byteOffset + at + 4, out.byteOffset + at + 4 + count * Type.BYTES_PER_ELEMENT));
    at += 4 + array.byteLength;
    return array;
  };
  return {
    xy: next(Float64Array), grid: next(Int32Array), portCounts: next(Int32Array),
    ports: next(Int32Array), edgeOrder: next(Int32Array), routeCounts: next(Int32Array),
    routePoints: next(Float64Array), placedByNeighbour: out.readInt32LE(at),
  };
}

// Generated graphs with start positions, fixed nodes, lengths and named ports.
function decorated(graph, seed) {
  const rnd = random(seed);
  const nodes = graph.nodes.map((id) => ({ id, x: rnd() * 1000 - 500, y: rnd() * 1000, fixed: rnd() < 0.01 }));
  const links = graph.links.map((l) => ({
    ...l, length: rnd() < 0.3 ? Math.floor(rnd() * 120) : undefined,
    sourcePort: rnd() < 0.5 ? `p${Math.floor(rnd() * 3)}` : undefined,
  }));
  return { nodes, links };
}

const samples = ["campus.json", "florentine.json", "karate.json", "mesh.json"];
const cases = [
  ...samples.flatMap((file) => ["force", "tree", "radial", "hierarchy"].map((kind) => [file, sample(file), { kind }])),
  ["campus levels", sample("campus.json"), { kind: "hierarchy", levels: { 0: ["isp"], 1: ["fw"] }, maxCols: 6 }],
  ["campus direction", sample("campus.json"), { kind: "tree", levels: "direction", direction: 3, arrangeMode: 2 }],
  ["sparse 1500", sparse(1500, 700, 1), { kind: "force", distance: 55 }],
  ["sparse 1500 decorated", decorated(sparse(1500, 400, 2), 3), { kind: "force", fixedLayout: true }],
  ["sparse 600 radial", sparse(600, 100, 4), { kind: "radial" }],
  ["tree 3000", tree(3000, 4), { kind: "tree", layerSpacing: 120 }],
  ["layered 1200", layered(1200, 12, 5), { kind: "hierarchy", levels: "direction" }],
  ["layered 800 decorated", decorated(layered(800, 8, 6), 7), { kind: "hierarchy", maxCols: 20 }],
];

test("every result array equals the native build's, bit for bit", { skip: !process.env.NETLOOM_NATIVE_TWIN && "NETLOOM_NATIVE_TWIN (the native build of the entry points) is not set" }, async () => {
  await init();
  for (const [name, graph, options] of cases) {
    const request = encodeRequest(graphArrays(graph, options), options);
    const wasm = await runRequest(request);
    const want = native(process.env.NETLOOM_NATIVE_TWIN, request);
    for (const key of Object.keys(want)) {
      const [a, b] = [wasm[key], want[key]];
      if (key === "stopped") continue;
      assert.ok(typeof a === "number" ? a === b : Buffer.compare(bytes(a), bytes(b)) === 0, `${name} ${options.kind}: ${key} differs`);
    }
  }
});

// The tool's golden outputs and the options that made them (tests/data/cli/cases.txt).
const toolCases = [
  ["campus-hierarchy", "campus.json", { kind: "hierarchy" }],
  ["campus-direction", "campus.json", { kind: "hierarchy", levels: "direction", direction: 3 }],
  ["florentine-levels", "florentine.json", { kind: "hierarchy", levels: { 0: ["Medici"], 1: ["Pazzi"] } }],
  ["florentine-tree", "florentine.json", { kind: "tree" }],
  ["karate-force", "karate.json", { kind: "force" }],
  ["mesh-radial", "mesh.json", { kind: "radial", distance: 60 }],
];

test("positions, ports and routes equal the command-line tool's on the samples", async () => {
  for (const [golden, file, options] of toolCases) {
    const tool = JSON.parse(readFileSync(new URL(`tests/data/cli/expected/${golden}.json`, root)));
    const doc = sample(file);
    const result = await layout(doc, options);
    const ids = doc.nodes.map((v) => v.id);
    assert.deepEqual(ids.map((id) => [result.positions.get(id).x, result.positions.get(id).y]),
      tool.nodes.map((v) => [v.x, v.y]), golden);
    const ports = ids.map((id) => Object.entries(result.ports.get(id)).flatMap(([side, names]) => names.map((name, slot) => [side, slot, name])));
    assert.deepEqual(ports, tool.nodes.map((v) => (v.ports ?? []).map((p) => [p.side, p.slot, p.port ?? null])), golden);
    assert.deepEqual(result.routes.map((r) => Array.from({ length: r.length / 2 }, (_, k) => [r[2 * k], r[2 * k + 1]])),
      tool.links.map((l) => l.route), golden);
  }
});
