"""Writes the marked FBX of a scene, in a Blender process of its own that works on a copy of the artist's file.

    blender -b COPY.blend --python exportjob.py -- JOB.json

The job names the file to write, and the folder that the rig of takes of one bone is to be in. What was done is written
beside the job as JSON. The copy is taken apart: only plain armatures, cameras and take nodes are left, baked.
"""

from __future__ import annotations

import importlib
import json
import os
import sys
from pathlib import Path

import bpy
from mathutils import Matrix

HERE = Path(__file__).resolve().parent
if __name__ == "__main__":
    sys.path.insert(0, str(HERE.parent))
    animpack = importlib.import_module(HERE.name)
    if not hasattr(bpy.types.Scene, "animpack"):
        animpack.properties.register()
    __package__ = HERE.name

from . import armatures, bake, fbxmarks, grounds, marks, properties  # noqa: E402  the package is known from here on
from .armatures import PlainNode, Recorder  # noqa: E402
from .poses import write_curve  # noqa: E402

COMMON_RIG = "animations/_common/trajectoryrig.rig.fbx"


def main(job_file: str) -> None:
    """Does the job."""
    job = json.loads(Path(job_file).read_text(encoding="utf-8"))
    scene = bpy.data.scenes[job["scene"]]
    if bpy.context.window is not None:
        bpy.context.window.scene = scene
    if bpy.context.mode != "OBJECT":
        bpy.ops.object.mode_set(mode="OBJECT")  # armatures that are edited would show no pose
    fbxmarks.register()
    if not fbxmarks.available():
        sys.exit("Blender's FBX exporter is not there: switch the add-on 'FBX format' on")
    report = export(scene, job["file"])
    if job.get("common_rig") and any(
        ground["takes"] and ground["bones"] == 1 and not ground["resource"] for ground in report["grounds"]
    ):
        rig = os.path.join(job["common_rig"], COMMON_RIG)
        if not os.path.exists(rig):
            write_common_rig(scene, rig)
            report["common_rig"] = rig
    Path(job["report"]).write_text(json.dumps(report), encoding="utf-8")


def export(scene: bpy.types.Scene, file: str) -> dict:
    """Bakes all grounds of the scene, replaces the scene by them, and writes the file."""
    properties.name_own_rigs(scene)
    for thing in scene.objects:
        properties.place_origin(thing)
        if grounds.is_skin(thing):
            thing.hide_viewport = True  # is not deformed then, unless a bone asks for it
    sampled = bake.collect(scene)
    bake.lay(sampled)
    bake.sample(scene, sampled, 100.0 * scene.unit_settings.scale_length)
    _empty(scene)

    frames = [frame for ground in sampled for frame in ground.poses]
    first, last = (min(frames), max(frames)) if frames else (0, 0)
    rest_frame = first - 1
    for ground in sampled:
        _build(scene, ground, rest_frame)
    scene.unit_settings.system = "METRIC"
    scene.unit_settings.scale_length = 0.01
    scene.frame_start, scene.frame_end = first, last
    scene.frame_set(rest_frame)
    _write(file, bool(frames))
    return {"grounds": [_told(ground) for ground in sampled]}


def _empty(scene: bpy.types.Scene) -> None:
    """Removes all objects, so that their names are free. Cameras stay as they are, but stand still."""
    for data in bpy.data.cameras:
        data.use_fake_user = True
        data.animation_data_clear()
    bpy.data.batch_remove(list(bpy.data.objects))
    bpy.data.batch_remove(list(bpy.data.armatures))


def _build(scene: bpy.types.Scene, ground: bake.Sampled, rest_frame: int) -> None:
    nodes = [PlainNode(*words) for words in zip(*zip(*ground.names), ground.rest, ground.lengths)]
    if ground.camera is not None:
        thing = bpy.data.objects.new(ground.name, ground.camera)
        scene.collection.objects.link(thing)
        thing.rotation_mode = "QUATERNION"
        thing.matrix_world = ground.rest[0]
    else:
        thing = armatures.build(ground.name, nodes, scene)
    thing.name = ground.name
    for name, value in ground.properties.items():
        thing[name] = value

    if ground.poses:
        recorder = Recorder(thing, nodes)
        recorder.add(rest_frame, ground.rest)
        for frame in sorted(ground.poses):
            recorder.add(frame, ground.poses[frame])
        recorder.write(ground.name)
    if ground.lenses:
        frames = sorted(ground.lenses)
        lenses = [ground.lenses[frame] for frame in frames]
        ground.camera.lens = lenses[0]
        if max(lenses) > min(lenses):
            curves = armatures.action_curves(ground.camera, bpy.data.actions.new(ground.name + " lens"))
            write_curve(curves, "lens", 0, "", [float(frame) for frame in frames], lenses)

    for laid in ground.takes:
        node = bpy.data.objects.new(laid.object, None)
        scene.collection.objects.link(node)
        node.parent = thing
        node.matrix_parent_inverse = Matrix.Identity(4)
        node[marks.TAKE_NODE] = True
        take = marks.Take(laid.take.name, laid.first, laid.first + len(laid.frames) - 1, laid.take.bones)
        node[marks.TAKE_DATA] = take.to_text()
        if laid.origin:
            node[marks.TAKE_ORIGIN] = laid.origin


def _write(file: str, animated: bool) -> None:
    os.makedirs(os.path.dirname(file) or ".", exist_ok=True)
    bpy.ops.export_scene.fbx(
        filepath=file,
        object_types={"EMPTY", "CAMERA", "ARMATURE"},
        use_custom_props=True,
        add_leaf_bones=False,
        primary_bone_axis="Y",
        secondary_bone_axis="X",
        axis_forward="Y",
        axis_up="Z",
        global_scale=1.0,
        apply_unit_scale=True,
        apply_scale_options="FBX_SCALE_NONE",
        bake_space_transform=False,
        bake_anim=animated,
        bake_anim_use_all_bones=True,
        bake_anim_use_nla_strips=False,
        bake_anim_use_all_actions=False,
        bake_anim_force_startend_keying=True,
        bake_anim_step=1.0,
        bake_anim_simplify_factor=0.0,
    )


def write_common_rig(scene: bpy.types.Scene, file: str) -> None:
    """The rig that takes of one bone are packed against when no other is named."""
    bpy.data.batch_remove(list(bpy.data.objects))
    thing = bpy.data.objects.new("trajectory", None)
    scene.collection.objects.link(thing)
    thing[marks.GROUND_ROOT] = True
    thing[marks.RIG] = True
    _write(file, False)


def _told(ground: bake.Sampled) -> dict:
    """What the artist's Blender has to know of a ground to have it packed."""
    return {
        "name": ground.name,
        "shown": marks.text(ground.properties, marks.GROUND_NAME) or ground.name,
        "attached": ground.camera is None and not marks.flag(ground.properties, marks.GROUND_ROOT),
        "rig": ground.camera is None and marks.flag(ground.properties, marks.RIG),
        "resource": marks.text(ground.properties, marks.RIG_RESOURCE),
        "bones": len(ground.names),
        "takes": [
            {"object": laid.object, "name": laid.take.name, "first": laid.first, "frames": len(laid.frames)}
            for laid in ground.takes
        ],
    }


if __name__ == "__main__":
    main(sys.argv[sys.argv.index("--") + 1])
