"""A packed take as an action again, on a plain armature beside the original."""

from __future__ import annotations

from typing import Any

import bpy
from mathutils import Matrix

from . import armatures, bake, grounds, host, marks
from .armatures import PlainNode, Recorder
from .grounds import Place
from .poses import origin_matrix, packed_transform, rigid, upright

# Blender's cameras look along -Z, those of FBX files along X.
CAMERA_TURN = Matrix.Rotation(1.5707963267948966, 4, "Y")


class ReadBackError(Exception):
    """The packed take does not fit the scene; the text says why."""


def read(scene: bpy.types.Scene, take: bpy.types.Object, told: dict[str, Any]) -> bpy.types.Object:
    """Makes the armature 'Packed: GROUND' play the take, from what `animpack inspect --frames --json` says.

    Blender has to be in object mode. Keys stand where the original has its frames.
    """
    place = grounds.parent_place(take)
    description = marks.read_take(take)
    frames = told.get("frames") or []
    if place is None or description is None or not frames:
        raise ReadBackError("There are no frames to read back")
    nodes = grounds.tree(place)
    with bake.Kept(scene):
        rests = bake.rest_pose(scene, nodes, scene.unit_settings.scale_length)
    turn = CAMERA_TURN if place.camera else upright(rests[0])
    rests[0] = rests[0] @ turn

    origin = _origin(scene, take, rests[0]) @ packed_transform(told["animation"]["sequenceOffset"])
    units = 1.0 / scene.unit_settings.scale_length
    drawn = bake.lengths(nodes, 1.0)
    plain = [
        PlainNode(node.name, parent, rigid(rest, units), length)
        for (node, parent), rest, length in zip(nodes, rests, drawn)
    ]
    thing = _armature(scene, place, plain)
    recorder = Recorder(thing, plain)
    look = CAMERA_TURN.inverted() if place.camera else Matrix.Identity(4)
    for frame in frames:
        bones = {bone["name"].lower(): packed_transform(bone["character"]) for bone in frame["bones"]}
        ground = packed_transform(frame["bones"][0]["character"])
        world = [origin @ ground]
        for node, parent in nodes[1:]:
            known = bones.get(marks.bare(node.name).lower())
            if known is not None:
                world.append(origin @ known)
            else:  # no bone of the rig: it stands by its parent
                world.append(world[parent] @ rests[parent].inverted() @ rests[len(world)])
        world[0] = world[0] @ look
        recorder.add(description.start + frame["frame"], [rigid(matrix, units) for matrix in world])
    name = f"Packed: {description.name}"
    old = bpy.data.actions.get(name)
    if old is not None:
        bpy.data.actions.remove(old)
    action = recorder.write(name)
    action.use_fake_user = True
    return thing


def inspect_words(program: str, out: str, file: str, frames: int) -> list[str]:
    """The command whose answer `read` takes."""
    numbers = ",".join(str(frame) for frame in range(frames))
    return [program, "inspect", file, "--out", out, "--json", "--frames", numbers]


def answer_of(answer: host.Answer) -> dict[str, Any]:
    """The one object of it. Raises ReadBackError with animpack's words."""
    if answer.status or not answer.objects:
        lines = [line for line in answer.words.splitlines() if line.strip()]
        raise ReadBackError(lines[-1] if lines else f"animpack ended with {answer.status}")
    return answer.objects[0]


def _origin(scene: bpy.types.Scene, take: bpy.types.Object, ground_rest: Matrix) -> Matrix:
    """What the take is placed against, in metres: its own origin, else the rest of the scene's last ground root."""
    own = marks.matrix_values(take.get(marks.TAKE_ORIGIN))
    if own:
        return origin_matrix(own)
    return _last_root_rest(scene) or Matrix.Identity(4)


def _last_root_rest(scene: bpy.types.Scene) -> Matrix | None:
    roots = [place for place in grounds.grounds(scene) if marks.flag(place.item, marks.GROUND_ROOT)]
    if not roots:
        return None
    with bake.Kept(scene):
        rest = bake.rest_pose(scene, [(roots[-1], -1)], 1.0)[0]
    turn = CAMERA_TURN if roots[-1].camera else upright(rest)
    return rigid(rest @ turn, scene.unit_settings.scale_length)


def _armature(scene: bpy.types.Scene, place: Place, plain: list[PlainNode]) -> bpy.types.Object:
    name = f"Packed: {place.name}"
    old = bpy.data.objects.get(name)
    if old is not None:
        bpy.data.objects.remove(old)
    if place.camera:
        thing = bpy.data.objects.new(name, place.object.data)
        scene.collection.objects.link(thing)
        thing.rotation_mode = "QUATERNION"
    else:
        thing = armatures.build(name, plain, scene)
    thing.delta_location.x = scene.animpack.beside
    thing.show_name = thing.show_in_front = True
    if thing.type == "EMPTY":
        thing.empty_display_type = "ARROWS"
    return thing
