// Kinds of files by their names.

export type Kind = 'mdc' | 'mds' | 'mdm' | 'mdx' | 'scene' | 'archive' | 'other';

export function suffixOf(path: string): string {
  const name = path.slice(path.lastIndexOf('/') + 1);
  const stop = name.lastIndexOf('.');
  return stop < 0 ? '' : name.slice(stop + 1).toLowerCase();
}

export function kindOf(path: string): Kind {
  const suffix = suffixOf(path);
  switch (suffix) {
    case 'mdc':
    case 'mds':
    case 'mdm':
    case 'mdx':
      return suffix;
    case 'glb':
    case 'gltf':
      return 'scene';
    case 'pk3':
    case 'zip':
      return 'archive';
    default:
      return 'other';
  }
}

// Kinds that stand in the list of models: an mdx alone has nothing to show.
export function isModel(kind: Kind): boolean {
  return kind === 'mdc' || kind === 'mds' || kind === 'mdm' || kind === 'scene';
}

export function folderOf(path: string): string {
  const slash = path.lastIndexOf('/');
  return slash < 0 ? '' : path.slice(0, slash + 1);
}

export function nameOf(path: string): string {
  return path.slice(path.lastIndexOf('/') + 1);
}

export function stemOf(path: string): string {
  const name = nameOf(path);
  const stop = name.lastIndexOf('.');
  return stop <= 0 ? name : name.slice(0, stop);
}

// A path in a folder of the tree as a scene file names it, percent signs and all; undefined where it
// leads out of the tree or to another place altogether.
export function safeJoin(folder: string, uri: string): string | undefined {
  const steps = folder.split('/').filter((step) => step !== '');
  let relative = uri;
  try {
    relative = decodeURIComponent(uri);
  } catch {
    // Taken to the letter, as a percent sign that means nothing.
  }
  if (/^[a-z][a-z0-9+.-]*:/i.test(relative) || relative.startsWith('/')) {
    return undefined;
  }
  for (const step of relative.split('/')) {
    if (step === '..') {
      if (steps.pop() === undefined) {
        return undefined;
      }
    } else if (step !== '' && step !== '.') {
      steps.push(step);
    }
  }
  return steps.join('/');
}
