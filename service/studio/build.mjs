// Builds the studio's page into a folder:  node build.mjs FOLDER [NODE_MODULES]
// The second names the packages' folder, where they do not lie beside this file.
import { cp, mkdir } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";

const here = path.dirname(fileURLToPath(import.meta.url));
const [target, packages] = [process.argv[2] ?? path.join(here, "dist"), process.argv[3] ?? path.join(here, "node_modules")].map((folder) => path.resolve(folder));
const { build } = createRequire(path.join(packages, "packages.js"))("esbuild");

await mkdir(target, { recursive: true });
await build({
  absWorkingDir: here,
  entryPoints: { studio: "src/main.tsx", stream: "src/stream.ts" },
  nodePaths: [packages],
  bundle: true,
  minify: true,
  format: "esm",
  target: "es2022",
  jsx: "automatic",
  jsxImportSource: "preact",
  legalComments: "none",
  outdir: target,
  logLevel: "warning",
});
await cp(path.join(here, "src/index.html"), path.join(target, "index.html"));
