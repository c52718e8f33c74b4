// Files that `marrow view` wrote into the page.

import type { Source } from './tree';

interface Inside {
  path: string;
  base64: string;
}

export function filesInside(document: Document): Source[] {
  const text = document.getElementById('files')?.textContent ?? '';
  if (text === '') {
    return [];
  }
  return (JSON.parse(text) as Inside[]).map(({ path, base64 }) => ({
    path,
    file: new Blob([Uint8Array.from(atob(base64), (letter) => letter.charCodeAt(0))]),
  }));
}
