// Names of a scene's nodes as its file has them: three.js makes its own of them, each but once.

import type { Object3D } from 'three';

export function nameOf(object: Object3D): string {
  const name: unknown = object.userData.name;
  return typeof name === 'string' ? name : object.name;
}

// As the command tells a tag from a bone.
export function isTag(object: Object3D): boolean {
  return /^tag_/i.test(nameOf(object));
}
