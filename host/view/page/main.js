// Joins the parts: one take is chosen, one frame is seen, and everything shows it.
import { BoneTable } from './bonetable.js';
import { ClipData } from './clipdata.js';
import { findings, millimetreText } from './errorscale.js';
import { fillLegend } from './legend.js';
import { readLink, writeLink } from './link.js';
import { Player, SPEEDS } from './player.js';
import { Stage } from './stage.js';
import { TakeList, element, rateText, secondsOf, sizeText, sourceOf } from './takelist.js';
import { Timeline } from './timeline.js';

const byId = (id) => document.getElementById(id);
const THEMES = ['auto', 'light', 'dark'];

class Page {
  constructor() {
    this.data = new ClipData();
    document.title = this.data.title;
    byId('title').textContent = this.data.title;
    this.player = new Player(
      (frame) => this.showFrame(frame),
      () => this.showState(),
    );
    this.stage = new Stage(byId('stage'), (bone) => this.chooseBone(bone));
    this.timeline = new Timeline((frame) => this.player.seek(frame));
    this.bones = new BoneTable((bone) => this.chooseBone(bone));
    this.takes = new TakeList(this.data.takes, (take) => this.choose(take));
    this.bone = -1;
    this.prepareButtons();
    this.prepareTheme();
    document.addEventListener('keydown', (event) => this.onKey(event));
    window.addEventListener('hashchange', () => this.followLink());
  }

  async start() {
    if (!this.data.takes.length) return this.showEmpty('No takes here', 'Nothing that was asked for is packed.');
    await this.followLink();
    const isStill = window.matchMedia('(prefers-reduced-motion: reduce)').matches || readLink().id;
    if (!isStill) this.player.play(true);
    return undefined;
  }

  followLink() {
    const { id, frame } = readLink();
    const take = this.data.takes.find((one) => one.id === id) ?? this.takes.shown[0] ?? this.data.takes[0];
    return this.choose(take, take.id === id ? frame : 0);
  }

  /** Shows a take, whose frame is seen first; the clock runs on if it did. */
  async choose(take, frame = 0) {
    this.takes.choose(take);
    this.wanted = take;
    let clip = null;
    let why = take.error ?? 'It has no frames.';
    try {
      clip = await this.data.clipOf(take);
    } catch (error) {
      why = String(error);
    }
    if (this.wanted !== take) return; // another was chosen meanwhile
    this.take = take;
    this.clip = clip;
    this.bone = -1;
    const isDark = document.documentElement.dataset.theme === 'dark';
    this.stage.setClip(clip);
    this.timeline.setClip(clip);
    this.bones.setClip(clip, isDark);
    this.bones.choose(-1);
    fillLegend(clip, isDark, this.stage.cell);
    this.describe(take);
    byId('empty').hidden = Boolean(clip);
    if (!clip) this.showEmpty(`${take.name} can't be shown`, why);
    const plays = this.player.plays;
    this.player.setClip(take.frames || 1, take.rate);
    this.player.seek(frame, plays);
    if (!plays) writeLink(take, frame);
    document.body.dataset.shown = take.id; // for those who wait for it
  }

  describe(take) {
    byId('take-title').textContent = take.name;
    byId('take-from').textContent = sourceOf(take);
    byId('take-from').title = take.id;
    const facts = byId('facts');
    facts.replaceChildren();
    if (take.frames) {
      const list = [
        ['Length', `${secondsOf(take).toFixed(2)} s, ${take.frames} frames`],
        ['Rate', rateText(take.rate)],
        ['Way gone', `${take.way.toFixed(2)} m`],
        ['Size', sizeText(take.bytes)],
        ['Platform', take.platform],
        ['Rig', `${take.rig.name}, ${take.rig.bones.length} ${take.rig.bones.length === 1 ? 'bone' : 'bones'}`],
      ];
      if (take.worst)
        list.push(['Worst error', millimetreText(take.worst.mm)], ['Mean error', millimetreText(take.mean)]);
      for (const [name, value] of list) facts.append(element('dt', '', name), element('dd', '', value));
    }
    const [worst, ...others] = findings(take);
    byId('findings').replaceChildren(...(worst ? [this.makeFinding(worst, others)] : []));
  }

  /** The worst of what is wrong, with the way to it; what else is wrong stands below. */
  makeFinding({ level, text, why, frame, bone }, others) {
    const box = element('div', `finding ${level}`);
    const said = element('span', '', text);
    if (why) said.append(element('div', 'why', why));
    for (const other of others) said.append(element('div', 'why', other.text));
    box.append(said);
    if (bone !== undefined) {
      const go = element('button', '', frame === undefined ? 'Show' : 'Go there');
      go.addEventListener('click', () => {
        if (frame !== undefined) this.player.seek(frame);
        this.chooseBone(this.clip.rig.bones.findIndex(([name]) => name === bone));
      });
      box.append(go);
    }
    return box;
  }

  showEmpty(head, text) {
    byId('empty').hidden = false;
    byId('empty-head').textContent = head;
    byId('empty-text').textContent = text;
  }

  chooseBone(bone) {
    if (!this.clip) return;
    this.bone = bone;
    this.stage.chosen = bone;
    this.bones.choose(bone);
    this.timeline.setBone(bone);
    this.stage.refresh();
    this.showFrame(this.player.frame);
  }

  showFrame(frame) {
    this.stage.setFrame(frame);
    this.timeline.setFrame(frame);
    const at = Math.round(frame);
    byId('frame-now').textContent = String(at);
    byId('time-now').textContent = `${(frame / this.player.rate).toFixed(2)} s`;
    const chosen = byId('bone-now');
    chosen.hidden = this.bone < 0;
    if (this.bone >= 0 && this.clip) {
      const off = this.clip.errors ? `${millimetreText(this.clip.errorOf(this.bone, at))} off` : '';
      chosen.textContent = `${this.clip.rig.bones[this.bone][0]}  ${off}`;
    }
  }

  showState() {
    const { plays, loops, speed, last } = this.player;
    byId('play').setAttribute('aria-pressed', String(plays));
    byId('play').title = plays ? 'Pause (space)' : 'Play (space)';
    byId('loop').setAttribute('aria-pressed', String(loops));
    byId('speed').value = String(speed);
    byId('frame-last').textContent = String(last);
    if (!plays && this.take) writeLink(this.take, this.player.frame);
  }

  prepareButtons() {
    byId('play').addEventListener('click', () => this.player.play());
    byId('first').addEventListener('click', () => this.player.seek(0));
    byId('back').addEventListener('click', () => this.player.step(-1));
    byId('forward').addEventListener('click', () => this.player.step(1));
    byId('last').addEventListener('click', () => this.player.seek(this.player.last));
    byId('loop').addEventListener('click', () => this.player.setLoop(!this.player.loops));
    for (const speed of SPEEDS) byId('speed').append(new Option(`${speed}×`, String(speed)));
    byId('speed').addEventListener('change', (event) => this.player.setSpeed(Number(event.target.value)));
    byId('reset').addEventListener('click', () => this.stage.clip && this.stage.resetView());
    for (const button of document.querySelectorAll('[data-show]'))
      button.addEventListener('click', () => this.toggle(button.dataset.show));
    byId('help-button').addEventListener('click', () => byId('help').showModal());
    byId('link').addEventListener('click', () => this.copyLink());
  }

  async copyLink() {
    if (!this.take) return;
    this.player.play(false);
    writeLink(this.take, this.player.frame);
    try {
      await navigator.clipboard.writeText(location.href);
      byId('link').textContent = 'Copied';
    } catch {
      byId('link').textContent = 'In the address';
    }
    setTimeout(() => (byId('link').textContent = 'Link'), 1500);
  }

  toggle(name) {
    const { show } = this.stage;
    show[name] = !show[name];
    // One of the two is always to be seen.
    if (!show.packed && !show.source) show[name === 'packed' ? 'source' : 'packed'] = true;
    for (const button of document.querySelectorAll('[data-show]'))
      button.setAttribute('aria-pressed', String(show[button.dataset.show]));
    this.stage.refresh();
  }

  prepareTheme() {
    const prefersDark = window.matchMedia('(prefers-color-scheme: dark)');
    let theme = 'auto';
    try {
      theme = localStorage.getItem('animpack-theme') ?? 'auto';
    } catch {
      // A page of a file may have no storage.
    }
    const apply = () => {
      const isDark = theme === 'dark' || (theme === 'auto' && prefersDark.matches);
      document.documentElement.dataset.theme = isDark ? 'dark' : 'light';
      byId('theme').textContent = { auto: 'Auto', light: 'Light', dark: 'Dark' }[theme];
      this.stage.setTheme(isDark);
      this.timeline.setTheme(isDark);
      this.takes.setTheme(isDark);
      if (!this.clip) return;
      fillLegend(this.clip, isDark, this.stage.cell);
      this.bones.setClip(this.clip, isDark);
      this.bones.choose(this.bone);
    };
    prefersDark.addEventListener('change', apply);
    byId('theme').addEventListener('click', () => {
      theme = THEMES[(THEMES.indexOf(theme) + 1) % THEMES.length];
      try {
        localStorage.setItem('animpack-theme', theme);
      } catch {
        // Then it holds for this time.
      }
      apply();
    });
    apply();
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey || byId('help').open) return;
    const isTyping = event.target === byId('filter');
    if (isTyping && event.key !== 'Escape' && event.key !== 'Enter') return;
    const { player } = this;
    const keys = {
      ' ': () => player.play(),
      ArrowLeft: () => player.step(event.shiftKey ? -10 : -1),
      ArrowRight: () => player.step(event.shiftKey ? 10 : 1),
      ArrowUp: () => this.chooseBeside(-1),
      ArrowDown: () => this.chooseBeside(1),
      Home: () => player.seek(0),
      End: () => player.seek(player.last),
      '[': () => player.changeSpeed(-1),
      ']': () => player.changeSpeed(1),
      l: () => player.setLoop(!player.loops),
      p: () => this.toggle('packed'),
      s: () => this.toggle('source'),
      e: () => this.toggle('errors'),
      f: () => this.toggle('follow'),
      w: () => this.toggle('way'),
      r: () => this.stage.clip && this.stage.resetView(),
      x: () => this.goToWorst(),
      '/': () => byId('filter').focus(),
      '?': () => byId('help').showModal(),
      Escape: () => (isTyping ? byId('filter').blur() : this.chooseBone(-1)),
      Enter: () => isTyping && byId('filter').blur(),
    };
    const act = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!act || (event.target.matches('button, select') && [' ', 'Enter'].includes(event.key))) return;
    event.preventDefault();
    act();
  }

  chooseBeside(steps) {
    const take = this.takes.beside(steps);
    if (take) this.choose(take);
  }

  goToWorst() {
    if (!this.clip || !this.take.worst) return;
    this.player.seek(this.take.worst.frame);
    this.chooseBone(this.clip.rig.bones.findIndex(([name]) => name === this.take.worst.bone));
  }
}

function begin() {
  try {
    const page = new Page();
    window.page = page; // for the console, and for tests
    page.start();
  } catch (error) {
    byId('empty').hidden = false;
    byId('empty-head').textContent = "This page can't be shown here";
    byId('empty-text').textContent = error.message;
  }
}

begin();
