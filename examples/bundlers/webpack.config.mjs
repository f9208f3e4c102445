export default {
  mode: "production",
  target: "web",
  entry: "./page.js",
  output: { path: new URL("out/webpack/", import.meta.url).pathname, filename: "page.js" },
  performance: { hints: false },
};
