// The worker: it has the dropped files and runs the command over them.

import wasmBytes from 'marrow-wasm';
import { reasonOf, Tree, type Listing, type Source, type TreeFile } from '../files/tree';
import { unpackScene } from '../files/unpack';
import { runProgram } from './program';
import type { Message, Reply, Request, SceneContent } from './protocol';

interface BlobReader {
  readAsArrayBuffer(blob: Blob): ArrayBuffer;
}
declare const FileReaderSync: new () => BlobReader;

const scope = self as unknown as {
  onmessage: (event: MessageEvent<Message>) => void;
  postMessage(reply: Reply): void;
};
const readBlob = (file: Blob) => new Uint8Array(new FileReaderSync().readAsArrayBuffer(file));

let tree = new Tree(readBlob);
let program: Promise<WebAssembly.Module> | undefined;
const compiled = () => (program ??= WebAssembly.compile(wasmBytes));

async function answer(request: Request): Promise<unknown> {
  switch (request.type) {
    case 'warm':
      await compiled();
      return undefined;
    case 'open':
      return open(request.sources);
    case 'run':
      return runProgram(await compiled(), request.args, withExtra(request.extra));
    case 'read':
      return tree.get(request.path)?.read();
    case 'scene':
      return sceneAt(request.path);
    case 'names':
      return tree.namesIn(request.folder);
  }
}

async function sceneAt(path: string): Promise<SceneContent | undefined> {
  const read = (at: string) => tree.get(at)?.read();
  const content = read(path);
  if (content === undefined) {
    return undefined;
  }
  const plain = await unpackScene(content, path, read);
  return { content: plain ?? content, unpacked: plain !== undefined };
}

// The files before stay where these cannot be taken.
function open(sources: Source[]): Listing {
  const next = new Tree(readBlob);
  const listing = next.add(sources);
  tree = next;
  return listing;
}

// The tree's files and some that the page has, which come first and so win.
function* withExtra(extra: { path: string; content: Uint8Array }[]): Iterable<TreeFile> {
  for (const { path, content } of extra) {
    yield { path, size: content.length, read: () => content };
  }
  yield* tree.files();
}

// One after the other: a run and what it reads belong together.
let last: Promise<void> = Promise.resolve();
scope.onmessage = ({ data: { id, request } }) => {
  last = last.then(async () => {
    try {
      scope.postMessage({ id, answer: await answer(request) });
    } catch (error) {
      scope.postMessage({ id, fault: reasonOf(error) });
    }
  });
};
