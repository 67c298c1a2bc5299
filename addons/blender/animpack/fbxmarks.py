"""Teaches Blender's FBX exporter the types of marks.

The exporter writes custom properties that are booleans as integers and matrices as texts, which the pipeline refuses.
While the add-on is on, marks are written in their own types by every export with custom properties, those from the
File menu included; all other custom properties are left to the exporter.
"""

from __future__ import annotations

from typing import Any

from . import marks

_original = None


class _WithoutMarks:
    """A data block as the exporter looks at it, without its marks."""

    def __init__(self, block: Any) -> None:
        self.bl_rna = block.bl_rna
        self._items = [(name, value) for name, value in block.items() if name not in marks.TYPES]

    def items(self) -> list[tuple[str, Any]]:
        """The custom properties that are no marks."""
        return self._items


def _write_properties(properties: Any, block: Any) -> None:
    from io_scene_fbx import fbx_utils

    _original(properties, _WithoutMarks(block))
    for name, value in block.items():
        wanted = marks.TYPES.get(name)
        matrix = marks.matrix_values(value) if wanted == "Matrix" else []
        if wanted == "Bool" and isinstance(value, int):
            fbx_utils.elem_props_set(properties, "p_bool", name.encode(), bool(value), custom=True)
        elif matrix:
            record = fbx_utils.elem_data_single_string(properties, b"P", name.encode())
            for word in (b"matrix4x4", b"", b"U"):
                record.add_string(word)
            for number in matrix:
                record.add_float64(number)
        elif wanted is not None:
            _original(properties, _Single(block, name, value))


class _Single(_WithoutMarks):
    """A data block with one property."""

    def __init__(self, block: Any, name: str, value: Any) -> None:
        self.bl_rna = block.bl_rna
        self._items = [(name, value)]


def available() -> bool:
    """Whether the exporter is there and writes marks; one that was loaded anew is taught again."""
    register()
    return _original is not None


def register() -> None:
    """Does nothing when Blender comes without its FBX exporter."""
    global _original
    try:
        from io_scene_fbx import export_fbx_bin
    except ImportError:
        return
    found = getattr(export_fbx_bin, "fbx_data_element_custom_properties", None)
    if found is not None and found is not _write_properties:
        _original = found
        export_fbx_bin.fbx_data_element_custom_properties = _write_properties


def unregister() -> None:
    """Leaves the exporter as it was, unless another add-on has changed it since."""
    global _original
    if _original is None:
        return
    from io_scene_fbx import export_fbx_bin

    if export_fbx_bin.fbx_data_element_custom_properties is _write_properties:
        export_fbx_bin.fbx_data_element_custom_properties = _original
        _original = None
