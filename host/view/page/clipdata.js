// What the page holds of takes: the index, read at once, and each take's details and poses, read when it is chosen.
import { multiply, rotate } from './quaternion.js';

const NUMBERS = 7; // of a bone at a frame: x, y, z of its place and x, y, z, w of its turn
const STEPS_PER_METRE = 1e5;
const STEPS_PER_UNIT = 32767;
const STEPS_PER_MILLIMETRE = 1e3;
const KEPT = 12; // takes that stay decoded

const textOf = (id) => document.getElementById(id).textContent;

/** The bytes of a base64 text that were deflated. */
async function inflate(base64) {
  const packed = Uint8Array.from(atob(base64), (c) => c.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

/** Turns planes of bytes back to numbers: streams of `frames` numbers, each told as what it differs from the last. */
function readStreams(bytes, frames) {
  const count = bytes.length / 4;
  const numbers = new Int32Array(count);
  for (let n = 0, last = 0; n < count; ++n) {
    const z = bytes[n] | (bytes[n + count] << 8) | (bytes[n + 2 * count] << 16) | (bytes[n + 3 * count] << 24);
    if (n % frames === 0) last = 0;
    last = (last + ((z >>> 1) ^ -(z & 1))) | 0;
    numbers[n] = last;
  }
  return numbers;
}

/** Poses of a take, of what was packed or of its source; `at` gives one in character space. */
export class Poses {
  /** `numbers` holds a stream for each number of each bone. */
  constructor(rig, frames, numbers) {
    this.rig = rig;
    this.frames = frames;
    this.numbers = numbers;
    const bones = rig.bones.length;
    this.places = new Float32Array(3 * bones);
    this.turns = new Float32Array(4 * bones);
  }

  /** A bone as its parent sees it at a frame that may lie between two: `local` gets seven numbers. */
  localAt(bone, frame, local) {
    const first = Math.min(Math.floor(frame), this.frames - 1);
    const part = frame - first;
    const next = Math.min(first + 1, this.frames - 1);
    let square = 0;
    let dot = 0;
    for (let i = 3; i < NUMBERS; ++i) {
      const stream = (bone * NUMBERS + i) * this.frames;
      dot += this.numbers[stream + first] * this.numbers[stream + next];
    }
    for (let i = 0; i < NUMBERS; ++i) {
      const stream = (bone * NUMBERS + i) * this.frames;
      const a = this.numbers[stream + first];
      const b = i > 2 && dot < 0 ? -this.numbers[stream + next] : this.numbers[stream + next];
      local[i] = (a + part * (b - a)) / (i < 3 ? STEPS_PER_METRE : STEPS_PER_UNIT);
      if (i > 2) square += local[i] * local[i];
    }
    const scale = 1 / Math.sqrt(square || 1);
    for (let i = 3; i < NUMBERS; ++i) local[i] *= scale;
  }

  /** Fills `places` and `turns` of all bones. */
  at(frame) {
    const local = new Float32Array(NUMBERS);
    for (const bone of this.rig.order) {
      const parent = this.rig.bones[bone][1];
      this.localAt(bone, frame, local);
      if (parent < 0) {
        this.places.set(local.subarray(0, 3), 3 * bone);
        this.turns.set(local.subarray(3), 4 * bone);
        continue;
      }
      rotate(this.turns, 4 * parent, local[0], local[1], local[2], this.places, 3 * bone);
      for (let i = 0; i < 3; ++i) this.places[3 * bone + i] += this.places[3 * parent + i];
      multiply(this.turns, 4 * parent, local, 3, this.turns, 4 * bone);
    }
    return this;
  }

  /** The ground's place and heading at each frame: x, y, z and radians about Y, without jumps. */
  ground() {
    const way = [];
    const local = new Float32Array(NUMBERS);
    for (let frame = 0; frame < this.frames; ++frame) {
      this.localAt(this.rig.ground, frame, local);
      let heading = 2 * Math.atan2(local[4], local[6]);
      const before = frame ? way[frame - 1].heading : 0;
      heading += 2 * Math.PI * Math.round((before - heading) / (2 * Math.PI));
      way.push({ x: local[0], y: local[1], z: local[2], heading });
    }
    return way;
  }
}

/** One take, decoded. */
class Clip {
  constructor(take, rig, details, streams) {
    this.take = take;
    this.rig = rig;
    this.tracks = details.tracks;
    this.properties = details.properties;
    this.events = details.events;
    this.frames = take.frames;
    const bones = rig.bones.length;
    const size = NUMBERS * bones * take.frames;
    const packed = streams.subarray(0, size);
    this.packed = new Poses(rig, take.frames, packed);
    this.source = null;
    this.errors = null; // bone by bone, frame after frame
    if (streams.length > size) {
      const source = streams.slice(size, 2 * size);
      for (let n = 0; n < size; ++n) source[n] += packed[n];
      this.source = new Poses(rig, take.frames, source);
      this.errors = streams.subarray(2 * size);
    }
  }

  /** Millimetres that a bone is off at the frame that is nearest. */
  errorOf(bone, frame) {
    return this.errors ? this.errors[bone * this.frames + Math.round(frame)] / STEPS_PER_MILLIMETRE : 0;
  }

  /** The worst frame of a bone. */
  worstOf(bone) {
    let worst = 0;
    for (let frame = 0; frame < this.frames; ++frame) worst = Math.max(worst, this.errorOf(bone, frame));
    return worst;
  }

  /** The worst bone of each frame. */
  worstOfFrames() {
    return Array.from({ length: this.frames }, (_, frame) => {
      let worst = 0;
      for (let bone = 0; bone < this.rig.bones.length; ++bone) worst = Math.max(worst, this.errorOf(bone, frame));
      return worst;
    });
  }
}

/** All takes of the page. */
export class ClipData {
  constructor() {
    const index = JSON.parse(textOf('index'));
    this.title = index.title;
    this.takes = index.takes.map(([rig, row], number) => ({ ...row, number, rig: index.rigs[rig] ?? null }));
    this.kept = new Map();
  }

  /** Decodes a take; null for one that has nothing to show. */
  async clipOf(take) {
    if (!take.rig || !take.frames) return null;
    let clip = this.kept.get(take.number);
    if (!clip) {
      const details = JSON.parse(textOf(`details${take.number}`));
      const bytes = await inflate(textOf(`poses${take.number}`));
      clip = new Clip(take, take.rig, details, readStreams(bytes, Math.max(1, take.frames)));
    }
    this.kept.delete(take.number);
    this.kept.set(take.number, clip);
    if (this.kept.size > KEPT) this.kept.delete(this.kept.keys().next().value);
    return clip;
  }
}
