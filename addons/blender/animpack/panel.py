"""The panel in the sidebar of the 3D view: the mark of what is active, takes, faults, export and pack."""

from __future__ import annotations

import textwrap

import bpy

from . import checks, grounds, marks, properties, state
from .checks import Fault
from .grounds import Place
from .pipeline import TakeResult

SHOWN = 6  # faults of a list
ICONS = {checks.ERROR: "ERROR", checks.WARNING: "QUESTION", "INFO": "INFO"}


class _Panel(bpy.types.Panel):
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"
    bl_category = "Animpack"


def _wrapped(layout: bpy.types.UILayout, context: bpy.types.Context, text: str, icon: str = "NONE") -> None:
    """A text over as many lines as the panel's width asks for."""
    scale = context.preferences.system.ui_scale
    width = max(20, int((context.region.width / scale - 60) / 6.3))
    column = layout.column(align=True)
    column.scale_y = 0.75
    for number, line in enumerate(textwrap.wrap(text, width) or [""]):
        column.label(text=line, icon=icon if number == 0 or icon == "NONE" else "BLANK1")


class ANIMPACK_PT_mark(_Panel):
    """What the active object or bone is to the pipeline"""

    bl_label = "Mark"

    def draw(self, context: bpy.types.Context) -> None:
        """The mark of what is active, or what it could be marked as."""
        layout = self.layout
        place = grounds.active_place(context)
        if place is None:
            layout.label(text="Select what is to be animated", icon="INFO")
            return
        row = layout.row()
        row.label(text=place.name, icon="BONE_DATA" if place.bone else "OBJECT_DATA")
        row.label(text=_kind(place))
        if grounds.is_take(place.object):
            return
        item = place.item
        if marks.is_ground(item):
            self._draw_ground(layout, context, place)
        elif place.camera:
            _wrapped(layout, context, "Cameras need no mark: add takes to them below", "INFO")
        else:
            ground = grounds.ground_of(place)
            if ground is not None:
                layout.operator(
                    "animpack.select", text=f"Its ground: {ground.name}", icon="FORWARD"
                ).object = ground.object.name
            column = layout.column(align=True)
            what = "bone" if place.bone else "object"
            column.label(text=f"Mark this {what} as")
            _mark(column, "ROOT", "Ground of a character", "ARMATURE_DATA")
            _mark(column, "ATTACH", "Attach root of a prop", "LINKED")
            if not place.bone and marks.flag(item, marks.ORIGIN_NODE):
                _mark(column, "NONE", "No origin any more", "X")
            elif not place.bone:
                _mark(column, "ORIGIN", "Origin of takes", "EMPTY_AXIS")

    def _draw_ground(self, layout: bpy.types.UILayout, context: bpy.types.Context, place: Place) -> None:
        item = place.item
        column = layout.column()
        column.prop(item, "animpack_ground_name", text="Name")
        column.prop(item, "animpack_is_rig")
        if marks.flag(item, marks.RIG):
            if marks.text(item, marks.RIG_RESOURCE):
                _wrapped(column, context, marks.text(item, marks.RIG_RESOURCE))
        else:
            column.prop(item, "animpack_rig_resource", text="Rig")
        column.prop(item, "animpack_deform_only")
        bones = len(grounds.tree(place)) - 1
        layout.label(text=f"{bones} bones below it", icon="BONE_DATA")
        if marks.flag(item, marks.GROUND_ROOT):
            names = marks.text(item, marks.ROOT_OBJECTS)
            if names:
                _wrapped(layout, context, f"Root objects: {names}", "OUTLINER")
            layout.operator("animpack.root_objects", text="Root objects", icon="OUTLINER")
        _mark(layout, "NONE", "Take the mark away", "X")


def _mark(layout: bpy.types.UILayout, kind: str, text: str, icon: str) -> None:
    layout.operator("animpack.mark", text=text, icon=icon).kind = kind


def _kind(place: Place) -> str:
    if not place.bone and grounds.is_take(place.object):
        return "Take"
    if place.camera:
        return "Camera ground"
    if marks.flag(place.item, marks.GROUND_ROOT):
        return "Ground"
    if marks.flag(place.item, marks.ATTACH_ROOT):
        return "Attach root"
    if marks.flag(place.item, marks.ORIGIN_NODE):
        return "Origin"
    return "Not marked"


class ANIMPACK_UL_takes(bpy.types.UIList):
    """All takes of the scene"""

    def draw_item(  # noqa: PLR0913  Blender's signature
        self, _context, layout, _data, item, _icon, _active_data, _active_property, _index=0, _flag=0
    ) -> None:
        """Name, ground, frames, and what came of packing it."""
        take = marks.read_take(item)
        if take is None:
            layout.label(text=item.name, icon="ERROR")
            return
        result = _result(take.name)
        icon = "ACTION" if item.animpack_action else "TIME"
        figure = f"{take.start}-{take.end}"
        if result is not None:
            icon = "ERROR" if result.failed else "CHECKMARK"
            figure = "failed" if result.millimetres is None else f"{result.millimetres:.3f} mm"
        row = layout.split(factor=0.48, align=True)
        row.alert = result is not None and result.failed
        row.prop(item, "animpack_take_name", text="", emboss=False, icon=icon)
        row.label(text=figure)

    def filter_items(self, _context, data, name):
        """Only take nodes of all objects."""
        things = getattr(data, name)
        wanted = self.filter_name.lower()
        scene = set(bpy.context.scene.objects)
        flags = [
            self.bitflag_filter_item
            if grounds.is_take(thing) and thing in scene and wanted in thing.animpack_take_name.lower()
            else 0
            for thing in things
        ]
        return flags, []


def _result(name: str) -> TakeResult | None:
    return state.last.takes.get(name.lower()) if state.last else None


class ANIMPACK_PT_takes(_Panel):
    """Ranges of frames that are packed"""

    bl_label = "Takes"

    def draw(self, context: bpy.types.Context) -> None:
        """The list and the chosen take."""
        layout = self.layout
        settings = context.scene.animpack
        row = layout.row()
        row.template_list("ANIMPACK_UL_takes", "", bpy.data, "objects", settings, "take_index", rows=4)
        side = row.column(align=True)
        side.operator("animpack.add_take", text="", icon="ADD")
        side.operator("animpack.remove_take", text="", icon="REMOVE")
        side.separator()
        side.operator("animpack.show_take", text="", icon="PLAY")
        column = layout.column(align=True)
        column.operator("animpack.takes_from_markers", text="Takes from markers", icon="MARKER_HLT")
        column.operator("animpack.takes_from_actions", text="Takes from actions", icon="ACTION")

        thing = settings.take
        take = marks.read_take(thing) if thing else None
        if take is not None:
            self._draw_take(layout.box(), context, thing, take)

    def _draw_take(
        self, box: bpy.types.UILayout, context: bpy.types.Context, thing: bpy.types.Object, take: marks.Take
    ) -> None:
        place = grounds.parent_place(thing)
        about = f"{take.name} of {place.name}" if place else f"{take.name}, of no ground"
        box.label(text=about, icon="ACTION" if thing.animpack_action else "TIME")
        row = box.row(align=True)
        row.prop(thing, "animpack_start")
        row.prop(thing, "animpack_end")
        box.prop(thing, "animpack_action", text="")
        box.prop(thing, "animpack_origin", text="Origin")
        column = box.column(align=True)
        bones = f"{len(take.bones)} bones only" if take.bones else "All bones"
        column.operator("animpack.partial_list", text="Only selected bones", icon="BONE_DATA").all = False
        if take.bones:
            column.operator("animpack.partial_list", text=f"All bones, not {len(take.bones)}", icon="X").all = True
        result = _result(take.name)
        if result is not None:
            figure = (
                "not packed" if result.millimetres is None else f"{result.millimetres:.4f} mm off at {result.worst}"
            )
            size = f"; {result.bytes / 1000:.1f} kB" if result.bytes else ""
            _wrapped(box, context, f"{bones}: {figure}{size}", "ERROR" if result.failed else "CHECKMARK")
        column = box.column(align=True)
        column.operator("animpack.load_packed", icon="GHOST_ENABLED")
        column.prop(context.scene.animpack, "beside")


class ANIMPACK_PT_faults(_Panel):
    """What the pipeline would not take"""

    bl_label = "Faults"

    def draw(self, context: bpy.types.Context) -> None:
        """Those of the marks as they are, then what animpack said last."""
        layout = self.layout
        found = state.faults(context.scene)
        if not found:
            layout.label(text="None in the marks", icon="CHECKMARK")
        _draw_faults(layout, context, found)
        if state.last is not None and state.last.faults:
            layout.label(text="What animpack said last:")
            _draw_faults(layout, context, state.last.faults)
        if state.last is not None and state.last.found:
            _wrapped(layout, context, "Found: " + ", ".join(state.last.found), "CHECKMARK")
        layout.operator("animpack.check", text="Check with animpack", icon="VIEWZOOM")


def _draw_faults(layout: bpy.types.UILayout, context: bpy.types.Context, found: list[Fault]) -> None:
    """The first of them: when they are mended, the others come."""
    for fault in found[:SHOWN]:
        _draw_fault(layout, context, fault)
    if len(found) > SHOWN:
        layout.label(text=f"and {len(found) - SHOWN} more")


def _draw_fault(layout: bpy.types.UILayout, context: bpy.types.Context, fault: Fault) -> None:
    box = layout.box()
    box.alert = fault.level == checks.ERROR
    if fault.object:
        row = box.row()
        row.label(text=fault.about, icon=ICONS[fault.level])
        go = row.operator("animpack.select", text="", icon="RESTRICT_SELECT_OFF")
        go.object, go.bone = fault.object, fault.bone
        _wrapped(box, context, fault.text)
    else:
        about = fault.about + ": " if fault.about else ""
        _wrapped(box, context, about + fault.text, ICONS[fault.level])


class ANIMPACK_PT_pack(_Panel):
    """From the scene to packed takes"""

    bl_label = "Export and pack"

    def draw(self, context: bpy.types.Context) -> None:
        """Where to, and the buttons."""
        layout = self.layout
        settings = context.scene.animpack
        column = layout.column(align=True)
        column.label(text="Asset folder")
        column.prop(settings, "assets", text="")
        if not settings.assets and properties.assets_folder(context.scene):
            _wrapped(column, context, properties.assets_folder(context.scene))
        column.label(text="File in it")
        column.prop(settings, "file", text="")
        if state.running:
            layout.label(text=f"{state.running} ... Escape stops it", icon="SORTTIME")
        column = layout.column(align=True)
        column.scale_y = 1.3
        column.operator("animpack.pack", icon="PACKAGE")
        column.operator("animpack.export", text="Export only", icon="EXPORT")
        if state.last is not None and state.last.said:
            _wrapped(layout, context, state.last.said, "CHECKMARK")


class ANIMPACK_PT_options(_Panel):
    """What is seldom changed"""

    bl_label = "Options"
    bl_parent_id = "ANIMPACK_PT_pack"
    bl_options = {"DEFAULT_CLOSED"}

    def draw(self, context: bpy.types.Context) -> None:
        """Of the scene; those of the machine are in the preferences."""
        column = self.layout.column()
        for name in ("platform", "max_mm", "rest_frame"):
            column.prop(context.scene.animpack, name)


CLASSES = (
    ANIMPACK_UL_takes,
    ANIMPACK_PT_mark,
    ANIMPACK_PT_faults,
    ANIMPACK_PT_takes,
    ANIMPACK_PT_pack,
    ANIMPACK_PT_options,
)
