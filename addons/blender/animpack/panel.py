"""The panel in the sidebar of the 3D view: the mark of what is active, takes, faults, export and pack."""

from __future__ import annotations

import textwrap

import bpy

from . import checks, grounds, marks, properties, state
from .checks import Fault
from .grounds import Place
from .pipeline import TakeResult

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
        column.label(text=line, icon=icon if number == 0 else "BLANK1")


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
        column.use_property_split = True
        column.use_property_decorate = False
        column.prop(item, "animpack_ground_name", text="Name")
        column.prop(item, "animpack_is_rig")
        if marks.flag(item, marks.RIG):
            _wrapped(column, context, marks.text(item, marks.RIG_RESOURCE) or "The rig has no file yet")
        else:
            column.prop(item, "animpack_rig_resource", text="Rig")
        column.prop(item, "animpack_deform_only")
        bones = len(grounds.tree(place)) - 1
        layout.label(text=f"{bones} bones below it", icon="BONE_DATA")
        if marks.flag(item, marks.GROUND_ROOT):
            names = marks.text(item, marks.ROOT_OBJECTS)
            if names:
                _wrapped(layout, context, f"Root objects: {names}", "OUTLINER")
            layout.operator("animpack.root_objects", icon="OUTLINER")
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
        row = layout.row(align=True)
        if take is None:
            row.label(text=item.name, icon="ERROR")
            return
        row.prop(item, "animpack_take_name", text="", emboss=False, icon="ACTION" if item.animpack_action else "TIME")
        part = row.row(align=True)
        part.alignment = "RIGHT"
        result = _result(take.name)
        if result is None:
            part.label(text=f"{take.start}-{take.end}")
        else:
            part.alert = result.failed
            figure = "failed" if result.millimetres is None else f"{result.millimetres:.3f} mm"
            part.label(text=figure, icon="ERROR" if result.failed else "CHECKMARK")

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
        layout.template_list("ANIMPACK_UL_takes", "", bpy.data, "objects", settings, "take_index", rows=4)
        column = layout.column(align=True)
        row = column.row(align=True)
        row.operator("animpack.takes_from_markers", text="Of markers", icon="MARKER_HLT")
        row.operator("animpack.takes_from_actions", text="Of actions", icon="ACTION")
        row = column.row(align=True)
        row.operator("animpack.add_take", text="Of the timeline", icon="ADD")
        row.operator("animpack.remove_take", text="Remove", icon="REMOVE")

        thing = settings.take
        take = marks.read_take(thing) if thing else None
        if take is None:
            return
        box = layout.box()
        place = grounds.parent_place(thing)
        row = box.row()
        row.label(text=take.name, icon="ACTION" if thing.animpack_action else "TIME")
        row.label(text=f"of {place.name}" if place else "of no ground")
        part = box.column()
        part.use_property_split = True
        part.use_property_decorate = False
        part.prop(thing, "animpack_start")
        part.prop(thing, "animpack_end")
        part.prop(thing, "animpack_action")
        part.prop(thing, "animpack_origin")
        row = box.row(align=True)
        row.label(text=f"{len(take.bones)} bones" if take.bones else "All bones", icon="BONE_DATA")
        row.operator("animpack.partial_list", text="Selected").all = False
        if take.bones:
            row.operator("animpack.partial_list", text="All").all = True
        result = _result(take.name)
        if result is not None:
            figure = (
                "not packed" if result.millimetres is None else f"{result.millimetres:.4f} mm off at {result.worst}"
            )
            _wrapped(box, context, figure, "ERROR" if result.failed else "CHECKMARK")
            if result.bytes:
                box.label(text=f"{result.bytes / 1000:.1f} kB", icon="FILE")
        row = box.row(align=True)
        row.operator("animpack.show_take", text="Play", icon="PLAY")
        row.operator("animpack.load_packed", text="Load packed", icon="GHOST_ENABLED")
        box.prop(settings, "beside", text="Packed beside by")


class ANIMPACK_PT_faults(_Panel):
    """What the pipeline would not take"""

    bl_label = "Faults"

    def draw(self, context: bpy.types.Context) -> None:
        """Those of the marks as they are, then what animpack said last."""
        layout = self.layout
        found = state.faults(context.scene)
        if not found:
            layout.label(text="None in the marks", icon="CHECKMARK")
        for fault in found:
            _draw_fault(layout, context, fault)
        if state.last is not None and state.last.faults:
            layout.label(text="What animpack said last:")
            for fault in state.last.faults:
                _draw_fault(layout, context, fault)
        if state.last is not None and state.last.found:
            _wrapped(layout, context, "Found: " + ", ".join(state.last.found), "CHECKMARK")
        layout.operator("animpack.check", text="Check with animpack", icon="VIEWZOOM")


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
        column = layout.column()
        column.use_property_split = True
        column.use_property_decorate = False
        column.prop(settings, "assets")
        if not settings.assets and properties.assets_folder(context.scene):
            column.label(text=properties.assets_folder(context.scene))
        column.prop(settings, "file")
        column.prop(settings, "platform")
        column.prop(settings, "max_mm", text="At most mm off")
        column.prop(settings, "rest_frame")
        if state.running:
            layout.label(text=f"{state.running} ... Escape stops it", icon="SORTTIME")
        column = layout.column(align=True)
        column.scale_y = 1.3
        column.operator("animpack.pack", icon="PACKAGE")
        column.operator("animpack.export", text="Export only", icon="EXPORT")
        if state.last is not None and state.last.said:
            _wrapped(layout, context, state.last.said, "CHECKMARK")


CLASSES = (ANIMPACK_UL_takes, ANIMPACK_PT_mark, ANIMPACK_PT_takes, ANIMPACK_PT_faults, ANIMPACK_PT_pack)
