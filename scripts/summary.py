"""Prints a table of the packed animations below a folder, from what `animpack inspect --json` tells of each.

    summary.py ANIMPACK ASSETS OUT
"""

import json
import os
import subprocess
import sys

# Track group types by what they cost: nothing, one value, a value a frame.
CLASSES = (("bind", (0, 1)), ("const", (2, 3)), ("rot64", (4,)), ("rot32", (5,)), ("axis16", (6,)), ("move", (7,)))


def inspect(tool, assets, out, path):
    command = [tool, "inspect", path, "--assets", assets, "--out", out, "--json"]
    result = subprocess.run(command, capture_output=True, text=True, check=True)
    return json.loads(result.stdout.splitlines()[-1])


def main(tool, assets, out):
    rows = []
    for folder, _, files in os.walk(out):
        for name in files:
            path = os.path.join(folder, name)
            with open(path, "rb") as f:
                if f.read(4) not in (b"ARTY", b"YTRA"):
                    continue
            info = inspect(tool, assets, out, path)
            animation = info["animation"]
            bones, frames = animation["boneCount"], animation["frameCount"]
            size = os.path.getsize(path)
            tracks = {
                label: sum(len(g["bones"]) for g in animation["trackGroups"] if g["type"] in types)
                for label, types in CLASSES
            }
            rows.append(
                (
                    info["platform"],
                    animation["name"],
                    bones,
                    frames,
                    size,
                    size / (bones * frames),
                    tracks,
                    2 * bones,
                    os.path.relpath(path, out),
                )
            )
    rows.sort(key=lambda row: (row[0], row[8]))
    print(f"{'platform':8} {'take':12} {'bones':>5} {'frames':>6} {'bytes':>8} {'B/bone/frame':>12}  share of tracks")
    for platform, name, bones, frames, size, density, tracks, total, _ in rows:
        share = " ".join(f"{label} {100 * n / total:.0f}%" for label, n in tracks.items() if n)
        print(f"{platform:8} {name:12} {bones:5} {frames:6} {size:8} {density:12.2f}  {share}")
    print(f"{len(rows)} packed animations, {sum(row[4] for row in rows)} bytes")
    return 0 if rows else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
