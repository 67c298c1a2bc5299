"""Runs in Blender: installs the add-on, makes a scene, and calls the operators that an artist has as buttons.

blender -b --factory-startup --python inside.py -- CASE ZIP ASSETS RESULT.json [ANIMPACK]
"""

import json
import math
import os
import sys

import bpy
from mathutils import Matrix

CASE, ZIP, ASSETS, RESULT = sys.argv[sys.argv.index("--") + 1 :][:4]
ANIMPACK = sys.argv[-1]


def install() -> None:
    """As a zip, the way artists get it."""
    bpy.ops.preferences.addon_install(filepath=ZIP)
    bpy.ops.preferences.addon_enable(module="animpack")
    settings = bpy.context.scene.animpack
    settings.assets = ASSETS
    settings.beside = 0
    if CASE != "absent":
        bpy.context.preferences.addons["animpack"].preferences.program = ANIMPACK


def bone(data, name, head, tail, parent=None, roll=0.0, connected=False):
    made = data.edit_bones.new(name)
    made.head, made.tail, made.roll = head, tail, roll
    if parent:
        made.parent, made.use_connect = data.edit_bones[parent], connected
    return made


def activate(thing, mode="OBJECT", name=None):
    if bpy.context.mode != "OBJECT":
        bpy.ops.object.mode_set(mode="OBJECT")
    bpy.ops.object.select_all(action="DESELECT")
    thing.select_set(True)
    bpy.context.view_layer.objects.active = thing
    bpy.ops.object.mode_set(mode=mode)
    if name:
        for one in thing.data.bones:
            one.select = one.name == name
        thing.data.bones.active = thing.data.bones[name]


def make_character(scale=1.0):
    """A root that walks and bones that swing, one of them by a constraint; the armature may be scaled."""
    bpy.ops.object.armature_add()
    thing = bpy.context.object
    thing.name = "scarecrow"
    thing.scale = (scale,) * 3
    bpy.ops.object.mode_set(mode="EDIT")
    data = thing.data
    data.edit_bones.remove(data.edit_bones[0])
    size = 1.0 / scale
    for words in (
        ("root", (0.5, 0, 0), (0.5, 0, 0.4)),  # points up, so that it does not stand upright by itself
        ("hips", (0.5, 0, 1), (0.5, 0, 1.2), "root"),
        ("spine", (0.5, 0, 1.2), (0.5, 0.05, 1.6), "hips", 0.3, True),
        ("arm", (0.7, 0, 1.5), (1.1, 0.1, 1.4), "spine", 0.4),
        ("hand", (1.1, 0.1, 1.4), (1.3, 0.1, 1.4), "arm", 0.0, True),
        ("leg", (0.6, 0, 1), (0.6, 0.02, 0.1), "hips", -1.0),
    ):
        head, tail = ([size * number for number in place] for place in words[1:3])
        bone(data, words[0], head, tail, *words[3:])
    bpy.ops.object.mode_set(mode="POSE")
    swing = {"hips": 0.1, "spine": 0.2, "arm": 0.9, "leg": 0.6}
    for number, action in enumerate(("Armature|Walk|Base", "timeline")):
        thing.animation_data_create().action = bpy.data.actions.new(action)
        thing.animation_data.action.use_fake_user = True
        for name in ("root", *swing):
            thing.pose.bones[name].rotation_mode = "XYZ"
        for frame in range(0, 41, 4):
            root = thing.pose.bones["root"]
            root.location = (size * 0.1 * math.sin(frame / 7), 0, -size * 0.05 * frame * (1 - 2 * number))
            root.rotation_euler = (0, 0.015 * frame, 0)
            root.keyframe_insert("location", frame=frame)
            root.keyframe_insert("rotation_euler", frame=frame)
            for name, much in swing.items():
                pose = thing.pose.bones[name]
                pose.rotation_euler = (much * math.sin(frame / 3 + number), much * 0.3 * math.cos(frame / 4), 0.1)
                pose.keyframe_insert("rotation_euler", frame=frame)
    follow = thing.pose.bones["hand"].constraints.new("COPY_ROTATION")
    follow.target, follow.subtarget = thing, "leg"
    bpy.ops.object.mode_set(mode="OBJECT")
    return thing


def make_props():
    """A lever of two objects that the hand could hold, and a camera that moves and zooms."""
    for name, parent in (("lever", None), ("handle", "lever")):
        thing = bpy.data.objects.new(name, None)
        bpy.context.scene.collection.objects.link(thing)
        thing.parent = bpy.data.objects.get(parent) if parent else None
        for frame in (1, 20):
            thing.location = (0.1 * frame, 1.0, 0.02 * frame)
            thing.rotation_euler = (0.05 * frame, 0, 0.03 * frame)
            thing.keyframe_insert("location", frame=frame)
            thing.keyframe_insert("rotation_euler", frame=frame)
    camera = bpy.data.objects.new("shot", bpy.data.cameras.new("shot"))
    bpy.context.scene.collection.objects.link(camera)
    for frame, lens in ((1, 35.0), (30, 70.0)):
        camera.location, camera.rotation_euler = (0.1 * frame, -5, 1), (1.4, 0, 0.01 * frame)
        camera.data.lens = lens
        camera.keyframe_insert("location", frame=frame)
        camera.keyframe_insert("rotation_euler", frame=frame)
        camera.data.keyframe_insert("lens", frame=frame)
    return camera


def mark_all(character, camera):
    scene = bpy.context.scene
    operators = bpy.ops.animpack
    activate(character, "POSE", "root")
    operators.mark(kind="ROOT")
    character.pose.bones["root"].animpack_ground_name = "scarecrow"
    for frame, name in ((1, "stroll"), (25, "turn"), (41, "end")):
        scene.timeline_markers.new(name, frame=frame)
    operators.takes_from_markers()
    operators.takes_from_actions(action="Armature|Walk|Base")
    operators.add_take(name="arms")
    for one in character.data.bones:
        one.select = one.name in ("arm", "hand")
    operators.partial_list()
    scene.animpack.take.animpack_start, scene.animpack.take.animpack_end = 5, 15
    origin = bpy.data.objects.new("start_here", None)
    scene.collection.objects.link(origin)
    origin.location, origin.rotation_euler = (2, 3, 0), (0, 0, 0.5)
    activate(origin)
    operators.mark(kind="ORIGIN")
    bpy.context.view_layer.update()
    bpy.data.objects["TAKE_turn"].animpack_origin = origin
    activate(bpy.data.objects["lever"])
    operators.mark(kind="ATTACH")
    operators.add_take(name="pull")
    scene.animpack.take.animpack_start, scene.animpack.take.animpack_end = 1, 20
    activate(camera)
    operators.add_take(name="pan")
    scene.animpack.take.animpack_start, scene.animpack.take.animpack_end = 1, 30


def take_nodes():
    return [thing for thing in bpy.context.scene.objects if "IsTakeNode" in thing.keys()]


def world(thing):
    """Where an object and its bones stand and turn, as rows of 12 numbers, without scale; metres."""

    def rows(matrix):
        where, turn, _ = matrix.decompose()
        plain = Matrix.Translation(where) @ turn.to_matrix().to_4x4()
        return [list(row) for row in plain[:3]]

    # The object alone has its name behind a '/', so that a bone may have it too.
    found = {"/" + thing.name.replace("Packed: ", ""): rows(thing.matrix_world)}
    for pose in thing.pose.bones if thing.pose else ():
        found[pose.name] = rows(thing.matrix_world @ pose.matrix)
    return found


def watch(thing, take):
    """What Blender itself shows of a take."""
    scene = bpy.context.scene
    if take.animpack_action and not thing.name.startswith("Packed"):
        thing.animation_data.action = take.animpack_action
    seen = []
    for frame in range(take.animpack_start, take.animpack_end + 1):
        scene.frame_set(frame)
        shown = world(thing)
        for child in thing.children:
            if "IsTakeNode" not in child.keys():
                shown.update(world(child))
        seen.append(shown)
    return seen


def told(run):
    return {
        "said": run.said,
        "found": run.found,
        "faults": [[fault.level, fault.about, fault.text] for fault in run.faults],
        "takes": {one.name: [one.bytes, one.millimetres] for one in run.takes.values()},
    }


def case_whole(scale=1.0):
    """Mark, check, pack, read back: all takes as Blender shows them, beside them as they were packed."""
    from animpack import state

    character = make_character(scale)
    camera = make_props()
    mark_all(character, camera)
    scene = bpy.context.scene
    scene.animpack.file = "crows/scarecrow.fbx"
    timeline = character.animation_data.action
    operators = bpy.ops.animpack
    result = {"faults": [fault.text for fault in state.faults(scene)]}
    before = sorted(thing.name for thing in bpy.data.objects)
    result["check"] = [list(operators.check()), told(state.last)]
    result["pack"] = [list(operators.pack()), told(state.last)]
    result["untouched"] = before == sorted(thing.name for thing in bpy.data.objects)
    result["takes"] = {}
    for take in take_nodes():
        owner = take.parent
        character.animation_data.action = timeline
        shown = watch(owner, take)
        scene.animpack.take = take
        done = operators.load_packed()
        name = "Packed: " + (take.parent_bone or owner.name)
        again = watch(bpy.data.objects[name], take) if done == {"FINISHED"} else [state.last.faults[-1].text]
        result["takes"][take.animpack_take_name] = {"shown": shown, "again": again}
    character.animation_data.action = timeline
    bpy.ops.export_scene.fbx(filepath=os.path.join(ASSETS, "plain.fbx"), use_custom_props=True, add_leaf_bones=False)
    return result


def case_scaled():
    """The same with an armature as importers leave it: hundred times as large, and scaled down."""
    return case_whole(0.01)


def case_absent():
    """Without animpack: it is told, and everything else goes on."""
    from animpack import state

    mark_all(make_character(), make_props())
    scene = bpy.context.scene
    scene.animpack.file = "a.fbx"
    operators = bpy.ops.animpack
    result = {"faults": [fault.text for fault in state.faults(scene)], "calls": []}
    for call in (operators.check, operators.pack, operators.load_packed, operators.export):
        result["calls"].append([list(call()), [fault.text for fault in state.last.faults]])
    # A program that fails without a word, and one that is none.
    for program in ("/bin/false", ZIP):
        bpy.context.preferences.addons["animpack"].preferences.program = program
        result["calls"].append([list(operators.pack()), [fault.text for fault in state.last.faults]])
    bpy.ops.ed.undo_push(message="marked")
    operators.remove_take()
    bpy.ops.ed.undo_push(message="removed")
    left = len(take_nodes())
    bpy.ops.ed.undo()
    result["undone"] = len(take_nodes()) - left
    return result


def case_faults():
    """Faults, one after the other: what the panel lists, and what animpack says of the same scene."""
    from animpack import state

    character = make_character()
    scene = bpy.context.scene
    scene.animpack.file = "a.fbx"
    bpy.ops.ed.undo_push(message="start")
    activate(character)
    result = {"nothing": [[fault.text for fault in state.faults(scene)]]}
    bpy.ops.animpack.mark(kind="ROOT")
    bpy.ops.animpack.add_take(name="move")
    take = scene.animpack.take

    def look(name):
        state.touch()
        told_by_panel = [fault.text for fault in state.faults(scene)]
        bpy.ops.animpack.pack()
        result[name] = [told_by_panel, [fault.text for fault in state.last.faults]]

    take.animpack_start, take.animpack_end = 20, 10
    look("backwards")
    take.animpack_end = 30
    character.animpack_is_rig = False
    look("no_rig")
    character.animpack_is_rig = True
    character["RootObjectNames"] = '["leg2"]'
    look("no_root_object")
    del character["RootObjectNames"]
    take["TakeData"] = '{"name": "move", "startFrame": 1, "endFrame": 5, "partialList": ["Hand", "arm"]}'
    look("partial_list")
    take["TakeData"] = '{"name": "move", "startFrame": 1, "endFrame": 5}'
    look("no_partial_list")
    character["GroundName"] = 7
    look("type")
    return result


def case_stock():
    """A character of another tool, imported: lying armature, scaled; the ground is marked and that is all."""
    from animpack import state

    bpy.ops.import_scene.fbx(filepath=os.environ["STOCK"])
    scene = bpy.context.scene
    thing = next(one for one in scene.objects if one.type == "ARMATURE")
    activate(thing)
    bpy.ops.animpack.mark(kind="ROOT")
    bpy.ops.animpack.takes_from_actions()
    scene.animpack.file = "stock.fbx"
    result = {"pack": [list(bpy.ops.animpack.pack()), told(state.last)], "takes": {}}
    for take in take_nodes():
        shown = watch(thing, take)
        scene.animpack.take = take
        bpy.ops.animpack.load_packed()
        again = watch(bpy.data.objects["Packed: " + thing.name], take)
        result["takes"][take.animpack_take_name] = {"shown": shown, "again": again}
    return result


for old in list(bpy.data.objects):
    bpy.data.objects.remove(old)
bpy.context.scene.render.fps = 30
install()
answer = globals()["case_" + CASE]()
with open(RESULT, "w", encoding="utf-8") as file:
    json.dump(answer, file)
bpy.ops.preferences.addon_disable(module="animpack")
