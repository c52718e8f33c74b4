// Meshes with more morph targets than a shader has room for: every frame of an mdc is one. Of them
// all, one or two have a weight at a time, so the vertices are put together here, once for each frame.

import { BufferAttribute, type BufferGeometry, type Mesh } from 'three';

const mostInShader = 16;

type Attribute = BufferGeometry['attributes'][string];

interface Blended {
  target: BufferAttribute;
  rest: Float32Array;
  sources: Attribute[];
  // Those of the sources that were shown, as floats.
  deltas: Map<number, Float32Array>;
}

export class ManyTargets {
  private readonly blended: Blended[] = [];
  private last: string | undefined;

  // Undefined where the shader has room for them all. Otherwise the mesh's geometry loses its targets.
  static of(mesh: Mesh): ManyTargets | undefined {
    const { morphAttributes, morphTargetsRelative } = mesh.geometry;
    const count = mesh.morphTargetInfluences?.length ?? 0;
    return count > mostInShader && morphTargetsRelative && 'position' in morphAttributes
      ? new ManyTargets(mesh)
      : undefined;
  }

  private constructor(private readonly mesh: Mesh) {
    const geometry = mesh.geometry;
    for (const name of ['position', 'normal'] as const) {
      const sources = geometry.morphAttributes[name];
      if (sources !== undefined && geometry.hasAttribute(name)) {
        const rest = floatsOf(geometry.getAttribute(name));
        const target = new BufferAttribute(rest.slice(), 3);
        geometry.setAttribute(name, target);
        this.blended.push({ target, rest, sources, deltas: new Map() });
      }
    }
    geometry.morphAttributes = {};
  }

  // By the weights that the mesh has now.
  update(): void {
    const weights = this.mesh.morphTargetInfluences ?? [];
    const active: number[] = [];
    for (let i = 0; i < weights.length; ++i) {
      if (weights[i] !== 0) {
        active.push(i);
      }
    }
    const state = active.map((i) => `${i}:${weights[i]}`).join();
    if (state === this.last) {
      return;
    }
    this.last = state;
    for (const { target, rest, sources, deltas } of this.blended) {
      const out = target.array;
      out.set(rest);
      for (const i of active) {
        const weight = weights[i] ?? 0;
        const source = sources[i];
        const delta = deltas.get(i) ?? (source && floatsOf(source));
        if (delta === undefined) {
          continue;
        }
        deltas.set(i, delta);
        for (let k = 0; k < delta.length; ++k) {
          out[k]! += weight * delta[k]!;
        }
      }
      target.needsUpdate = true;
    }
  }
}

function floatsOf(attribute: Attribute): Float32Array {
  const { array } = attribute;
  if (array instanceof Float32Array && attribute instanceof BufferAttribute) {
    return array;
  }
  const floats = new Float32Array(3 * attribute.count);
  for (let i = 0; i < attribute.count; ++i) {
    // Takes care of strides and of whole numbers that stand for fractions.
    floats[3 * i] = attribute.getX(i);
    floats[3 * i + 1] = attribute.getY(i);
    floats[3 * i + 2] = attribute.getZ(i);
  }
  return floats;
}
