// What can be drawn over a scene: its skeleton with the bones' names, tags as axes, normals, and the
// box around the shown frame.

import * as THREE from 'three';
import { isTag, nameOf } from './names';

export interface OverlayChoice {
  skeleton: boolean;
  boneNames: boolean;
  tags: boolean;
  normals: boolean;
  box: boolean;
}

interface Label {
  node: THREE.Object3D;
  element: HTMLElement;
}

const axisLength = 0.12;
const normalLength = 0.03;

export class Overlays {
  private readonly group = new THREE.Group();
  private root: THREE.Object3D | undefined;
  private meshes: THREE.Mesh[] = [];
  private skeleton: THREE.SkeletonHelper | undefined;
  private tags: { node: THREE.Object3D; axes: THREE.AxesHelper }[] = [];
  private normals: THREE.LineSegments | undefined;
  private box: THREE.Box3Helper | undefined;
  private names: Label[] = [];

  constructor(
    scene: THREE.Scene,
    private readonly labels: HTMLElement,
  ) {
    scene.add(this.group);
  }

  clear(): void {
    this.group.children.slice().forEach((child) => {
      this.group.remove(child);
      (child as unknown as { dispose?: () => void }).dispose?.();
    });
    this.skeleton = this.normals = this.box = undefined;
    this.tags = [];
    this.names = [];
    this.labels.replaceChildren();
    this.root = undefined;
  }

  show(root: THREE.Object3D, meshes: THREE.Mesh[]): void {
    this.root = root;
    this.meshes = meshes;
  }

  choose(choice: OverlayChoice): void {
    const { root } = this;
    if (root === undefined) {
      return;
    }
    const meshes = this.meshes;
    this.clear();
    this.show(root, meshes);
    if (choice.skeleton) {
      this.skeleton = new THREE.SkeletonHelper(root);
      const material = this.skeleton.material as THREE.LineBasicMaterial;
      material.depthTest = false;
      this.skeleton.setColors(new THREE.Color(0x2f7de1), new THREE.Color(0x2fbf71));
      this.group.add(this.skeleton);
    }
    root.traverse((node) => {
      const tag = isTag(node);
      if (choice.tags && tag) {
        const axes = new THREE.AxesHelper(axisLength);
        axes.matrixAutoUpdate = false;
        this.tags.push({ node, axes });
        this.group.add(axes);
      }
      if ((choice.tags && tag) || (choice.boneNames && (node as THREE.Bone).isBone && !tag)) {
        const element = document.createElement('span');
        element.textContent = nameOf(node);
        this.labels.append(element);
        this.names.push({ node, element });
      }
    });
    if (choice.normals) {
      const count = meshes.reduce((sum, mesh) => sum + mesh.geometry.getAttribute('position').count, 0);
      const geometry = new THREE.BufferGeometry();
      geometry.setAttribute('position', new THREE.BufferAttribute(new Float32Array(6 * count), 3));
      this.normals = new THREE.LineSegments(geometry, new THREE.LineBasicMaterial({ color: 0xd0408c }));
      this.normals.frustumCulled = false;
      this.group.add(this.normals);
    }
    if (choice.box) {
      this.box = new THREE.Box3Helper(new THREE.Box3(), new THREE.Color(0xe08a1e));
      this.group.add(this.box);
    }
  }

  // Before each picture, when the scene's matrices are up to date.
  update(camera: THREE.PerspectiveCamera, canvas: HTMLCanvasElement): void {
    for (const { node, axes } of this.tags) {
      const at = new THREE.Vector3();
      const rotation = new THREE.Quaternion();
      node.matrixWorld.decompose(at, rotation, new THREE.Vector3());
      axes.matrix.compose(at, rotation, new THREE.Vector3(1, 1, 1));
      axes.matrixWorldNeedsUpdate = true;
      axes.updateMatrixWorld();
    }
    if (this.box !== undefined && this.root !== undefined) {
      this.box.box.setFromObject(this.root, true);
      this.box.updateMatrixWorld(true);
    }
    if (this.normals !== undefined) {
      this.updateNormals(this.normals.geometry);
    }
    this.placeNames(camera, canvas);
  }

  private placeNames(camera: THREE.PerspectiveCamera, canvas: HTMLCanvasElement): void {
    if (this.names.length === 0) {
      return;
    }
    camera.updateMatrixWorld();
    const at = new THREE.Vector3();
    const { clientWidth, clientHeight } = canvas;
    for (const { node, element } of this.names) {
      at.setFromMatrixPosition(node.matrixWorld).project(camera);
      const x = ((at.x + 1) / 2) * clientWidth;
      const y = ((1 - at.y) / 2) * clientHeight;
      element.hidden = at.z > 1 || x < 0 || y < 0 || x > clientWidth || y > clientHeight;
      element.style.transform = `translate(${x.toFixed(1)}px, ${y.toFixed(1)}px)`;
    }
  }

  private updateNormals(lines: THREE.BufferGeometry): void {
    const out = lines.getAttribute('position');
    const from = new THREE.Vector3();
    const to = new THREE.Vector3();
    let at = 0;
    for (const mesh of this.meshes) {
      const normals = mesh.geometry.getAttribute('normal') as THREE.BufferAttribute | undefined;
      const rest = mesh.geometry.getAttribute('position');
      for (let i = 0; i < rest.count; ++i, at += 2) {
        mesh.getVertexPosition(i, from);
        to.copy(from);
        if (normals !== undefined && mesh.visible) {
          // A normal is rotated as the difference of two skinned places is.
          to.fromBufferAttribute(normals, i).multiplyScalar(normalLength);
          if (mesh instanceof THREE.SkinnedMesh) {
            const tip = to.clone().add(new THREE.Vector3().fromBufferAttribute(rest, i));
            to.copy(mesh.applyBoneTransform(i, tip));
          } else {
            to.add(from);
          }
        }
        from.applyMatrix4(mesh.matrixWorld);
        to.applyMatrix4(mesh.matrixWorld);
        out.setXYZ(at, from.x, from.y, from.z);
        out.setXYZ(at + 1, to.x, to.y, to.z);
      }
    }
    out.needsUpdate = true;
  }
}
