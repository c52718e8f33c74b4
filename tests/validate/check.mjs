// Takes scenes that the project writes to the official validator and to a viewer:
//   node check.mjs WRITESAMPLES
// Every file has to be valid, and three.js has to show every vertex where the scene has it, within
// 1e-4 of the model's size, in every clip. Ends with 77 where the packages are not installed.

import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const share = 1e-4;
if (!existsSync(join(dirname(fileURLToPath(import.meta.url)), 'node_modules'))) {
  console.log('skipped: npm ci --prefix tests/validate');
  process.exit(77);
}
const { faultsOf } = await import('./validate.mjs');
const { loadGlb } = await import('./glb.mjs');
const { Posed } = await import('./posed.mjs');

function sizeOf(positions) {
  const size = [0, 1, 2].map((axis) => {
    const along = positions.filter((_, i) => i % 3 === axis);
    return along.reduce((a, b) => Math.max(a, b)) - along.reduce((a, b) => Math.min(a, b));
  });
  return Math.max(...size);
}

// What is wrong with how a file is shown, and how far any vertex is off as a share of the size.
async function compare(path, expected) {
  const faults = [];
  let worst = 0;
  const posed = await Posed.load(await loadGlb(path, { pictures: false }));
  const clips = posed.clips.map(({ name, duration }) => ({ name, duration }));
  if (clips.length !== expected.clips.length || clips.some(({ name, duration }, i) =>
    name !== expected.clips[i].name || Math.abs(duration - expected.clips[i].duration) > 1e-6)) {
    faults.push(`clips are ${JSON.stringify(clips)}, not ${JSON.stringify(expected.clips)}`);
    return { faults, worst };
  }
  for (const { clip, time, meshes } of expected.shown) {
    posed.pose(clip, time);
    const shown = new Map(posed.meshes().map((mesh) => [mesh.node, mesh.positions]));
    if (shown.size !== meshes.length) {
      faults.push(`${shown.size} meshes are shown, not ${meshes.length}`);
    }
    const size = sizeOf(meshes.flatMap(({ positions }) => positions).concat([0, 0, 0]));
    for (const { node, positions } of meshes) {
      const found = shown.get(node) ?? [];
      const off = found.length !== positions.length ? Infinity
        : positions.reduce((most, at, i) => Math.max(most, Math.abs(at - found[i])), 0) / size;
      worst = Math.max(worst, off);
      if (!(off <= share)) {
        faults.push(`node ${node} at ${time} s of clip ${clip} is off by ${off} of the size`);
      }
    }
  }
  return { faults, worst };
}

const folder = await mkdtemp(join(tmpdir(), 'written-'));
try {
  execFileSync(process.argv[2], [folder], { stdio: 'inherit' });
  const lists = (await readdir(folder)).filter((name) => name.endsWith('.expected.json'));
  if (lists.length === 0) {
    throw new Error('nothing was written');
  }
  for (const list of lists.sort()) {
    const expected = JSON.parse(await readFile(join(folder, list)));
    const path = join(folder, expected.file);
    const { faults, worst } = await compare(path, expected);
    faults.push(...await faultsOf(path));
    console.log(`${expected.file}: ${expected.shown.length} poses, off by ${worst} of the size at ` +
      `most, ${faults.length} faults`);
    faults.slice(0, 20).forEach((fault) => console.log(`  ${fault}`));
    process.exitCode ||= faults.length === 0 ? 0 : 1;
  }
} finally {
  await rm(folder, { recursive: true, force: true });
}
