"""Marks animations for the pipeline, exports and packs them, and shows what was packed beside what was made."""

bl_info = {
    "name": "Animation pipeline",
    "author": "Animation pipeline team",
    "version": (0, 1, 0),
    "blender": (3, 4, 0),
    "location": "3D View > Sidebar > Animpack",
    "description": "Marks grounds, rigs and takes, exports and packs them with animpack",
    "category": "Import-Export",
}

from . import fbxmarks, markoperators, packoperators, panel, properties, state  # noqa: E402


def register() -> None:
    """Called by Blender when the add-on is switched on."""
    import bpy

    properties.register()
    for one in (*markoperators.CLASSES, *packoperators.CLASSES, *panel.CLASSES):
        bpy.utils.register_class(one)
    fbxmarks.register()
    state.register()


def unregister() -> None:
    """Called by Blender when the add-on is switched off. Marks stay on what they stand on."""
    import bpy

    state.unregister()
    fbxmarks.unregister()
    for one in reversed((*markoperators.CLASSES, *packoperators.CLASSES, *panel.CLASSES)):
        bpy.utils.unregister_class(one)
    properties.unregister()
