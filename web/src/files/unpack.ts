// Scenes whose meshes or buffers are compressed, as plain ones that the command reads: its own
// decoders are libraries that its build for browsers has not.

import DracoDecoderModule, {
  type Draco,
  type DracoMesh,
} from 'marrow-draco';
import dracoWasm from 'marrow-draco-wasm';
import { MeshoptDecoder } from 'three/addons/libs/meshopt_decoder.module.js';
import { isObject, listOf, readSceneFile, writeGlb, type Json } from './gltf';
import { folderOf, safeJoin } from './kinds';

const meshopt = 'EXT_meshopt_compression';
const draco = 'KHR_draco_mesh_compression';

// What decompression may take in all, as the command bounds it: no codec of buffer views makes more
// than 64 bytes of one.
const freeBytes = 256 << 20;
const bytesPerByte = 64;

const components: Record<string, number> = { SCALAR: 1, VEC2: 2, VEC3: 3, VEC4: 4 };

export type ReadFile = (path: string) => Uint8Array | undefined;

// Undefined for a scene in which nothing is compressed. Throws with what is wrong.
export async function unpackScene(
  content: Uint8Array,
  path: string,
  readFile: ReadFile,
): Promise<Uint8Array | undefined> {
  const { json, bin } = readSceneFile(content);
  const used = Array.isArray(json.extensionsUsed) ? (json.extensionsUsed as unknown[]) : [];
  if (!used.includes(meshopt) && !used.includes(draco)) {
    return undefined;
  }
  const unpacker = new Unpacker(json, buffersOf(json, bin, folderOf(path), readFile));
  await unpacker.views();
  await unpacker.meshes();
  return unpacker.file();
}

// Undefined for one that is not there, which may be a fallback that nobody reads.
function buffersOf(
  json: Json,
  bin: Uint8Array | undefined,
  folder: string,
  readFile: ReadFile,
): (Uint8Array | undefined)[] {
  return listOf(json.buffers).map(({ uri }, i) => {
    if (typeof uri !== 'string') {
      return i === 0 ? bin : undefined;
    }
    const data = /^data:[^,]*;base64,/.exec(uri);
    if (data !== null) {
      return Uint8Array.from(atob(uri.slice(data[0].length)), (letter) => letter.charCodeAt(0));
    }
    const path = safeJoin(folder, uri);
    return path === undefined ? undefined : readFile(path);
  });
}

class Unpacker {
  private readonly bufferViews: Json[];
  private readonly accessors: Json[];
  // Of the file's views, then of those that were made.
  private readonly contents: Uint8Array[] = [];
  // What primitives take from compressed data that others may share.
  private readonly known = new Map<string, number>();
  private room: number;

  constructor(
    private readonly json: Json,
    private readonly buffers: (Uint8Array | undefined)[],
  ) {
    this.bufferViews = listOf(json.bufferViews);
    this.accessors = listOf(json.accessors);
    const read = buffers.reduce((sum, buffer) => sum + (buffer?.length ?? 0), 0);
    this.room = freeBytes + bytesPerByte * read;
  }

  async views(): Promise<void> {
    await MeshoptDecoder.ready;
    this.bufferViews.forEach((view, i) => {
      const packed = isObject(view.extensions) ? view.extensions[meshopt] : undefined;
      try {
        this.contents.push(isObject(packed) ? this.decoded(packed) : this.slice(view));
      } catch (error) {
        throw new Error(`buffer view ${i}: ${error instanceof Error ? error.message : error}`);
      }
      withoutExtension(view, meshopt);
    });
  }

  private slice(from: Json): Uint8Array {
    const [buffer, offset, length] = [from.buffer, from.byteOffset ?? 0, from.byteLength].map(Number);
    const content = this.buffers[buffer ?? -1];
    if (content === undefined) {
      throw new Error(`buffer ${buffer} is not among the dropped files`);
    }
    if (!isCount(offset) || !isCount(length) || offset + length > content.length) {
      throw new Error(`it reaches past buffer ${buffer}`);
    }
    return content.subarray(offset, offset + length);
  }

  private decoded(packed: Json): Uint8Array {
    const data = this.slice(packed);
    const { count, byteStride, mode, filter = 'NONE' } = packed;
    const indices = mode === 'TRIANGLES' || mode === 'INDICES';
    const strides: Record<string, number[]> = { OCTAHEDRAL: [4, 8], QUATERNION: [8] };
    const whole = isCount(count) && isCount(byteStride) && typeof filter === 'string';
    const known =
      (indices && filter === 'NONE' && (byteStride === 2 || byteStride === 4)) ||
      (mode === 'ATTRIBUTES' && ['NONE', 'OCTAHEDRAL', 'QUATERNION', 'EXPONENTIAL'].includes(String(filter)));
    if (!whole || !known || byteStride === 0 || byteStride > 256 || (!indices && byteStride % 4 !== 0) ||
        strides[filter]?.includes(byteStride) === false || (mode === 'TRIANGLES' && count % 3 !== 0)) {
      throw new Error('what it says of its compression does not fit together');
    }
    if (count > bytesPerByte * data.length) {
      throw new Error('it has more values than the file can have');
    }
    this.take(count * byteStride);
    const content = new Uint8Array(count * byteStride);
    try {
      MeshoptDecoder.decodeGltfBuffer(content, count, byteStride, data, String(mode), filter);
    } catch {
      throw new Error('its compressed data are damaged');
    }
    return content;
  }

  async meshes(): Promise<void> {
    for (const [m, mesh] of listOf(this.json.meshes).entries()) {
      for (const [p, primitive] of listOf(mesh.primitives).entries()) {
        const packed = isObject(primitive.extensions) ? primitive.extensions[draco] : undefined;
        if (isObject(packed)) {
          try {
            this.unpackPrimitive(primitive, packed, await loadedDraco());
          } catch (error) {
            const why = error instanceof Error ? error.message : String(error);
            throw new Error(`mesh ${m}, primitive ${p}: ${why}`);
          }
          withoutExtension(primitive, draco);
        }
      }
    }
  }

  private unpackPrimitive(primitive: Json, packed: Json, library: Draco): void {
    const data = this.contents[Number(packed.bufferView)];
    const mode = primitive.mode ?? 4;
    if (data === undefined || !isObject(packed.attributes) || !isObject(primitive.attributes)) {
      throw new Error('what it says of its compression does not fit together');
    }
    if ((mode !== 4 && mode !== 5) || this.accessors[Number(primitive.indices)] === undefined) {
      throw new Error('compressed, but not indexed triangles');
    }
    const own = primitive.attributes;
    const wanted = Object.entries(packed.attributes).filter(([name]) => name in own);
    const keyOf = (accessor: unknown, id: unknown) => `${packed.bufferView} ${accessor} ${id}`;
    const all = [...wanted.map(([name, id]) => keyOf(own[name], id)), keyOf(primitive.indices, 'corners')];
    if (!all.every((key) => this.known.has(key))) {
      const decoder = new library.Decoder();
      const mesh = new library.Mesh();
      try {
        decodeMesh(library, decoder, data, mesh);
        const faces = mesh.num_faces();
        const corners = copied(library, 12 * faces, (size, to) =>
          decoder.GetTrianglesUInt32Array(mesh, size, to));
        const { byteOffset: _offset, sparse: _sparse, min: _min, max: _max, ...like } =
          this.accessors[Number(primitive.indices)] ?? {};
        const indices = { ...like, componentType: 5125, count: 3 * faces };
        this.known.set(keyOf(primitive.indices, 'corners'), this.add(indices, corners));
        for (const [name, id] of wanted) {
          const accessor = this.accessors[Number(own[name])];
          const list = decoder.GetAttributeByUniqueId(mesh, Number(id));
          const each = components[String(accessor?.type)];
          const form = formOf(library, accessor?.componentType);
          if (accessor === undefined || form === undefined || list.ptr === 0 ||
              list.num_components() !== each) {
            throw new Error(`${name} is not as its compressed data have it`);
          }
          const size = form.bytes * each * mesh.num_points();
          this.take(size);
          const values = copied(library, size, (bytes, to) =>
            decoder.GetAttributeDataArrayForAllPoints(mesh, list, form.type, bytes, to));
          const made = { ...accessor, byteOffset: 0, count: mesh.num_points() };
          this.known.set(keyOf(own[name], id), this.add(made, values));
        }
      } finally {
        library.destroy(mesh);
        library.destroy(decoder);
      }
    }
    wanted.forEach(([name, id]) => (own[name] = this.known.get(keyOf(own[name], id))));
    primitive.indices = this.known.get(keyOf(primitive.indices, 'corners'));
    primitive.mode = 4;
  }

  private add(accessor: Json, content: Uint8Array): number {
    this.contents.push(content);
    this.bufferViews.push({});
    this.accessors.push({ ...accessor, bufferView: this.bufferViews.length - 1 });
    return this.accessors.length - 1;
  }

  private take(bytes: number): void {
    this.room -= bytes;
    if (this.room < 0) {
      throw new Error('it has more values than the file can have');
    }
  }

  // All views one behind the other in one buffer.
  file(): Uint8Array {
    const { json } = this;
    let size = 0;
    this.bufferViews.forEach((view, i) => {
      const byteLength = this.contents[i]?.length ?? 0;
      Object.assign(view, { buffer: 0, byteOffset: size, byteLength });
      size += (byteLength + 7) & ~7;
    });
    const bin = new Uint8Array(size);
    this.bufferViews.forEach(({ byteOffset }, i) =>
      bin.set(this.contents[i] ?? [], Number(byteOffset)));
    const rest = (names: unknown) =>
      (Array.isArray(names) ? names : []).filter((name) => name !== meshopt && name !== draco);
    const extensions = { extensionsUsed: rest(json.extensionsUsed), extensionsRequired: rest(json.extensionsRequired) };
    const plain: Json = {
      ...json,
      ...extensions,
      buffers: [{ byteLength: size }],
      bufferViews: this.bufferViews,
      accessors: this.accessors,
    };
    // Lists may not be empty.
    Object.entries(extensions).forEach(([name, list]) => list.length === 0 && delete plain[name]);
    return writeGlb(plain, bin);
  }
}

function withoutExtension(of: Json, name: string): void {
  if (isObject(of.extensions)) {
    delete of.extensions[name];
    if (Object.keys(of.extensions).length === 0) {
      delete of.extensions;
    }
  }
}

const isCount = (value: unknown): value is number =>
  typeof value === 'number' && Number.isSafeInteger(value) && value >= 0;

let dracoModule: Promise<Draco> | undefined;
const loadedDraco = () => (dracoModule ??= DracoDecoderModule({ wasmBinary: dracoWasm }));

function decodeMesh(
  library: Draco,
  decoder: InstanceType<Draco['Decoder']>,
  data: Uint8Array,
  mesh: DracoMesh,
): void {
  const bytes = new Int8Array(data.buffer, data.byteOffset, data.byteLength);
  if (decoder.GetEncodedGeometryType(bytes) !== library.TRIANGULAR_MESH) {
    throw new Error('the compressed data have no triangles');
  }
  if (!decoder.DecodeArrayToMesh(bytes, bytes.length, mesh).ok()) {
    throw new Error('the compressed data are damaged');
  }
}

// Through memory of the library's own.
function copied(
  library: Draco,
  size: number,
  fill: (size: number, to: number) => boolean,
): Uint8Array {
  const at = library._malloc(size);
  try {
    if (at === 0 || !fill(size, at)) {
      throw new Error('the compressed data are damaged');
    }
    return library.HEAPU8.slice(at, at + size);
  } finally {
    library._free(at);
  }
}

const forms: Record<number, ['DT_INT8' | 'DT_UINT8' | 'DT_INT16' | 'DT_UINT16' | 'DT_UINT32' | 'DT_FLOAT32', number] | undefined> = {
  5120: ['DT_INT8', 1],
  5121: ['DT_UINT8', 1],
  5122: ['DT_INT16', 2],
  5123: ['DT_UINT16', 2],
  5125: ['DT_UINT32', 4],
  5126: ['DT_FLOAT32', 4],
};

// What the library has for a component type, and its bytes.
function formOf(library: Draco, componentType: unknown): { type: number; bytes: number } | undefined {
  const found = forms[Number(componentType)];
  return found && { type: library[found[0]], bytes: found[1] };
}
