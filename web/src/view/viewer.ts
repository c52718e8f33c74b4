// A scene on screen: camera, floor, playing a clip frame by frame, and what can be drawn over it.

import * as THREE from 'three';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';
import type { GLTF } from 'three/addons/loaders/GLTFLoader.js';
import { ManyTargets } from './manytargets';
import {
  hasManyWeights,
  placeByManyWeights,
  restoreFirstWeights,
  skinByManyWeights,
} from './manyweights';
import { nameOf } from './names';
import { rateOf } from './rate';
import { Overlays, type OverlayChoice } from './overlays';

// Of scenes of others, as the command has it.
const leastRate = 20;
// Of a person in the games: 72 units, 40 to the metre.
const personHeight = 1.8;

export interface Clip {
  name: string;
  frames: number;
  // Frames a second.
  rate: number;
}

export interface Surface {
  name: string;
  visible: boolean;
  vertices: number;
  triangles: number;
}

export interface Display extends OverlayChoice {
  wireframe: boolean;
  backFaces: boolean;
}

export class Viewer {
  clips: Clip[] = [];
  playing = false;
  speed = 1;
  onFrame: (frame: number) => void = () => undefined;
  // The scene cannot be drawn; it is gone when this is called.
  onFault: (error: unknown) => void = () => undefined;

  private readonly renderer: THREE.WebGLRenderer;
  private readonly scene = new THREE.Scene();
  private readonly camera = new THREE.PerspectiveCamera(35, 1, 0.01, 1000);
  private readonly controls: OrbitControls;
  private readonly overlays: Overlays;
  private floor = new THREE.Group();
  private shown: GLTF | undefined;
  private meshes: THREE.Mesh[] = [];
  private targets: ManyTargets[] = [];
  // How the scene before this one was seen last.
  private before = { clip: '', time: 0, hidden: new Set<string>() };
  private mixer: THREE.AnimationMixer | undefined;
  private action: THREE.AnimationAction | undefined;
  private clip = -1;
  private time = 0;
  private lastFrame = -1;
  private clock = 0;
  private dirty = true;
  private dark = false;

  constructor(
    private readonly canvas: HTMLCanvasElement,
    labels: HTMLElement,
    private display: Display,
  ) {
    this.renderer = new THREE.WebGLRenderer({ canvas, antialias: true, alpha: true });
    this.renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.addEventListener('change', () => (this.dirty = true));
    this.overlays = new Overlays(this.scene, labels);
    const sun = new THREE.DirectionalLight(0xffffff, 2);
    sun.position.set(1, 2, 3);
    this.scene.add(sun, new THREE.HemisphereLight(0xffffff, 0x8a8580, 2));
    new ResizeObserver(() => this.resize()).observe(canvas.parentElement ?? canvas);
    this.resize();
    this.renderer.setAnimationLoop((now) => {
      try {
        this.tick(now);
      } catch (error) {
        this.clear();
        this.onFault(error);
      }
    });
  }

  clear(): void {
    if (this.shown !== undefined) {
      const hidden = this.meshes.filter(({ visible }) => !visible).map(({ name }) => name);
      const clip = this.clips[this.clip]?.name ?? '';
      this.before = { clip, time: this.time, hidden: new Set(hidden) };
      this.mixer?.stopAllAction();
      this.scene.remove(this.shown.scene);
      release(this.shown.scene);
    }
    this.overlays.clear();
    this.shown = undefined;
    this.mixer = undefined;
    this.action = undefined;
    this.meshes = [];
    this.targets = [];
    this.clips = [];
    this.clip = -1;
    this.dirty = true;
  }

  // With the camera as it is, the clip of the same name at the same frame and the same surfaces hidden,
  // where the scene is the one that was shown before.
  show(gltf: GLTF, from: { game: boolean; keepView: boolean }): void {
    const { keepView } = from;
    this.clear();
    const { before } = this;
    this.shown = gltf;
    this.scene.add(gltf.scene);
    this.mixer = new THREE.AnimationMixer(gltf.scene);
    this.clips = gltf.animations.map((clip) => {
      const rate = rateOf(clip, from.game ? 1 : leastRate);
      return { name: clip.name, frames: Math.round(clip.duration * rate) + 1, rate };
    });
    gltf.scene.traverse((object) => {
      // Bounding volumes are those of the rest pose.
      object.frustumCulled = false;
      if (object instanceof THREE.Mesh && object.geometry.getAttribute('position') !== undefined) {
        this.meshes.push(object);
        if (keepView && before.hidden.has(object.name)) {
          object.visible = false;
        }
        this.prepare(object, gltf);
      }
    });
    const again = keepView ? this.clips.findIndex(({ name }) => name === before.clip) : -1;
    if (again >= 0) {
      this.setClip(again);
      this.setTime(before.time);
    } else if (this.clips.length > 0) {
      this.setClip(0);
    }
    this.pose();
    this.overlays.show(gltf.scene, this.meshes);
    this.setDisplay(this.display);
    this.placeFloor();
    if (!keepView) {
      this.fit();
    }
  }

  private prepare(mesh: THREE.Mesh, gltf: GLTF): void {
    const targets = ManyTargets.of(mesh);
    if (targets !== undefined) {
      this.targets.push(targets);
    }
    const many = mesh instanceof THREE.SkinnedMesh && hasManyWeights(mesh.geometry);
    if (many) {
      restoreFirstWeights(mesh);
      placeByManyWeights(mesh);
    }
    const own = listOf(mesh.material).map((material) => {
      const known = gltf.parser.associations.has(material);
      const copy = many ? material.clone() : material;
      if (copy instanceof THREE.MeshStandardMaterial) {
        // Nothing here is there to be mirrored; metal would be black.
        copy.metalness = 0;
        // Nor would white show its shape; without a material at all three.js takes white.
        if (copy.map === null && (!known || copy.color.getHex() === 0xffffff)) {
          copy.color.set(0xa8a8a8);
          copy.roughness = 0.9;
        }
      }
      copy.userData.side = copy.side;
      if (many) {
        skinByManyWeights(copy);
      }
      return copy;
    });
    mesh.material = own.length === 1 && own[0] !== undefined ? own[0] : own;
  }

  setClip(index: number): void {
    const clip = this.shown?.animations[index];
    this.mixer?.stopAllAction();
    this.action = undefined;
    this.clip = -1;
    if (clip !== undefined && this.mixer !== undefined) {
      this.clip = index;
      this.action = this.mixer.clipAction(clip);
      this.action.setLoop(THREE.LoopOnce, 1);
      this.action.clampWhenFinished = true;
      this.action.play();
    }
    this.setTime(0);
  }

  // In seconds from the clip's start.
  setTime(time: number): void {
    this.time = Math.min(Math.max(time, 0), this.duration());
    if (this.action !== undefined && this.mixer !== undefined) {
      this.action.paused = false;
      this.action.enabled = true;
      this.action.time = this.time;
      this.mixer.update(0);
    }
    this.overlays.moved();
    this.dirty = true;
  }

  setFrame(frame: number): void {
    this.setTime(frame / this.rate());
    this.report();
  }

  get clipIndex(): number {
    return Math.max(this.clip, 0);
  }

  frame(): number {
    return Math.floor(this.time * this.rate() + 1e-4);
  }

  // A step from the last frame leads to the first, and back.
  step(by: number): void {
    const count = this.clips[this.clip]?.frames ?? 1;
    this.setFrame((this.frame() + by + count) % count);
  }

  setDisplay(display: Display): void {
    this.display = display;
    for (const material of this.meshes.flatMap((mesh) => listOf(mesh.material))) {
      const side = display.backFaces ? THREE.DoubleSide : (material.userData.side as THREE.Side);
      if (material.side !== side) {
        material.side = side;
        material.needsUpdate = true;
      }
      if ('wireframe' in material) {
        material.wireframe = display.wireframe;
      }
    }
    this.overlays.choose(display);
    this.dirty = true;
  }

  setDark(dark: boolean): void {
    this.dark = dark;
    this.placeFloor();
  }

  surfaces(): Surface[] {
    return this.meshes.map((mesh) => {
      const vertices = mesh.geometry.getAttribute('position').count;
      return {
        name: nameOf(mesh),
        visible: mesh.visible,
        vertices,
        triangles: Math.floor((mesh.geometry.index?.count ?? vertices) / 3),
      };
    });
  }

  setVisible(surface: number, visible: boolean): void {
    const mesh = this.meshes[surface];
    if (mesh !== undefined) {
      mesh.visible = visible;
      this.overlays.moved();
      this.dirty = true;
    }
  }

  // From the front, all of it in sight.
  fit(): void {
    const box = this.box();
    const middle = box.getCenter(new THREE.Vector3());
    const size = box.getSize(new THREE.Vector3());
    const reach = Math.max(size.length(), 1e-3);
    const upright = Math.tan(THREE.MathUtils.degToRad(this.camera.fov / 2));
    const lying = upright * this.camera.aspect;
    const away = size.z / 2 + (1.15 * Math.max(size.y / upright, size.x / lying, reach / 2)) / 2;
    this.camera.near = reach / 200;
    this.camera.far = reach * 200 + 50;
    this.camera.updateProjectionMatrix();
    this.controls.target.copy(middle);
    this.camera.position.copy(middle).add(new THREE.Vector3(0, 0.12 * away, away));
    this.controls.update();
    this.dirty = true;
  }

  // By degrees around what is looked at, and nearer or farther.
  orbit(around: number, over: number, distance = 1): void {
    const offset = this.camera.position.clone().sub(this.controls.target);
    const at = new THREE.Spherical().setFromVector3(offset);
    at.theta += THREE.MathUtils.degToRad(around);
    at.phi = THREE.MathUtils.clamp(at.phi + THREE.MathUtils.degToRad(over), 0.02, Math.PI - 0.02);
    at.radius *= distance;
    this.camera.position.setFromSpherical(at).add(this.controls.target);
    this.controls.update();
  }

  async picture(): Promise<Blob> {
    this.draw();
    const made = await new Promise<Blob | null>((done) => this.canvas.toBlob(done, 'image/png'));
    if (made === null) {
      throw new Error('the browser makes no picture of this size');
    }
    return made;
  }

  private box(): THREE.Box3 {
    this.pose();
    const box = new THREE.Box3();
    if (this.shown !== undefined) {
      box.setFromObject(this.shown.scene, true);
    }
    if (box.isEmpty() || !Number.isFinite(box.getSize(new THREE.Vector3()).length())) {
      box.set(new THREE.Vector3(-0.5, 0, -0.5), new THREE.Vector3(0.5, personHeight, 0.5));
    }
    return box;
  }

  // A grid of metres with a figure of a person's height beside what is shown.
  private placeFloor(): void {
    this.scene.remove(this.floor);
    release(this.floor);
    this.floor = new THREE.Group();
    const box = this.box();
    const span = Math.max(box.max.x - box.min.x, box.max.z - box.min.z, 1);
    const cells = Math.min(2 * Math.ceil(span + 1), 200);
    const [middle, line] = this.dark ? [0x8494a8, 0x434b57] : [0x6a7788, 0xc3c9d1];
    this.floor.add(new THREE.GridHelper(cells, cells, middle, line));
    const x = box.min.x - 0.45;
    const outline = new THREE.LineLoop(
      new THREE.BufferGeometry().setFromPoints(figure.map(([u, v]) => new THREE.Vector3(x + u, v, 0))),
      new THREE.LineBasicMaterial({ color: middle }),
    );
    this.floor.add(outline);
    this.scene.add(this.floor);
    this.dirty = true;
  }

  private resize(): void {
    const { clientWidth, clientHeight } = this.canvas.parentElement ?? this.canvas;
    if (clientWidth > 0 && clientHeight > 0) {
      this.renderer.setSize(clientWidth, clientHeight, false);
      this.camera.aspect = clientWidth / clientHeight;
      this.camera.updateProjectionMatrix();
      this.dirty = true;
    }
  }

  private rate(): number {
    return this.clips[this.clip]?.rate ?? leastRate;
  }

  private duration(): number {
    return this.shown?.animations[this.clip]?.duration ?? 0;
  }

  private tick(now: number): void {
    const passed = Math.min((now - this.clock) / 1000, 0.25);
    this.clock = now;
    const duration = this.duration();
    if (this.playing && duration > 0) {
      // The last frame is shown as long as any other before the first follows.
      const round = duration + 1 / this.rate();
      const time = (this.time + passed * this.speed) % round;
      this.setTime(time);
      this.time = time;
    }
    if (!this.dirty) {
      return;
    }
    this.report();
    this.draw();
  }

  private pose(): void {
    this.targets.forEach((targets) => targets.update());
    this.scene.updateMatrixWorld();
  }

  private report(): void {
    const frame = Math.min(this.frame(), (this.clips[this.clip]?.frames ?? 1) - 1);
    if (frame !== this.lastFrame) {
      this.lastFrame = frame;
      this.onFrame(frame);
    }
  }

  private draw(): void {
    this.dirty = false;
    this.pose();
    this.overlays.update(this.camera, this.canvas);
    this.renderer.render(this.scene, this.camera);
  }
}

// A person's outline, in metres.
const figure: [number, number][] = [
  [-0.13, 0], [-0.15, 0.8], [-0.2, 0.75], [-0.23, 1.38], [-0.17, 1.47], [-0.05, 1.52], [-0.09, 1.6],
  [-0.09, 1.73], [0, 1.8], [0.09, 1.73], [0.09, 1.6], [0.05, 1.52], [0.17, 1.47], [0.23, 1.38],
  [0.2, 0.75], [0.15, 0.8], [0.13, 0], [0.03, 0], [0, 0.75], [-0.03, 0],
];

function listOf(material: THREE.Material | THREE.Material[]): THREE.Material[] {
  return Array.isArray(material) ? material : [material];
}

function release(root: THREE.Object3D): void {
  root.traverse((object) => {
    if (object instanceof THREE.SkinnedMesh) {
      object.skeleton.dispose();
    }
    if (object instanceof THREE.Mesh || object instanceof THREE.Line) {
      (object.geometry as THREE.BufferGeometry).dispose();
      for (const material of listOf(object.material as THREE.Material | THREE.Material[])) {
        for (const value of Object.values(material)) {
          if (value instanceof THREE.Texture) {
            value.dispose();
          }
        }
        material.dispose();
      }
    }
  });
}
