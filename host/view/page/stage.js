// What is seen: floor, light, camera, the character as packed and its source around it, and the way that it goes.
import { errorColour } from './errorscale.js';
import { Figure } from './figure.js';
import { FloorGrid } from './floorgrid.js';

const COLOURS = {
  light: { back: 0xf3f4f6, grid: 0x98a2b0, source: 0x2563eb, plain: 0x7d8da3, way: 0x0f766e },
  dark: { back: 0x14171c, grid: 0x5d6a7c, source: 0x60a5fa, plain: 0x93a5ba, way: 0x2dd4bf },
};
const SAID = 90; // pixels at the top where the take's name and faults stand
const CHOSEN = [1, 0.2, 0.85];
const VIEW = new THREE.Vector3(0.62, 0.34, 1).normalize(); // from the front, half from the side

const unit = (colour) => colour.map((c) => (c / 255) ** 2.2);

/** A flat strip along points of the floor. */
function ribbon(points, width, material) {
  const corners = [];
  const across = new THREE.Vector3();
  points.forEach((point, n) => {
    const before = points[Math.max(0, n - 1)];
    const after = points[Math.min(points.length - 1, n + 1)];
    const step = new THREE.Vector3(after.x - before.x, 0, after.z - before.z);
    if (step.length() > 1e-6) across.set(step.z, 0, -step.x).setLength(width / 2);
    corners.push(point.x + across.x, point.y, point.z + across.z, point.x - across.x, point.y, point.z - across.z);
  });
  const faces = [];
  for (let n = 0; n + 1 < points.length; ++n) {
    const a = 2 * n;
    faces.push(a, a + 1, a + 2, a + 2, a + 1, a + 3);
  }
  const geometry = new THREE.BufferGeometry();
  geometry.setAttribute('position', new THREE.Float32BufferAttribute(corners, 3));
  geometry.setIndex(faces);
  return new THREE.Mesh(geometry, material);
}

export class Stage {
  constructor(canvas, onPick) {
    const settings = { alpha: false, antialias: true };
    const context = canvas.getContext('webgl2', settings) || canvas.getContext('webgl', settings);
    if (!context) throw new Error('This browser draws no WebGL, which the figure needs.');
    this.canvas = canvas;
    this.renderer = new THREE.WebGLRenderer({ canvas, context, antialias: true });
    this.renderer.shadowMap.enabled = true;
    this.renderer.shadowMap.type = THREE.PCFSoftShadowMap;
    this.renderer.gammaOutput = true;
    this.renderer.gammaFactor = 2.2;
    this.scene = new THREE.Scene();
    this.camera = new THREE.PerspectiveCamera(35, 1, 0.01, 1000);
    this.controls = new THREE.OrbitControls(this.camera, canvas);
    this.controls.enableKeys = false;
    this.controls.screenSpacePanning = true;
    this.controls.maxPolarAngle = Math.PI * 0.98;
    this.controls.addEventListener('change', () => this.invalidate());

    this.packedMaterial = new THREE.MeshStandardMaterial({
      vertexColors: THREE.VertexColors,
      flatShading: true,
      roughness: 0.65,
      metalness: 0,
    });
    // Back faces alone: a seam around the packed bones, which does not tint them, and a shape of its own elsewhere.
    this.sourceMaterial = new THREE.MeshBasicMaterial({
      side: THREE.BackSide,
      transparent: true,
      opacity: 0.5,
      depthWrite: false,
    });
    this.wayMaterial = new THREE.MeshBasicMaterial({ transparent: true, opacity: 0.75, side: THREE.DoubleSide });
    this.sourceWayMaterial = new THREE.MeshBasicMaterial({ transparent: true, opacity: 0.45, side: THREE.DoubleSide });
    this.shadowMaterial = new THREE.ShadowMaterial({ opacity: 0.22, depthWrite: false });

    this.sky = new THREE.HemisphereLight(0xffffff, 0x8a8f98, 0.75);
    this.sun = new THREE.DirectionalLight(0xffffff, 0.75);
    this.sun.castShadow = true;
    this.sun.shadow.mapSize.set(1024, 1024);
    this.floor = new THREE.Mesh(new THREE.PlaneBufferGeometry(1, 1), this.shadowMaterial);
    this.floor.rotation.x = -Math.PI / 2;
    this.floor.receiveShadow = true;
    this.grid = new FloorGrid();
    this.scene.add(this.sky, this.sun, this.sun.target, this.grid.mesh, this.floor);

    this.show = { packed: true, source: true, follow: true, way: true, errors: true };
    this.chosen = -1;
    this.listenForPicks(onPick);
    new ResizeObserver(() => this.invalidate()).observe(canvas.parentElement);
  }

  /** A click that is no drag picks the bone under it, or none. */
  listenForPicks(onPick) {
    let down = null;
    this.canvas.addEventListener('pointerdown', (event) => (down = [event.clientX, event.clientY]));
    this.canvas.addEventListener('pointerup', (event) => {
      if (!down || event.button !== 0 || Math.hypot(event.clientX - down[0], event.clientY - down[1]) > 4) return;
      const box = this.canvas.getBoundingClientRect();
      const x = ((event.clientX - box.left) / box.width) * 2 - 1;
      const y = 1 - ((event.clientY - box.top) / box.height) * 2;
      const ray = new THREE.Raycaster();
      ray.setFromCamera({ x, y }, this.camera);
      const hit = this.packed && ray.intersectObject(this.packed.mesh)[0];
      onPick(hit ? this.packed.boneOfFace(hit.faceIndex) : -1);
    });
  }

  setTheme(isDark) {
    this.isDark = isDark;
    this.colours = isDark ? COLOURS.dark : COLOURS.light;
    this.scene.background = new THREE.Color(this.colours.back);
    this.sourceMaterial.color.set(this.colours.source).convertSRGBToLinear();
    this.sourceWayMaterial.color.set(this.colours.source).convertSRGBToLinear();
    this.wayMaterial.color.set(this.colours.way).convertSRGBToLinear();
    this.shadowMaterial.opacity = isDark ? 0.45 : 0.2;
    this.sky.groundColor.set(isDark ? 0x3a4048 : 0x9aa0a8);
    if (this.clip) this.layFloor();
    this.refresh();
  }

  /** Shows another clip; null for none. */
  setClip(clip) {
    const former = this.clip;
    for (const figure of [this.packed, this.source]) {
      if (!figure) continue;
      this.scene.remove(figure.mesh);
      figure.dispose();
    }
    for (const way of this.ways ?? []) this.scene.remove(way);
    this.packed = this.source = null;
    this.ways = [];
    this.clip = clip;
    this.chosen = -1;
    if (!clip) return this.invalidate();
    this.packed = new Figure(clip.rig, this.packedMaterial);
    this.packed.mesh.castShadow = true;
    this.scene.add(this.packed.mesh);
    if (clip.source) {
      this.source = new Figure(clip.rig, this.sourceMaterial, 1.35);
      this.source.mesh.renderOrder = 1;
      this.scene.add(this.source.mesh);
    }
    this.measure();
    this.layFloor();
    this.layWays();
    this.frame = 0;
    this.place(clip.packed.at(0));
    if (former?.rig !== clip.rig) this.resetView();
    return this.setFrame(0);
  }

  /** The room that the first pose takes. */
  measure() {
    const { places } = this.clip.packed.at(0);
    this.box = new THREE.Box3().setFromArray(places);
    this.packed.pose(this.clip.packed);
    this.box.union(new THREE.Box3().setFromArray(this.packed.positions.array));
    this.size = Math.max(...this.box.getSize(new THREE.Vector3()).toArray(), 0.01);
  }

  /** Lines a metre apart, or ten times closer or wider where the character is of another size. */
  layFloor() {
    this.cell = 10 ** Math.round(Math.log10(this.size / 1.5));
    this.grid.set(this.cell, this.size * 12, this.colours.grid);
    this.floor.scale.set(this.size * 12, this.size * 12, 1);
    const reach = this.size * 1.4;
    const shadow = this.sun.shadow.camera;
    Object.assign(shadow, { left: -reach, right: reach, top: reach, bottom: -reach, near: 0.01, far: this.size * 8 });
    shadow.updateProjectionMatrix();
    this.sun.shadow.bias = -0.0005;
  }

  layWays() {
    const lift = this.size * 0.002;
    const lay = (poses, material, width, height) => {
      const points = poses.ground().map(({ x, y, z }) => ({ x, y: y + height, z }));
      const way = ribbon(points, width, material);
      this.scene.add(way);
      this.ways.push(way);
    };
    if (this.clip.source) lay(this.clip.source, this.sourceWayMaterial, this.size * 0.03, lift);
    lay(this.clip.packed, this.wayMaterial, this.size * 0.014, 2 * lift);
  }

  resetView() {
    const middle = this.box.getCenter(new THREE.Vector3());
    const half = (this.camera.fov * Math.PI) / 360;
    const { clientWidth, clientHeight } = this.canvas.parentElement;
    const across = Math.hypot(this.box.max.x - this.box.min.x, this.box.max.z - this.box.min.z) / 2;
    const tall = (this.box.max.y - this.box.min.y) / 2 / Math.max(0.5, 1 - SAID / Math.max(1, clientHeight));
    const wide = (across * clientHeight) / Math.max(1, clientWidth);
    const distance = (1.04 * Math.max(tall, wide)) / Math.tan(half) + across / 2;
    this.controls.target.copy(middle);
    this.controls.minDistance = this.size * 0.05;
    this.controls.maxDistance = this.size * 30;
    this.camera.near = this.size / 100;
    this.camera.far = this.size * 100;
    this.camera.position.copy(middle).addScaledVector(VIEW, distance);
    this.followed = null;
    this.controls.update();
    this.refresh();
  }

  /** What follows the character: light, floor and, where it is wanted, the camera. */
  place({ places }) {
    const ground = 3 * this.clip.rig.ground;
    const at = new THREE.Vector3(places[ground], places[ground + 1], places[ground + 2]);
    if (this.followed && this.show.follow) {
      const step = at.clone().sub(this.followed);
      this.camera.position.add(step);
      this.controls.target.add(step);
    }
    this.followed = at;
    this.sun.target.position.copy(at);
    this.sun.position.copy(at).add(new THREE.Vector3(-1.2, 3.2, 1.6).multiplyScalar(this.size));
    this.grid.place(at.x, at.z);
    this.floor.position.set(at.x, 0, at.z);
  }

  setFrame(frame) {
    this.frame = frame;
    if (!this.clip) return;
    this.packed.pose(this.clip.packed.at(frame));
    this.place(this.clip.packed);
    const plain = unit(new THREE.Color(this.colours.plain).toArray().map((c) => c * 255));
    this.packed.colour((bone) => {
      if (bone === this.chosen) return CHOSEN;
      if (!this.show.errors || !this.clip.errors) return plain;
      return unit(errorColour(this.clip.errorOf(bone, frame), this.isDark));
    });
    if (this.source) this.source.pose(this.clip.source.at(frame));
    this.invalidate();
  }

  /** Draws again what has changed besides the frame. */
  refresh() {
    if (this.clip) {
      this.packed.mesh.visible = this.show.packed;
      if (this.source) this.source.mesh.visible = this.show.source;
      this.ways.forEach((way) => (way.visible = this.show.way));
      this.setFrame(this.frame);
    }
    this.invalidate();
  }

  invalidate() {
    if (this.isWaiting) return;
    this.isWaiting = true;
    requestAnimationFrame(() => this.draw());
  }

  draw() {
    this.isWaiting = false;
    const { clientWidth, clientHeight } = this.canvas.parentElement;
    if (!clientWidth || !clientHeight) return;
    const ratio = Math.min(2, window.devicePixelRatio || 1);
    if (this.drawn !== `${clientWidth} ${clientHeight} ${ratio}`) {
      this.drawn = `${clientWidth} ${clientHeight} ${ratio}`;
      this.renderer.setPixelRatio(ratio);
      this.renderer.setSize(clientWidth, clientHeight, false);
      this.camera.aspect = clientWidth / clientHeight;
    }
    this.camera.setViewOffset(clientWidth, clientHeight, 0, -SAID / 2, clientWidth, clientHeight);
    this.renderer.render(this.scene, this.camera);
  }
}
