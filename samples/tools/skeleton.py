"""The rest pose of the sample biped: names, parents, joint positions and bone directions.

Centimetres, Z up, facing -Y, left is +X, about 174 cm high, arms lowered by 35 degrees. X runs along each bone.
"""

import math
from collections import namedtuple

from rotation import add, conj, look, mul, scale, sub, turn, unit

# position and rotation are absolute; offset and local are relative to the parent
Bone = namedtuple("Bone", "name parent position rotation offset local")

ARM = (math.cos(math.radians(35)), 0.0, -math.sin(math.radians(35)))
FOREARM = unit((math.cos(math.radians(38)), -0.10, -math.sin(math.radians(38))))
UP, FRONT, BACK, DOWN = (0.0, 0.0, 1.0), (0.0, -1.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, -1.0)

# name, parent, position, direction, where Z points
TRUNK = [
    ("Bip01", None, (0, 0, 93), FRONT, UP),
    ("Bip01_Pelvis", "Bip01", (0, 0, 93), UP, BACK),
    ("Bip01_Spine", "Bip01_Pelvis", (0, -0.5, 101), (0, -0.04, 1), BACK),
    ("Bip01_Spine1", "Bip01_Spine", (0, -1, 114), (0, 0.1, 1), BACK),
    ("Bip01_Spine2", "Bip01_Spine1", (0, 0.5, 127), (0, 0.08, 1), BACK),
    ("Bip01_Neck", "Bip01_Spine2", (0, 2, 146), (0, -0.15, 1), BACK),
    ("Bip01_Neck1", "Bip01_Neck", (0, 1.3, 151), (0, -0.2, 1), BACK),
    ("Bip01_Head", "Bip01_Neck1", (0, 0.5, 156), UP, BACK),
    ("Bip01_HeadTop", "Bip01_Head", (0, 0.5, 174), UP, BACK),
    ("Scout_Satchel", "Bip01_Pelvis", (-17, 4, 96), DOWN, FRONT),
    ("Scout_SatchelFlap", "Scout_Satchel", (-19, 5, 88), DOWN, FRONT),
]


def arm():
    """The left arm; the right one mirrors it."""
    shoulder = (17.0, 2.0, 141.0)
    elbow = add(shoulder, scale(ARM, 28))
    wrist = add(elbow, scale(FOREARM, 25))
    rows = [
        ("Bip01_{s}_Clavicle", "Bip01_Spine2", (3, 1, 142), (1, 0.07, -0.07), UP),
        ("Bip01_{s}_UpperArm", "Bip01_{s}_Clavicle", shoulder, ARM, BACK),
        ("Bip01_{s}UpArmTwist", "Bip01_{s}_UpperArm", add(shoulder, scale(ARM, 8)), ARM, BACK),
        ("Bip01_{s}UpArmTwist1", "Bip01_{s}UpArmTwist", add(shoulder, scale(ARM, 18)), ARM, BACK),
        ("Bone_{s}_Elbow", "Bip01_{s}_UpperArm", add(elbow, (0, 3, 0)), BACK, UP),
        ("Bip01_{s}_Forearm", "Bip01_{s}_UpperArm", elbow, FOREARM, BACK),
        ("Bip01_{s}_ForeTwist", "Bip01_{s}_Forearm", add(elbow, scale(FOREARM, 7)), FOREARM, BACK),
        ("Bip01_{s}_ForeTwist1", "Bip01_{s}_ForeTwist", add(elbow, scale(FOREARM, 14)), FOREARM, BACK),
        ("Bip01_{s}_ForeTwist2", "Bip01_{s}_ForeTwist1", add(elbow, scale(FOREARM, 20)), FOREARM, BACK),
        ("Bip01_{s}_Hand", "Bip01_{s}_Forearm", wrist, FOREARM, UP),
    ]
    for finger, (along, side, below) in enumerate(
        ((3, -3.5, -1), (8.5, -3, 0), (9, -0.8, 0.2), (8.6, 1.4, 0), (7.8, 3.3, -0.3))
    ):
        at = add(add(wrist, scale(FOREARM, along)), (0, side, below))
        aim = unit(add(FOREARM, (0, -0.6 if finger == 0 else 0.05 * (finger - 2), -0.15)))
        parent = "Bip01_{s}_Hand"
        for joint, length in enumerate((4.0, 2.8, 2.2)):
            name = "Bip01_{s}_Finger%d%s" % (finger, joint or "")
            rows.append((name, parent, at, aim, UP))
            at, parent = add(at, scale(aim, length)), name
    return rows


def leg():
    hip, knee, ankle, ball = (9.5, 0.0, 91.0), (10.5, -1.0, 50.0), (10.8, 1.5, 8.5), (11.2, -12.0, 2.5)
    shin = unit(sub(ankle, knee))
    thigh = unit(sub(knee, hip))
    return [
        ("Bip01_{s}_Thigh", "Bip01_Pelvis", hip, thigh, FRONT),
        ("Bip01_{s}ThighTwist", "Bip01_{s}_Thigh", add(hip, scale(thigh, 12)), thigh, FRONT),
        ("Bip01_{s}ThighTwist1", "Bip01_{s}ThighTwist", add(hip, scale(thigh, 27)), thigh, FRONT),
        ("Bone_{s}_Knee", "Bip01_{s}_Thigh", add(knee, (0, -4, 0)), FRONT, UP),
        ("Bone_{s}_Buttock", "Bip01_{s}_Thigh", add(hip, (0, 8, -2)), BACK, UP),
        ("Bip01_{s}_Calf", "Bip01_{s}_Thigh", knee, shin, FRONT),
        ("Bip01_{s}CalfTwist", "Bip01_{s}_Calf", add(knee, scale(shin, 14)), shin, FRONT),
        ("Bip01_{s}CalfTwist1", "Bip01_{s}CalfTwist", add(knee, scale(shin, 27)), shin, FRONT),
        ("Bip01_{s}_Foot", "Bip01_{s}_Calf", ankle, sub(ball, ankle), UP),
        ("Bip01_{s}_Toe0", "Bip01_{s}_Foot", ball, FRONT, UP),
    ]


def biped(fingers=True, extras=True):
    """The bones, parents first, as a depth-first walk meets them. Without `extras` no twist or helper bones."""
    rows = list(TRUNK)
    for side, sign in (("L", 1.0), ("R", -1.0)):
        for name, parent, position, aim, hint in arm() + leg():

            def mirror(v):
                return (v[0] * sign, v[1], v[2])

            rows.append((name.format(s=side), parent.format(s=side), mirror(position), mirror(aim), hint))
    if not fingers:
        rows = [r for r in rows if "Finger" not in r[0]]
    if not extras:
        rows = [r for r in rows if "Twist" not in r[0] and not r[0].startswith(("Bone_", "Scout_"))]
    bones = {}

    def place(name, parent, position, aim, hint):
        rotation = look(aim, hint)
        if parent is None:
            return Bone(name, parent, position, rotation, position, rotation)
        above = bones[parent]
        return Bone(
            name,
            parent,
            position,
            rotation,
            turn(conj(above.rotation), sub(position, above.position)),
            mul(conj(above.rotation), rotation),
        )

    def walk(parent):
        for row in rows:
            if row[1] == parent:
                bones[row[0]] = place(*row)
                walk(row[0])

    walk(None)
    return list(bones.values())
