// Shows a glTF file as a viewer does:
//   node view.mjs FILE [--clip NAME] [--time SECONDS] [--png OUT.png] [--vertices OUT.json]
// Without an output it says what the file has. A picture needs Chromium (CHROMIUM names another).

import { mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { loadGlb } from './glb.mjs';
import { Posed } from './posed.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const origin = 'http://marrow.invalid/';
const page = `<!doctype html><style>body{margin:0}canvas{display:block}</style>
<script type="importmap">{"imports":{"three":"/node_modules/three/build/three.module.js",
"three/addons/":"/node_modules/three/examples/jsm/"}}</script>
<script type="module" src="/page.mjs"></script>`;

async function draw(glb, clip, time, out) {
  const { chromium } = await import('playwright-core');
  const profile = await mkdtemp(join(tmpdir(), 'view-'));
  const browser = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    viewport: { width: 900, height: 900 },
    args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  try {
    const tab = await browser.newPage();
    const faults = [];
    tab.on('pageerror', (error) => faults.push(error.message));
    tab.on('console', (line) => line.type() === 'error' && faults.push(line.text()));
    await tab.route('**/*', async (route) => {
      const path = decodeURIComponent(new URL(route.request().url()).pathname);
      if (path === '/') {
        await route.fulfill({ contentType: 'text/html', body: page });
      } else if (path === '/file.glb') {
        await route.fulfill({ body: Buffer.from(glb) });
      } else if (path === '/favicon.ico') {
        await route.fulfill({ status: 204 });
      } else {
        await route.fulfill({ contentType: 'text/javascript', body: await readFile(join(here, path)) });
      }
    });
    await tab.goto(origin);
    await tab.waitForFunction(() => window.draw !== undefined);
    await tab.evaluate(([c, t]) => window.draw('/file.glb', c, t), [clip, time]);
    await tab.screenshot({ path: out });
    if (faults.length !== 0) {
      throw new Error(faults.join('\n'));
    }
  } finally {
    await browser.close();
    await rm(profile, { recursive: true, force: true });
  }
}

process.on('uncaughtException', (error) => {
  console.error(error.message);
  process.exit(1);
});
const { values, positionals } = parseArgs({
  allowPositionals: true,
  options: {
    clip: { type: 'string' },
    time: { type: 'string', default: '0' },
    png: { type: 'string' },
    vertices: { type: 'string' },
  },
});
const time = Number(values.time);
if (positionals.length !== 1 || !Number.isFinite(time)) {
  console.error('usage: node view.mjs FILE [--clip NAME] [--time SECONDS] [--png OUT] [--vertices OUT]');
  process.exit(2);
}
const [file] = positionals;
const clip = values.clip ?? null;
const posed = await Posed.load(await loadGlb(file, { pictures: false }));
posed.pose(clip, time);
if (values.vertices !== undefined) {
  await writeFile(values.vertices, JSON.stringify({ clip, time, meshes: posed.meshes() }));
}
if (values.png !== undefined) {
  await draw(await loadGlb(file, { pictures: true }), clip, time, values.png);
}
if (values.vertices === undefined && values.png === undefined) {
  posed.meshes().forEach(({ node, name, positions }) =>
    console.log(`node ${node} "${name}": ${positions.length / 3} vertices`));
  posed.clips.forEach(({ name, duration, tracks }) =>
    console.log(`clip "${name}": ${duration} s, ${tracks.length} tracks`));
}
