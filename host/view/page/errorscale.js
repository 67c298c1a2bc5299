// How far off is how bad: colours and words for millimetres.

export const NOTICED = 0.2; // millimetres that nobody sees
export const DOUBTFUL = 1;
export const WRONG = 10;

// From what is as it should be to what is wrong; steps of equal factors between.
const LIGHT = [
  [0x8d, 0x9d, 0xb0],
  [0xd9, 0xa4, 0x1b],
  [0xe3, 0x6a, 0x12],
  [0xd0, 0x1f, 0x2e],
];
const DARK = [
  [0x93, 0xa5, 0xba],
  [0xf0, 0xc2, 0x45],
  [0xff, 0x8a, 0x33],
  [0xff, 0x4a, 0x52],
];

/** 0 where an error is not noticed, 1 where it is wrong. */
export function badness(millimetres) {
  if (!(millimetres > NOTICED)) return 0;
  return Math.min(1, Math.log(millimetres / NOTICED) / Math.log(WRONG / NOTICED));
}

/** The colour of an error, as three numbers of 0 to 255. */
export function errorColour(millimetres, isDark) {
  const stops = isDark ? DARK : LIGHT;
  const place = badness(millimetres) * (stops.length - 1);
  const first = Math.min(Math.floor(place), stops.length - 2);
  return stops[first].map((c, i) => Math.round(c + (place - first) * (stops[first + 1][i] - c)));
}

export const cssColour = (millimetres, isDark) => `rgb(${errorColour(millimetres, isDark).join(',')})`;

/** "0.042", "1.37", "42", "1.2 m" with its unit. */
export function millimetreText(millimetres) {
  if (millimetres >= 99999) return 'no number';
  if (millimetres >= 1000) return `${(millimetres / 1000).toPrecision(2)} m`;
  if (millimetres < 0.0005) return '0 mm';
  return `${millimetres < 1 ? millimetres.toFixed(3) : millimetres.toPrecision(3)} mm`;
}

/** What is to be said of a take, worst first: { level, text, why, frame, bone } with a level of "bad", "warn" or "note". */
export function findings(take) {
  const list = [];
  if (take.error) {
    const text = take.rig ? 'No source to compare with' : "Can't be shown";
    list.push({ level: take.rig ? 'warn' : 'bad', text, why: take.error });
    return list;
  }
  if (take.worst && take.worst.mm > DOUBTFUL) {
    const { mm, bone, frame } = take.worst;
    const level = mm >= WRONG ? 'bad' : 'warn';
    list.push({ level, text: `${millimetreText(mm)} off its source at ${bone}, frame ${frame}`, frame, bone });
  }
  if (take.lost) {
    const names = take.lost.slice(0, 4).join(', ') + (take.lost.length > 4 ? ` and ${take.lost.length - 4} more` : '');
    const moved = millimetreText(take.lostMm);
    list.push({ level: 'bad', text: `Motion did not come through, by up to ${moved}: ${names}`, bone: take.lost[0] });
  }
  if (take.scaled) {
    const more = take.scaled.length > 3 ? ` and ${take.scaled.length - 3} more` : '';
    list.push({ level: 'note', text: `Scale is not packed: ${take.scaled.slice(0, 3).join(', ')}${more}` });
  }
  return list;
}

/** "bad", "warn" or "good". */
export function levelOf(take) {
  const levels = findings(take).map((finding) => finding.level);
  return levels.includes('bad') ? 'bad' : levels.includes('warn') ? 'warn' : 'good';
}
