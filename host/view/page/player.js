// The clock: which frame of how many, whether it runs, how fast, and whether it begins again at the end.

export const SPEEDS = [0.1, 0.25, 0.5, 1, 1.5, 2, 4];

export class Player {
  /** `onFrame` hears of each frame that is to be seen, `onState` of everything else that changes. */
  constructor(onFrame, onState) {
    this.onFrame = onFrame;
    this.onState = onState;
    this.frames = 1;
    this.rate = 30;
    this.frame = 0;
    this.speed = 1;
    this.loops = true;
    this.plays = false;
  }

  get last() {
    return Math.max(0, this.frames - 1);
  }

  setClip(frames, rate) {
    this.frames = Math.max(1, frames);
    this.rate = rate > 0 ? rate : 30;
    this.frame = 0;
    this.onState();
  }

  play(plays = !this.plays) {
    this.plays = plays && this.last > 0;
    if (this.plays && this.frame >= this.last) this.frame = 0;
    if (this.plays) {
      this.before = performance.now();
      requestAnimationFrame((now) => this.run(now));
    }
    this.onState();
  }

  run(now) {
    if (!this.plays) return;
    const step = (Math.max(0, now - this.before) / 1000) * this.rate * this.speed;
    this.before = now;
    let frame = this.frame + Math.min(step, this.last);
    if (frame >= this.last) {
      if (this.loops) frame -= this.last;
      else {
        frame = this.last;
        this.plays = false;
        this.onState();
      }
    }
    this.frame = frame;
    this.onFrame(frame);
    requestAnimationFrame((next) => this.run(next));
  }

  /** Goes to a frame; the clock stops there unless it is to run on. */
  seek(frame, runsOn = false) {
    this.frame = Math.min(this.last, Math.max(0, frame));
    if (!runsOn) this.plays = false;
    this.onFrame(this.frame);
    this.onState();
  }

  step(frames) {
    this.seek(Math.round(this.frame) + frames);
  }

  setSpeed(speed) {
    this.speed = speed;
    this.onState();
  }

  /** To the next of the speeds, up or down. */
  changeSpeed(by) {
    const place = SPEEDS.indexOf(this.speed) + by;
    this.setSpeed(SPEEDS[Math.min(SPEEDS.length - 1, Math.max(0, place))]);
  }

  setLoop(loops) {
    this.loops = loops;
    this.onState();
  }
}
