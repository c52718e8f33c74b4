// What the build puts in: the worker's script as text, the program's bytes.

declare module 'marrow-worker' {
  const source: string;
  export default source;
}

declare module 'marrow-wasm' {
  const bytes: Uint8Array<ArrayBuffer>;
  export default bytes;
}

// For whoever looks at the page from its console, as its tests do.
interface Window {
  marrowViewer?: import('./view/viewer').Viewer;
}

// What the page uses of the decoder of compressed meshes.
declare module 'marrow-draco-wasm' {
  const bytes: Uint8Array<ArrayBuffer>;
  export default bytes;
}

declare module 'marrow-draco' {
  export interface DracoMesh {
    num_faces(): number;
    num_points(): number;
  }
  export interface DracoList {
    ptr: number;
    num_components(): number;
  }
  export interface DracoDecoder {
    GetEncodedGeometryType(data: Int8Array): number;
    DecodeArrayToMesh(data: Int8Array, size: number, to: DracoMesh): { ok(): boolean };
    GetAttributeByUniqueId(mesh: DracoMesh, id: number): DracoList;
    GetTrianglesUInt32Array(mesh: DracoMesh, size: number, to: number): boolean;
    GetAttributeDataArrayForAllPoints(
      mesh: DracoMesh,
      list: DracoList,
      type: number,
      size: number,
      to: number,
    ): boolean;
  }
  export interface Draco {
    Decoder: new () => DracoDecoder;
    Mesh: new () => DracoMesh;
    TRIANGULAR_MESH: number;
    DT_INT8: number;
    DT_UINT8: number;
    DT_INT16: number;
    DT_UINT16: number;
    DT_UINT32: number;
    DT_FLOAT32: number;
    HEAPU8: Uint8Array;
    _malloc(size: number): number;
    _free(at: number): void;
    destroy(object: object): void;
  }
  export default function start(options: { wasmBinary: Uint8Array }): Promise<Draco>;
}
