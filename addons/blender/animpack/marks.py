"""The marks that the pipeline looks for, as custom properties: their names, types and texts. Knows nothing of Blender.

An item here is anything that custom properties stand on: a mapping with ``get``, ``[]`` and ``del``.
"""

from __future__ import annotations

import json
import re
from dataclasses import dataclass, field
from typing import Any, MutableMapping

GROUND_ROOT = "IsGroundRoot"
ATTACH_ROOT = "IsAttachRoot"
RIG = "IsRig"
GROUND_NAME = "GroundName"
RIG_RESOURCE = "RigResource"
ROOT_OBJECTS = "RootObjectNames"
TAKE_NODE = "IsTakeNode"
TAKE_DATA = "TakeData"
TAKE_ORIGIN = "TakeSequenceOrigin"
ORIGIN_NODE = "IsSequenceOrigin"

# The type of each, in the pipeline's words.
TYPES = {
    GROUND_ROOT: "Bool",
    ATTACH_ROOT: "Bool",
    RIG: "Bool",
    GROUND_NAME: "String",
    RIG_RESOURCE: "String",
    ROOT_OBJECTS: "String",
    TAKE_NODE: "Bool",
    TAKE_DATA: "String",
    TAKE_ORIGIN: "Matrix",
    ORIGIN_NODE: "Bool",
}

Item = MutableMapping[str, Any]

# What a take's name can't hold: the pipeline makes an identifier of it.
_BAD_IN_NAMES = re.compile(r'[/\\?<>()|:*"]')


def flag(item: Item, name: str) -> bool:
    """Whether a mark of type Bool is there and true. Blender up to 3.4 keeps booleans as integers."""
    value = item.get(name)
    return isinstance(value, int) and bool(value)


def text(item: Item, name: str) -> str:
    """A mark's text, empty when it is not there or no text."""
    value = item.get(name)
    return value if isinstance(value, str) else ""


def put(item: Item, name: str, value: Any) -> None:
    """Sets a mark; a false or empty one is taken away."""
    if value:
        item[name] = value
    elif name in item.keys():
        del item[name]


def clear(item: Item) -> None:
    """Takes all marks away."""
    for name in TYPES:
        put(item, name, None)


def is_ground(item: Item) -> bool:
    """Whether it is marked as a ground; cameras are grounds without a mark."""
    return flag(item, GROUND_ROOT) or flag(item, ATTACH_ROOT)


def type_of(value: Any) -> str:
    """The type, in the pipeline's words, that a plain export makes of a custom property's value."""
    if isinstance(value, bool):
        return "Bool"
    if isinstance(value, int):
        return "Integer"
    if isinstance(value, float):
        return "Double"
    if isinstance(value, str):
        return "String"
    return "Matrix" if len(matrix_values(value)) == 16 else "String"


def matrix_values(value: Any) -> list[float]:
    """The sixteen numbers of a matrix property: row vectors, translation last. Empty when it is none."""
    try:
        values = [float(number) for number in value]
    except (TypeError, ValueError):
        return []
    return values if len(values) == 16 else []


@dataclass
class Take:
    """What the mark TakeData says. Frames are those of the timeline, both included."""

    name: str
    start: int
    end: int
    bones: list[str] = field(default_factory=list)

    def to_text(self) -> str:
        """As the property holds it."""
        return json.dumps(
            {"name": self.name, "startFrame": self.start, "endFrame": self.end, "partialList": self.bones},
            ensure_ascii=False,
        )

    @staticmethod
    def from_text(data: str) -> Take:
        """Raises ValueError with what is wrong; a text edited by hand may be anything."""
        value = json.loads(data)
        if not isinstance(value, dict):
            raise ValueError("is no object")
        for key, kind in (("name", str), ("startFrame", int), ("endFrame", int), ("partialList", list)):
            if key not in value:
                raise ValueError(f"has no key '{key}'")
            if not isinstance(value[key], kind) or isinstance(value[key], bool):
                raise ValueError(f"the key '{key}' is not what it should be")
        if not all(isinstance(bone, str) for bone in value["partialList"]):
            raise ValueError("the key 'partialList' is not what it should be")
        return Take(value["name"], value["startFrame"], value["endFrame"], value["partialList"])


def read_take(item: Item) -> Take | None:
    """The take of a take node, None when its description can't be read."""
    try:
        return Take.from_text(text(item, TAKE_DATA))
    except ValueError:
        return None


def root_objects(item: Item) -> list[str]:
    """The names of RootObjectNames. Raises ValueError when it is no array of texts."""
    names = text(item, ROOT_OBJECTS)
    if not names:
        return []
    value = json.loads(names)
    if not isinstance(value, list) or not all(isinstance(name, str) for name in value):
        raise ValueError("is no array of texts")
    return value


def put_root_objects(item: Item, names: list[str]) -> None:
    """Sets RootObjectNames; none takes it away."""
    put(item, ROOT_OBJECTS, json.dumps(names, ensure_ascii=False) if names else None)


def bad_name(name: str) -> str:
    """The first character of a name that an identifier can't hold, or ''."""
    found = _BAD_IN_NAMES.search(name)
    return found.group() if found else ""


def clean_name(name: str) -> str:
    """A name that an identifier can hold: 'Walk' of 'Armature|Walk|BaseLayer', as importers call actions."""
    parts = [part.strip() for part in name.split("|") if part.strip()]
    while len(parts) > 1 and parts[-1].lower().replace(" ", "") in ("base", "baselayer", "layer0"):
        parts.pop()
    return _BAD_IN_NAMES.sub("_", parts[-1] if parts else "") or "take"


def bare(name: str) -> str:
    """A node's name without its namespace."""
    return name.rpartition(":")[2] or name


def free_name(name: str, taken: list[str]) -> str:
    """The name, or name_2 and so on: case does not tell takes of one file apart."""
    lower = {other.lower() for other in taken}
    number, free = 1, name
    while free.lower() in lower:
        number += 1
        free = f"{name}_{number}"
    return free


def rig_identifier(file: str, ground: str) -> str:
    """The identifier of the rig that a file's ground is: file is relative to the asset folder."""
    return f"assembly:/{file}?/{ground}.rig" if file else ""


def take_identifier(file: str, take: str) -> str:
    """The identifier of a file's take."""
    return f"assembly:/{file}?/{take}.take"
