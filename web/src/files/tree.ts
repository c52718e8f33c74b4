// All that was dropped, as one tree of files with relative paths. Content is read when it is asked
// for. Lives in the worker, which may read without waiting.

import { Archive, type ArchiveEntry } from './archive';
import { folderOf, isModel, kindOf, nameOf, type Kind } from './kinds';

export interface Source {
  path: string;
  file: Blob;
}

export interface Model {
  path: string;
  kind: Kind;
  size: number;
  // The archive that it is in; empty for a file of its own.
  archive: string;
}

export interface Listing {
  models: Model[];
  files: number;
  // What could not be taken, one line each.
  faults: string[];
}

export interface TreeFile {
  readonly path: string;
  readonly size: number;
  read(): Uint8Array;
}

// Content kept for the next read, in bytes.
const mostKept = 256 << 20;

export class Tree {
  private readonly byPath = new Map<string, TreeFile>();
  private readonly kept = new Map<string, Uint8Array>();
  private keptBytes = 0;

  constructor(private readonly readBlob: (file: Blob) => Uint8Array) {}

  files(): Iterable<TreeFile> {
    return this.byPath.values();
  }

  get(path: string): TreeFile | undefined {
    return this.byPath.get(path);
  }

  // Names of the files in a folder, ascending.
  namesIn(folder: string): string[] {
    return [...this.byPath.keys()].filter((path) => folderOf(path) === folder).map(nameOf).sort();
  }

  // In the order of the command: an archive's file before one of its own, the last archive's by name
  // before the others'.
  add(sources: Source[]): Listing {
    const listing: Listing = { models: [], files: 0, faults: [] };
    const archiveOf = new Map<string, string>();
    const archives: Source[] = [];
    for (const source of sources) {
      const path = safePath(source.path);
      if (kindOf(source.path) === 'archive') {
        archives.push(source);
      } else if (path === undefined) {
        listing.faults.push(`${source.path}: its path leads out of its folder`);
      } else {
        this.byPath.set(path, this.loose(path, source.file));
      }
    }
    const folded = ({ path }: Source) => nameOf(path).toLowerCase();
    archives.sort((a, b) => (folded(a) < folded(b) ? -1 : 1));
    for (const { path, file } of archives) {
      this.addArchive(path, file, archiveOf, listing.faults);
    }
    for (const file of this.byPath.values()) {
      const kind = kindOf(file.path);
      if (isModel(kind)) {
        const archive = archiveOf.get(file.path) ?? '';
        listing.models.push({ path: file.path, kind, size: file.size, archive });
      }
    }
    listing.models.sort((a, b) => (a.path < b.path ? -1 : 1));
    listing.files = this.byPath.size;
    return listing;
  }

  private addArchive(
    path: string,
    file: Blob,
    archiveOf: Map<string, string>,
    faults: string[],
  ): void {
    let archive: Archive;
    try {
      archive = new Archive(this.readBlob(file));
    } catch (error) {
      faults.push(`${path}: ${reasonOf(error)}`);
      return;
    }
    faults.push(...archive.faults.map((fault) => `${path}: ${fault}`));
    const folder = folderOf(path);
    for (const entry of archive.entries) {
      const at = safePath(folder + entry.name);
      if (at === undefined || safePath(entry.name) === undefined) {
        faults.push(`${path}: ${entry.name}: its path leads out of the archive`);
        continue;
      }
      archiveOf.set(at, path);
      this.byPath.set(at, this.archived(at, archive, entry));
    }
  }

  private loose(path: string, file: Blob): TreeFile {
    return { path, size: file.size, read: () => this.keep(path, () => this.readBlob(file)) };
  }

  private archived(path: string, archive: Archive, entry: ArchiveEntry): TreeFile {
    return { path, size: entry.size, read: () => this.keep(path, () => archive.read(entry)) };
  }

  private keep(path: string, read: () => Uint8Array): Uint8Array {
    let content = this.kept.get(path);
    if (content === undefined) {
      content = read();
      if (this.keptBytes + content.length > mostKept) {
        this.kept.clear();
        this.keptBytes = 0;
      }
      this.kept.set(path, content);
      this.keptBytes += content.length;
    }
    return content;
  }
}

// A relative path with forward slashes and without empty or dotted steps; undefined where it leads
// out of its root or cannot be one.
export function safePath(path: string): string | undefined {
  const steps: string[] = [];
  for (const step of path.replaceAll('\\', '/').split('/')) {
    // The last would be no name in the program's file system, which is made of plain objects.
    if (step === '..' || step.includes('\0') || step === '__proto__') {
      return undefined;
    }
    if (step !== '' && step !== '.') {
      steps.push(step);
    }
  }
  return steps.length === 0 ? undefined : steps.join('/');
}

export function reasonOf(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}
