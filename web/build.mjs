// Makes the page: node build.mjs PROGRAM_DIR OUT.html
// PROGRAM_DIR has marrow.mjs and marrow.wasm. Everything goes into the one file: the styles, the
// script, in it the worker's script as text, and in that the program's bytes.

import { createHash } from 'node:crypto';
import { readFile, writeFile } from 'node:fs/promises';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { build } from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));
const [programDir, out] = process.argv.slice(2);
if (out === undefined) {
  console.error('usage: node build.mjs PROGRAM_DIR OUT.html');
  process.exit(2);
}

const shared = {
  bundle: true,
  minify: true,
  write: false,
  target: 'es2022',
  platform: 'browser',
  legalComments: 'eof',
  absWorkingDir: here,
  logLevel: 'warning',
};
const loads = (name, load) => ({
  name,
  setup({ onResolve, onLoad }) {
    onResolve({ filter: new RegExp(`^${name}$`) }, () => ({ path: name, namespace: name }));
    onLoad({ filter: /.*/, namespace: name }, load);
  },
});

const draco = join(here, 'node_modules/three/examples/jsm/libs/draco/gltf');
const worker = await build({
  ...shared,
  entryPoints: ['src/run/worker.ts'],
  format: 'iife',
  // What the program's glue asks for where it runs in node.
  external: ['fs', 'path', 'crypto', 'child_process', 'perf_hooks', 'worker_threads'],
  alias: { 'marrow-program': resolve(programDir, 'marrow.mjs') },
  plugins: [
    loads('marrow-wasm', async () => ({
      contents: await readFile(join(programDir, 'marrow.wasm')),
      loader: 'binary',
    })),
    // No module of its package's kind, as which it would have no export.
    loads('marrow-draco', async () => ({
      contents: await readFile(join(draco, 'draco_wasm_wrapper.js')),
    })),
    loads('marrow-draco-wasm', async () => ({
      contents: await readFile(join(draco, 'draco_decoder.wasm')),
      loader: 'binary',
    })),
  ],
});
const page = await build({
  ...shared,
  entryPoints: ['src/main.tsx'],
  format: 'iife',
  outdir: '.',
  loader: { '.css': 'css' },
  plugins: [
    loads('marrow-worker', () => ({ contents: worker.outputFiles[0].text, loader: 'text' })),
  ],
});
const textOf = (suffix) => page.outputFiles.find(({ path }) => path.endsWith(suffix)).text;

// The browser itself holds the page to what it promises: no request but to what is in it, no script
// but this one.
const script = textOf('.js').replaceAll('</script', '<\\/script');
const hash = createHash('sha256').update(script).digest('base64');
const policy = [
  "default-src 'none'",
  `script-src 'sha256-${hash}' 'wasm-unsafe-eval' blob:`,
  'worker-src blob:',
  "style-src 'unsafe-inline'",
  'img-src blob: data:',
  'connect-src blob: data:',
  "base-uri 'none'",
  "form-action 'none'",
].join('; ');
const parts = { POLICY: policy, STYLE: textOf('.css'), SCRIPT: script };
const frame = await readFile(join(here, 'page.html'), 'utf8');
const html = frame.replace(/\{\{([A-Z]+)\}\}/g, (_, name) => parts[name]);
await writeFile(out, html);
const megabytes = (size) => `${(size / 1e6).toFixed(2)} MB`;
console.log(`${out}: ${megabytes(html.length)}, compressed ${megabytes(gzipSync(html).length)}`);
