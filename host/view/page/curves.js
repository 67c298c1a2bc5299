// What changes over a take, as lanes: the error, the ground's way, the pose properties.

const TURN = 180 / Math.PI;

const INKS = ['--ink-a', '--ink-b', '--ink-c', '--ink-d'];
const COMPONENTS = ['x', 'y', 'z', 'w'];

/** Values that stay within these bounds are drawn in the middle of their lane. */
function span(series, least) {
  let low = Infinity;
  let high = -Infinity;
  for (const { values } of series)
    for (const value of values) {
      if (value < low) low = value;
      if (value > high) high = value;
    }
  if (!(high - low > least)) return [(low + high) / 2 - least, (low + high) / 2 + least];
  return [low, high];
}

function wayLanes(clip) {
  const way = clip.packed.ground();
  const start = way[0];
  const of = (pick) => way.map(pick);
  const moves = [
    { label: 'front', values: of((p) => p.z - start.z) },
    { label: 'left', values: of((p) => p.x - start.x) },
    { label: 'up', values: of((p) => p.y - start.y) },
  ];
  const turns = [{ label: 'turn', values: of((p) => (p.heading - start.heading) * TURN) }];
  return [
    { title: "Ground's way", unit: 'm', series: moves, range: span(moves, 0.05) },
    { title: "Ground's turn", unit: '°', series: turns, range: span(turns, 2) },
  ];
}

function propertyLane(clip, property) {
  const isVector = Array.isArray(property.keys[0]);
  const count = isVector ? property.keys[0].length : 1;
  const series = Array.from({ length: count }, (_, i) => ({
    label: isVector ? COMPONENTS[i] : '',
    values: property.keys.map((key) => (isVector ? key[i] : key)),
  }));
  const name = property.name ?? `property ${property.nameHash.toString(16).padStart(8, '0')}`;
  const steps = ['bool', 'int', 'unsigned int'].includes(property.type);
  return { title: name, below: property.bone, unit: '', series, range: span(series, 1e-3), steps };
}

function errorLane(clip, bone) {
  const series = [{ label: 'worst bone', values: clip.worstOfFrames() }];
  if (bone >= 0)
    series.push({
      label: clip.rig.bones[bone][0],
      values: Array.from({ length: clip.frames }, (_, frame) => clip.errorOf(bone, frame)),
    });
  const [, high] = span(series, 0.01);
  return { title: 'Error', unit: 'mm', series, range: [0, high], isError: true };
}

/** All lanes of a clip; `bone` is the chosen one, or -1. */
export function lanesOf(clip, bone) {
  const lanes = clip.errors ? [errorLane(clip, bone)] : [];
  lanes.push(...wayLanes(clip));
  for (const property of clip.properties) if (property.keys.length) lanes.push(propertyLane(clip, property));
  return lanes;
}

const short = (value) => String(Number(Math.abs(value) >= 100 ? value.toFixed(0) : value.toPrecision(3)));

/** Draws one lane into the box; `xOf` puts frames, `ink` tells a colour of the style sheet. */
export function drawLane(context, lane, box, xOf, ink, frame) {
  const [low, high] = lane.range;
  const yOf = (value) => box.y + box.height - 6 - ((value - low) / (high - low)) * (box.height - 12);
  context.fillStyle = ink('--text');
  context.font = '600 11px system-ui, sans-serif';
  const title = lane.unit ? `${lane.title} (${lane.unit})` : lane.title;
  context.fillText(title, 12, box.y + 16, box.x - 52);
  context.font = '10px system-ui, sans-serif';
  context.fillStyle = ink('--faint');
  if (lane.below) context.fillText(lane.below, 12, box.y + 29, box.x - 60);
  context.textAlign = 'right';
  context.fillText(short(high), box.x - 8, box.y + 12);
  context.fillText(short(low), box.x - 8, box.y + box.height - 5);
  context.textAlign = 'left';
  if (low < 0 && high > 0) {
    context.fillStyle = ink('--line');
    context.fillRect(box.x, Math.round(yOf(0)), box.width, 1);
  }
  let x = 12;
  let y = box.y + (lane.below ? 42 : 30);
  lane.series.forEach(({ values, label }, n) => {
    const colour = lane.isError && n === 0 ? ink('--bad') : ink(INKS[n % INKS.length]);
    context.beginPath();
    values.forEach((value, at) => {
      if (lane.steps && at) context.lineTo(xOf(at), yOf(values[at - 1]));
      if (at) context.lineTo(xOf(at), yOf(value));
      else context.moveTo(xOf(at), yOf(value));
    });
    context.strokeStyle = colour;
    context.lineWidth = 1.5;
    context.stroke();
    const value = values[Math.min(values.length - 1, Math.round(frame))];
    context.fillStyle = colour;
    context.beginPath();
    context.arc(xOf(Math.min(frame, values.length - 1)), yOf(value), 2.5, 0, 7);
    context.fill();
    const text = `${label ? `${label} ` : ''}${short(value)}`;
    const width = context.measureText(text).width;
    if (x > 12 && x + width > box.x - 44) {
      x = 12;
      y += 12;
    }
    context.fillText(text, x, y, box.x - 56);
    x += width + 8;
  });
}
