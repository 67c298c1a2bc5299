"""Operators that set marks. All of them can be undone."""

import bpy

from . import grounds, marks, properties
from .grounds import Place


def _new_take(
    context: bpy.types.Context, place: Place, take: marks.Take, action: bpy.types.Action | None = None
) -> None:
    scene = context.scene
    names = [one.name for one in map(marks.read_take, filter(grounds.is_take, scene.objects)) if one]
    take.name = marks.free_name(marks.clean_name(take.name), names)
    thing = bpy.data.objects.new("TAKE_" + take.name, None)
    thing.empty_display_size = 0.02
    home = place.object.users_collection
    (home[0] if home else scene.collection).objects.link(thing)
    thing.parent = place.object
    if place.bone:
        thing.parent_type, thing.parent_bone = "BONE", place.bone
    thing.hide_render = True
    context.view_layer.update()
    if thing.name in context.view_layer.objects:
        thing.hide_set(True)
    thing[marks.TAKE_NODE] = True
    thing[marks.TAKE_DATA] = take.to_text()
    thing.animpack_action = action
    thing.animpack_from_action = action is not None
    scene.animpack.take = thing


class _Marking(bpy.types.Operator):
    bl_options = {"REGISTER", "UNDO"}

    @classmethod
    def poll(cls, context: bpy.types.Context) -> bool:
        """There is something to mark."""
        return grounds.active_place(context) is not None


class _TakeMaking(_Marking):
    @classmethod
    def poll(cls, context: bpy.types.Context) -> bool:
        """There is a ground to hang the take below."""
        return _ground(context) is not None


def _ground(context: bpy.types.Context) -> Place | None:
    """The ground that is worked on; with one in the scene, that one."""
    place = grounds.active_place(context)
    found = grounds.ground_of(place) if place else None
    if found is None:
        all_grounds = [one for one in grounds.grounds(context.scene) if not one.camera]
        found = all_grounds[0] if len(all_grounds) == 1 else None
    return found


class ANIMPACK_OT_mark(_Marking):
    """Mark the active object, or in pose mode the active bone"""

    bl_idname = "animpack.mark"
    bl_label = "Mark"

    kind: bpy.props.EnumProperty(
        name="Kind",
        items=[
            ("ROOT", "Ground", "What a character stands on: all below it are its bones"),
            ("ATTACH", "Attach root", "The ground of something that attaches to a character, such as a prop"),
            ("ORIGIN", "Origin", "A place that takes can be placed against"),
            ("NONE", "None", "Take all marks away"),
        ],
    )

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Sets the mark."""
        place = grounds.active_place(context)
        item = place.item
        if self.kind == "ORIGIN":
            if place.bone:
                self.report({"ERROR"}, "An origin is an object, not a bone")
                return {"CANCELLED"}
            marks.put(item, marks.ORIGIN_NODE, True)
            return {"FINISHED"}
        if self.kind == "NONE":
            marks.clear(item)
            return {"FINISHED"}
        new = not marks.is_ground(item)
        marks.put(item, marks.GROUND_ROOT, self.kind == "ROOT")
        marks.put(item, marks.ATTACH_ROOT, self.kind == "ATTACH")
        if new and not marks.text(item, marks.RIG_RESOURCE):
            marks.put(item, marks.RIG, self.kind == "ROOT" or len(grounds.tree(place)) > 1)
        properties.name_own_rigs(context.scene)
        return {"FINISHED"}


class ANIMPACK_OT_root_objects(_Marking):
    """Let the selected trees belong to the active ground: its root objects"""

    bl_idname = "animpack.root_objects"
    bl_label = "Selected as root objects"

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Names all that is selected beside the ground; nothing selected takes the mark away."""
        place = grounds.active_place(context)
        if not marks.flag(place.item, marks.GROUND_ROOT):
            self.report({"ERROR"}, f"'{place.name}' is no ground: select the trees first and the ground last")
            return {"CANCELLED"}
        if place.bone:
            names = [bone.name for bone in context.selected_pose_bones if bone.name != place.bone]
        else:
            names = [thing.name for thing in context.selected_objects if thing != place.object]
        marks.put_root_objects(place.item, names)
        return {"FINISHED"}


class ANIMPACK_OT_add_take(_TakeMaking):
    """Add a take of the frames that the timeline plays"""

    bl_idname = "animpack.add_take"
    bl_label = "Take of the timeline"

    name: bpy.props.StringProperty(name="Name", default="take")

    def execute(self, context: bpy.types.Context) -> set[str]:
        """The preview range, if one is set, else the scene's."""
        scene = context.scene
        preview = scene.use_preview_range
        first = scene.frame_preview_start if preview else scene.frame_start
        last = scene.frame_preview_end if preview else scene.frame_end
        _new_take(context, _ground(context), marks.Take(self.name, first, last))
        return {"FINISHED"}


class ANIMPACK_OT_takes_from_markers(_TakeMaking):
    """Add a take for each timeline marker, up to the frame before the next one; one named 'end' only ends a take"""

    bl_idname = "animpack.takes_from_markers"
    bl_label = "Takes of markers"

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Markers that have a take of their name and ground already set its frames anew."""
        scene, place = context.scene, _ground(context)
        markers = sorted(scene.timeline_markers, key=lambda marker: marker.frame)
        if not markers:
            self.report({"ERROR"}, "The timeline has no markers")
            return {"CANCELLED"}
        ends = [marker.frame - 1 for marker in markers[1:]] + [max(scene.frame_end, markers[-1].frame)]
        known = {}
        for thing in grounds.takes(place, scene):
            take = marks.read_take(thing)
            if take and thing.animpack_action is None:
                known[take.name] = (thing, take)
        made = 0
        for marker, end in zip(markers, ends):
            if marker.name.strip().lower() in ("end", "stop"):
                continue
            thing, take = known.get(marks.clean_name(marker.name), (None, None))
            if thing is not None:
                take.start, take.end = marker.frame, end
                thing[marks.TAKE_DATA] = take.to_text()
            else:
                _new_take(context, place, marks.Take(marker.name, marker.frame, end))
            made += 1
        self.report({"INFO"}, f"{made} takes")
        return {"FINISHED"}


class ANIMPACK_OT_takes_from_actions(_TakeMaking):
    """Add a take for each action that moves the ground or its bones"""

    bl_idname = "animpack.takes_from_actions"
    bl_label = "Takes of actions"

    action: bpy.props.StringProperty(name="Action", description="Only this one")

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Actions that have a take of the ground already are left alone."""
        scene, place = context.scene, _ground(context)
        there = {thing.animpack_action for thing in grounds.takes(place, scene)}
        bones = {node.bone for node, _ in grounds.tree(place) if node.bone}
        made = 0
        for action in bpy.data.actions:
            if action in there or (self.action and action.name != self.action):
                continue
            if not self.action and (action.name.startswith("Packed: ") or not _moves(action, bones)):
                continue
            first, last = action.frame_range
            _new_take(context, place, marks.Take(action.name, round(first), round(last)), action)
            made += 1
        if not made:
            self.report({"WARNING"}, "There is no further action that moves this ground")
            return {"CANCELLED"}
        self.report({"INFO"}, f"{made} takes")
        return {"FINISHED"}


def _moves(action: bpy.types.Action, bones: set[str]) -> bool:
    for path in curve_paths(action):
        if path.startswith('pose.bones["'):
            if path[len('pose.bones["') :].partition('"]')[0] in bones:
                return True
        elif not bones and path in ("location", "rotation_euler", "rotation_quaternion", "rotation_axis_angle"):
            return True
    return False


def curve_paths(action: bpy.types.Action) -> set[str]:
    """What an action moves, whatever way this Blender keeps its curves."""
    if hasattr(action, "fcurves"):
        return {curve.data_path for curve in action.fcurves}
    bags = (bag for layer in action.layers for strip in layer.strips for bag in strip.channelbags)
    return {curve.data_path for bag in bags for curve in bag.fcurves}


class _TakeChanging(bpy.types.Operator):
    bl_options = {"REGISTER", "UNDO"}

    @classmethod
    def poll(cls, context: bpy.types.Context) -> bool:
        """A take is chosen."""
        take = context.scene.animpack.take
        return take is not None and grounds.is_take(take)


class ANIMPACK_OT_remove_take(_TakeChanging):
    """Remove the chosen take; its action stays"""

    bl_idname = "animpack.remove_take"
    bl_label = "Remove take"

    def execute(self, context: bpy.types.Context) -> set[str]:
        """The next take is chosen."""
        settings = context.scene.animpack
        bpy.data.objects.remove(settings.take)
        left = [thing for thing in context.scene.objects if grounds.is_take(thing)]
        settings.take = left[0] if left else None
        return {"FINISHED"}


class ANIMPACK_OT_partial_list(_TakeChanging):
    """Pack only the selected bones in the chosen take; with 'all' every bone again"""

    bl_idname = "animpack.partial_list"
    bl_label = "Only selected bones"

    all: bpy.props.BoolProperty(name="All bones")

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Selected bones in pose mode, else selected objects of the ground's tree."""
        thing = context.scene.animpack.take
        take = marks.read_take(thing)
        place = grounds.parent_place(thing)
        if take is None or place is None:
            self.report({"ERROR"}, "This take can't be read, or is no child of a ground")
            return {"CANCELLED"}
        if self.all:
            take.bones = []
        else:
            chosen = {(bone.id_data, bone.name) for bone in context.selected_pose_bones or ()}
            chosen |= {(one, "") for one in context.selected_objects} if not chosen else set()
            take.bones = [node.name for node, _ in grounds.tree(place) if (node.object, node.bone) in chosen]
            if not take.bones:
                self.report({"ERROR"}, f"No bone of '{place.name}' is selected")
                return {"CANCELLED"}
        thing[marks.TAKE_DATA] = take.to_text()
        return {"FINISHED"}


class ANIMPACK_OT_show_take(_TakeChanging):
    """Play the chosen take: its frames become the preview range, its action the one that is played"""

    bl_idname = "animpack.show_take"
    bl_label = "Show take"

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Sets the preview range."""
        scene = context.scene
        thing = scene.animpack.take
        take, place = marks.read_take(thing), grounds.parent_place(thing)
        if take is None or place is None:
            return {"CANCELLED"}
        if thing.animpack_action is not None:
            place.object.animation_data_create().action = thing.animpack_action
        scene.use_preview_range = True
        scene.frame_preview_start, scene.frame_preview_end = take.start, take.end
        scene.frame_set(take.start)
        return {"FINISHED"}


class ANIMPACK_OT_select(bpy.types.Operator):
    """Go to what this is about"""

    bl_idname = "animpack.select"
    bl_label = "Go to it"
    bl_options = {"REGISTER", "UNDO"}

    object: bpy.props.StringProperty()
    bone: bpy.props.StringProperty()

    def execute(self, context: bpy.types.Context) -> set[str]:
        """A take is chosen in the list; anything else is selected and made active."""
        thing = context.scene.objects.get(self.object)
        if thing is None:
            return {"CANCELLED"}
        if grounds.is_take(thing):
            context.scene.animpack.take = thing
            return {"FINISHED"}
        if context.mode != "OBJECT" and context.active_object is not thing:
            bpy.ops.object.mode_set(mode="OBJECT")
        if context.active_object is not thing:
            bpy.ops.object.select_all(action="DESELECT")
            thing.select_set(True)
            context.view_layer.objects.active = thing
        if self.bone:
            bpy.ops.object.mode_set(mode="POSE")
            thing.data.bones.active = thing.data.bones[self.bone]
        return {"FINISHED"}


CLASSES = (
    ANIMPACK_OT_mark,
    ANIMPACK_OT_root_objects,
    ANIMPACK_OT_add_take,
    ANIMPACK_OT_takes_from_markers,
    ANIMPACK_OT_takes_from_actions,
    ANIMPACK_OT_remove_take,
    ANIMPACK_OT_partial_list,
    ANIMPACK_OT_show_take,
    ANIMPACK_OT_select,
)
