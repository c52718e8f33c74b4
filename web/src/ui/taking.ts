// Files for the user's disk.

import { zipSync } from 'fflate';
import { nameOf } from '../files/kinds';

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

// One file as it is, several as one archive.
export function saveAll(archive: string, files: Map<string, Uint8Array>): void {
  const [only, ...more] = files;
  if (only !== undefined && more.length === 0) {
    save(nameOf(only[0]), only[1]);
  } else {
    save(archive, zipSync(Object.fromEntries([...files].map(([path, c]) => [nameOf(path), c]))));
  }
}
