// A character of bones: every part of its body is an octahedron that hangs on a bone.
import { rotate } from './quaternion.js';

const SHOULDER = 0.15; // of a part's length, where it is widest
const FACES = [0, 2, 1, 0, 3, 2, 0, 4, 3, 0, 1, 4, 5, 1, 2, 5, 2, 3, 5, 3, 4, 5, 4, 1];

/** Corners of a part as its bone sees them, 6 times x, y, z. */
function cornersOf([, x, y, z, radius], thicker) {
  const tip = new THREE.Vector3(x, y, z);
  const away = Math.abs(z) > Math.abs(x) ? new THREE.Vector3(1, 0, 0) : new THREE.Vector3(0, 0, 1);
  const a = new THREE.Vector3().crossVectors(tip, away).setLength(radius * thicker);
  const b = new THREE.Vector3().crossVectors(tip, a).setLength(radius * thicker);
  const middle = tip.clone().multiplyScalar(SHOULDER);
  const ends = tip.clone().multiplyScalar((thicker - 1) * 0.1);
  const corners = [
    ends.clone().negate(),
    middle.clone().add(a),
    middle.clone().add(b),
    middle.clone().sub(a),
    middle.clone().sub(b),
    tip.clone().add(ends),
  ];
  return corners.flatMap((corner) => corner.toArray());
}

export class Figure {
  /** `thicker` is 1 for what lies inside and more for what lies around it. */
  constructor(rig, material, thicker = 1) {
    this.parts = rig.body.map((part) => ({ bone: part[0], corners: cornersOf(part, thicker) }));
    const vertices = this.parts.length * FACES.length;
    this.positions = new THREE.BufferAttribute(new Float32Array(3 * vertices), 3);
    this.colours = new THREE.BufferAttribute(new Float32Array(3 * vertices), 3);
    this.geometry = new THREE.BufferGeometry();
    this.geometry.setAttribute('position', this.positions);
    this.geometry.setAttribute('color', this.colours);
    this.mesh = new THREE.Mesh(this.geometry, material);
    this.mesh.frustumCulled = false;
  }

  /** Puts all parts where a pose has their bones. */
  pose(poses) {
    const out = this.positions.array;
    const at = new Float32Array(3);
    let n = 0;
    for (const { bone, corners } of this.parts) {
      const placed = new Float32Array(corners.length);
      for (let i = 0; i < corners.length; i += 3) {
        rotate(poses.turns, 4 * bone, corners[i], corners[i + 1], corners[i + 2], at, 0);
        for (let k = 0; k < 3; ++k) placed[i + k] = at[k] + poses.places[3 * bone + k];
      }
      for (const corner of FACES) for (let k = 0; k < 3; ++k) out[n++] = placed[3 * corner + k];
    }
    this.positions.needsUpdate = true;
    this.geometry.boundingSphere = null; // picking asks for it
  }

  /** `colourOf(bone)` gives three numbers of 0 to 1. */
  colour(colourOf) {
    const out = this.colours.array;
    let n = 0;
    for (const { bone } of this.parts) {
      const colour = colourOf(bone);
      for (let i = 0; i < FACES.length; ++i) for (let k = 0; k < 3; ++k) out[n++] = colour[k];
    }
    this.colours.needsUpdate = true;
  }

  /** The bone of a face that a ray has hit. */
  boneOfFace(face) {
    return this.parts[Math.floor((face * 3) / FACES.length)].bone;
  }

  dispose() {
    this.geometry.dispose();
  }
}
