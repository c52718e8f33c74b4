// Takes the sample scene through every model format with the command and validates what came back:
//   node command.mjs MARROW SAMPLE.glb
// Ends with 77 where the packages are not installed.

import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { mkdir, mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

if (!existsSync(join(dirname(fileURLToPath(import.meta.url)), 'node_modules'))) {
  console.log('skipped: npm ci --prefix tests/validate');
  process.exit(77);
}
const { faultsOf } = await import('./validate.mjs');

const [marrow, sample] = process.argv.slice(2);
const run = (...args) => execFileSync(marrow, args, { stdio: 'pipe' });
const folder = await mkdtemp(join(tmpdir(), 'models-'));
const file = (name) => join(folder, 'models', name);
try {
  await mkdir(join(folder, 'models'));
  for (const [name, ...more] of [['s.mdc'], ['s.mds', '--sequences'],
    ['s.mdm', '--mdx', file('s.mdx'), '--sequences']]) {
    run('export', sample, '-o', file(name), ...more);
    run('import', file(name), '-o', file('s.glb'));
    const faults = await faultsOf(file('s.glb'));
    console.log(`${name}: ${faults.length} faults`);
    faults.forEach((fault) => console.log(`  ${fault}`));
    process.exitCode ||= faults.length === 0 ? 0 : 1;
  }
} finally {
  await rm(folder, { recursive: true, force: true });
}
