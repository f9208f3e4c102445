// The page every bundler builds: lays out a small graph with the netloom package
// and writes the positions into the page (js/test/package_test.py reads them).
import { init, layout } from "netloom";

export const GRAPH = {
  nodes: ["core", "a", "b", "c", "d"],
  links: [["core", "a"], ["core", "b"], ["a", "c"], ["b", "d"], ["c", "d"]]
    .map(([source, target]) => ({ source, target })),
};

export async function run(initOptions) {
  const out = document.getElementById("result");
  try {
    await init(initOptions);
    const { positions } = await layout(GRAPH, { kind: "hierarchy" });
    out.textContent = JSON.stringify(Object.fromEntries(positions));
  } catch (e) {
    out.textContent = `error: ${e}`;
  }
}
