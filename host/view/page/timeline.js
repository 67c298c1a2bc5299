// Time, from left to right: frames and seconds, events, the error of each frame, and lanes of curves below.
import { drawLane, lanesOf } from './curves.js';
import { cssColour } from './errorscale.js';

const GUTTER = 172;
const RIGHT = 16;
const RULER = 20;
const EVENTS = 18;
const HEAT = 12;
const LANE = 54;

const STEPS = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 50000, 100000];

export class Timeline {
  constructor(onSeek) {
    this.onSeek = onSeek;
    this.head = document.getElementById('timeline-head');
    this.lanes = document.getElementById('timeline-lanes');
    this.hint = document.getElementById('timeline-hint');
    for (const canvas of [this.head, this.lanes]) {
      canvas.addEventListener('pointerdown', (event) => {
        canvas.setPointerCapture(event.pointerId);
        this.seekTo(event);
      });
      canvas.addEventListener('pointermove', (event) => {
        if (event.buttons & 1) this.seekTo(event);
        this.tell(event);
      });
      canvas.addEventListener('pointerleave', () => (this.hint.hidden = true));
    }
    new ResizeObserver(() => this.draw()).observe(this.head.parentElement);
    this.frame = 0;
    this.bone = -1;
  }

  setClip(clip) {
    this.clip = clip;
    this.bone = -1;
    this.heat = clip && clip.errors ? clip.worstOfFrames() : null;
    this.frame = 0;
    this.update();
  }

  setBone(bone) {
    this.bone = bone;
    this.update();
  }

  setTheme(isDark) {
    this.isDark = isDark;
    this.draw();
  }

  setFrame(frame) {
    this.frame = frame;
    this.draw();
  }

  update() {
    this.rows = this.clip ? lanesOf(this.clip, this.bone) : [];
    this.draw();
  }

  get width() {
    return this.head.parentElement.clientWidth;
  }

  xOf(frame) {
    const last = Math.max(1, this.clip.frames - 1);
    return GUTTER + (frame / last) * (this.width - GUTTER - RIGHT);
  }

  frameAt(event) {
    const box = this.head.getBoundingClientRect();
    const part = (event.clientX - box.left - GUTTER) / (this.width - GUTTER - RIGHT);
    return Math.round(Math.min(1, Math.max(0, part)) * (this.clip.frames - 1));
  }

  seekTo(event) {
    if (this.clip && this.clip.frames > 0) this.onSeek(this.frameAt(event));
  }

  /** What is under the pointer, in words, where that is an event. */
  tell(event) {
    this.hint.hidden = true;
    if (!this.clip || event.target !== this.head) return;
    const near = this.clip.events.filter((one) => {
      const x = this.head.getBoundingClientRect().left + this.xOf(one.start * this.clip.take.rate);
      return Math.abs(event.clientX - x) < 6;
    });
    if (!near.length) return;
    this.hint.hidden = false;
    this.hint.textContent = near.map((one) => `${one.track}: ${one.event} at ${one.start.toFixed(2)} s`).join('\n');
    this.hint.style.left = `${Math.min(event.clientX + 10, window.innerWidth - 320)}px`;
    this.hint.style.bottom = `${window.innerHeight - event.clientY + 12}px`;
  }

  prepare(canvas, height) {
    const ratio = window.devicePixelRatio || 1;
    const width = this.width;
    if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
      canvas.width = Math.round(width * ratio);
      canvas.height = Math.round(height * ratio);
      canvas.style.width = `${width}px`;
      canvas.style.height = `${height}px`;
    }
    const context = canvas.getContext('2d');
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.clearRect(0, 0, width, height);
    context.textAlign = 'left';
    return context;
  }

  draw() {
    if (this.isWaiting) return;
    this.isWaiting = true;
    requestAnimationFrame(() => {
      this.isWaiting = false;
      this.drawNow();
    });
  }

  drawNow() {
    const style = getComputedStyle(document.documentElement);
    const ink = (name) => style.getPropertyValue(name).trim();
    const hasEvents = this.clip && this.clip.events.length > 0;
    const headHeight = RULER + (hasEvents ? EVENTS : 0) + (this.heat ? HEAT + 4 : 0);
    const lanesHeight = this.rows ? this.rows.length * LANE : 0;
    const head = this.prepare(this.head, headHeight);
    const lanes = this.prepare(this.lanes, Math.max(1, lanesHeight));
    if (!this.clip) return;
    this.drawRuler(head, ink, headHeight);
    if (hasEvents) this.drawEvents(head, ink);
    if (this.heat) this.drawHeat(head, ink, headHeight - HEAT - 2);
    this.rows.forEach((lane, n) => {
      const box = { x: GUTTER, y: n * LANE, width: this.width - GUTTER - RIGHT, height: LANE };
      lanes.fillStyle = ink('--line');
      lanes.fillRect(0, box.y, this.width, 1);
      drawLane(lanes, lane, box, (frame) => this.xOf(frame), ink, this.frame);
    });
    for (const [context, height] of [
      [head, headHeight],
      [lanes, lanesHeight],
    ]) {
      context.fillStyle = ink('--accent');
      context.fillRect(this.xOf(this.frame) - 0.75, 0, 1.5, height);
    }
    head.beginPath();
    head.moveTo(this.xOf(this.frame) - 6, 0);
    head.lineTo(this.xOf(this.frame) + 6, 0);
    head.lineTo(this.xOf(this.frame), 8);
    head.fill();
  }

  drawRuler(context, ink, height) {
    const last = this.clip.frames - 1;
    const each = (this.width - GUTTER - RIGHT) / Math.max(1, last);
    const step = STEPS.find((one) => one * each >= 44) ?? last;
    context.font = '10px system-ui, sans-serif';
    for (let frame = 0; frame <= last; frame += step) {
      const x = Math.round(this.xOf(frame));
      context.fillStyle = ink('--line');
      context.fillRect(x, 12, 1, height - 12);
      context.fillStyle = ink('--faint');
      context.fillText(String(frame), x + 4, 16);
    }
    context.fillText('Frame', 12, 15);
  }

  drawEvents(context, ink) {
    const y = RULER + EVENTS / 2;
    context.fillStyle = ink('--faint');
    context.fillText('Events', 12, y + 4);
    let free = 0;
    for (const event of this.clip.events) {
      const x = this.xOf(event.start * this.clip.take.rate);
      const end = this.xOf((event.start + event.duration) * this.clip.take.rate);
      context.fillStyle = ink('--event');
      if (end > x) context.fillRect(x, y + 6, end - x, 2);
      context.beginPath();
      context.moveTo(x - 5, y);
      context.lineTo(x, y - 5);
      context.lineTo(x + 5, y);
      context.lineTo(x, y + 5);
      context.fill();
      if (x < free) continue;
      context.fillStyle = ink('--text');
      const text = event.event.length > 24 ? `${event.event.slice(0, 23)}…` : event.event;
      context.fillText(text, x + 8, y + 4);
      free = x + 20 + context.measureText(text).width;
    }
  }

  drawHeat(context, ink, y) {
    context.fillStyle = ink('--faint');
    context.fillText('Worst error', 12, y + 10);
    const last = Math.max(1, this.clip.frames - 1);
    const each = (this.width - GUTTER - RIGHT) / last;
    this.heat.forEach((error, frame) => {
      context.fillStyle = cssColour(error, this.isDark);
      const x = Math.max(GUTTER, this.xOf(frame) - each / 2);
      const end = Math.min(this.width - RIGHT, this.xOf(frame) + each / 2);
      context.fillRect(x, y, Math.max(0.5, end - x + 0.3), HEAT - 2);
    });
  }
}
