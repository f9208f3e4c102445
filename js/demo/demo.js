// The demo page: reads a graph file the user picks, lays it out in a Web Worker
// (so the page keeps responding), shows progress and draws the result in SVG
// with pan (drag) and zoom (wheel).
const $ = (id) => document.getElementById(id);
const SVG = "http://www.w3.org/2000/svg";
const worker = new Worker(new URL("worker.js", import.meta.url), { type: "module" });
const view = { x: 0, y: 0, k: 1 };
let last = null;

// Exposed for the browser test: the page's state and a heartbeat of the main thread.
const page = (window.netloomDemo = { state: "idle", nodeCount: 0, longestPause: 0, layoutMs: 0 });
let beat = performance.now();
(function heartbeat() {
  const now = performance.now();
  if (page.state === "layout") page.longestPause = Math.max(page.longestPause, now - beat);
  beat = now;
  setTimeout(heartbeat, 10);
})();

function parseGraphML(text) {
  const doc = new DOMParser().parseFromString(text, "application/xml");
  if (doc.querySelector("parsererror")) throw new Error("not well-formed XML");
  const nodes = [...doc.getElementsByTagName("node")].map((v) => v.getAttribute("id"));
  const links = [...doc.getElementsByTagName("edge")].map((e) => ({ source: e.getAttribute("source"), target: e.getAttribute("target") }));
  return { nodes, links };
}

function parseGraph(name, text) {
  if (/\.(graphml|xml)$/i.test(name) || text.trimStart().startsWith("<")) return parseGraphML(text);
  const doc = JSON.parse(text);
  return { nodes: doc.nodes ?? [], links: doc.links ?? doc.edges ?? [] };
}

function status(text, fraction) {
  $("status").textContent = text;
  if (fraction === undefined) $("progress").removeAttribute("value");
  else $("progress").value = fraction;
}

async function run(file) {
  let graph;
  try {
    graph = parseGraph(file.name, await file.text());
  } catch (e) {
    page.state = "error";
    status(`${file.name}: ${e.message}`, 0);
    return;
  }
  last = { name: file.name, graph };
  page.state = "layout";
  page.longestPause = 0;
  status(`Laying out ${graph.nodes.length} nodes, ${graph.links.length} links…`);
  worker.postMessage({ graph, options: { kind: $("kind").value } });
}

worker.onmessage = ({ data }) => {
  if (data.progress) {
    const [done, total] = data.progress;
    status(`Laying out: component ${done} of ${total}`, done / total);
  } else if (data.error) {
    page.state = "error";
    status(`${last.name}: ${data.error}`, 0);
  } else {
    page.layoutMs = data.ms;
    draw(last.graph, data.ids, data.xy);
    status(`${last.name}: ${data.ids.length} nodes laid out in ${data.ms.toFixed(0)} ms`, 1);
    page.state = "drawn";
  }
};

function draw(graph, ids, xy) {
  const scene = $("scene");
  scene.replaceChildren();
  const at = new Map(ids.map((id, i) => [id, i]));
  const key = (end) => (typeof end === "object" && end !== null ? end.id : end);
  const path = graph.links.map((l) => {
    const [s, t] = [at.get(key(l.source)), at.get(key(l.target))];
    return `M${xy[2 * s]},${xy[2 * s + 1]}L${xy[2 * t]},${xy[2 * t + 1]}`;
  }).join("");
  const links = document.createElementNS(SVG, "path");
  links.setAttribute("class", "link");
  links.setAttribute("d", path);
  scene.append(links);
  const labels = ids.length <= 200;
  ids.forEach((id, i) => {
    const c = document.createElementNS(SVG, "circle");
    c.setAttribute("class", "node");
    c.setAttribute("cx", xy[2 * i]);
    c.setAttribute("cy", xy[2 * i + 1]);
    c.setAttribute("r", 6);
    c.append(Object.assign(document.createElementNS(SVG, "title"), { textContent: String(id) }));
    scene.append(c);
    if (labels) {
      const t = document.createElementNS(SVG, "text");
      t.setAttribute("class", "label");
      t.setAttribute("x", xy[2 * i] + 8);
      t.setAttribute("y", xy[2 * i + 1] + 3);
      t.textContent = String(id);
      scene.append(t);
    }
  });
  page.nodeCount = ids.length;
  fit(xy);
}

// Shows the whole drawing with a margin.
function fit(xy) {
  let [x0, y0, x1, y1] = [Infinity, Infinity, -Infinity, -Infinity];
  for (let i = 0; i < xy.length; i += 2) {
    x0 = Math.min(x0, xy[i]); x1 = Math.max(x1, xy[i]);
    y0 = Math.min(y0, xy[i + 1]); y1 = Math.max(y1, xy[i + 1]);
  }
  const { width, height } = $("view").getBoundingClientRect();
  view.k = Math.min(width / (x1 - x0 + 80), height / (y1 - y0 + 80), 4) || 1;
  view.x = (width - (x1 + x0) * view.k) / 2;
  view.y = (height - (y1 + y0) * view.k) / 2;
  transform();
}

function transform() {
  $("scene").setAttribute("transform", `translate(${view.x},${view.y}) scale(${view.k})`);
}

$("view").addEventListener("wheel", (e) => {
  e.preventDefault();
  const f = Math.exp(-e.deltaY * 0.002);
  view.x = e.offsetX - (e.offsetX - view.x) * f;
  view.y = e.offsetY - (e.offsetY - view.y) * f;
  view.k *= f;
  transform();
}, { passive: false });
$("view").addEventListener("pointerdown", (e) => {
  const start = { x: e.clientX - view.x, y: e.clientY - view.y };
  const move = (m) => { view.x = m.clientX - start.x; view.y = m.clientY - start.y; transform(); };
  const up = () => { removeEventListener("pointermove", move); removeEventListener("pointerup", up); };
  addEventListener("pointermove", move);
  addEventListener("pointerup", up);
});
$("file").addEventListener("change", (e) => e.target.files[0] && run(e.target.files[0]));
$("kind").addEventListener("change", () => $("file").files[0] && run($("file").files[0]));
