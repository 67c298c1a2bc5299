// The part of the address behind # names a take and a frame, so that a link leads there.

/** { id, frame } of the address; nothing in it that is not there. */
export function readLink() {
  const words = new URLSearchParams(location.hash.slice(1));
  const frame = Number(words.get('frame'));
  return { id: words.get('take'), frame: Number.isFinite(frame) ? frame : 0 };
}

export function writeLink(take, frame) {
  const words = new URLSearchParams({ take: take.id, frame: String(Math.round(frame)) });
  // A page that came from a file may not be allowed to; then there is no link.
  try {
    history.replaceState(null, '', `#${words}`);
  } catch {
    // Nothing else hangs on it.
  }
}
