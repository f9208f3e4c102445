// Generated graphs shared by the exactness test and the benchmark: the same
// seed gives the same graph everywhere.

// A small fast generator (mulberry32); Math.random cannot be seeded.
export function random(seed) {
  let a = seed >>> 0;
  return () => {
    a = (a + 0x6d2b79f5) >>> 0;
    let t = Math.imul(a ^ (a >>> 15), a | 1);
    t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}

const ids = (n) => Array.from({ length: n }, (_, i) => `n${i}`);

// A connected sparse graph: a random tree plus extra random links.
export function sparse(n, extra, seed) {
  const rnd = random(seed);
  const links = [];
  for (let i = 1; i < n; ++i) links.push({ source: `n${Math.floor(rnd() * i)}`, target: `n${i}` });
  for (let k = 0; k < extra; ++k) {
    const a = Math.floor(rnd() * n);
    const b = Math.floor(rnd() * n);
    if (a !== b) links.push({ source: `n${a}`, target: `n${b}` });
  }
  return { nodes: ids(n), links };
}

// A tree where each node has up to `fanout` children.
export function tree(n, fanout) {
  const links = [];
  for (let i = 1; i < n; ++i) links.push({ source: `n${Math.floor((i - 1) / fanout)}`, target: `n${i}` });
  return { nodes: ids(n), links };
}

// A layered graph: nodes in `layers` layers, each with links to one to three
// nodes of the next layer.
export function layered(n, layers, seed) {
  const rnd = random(seed);
  const width = Math.ceil(n / layers);
  const links = [];
  for (let i = 0; i + width < n; ++i) {
    const next = Math.floor(i / width + 1) * width;
    const count = 1 + Math.floor(rnd() * 3);
    for (let k = 0; k < count; ++k) {
      const j = next + Math.floor(rnd() * Math.min(width, n - next));
      links.push({ source: `n${i}`, target: `n${j}` });
    }
  }
  return { nodes: ids(n), links };
}
