// What the browser runs: draws the file from before and to its left.

import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { RoomEnvironment } from 'three/addons/environments/RoomEnvironment.js';
import { Posed } from './posed.mjs';

window.draw = async (url, clip, time) => {
  const posed = new Posed(await new GLTFLoader().loadAsync(url));
  posed.pose(clip, time);

  const scene = new THREE.Scene();
  scene.background = new THREE.Color(0x30343c);
  scene.add(posed.scene);
  const sun = new THREE.DirectionalLight(0xffffff, 1.5);
  sun.position.set(1, 2, 3);
  scene.add(sun);

  const middle = new THREE.Vector3();
  const box = posed.box();
  box.getCenter(middle);
  const reach = box.getSize(new THREE.Vector3()).length() || 1;
  const grid = new THREE.GridHelper(2 * reach, 20, 0x8090a0, 0x505860);
  grid.position.set(middle.x, box.min.y, middle.z);
  scene.add(grid);
  // Bounding spheres of skins are those of the rest pose.
  posed.scene.traverse((object) => { object.frustumCulled = false; });

  const camera = new THREE.PerspectiveCamera(35, innerWidth / innerHeight, reach / 100, reach * 100);
  camera.position.copy(middle).add(new THREE.Vector3(-0.6, 0.35, 1).multiplyScalar(1.45 * reach));
  camera.lookAt(middle);
  const renderer = new THREE.WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
  renderer.setSize(innerWidth, innerHeight);
  // Surfaces without a material are metal by the format's rule, and black without a room to mirror.
  scene.environment = new THREE.PMREMGenerator(renderer).fromScene(new RoomEnvironment()).texture;
  scene.environmentIntensity = 0.4;
  document.body.append(renderer.domElement);
  renderer.render(scene, camera);
};
