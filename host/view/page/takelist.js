// The list of takes: found by words, sorted by what is looked for, one of them chosen.
import { DOUBTFUL, cssColour, findings, levelOf, millimetreText } from './errorscale.js';

export const sizeText = (bytes) => (bytes < 10000 ? `${bytes} B` : `${(bytes / 1000).toFixed(bytes < 1e5 ? 1 : 0)} kB`);
export const secondsOf = (take) => (take.frames > 1 ? (take.frames - 1) / take.rate : 0);
export const rateText = (rate) => `${Number.isInteger(rate) ? rate : rate.toFixed(2)} fps`;

/** The file that a take is made of, below assembly:/. */
export function sourceOf(take) {
  return take.id
    .replace(/^<+/, '')
    .replace(/^assembly:\//, '')
    .replace(/\?\/.*$/, '')
    .replace(/>.*$/, '');
}

/** Millimetres; a take without a source is as doubtful as one that is a little off, one that can't be shown is worst. */
function worstOf(take) {
  if (take.error) return take.rig ? DOUBTFUL : Infinity;
  return Math.max(take.worst ? take.worst.mm : 0, take.lost ? take.lostMm : 0);
}

const TAKE_ORDERS = {
  name: (a, b) => a.name.localeCompare(b.name) || a.id.localeCompare(b.id),
  file: (a, b) => a.id.localeCompare(b.id),
  error: (a, b) => worstOf(b) - worstOf(a),
  length: (a, b) => secondsOf(b) - secondsOf(a),
  rate: (a, b) => (b.rate || 0) - (a.rate || 0),
  way: (a, b) => (b.way || 0) - (a.way || 0),
  bytes: (a, b) => (b.bytes || 0) - (a.bytes || 0),
  warnings: (a, b) => findings(b).length - findings(a).length || worstOf(b) - worstOf(a),
};

export function element(name, className, text) {
  const made = document.createElement(name);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}

export class TakeList {
  constructor(takes, onChoose) {
    this.takes = takes;
    this.onChoose = onChoose;
    this.list = document.getElementById('take-list');
    this.filter = document.getElementById('filter');
    this.order = document.getElementById('order');
    this.turn = document.getElementById('turn');
    this.only = document.getElementById('only-findings');
    this.items = takes.map((take) => this.makeItem(take));
    this.chosen = null;
    for (const input of [this.filter, this.order, this.only]) input.addEventListener('input', () => this.update());
    this.turn.addEventListener('click', () => {
      const isTurned = this.turn.getAttribute('aria-pressed') !== 'true';
      this.turn.setAttribute('aria-pressed', String(isTurned));
      this.update();
    });
    this.update();
  }

  makeItem(take) {
    const item = element('li', `take ${levelOf(take)}`);
    item.setAttribute('role', 'option');
    item.id = `take${take.number}`;
    const head = element('div', 'take-head');
    head.append(element('span', 'take-name', take.name), this.makeBadge(take));
    const facts = take.frames
      ? [`${secondsOf(take).toFixed(2)} s`, rateText(take.rate), `${take.way.toFixed(2)} m`, sizeText(take.bytes)]
      : ["can't be shown"];
    const tail = element('div', 'take-facts');
    for (const fact of facts) tail.append(element('span', '', fact));
    const file = element('div', 'take-file', sourceOf(take));
    file.title = take.id;
    item.append(head, file, tail);
    const found = findings(take);
    if (found.length) item.append(element('div', `take-finding ${found[0].level}`, found[0].text));
    item.addEventListener('click', () => this.onChoose(take));
    return item;
  }

  makeBadge(take) {
    const badge = element('span', `badge ${levelOf(take)}`);
    if (take.worst) {
      badge.textContent = millimetreText(worstOf(take));
      badge.title = `Worst error, at ${take.worst.bone} in frame ${take.worst.frame}`;
    } else badge.textContent = take.rig ? 'no source' : 'failed';
    this.colourBadge(badge, take, document.documentElement.dataset.theme === 'dark');
    return badge;
  }

  colourBadge(badge, take, isDark) {
    badge.style.setProperty('--colour', cssColour(worstOf(take), isDark));
  }

  setTheme(isDark) {
    this.items.forEach((item, n) => this.colourBadge(item.querySelector('.badge'), this.takes[n], isDark));
  }

  /** Shows those that have all words, in order. */
  update() {
    const words = this.filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    const fits = (take) => {
      const text = `${take.name} ${take.id} ${take.rig ? take.rig.name : ''}`.toLowerCase();
      return words.every((word) => text.includes(word)) && (!this.only.checked || findings(take).length);
    };
    this.shown = this.takes.filter(fits).sort(TAKE_ORDERS[this.order.value]);
    if (this.turn.getAttribute('aria-pressed') === 'true') this.shown.reverse();
    this.list.replaceChildren(...this.shown.map((take) => this.items[take.number]));
    const all = this.takes.length;
    const count = this.shown.length === all ? `${all}` : `${this.shown.length} of ${all}`;
    document.getElementById('take-count').textContent = `${count} ${all === 1 ? 'take' : 'takes'}`;
    document.getElementById('no-takes').hidden = this.shown.length > 0;
  }

  choose(take) {
    if (this.chosen) this.items[this.chosen.number].removeAttribute('aria-selected');
    this.chosen = take;
    const item = this.items[take.number];
    item.setAttribute('aria-selected', 'true');
    this.list.setAttribute('aria-activedescendant', item.id);
    item.scrollIntoView({ block: 'nearest' });
  }

  /** The take that stands so many places further down. */
  beside(steps) {
    const place = this.shown.indexOf(this.chosen) + steps;
    return this.shown[Math.min(this.shown.length - 1, Math.max(0, place))];
  }
}
