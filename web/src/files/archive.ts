// A game's archive: a zip file whose entries are inflated when they are read.

import { unzipSync } from 'fflate';

// What no game's file comes near: they keep a small archive from filling memory or time.
const mostEntries = 100_000;
const largestEntry = 256 << 20;
// Deflate writes at most this many bytes for one that it reads.
const largestRatio = 1032;

export interface ArchiveEntry {
  name: string;
  size: number;
}

export class Archive {
  readonly entries: ArchiveEntry[] = [];
  // Why entries are left out, one line each.
  readonly faults: string[] = [];

  // Throws when the bytes are no zip file.
  constructor(private readonly bytes: Uint8Array) {
    let count = 0;
    unzipSync(bytes, {
      filter: ({ name, size, originalSize, compression }) => {
        if (++count > mostEntries) {
          throw new Error(`has more than ${mostEntries} entries`);
        }
        if (name.endsWith('/') || name === '') {
          return false;
        }
        const fault = faultOf(size, originalSize, compression);
        if (fault !== undefined) {
          this.faults.push(`${name}: ${fault}`);
        } else {
          this.entries.push({ name, size: originalSize });
        }
        return false;
      },
    });
  }

  // Throws when the entry's data are damaged.
  read(entry: ArchiveEntry): Uint8Array {
    let found = false;
    const read = unzipSync(this.bytes, {
      filter: ({ name, originalSize }) => {
        const wanted = !found && name === entry.name && originalSize === entry.size;
        found ||= wanted;
        return wanted;
      },
    });
    const content = read[entry.name];
    if (content === undefined || content.length !== entry.size) {
      throw new Error('its data in the archive are damaged');
    }
    return content;
  }
}

function faultOf(stored: number, size: number, compression: number): string | undefined {
  if (compression !== 0 && compression !== 8) {
    return `is compressed by a method (${compression}) that this page does not read`;
  }
  if (size > largestEntry) {
    return `claims ${size} bytes; at most ${largestEntry} are read`;
  }
  const most = compression === 0 ? stored : largestRatio * stored;
  if (size > most || stored > size + (size >> 6) + 1024) {
    return `its sizes in the archive (${stored} stored, ${size} whole) cannot both be right`;
  }
  return undefined;
}
