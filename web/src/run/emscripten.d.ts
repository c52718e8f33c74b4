// What the page uses of the program's glue.

declare module 'marrow-program' {
  export interface FileNode {
    name: string;
    mode: number;
    contents: Uint8Array | Record<string, FileNode> | null;
    usedBytes: number;
  }

  export interface FileSystem {
    mkdirTree(path: string): void;
    chdir(path: string): void;
    open(path: string, flags: string): { fd: number };
    close(stream: unknown): void;
    streams: unknown[];
    create(path: string): FileNode;
    readFile(path: string): Uint8Array;
    readdir(path: string): string[];
    lookupPath(path: string): { node: FileNode };
    isDir(mode: number): boolean;
    isFile(mode: number): boolean;
    ErrnoError: new (errno: number) => Error;
  }

  export interface Program {
    FS: FileSystem;
    callMain(args: string[]): number;
  }

  export default function start(options: {
    instantiateWasm(
      imports: WebAssembly.Imports,
      done: (instance: WebAssembly.Instance) => void,
    ): object;
    thisProgram: string;
  }): Promise<Program>;
}
