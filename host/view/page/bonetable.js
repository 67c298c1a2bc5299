// Each bone of the chosen take: how its tracks are stored, what they take, how far it is off.
import { cssColour, millimetreText } from './errorscale.js';
import { element } from './takelist.js';

const CLASSES = {
  'bind pose': '–',
  constant: 'const',
  '64 bits': '64',
  '32 bits': '32',
  'one axis': 'axis',
  '96 bits': '96',
};
const MOTION = ['64 bits', '32 bits', 'one axis', '96 bits'];

const bytesOf = (bone) => bone.tracks[2];
const BONE_ORDERS = {
  bone: (a, b) => a.place - b.place,
  stored: (a, b) => a.tracks[0].localeCompare(b.tracks[0]) || a.place - b.place,
  bytes: (a, b) => bytesOf(b) - bytesOf(a) || a.place - b.place,
  error: (a, b) => b.worst - a.worst || a.place - b.place,
};

export class BoneTable {
  constructor(onChoose) {
    this.onChoose = onChoose;
    this.body = document.getElementById('bone-rows');
    this.order = 'bone';
    for (const head of document.querySelectorAll('#bone-table th[data-order]'))
      head.addEventListener('click', () => {
        this.order = head.dataset.order;
        this.sort();
      });
  }

  setClip(clip, isDark) {
    this.clip = clip;
    this.isDark = isDark;
    this.rows = [];
    if (clip) {
      this.start = this.prefix();
      const depths = [];
      clip.rig.order.forEach((bone) => {
        const parent = clip.rig.bones[bone][1];
        depths[bone] = parent < 0 ? 0 : depths[parent] + 1;
      });
      this.rows = this.treeOrder().map((bone, place) => this.makeRow(bone, place, depths[bone]));
    }
    this.sort();
  }

  /** Depth first, as people read a skeleton. */
  treeOrder() {
    const children = this.clip.rig.bones.map(() => []);
    const roots = [];
    this.clip.rig.bones.forEach(([, parent], bone) => (parent < 0 ? roots : children[parent]).push(bone));
    const order = [];
    const waiting = roots.reverse();
    while (waiting.length) {
      const bone = waiting.pop();
      order.push(bone);
      waiting.push(...children[bone].reverse());
    }
    return order;
  }

  /** What nearly all names begin with says nothing: "mixamorig:", "Bip01_". */
  prefix() {
    const names = this.clip.rig.bones.map(([name]) => name);
    const counts = new Map();
    for (const name of names) {
      const [start] = name.match(/^.+?[:_]/) ?? [''];
      if (start.length < name.length) counts.set(start, (counts.get(start) ?? 0) + 1);
    }
    const [most] = [...counts].sort((a, b) => b[1] - a[1]);
    return most && most[1] > 3 && most[1] > 0.6 * names.length ? most[0] : '';
  }

  makeRow(bone, place, depth) {
    const [name] = this.clip.rig.bones[bone];
    const tracks = this.clip.tracks[bone];
    const row = { bone, place, tracks, worst: this.clip.worstOf(bone), element: element('tr') };
    const nameCell = element('td', 'bone-name');
    const label = element('span', '', name.startsWith(this.start) ? name.slice(this.start.length) : name);
    label.style.paddingLeft = `${Math.min(depth, 9) * 4}px`;
    label.title = name;
    nameCell.append(label);
    const stored = element('td', 'stored');
    for (const [track, what] of [
      [tracks[0], 'Rotation'],
      [tracks[1], 'Translation'],
    ]) {
      const chip = element('span', MOTION.includes(track) ? 'chip moves' : 'chip', CLASSES[track] ?? 'none');
      chip.title = `${what}: ${track}`;
      stored.append(chip);
    }
    const error = element('td', 'number', this.clip.errors ? millimetreText(row.worst).replace(' mm', '') : '–');
    error.style.setProperty('--colour', cssColour(row.worst, this.isDark));
    error.classList.add('error');
    row.element.append(nameCell, stored, element('td', 'number', tracks[2] ? String(tracks[2]) : '–'), error);
    row.element.addEventListener('click', () => this.onChoose(this.chosen === bone ? -1 : bone));
    return row;
  }

  sort() {
    for (const head of document.querySelectorAll('#bone-table th[data-order]'))
      head.setAttribute('aria-sort', head.dataset.order === this.order ? 'descending' : 'none');
    this.body.replaceChildren(...this.rows.sort(BONE_ORDERS[this.order]).map((row) => row.element));
  }

  choose(bone) {
    this.chosen = bone;
    for (const row of this.rows) {
      row.element.classList.toggle('chosen', row.bone === bone);
      if (row.bone === bone) row.element.scrollIntoView({ block: 'nearest' });
    }
  }
}
