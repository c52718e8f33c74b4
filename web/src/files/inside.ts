// The model that `marrow view` has put into the page, with all its files.

import type { ImportChoice } from '../run/models';
import type { Source } from './tree';

export interface Inside {
  model: string;
  // None for a scene file.
  choice?: ImportChoice;
  sources: Source[];
}

interface Text {
  shown: { model: string; choice?: ImportChoice };
  files: { path: string; base64: string }[];
}

// Undefined for the page as it is built. What is read goes, so that it takes no memory twice.
export function takeInside(): Inside | undefined {
  const element = document.getElementById('inside');
  const text = element?.textContent ?? '';
  element?.remove();
  if (text === '') {
    return undefined;
  }
  const { shown, files } = JSON.parse(text) as Text;
  const sources = files.map(({ path, base64 }) => ({ path, file: new Blob([bytesOf(base64)]) }));
  return { ...shown, sources };
}

function bytesOf(base64: string): Uint8Array<ArrayBuffer> {
  const text = atob(base64);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) {
    bytes[i] = text.charCodeAt(i);
  }
  return bytes;
}
