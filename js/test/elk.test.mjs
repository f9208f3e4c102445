// NetloomElk against the tool: the same ELK graph gives the same document (the
// tool's golden outputs), and the class behaves as elkjs's ELK does.
import { test } from "node:test";
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import NetloomElk from "../src/elk.js";
import { NetloomElk as Reexported } from "../src/index.js";

const root = new URL("../../", import.meta.url);
const json = (path) => JSON.parse(readFileSync(new URL(path, root), "utf8"));

test("the same graph gives the tool's document: positions, ports and sections", async () => {
  const elk = new NetloomElk();
  for (const name of ["blocks", "nested"]) {
    const graph = json(`tests/data/elk/${name}.elk.json`);
    const before = structuredClone(graph);
    const out = await elk.layout(graph);
    assert.deepEqual(out, json(`tests/data/cli/expected/elk-${name}.elk`), name);
    assert.deepEqual(graph, before, "the input graph is left alone");
  }
  assert.equal(Reexported, NetloomElk);
});

test("layoutOptions rank below the graph's own, and bad graphs are refused", async () => {
  const graph = json("tests/data/elk/blocks.elk.json");
  const { layoutOptions, ...bare } = graph;
  const elk = new NetloomElk({ defaultLayoutOptions: { "elk.algorithm": "force" } });
  const given = await elk.layout(bare, { layoutOptions });
  const own = await new NetloomElk().layout(graph);
  assert.deepEqual(given.children.map((c) => [c.x, c.y]), own.children.map((c) => [c.x, c.y]));
  await assert.rejects(elk.layout({ id: "r", children: [{ id: "a" }], edges: [{ sources: ["a"], targets: ["b"] }] }),
    /target "b" is neither a node nor a port/);
  await assert.rejects(elk.layout({ id: "r", children: [{ id: "a", width: -1 }] }), /"width" must be a number from 0 to 1000000/);
  await assert.rejects(elk.layout(null), TypeError);
});
