// A file as three.js shows it, in plain node and in a browser alike.

import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';

export class Posed {
  static async load(glb) {
    return new Posed(await new GLTFLoader().parseAsync(glb, ''));
  }

  constructor(gltf) {
    this.gltf = gltf;
    this.scene = gltf.scene;
    this.clips = gltf.animations;
    this.mixer = new THREE.AnimationMixer(this.scene);
  }

  // Shows a clip at a time in seconds; without a clip the rest pose. A clip may be called by its
  // name or its number.
  pose(clip, time) {
    this.mixer.stopAllAction();
    if (clip !== null && clip !== undefined) {
      const found = typeof clip === 'number'
        ? this.clips[clip] : THREE.AnimationClip.findByName(this.clips, clip);
      if (!found) {
        throw new Error(`no clip ${clip}; there are: ${this.clips.map((c) => c.name).join(', ')}`);
      }
      const action = this.mixer.clipAction(found).reset();
      action.setLoop(THREE.LoopOnce, 1);
      action.clampWhenFinished = true;
      action.play();
      this.mixer.setTime(time);
    }
    this.scene.updateMatrixWorld(true);
  }

  // Of each mesh: its node in the file, its name, and the places of its vertices as they are shown,
  // three numbers each.
  meshes() {
    const shown = [];
    const place = new THREE.Vector3();
    this.scene.traverse((mesh) => {
      if (!mesh.isMesh) {
        return;
      }
      mesh.skeleton?.update();
      const count = mesh.geometry.attributes.position.count;
      const positions = new Array(3 * count);
      for (let i = 0; i < count; ++i) {
        mesh.getVertexPosition(i, place).applyMatrix4(mesh.matrixWorld).toArray(positions, 3 * i);
      }
      const node = this.gltf.parser.associations.get(mesh)?.nodes;
      shown.push({ node, name: mesh.userData.name ?? mesh.name, positions });
    });
    return shown;
  }

  box() {
    const box = new THREE.Box3();
    const place = new THREE.Vector3();
    for (const { positions } of this.meshes()) {
      for (let i = 0; i < positions.length; i += 3) {
        box.expandByPoint(place.fromArray(positions, i));
      }
    }
    return box;
  }
}
