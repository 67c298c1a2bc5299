"""Samples grounds as the scene shows them, whatever drives them, and lays their takes on one timeline."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import bpy
from mathutils import Matrix

from . import grounds, marks
from .grounds import Place
from .poses import rigid, upright


@dataclass
class LaidTake:
    """A take: where its frames are in the scene, and from where on they are in the file."""

    object: str
    take: marks.Take
    action: bpy.types.Action | None
    origin: list[float]
    first: int = 0

    @property
    def shift(self) -> int:
        """File frame minus scene frame."""
        return self.first - self.take.start

    @property
    def frames(self) -> range:
        """Frames in the scene."""
        return range(self.take.start, self.take.end + 1)


@dataclass
class Sampled:
    """A ground: its nodes, their rest, and where they stand at frames of the file; metres times `scale`, no scale."""

    place: Place
    nodes: list[tuple[Place, int]]
    takes: list[LaidTake]
    # What is needed when the scene's objects are gone:
    name: str = ""
    names: list[tuple[str, int]] = field(default_factory=list)
    properties: dict[str, Any] = field(default_factory=dict)
    camera: bpy.types.Camera | None = None
    # What sampling fills in:
    rest: list[Matrix] = field(default_factory=list)
    lengths: list[float] = field(default_factory=list)
    turn: Matrix = field(default_factory=lambda: Matrix.Identity(4))
    poses: dict[int, list[Matrix]] = field(default_factory=dict)
    lenses: dict[int, float] = field(default_factory=dict)


def collect(scene: bpy.types.Scene) -> list[Sampled]:
    """All grounds that have something to be packed, with their takes in order, not sampled yet."""
    found = []
    for place in grounds.grounds(scene):
        laid = []
        for thing in grounds.takes(place, scene):
            take = marks.read_take(thing)
            if take is not None:
                take.bones = [marks.bare(bone) for bone in take.bones]
                origin = marks.matrix_values(thing.get(marks.TAKE_ORIGIN))
                laid.append(LaidTake(thing.name, take, thing.animpack_action, origin, take.start))
        if laid or not place.camera:
            nodes = grounds.tree(place)
            found.append(
                Sampled(
                    place,
                    nodes,
                    laid,
                    name=marks.bare(place.name),
                    names=[(marks.bare(node.name), parent) for node, parent in nodes],
                    properties=_properties(place.item),
                    camera=place.object.data if place.camera else None,
                )
            )
    return found


def _properties(item: marks.Item) -> dict[str, Any]:
    """Custom properties but the add-on's own, and but RootObjectNames, whose trees are below the ground in the file."""
    own = {prop.identifier for prop in item.bl_rna.properties if prop.is_runtime}
    names = [name for name in item.keys() if name not in own and name != marks.ROOT_OBJECTS]
    values = {name: item[name] for name in names}
    return {name: value.to_list() if hasattr(value, "to_list") else value for name, value in values.items()}


def lay(sampled: list[Sampled]) -> None:
    """Takes of the timeline keep their frames; those of actions keep theirs where they are free, else come behind."""
    takes = [take for ground in sampled for take in ground.takes]
    used: set[int] = set()
    for take in takes:
        if take.action is None:
            used.update(take.frames)
    for take in takes:
        if take.action is None:
            continue
        if not used.isdisjoint(take.frames):
            take.first = max(used) + 2
        used.update(range(take.first, take.first + len(take.frames)))


def sample(scene: bpy.types.Scene, sampled: list[Sampled], scale: float) -> None:
    """Fills in rests and poses. Leaves the scene at another frame; the caller owns it."""
    _sample_rest(scene, sampled, scale)
    timeline: dict[int, list[Sampled]] = {}
    for ground in sampled:
        for take in ground.takes:
            if take.action is None:
                for frame in take.frames:
                    timeline.setdefault(frame, []).append(ground)
    for frame in sorted(timeline):
        scene.frame_set(frame)
        for ground in timeline[frame]:
            if frame not in ground.poses:
                _sample_frame(ground, frame, scale)
    for ground in sampled:
        for take in ground.takes:
            if take.action is not None:
                _sample_action(scene, ground, take, scale)


def rest_pose(scene: bpy.types.Scene, nodes: list[tuple[Place, int]], scale: float) -> list[Matrix]:
    """Where nodes stand in the rest of a scene: armatures in rest position, objects as at the rest frame.

    Leaves the scene there; see `Kept`.
    """
    for thing in scene.objects:
        if thing.type == "ARMATURE":
            thing.data.pose_position = "REST"
    scene.frame_set(scene.animpack.rest_frame)
    bpy.context.view_layer.update()
    return _world(nodes, scale)


def lengths(nodes: list[tuple[Place, int]], scale: float) -> list[float]:
    """How long nodes that are bones are drawn; 0 for others."""
    found = []
    for place, _ in nodes:
        bones = place.object.data.bones if place.bone else None
        size = place.object.matrix_world.median_scale
        found.append(max(bones[place.bone].length * size * scale, 1e-4) if bones else 0.0)
    return found


class Kept:
    """Puts back a scene's frame and its armatures' positions when left."""

    def __init__(self, scene: bpy.types.Scene) -> None:
        self._scene = scene

    def __enter__(self) -> None:
        scene = self._scene
        self._frame = scene.frame_current
        self._positions = [
            (thing.data, thing.data.pose_position) for thing in scene.objects if thing.type == "ARMATURE"
        ]

    def __exit__(self, *_error: object) -> None:
        for data, position in self._positions:
            data.pose_position = position
        self._scene.frame_set(self._frame)


def _sample_rest(scene: bpy.types.Scene, sampled: list[Sampled], scale: float) -> None:
    with Kept(scene):
        for ground in sampled:
            ground.rest = rest_pose(scene, ground.nodes, scale)
            ground.lengths = lengths(ground.nodes, scale)
            if not ground.place.camera:
                ground.turn = upright(ground.rest[0])
                ground.rest[0] = ground.rest[0] @ ground.turn


def _sample_action(scene: bpy.types.Scene, ground: Sampled, take: LaidTake, scale: float) -> None:
    play(ground.place.object, take.action)
    for frame in take.frames:
        scene.frame_set(frame)
        _sample_frame(ground, frame + take.shift, scale)


def play(thing: bpy.types.Object, action: bpy.types.Action) -> None:
    """Lets an object play an action and nothing else."""
    animation = thing.animation_data_create()
    animation.use_nla = False
    animation.action = action
    if hasattr(animation, "action_slot") and animation.action_slot is None and animation.action_suitable_slots:
        animation.action_slot = animation.action_suitable_slots[0]


def _sample_frame(ground: Sampled, frame: int, scale: float) -> None:
    world = _world(ground.nodes, scale)
    world[0] = world[0] @ ground.turn
    ground.poses[frame] = world
    if ground.place.camera:
        seen = ground.place.object.evaluated_get(bpy.context.evaluated_depsgraph_get())
        ground.lenses[frame] = seen.data.lens


def _world(nodes: list[tuple[Place, int]], scale: float) -> list[Matrix]:
    depsgraph = bpy.context.evaluated_depsgraph_get()
    seen: dict[bpy.types.Object, bpy.types.Object] = {}
    world = []
    for place, _ in nodes:
        thing = seen.get(place.object)
        if thing is None:
            thing = seen[place.object] = place.object.evaluated_get(depsgraph)
        matrix = thing.matrix_world
        if place.bone:
            matrix = matrix @ thing.pose.bones[place.bone].matrix
        world.append(rigid(matrix, scale))
    return world
