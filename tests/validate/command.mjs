// Takes the sample scene through every model format with the command and looks at what came back:
//   node command.mjs MARROW SAMPLE.glb
// The scene files have to be valid, and three.js has to show in them what it shows in the sample,
// as far as a format's steps allow. Ends with 77 where the packages are not installed.

import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { mkdir, mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

if (!existsSync(join(dirname(fileURLToPath(import.meta.url)), 'node_modules'))) {
  console.log('skipped: npm ci --prefix tests/validate');
  process.exit(77);
}
const { faultsOf } = await import('./validate.mjs');
const { Posed } = await import('./posed.mjs');

const [marrow, sample] = process.argv.slice(2);
const scale = 40; // the command's own
const fps = 20;
const load = async (path) => Posed.parse(await readFile(path));
const run = (...args) => execFileSync(marrow, args, { stdio: 'pipe' });
const original = await load(sample);
const framesOf = (clip) => Math.ceil(clip.duration * fps - 1e-4) + 1;

// Largest distance along an axis between the same vertices of two scenes, in scene units.
function apart(one, other) {
  const shown = new Map(other.meshes().map(({ name, positions }) => [name, positions]));
  return Math.max(...one.meshes().map(({ name, positions }) => {
    const found = shown.get(name) ?? [];
    return found.length !== positions.length ? Infinity
      : scale * positions.reduce((most, at, i) => Math.max(most, Math.abs(at - found[i])), 0);
  }));
}

const folder = await mkdtemp(join(tmpdir(), 'models-'));
const file = (name) => join(folder, 'models', name);
const height = scale * original.box().max.y;

// Frames of vertices come back as morph targets: a vertex lies within a step of 1/64 of where it was.
async function checkMdc() {
  run('export', sample, '-o', file('s.mdc'));
  let worst = 0;
  const [first, second] = original.clips;
  run('import', file('s.mdc'), '-o', file('s.glb'));
  const back = await load(file('s.glb'));
  for (const [clip, k, frame] of [[first, 0, 0], [second, 4, framesOf(first) + 4]]) {
    original.pose(clip.name, k / fps);
    back.pose('all', frame / fps);
    worst = Math.max(worst, apart(original, back));
  }
  return { worst, most: 1 / 64 + 1e-4 * height, faults: await faultsOf(file('s.glb')) };
}

// A skeleton's angles lie within a step of 360 / 65536 degrees, bone for bone down the chain.
async function checkSkeletal(...paths) {
  run('export', sample, '-o', ...paths, '--sequences');
  run('import', paths[0], '-o', file('s.glb'));
  const back = await load(file('s.glb'));
  const faults = await faultsOf(file('s.glb'));
  let worst = 0;
  for (const clip of original.clips) {
    for (let k = 0; k < framesOf(clip); k += 4) {
      original.pose(clip.name, Math.min(k / fps, clip.duration));
      back.pose(clip.name, k / fps);
      worst = Math.max(worst, apart(original, back));
    }
  }
  return { worst, most: 1e-4 * height, faults };
}

try {
  await mkdir(join(folder, 'models'));
  const results = {
    mdc: await checkMdc(),
    mds: await checkSkeletal(file('s.mds')),
    'mdm and mdx': await checkSkeletal(file('s.mdm'), '--mdx', file('s.mdx')),
  };
  for (const [kind, { worst, most, faults }] of Object.entries(results)) {
    console.log(`${kind}: off by ${worst} units, at most ${most}; ${faults.length} faults`);
    faults.forEach((fault) => console.log(`  ${fault}`));
    process.exitCode ||= worst <= most && faults.length === 0 ? 0 : 1;
  }
} finally {
  await rm(folder, { recursive: true, force: true });
}
