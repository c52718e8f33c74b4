// A glTF file's bytes as objects to draw. Nothing is fetched: what the file names beside itself is
// read from the dropped files.

import { LoadingManager } from 'three';
import { GLTFLoader, type GLTF } from 'three/addons/loaders/GLTFLoader.js';
import { folderOf, safeJoin } from '../files/kinds';

const glbMagic = 0x46546c67;
const jsonChunk = 0x4e4f534a;
const missing = 'data:,';

interface Document {
  buffers?: { uri?: unknown }[];
  images?: { uri?: unknown }[];
  extensionsRequired?: unknown[];
}

export type ReadFile = (path: string) => Promise<Uint8Array | undefined>;

export async function loadScene(
  content: Uint8Array,
  path: string,
  readFile: ReadFile,
  warn: (text: string) => void,
): Promise<GLTF> {
  const document = documentOf(content);
  const urls = await resourceUrls(document, folderOf(path), readFile, warn);
  const manager = new LoadingManager();
  manager.setURLModifier((url) =>
    url.startsWith('blob:') || url.startsWith('data:') ? url : (urls.get(url) ?? missing),
  );
  manager.onError = (url) => warn(`an image cannot be read${url === missing ? '' : ` (${url})`}`);
  try {
    const bytes = content.slice().buffer;
    const gltf = await new GLTFLoader(manager).parseAsync(bytes, '');
    // For the loader a file without scenes is whole.
    if ((gltf.scene as unknown) === undefined) {
      throw new Error('has no scene to show');
    }
    return gltf;
  } catch (error) {
    throw new Error(reasonOf(error, document));
  } finally {
    urls.forEach((url) => URL.revokeObjectURL(url));
  }
}

function documentOf(content: Uint8Array): Document {
  const view = new DataView(content.buffer, content.byteOffset, content.byteLength);
  let text = content;
  if (content.length >= 20 && view.getUint32(0, true) === glbMagic) {
    if (view.getUint32(16, true) !== jsonChunk || view.getUint32(12, true) > content.length - 20) {
      throw new Error('is no whole .glb file');
    }
    text = content.subarray(20, 20 + view.getUint32(12, true));
  }
  let document: unknown;
  try {
    document = JSON.parse(new TextDecoder().decode(text));
  } catch {
    throw new Error('is no glTF file: its JSON cannot be read');
  }
  if (typeof document !== 'object' || document === null || Array.isArray(document)) {
    throw new Error('is no glTF file: its JSON is no object');
  }
  return document;
}

async function resourceUrls(
  document: Document,
  folder: string,
  readFile: ReadFile,
  warn: (text: string) => void,
): Promise<Map<string, string>> {
  const urls = new Map<string, string>();
  const lists = [document.buffers, document.images].filter(Array.isArray);
  const entries = lists.flat() as ({ uri?: unknown } | null)[];
  for (const uri of entries.map((entry) => entry?.uri)) {
    if (typeof uri !== 'string' || uri.startsWith('data:') || urls.has(uri)) {
      continue;
    }
    const path = safeJoin(folder, uri);
    const content = path === undefined ? undefined : await readFile(path);
    if (content === undefined) {
      warn(`${uri} is not among the dropped files`);
    } else {
      urls.set(uri, URL.createObjectURL(new Blob([content as Uint8Array<ArrayBuffer>])));
    }
  }
  return urls;
}

// The loader's reason, or the extensions that the file cannot do without.
function reasonOf(error: unknown, document: Document): string {
  const compressed = (document.extensionsRequired ?? []).filter((name) =>
    /draco|meshopt|basisu|webp|avif/i.test(String(name)),
  );
  if (compressed.length > 0) {
    return `needs the glTF extension ${compressed.join(', ')}, which this page does not read`;
  }
  return error instanceof Error ? error.message.replace(/^THREE\.GLTFLoader: /, '') : String(error);
}
