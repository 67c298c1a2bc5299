"""Makes plain armatures of transforms: a ground as the armature object, all below it as bones, no scale anywhere."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import bpy
from mathutils import Matrix, Vector

from .poses import Keys, basis_of, write_keys


@dataclass
class PlainNode:
    """A node at rest, in the world: names are unique in a tree, the ground has parent -1 and comes first."""

    name: str
    parent: int
    rest: Matrix
    length: float = 0.0  # as a bone is drawn; 0: like others of the figure


def action_curves(thing: Any, action: bpy.types.Action) -> Any:
    """Gives an object an action and returns the curves to fill, whatever way this Blender keeps them."""
    animation = thing.animation_data_create()
    animation.action = action
    if hasattr(action, "slots") and animation.action_slot is None:
        animation.action_slot = action.slots.new(thing.id_type, thing.name)
    if hasattr(action, "fcurves"):
        return action.fcurves
    layer = action.layers.new("Layer") if not action.layers else action.layers[0]
    strip = layer.strips.new(type="KEYFRAME") if not layer.strips else layer.strips[0]
    return strip.channelbag(animation.action_slot, ensure=True).fcurves


def build(name: str, nodes: list[PlainNode], scene: bpy.types.Scene) -> bpy.types.Object:
    """An armature object at the ground's rest with a bone for each node below it; an empty when there is none.

    Blender has to be in object mode; the scene has to be the one shown.
    """
    if len(nodes) == 1:
        thing = bpy.data.objects.new(name, None)
        scene.collection.objects.link(thing)
        thing.rotation_mode = "QUATERNION"
        thing.matrix_world = nodes[0].rest
        return thing

    data = bpy.data.armatures.new(name)
    thing = bpy.data.objects.new(name, data)
    scene.collection.objects.link(thing)
    thing.rotation_mode = "QUATERNION"
    thing.matrix_world = nodes[0].rest

    view = bpy.context.view_layer
    before = view.objects.active
    view.objects.active = thing
    bpy.ops.object.mode_set(mode="EDIT")
    to_ground = nodes[0].rest.inverted()
    bones = [None] + [data.edit_bones.new(node.name) for node in nodes[1:]]
    usual = _usual_length([node.rest.to_translation() for node in nodes])
    for bone, node in zip(bones[1:], nodes[1:]):
        bone.head, bone.tail = (0.0, 0.0, 0.0), (0.0, node.length or usual, 0.0)
        bone.matrix = to_ground @ node.rest
        bone.parent = bones[node.parent]
    bpy.ops.object.mode_set(mode="OBJECT")
    view.objects.active = before
    for bone in thing.pose.bones:
        bone.rotation_mode = "QUATERNION"
    return thing


class Recorder:
    """Gathers the frames of a plain armature and writes them as an action."""

    def __init__(self, thing: bpy.types.Object, nodes: list[PlainNode]) -> None:
        self._thing = thing
        self._nodes = nodes
        self._keys = [Keys() for _ in nodes]
        # What Blender made of the rests: keys against these put bones exactly where they shall be.
        bones = thing.data.bones if len(nodes) > 1 else {}
        self._rests = [Matrix.Identity(4)] + [bones[node.name].matrix_local.copy() for node in nodes[1:]]

    def add(self, frame: float, world: list[Matrix]) -> None:
        """Where all nodes stand at a frame, in the world, without scale."""
        self._keys[0].add(frame, world[0])
        to_ground = world[0].inverted()
        poses = [Matrix.Identity(4)] + [to_ground @ matrix for matrix in world[1:]]
        for index, node in enumerate(self._nodes[1:], 1):
            above = node.parent
            basis = basis_of(self._rests[index], poses[index], self._rests[above], poses[above])
            self._keys[index].add(frame, basis)

    def write(self, name: str) -> bpy.types.Action:
        """The action, which the armature plays from now on."""
        action = bpy.data.actions.new(name)
        curves = action_curves(self._thing, action)
        write_keys(curves, "", self._thing.name, self._keys[0])
        for node, keys in zip(self._nodes[1:], self._keys[1:]):
            write_keys(curves, f'pose.bones["{bpy.utils.escape_identifier(node.name)}"].', node.name, keys)
        return action


def _usual_length(rests: list[Vector]) -> float:
    """A length for bones of a figure of this size."""
    if len(rests) < 2:
        return 0.1
    low = [min(where[axis] for where in rests) for axis in range(3)]
    high = [max(where[axis] for where in rests) for axis in range(3)]
    return max(0.05 * max(top - bottom for top, bottom in zip(high, low)), 1e-3)
