#!/usr/bin/env python3
"""Large asset trees, to measure the host with.

    make_large.py database FOLDER [--entries 2000]     characters of three levels over the takes of the scout
    make_large.py sources FOLDER [--files 2000] [--takes 5]   small scenes with a rig and some takes each
"""

import argparse
import os
import shutil
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
sys.path.insert(0, HERE)

from fbxscene import Scene  # noqa: E402  the folder above comes first

SAMPLES = os.path.join(HERE, "..", "assembly")
TAKE = "assembly:/characters/scout/moves.fbx?/%s.take"
TAKES = ("walk", "run", "turn", "jump", "wave", "strafe")


def make_database(folder, entries):
    """As many Animation elements as asked for: half on top, the others set again on two levels below it."""
    scout = os.path.join(folder, "characters", "scout")
    os.makedirs(scout, exist_ok=True)
    for name in ("moves.fbx", "scout.rig.fbx"):
        shutil.copyfile(os.path.join(SAMPLES, "characters", "scout", name), os.path.join(scout, name))
    top, below = entries // 2, entries // 8

    def line(n, shift):
        return '    <Animation name="anim_%04d" take="%s"/>' % (n, TAKE % TAKES[(n + shift) % len(TAKES)])

    text = ["<AnimationDatabase>", '  <Character name="everybody">', *(line(n, 0) for n in range(top))]
    left = entries - top
    for group in range(2):
        text.append('  <Character name="group%d">' % group)
        text += [line((n * 7) % top, 1 + group) for n in range(below)]
        text.append('  <Character name="member%d">' % group)
        own = left - 2 * below - below if group == 0 else below
        text += [line((n * 3) % top, 3 + group) for n in range(own)]
        text += ["  </Character>", "  </Character>"]
    text += ["  </Character>", "</AnimationDatabase>", ""]
    with open(os.path.join(folder, "characters", "everybody.xml"), "w", encoding="utf-8") as f:
        f.write("\n".join(text))


def make_sources(folder, files, takes):
    """Levers of two moving nodes, a hundred files a folder."""
    for n in range(files):
        scene = Scene(span=(0, 49))
        scene.stack()
        name = "lever_%05d" % n
        path = "group_%03d/%s.fbx" % (n // 100, name)
        base = scene.ground(scene.node("base"), name=name, rig=True, resource="assembly:/%s?/%s.rig" % (path, name))
        arm = scene.node("arm", parent=base, translation=(0, 0, 20))
        for take in range(takes):
            scene.take(base, "%s_%d" % (("pull", "push", "rest", "turn", "slam")[take % 5], take), 5 * take, 49)
        scene.animate(arm, "Lcl Rotation", [(0, (-30, 0, 0)), (22, (12 + n % 20, 0, 0)), (49, (30, 0, 0))])
        scene.animate(base, "Lcl Translation", [(0, (0, 0, 0)), (49, (0, -5.0 * (n % 60), 0))])
        os.makedirs(os.path.join(folder, os.path.dirname(path)), exist_ok=True)
        scene.write(os.path.join(folder, path))


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("kind", choices=("database", "sources"))
    arguments.add_argument("folder")
    arguments.add_argument("--entries", type=int, default=2000)
    arguments.add_argument("--files", type=int, default=2000)
    arguments.add_argument("--takes", type=int, default=5)
    options = arguments.parse_args()
    if options.kind == "database":
        make_database(options.folder, options.entries)
    else:
        make_sources(options.folder, options.files, options.takes)


if __name__ == "__main__":
    main()
