// The JSON and the binary part of a .glb, both ways.

export function openGlb(glb) {
  const length = glb.readUInt32LE(12);
  return { json: JSON.parse(glb.subarray(20, 20 + length)), bin: glb.subarray(28 + length) };
}

export function glbOf(json, bin) {
  const words = (...numbers) => Buffer.from(Uint32Array.from(numbers).buffer);
  const text = Buffer.from(JSON.stringify(json));
  const padded = Buffer.concat([text, Buffer.alloc(-text.length & 3, ' ')]);
  const head = words(0x46546c67, 2, 28 + padded.length + bin.length, padded.length, 0x4e4f534a);
  return Buffer.concat([head, padded, words(bin.length, 0x004e4942), bin]);
}
