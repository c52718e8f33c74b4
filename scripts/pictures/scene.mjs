// Draws a glTF file as a viewer does, with Chromium (CHROMIUM names another):
//   node scripts/pictures/scene.mjs FILE --png OUT.png [--clip NAME] [--time SECONDS]

import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

const { values, positionals: [file] } = parseArgs({
  allowPositionals: true,
  options: { clip: { type: 'string' }, time: { type: 'string' }, png: { type: 'string' } },
});
if (file === undefined || values.png === undefined) {
  console.error('usage: node scene.mjs FILE --png OUT.png [--clip NAME] [--time SECONDS]');
  process.exit(2);
}
const here = dirname(fileURLToPath(import.meta.url));
const validate = join(here, '../../tests/validate'); // the packages and the posed scene
const { chromium } = createRequire(join(validate, 'package.json'))('playwright-core');
const origin = 'http://marrow.invalid/';
const page = `<!doctype html><style>body{margin:0}canvas{display:block}</style>
<script type="importmap">{"imports":{"three":"/node_modules/three/build/three.module.js",
"three/addons/":"/node_modules/three/examples/jsm/"}}</script>
<script type="module" src="/draw.mjs"></script>`;

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
  args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
});
try {
  const tab = await browser.newPage({ viewport: { width: 900, height: 900 } });
  const faults = [];
  tab.on('pageerror', (error) => faults.push(error.message));
  tab.on('console', (line) => line.type() === 'error' && faults.push(line.text()));
  await tab.route('**/*', async (route) => {
    const path = decodeURIComponent(new URL(route.request().url()).pathname);
    if (path === '/') {
      await route.fulfill({ contentType: 'text/html', body: page });
    } else if (path === '/favicon.ico') {
      await route.fulfill({ status: 204 });
    } else if (path.startsWith('/scene/')) {
      await route.fulfill({ body: await readFile(join(dirname(file), path.slice(7))) });
    } else {
      const folder = path === '/draw.mjs' ? here : validate;
      await route.fulfill({ contentType: 'text/javascript', body: await readFile(join(folder, path)) });
    }
  });
  await tab.goto(origin);
  await tab.waitForFunction(() => window.draw !== undefined);
  await tab.evaluate((asked) => window.draw(...asked),
    [`/scene/${encodeURIComponent(basename(file))}`, values.clip, Number(values.time ?? 0)]);
  await tab.screenshot({ path: values.png });
  if (faults.length !== 0) {
    throw new Error(faults.join('\n'));
  }
} finally {
  await browser.close();
}
