"""Grounds, their trees and their takes, as they stand in a Blender scene."""

from __future__ import annotations

from dataclasses import dataclass

import bpy

from . import marks
from .checks import Ground, Marked, Node, TakeMark


@dataclass(frozen=True)
class Place:
    """A node of a scene: an object, or a bone of an armature object."""

    object: bpy.types.Object
    bone: str = ""

    @property
    def name(self) -> str:
        """The node's name in an FBX file."""
        return self.bone or self.object.name

    @property
    def item(self) -> marks.Item:
        """What carries its custom properties; those of bones stand on their pose bones."""
        return self.object.pose.bones[self.bone] if self.bone else self.object

    @property
    def camera(self) -> bool:
        """Cameras are grounds without a mark."""
        return not self.bone and self.object.type == "CAMERA"


def is_take(thing: bpy.types.Object) -> bool:
    """Whether an object is a take node, whatever its value: the pipeline never takes one for a bone."""
    return marks.TAKE_NODE in thing.keys()


def is_skin(thing: bpy.types.Object) -> bool:
    """Whether an object follows bones instead of being one."""
    return thing.parent_type == "ARMATURE" or any(modifier.type == "ARMATURE" for modifier in thing.modifiers)


def grounds(scene: bpy.types.Scene) -> list[Place]:
    """All grounds of a scene, in the order of its objects."""
    found = []
    for thing in scene.objects:
        if thing.type == "CAMERA" or marks.is_ground(thing):
            found.append(Place(thing))
        if thing.type == "ARMATURE":
            found += [Place(thing, bone.name) for bone in thing.pose.bones if marks.is_ground(bone)]
    return found


def ground_of(place: Place) -> Place | None:
    """The nearest ground at or above a node."""
    thing, bone = place.object, place.bone
    while thing is not None:
        if bone:
            here: bpy.types.PoseBone | None = thing.pose.bones.get(bone)
            while here is not None:
                if marks.is_ground(here):
                    return Place(thing, here.name)
                here = here.parent
        if thing.type == "CAMERA" or marks.is_ground(thing):
            return Place(thing)
        bone = thing.parent_bone if thing.parent_type == "BONE" else ""
        thing = thing.parent
    return None


def parent_place(thing: bpy.types.Object) -> Place | None:
    """The node that an object hangs below."""
    if thing.parent is None:
        return None
    return Place(thing.parent, thing.parent_bone if thing.parent_type == "BONE" else "")


def takes(place: Place, scene: bpy.types.Scene) -> list[bpy.types.Object]:
    """The take nodes of a ground."""
    return [thing for thing in scene.objects if is_take(thing) and parent_place(thing) == place]


def active_place(context: bpy.types.Context) -> Place | None:
    """What the artist works on: the active bone in pose mode, else the active object."""
    thing = context.active_object
    if thing is None:
        return None
    if context.mode == "POSE" and context.active_pose_bone is not None:
        return Place(context.active_pose_bone.id_data, context.active_pose_bone.name)
    return Place(thing)


def tree(place: Place) -> list[tuple[Place, int]]:
    """A ground with all that hangs below it and its root objects, each with the index of its parent, -1 for itself.

    Take nodes and skins are no bones; neither is what hangs below a camera. Of a ground with `animpack_deform_only`,
    bones that deform nothing are left out and what hangs below them goes to the bone above.
    """
    found: list[tuple[Place, int]] = []
    met: set[Place] = set()
    deform_only = place.item.animpack_deform_only

    def walk(node: Place, parent: int) -> None:
        if node in met:
            return
        met.add(node)
        here = parent
        if not (deform_only and node.bone and found and not node.object.data.bones[node.bone].use_deform):
            found.append((node, parent))
            here = len(found) - 1
        if not node.camera:
            for child in _children(node):
                walk(child, here)

    walk(place, -1)
    beside = {other.name: other for other in beside_of(place)}
    try:
        names = marks.root_objects(place.item)
    except ValueError:
        names = []
    for name in names:
        if name in beside:
            walk(beside[name], 0)
    return found


def beside_of(place: Place) -> list[Place]:
    """The nodes that RootObjectNames can name: all below the ground's parent."""
    if place.bone:
        above = place.item.parent
        start = Place(place.object, above.name) if above else Place(place.object)
    else:
        start = parent_place(place.object)
    if start is None:
        scene = bpy.context.scene
        roots = [Place(thing) for thing in scene.objects if thing.parent is None and not is_take(thing)]
    else:
        roots = _children(start)
    found: list[Place] = []
    waiting = roots[::-1]
    while waiting:
        node = waiting.pop()
        found.append(node)
        waiting += _children(node)[::-1]
    return found


def _children(node: Place) -> list[Place]:
    thing = node.object
    found: list[Place] = []
    if node.bone:
        found += [Place(thing, bone.name) for bone in thing.pose.bones[node.bone].children]
    elif thing.type == "ARMATURE":
        found += [Place(thing, bone.name) for bone in thing.pose.bones if bone.parent is None]
    for child in thing.children:
        if (child.parent_bone if child.parent_type == "BONE" else "") == node.bone:
            if not is_take(child) and not is_skin(child):
                found.append(Place(child))
    return found


def marked(scene: bpy.types.Scene) -> Marked:
    """All marks of a scene, for the checks."""
    settings = scene.animpack
    result = Marked(file=settings.file)
    owned: set[str] = set()
    for place in grounds(scene):
        nodes = tree(place)
        ground = Ground(place.item, place.name, place.object.name, place.bone, place.camera)
        ground.nodes = [Node(node.name, parent) for node, parent in nodes]
        for thing in takes(place, scene):
            gone = thing.animpack_from_action and thing.animpack_action is None
            ground.takes.append(TakeMark(thing, thing.name, thing.animpack_action is not None, gone))
            owned.add(thing.name)
        ground.beside = [node.name for node in beside_of(place)]
        inside = {node.bone for node, _ in nodes if node.object == place.object}
        if place.bone and not place.item.animpack_deform_only:
            ground.outside = [bone.name for bone in place.object.pose.bones if bone.name not in inside]
            above = place.item.parent
            while above is not None:
                ground.outside.remove(above.name)
                above = above.parent
        ground.mirrored = any(node.object.matrix_world.determinant() < 0 for node, _ in nodes)
        result.grounds.append(ground)
    for thing in scene.objects:
        if is_take(thing) and thing.name not in owned:
            result.stray_takes.append(TakeMark(thing, thing.name))
    return result
