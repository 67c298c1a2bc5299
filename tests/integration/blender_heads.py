"""Run by Blender: where every bone and empty of a file stands, frame by frame.

    blender -b --python blender_heads.py -- FILE FPS ACTION FIRST LAST OUT.json

ACTION is a part of an action's name; the first that has it plays. OUT gets {name: [[x, y, z] of each frame]} in metres,
Z up, and under "" the first object's place and turn at FIRST.
"""

import json
import sys

import bpy


def load(path, fps):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.context.scene.render.fps = fps
    if path.endswith(".glb"):
        # Asked for flat faces, the importer keeps clear of a name that Debian's numpy has no more.
        bpy.ops.import_scene.gltf(filepath=path, import_shading="FLAT")
    else:
        bpy.ops.import_scene.fbx(filepath=path, anim_offset=0.0)


def play(wanted):
    """Gives every animated object its action of the take: importers name them after take and object."""
    for thing in bpy.data.objects:
        data = thing.animation_data
        if data is None:
            continue
        data.use_nla = False
        actions = [a for a in bpy.data.actions if wanted in a.name]
        own = [a for a in actions if a.name.startswith(thing.name + "|") or a.name.endswith("_" + thing.name)]
        for bone in thing.pose.bones if thing.pose else ():
            bone.matrix_basis.identity()  # what importing left there would stand in for channels without keys
        data.action = (own or actions or [data.action])[0]


def main():
    path, fps, wanted, first, last, out = sys.argv[sys.argv.index("--") + 1 :]
    load(path, int(fps))
    play(wanted)
    heads = {}
    for frame in range(int(first), int(last) + 1):
        bpy.context.scene.frame_set(frame)
        for thing in bpy.data.objects:
            if thing.type == "EMPTY" or thing.type == "ARMATURE":
                heads.setdefault(thing.name, []).append(list(thing.matrix_world.translation))
            if thing.type != "ARMATURE":
                continue
            if frame == int(first) and "" not in heads:
                place, turn, _ = thing.matrix_world.decompose()
                heads[""] = [list(place), list(turn)]
            for bone in thing.pose.bones:
                heads.setdefault(bone.name, []).append(list(thing.matrix_world @ bone.head))
    with open(out, "w", encoding="utf-8") as f:
        json.dump(heads, f)


main()
