// Files of two builds of the same code. Their maths libraries round some results to neighbours: a
// float by one unit in the last place, a stored angle or step by one.

import { deepStrictEqual } from 'node:assert';
import { openGlb } from './glb.mjs';

// A float's bits in ascending order of its value.
const ordered = (bits) => (bits < 0x80000000 ? bits : 0x80000000 - bits);

function neighbours(a, b, floats) {
  if (Math.abs(ordered(a) - ordered(b)) <= 1) {
    return true;
  }
  if (floats) {
    return false;
  }
  const near = (x, y) => [0, 1, 0xffff].includes((x - y) & 0xffff);
  return near(a & 0xffff, b & 0xffff) && near(a >>> 16, b >>> 16);
}

// How many words of four bytes differ; throws where two differ by more than rounding.
function differences(one, other, floats, what) {
  if (one.length !== other.length) {
    throw new Error(`${what}: ${one.length} bytes, not ${other.length}`);
  }
  const [a, b] = [one, other].map((bytes) => Buffer.concat([bytes, Buffer.alloc(3)]));
  let count = 0;
  for (let at = 0; at < one.length; at += 4) {
    const [x, y] = [a.readUInt32LE(at), b.readUInt32LE(at)];
    if (x !== y && !neighbours(x, y, floats)) {
      throw new Error(`${what}: byte ${at}: ${x.toString(16)}, not ${y.toString(16)}`);
    }
    count += x === y ? 0 : 1;
  }
  return count;
}

// Numbers of a document as whole numbers of their bits, so that a neighbour is found.
const bits = new DataView(new ArrayBuffer(4));
function floatsOf(document) {
  const found = [];
  const text = JSON.stringify(document, (key, value) => {
    if (key === 'game_path') {
      return value.slice(value.indexOf('/models/')); // a full path of the system it was made on
    }
    if (typeof value !== 'number' || Number.isInteger(value)) {
      return value;
    }
    bits.setFloat32(0, value);
    found.push(bits.getUint32(0));
    return 'float';
  });
  return { found, rest: JSON.parse(text) };
}

// The share of floats that differ.
export function compareGlb(taken, native, what) {
  const parts = [taken, native].map((glb) => {
    const { json, bin } = openGlb(glb);
    return { ...floatsOf(json), binary: bin };
  });
  deepStrictEqual(parts[0].rest, parts[1].rest, what);
  let count = 0;
  parts[0].found.forEach((x, i) => {
    const y = parts[1].found[i];
    if (x !== y && !neighbours(x, y, true)) {
      throw new Error(`${what}: a number of its JSON differs by more than rounding`);
    }
    count += x === y ? 0 : 1;
  });
  count += differences(parts[0].binary, parts[1].binary, true, what);
  return count / (parts[0].found.length + parts[0].binary.length / 4);
}

// The share of words that differ in a model.
export function compareModel(taken, native, what) {
  return differences(taken, native, false, what) / (native.length / 4);
}
