// Files for the user's disk.

import { zipSync } from 'fflate';
import { folderOf, nameOf } from '../files/kinds';

export function save(name: string, content: Uint8Array | Blob): void {
  const blob = content instanceof Blob ? content : new Blob([content as Uint8Array<ArrayBuffer>]);
  const url = URL.createObjectURL(blob);
  const link = document.createElement('a');
  link.href = url;
  link.download = name;
  link.click();
  // The browser has begun to read it by then.
  setTimeout(() => URL.revokeObjectURL(url), 60_000);
}

// One file as it is, several as one archive. In that files of one folder lie side by side, others
// below the folder above the game's models folder or what they have in common.
export function saveAll(archive: string, files: Map<string, Uint8Array>): void {
  const [only, ...more] = files;
  if (only !== undefined && more.length === 0) {
    save(nameOf(only[0]), only[1]);
  } else {
    const root = rootOf([...files.keys()]);
    const entries = [...files].map(([path, content]) => [path.slice(root.length), content]);
    save(archive, zipSync(Object.fromEntries(entries)));
  }
}

function rootOf(paths: string[]): string {
  const folders = paths.map(folderOf);
  let root = folders[0] ?? '';
  if (folders.every((folder) => folder === root)) {
    return root;
  }
  while (!folders.every((folder) => folder.startsWith(root))) {
    root = folderOf(root.slice(0, -1));
  }
  return root.replace(/(^|\/)models\/.*$/i, '$1');
}
