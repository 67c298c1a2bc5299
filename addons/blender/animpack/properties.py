"""What the panel edits: faces of the marks, settings of a scene, preferences.

The faces hold nothing of their own: they read and write the custom properties that are the marks. Only what Blender
alone has to know - which action a take plays, which object is its origin - is kept beside them.
"""

import os
from typing import Any, Callable

import bpy
from bpy.props import BoolProperty, EnumProperty, FloatProperty, IntProperty, PointerProperty, StringProperty

from . import grounds, marks

PLATFORMS = ("pc", "durango", "ps4", "xbox360", "ps3")


class AnimpackPreferences(bpy.types.AddonPreferences):
    """Where the pipeline is on this machine."""

    bl_idname = __package__

    program: StringProperty(
        name="animpack",
        subtype="FILE_PATH",
        description="The pipeline's program, or the folder that it is in; empty: the one on PATH",
    )
    assets: StringProperty(
        name="Asset folder",
        subtype="DIR_PATH",
        description="The folder behind assembly:/, for scenes that name none themselves",
    )
    out: StringProperty(
        name="Packed folder",
        subtype="DIR_PATH",
        description="Where packed files go; empty: 'packed' beside the asset folder",
    )
    seconds: IntProperty(
        name="Time limit",
        default=300,
        min=5,
        max=86400,
        subtype="TIME",
        description="Seconds after which the export or animpack is ended",
    )

    def draw(self, _context: bpy.types.Context) -> None:
        """The preferences page."""
        for name in ("program", "assets", "out", "seconds"):
            self.layout.prop(self, name)


def preferences() -> AnimpackPreferences | None:
    """None when only the properties are registered, as in the process that exports."""
    addon = bpy.context.preferences.addons.get(__package__)
    return addon.preferences if addon else None


def assets_folder(scene: bpy.types.Scene) -> str:
    """The folder behind assembly:/, or '' when nobody has chosen one."""
    own = preferences()
    chosen = scene.animpack.assets or (own.assets if own else "")
    return os.path.normpath(bpy.path.abspath(chosen)) if chosen else ""


def out_folder(scene: bpy.types.Scene) -> str:
    """Where packed files go."""
    own = preferences()
    if own and own.out:
        return os.path.normpath(bpy.path.abspath(own.out))
    assets = assets_folder(scene)
    return os.path.join(os.path.dirname(assets), "packed") if assets else ""


def name_own_rigs(scene: bpy.types.Scene) -> None:
    """Takes of a ground that is a rig are packed against that rig, wherever the file goes."""
    for place in grounds.grounds(scene):
        item = place.item
        if marks.flag(item, marks.RIG):
            own = marks.text(item, marks.GROUND_NAME) or marks.bare(place.name)
            marks.put(item, marks.RIG_RESOURCE, marks.rig_identifier(scene.animpack.file, own))


def place_origin(thing: bpy.types.Object) -> None:
    """Writes the mark of a take's origin from the object that is it: centimetres, Z up."""
    origin = thing.animpack_origin
    if origin is None:
        return
    centimetres = 100.0 * bpy.context.scene.unit_settings.scale_length
    where, turn, _ = origin.matrix_world.decompose()
    rows = turn.to_matrix().transposed()
    values = [number for row in rows for number in (*row, 0.0)] + [*(where * centimetres), 1.0]
    thing[marks.TAKE_ORIGIN] = values


def _file_changed(settings: "SceneSettings", context: bpy.types.Context) -> None:
    """A path chosen by the file browser becomes one below the asset folder."""
    path = settings.file.replace("\\", "/")
    assets = assets_folder(settings.id_data)
    whole = bpy.path.abspath(path)
    if assets and os.path.isabs(whole):
        inside = os.path.relpath(whole, assets).replace("\\", "/")
        path = path if inside.startswith("..") else inside
    if path and not path.lower().endswith(".fbx"):
        path += ".fbx"
    if path != settings.file:
        settings["file"] = path
    name_own_rigs(settings.id_data)


def _is_origin(_take: Any, thing: bpy.types.Object) -> bool:
    return marks.flag(thing, marks.ORIGIN_NODE)


class SceneSettings(bpy.types.PropertyGroup):
    """What a scene says of its export."""

    file: StringProperty(
        name="File",
        subtype="FILE_PATH",
        update=_file_changed,
        description="The FBX file in the asset folder, such as characters/hero/hero.fbx",
    )
    assets: StringProperty(
        name="Assets",
        subtype="DIR_PATH",
        description="The folder behind assembly:/; empty: the one of the preferences",
    )
    platform: EnumProperty(name="Platform", items=[(name, name, "") for name in PLATFORMS])
    max_mm: FloatProperty(
        name="Bound", default=1.0, min=0.0, description="Millimetres that a packed bone may be off", precision=2
    )
    rest_frame: IntProperty(
        name="Rest frame",
        description="Objects without a rest pose, such as doors and animated armatures, rest as they stand here",
    )
    beside: FloatProperty(
        name="Beside",
        default=1.0,
        subtype="DISTANCE",
        description="How far from the original a packed take is put; 0 lays it over it",
    )
    take: PointerProperty(type=bpy.types.Object)
    take_index: IntProperty(
        name="Take",
        get=lambda self: bpy.data.objects.find(self.take.name) if self.take else -1,
        set=lambda self, index: _choose_take(self, index),
    )


def _choose_take(settings: "SceneSettings", index: int) -> None:
    things = bpy.data.objects
    settings.take = things[index] if 0 <= index < len(things) else None


def _flag_face(mark: str, changed: Callable[[Any], None] | None = None, **more: Any) -> Any:
    def put(item: Any, value: bool) -> None:
        marks.put(item, mark, value)
        if changed:
            changed(item)

    return BoolProperty(get=lambda item: marks.flag(item, mark), set=put, **more)


def _text_face(mark: str, changed: Callable[[Any], None] | None = None, **more: Any) -> Any:
    def put(item: Any, value: str) -> None:
        marks.put(item, mark, value)
        if changed:
            changed(item)

    return StringProperty(get=lambda item: marks.text(item, mark), set=put, **more)


def _rig_changed(item: Any) -> None:
    if not marks.flag(item, marks.RIG):
        marks.put(item, marks.RIG_RESOURCE, None)
    name_own_rigs(bpy.context.scene)


def _take_get(name: str, default: Any) -> Callable[[Any], Any]:
    def get(item: Any) -> Any:
        take = marks.read_take(item)
        return getattr(take, name) if take else default

    return get


def _take_set(name: str) -> Callable[[Any, Any], None]:
    def put(item: Any, value: Any) -> None:
        take = marks.read_take(item) or marks.Take("take", 0, 0)
        setattr(take, name, value)
        item[marks.TAKE_DATA] = take.to_text()

    return put


# On objects and on pose bones.
_GROUND_FACES = {
    "animpack_is_rig": lambda: _flag_face(
        marks.RIG, _rig_changed, name="Rig in this file", description="The rest pose is the rig of this file's takes"
    ),
    "animpack_ground_name": lambda: _text_face(
        marks.GROUND_NAME,
        lambda _item: name_own_rigs(bpy.context.scene),
        name="Name",
        description="The ground's name, by which its rig goes; empty: that of the object",
    ),
    "animpack_rig_resource": lambda: _text_face(
        marks.RIG_RESOURCE,
        name="Rig",
        description="The rig of another file, such as assembly:/characters/hero/hero.rig.fbx?/hero.rig",
    ),
    "animpack_deform_only": lambda: BoolProperty(
        name="Deform bones only", description="Leave out bones that deform nothing, such as controls"
    ),
}

# On take nodes.
_TAKE_FACES = {
    "animpack_take_name": lambda: StringProperty(
        name="Name", get=_take_get("name", ""), set=_take_set("name"), description="The take's name"
    ),
    "animpack_start": lambda: IntProperty(
        name="First", get=_take_get("start", 0), set=_take_set("start"), description="First frame, included"
    ),
    "animpack_end": lambda: IntProperty(
        name="Last", get=_take_get("end", 0), set=_take_set("end"), description="Last frame, included"
    ),
    "animpack_action": lambda: PointerProperty(
        name="Action",
        type=bpy.types.Action,
        description="The action that the take plays; none: what the timeline plays",
    ),
    "animpack_from_action": lambda: BoolProperty(),
    "animpack_origin": lambda: PointerProperty(
        name="Origin",
        type=bpy.types.Object,
        poll=_is_origin,
        update=lambda item, _context: _origin_changed(item),
        description="Where the take is placed against, instead of the ground's rest; mark an empty as origin first",
    ),
}

_CLASSES = (AnimpackPreferences, SceneSettings)


def _origin_changed(item: Any) -> None:
    if item.animpack_origin is None:
        marks.put(item, marks.TAKE_ORIGIN, None)
    else:
        place_origin(item)


def register() -> None:
    """All properties of the add-on."""
    for one in _CLASSES:
        bpy.utils.register_class(one)
    bpy.types.Scene.animpack = PointerProperty(type=SceneSettings)
    for name, make in _GROUND_FACES.items():
        setattr(bpy.types.Object, name, make())
        setattr(bpy.types.PoseBone, name, make())
    for name, make in _TAKE_FACES.items():
        setattr(bpy.types.Object, name, make())


def unregister() -> None:
    """Takes them away; the marks stay."""
    for name in _TAKE_FACES:
        delattr(bpy.types.Object, name)
    for name in _GROUND_FACES:
        delattr(bpy.types.PoseBone, name)
        delattr(bpy.types.Object, name)
    del bpy.types.Scene.animpack
    for one in reversed(_CLASSES):
        bpy.utils.unregister_class(one)
