"""Packed samples to look at, among them a take that is damaged on purpose."""

import sys

from integration import TOP, animpack

sys.path.insert(0, str(TOP / "samples" / "tools"))
import make_samples  # noqa: E402
import motions  # noqa: E402
from rotation import from_euler, mul  # noqa: E402

EVENTS = """<TakeList><Take name="walk"><EventTrack name="Sound">
  <Event><Attributes><StartTime>0.1</StartTime><Duration>0</Duration>
    <EntityData name="m_sound">step left</EntityData></Attributes></Event>
  <Event><Attributes><StartTime>0.6</StartTime><Duration>0.2</Duration>
    <EntityData name="m_sound">step &lt;/script&gt;&lt;b&gt;right</EntityData></Attributes></Event>
</EventTrack></Take></TakeList>
"""
HURT_BONE = "Bip01_L_UpperArm"
HURT_FRAMES = (24, 40)  # of the take "walk"


def build(tree, out, *words, status=0):
    """Packs a tree for pc; a take that has no rig there may fail."""
    animpack("build", "--assets", tree, "--out", out, "-t:pc", "--json", *words, status=status)


def copy_scout(tree):
    """The scout's rig and takes in a tree of their own, with events of one take."""
    folder = tree / "characters" / "scout"
    folder.mkdir(parents=True)
    source = TOP / "samples" / "assembly" / "characters" / "scout"
    for name in ("scout.rig.fbx", "moves.fbx", "moves_yup.fbx"):
        (folder / name).write_bytes((source / name).read_bytes())
    (folder / "moves.events").write_text(EVENTS, encoding="utf-8")
    return folder


def hurt_scout(folder):
    """Writes the scout's takes anew with an arm that is lifted for a while of one: another scene than was packed."""
    plain = motions.bone_transform
    frames = iter(range(1 << 30))

    def bone_transform(bone, rest, pose):
        t, q = plain(bone, rest, pose)
        if bone.name == HURT_BONE and HURT_FRAMES[0] <= next(frames) - 1 < HURT_FRAMES[1]:
            q = mul(q, from_euler((0, 35, 0)))
        return t, q

    motions.bone_transform = bone_transform
    try:
        make_samples.scout_moves().write(str(folder / "moves.fbx"))
    finally:
        motions.bone_transform = plain
