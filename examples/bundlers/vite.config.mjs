export default { base: "./", logLevel: "warn", build: { outDir: "out/vite", emptyOutDir: true } };
