"""What the pipeline would say about marks, said while the artist sets them. Knows nothing of Blender.

These are the cheap checks; the last word is animpack's. Where both find a fault they use the same words.
"""

from __future__ import annotations

import difflib
from dataclasses import dataclass, field

from . import marks
from .marks import Item

ERROR, WARNING = "ERROR", "WARNING"


@dataclass
class Fault:
    """One fault: what it is about, and where in Blender to look."""

    level: str
    about: str
    text: str
    object: str = ""
    bone: str = ""


@dataclass
class Node:
    """A node of a ground's tree as the file will have it."""

    name: str
    parent: int


@dataclass
class TakeMark:
    """A take node: its properties, and the object that they stand on."""

    item: Item
    object: str
    has_action: bool = False
    action_gone: bool = False


@dataclass
class Ground:
    """A ground with its tree, itself first, and its takes."""

    item: Item
    name: str
    object: str
    bone: str = ""
    camera: bool = False
    nodes: list[Node] = field(default_factory=list)
    takes: list[TakeMark] = field(default_factory=list)
    beside: list[str] = field(default_factory=list)  # names that RootObjectNames can name
    outside: list[str] = field(default_factory=list)  # bones of its armature that its tree leaves out
    mirrored: bool = False

    @property
    def display_name(self) -> str:
        """The name that its rig goes by."""
        return marks.text(self.item, marks.GROUND_NAME) or marks.bare(self.name)


@dataclass
class Marked:
    """All that is marked in a scene."""

    grounds: list[Ground] = field(default_factory=list)
    stray_takes: list[TakeMark] = field(default_factory=list)  # take nodes that are no child of a ground
    file: str = ""  # where it goes, below the asset folder


def faults(scene: Marked) -> list[Fault]:
    """All faults, errors first."""
    found: list[Fault] = []
    if not any(not ground.camera or ground.takes for ground in scene.grounds):
        found.append(Fault(WARNING, "", "Nothing is marked: no ground, so no rig and no take"))
    seen: dict[str, str] = {}
    for ground in scene.grounds:
        found += _ground_faults(ground, scene.file)
        for take in ground.takes:
            found += _take_faults(ground, take, seen)
    for take in scene.stray_takes:
        found.append(Fault(WARNING, take.object, "This take is no child of a ground: nobody reads it", take.object))
    return sorted(found, key=lambda fault: fault.level != ERROR)


def type_faults(item: Item, about: str, object_name: str, bone: str = "") -> list[Fault]:
    """Marks whose values are of a type that the pipeline refuses."""
    found = []
    for name in item.keys():
        wanted = marks.TYPES.get(name)
        if wanted is None:
            continue
        value = item[name]
        real = marks.type_of(value)
        if wanted == "Bool" and isinstance(value, int) and value in (0, 1):
            continue
        if real != wanted:
            words = f"FbxProperty '{name}', in '{about}', was expected to be of type '{wanted}', but is '{real}'"
            found.append(Fault(ERROR, about, words, object_name, bone))
    return found


def nearest(name: str, names: list[str]) -> str:
    """'; did you mean X?' when a name is nearly one that is there."""
    lower = {other.lower(): other for other in names}
    near = difflib.get_close_matches(name.lower(), list(lower), 1, 0.75)
    return f"; did you mean '{lower[near[0]]}'?" if near else ""


def _ground_faults(ground: Ground, file: str) -> list[Fault]:
    found = type_faults(ground.item, ground.name, ground.object, ground.bone)

    def tell(level: str, words: str) -> None:
        found.append(Fault(level, ground.name, words, ground.object, ground.bone))

    if ground.camera:
        return found
    root = marks.flag(ground.item, marks.GROUND_ROOT)
    rig = marks.flag(ground.item, marks.RIG)
    bad = marks.bad_name(ground.display_name)
    if rig and bad:
        tell(ERROR, f"The rig's name '{ground.display_name}' holds '{bad}', which no identifier can hold")
    if root and not rig and not marks.text(ground.item, marks.RIG_RESOURCE):
        tell(ERROR, f"'{ground.name}' was expected to have FbxProperty 'RigResource', but it does not exist")
    if rig and not file:
        tell(WARNING, "Choose the file below: the identifier of the rig comes of its place in the asset folder")
    try:
        for name in marks.root_objects(ground.item):
            if name not in ground.beside:
                words = f"Ground '{ground.name}' expect to have hierarchy '{name}', but it does not exist"
                tell(ERROR, words + nearest(name, ground.beside))
    except ValueError as error:
        tell(ERROR, f"JSON error: RootObjectNames of '{ground.name}' {error}")

    names = [marks.bare(node.name) for node in ground.nodes]
    lower: dict[str, str] = {}
    for node in ground.nodes:
        other = lower.setdefault(marks.bare(node.name).lower(), node.name)
        if other is not node.name:
            tell(ERROR, f"Two bones are called '{other}' and '{node.name}': their uids are one")
    if "Bip01" in names and names.index("Bip01") > 0:
        tell(WARNING, "The motion of 'Bip01' is taken into its children; call it otherwise to keep it")
    if ground.outside:
        few = ", ".join(f"'{name}'" for name in ground.outside[:3])
        more = f" and {len(ground.outside) - 3} more" if len(ground.outside) > 3 else ""
        tell(WARNING, f"Bones beside this ground are not packed: {few}{more}; name them as root objects")
    if ground.mirrored:
        tell(WARNING, "A negative scale mirrors it: the packed bones are turned, not mirrored")
    if not root and len(names) > 1 and ground.takes and not rig and not marks.text(ground.item, marks.RIG_RESOURCE):
        tell(
            ERROR,
            "No Rig is referenced in the animation. It is valid only with a trajectory animation (1 bone only), "
            f"but animation has {len(names)} animated bones.",
        )
    return found


def _take_faults(ground: Ground, mark: TakeMark, seen: dict[str, str]) -> list[Fault]:
    found = type_faults(mark.item, mark.object, mark.object)

    def tell(level: str, words: str, about: str = mark.object) -> None:
        found.append(Fault(level, about, words, mark.object))

    data = mark.item.get(marks.TAKE_DATA)
    if data is None:
        tell(ERROR, f"'{mark.object}' was expected to have FbxProperty 'TakeData', but it does not exist")
        return found
    try:
        take = marks.Take.from_text(marks.text(mark.item, marks.TAKE_DATA))
    except ValueError as error:
        tell(ERROR, f"JSON error: TakeData of '{mark.object}': {error}")
        return found

    bad = marks.bad_name(take.name)
    if not take.name or bad:
        tell(ERROR, f"A take's name can't hold '{bad}'" if bad else "The take has no name", take.name)
    first = seen.setdefault(take.name.lower(), f"{ground.display_name}\n{mark.object}")
    if first != f"{ground.display_name}\n{mark.object}":
        words = f"The take '{take.name}' of ground '{ground.display_name}' is lost: another one of this name, of ground"
        tell(ERROR, words + f" '{first.splitlines()[0]}', stands before it", take.name)
    if take.end < take.start:
        words = f"take '{take.name}' ends at frame {take.end}, before its first frame {take.start}"
        tell(ERROR, words, take.name)
    names = [marks.bare(node.name) for node in ground.nodes]
    bones = [marks.bare(bone) for bone in take.bones]
    for bone in bones:
        if bone not in names:
            tell(WARNING, f"partialList: there is no node '{bone}'{nearest(bone, names)}", take.name)
    if bones and not set(bones) & set(names):
        tell(ERROR, "No bone of the partial list is there: nothing would be packed", take.name)
    if mark.action_gone:
        tell(ERROR, "The action of this take is gone", take.name)
    return found
