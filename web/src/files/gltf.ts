// A scene file's parts: its JSON and, of a .glb, the binary chunk.

const magic = 0x46546c67;
const jsonChunk = 0x4e4f534a;
const binChunk = 0x004e4942;

export type Json = Record<string, unknown>;

export interface SceneFile {
  json: Json;
  // Undefined for a .gltf and for a .glb without one.
  bin: Uint8Array | undefined;
}

export const isObject = (value: unknown): value is Json =>
  typeof value === 'object' && value !== null && !Array.isArray(value);

// The entries of a list of the document; none where it has no such list.
export const listOf = (value: unknown): Json[] =>
  Array.isArray(value) ? value.map((entry) => (isObject(entry) ? entry : {})) : [];

// Throws where it is neither kind of file.
export function readSceneFile(content: Uint8Array): SceneFile {
  const view = new DataView(content.buffer, content.byteOffset, content.byteLength);
  let text = content;
  let bin: Uint8Array | undefined;
  if (content.length >= 20 && view.getUint32(0, true) === magic) {
    const end = 20 + view.getUint32(12, true);
    if (view.getUint32(16, true) !== jsonChunk || end > content.length) {
      throw new Error('is not a whole .glb file');
    }
    text = content.subarray(20, end);
    if (end + 8 <= content.length && view.getUint32(end + 4, true) === binChunk) {
      bin = content.subarray(end + 8, end + 8 + view.getUint32(end, true));
    }
  }
  let json: unknown;
  try {
    json = JSON.parse(new TextDecoder().decode(text));
  } catch {
    throw new Error('is not a glTF file: its JSON cannot be read');
  }
  if (!isObject(json)) {
    throw new Error('is not a glTF file: its JSON is not an object');
  }
  return { json, bin };
}

export function writeGlb(json: Json, bin: Uint8Array): Uint8Array {
  const text = new TextEncoder().encode(JSON.stringify(json));
  const textSize = (text.length + 3) & ~3;
  const binSize = (bin.length + 3) & ~3;
  const glb = new Uint8Array(28 + textSize + binSize);
  const view = new DataView(glb.buffer);
  [magic, 2, glb.length, textSize, jsonChunk].forEach((word, i) => view.setUint32(4 * i, word, true));
  glb.fill(0x20, 20, 20 + textSize);
  glb.set(text, 20);
  view.setUint32(20 + textSize, binSize, true);
  view.setUint32(24 + textSize, binChunk, true);
  glb.set(bin, 28 + textSize);
  return glb;
}
