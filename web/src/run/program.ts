// A run of the command: a fresh instance of the program over a file system of its own, which has
// the tree's files and takes what the run writes.

import start, { type FileNode, type FileSystem, type Program } from 'marrow-program';
import { folderOf } from '../files/kinds';
import { reasonOf, type TreeFile } from '../files/tree';

export interface Outcome {
  // The exit code of the command; -1 where the program broke off.
  code: number;
  stdout: string;
  stderr: string;
  // By their paths relative to the tree's root, all that the run wrote.
  written: Map<string, Uint8Array>;
}

const root = '/files';
const inputOutputError = 29; // EIO as the program's C library counts

const outputFile = '/stdout';
const errorFile = '/stderr';

export async function runProgram(
  wasm: WebAssembly.Module,
  args: string[],
  files: Iterable<TreeFile>,
): Promise<Outcome> {
  const program = await start({
    thisProgram: 'marrow',
    instantiateWasm(imports, done) {
      // Without a wait: a worker may compile and instantiate as long as it likes.
      const instance = new WebAssembly.Instance(wasm, imports);
      done(instance);
      return instance.exports;
    },
  });
  const { FS } = program;
  FS.mkdirTree(root);
  const untouched = new Set<FileNode>();
  const faults: string[] = [];
  const folders = new Set<string>();
  for (const file of files) {
    addLazily(FS, file, folders, untouched, faults);
  }
  // Files instead of devices: bytes as they are, and no terminal to draw a progress bar on.
  FS.close(FS.streams[1]);
  FS.close(FS.streams[2]);
  FS.open(outputFile, 'w');
  FS.open(errorFile, 'w');
  FS.chdir(root);

  let code: number;
  let broken = '';
  try {
    code = program.callMain(args);
  } catch (error) {
    code = -1;
    broken = `marrow: error: the program broke off: ${whyBroken(error)}\n`;
  }
  return {
    code,
    stdout: textOf(program, outputFile),
    stderr: faults.join('') + textOf(program, errorFile) + broken,
    written: writtenFiles(FS, untouched),
  };
}

// A file whose content is read when the program first wants it; for the program, one that cannot be
// read is an input/output error. What the program writes over it is its own.
function addLazily(
  FS: FileSystem,
  file: TreeFile,
  folders: Set<string>,
  untouched: Set<FileNode>,
  faults: string[],
): void {
  const path = `${root}/${file.path}`;
  const folder = folderOf(path);
  let node: FileNode;
  try {
    if (!folders.has(folder)) {
      FS.mkdirTree(folder);
      folders.add(folder);
    }
    node = FS.create(path);
  } catch {
    return; // a file and a folder of one name: the first stays
  }
  let own: FileNode['contents'] | undefined;
  node.usedBytes = file.size;
  untouched.add(node);
  Object.defineProperty(node, 'contents', {
    get: () => {
      if (own !== undefined) {
        return own;
      }
      try {
        return file.read();
      } catch (error) {
        faults.push(`marrow: error: ${file.path}: ${reasonOf(error)}\n`);
        throw new FS.ErrnoError(inputOutputError);
      }
    },
    set: (content: FileNode['contents']) => {
      untouched.delete(node);
      own = content;
    },
  });
}

function writtenFiles(FS: FileSystem, untouched: Set<FileNode>): Map<string, Uint8Array> {
  const written = new Map<string, Uint8Array>();
  const visit = (folder: string) => {
    for (const name of FS.readdir(root + folder)) {
      if (name === '.' || name === '..') {
        continue;
      }
      const path = `${folder}/${name}`;
      const { node } = FS.lookupPath(root + path);
      if (FS.isDir(node.mode)) {
        visit(path);
      } else if (FS.isFile(node.mode) && !untouched.has(node)) {
        written.set(path.slice(1), FS.readFile(root + path));
      }
    }
  };
  visit('');
  return written;
}

function textOf({ FS }: Program, path: string): string {
  return new TextDecoder().decode(FS.readFile(path));
}

function whyBroken(error: unknown): string {
  if (error instanceof RangeError) {
    return 'it ran out of stack or memory';
  }
  return reasonOf(error);
}
