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
