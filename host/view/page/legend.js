// What the colours mean, in millimetres.
import { DOUBTFUL, NOTICED, WRONG, cssColour } from './errorscale.js';
import { element } from './takelist.js';

const ALL = WRONG / NOTICED;

export function fillLegend(clip, isDark, cell) {
  const legend = document.getElementById('legend');
  legend.replaceChildren();
  if (!clip) return;
  const keys = element('div', 'legend-keys');
  if (clip.errors) {
    const stops = Array.from({ length: 13 }, (_, n) => cssColour(NOTICED * ALL ** (n / 12), isDark));
    const bar = element('div', 'legend-bar');
    bar.style.background = `linear-gradient(to right, ${stops.join(',')})`;
    const marks = element('div', 'legend-marks');
    for (const mark of [`≤ ${NOTICED}`, String(DOUBTFUL), `≥ ${WRONG} mm`]) marks.append(element('span', '', mark));
    legend.append(element('div', 'legend-title', 'Distance from the source'), bar, marks);
    keys.append(element('span', 'key packed', 'packed'), element('span', 'key source', 'source'));
  } else keys.append(element('span', 'key plain', 'packed; no source to compare with'));
  keys.append(element('span', 'key way', "ground's way"));
  keys.append(element('span', 'key grid', cell >= 1 ? `${cell} m` : `${Math.round(cell * 1000)} mm`));
  legend.append(keys);
}
