// A glTF file of either kind as one binary file in memory, images and data included.

import { readFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';

const textChunk = 0x4e4f534a;
const dataChunk = 0x004e4942;

function pack(json, data) {
  const text = Buffer.from(JSON.stringify(json));
  const padded = Buffer.concat([text, Buffer.alloc(-text.length & 3, ' ')]);
  const body = Buffer.concat([data, Buffer.alloc(-data.length & 3)]);
  const head = Buffer.alloc(20);
  head.write('glTF');
  head.writeUInt32LE(2, 4);
  head.writeUInt32LE(28 + padded.length + body.length, 8);
  head.writeUInt32LE(padded.length, 12);
  head.writeUInt32LE(textChunk, 16);
  const dataHead = Buffer.alloc(8);
  dataHead.writeUInt32LE(body.length, 0);
  dataHead.writeUInt32LE(dataChunk, 4);
  const whole = Buffer.concat([head, padded, dataHead, body]);
  return whole.buffer.slice(whole.byteOffset, whole.byteOffset + whole.length);
}

function unpack(bytes) {
  if (bytes.toString('latin1', 0, 4) !== 'glTF') {
    return { json: JSON.parse(bytes.toString()), data: Buffer.alloc(0) };
  }
  const length = bytes.readUInt32LE(12);
  return {
    json: JSON.parse(bytes.toString('utf8', 20, 20 + length)),
    data: bytes.subarray(28 + length),
  };
}

// Without pictures nothing of a browser is needed to load the result.
export async function loadGlb(path, { pictures }) {
  const { json, data } = unpack(await readFile(path));
  const beside = (uri) => readFile(join(dirname(path), decodeURIComponent(uri)));
  let whole = data;
  const buffer = json.buffers?.[0];
  if (buffer?.uri !== undefined) {
    whole = await beside(buffer.uri);
    delete buffer.uri;
  }
  if (pictures) {
    for (const image of json.images ?? []) {
      if (image.uri !== undefined) {
        const type = image.uri.endsWith('.png') ? 'image/png' : 'image/jpeg';
        image.uri = `data:${type};base64,${(await beside(image.uri)).toString('base64')}`;
      }
    }
  } else {
    delete json.images;
    delete json.textures;
    json.materials?.forEach((material) => delete material.pbrMetallicRoughness?.baseColorTexture);
  }
  return pack(json, whole);
}
