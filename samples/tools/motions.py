"""Procedural motions of the sample biped.

A motion maps u, from 0 to 1 over the take, to a pose: {"ground": (x, y, yaw), "Bip01": (x, y, z) moved from rest,
bone: (rx, ry, rz)}. Turns are degrees about the character's own X (left), Y (back) and Z (up) as they stand at rest,
X first, each seen from the parent's rest. The ground starts at the origin and faces -Y.
"""

import math

from rotation import add, conj, from_euler, mul

SIDES = (("L", 1.0), ("R", -1.0))


def smooth(u):
    u = max(0.0, min(1.0, u))
    return u * u * u * (u * (6.0 * u - 15.0) + 10.0)


def wave(cycles, u, phase=0.0):
    return math.sin(2.0 * math.pi * (cycles * u + phase))


def arms(pose, swing, drop=42.0, bend=12.0, curl=12.0):
    """Arms lowered to the sides; `swing` turns them about X, the right one against the left."""
    for side, sign in SIDES:
        s = swing * sign
        pose["Bip01_%s_Clavicle" % side] = (0.0, sign * 2.0, 0.1 * s)
        pose["Bip01_%s_UpperArm" % side] = (s, sign * drop, 0.0)
        pose["Bip01_%sUpArmTwist" % side] = (0.25 * s, sign * 4.0, 0.0)
        pose["Bip01_%s_Forearm" % side] = (-bend - 0.4 * abs(s), 0.0, sign * -3.0)
        pose["Bip01_%s_ForeTwist" % side] = (5.0 + 0.2 * s, 0.0, 0.0)
        pose["Bone_%s_Elbow" % side] = (-bend / 2, 0.0, 0.0)
        pose["Bip01_%s_Hand" % side] = (0.1 * s, sign * 4.0, 0.0)
        fingers(pose, side, sign, curl + 0.05 * s)


def fingers(pose, side, sign, curl):
    for finger in range(5):
        for joint in range(3):
            name = "Bip01_%s_Finger%d%s" % (side, finger, joint or "")
            bend = curl * (0.4 if finger == 0 else 1.0) * (1.0 + 0.25 * joint) + 1.5 * finger
            pose[name] = (0.0, sign * bend, sign * (finger - 2) * (1.5 if joint == 0 else 0.0))


def legs(pose, cycles, u, stride, lift):
    for (side, _), phase in zip(SIDES, (0.0, 0.5)):
        s = wave(cycles, u, phase)
        knee = lift * max(0.0, wave(cycles, u, phase + 0.28)) + 6.0
        pose["Bip01_%s_Thigh" % side] = (-stride * s - 0.25 * knee, 2.0 * s, 0.0)
        pose["Bip01_%sThighTwist" % side] = (0.0, 0.0, 3.0 * s)
        pose["Bip01_%s_Calf" % side] = (knee, 0.0, 0.0)
        pose["Bone_%s_Knee" % side] = (knee / 2, 0.0, 0.0)
        pose["Bip01_%s_Foot" % side] = (stride * 0.4 * s - 0.3 * knee, 0.0, 0.0)
        pose["Bip01_%s_Toe0" % side] = (12.0 * max(0.0, -s), 0.0, 0.0)


def trunk(pose, cycles, u, roll, lean):
    s = wave(cycles, u)
    pose["Bip01_Pelvis"] = (0.0, roll * s, roll * 0.8 * s)
    pose["Bip01_Spine"] = (-lean / 2, -roll * 0.4 * s, 0.0)
    pose["Bip01_Spine1"] = (-lean / 2, 0.0, -roll * 0.9 * s)
    pose["Bip01_Spine2"] = (0.0, -roll * 0.4 * s, -roll * 0.5 * s)
    pose["Bip01_Neck"] = (lean / 3, 0.0, roll * 0.3 * s)
    pose["Bip01_Head"] = (lean / 2 + 1.5 * wave(2 * cycles, u), 0.0, 0.0)
    pose["Scout_Satchel"] = (6.0 * wave(2 * cycles, u, 0.1), 4.0 * s, 0.0)
    pose["Scout_SatchelFlap"] = (9.0 * wave(2 * cycles, u, 0.2), 0.0, 0.0)


def walk(u):
    pose = {"ground": (1.5 * wave(2, u), -230.0 * u, 0.0), "Bip01": (2.0 * wave(2, u), 0.0, 1.6 * wave(4, u) - 1.5)}
    legs(pose, 2, u, 26.0, 48.0)
    arms(pose, 20.0 * wave(2, u))
    trunk(pose, 2, u, 4.0, 3.0)
    return pose


def run(u):
    pose = {
        "ground": (0.0, -520.0 * u - 12.0 * wave(4, u), 8.0 * wave(1, u)),
        "Bip01": (2.5 * wave(2, u), -3.0, 4.5 * wave(4, u) - 4.0),
    }
    legs(pose, 2, u, 46.0, 95.0)
    arms(pose, 42.0 * wave(2, u), bend=75.0, curl=38.0)
    trunk(pose, 2, u, 8.0, 16.0)
    return pose


def turn_around(u):
    """On the spot by 172 degrees to the left, with a look ahead of the turn."""
    yaw = 172.0 * smooth((u - 0.08) / 0.84)
    pose = {"ground": (4.0 * wave(1, u), 3.0 * wave(2, u), yaw), "Bip01": (0.0, 2.0 * wave(2, u), -2.5)}
    legs(pose, 3, u, 12.0, 35.0)
    arms(pose, 8.0 * wave(1, u))
    trunk(pose, 3, u, 3.0, 2.0)
    ahead = 40.0 * math.sin(math.pi * smooth(u * 1.2))
    pose["Bip01_Neck1"] = (0.0, 0.0, 0.4 * ahead)
    pose["Bip01_Head"] = (0.0, 3.0 * wave(2, u), 0.6 * ahead)
    return pose


def jump(u):
    crouch = 0.0
    for start, end in ((0.0, 0.3), (0.75, 1.0)):
        if start < u < end:
            crouch = math.sin(math.pi * (u - start) / (end - start))
    flight = max(0.0, 1.0 - ((u - 0.525) / 0.225) ** 2)
    pose = {
        "ground": (0.0, -150.0 * smooth((u - 0.28) / 0.5), 0.0),
        "Bip01": (0.0, 6.0 * crouch, 46.0 * flight - 26.0 * crouch),
    }
    arms(pose, 0.0, drop=38.0 - 60.0 * flight, bend=20.0 + 40.0 * flight, curl=10.0 + 25.0 * flight)
    trunk(pose, 1, u, 1.5, 28.0 * crouch + 6.0 * flight)
    for side, sign in SIDES:
        pose["Bip01_%s_UpperArm" % side] = (30.0 * crouch - 70.0 * flight, sign * (40.0 - 25.0 * flight), 0.0)
        pose["Bip01_%s_Thigh" % side] = (-62.0 * crouch - 35.0 * flight, sign * -3.0 * flight, 0.0)
        pose["Bip01_%s_Calf" % side] = (105.0 * crouch + 55.0 * flight, 0.0, 0.0)
        pose["Bip01_%s_Foot" % side] = (-42.0 * crouch + 30.0 * flight, 0.0, 0.0)
        pose["Bip01_%s_Toe0" % side] = (18.0 * flight, 0.0, 0.0)
    return pose


def wave_hand(u):
    """The left arm is raised and waves; the rest hardly moves."""
    up = smooth(u / 0.25) * smooth((1.0 - u) / 0.25)
    pose = {"ground": (0.0, 0.0, 0.0), "Bip01": (1.5 * wave(1, u), 0.0, -0.5)}
    arms(pose, 3.0 * wave(1, u))
    trunk(pose, 1, u, 1.0, 1.0)
    pose["Bip01_L_Clavicle"] = (0.0, -14.0 * up, 4.0 * up)
    pose["Bip01_L_UpperArm"] = (-20.0 * up, 42.0 - 100.0 * up, 12.0 * up)
    pose["Bip01_L_Forearm"] = (-12.0, -70.0 * up + 24.0 * up * wave(4, u), 0.0)
    pose["Bip01_L_Hand"] = (15.0 * up * wave(4, u, 0.1), 8.0 * up * wave(4, u, 0.15), 0.0)
    fingers(pose, "L", 1.0, 14.0 - 12.0 * up)
    return pose


def strafe(u):
    """Sideways to the left along an arc."""
    pose = {
        "ground": (140.0 * u, 25.0 * math.sin(math.pi * u), -35.0 * smooth(u)),
        "Bip01": (0.0, 0.0, 1.2 * wave(4, u) - 3.0),
    }
    legs(pose, 2, u, 9.0, 30.0)
    arms(pose, 6.0 * wave(2, u), drop=34.0, bend=35.0)
    trunk(pose, 2, u, 5.0, 6.0)
    for side, sign in SIDES:
        rx, ry, rz = pose["Bip01_%s_Thigh" % side]
        pose["Bip01_%s_Thigh" % side] = (rx, ry - 14.0 * abs(wave(1, u)) * sign, rz)
    return pose


def bone_transform(bone, rest, pose):
    """Offset and rotation of a bone relative to its parent, by the pose."""
    if bone.name == "Bip01":
        return add(bone.offset, pose.get("Bip01", (0.0, 0.0, 0.0))), bone.local
    turns = pose.get(bone.name)
    if not turns:
        return bone.offset, bone.local
    above = rest[bone.parent].rotation
    return bone.offset, mul(conj(above), mul(from_euler(turns), bone.rotation))


def placed(ground, start):
    """A ground transform moved so that the take begins at `start`, an (x, y, yaw)."""
    x, y, yaw = ground
    a = math.radians(start[2])
    return (start[0] + x * math.cos(a) - y * math.sin(a), start[1] + x * math.sin(a) + y * math.cos(a), yaw + start[2])
