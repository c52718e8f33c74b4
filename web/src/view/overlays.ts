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

type Lines = THREE.LineSegments<THREE.BufferGeometry, THREE.Material>;

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
  private normals: Lines | undefined;
  private box: THREE.Box3Helper | undefined;
  private names: Label[] = [];
  // Whether something of the scene was moved or chosen since the last picture.
  private stale = true;

  constructor(
    scene: THREE.Scene,
    private readonly labels: HTMLElement,
  ) {
    scene.add(this.group);
  }

  clear(): void {
    for (const lines of this.group.children as Lines[]) {
      lines.geometry.dispose();
      lines.material.dispose();
    }
    this.group.clear();
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
    this.stale = true;
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

  moved(): void {
    this.stale = true;
  }

  // Before each picture, when the scene's matrices are up to date.
  update(camera: THREE.PerspectiveCamera, canvas: HTMLCanvasElement): void {
    if (this.stale) {
      this.stale = false;
      this.follow();
    }
    this.placeNames(camera, canvas);
  }

  private follow(): void {
    const at = new THREE.Vector3();
    const rotation = new THREE.Quaternion();
    const scale = new THREE.Vector3();
    for (const { node, axes } of this.tags) {
      node.matrixWorld.decompose(at, rotation, scale);
      axes.matrix.compose(at, rotation, scale.set(1, 1, 1));
      axes.updateMatrixWorld(true);
    }
    if (this.box !== undefined && this.root !== undefined) {
      this.box.box.setFromObject(this.root, true);
      this.box.updateMatrixWorld(true);
    }
    if (this.normals !== undefined) {
      this.updateNormals(this.normals.geometry);
    }
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
    // Without a place, so that only what rotates it counts.
    const normal = new THREE.Vector4();
    const delta = new THREE.Vector4();
    let at = 0;
    for (const mesh of this.meshes) {
      const normals = mesh.geometry.getAttribute('normal') as THREE.BufferAttribute | undefined;
      if (normals === undefined || !mesh.visible) {
        continue;
      }
      const deltas = mesh.geometry.morphAttributes.normal ?? [];
      const weights = mesh.morphTargetInfluences ?? [];
      for (let i = 0; i < normals.count; ++i, at += 2) {
        mesh.getVertexPosition(i, from).applyMatrix4(mesh.matrixWorld);
        normal.set(normals.getX(i), normals.getY(i), normals.getZ(i), 0);
        for (let k = 0; k < deltas.length; ++k) {
          const weight = weights[k] ?? 0;
          const source = deltas[k];
          if (weight !== 0 && source !== undefined) {
            delta.set(source.getX(i), source.getY(i), source.getZ(i), 0);
            normal.addScaledVector(delta, weight);
          }
        }
        if (mesh instanceof THREE.SkinnedMesh) {
          mesh.applyBoneTransform(i, normal);
        }
        normal.applyMatrix4(mesh.matrixWorld).multiplyScalar(normalLength);
        out.setXYZ(at, from.x, from.y, from.z);
        out.setXYZ(at + 1, from.x + normal.x, from.y + normal.y, from.z + normal.z);
      }
    }
    lines.setDrawRange(0, at);
    out.needsUpdate = true;
  }
}
