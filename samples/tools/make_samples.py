#!/usr/bin/env python3
"""Writes the sample asset tree and the numbers expected of it.

    make_samples.py [FOLDER]        default: the folder above this file

Needs Python 3.11 and nothing else. The same tree comes out each time, byte for byte.
"""

import math
import os
import sys

import documents
import evaluate
import motions
from fbxscene import CONSTANT, CUBIC, LINEAR, Scene, prop
from rotation import add, conj, from_euler, mul, to_euler, turn
from skeleton import biped

SCOUT_RIG = "assembly:/characters/scout/scout.rig.fbx?/scout.rig"


def grid(values):
    """Values on a grid of 1/1024: a last-bit difference between mathematics libraries cannot reach a file."""
    return tuple(round(v * 1024.0) / 1024.0 + 0.0 for v in values)


# Joint spaces: what a node's rotation property is relative to


class Space:
    """`pre` and `post` as angles; a node's rotation is pre * property * conj(post)."""

    def __init__(self, pre=None, post=None, order=None):
        self.pre, self.post, self.order = pre, post, order

    def angles(self, q, near):
        if self.pre:
            q = mul(conj(from_euler(self.pre)), q)
        if self.post:
            q = mul(q, from_euler(self.post))
        return grid(to_euler(q, self.order or "XYZ", near))


PLAIN = Space()


def add_biped(scene, parent, bones, prefix="", spaces=None):
    """LimbNodes in rest pose below `parent`."""
    nodes = {}
    for bone in bones:
        space = (spaces or {}).get(bone.name, PLAIN)
        nodes[bone.name] = scene.node(
            prefix + bone.name,
            "LimbNode",
            nodes.get(bone.parent, parent),
            grid(bone.offset),
            space.angles(bone.local, (0, 0, 0)),
            None,
            space.pre,
            space.post,
            space.order,
        )
    return nodes


def key_biped(scene, nodes, bones, poses, spaces=None, mode=LINEAR, root=None):
    """Keys all bones. `poses` is a list of (frame, pose); `root` maps a pose to the transform above the first bone."""
    rest = {b.name: b for b in bones}
    for bone in bones:
        node, space = nodes[bone.name], (spaces or {}).get(bone.name, PLAIN)
        moves, turns, near = [], [], node.rest["Lcl Rotation"]
        for frame, pose in poses:
            t, q = motions.bone_transform(bone, rest, pose) if pose else (bone.offset, bone.local)
            if root and bone.parent is None:
                rt, rq = root(pose)
                t, q = add(rt, turn(rq, t)), mul(rq, q)
            near = space.angles(q, near)
            moves.append((frame, grid(t)))
            turns.append((frame, near))
        scene.animate(node, "Lcl Translation", moves, mode)
        scene.animate(node, "Lcl Rotation", turns, mode)


def timeline(takes, step=1):
    """(frame, pose) of all takes after the rest pose at frame 0; the ground is placed where the take starts."""
    poses = [(0, None)]
    for _, first, last, motion, start in takes:
        for frame in range(first, last + 1, step):
            pose = motion((frame - first) / (last - first))
            pose["ground"] = motions.placed(pose["ground"], start)
            poses.append((frame, pose))
    return poses


def key_ground(scene, ground, poses, mode=LINEAR):
    """The ground's place and yaw; in a Y up file it lies on its back, as exporters leave it."""
    moves, turns = [(0, ground.rest["Lcl Translation"])], [(0, ground.rest["Lcl Rotation"])]
    for frame, pose in poses:
        if pose:
            x, y, yaw = pose["ground"]
            moves.append((frame, grid((x, y, 0) if scene.up == "Z" else (x, 0, -y))))
            turns.append((frame, grid((0, 0, yaw) if scene.up == "Z" else (-90, yaw, 0))))
    scene.animate(ground, "Lcl Translation", moves, mode)
    scene.animate(ground, "Lcl Rotation", turns, mode)


def yaw_matrix(x, y, yaw):
    """Sixteen numbers, row vectors, translation last."""
    c, s = math.cos(math.radians(yaw)), math.sin(math.radians(yaw))
    return [round(v, 12) + 0.0 for v in (c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, x, y, 0, 1)]


# The tree


def trajectory_rig():
    scene = Scene()
    scene.ground(scene.node("trajectory"), rig=True)
    return scene


def scout_rig():
    scene = Scene()
    ground = scene.ground(scene.node("scout_ground"), name="scout", rig=True)
    add_biped(scene, ground, biped())
    return scene


ARM_AND_HEAD = [
    "Bip01_L_Clavicle",
    "Bip01_L_UpperArm",
    "Bip01_L_Forearm",
    "Bip01_L_Hand",
    "Bip01_Neck",
    "Bip01_Head",
] + ["Bip01_L_Finger%d%s" % (finger, joint) for finger in range(5) for joint in ("", "1", "2")]


def scout_moves():
    takes = [
        ("walk", 10, 69, motions.walk, (120, -60, 40)),
        ("run", 80, 119, motions.run, (0, 0, 0)),
        ("turn", 130, 189, motions.turn_around, (-40, 30, -25)),
        ("jump", 200, 254, motions.jump, (0, 0, 0)),
        ("wave", 265, 319, motions.wave_hand, (0, 0, 15)),
        ("strafe", 330, 379, motions.strafe, (200, 100, 90)),
    ]
    scene = Scene(span=(0, 379))
    scene.stack()
    ground = scene.ground(scene.node("scout_ground"), name="scout", resource=SCOUT_RIG)
    bones = biped()
    nodes = add_biped(scene, ground, bones)
    for name, first, last, _, _ in takes:
        scene.take(
            ground,
            name,
            first,
            last,
            ARM_AND_HEAD if name == "wave" else (),
            yaw_matrix(200, 100, 90) if name == "strafe" else None,
        )
    poses = timeline(takes)
    key_ground(scene, ground, poses)
    key_biped(scene, nodes, bones, poses)

    blinks = [(0, 0.0)]
    for at in (22, 55, 97, 150, 181, 230, 290, 345):
        blinks += [(at, 0.0), (at + 2, 1.0), (at + 3, 1.0), (at + 6, 0.0)]
    scene.animate(nodes["Bip01_Head"], "export_blink", blinks, LINEAR, "Number")
    contact = [(0, 1)] + [(f, (f // 15) % 2) for f in range(15, 200, 15)] + [(216, 0), (241, 1)]
    scene.animate(ground, "export_contact", contact, CONSTANT, "Bool")
    scene.animate(ground, "export_gait", [(0, 0), (10, 1), (80, 2), (130, -1), (330, 3)], CONSTANT, "Integer")
    scene.animate(
        nodes["Bip01_Spine2"],
        "export_lean",
        [(0, (0, 0, 0)), (120, (0.5, -1, 2)), (379, (-1, 3, 0.25))],
        LINEAR,
        "Vector",
    )
    # Passed over: another prefix, and no curve.
    scene.animate(ground, "tool_speed", [(0, 0.0), (379, 9.0)], LINEAR, "Number")
    nodes["Bip01_Head"].user("export_mass", "Number", 4.5, "A+U")
    return scene


def scout_moves_yup():
    takes = [("stroll", 8, 56, motions.walk, (30, -20, 25)), ("about_face", 64, 112, motions.turn_around, (0, 0, 0))]
    scene = Scene(fps=24, version=7500, up="Y", span=(0, 112))
    scene.stack("Take 001")
    scene.active_stack = "Take 001"
    ground = scene.ground(scene.node("scout_ground", rotation=(-90, 0, 0)), name="scout", resource=SCOUT_RIG)
    bones = biped()
    spaces = {
        b.name: Space(pre=grid(to_euler(b.local)))
        for b in bones
        if b.name.endswith(("Clavicle", "UpperArm", "Forearm", "Thigh", "Calf", "Foot", "Spine", "Spine1"))
    }
    spaces["Bip01_Head"] = Space(order="YZX")
    spaces["Bip01_Neck1"] = Space(pre=(10, -5, 20), order="ZXY")
    for side in "LR":
        spaces["Bip01_%s_Hand" % side] = Space(pre=(0, 15, 0), post=(30, 0, -45))
    nodes = add_biped(scene, ground, bones, spaces=spaces)
    for name, first, last, _, _ in takes:
        scene.take(ground, name, first, last)
    poses = timeline(takes, step=4)
    key_ground(scene, ground, poses, CUBIC)
    key_biped(scene, nodes, bones, poses, spaces, CUBIC)
    scene.animate(nodes["Bip01_Head"], "export_blink", [(0, 0.0), (30, 0.0), (32, 1.0), (36, 0.0)], CUBIC, "Number")
    return scene


# A rider and his crate: trees beside the ground


def ride(u):
    pose = {
        "ground": (60.0 * math.sin(math.pi * u), -420.0 * u, 18.0 * motions.wave(1, u)),
        "Bip01": (0.0, 2.0 * motions.wave(1, u), 3.0 * motions.wave(3, u) - 44.0),
    }
    motions.arms(pose, 10.0 * motions.wave(1, u), drop=20.0, bend=35.0)
    motions.trunk(pose, 2, u, 3.0, 12.0)
    for side, sign in motions.SIDES:
        pose["Bip01_%s_Thigh" % side] = (-82.0, 6.0 * sign, 0.0)
        pose["Bip01_%s_Calf" % side] = (80.0 + 8.0 * motions.wave(2, u, 0.25 * sign), 0.0, 0.0)
    return pose


def brake(u):
    pose = ride(0.3)
    x, y, yaw = pose["ground"]
    pose["ground"] = (x, y - 90.0 * motions.smooth(u), yaw + 25.0 * motions.smooth(u))
    pose["Bip01_Spine"] = (-24.0 * math.sin(math.pi * u), 0.0, 0.0)
    pose["Bip01_Head"] = (15.0 * math.sin(math.pi * u), 0.0, 30.0 * motions.smooth(u))
    return pose


def ground_transform(pose):
    x, y, yaw = pose["ground"] if pose else (0, 0, 0)
    return (x, y, 0.0), from_euler((0, 0, yaw))


def rider(rig):
    takes = [("ride", 5, 64, ride, (0, 0, 0)), ("brake", 75, 114, brake, (-30, 80, 60))]
    scene = Scene(span=(0, 114))
    prefix = "" if rig else "ns:"
    ground = scene.node("rider_ground")
    scene.ground(
        ground,
        name="rider",
        rig=rig,
        roots='["%sBip01", "%scrate_root"]' % (prefix, prefix),
        resource=None if rig else "assembly:/characters/crate_rider/rider.rig.fbx?/rider.rig",
    )
    bones = biped(fingers=False, extras=False)
    nodes = add_biped(scene, None, bones, prefix)
    crate = scene.node(prefix + "crate_root", translation=(0, 10, 22))
    lid = scene.node(prefix + "crate_lid", parent=crate, translation=(0, 18, 20), rotation=(0, 0, 90))
    if rig:
        return scene
    scene.stack()
    for name, first, last, _, _ in takes:
        scene.take(
            ground, name, first, last, ("ns:Bip01_Head", "ns:Bip01_Neck", "Bip01_Spine") if name == "brake" else ()
        )
    poses = timeline(takes)
    key_ground(scene, ground, poses)
    key_biped(scene, nodes, bones, poses, root=ground_transform)
    moves, turns = [], []
    for frame, pose in poses:
        t, q = ground_transform(pose)
        shake = (0.0, 10.0, 22.0 + (1.2 * math.sin(frame) if pose else 0.0))
        moves.append((frame, grid(add(t, turn(q, shake)))))
        turns.append((frame, grid((0, 0, pose["ground"][2] if pose else 0))))
    scene.animate(crate, "Lcl Translation", moves)
    scene.animate(crate, "Lcl Rotation", turns)
    scene.animate(
        lid,
        "Lcl Rotation",
        [(0, (0, 0, 90)), (20, (12, 0, 90)), (40, (0, 0, 90)), (90, (35, 0, 90)), (114, (5, 0, 90))],
    )
    return scene


def camera_shot():
    scene = Scene(fps=25, span=(0, 100))
    scene.stack()
    camera = scene.node("shot_cam", "Camera", None, (300, -500, 160), (0, 8, 120), post=(0, -90, 0))
    camera.attribute += [
        prop("AspectWidth", "double", 1920),
        prop("AspectHeight", "double", 1080),
        prop("FilmWidth", "double", 1.41732),
        prop("FilmHeight", "double", 0.94488),
        prop("ApertureMode", "enum", 3),
        prop("FarPlane", "double", 5000),
    ]
    scene.ground(camera, None)
    scene.take(camera, "shot", 1, 50)
    scene.take(camera, "shot_b", 51, 100)
    scene.animate(camera, "FocalLength", [(0, 35.0), (40, 85.0), (100, 50.0)], LINEAR, "Number", attribute=True)
    scene.animate(camera, "NearPlane", [(0, 10.0), (60, 25.0)], CONSTANT, "Number", attribute=True)
    scene.animate(
        camera,
        "Lcl Translation",
        [(0, (300, -500, 160)), (30, (260, -430, 150)), (70, (120, -390, 190)), (100, (-80, -420, 210))],
    )
    scene.animate(camera, "Lcl Rotation", [(0, (0, 8, 120)), (50, (2, 12, 104)), (100, (0, 15, 75))], CUBIC)
    return scene


def door(rig):
    scene = Scene(span=(-24, 44))
    frame = scene.node("door_frame", translation=(40, 0, 0))
    scene.ground(frame, "IsAttachRoot", "door", rig)
    leaf = scene.node("door_leaf", parent=frame, translation=(-45, 2, 0), rotation=(0, 0, 0))
    handle = scene.node("door_handle", parent=leaf, translation=(82, -4, 102), rotation=(90, 0, 0))
    latch = scene.node("door_latch", parent=leaf, translation=(88, 0, 102), rotation=(0, 0, 30))
    if rig:
        return scene
    scene.stack()
    scene.take(frame, "open", 5, 44)
    scene.take(frame, "slam", -20, -5)
    scene.animate(
        leaf,
        "Lcl Rotation",
        [
            (-24, (0, 0, 95)),
            (-12, (0, 0, 60)),
            (-7, (0, 0, 0)),
            (0, (0, 0, 0)),
            (12, (0, 0, 0)),
            (30, (0, 0, 70)),
            (44, (0, 0, 95)),
        ],
    )
    scene.animate(handle, "Lcl Rotation", [(0, (90, 0, 0)), (8, (90, 0, 0)), (12, (90, 40, 0)), (20, (90, 0, 0))])
    scene.animate(
        latch,
        "Lcl Translation",
        [(-24, (88, 0, 102)), (-8, (86, 0, 102)), (-6, (88, 0, 102)), (11, (86, 0, 102)), (31, (88, 0, 102))],
        CONSTANT,
    )
    scene.animate(
        latch, "Lcl Rotation", [(-24, (0, 0, 30)), (-9, (0, 0, -15)), (10, (0, 25, -15)), (33, (0, 0, 30))], CONSTANT
    )
    scene.animate(
        frame,
        "Lcl Translation",
        [(-24, (40, 0, 0)), (-7, (40, 0, 0)), (-6, (40, 1.5, 0)), (-5, (40, 0, 0)), (0, (40, 0, 0))],
    )
    return scene


def drift():
    """One node and no rig; Y up, stood upright by its pre-rotation."""
    scene = Scene(up="Y", span=(0, 60))
    scene.stack()
    node = scene.node("drift_point", translation=(10, 0, 5), pre=(-90, 0, 0))
    scene.ground(node, "IsAttachRoot")
    scene.take(node, "drift", 0, 60)
    keys = [(0, 10, 0, 5, 0), (20, 60, 8, 40, 35), (40, 150, 30, 20, -20), (60, 210, 12, -70, -80)]
    scene.animate(node, "Lcl Translation", [(f, (x, y, z)) for f, x, y, z, _ in keys], CUBIC)
    scene.animate(node, "Lcl Rotation", [(f, (0, 0, a)) for f, _, _, _, a in keys], CUBIC)
    return scene


def lever():
    """Rig and take in one file; an empty first stack, the second is the current one."""
    scene = Scene(span=(0, 49))
    scene.stack("Empty")
    scene.stack("Moves")
    scene.active_stack = "Moves"
    base = scene.ground(
        scene.node("lever_base"), name="lever", rig=True, resource="assembly:/props/lever.fbx?/lever.rig"
    )
    arm = scene.node("lever_arm", parent=base, translation=(0, 0, 20), rotation=(-30, 0, 0))
    knob = scene.node("lever_knob", parent=arm, translation=(0, 0, 45), rotation=(0, 0, 45))
    scene.take(base, "pull", 10, 49)
    scene.animate(
        arm,
        "Lcl Rotation",
        [(0, (-30, 0, 0)), (10, (-30, 0, 0)), (22, (12, 0, 0)), (35, (38, 4, 0)), (49, (30, 0, 0))],
        CUBIC,
        stack=1,
    )
    scene.animate(knob, "Lcl Scaling", [(0, (1, 1, 1)), (30, (1.4, 1.4, 1.4)), (49, (1, 1, 1))], stack=1)
    scene.animate(knob, "Lcl Rotation", [(0, (0, 0, 45)), (49, (0, 0, 225))], stack=1)
    return scene


# The layout before this one: marks on nodes and stacks instead of ground properties and take nodes


def crane(old, kind="takes"):
    """A crane, and its load beside it, in the old layout or as it is to be read; `kind` takes, rig or own."""
    takes = [("crane_lift", 10, 40), ("crane_swing", 50, 90)] if kind == "takes" else [("crane_idle", 5, 20)]
    scene = Scene(span=(0, takes[-1][2]))
    root = scene.node("crane_root")
    mast = scene.node("crane_mast", "LimbNode", root, translation=(0, 0, 120))
    boom = scene.node("crane_boom", "LimbNode", mast, translation=(0, 0, 30), rotation=(-20, 0, 0))
    hook = scene.node("crane_hook", "LimbNode", boom, translation=(0, -200, 0), rotation=(20, 0, 0))
    load = scene.node("crane_load", "LimbNode", translation=(0, -180, 20))
    if old:
        for number, node in enumerate((root, mast, hook)):
            node.user("UniqueID", "ULongLong", 7000 + number)
        if kind != "own":
            root.user("IsGround", "bool", 1)
            root.user("RootObjectName", "KString", "crane_mast")
            root.user("RootObjectName1", "KString", "crane_load")
    else:
        scene.ground(
            root,
            resource="assembly:/old/crane_old.rig.fbx" if kind == "takes" else None,
            rig=kind != "takes",
            roots=None if kind == "own" else '["crane_mast", "crane_load"]',
        )
    if kind == "rig":
        return scene
    turn_about_z = [
        math.cos(math.radians(30)),
        math.sin(math.radians(30)),
        0,
        0,
        -math.sin(math.radians(30)),
        math.cos(math.radians(30)),
        0,
        0,
        0,
        0,
        1,
        0,
        40,
        15,
        0,
        1,
    ]
    if not old:
        scene.stack()
        for name, first, last in takes:
            scene.take(root, name, first, last, origin=turn_about_z if name == "crane_swing" else None)
    elif kind == "own":
        scene.stack(
            "crane_idle",
            (5, 20),
            [
                ("AnimatedObjectName", "KString", "crane_root"),
                ("RigFile", "KString", "\\main\\Assembly\\old\\crane_own_rig.xml"),
            ],
        )
    else:
        rig = ("RigFile", "KString", "\\Assembly\\old\\crane_old.rig.xml")
        scene.stack(
            "crane_lift",
            (10, 40),
            [
                ("Compression", "KString", "Medium"),
                ("CompressionTolerance", "float", 0.5),
                ("TrajectoryTolerance", "float", 0.25),
                ("IncludeHandAnimation", "bool", 1),
                ("IncludeRootBoneAnimation", "bool", 0),
                ("KeyFramedFacialAnimation", "bool", 0),
                ("GroundID", "ULongLong", 7000),
                ("GroundName", "KString", "no_such_node"),
                ("AnimatedObjectName", "KString", "crane_load"),
                rig,
            ],
        )
        scene.stack("notes", (0, 5), [("AnimatedObjectName", "KString", "no_such_node")])
        scene.stack(
            "crane_swing",
            (50, 90),
            [("AnimatedObjectID", "ULongLong", 7002), rig, ("CutsequenceOriginObject", "matrix4x4", turn_about_z)],
        )
        # Curves of a later stack are dropped with it.
        scene.animate(boom, "Lcl Rotation", [(0, (80, 0, 0)), (90, (-80, 0, 0))], stack=2)
    end = takes[-1][2]
    scene.animate(
        root, "Lcl Translation", [(0, (0, 0, 0)), (5, (0, 0, 0)), (end // 2, (30, -60, 0)), (end, (55, -20, 0))]
    )
    scene.animate(root, "Lcl Rotation", [(0, (0, 0, 0)), (end // 2, (0, 0, 25)), (end, (0, 0, -40))])
    scene.animate(mast, "Lcl Rotation", [(0, (0, 0, 0)), (end, (0, 0, 70))])
    scene.animate(boom, "Lcl Rotation", [(0, (-20, 0, 0)), (end // 3, (10, 0, 4)), (end, (-25, 0, 0))])
    scene.animate(hook, "Lcl Translation", [(0, (0, -200, 0)), (end, (0, -200, -60))])
    scene.animate(load, "Lcl Translation", [(0, (0, -180, 20)), (end // 2, (40, -150, 90)), (end, (90, -60, 130))])
    scene.animate(load, "Lcl Rotation", [(0, (0, 0, 0)), (end, (15, -10, 120))])
    return scene


TREE = {
    "animations/_common/trajectoryrig.rig.fbx": trajectory_rig,
    "characters/scout/scout.rig.fbx": scout_rig,
    "characters/scout/moves.fbx": scout_moves,
    "characters/scout/moves_yup.fbx": scout_moves_yup,
    "characters/crate_rider/rider.rig.fbx": lambda: rider(True),
    "characters/crate_rider/rider.fbx": lambda: rider(False),
    "cameras/shot.fbx": camera_shot,
    "props/door.rig.fbx": lambda: door(True),
    "props/door.fbx": lambda: door(False),
    "props/drift.fbx": drift,
    "props/lever.fbx": lever,
    "old/crane_old.rig.fbx": lambda: crane(True, "rig"),
    "old/crane_old.fbx": lambda: crane(True),
    "old/crane_own_rig.fbx": lambda: crane(True, "own"),
}
# What scenes of the old layout are to be read as: the expected numbers are those of these.
READ_AS = {
    "old/crane_old.rig.fbx": lambda: crane(False, "rig"),
    "old/crane_old.fbx": lambda: crane(False),
    "old/crane_own_rig.fbx": lambda: crane(False, "own"),
}
# Frames beside the usual five: where stepped keys switch.
EXTRA_FRAMES = {"open": (9, 10, 11, 30, 31, 32, 33), "slam": (-10, -9, -8, -7, -6)}


# A character as exporters leave it: bones in metres below an armature that is scaled by 100, Y up, a namespace, a stack
# for each motion, a mesh beside; no marks.
HIKER_BONES = (
    ("Hips", None, (0, 0, 0.9)),
    ("Spine", "Hips", (0, 0.02, 0.2)),
    ("Head", "Spine", (0, -0.02, 0.45)),
    ("LeftArm", "Spine", (0.2, 0, 0.35)),
    ("LeftForeArm", "LeftArm", (0.26, 0, 0)),
    ("RightArm", "Spine", (-0.2, 0, 0.35)),
    ("RightForeArm", "RightArm", (-0.26, 0, 0)),
    ("LeftUpLeg", "Hips", (0.1, 0, -0.05)),
    ("LeftLeg", "LeftUpLeg", (0, 0, -0.42)),
    ("LeftFoot", "LeftLeg", (0, 0, -0.4)),
    ("RightUpLeg", "Hips", (-0.1, 0, -0.05)),
    ("RightLeg", "RightUpLeg", (0, 0, -0.42)),
    ("RightFoot", "RightLeg", (0, 0, -0.4)),
)
HIKER_STACKS = {"Idle": (0, 24), "Walk": (0, 30), "Turn": (10, 40)}


def hiker(stacks=("Idle", "Walk", "Turn"), namespace="hiker:", bones=None, mesh=True):
    """`bones`: only these, by name."""
    scene = Scene(fps=24, up="Y", span=(0, 40))
    armature = scene.node("Armature", rotation=(-90, 0, 0), scaling=(100, 100, 100))
    nodes = {}
    for name, parent, place in HIKER_BONES:
        if bones is None or name in bones:
            nodes[name] = scene.node(namespace + name, "LimbNode", nodes.get(parent, armature), translation=place)
    if mesh:
        scene.node("Hiker_Mesh", "Mesh", rotation=(-90, 0, 0), scaling=(100, 100, 100))
    for n, stack in enumerate(stacks):
        first, last = HIKER_STACKS[stack]
        scene.stack("Armature|" + stack, (first, last))
        keys = {}
        for f in range(first, last + 1):
            u = (f - first) / (last - first)
            swing = 25 * math.sin(4 * math.pi * u) * (stack == "Walk")
            pose = {
                "Head": (4 * math.sin(2 * math.pi * u), 0, 9 * u),
                "LeftArm": (swing, 30, 0),
                "RightArm": (-swing, -30, 0),
                "LeftUpLeg": (-swing, 0, 0),
                "RightUpLeg": (swing, 0, 0),
                "LeftLeg": (abs(swing), 0, 0),
                "RightLeg": (abs(swing), 0, 0),
            }
            if stack == "Turn":
                pose["Hips"] = (0, 0, 90 * motions.smooth(u))
            for name, angles in pose.items():
                if name in nodes:
                    keys.setdefault((name, "Lcl Rotation"), []).append((f, grid(angles)))
            way = (0, -1.5 * u * (stack == "Walk"), 0.9 + 0.02 * math.sin(8 * math.pi * u))
            keys.setdefault(("Hips", "Lcl Translation"), []).append((f, grid(way)))
        for (name, channel), column in keys.items():
            scene.animate(nodes[name], channel, column, stack=n)
    return scene


STOCK = {"hiker.fbx": hiker}


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    os.makedirs(os.path.join(top, "expected"), exist_ok=True)
    total = 0
    twin = os.path.join(top, "twin.fbx")
    for name, make in TREE.items():
        path = os.path.join(top, "assembly", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        total += len(make().write(path))
        stem, label = os.path.basename(name)[:-4], "assembly/" + name
        if name in READ_AS:
            READ_AS[name]().write(twin)
            path = twin
        if stem.endswith(".rig"):
            results = {stem: evaluate.describe_rig(path, label)}
        else:
            results = {
                stem: evaluate.describe_takes(path, label, EXTRA_FRAMES),
                stem + "_properties": evaluate.describe_properties(path, label),
            }
        for stem, result in results.items():
            if result.get("takes") or result.get("nodes") or result.get("properties"):
                evaluate.write_json(os.path.join(top, "expected", stem + ".json"), result)
    os.remove(twin)
    for name, text in documents.DOCUMENTS.items():
        with open(os.path.join(top, "assembly", name), "w", encoding="utf-8") as file:
            file.write(text)
    os.makedirs(os.path.join(top, "stock"), exist_ok=True)
    for name, make in STOCK.items():
        total += len(make().write(os.path.join(top, "stock", name)))
    print("%d files, %d bytes" % (len(TREE) + len(STOCK), total))


if __name__ == "__main__":
    main()
