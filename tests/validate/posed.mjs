// A file as three.js shows it, in plain node and in a browser alike.

import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';

export class Posed {
  // A binary file's bytes. Its pictures, which need a browser, are left away.
  static async parse(glb) {
    const loader = new GLTFLoader();
    loader.register(() => ({ name: 'no pictures', loadTexture: async () => null }));
    return new Posed(await loader.parseAsync(new Uint8Array(glb).buffer, ''));
  }

  constructor(gltf) {
    this.scene = gltf.scene;
    this.clips = gltf.animations;
    this.mixer = new THREE.AnimationMixer(this.scene);
  }

  // Shows the clip of a name at a time in seconds; without a clip the rest pose.
  pose(clip, time) {
    this.mixer.stopAllAction();
    if (clip) {
      const found = THREE.AnimationClip.findByName(this.clips, clip);
      if (!found) {
        throw new Error(`no clip ${clip}; there are: ${this.clips.map((c) => c.name).join(', ')}`);
      }
      const action = this.mixer.clipAction(found).reset();
      action.setLoop(THREE.LoopOnce, 1).clampWhenFinished = true;
      action.play();
      this.mixer.setTime(time);
    }
    this.scene.updateMatrixWorld(true);
  }

  // Of each mesh: its name, and the places of its vertices as they are shown, three numbers each.
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
      shown.push({ name: mesh.userData.name ?? mesh.name, positions });
    });
    return shown;
  }

  box() {
    return new THREE.Box3().setFromArray(this.meshes().flatMap(({ positions }) => positions));
  }
}
