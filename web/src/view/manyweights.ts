// Vertices with more than four weights. The drawing library skins by four; files may have eight in a
// second set of attributes, which the loader hands through under their lower-case names.

import {
  Matrix4,
  Vector4,
  type BufferGeometry,
  type Material,
  type SkinnedMesh,
  type Vector3,
} from 'three';

const second = { joints: 'joints_1', weights: 'weights_1' };

export function hasManyWeights(geometry: BufferGeometry): boolean {
  return second.joints in geometry.attributes && second.weights in geometry.attributes;
}

// The loader scaled the first four weights to a sum of 1; with the second set they are less.
export function restoreFirstWeights(mesh: SkinnedMesh): void {
  const first = mesh.geometry.getAttribute('skinWeight');
  const more = mesh.geometry.getAttribute(second.weights);
  for (let i = 0; i < first.count; ++i) {
    const share = 1 - (more.getX(i) + more.getY(i) + more.getZ(i) + more.getW(i));
    const sum = first.getX(i) + first.getY(i) + first.getZ(i) + first.getW(i);
    const factor = sum > 0 ? share / sum : 0;
    first.setXYZW(
      i,
      first.getX(i) * factor,
      first.getY(i) * factor,
      first.getZ(i) * factor,
      first.getW(i) * factor,
    );
  }
}

const base = new Vector4();
const placed = new Vector4();
const sum = new Vector4();
const matrix = new Matrix4();

// Boxes and normals are skinned by the page's script, which the library does by the first set alone.
export function placeByManyWeights(mesh: SkinnedMesh): void {
  const joints = mesh.geometry.getAttribute(second.joints);
  const weights = mesh.geometry.getAttribute(second.weights);
  const placeByFirst = mesh.applyBoneTransform.bind(mesh);
  const place = (vertex: number, target: Vector3 | Vector4) => {
    base.set(target.x, target.y, target.z, 'w' in target ? target.w : 1);
    base.applyMatrix4(mesh.bindMatrix);
    sum.set(0, 0, 0, 0);
    for (let i = 0; i < 4; ++i) {
      const weight = weights.getComponent(vertex, i);
      const joint = joints.getComponent(vertex, i);
      const bone = mesh.skeleton.bones[joint];
      const inverse = mesh.skeleton.boneInverses[joint];
      if (weight !== 0 && bone !== undefined && inverse !== undefined) {
        matrix.multiplyMatrices(bone.matrixWorld, inverse);
        sum.addScaledVector(placed.copy(base).applyMatrix4(matrix), weight);
      }
    }
    // The library moves its own part by the whole of the bind matrix already.
    sum.w = 0;
    sum.applyMatrix4(mesh.bindMatrixInverse);
    placeByFirst(vertex, target);
    target.x += sum.x;
    target.y += sum.y;
    target.z += sum.z;
    return target;
  };
  mesh.applyBoneTransform = place as SkinnedMesh['applyBoneTransform'];
}

const sets = ['x', 'y', 'z', 'w'];
const declared = `
#ifdef USE_SKINNING
attribute vec4 ${second.joints};
attribute vec4 ${second.weights};
#endif`;
const moreMatrix = `
#ifdef USE_SKINNING
mat4 moreMatrix = mat4(0.0);
${sets.map((s) => `moreMatrix += ${second.weights}.${s} * getBoneMatrix(${second.joints}.${s});`).join('\n')}
#endif`;
const moreNormal = `
#ifdef USE_SKINNING
objectNormal += vec4(bindMatrixInverse * moreMatrix * bindMatrix * vec4(restNormal, 0.0)).xyz;
#endif`;
const morePosition = `
#ifdef USE_SKINNING
transformed += (bindMatrixInverse * moreMatrix * bindMatrix * vec4(restPosition, 1.0)).xyz;
#endif`;

export function skinByManyWeights(material: Material): void {
  material.onBeforeCompile = (shader) => {
    shader.vertexShader = shader.vertexShader
      .replace('#include <skinning_pars_vertex>', `$&${declared}`)
      .replace('#include <skinbase_vertex>', `$&${moreMatrix}`)
      .replace('#include <skinnormal_vertex>', `vec3 restNormal = objectNormal;\n$&${moreNormal}`)
      .replace('#include <skinning_vertex>', `vec3 restPosition = transformed;\n$&${morePosition}`);
  };
  material.customProgramCacheKey = () => 'many weights';
}
