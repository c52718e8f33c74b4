// The sample compressed by the libraries' own encoders.

import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { glbOf, openGlb } from './glb.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const load = createRequire(join(here, '../../web/package.json'));
const { MeshoptEncoder } = load('meshoptimizer');
const draco = await load('draco3dgltf').createEncoderModule({});

const arrays = { 5121: Uint8Array, 5123: Uint16Array, 5125: Uint32Array, 5126: Float32Array };
const widths = { SCALAR: 1, VEC2: 2, VEC3: 3, VEC4: 4, MAT4: 16 };

// The pieces one behind the other: where each starts, and the file once the JSON knows.
function close(json, pieces) {
  const starts = [];
  let size = 0;
  for (const piece of pieces) {
    starts.push(size);
    size += (piece.length + 3) & ~3;
  }
  const bin = Buffer.alloc(size);
  pieces.forEach((piece, i) => bin.set(piece, starts[i]));
  const finish = () => {
    json.buffers[0] = { byteLength: size };
    return glbOf(json, bin);
  };
  return { starts, finish };
}

const bytesOf = ({ bin }, view) => bin.subarray(view.byteOffset ?? 0).subarray(0, view.byteLength);

// Each view of numbers, without a change of their values.
export async function withMeshopt(glb) {
  await MeshoptEncoder.ready;
  const file = openGlb(glb);
  const { json } = file;
  const views = json.bufferViews;
  const strideOf = (index) => {
    const of = json.accessors.find(({ bufferView }) => bufferView === index);
    return of && (views[index].byteStride ?? arrays[of.componentType].BYTES_PER_ELEMENT * widths[of.type]);
  };
  const strides = views.map((_, i) => strideOf(i)).map((stride) => (stride % 4 === 0 ? stride : undefined));
  const packed = views.map((view, i) => {
    const [bytes, stride] = [bytesOf(file, view), strides[i]];
    return stride === undefined ? bytes
      : MeshoptEncoder.encodeGltfBuffer(bytes, bytes.length / stride, stride, 'ATTRIBUTES');
  });
  const made = close(json, packed);
  let fallback = 0;
  views.forEach((view, i) => {
    if (strides[i] === undefined) {
      view.byteOffset = made.starts[i];
      return;
    }
    view.extensions = {
      EXT_meshopt_compression: {
        buffer: 0, byteOffset: made.starts[i], byteLength: packed[i].length, byteStride: strides[i],
        count: view.byteLength / strides[i], mode: 'ATTRIBUTES',
      },
    };
    Object.assign(view, { buffer: 1, byteOffset: fallback });
    fallback += view.byteLength;
  });
  json.buffers.push({ byteLength: fallback, extensions: { EXT_meshopt_compression: { fallback: true } } });
  json.extensionsUsed = json.extensionsRequired = ['EXT_meshopt_compression'];
  return made.finish();
}

// Each primitive, losslessly; vertices and triangles keep their order.
export function withDraco(glb) {
  const file = openGlb(glb);
  const { json } = file;
  const pieces = json.bufferViews.map((view) => bytesOf(file, view));
  for (const primitive of json.meshes.flatMap(({ primitives }) => primitives)) {
    const arrayOf = (index) => {
      const { bufferView, byteOffset = 0, componentType, count, type } = json.accessors[index];
      const data = Uint8Array.from(pieces[bufferView].subarray(byteOffset));
      return new arrays[componentType](data.buffer, 0, count * widths[type]);
    };
    const builder = new draco.MeshBuilder();
    const mesh = new draco.Mesh();
    const corners = Uint32Array.from(arrayOf(primitive.indices));
    builder.AddFacesToMesh(mesh, corners.length / 3, corners);
    const attributes = {};
    for (const [name, index] of Object.entries(primitive.attributes)) {
      const values = arrayOf(index);
      const { type, count } = json.accessors[index];
      const add = { Float32Array: 'AddFloatAttribute', Uint8Array: 'AddUInt8Attribute',
        Uint16Array: 'AddUInt16Attribute' }[values.constructor.name];
      const kind = { POSITION: draco.POSITION, NORMAL: draco.NORMAL }[name] ?? draco.GENERIC;
      attributes[name] = builder[add](mesh, kind, count, widths[type], values);
    }
    for (const index of [primitive.indices, ...Object.values(primitive.attributes)]) {
      json.accessors[index] = { ...json.accessors[index], bufferView: undefined, byteOffset: undefined };
    }
    const encoder = new draco.Encoder();
    encoder.SetEncodingMethod(draco.MESH_SEQUENTIAL_ENCODING);
    const out = new draco.DracoInt8Array();
    const size = encoder.EncodeMeshToDracoBuffer(mesh, out);
    pieces.push(Buffer.from(Array.from({ length: size }, (_, i) => out.GetValue(i) & 255)));
    json.bufferViews.push({ buffer: 0, byteLength: size });
    primitive.extensions = { KHR_draco_mesh_compression: { bufferView: json.bufferViews.length - 1, attributes } };
  }
  const made = close(json, pieces);
  json.bufferViews.forEach((view, i) => (view.byteOffset = made.starts[i]));
  json.extensionsUsed = json.extensionsRequired = ['KHR_draco_mesh_compression'];
  return made.finish();
}
