// Files as a user gives them: dropped or chosen, folders with all that is in them.

import type { Source } from '../files/tree';

// Reads the same files again, as they are now; fails as soon as the signal says so.
export type Collect = (signal: AbortSignal) => Promise<Source[]>;

const mostFiles = 200_000;

interface HandleItem extends DataTransferItem {
  getAsFileSystemHandle?: () => Promise<FileSystemHandle | null>;
}

type Folder = FileSystemDirectoryHandle & { values(): AsyncIterable<FileSystemHandle> };

// The items of a drop are gone after its event, so everything is asked for at once.
export function collectDropped(transfer: DataTransfer): Collect {
  const items = [...transfer.items].filter(({ kind }) => kind === 'file') as HandleItem[];
  const entries = items.map((item) => item.webkitGetAsEntry());
  const files = items.map((item) => item.getAsFile());
  const handles = items.map((item) => item.getAsFileSystemHandle?.().catch(() => null) ?? null);
  return async (signal) => {
    const sources: Source[] = [];
    for (let i = 0; i < items.length; ++i) {
      const handle = await handles[i];
      const entry = entries[i];
      const file = files[i];
      if (handle) {
        await walkHandle(handle, '', sources, signal);
      } else if (entry) {
        await walkEntry(entry, '', sources, signal);
      } else if (file) {
        sources.push({ path: file.name, file });
      }
    }
    return sources;
  };
}

export function collectChosen(list: FileList): Collect {
  const sources = [...list].map((file) => ({ path: file.webkitRelativePath || file.name, file }));
  return () => Promise.resolve(sources);
}

async function walkHandle(
  handle: FileSystemHandle,
  folder: string,
  to: Source[],
  signal: AbortSignal,
): Promise<void> {
  signal.throwIfAborted();
  requireRoom(to);
  if (handle.kind === 'file') {
    to.push({ path: folder + handle.name, file: await (handle as FileSystemFileHandle).getFile() });
  } else {
    for await (const child of (handle as Folder).values()) {
      await walkHandle(child, `${folder}${handle.name}/`, to, signal);
    }
  }
}

async function walkEntry(
  entry: FileSystemEntry,
  folder: string,
  to: Source[],
  signal: AbortSignal,
): Promise<void> {
  signal.throwIfAborted();
  requireRoom(to);
  if (entry.isFile) {
    const file = await new Promise<File>((done, fail) =>
      (entry as FileSystemFileEntry).file(done, fail),
    );
    to.push({ path: folder + entry.name, file });
    return;
  }
  const reader = (entry as FileSystemDirectoryEntry).createReader();
  for (;;) {
    // A call gives some of the entries; one that gives none is the last.
    const children = await new Promise<FileSystemEntry[]>((done, fail) =>
      reader.readEntries(done, fail),
    );
    if (children.length === 0) {
      return;
    }
    for (const child of children) {
      await walkEntry(child, `${folder}${entry.name}/`, to, signal);
    }
  }
}

function requireRoom(to: Source[]): void {
  if (to.length >= mostFiles) {
    throw new Error(`there are more than ${mostFiles} files; drop the folder of one game's models`);
  }
}
