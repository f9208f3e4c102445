// Lays graphs out off the page's thread; posts progress per component.
import { layout } from "../src/index.js";

self.onmessage = async ({ data }) => {
  try {
    const start = performance.now();
    const onProgress = (done, total) => self.postMessage({ progress: [done, total] });
    const result = await layout(data.graph, { ...data.options, onProgress });
    const ms = performance.now() - start;
    self.postMessage({ ids: [...result.positions.keys()], xy: result.xy, ms }, [result.xy.buffer]);
  } catch (e) {
    self.postMessage({ error: `${e.name}: ${e.message}` });
  }
};
