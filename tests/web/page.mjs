// Drives the page in Chromium (CHROMIUM names another) as a user does, and compares what it takes
// with what the command writes from the same files:
//   node page.mjs MARROW PAGE.html SAMPLE.glb [FOLDER]
// With a folder, pictures of the page are written to it.

import { strict as assert } from 'node:assert';
import { execFileSync } from 'node:child_process';
import { cpSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { captureFrame, installCapture } from './capture.mjs';
import { compareGlb, compareModel } from './compare.mjs';
import { glbOf, openGlb } from './glb.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const { chromium } = createRequire(join(here, '../validate/package.json'))('playwright-core');
const { Posed } = await import('../validate/posed.mjs');
const [marrow, pageFile, sample, pictures] = process.argv.slice(2).map((path) => resolve(path));

const folder = mkdtempSync(join(tmpdir(), 'page-'));
const game = join(folder, 'game');
const models = join(game, 'models');
mkdirSync(models, { recursive: true });
const native = (...args) => execFileSync(marrow, args, { stdio: 'pipe', cwd: game });

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
  args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
});
const faults = [];

async function newTab(file = pageFile) {
  const tab = await browser.newPage({ viewport: { width: 1200, height: 800 } });
  await tab.addInitScript(installCapture);
  tab.on('pageerror', (error) => faults.push(error.message));
  tab.on('console', (line) => line.type() === 'error' && faults.push(line.text()));
  tab.on('request', (request) => {
    if (!/^(blob|data):/.test(request.url()) && request.url() !== String(pathToFileURL(file))) {
      faults.push(`a request to ${request.url()}`);
    }
  });
  await tab.goto(String(pathToFileURL(file)));
  return tab;
}

const idle = (tab) =>
  tab.waitForFunction(() => document.querySelector('.busy').textContent === '', null, { timeout: 60000 });
const messages = (tab, kind) => tab.locator(`.messages .${kind}`).allTextContents();

async function choose(tab, paths, kind = 'files') {
  await tab.locator(`input[data-kind=${kind}]`).setInputFiles(paths);
  await idle(tab);
}

// As a drop of the browser's user interface: only the events are made by hand.
async function drop(tab, files) {
  const transfer = await tab.evaluateHandle((list) => {
    const made = new DataTransfer();
    list.forEach(([name, bytes]) =>
      made.items.add(new File([Uint8Array.from(atob(bytes), (c) => c.charCodeAt(0))], name)));
    return made;
  }, files.map(([name, content]) => [name, Buffer.from(content).toString('base64')]));
  await tab.dispatchEvent('.stage', 'dragover', { dataTransfer: transfer });
  await tab.dispatchEvent('.stage', 'drop', { dataTransfer: transfer });
  await tab.waitForTimeout(50);
  await idle(tab);
}

async function take(tab, name) {
  const waiting = tab.waitForEvent('download');
  await tab.getByRole('button', { name, exact: true }).click();
  const download = await waiting;
  return { name: download.suggestedFilename(), content: readFileSync(await download.path()) };
}

// The vertices that the page draws at a frame, read back after skinning, against the same frame of the command's file.
async function checkFrame(tab, posed, clip, frame, rate) {
  await tab.getByRole('combobox', { name: /^Sequence/ }).selectOption({ index: clip });
  await tab.getByRole('slider').fill(String(frame));
  assert.equal(await tab.locator('output').textContent().then((text) => parseInt(text, 10)), frame);
  posed.pose(posed.clips[clip].name, frame / rate);
  const wanted = posed.meshes();
  const height = posed.box().max.y;
  const shown = await tab.evaluate(captureFrame);
  assert.equal(shown.length, wanted.length);
  let worst = 0;
  for (const { count, error, positions } of shown) {
    assert.equal(error, 0, 'the graphics library refuses to read back');
    const mesh = wanted.find(({ positions: all }) => all.length === 3 * count);
    positions.forEach((at, i) => {
      worst = Math.max(worst, Math.abs(at - mesh.positions[i]));
    });
  }
  assert.ok(worst <= 1e-4 * height, `frame ${frame} is off by ${worst} m`);
  return worst / height;
}

async function checkKind(tab, file, also, rate = 20) {
  native('import', `models/${file}`, '-o', join(folder, 'sample.glb'));
  const glb = readFileSync(join(folder, 'sample.glb'));
  await choose(tab, [file, ...also].map((name) => join(models, name)));
  assert.deepEqual(await messages(tab, 'error'), []);
  const posed = await Posed.parse(glb);
  const worst = await checkFrame(tab, posed, posed.clips.length - 1, 7, rate);

  const frameNow = () => tab.locator('output').textContent();
  const before = await frameNow();
  await tab.getByRole('button', { name: 'Play', exact: true }).click();
  await tab.waitForFunction((was) => document.querySelector('output').textContent !== was, before);
  await tab.getByRole('button', { name: 'Pause', exact: true }).click();
  const paused = await frameNow();
  await tab.keyboard.press('Escape');
  await tab.locator('canvas').focus();
  await tab.keyboard.press('ArrowRight');
  assert.notEqual(await frameNow(), paused);

  const share = compareGlb((await take(tab, 'glb')).content, glb, file);
  assert.ok(share < 1e-4, `${file}: ${share} of the floats differ`);
  const picture = (await take(tab, 'Picture')).content;
  assert.deepEqual([...picture.subarray(1, 4)], [...Buffer.from('PNG')]);
  console.log(`${file}: shown off by ${worst} of its height, ${share} of the glb's floats differ`);
}

async function checkExport(tab) {
  await choose(tab, [sample]);
  await tab.getByText('Game files', { exact: true }).click();
  for (const [format, args, names] of [
    ['mdc', [], ['out.mdc']],
    ['mdm', ['--sequences', '--mdx', 'out.mdx'], ['out.aninc', 'out.mdm', 'out.mdx']],
    ['mds', ['--sequences', '--write-skin', '--write-images'],
      ['models/players/sample/figure.tga', 'out.mds', 'out.skin', 'wolfanim.cfg']],
  ]) {
    const target = join(folder, 'exported', format);
    mkdirSync(target, { recursive: true });
    // The name of the file is in it.
    cpSync(sample, join(target, 'out.glb'));
    execFileSync(marrow, ['export', 'out.glb', '-o', `out.${format}`, ...args], { cwd: target, stdio: 'pipe' });
    await drop(tab, [['out.glb', readFileSync(sample)]]);
    await tab.getByRole('combobox', { name: /^Format/ }).selectOption(format);
    const boxes = args.includes('--write-skin') ? ['Skin file', 'Images'] : [];
    for (const box of boxes) {
      await tab.getByLabel(box, { exact: true }).check();
    }
    const { name, content } = await take(tab, 'Take game files');
    for (const box of boxes) {
      await tab.getByLabel(box, { exact: true }).uncheck();
    }
    const files = new Map([[name, content]]);
    if (name.endsWith('.zip')) {
      files.delete(name);
      writeFileSync(join(target, name), content);
      mkdirSync(join(target, 'taken'));
      execFileSync('python3', ['-m', 'zipfile', '-e', join(target, name), join(target, 'taken')]);
      readdirSync(join(target, 'taken'), { recursive: true }).filter((each) => each.includes('.')).forEach(
        (each) => files.set(each, readFileSync(join(target, 'taken', each))));
    }
    assert.deepEqual([...files.keys()].sort(), names);
    for (const [each, taken] of files) {
      const share = compareModel(taken, readFileSync(join(target, each)), each);
      assert.ok(share < 1e-3, `${each}: ${share} of its words differ`);
      console.log(`${each}: taken, ${share} of its words differ`);
    }
  }
}

// What a library has to unpack before the command reads it, packed by programs of others.
async function checkCompressed(tab) {
  const torn = [];
  for (const [name, packer, ...options] of [
    ['draco', 'draco_transcoder'], ['meshopt', 'gltfpack', '-c', '-kn', '-ke', '-af', '20'],
  ]) {
    const at = (file) => join(folder, file);
    execFileSync(packer, [...options, '-i', sample, '-o', at(`${name}.glb`)], { stdio: 'pipe' });
    native('convert', at(`${name}.glb`), at('plain.glb'));
    const content = readFileSync(at(`${name}.glb`));
    await drop(tab, [[`${name}.glb`, content]]);
    assert.deepEqual(await messages(tab, 'error'), []);
    await checkFrame(tab, await Posed.parse(readFileSync(at('plain.glb'))), 1, 7, 20);
    native('export', at(`${name}.glb`), '-o', at(`${name}.mdc`));
    await tab.getByRole('combobox', { name: /^Format/ }).selectOption('mdc');
    const share = compareModel((await take(tab, 'Take game files')).content,
      readFileSync(at(`${name}.mdc`)), `${name}.mdc`);
    assert.ok(share < 1e-3, `${name}.mdc: ${share} of its words differ`);
    console.log(`${name}: shown and taken, ${share} of its words differ`);
    const { json, bin } = openGlb(content);
    torn.push([`${name}.glb`, glbOf(json, Buffer.from(bin).fill(0x5a, 100))]);
  }
  for (const file of torn) {
    await drop(tab, [file]);
    const said = await messages(tab, 'error');
    assert.ok(said.length === 1 && said[0].includes('are damaged'), said.join());
    console.log(said[0]);
  }
}

// The sample's image where its models name it.
function unpackImage() {
  const { json: { images, bufferViews }, bin } = openGlb(readFileSync(sample));
  const { byteOffset = 0, byteLength } = bufferViews[images[0].bufferView];
  const place = join(models, 'players/sample');
  mkdirSync(place, { recursive: true });
  writeFileSync(join(models, 'sample.skin'), '"body","models/players/sample/figure.tga"\n');
  writeFileSync(join(place, 'figure.png'), bin.subarray(byteOffset).subarray(0, byteLength));
}

// A pk3 of folders, and a whole folder.
async function checkContainers(tab) {
  unpackImage();
  native('import', 'models/sample.mdm', '-o', join(folder, 'sample.glb'));
  const glb = readFileSync(join(folder, 'sample.glb'));
  assert.ok(glb.includes('image/png'));
  const pk3 = join(folder, 'pak0.pk3');
  execFileSync('python3', ['-m', 'zipfile', '-c', pk3, models], { cwd: game });
  await choose(tab, [pk3]);
  const rows = tab.locator('.models button');
  assert.equal(await rows.count(), 3);
  await tab.getByLabel('Search models').fill('mdm');
  assert.equal(await rows.count(), 1);
  await rows.first().click();
  await idle(tab);
  assert.deepEqual(await messages(tab, 'error'), []);
  assert.match(await tab.locator('canvas').getAttribute('aria-label'), /sample\.mdm/);
  assert.ok(compareGlb((await take(tab, 'glb')).content, glb, 'in a pk3') < 1e-4);
  await tab.getByLabel('Search models').fill('');
  await choose(tab, [game], 'folder');
  assert.equal(await rows.count(), 3);
  assert.deepEqual(await messages(tab, 'error'), []);
  // Of what is in both, the archive's counts.
  const within = join(game, 'pak0.pk3');
  cpSync(pk3, within);
  await choose(tab, [game], 'folder');
  rmSync(within);
  const titles = await rows.evaluateAll((all) => all.map(({ title }) => title));
  assert.deepEqual(titles.map((title) => /models\/sample\.\w+ in game\/pak0\.pk3$/.test(title)), [true, true, true]);
  console.log('a pk3 and a folder are listed and shown');
  if (pictures !== undefined) {
    const { takePictures } = await import('../../scripts/pictures/browser.mjs');
    await takePictures({ newTab, choose, idle, game, models, pictures });
  }
}

// A page that the command has put a model into, with what is attached to it.
async function checkView() {
  const options = ['--attach', 'tag_head=models/sample.mdc:3', '--sequence', 'walk', '--fps', '30', '--facing', '-x'];
  const file = join(folder, 'view.html');
  native('view', 'models/sample.mdm', ...options, '--page', pageFile, '-o', file);
  native('import', 'models/sample.mdm', ...options, '-o', join(folder, 'sample.glb'));
  const glb = readFileSync(join(folder, 'sample.glb'));
  assert.ok(glb.includes('image/png'));
  const tab = await newTab(file);
  await tab.locator('.models button').first().waitFor();
  await idle(tab);
  assert.deepEqual(await messages(tab, 'error'), []);
  assert.equal(await tab.locator('canvas').getAttribute('aria-label'), 'Model models/sample.mdm');
  assert.ok(compareGlb((await take(tab, 'glb')).content, glb, 'inside a page') < 1e-4);
  assert.equal((await tab.evaluate(captureFrame)).length, 4);
  await tab.close();
  console.log('a page with a model inside shows it');
}

// Half of each weight moved to a second set: what is drawn and the box around it stay the same.
async function checkManyWeights(tab) {
  const glb = readFileSync(sample);
  const { json, bin } = openGlb(glb);
  const { accessors, buffers, bufferViews, meshes } = json;
  const all = meshes.flatMap(({ primitives }) => primitives.map(({ attributes }) => attributes));
  for (const attributes of all.filter((each) => 'WEIGHTS_0' in each)) {
    const weights = accessors[attributes.WEIGHTS_0];
    const { byteOffset = 0 } = bufferViews[weights.bufferView];
    const half = Buffer.alloc(16 * weights.count);
    for (let at = 0; at < half.length; at += 4) {
      half.writeFloatLE(bin.readFloatLE(byteOffset + (weights.byteOffset ?? 0) + at) / 2, at);
    }
    buffers.push({ byteLength: half.length, uri: `data:;base64,${half.toString('base64')}` });
    bufferViews.push({ buffer: buffers.length - 1, byteLength: half.length });
    accessors.push({ ...weights, bufferView: bufferViews.length - 1, byteOffset: 0 });
    Object.assign(attributes, { JOINTS_1: attributes.JOINTS_0, WEIGHTS_1: accessors.length - 1 });
  }
  await drop(tab, [['many.glb', glbOf(json, bin)]]);
  assert.deepEqual(await messages(tab, 'error'), []);
  const posed = await Posed.parse(glb);
  const rate = await tab.evaluate(() => window.marrowViewer.clips[0].rate);
  await checkFrame(tab, posed, 0, 3, rate);
  const box = await tab.evaluate(() => window.marrowViewer.box());
  for (const [corner, axis] of ['min', 'max'].flatMap((each) => [...'xyz'].map((a) => [each, a]))) {
    assert.ok(Math.abs(box[corner][axis] - posed.box()[corner][axis]) < 1e-4, `${corner} ${axis} of the box`);
  }
}

// Reading again, Stop, and a newer request than the one that runs.
async function checkRequests(tab) {
  const torn = join(models, 'torn.mds');
  writeFileSync(torn, readFileSync(join(models, 'sample.mds')).subarray(0, 100));
  await choose(tab, [...['sample.mdm', 'sample.mdx'].map((name) => join(models, name)), torn]);
  const label = () => tab.locator('canvas').getAttribute('aria-label');
  const show = (name) => tab.locator('.models button', { hasText: name }).click().then(() => idle(tab));
  const again = () => tab.getByRole('button', { name: 'Read again' }).click().then(() => idle(tab));
  await show('torn.mds');
  await again();
  const said = await messages(tab, 'error');
  assert.ok(said.length === 1 && said[0].includes('torn.mds'), said.join());
  assert.ok(await tab.getByRole('combobox', { name: /^Sequence/ }).isDisabled());

  await show('sample.mdm');
  await tab.locator('.surfaces input').first().uncheck();
  await again();
  assert.equal(await tab.locator('.surfaces input').first().isChecked(), false);
  assert.equal(await label(), 'Model sample.mdm');

  // A folder that the browser is long in telling.
  await tab.evaluate(() => {
    DataTransferItem.prototype.getAsFileSystemHandle = () => new Promise((done) => (window.tell = done));
  });
  const late = ['late.glb', readFileSync(sample)];
  const stopped = drop(tab, [late]);
  await tab.getByRole('button', { name: 'Stop' }).click();
  await stopped;
  assert.equal(await tab.locator('.messages li').count(), 0);
  const overtaken = drop(tab, [late]);
  await tab.getByRole('button', { name: 'Stop' }).waitFor();
  await choose(tab, [join(models, 'sample.mdc')]);
  await overtaken;
  await tab.evaluate(() => window.tell(null));
  await tab.waitForTimeout(300);
  await idle(tab);
  assert.equal(await label(), 'Model sample.mdc');
  await tab.evaluate(() => delete DataTransferItem.prototype.getAsFileSystemHandle);
}

// A folder dropped from outside of the browser, which may be read again: R shows what changed in it.
async function checkDroppedFolder() {
  const tab = await newTab();
  const dropped = join(folder, 'dropped');
  const show = (last) => native('export', sample, '-o', join(dropped, 'a.mdc'), '--end', last);
  mkdirSync(dropped);
  show('5');
  const session = await tab.context().newCDPSession(tab);
  for (const type of ['dragEnter', 'dragOver', 'drop']) {
    const data = { items: [], files: [dropped], dragOperationsMask: 1 };
    await session.send('Input.dispatchDragEvent', { type, x: 600, y: 300, data });
  }
  const shows = (frames) =>
    tab.waitForFunction((wanted) => window.marrowViewer.clips[0]?.frames === wanted, frames, { timeout: 60000 });
  await shows(6);
  show('9');
  await tab.locator('canvas').focus();
  await tab.keyboard.press('r');
  await shows(10);
  assert.deepEqual(await messages(tab, 'error'), []);
  await tab.close();
}

const python = (code, ...args) => execFileSync('python3', ['-c', code, ...args]);

async function checkHostile(tab) {
  const mds = readFileSync(join(models, 'sample.mds'));
  const glb = readFileSync(sample);
  const bomb = join(folder, 'bomb.pk3');
  python(`import sys, zipfile
with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED) as z:
  with z.open('models/huge.mds', 'w', force_zip64=True) as f:
    for _ in range(400): f.write(bytes(1 << 20))
  z.write(sys.argv[2], '../../out.mds')
  z.write(sys.argv[2], '__proto__/x.mds')`, bomb, join(models, 'sample.mds'));
  const evil = '<img src=x>.mds';
  const cut = (bytes, length) => bytes.subarray(0, length);
  const damaged = (bytes, seed) => {
    const made = Buffer.from(bytes);
    for (let i = 0, x = seed; i < 40; ++i) {
      x = (x * 1103515245 + 12345) % 0x80000000;
      made[8 + x % Math.min(made.length - 8, 4000)] = x >> 8; // what says its kind is left
    }
    return made;
  };
  const files = [
    [evil, cut(mds, 100)], ['empty.mdc', Buffer.alloc(0)], ['cut.glb', cut(glb, 5000)],
    ['noise.glb', damaged(glb, 3)], ['noise.mds', damaged(mds, 5)], ['json.gltf', Buffer.from('{"meshes":7}')],
    ['outside.gltf', Buffer.from('{"asset":{"version":"2.0"},"buffers":[{"uri":"http://example.invalid/x","byteLength":4}],"images":[{"uri":"../../../etc/passwd"}]}')],
    ['no.pk3', Buffer.from('PK no archive')], ['bomb.pk3', readFileSync(bomb)],
  ];
  for (const [name, content] of files) {
    await drop(tab, [[name, content]]);
    // What is damaged where anything may stand is no error.
    const said = await tab.locator('.messages li').allTextContents();
    assert.ok(said.length > 0, `${name}: nothing is said`);
    assert.equal(await tab.locator('#page img').count(), 0, name);
    console.log(`${name.slice(0, 20)}: ${said[0].slice(0, 150)}`);
  }
  // The page is whole after all that.
  await choose(tab, [join(models, 'sample.mdc')]);
  assert.deepEqual(await messages(tab, 'error'), []);
}

try {
  native('export', sample, '-o', 'models/sample.mdc');
  native('export', sample, '-o', 'models/sample.mds', '--sequences');
  native('export', sample, '-o', 'models/sample.mdm', '--mdx', 'models/sample.mdx', '--sequences');
  const tab = await newTab();
  await checkKind(tab, 'sample.mdc', []);
  const sequences = join(models, 'wolfanim.cfg');
  writeFileSync(sequences, readFileSync(sequences, 'utf8').replace(/^(wave .*)\b20\b/m, '$124'));
  await checkKind(tab, 'sample.mds', ['wolfanim.cfg'], 24);
  await checkKind(tab, 'sample.mdm', ['sample.mdx', 'sample.aninc']);
  await checkExport(tab);
  await checkCompressed(tab);
  await checkContainers(tab);
  await checkView();
  await checkManyWeights(tab);
  await checkRequests(tab);
  await checkDroppedFolder();
  assert.deepEqual(faults, []);
  await checkHostile(tab);
  const broken = faults.filter(
    (text) => /Refused to|Content Security Policy|a request to/.test(text) || !/ERR_|blob:|THREE/.test(text));
  assert.deepEqual(broken, []);
} finally {
  await browser.close();
  rmSync(folder, { recursive: true, force: true });
}
