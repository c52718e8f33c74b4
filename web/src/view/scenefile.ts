// A glTF file's bytes as objects to draw. Nothing is fetched: what the file names beside itself is
// read from the dropped files.

import { LoadingManager } from 'three';
import { GLTFLoader, type GLTF } from 'three/addons/loaders/GLTFLoader.js';
import { listOf, readSceneFile, type Json } from '../files/gltf';
import { folderOf, safeJoin } from '../files/kinds';

const missing = 'data:,';

export type ReadFile = (path: string) => Promise<Uint8Array | undefined>;

export async function loadScene(
  content: Uint8Array,
  path: string,
  readFile: ReadFile,
  warn: (text: string) => void,
): Promise<GLTF> {
  const document = readSceneFile(content).json;
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

async function resourceUrls(
  document: Json,
  folder: string,
  readFile: ReadFile,
  warn: (text: string) => void,
): Promise<Map<string, string>> {
  const urls = new Map<string, string>();
  for (const { uri } of [...listOf(document.buffers), ...listOf(document.images)]) {
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
function reasonOf(error: unknown, document: Json): string {
  const required = Array.isArray(document.extensionsRequired) ? document.extensionsRequired : [];
  const compressed = required.filter((name) => /meshopt|basisu|webp|avif/i.test(String(name)));
  if (compressed.length > 0) {
    return `needs the glTF extension ${compressed.join(', ')}, which this page does not read`;
  }
  return error instanceof Error ? error.message.replace(/^THREE\.GLTFLoader: /, '') : String(error);
}
