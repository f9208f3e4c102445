// The JavaScript API: ids of the caller's own kinds, the bulk path, progress, and
// clear errors for bad input.
import { test } from "node:test";
import assert from "node:assert/strict";
import { layout, layoutArrays } from "../src/index.js";

const graph = { nodes: ["a", 2, { id: "c", x: 5, y: 7 }], links: [{ source: "a", target: 2 }, { source: 2, target: "c", sourcePort: "eth0" }] };

test("results are keyed by the caller's ids and the bulk path gives the same bits", async () => {
  const done = [];
  const r = await layout(graph, { kind: "hierarchy", onProgress: (d, t) => done.push([d, t]) });
  assert.deepEqual([...r.positions.keys()], ["a", 2, "c"]);
  assert.deepEqual(done, [[1, 1]]);
  assert.deepEqual(r.ports.get(2).down.concat(r.ports.get(2).up).sort(), ["eth0", null].sort());
  assert.deepEqual(r.edgeOrder.map((e) => e.link).sort(), [0, 1]);
  const bulk = await layoutArrays({ nodeCount: 3, sources: [0, 1], targets: [1, 2], xy: [0, 0, 0, 0, 5, 7] }, { kind: "hierarchy" });
  const ports = await layoutArrays({ nodeCount: 3, sources: [0, 1], targets: [1, 2] }, { kind: "force" });
  assert.deepEqual(bulk.xy, r.xy);
  assert.equal(ports.xy.length, 6);
  assert.equal((await layout({ nodes: [] })).positions.size, 0);
  assert.ok(r.routes.length === 2 && r.routes.every((route) => route.length >= 4 && route.every(Number.isFinite)));
});

test("onStep sees every step's record; record.stop() and an aborted signal stop the layout", async () => {
  const ring = { nodes: Array.from({ length: 300 }, (_, i) => i), links: Array.from({ length: 300 }, (_, i) => ({ source: i, target: (i + 1) % 300 })) };
  const steps = [];
  const full = await layout(ring, { kind: "force", onStep: (p) => steps.push(p) });
  assert.ok(!full.stopped && steps.length > 5 && steps.at(-1).workDone === steps.at(-1).workTotal);
  assert.equal(steps[1].step, "ForceDirectedLayout");
  const early = await layout(ring, { kind: "force", onStep: (p) => p.iteration === 3 && p.stop() });
  assert.ok(early.stopped && [...early.positions.values()].every((p) => Number.isFinite(p.x)));
  const controller = new AbortController();
  const aborted = await layout(ring, { kind: "force", signal: controller.signal, onStep: (p) => p.iteration === 3 && controller.abort() });
  assert.deepEqual(aborted.xy, early.xy);
  await assert.rejects(layout(ring, { signal: AbortSignal.abort() }), { name: "AbortError" });
});

test("bad input raises TypeError or RangeError naming the value", async () => {
  const cases = [
    [null, {}, TypeError, /graph must be an object/],
    [{ nodes: "a" }, {}, TypeError, /graph.nodes must be an array/],
    [{ nodes: [{}] }, {}, TypeError, /nodes\[0\].id must be a string/],
    [{ nodes: ["a", "a"] }, {}, RangeError, /"a" is listed twice/],
    [{ nodes: [{ id: 1, x: NaN }] }, {}, RangeError, /nodes\[0\].x must be finite/],
    [{ nodes: ["a"], links: [{ source: "a", target: "b" }] }, {}, RangeError, /links\[0\].target: "b" is not a node/],
    [{ nodes: ["a"], links: [{ source: "a", target: "a", length: 5e4 }] }, {}, RangeError, /length must be from 0 to 46340/],
    [graph, { kind: "spring" }, RangeError, /unknown layout "spring"/],
    [graph, { kind: true }, TypeError, /kind must be a layout name/],
    [graph, { distance: 0 }, RangeError, /distance must be from 1 to 100000, not 0/],
    [graph, { layerSpacing: 1.5 }, TypeError, /layerSpacing must be an integer/],
    [graph, { direction: 5 }, RangeError, /direction must be from 1 to 4/],
    [graph, { levels: "width" }, RangeError, /levels must be "direction", "degree"/],
    [graph, { levels: { x: ["a"] } }, TypeError, /levels key "x" must be an integer/],
    [graph, { levels: { 0: ["z"] } }, RangeError, /levels\["0"\]: "z" is not a node/],
    [graph, { fixed: ["q"] }, RangeError, /fixed: "q" is not a node/],
  ];
  for (const [g, options, type, message] of cases) {
    await assert.rejects(layout(g, options), (e) => e instanceof type && message.test(e.message), String(message));
  }
  await assert.rejects(layoutArrays({ nodeCount: 2, sources: [0], targets: [2] }), /targets\[0\] must be from 0 to 1/);
  await assert.rejects(layoutArrays({ nodeCount: 2, sources: [0], targets: [1], xy: [1] }), /xy must have 4 values/);
});
