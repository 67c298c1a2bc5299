#!/usr/bin/env python3
"""Writes broken and awkward scenes, an asset tree of its own, and the table of what should come of each.

    make_bad.py [FOLDER]        default: bad/ in the folder above this file

Rows of expected.json: `file`; `pack` with `extension` and perhaps `parameters`, or `scan`, or `packRig`;
`result`: "packs", "warns" (of a scan), "fails" (with a message), "halts" (fails, whatever is said), "ends" (packs or
fails, but ends);
`message`: text that must appear, whole or, where the rest is the scene file library's own, its fixed beginning.
"""

import os
import struct
import sys

import evaluate
from fbxfile import MAGIC, Record, Writer
from fbxscene import CONSTANT, Scene
from make_samples import trajectory_rig

ANIMATION = "Error when packing animation: "
RIG = "Error when packing rig: "
FBX = ANIMATION + "FBX error: "
TYPE = "FbxProperty '%s', in '%s', was expected to be of type '%s', but is '%s"
MISSING = "'%s' was expected to have FbxProperty '%s', but it does not exist"
NO_TAKE = ANIMATION + "ERROR: The requested take does not exist. Take name: '%s'."
TRANSFORM = "Invalid scale, rotation or translation in transform data of bone "

FILES = {}  # name -> function that gives the bytes
ROWS = []


def expect(name, result, message="", take="sway", **more):
    """A row for a take of the file; `rig` in place of `take` packs a rig, `scan` scans."""
    file = name if "." in name else name + ".fbx"
    row = {"file": file}
    if more.pop("scan", False):
        row["scan"] = "assembly:/" + file
    elif "rig" in more:
        row.update(pack="assembly:/%s?/%s.rig" % (file, more.pop("rig")), extension="animationrig")
    else:
        row.update(pack="assembly:/%s?/%s.take" % (file, take), extension="animation")
    ROWS.append({**row, **more, "result": result, "message": message})


class Post(Scene):
    """The small scene that everything here is made from: a ground and three bones, which is its own rig."""

    def __init__(
        self, name, mark=True, takes=True, stack=True, names=("post_a", "post_b", "post_c"), rig=True, **ground
    ):
        super().__init__(span=(0, 30))
        if stack:
            self.stack()
        self.root = self.node("post_ground")
        if mark:
            resource = ground.pop("resource", "assembly:/%s.fbx?/post.rig" % name)
            self.ground(self.root, rig=rig, name="post", resource=resource, **ground)
        self.bones = []
        above = self.root
        for i, bone in enumerate(names):
            above = self.node(bone, parent=above, translation=(0, 2 * i, 20), rotation=(0, 0, 15 * i))
            self.bones.append(above)
        if takes:
            self.take(self.root, "sway", 5, 25)
        if stack:
            for i, bone in enumerate(self.bones):
                x, y, z = bone.rest["Lcl Rotation"]
                self.animate(
                    bone, "Lcl Rotation", [(f, (x + (i + 1) * (f % 7) * 1.5, y + f * 0.5, z - f)) for f in range(0, 31)]
                )
            self.animate(self.root, "Lcl Translation", [(0, (0, 0, 0)), (30, (12, -40, 0))])

    def bytes(self, deflate_from=128):
        return Writer(self.version, deflate_from).file(self.records())


def post(name, change=None, **more):
    """A file made from the small scene, after `change` had it."""

    def make():
        scene = Post(name, **more)
        if change:
            change(scene)
        return scene.bytes()

    FILES[name + ".fbx"] = make


def take_data(name, data, result, message):
    def change(scene):
        scene.take(scene.root, "sway", 5, 25, data=data)

    post(name, change, takes=False)
    expect(name, result, message)


def user(name, node, prop, kind, value, message, **more):
    """One property of another type than it should have."""

    def change(scene):
        target = scene.find(node)
        target.properties = [p for p in target.properties if p.value(0) != prop]
        if kind:
            target.user(prop, kind, value)

    post(name, change, **more)
    expect(name, "fails", message)


# The file itself


def raw_files():
    whole = Post("whole").bytes(10**9)  # arrays as they are, so that they can be found and damaged
    packed = Post("whole").bytes(0)
    # Behind the type letter: count, encoding, size.
    array = packed.index(b"KeyValueFloat") + len(b"KeyValueFloat") + 1
    plain = whole.index(b"KeyValueFloat") + len(b"KeyValueFloat") + 1
    objects = whole.index(b"\x07Objects")

    def put(data, at, new):
        return data[:at] + new + data[at + len(new) :]

    out = {
        "not_fbx": b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 8,
        "text": b"Not a scene, only a line of text.\n",
        "empty": b"",
        "truncated": whole[: len(whole) * 6 // 10],
        "truncated_header": whole[:20],
        "truncated_magic": MAGIC,
        "future_version": put(whole, len(MAGIC), struct.pack("<I", 99900)),
        "record_past_end": put(whole, objects - 12, struct.pack("<I", 0x7FFFFFFF)),
        "array_too_long": put(whole, plain, struct.pack("<I", 0xFFFFFFF0)),
        "array_too_long_deflated": put(packed, array, struct.pack("<I", 0x3FFFFFF0)),
        "array_short": put(packed, array, struct.pack("<I", 4000)),
        "array_damaged": put(packed, array + 12 + 4, b"\xff" * 12),
        "ascii_unclosed": b"; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n\tFBXVersion: 7400\n}\n"
        b'Objects:  {\n\tModel: 1, "Model::a", "Null" {\n',
    }
    for name, data in out.items():
        FILES[name + ".fbx"] = lambda data=data: data
        # What each reader finds to be wrong first is its own; that the file fails, and as a whole, is not.
        expect(name, *(("ends",) if name == "ascii_unclosed" else ("fails", FBX)))
    FILES["wrong_extension.txt"] = lambda: whole
    expect("wrong_extension.txt", "fails", "Error when scanning FBX: The file is not an .fbx", scan=True)
    post("wholesome")
    expect("wholesome", "packs")
    expect("wholesome", "fails", NO_TAKE % "nap", take="nap")
    expect("wholesome", "fails", RIG + "ERROR: No rig found in FBX source resource.", rig="nobody")
    expect(
        "wholesome",
        "fails",
        ANIMATION + "Multiple rig resources in parameter list not allowed! "
        "Rig 1: 'assembly:/wholesome.fbx'. "
        "Rig 2: 'assembly:/wholesome.fbx'.",
        parameters=["assembly:/wholesome.fbx", "assembly:/wholesome.fbx"],
    )


# Marks on grounds and takes


def marks():
    json_error = ANIMATION + "JSON error: "
    take_data("bad_take_json", '{"name": "sway", "startFrame": , "endFrame": 3}', "fails", json_error)
    take_data("take_json_empty", "", "fails", json_error)
    take_data("take_json_is_array", "[1, 2, 3]", "fails", json_error)
    take_data("take_json_no_name", '{"startFrame": 1, "endFrame": 3, "partialList": []}', "fails", json_error)
    take_data(
        "take_json_text_frame",
        '{"name": "sway", "startFrame": "one", "endFrame": 3, "partialList": []}',
        "fails",
        json_error,
    )
    nested = "[" * 30000 + "]" * 30000
    take_data(
        "take_json_deep",
        '{"name": "sway", "startFrame": 1, "endFrame": 3, "partialList": ' + nested + "}",
        "fails",
        json_error,
    )
    take_data("take_json_no_partial_list", '{"name": "sway", "startFrame": 1, "endFrame": 3}', "halts", "")
    take_data("take_json_no_commas", '{"startFrame": 5"endFrame": 9"partialList": []"name": "sway"}', "packs", "")
    take_data("huge_take", '{"name": "sway", "startFrame": 0, "endFrame": 2147483647, "partialList": []}', "halts", "")
    take_data(
        "overflowing_take",
        '{"name": "sway", "startFrame": -2147483648, "endFrame": 2147483647, "partialList": []}',
        "halts",
        "",
    )
    take_data(
        "unknown_partial_list",
        '{"name": "sway", "startFrame": 5, "endFrame": 9, "partialList": ["nobody"]}',
        "fails",
        ANIMATION + "No bones to pack when matching animation with reference rig "
        "'assembly:/unknown_partial_list.fbx?/post.rig'.",
    )

    user("take_without_data", "TAKE_sway", "TakeData", None, None, FBX + MISSING % ("TAKE_sway", "TakeData"))
    user("take_data_int", "TAKE_sway", "TakeData", "int", 3, FBX + TYPE % ("TakeData", "TAKE_sway", "String", "Int"))
    user(
        "take_node_string",
        "TAKE_sway",
        "IsTakeNode",
        "KString",
        "true",
        FBX + TYPE % ("IsTakeNode", "TAKE_sway", "Bool", "String'"),
    )
    user(
        "int_ground_root",
        "post_ground",
        "IsGroundRoot",
        "int",
        1,
        FBX + TYPE % ("IsGroundRoot", "post_ground", "Bool", "Int"),
    )
    user(
        "double_is_rig", "post_ground", "IsRig", "double", 1.0, FBX + TYPE % ("IsRig", "post_ground", "Bool", "Double'")
    )
    user(
        "attach_root_string",
        "post_ground",
        "IsAttachRoot",
        "KString",
        "1",
        FBX + TYPE % ("IsAttachRoot", "post_ground", "Bool", "String'"),
        mark=False,
    )
    user(
        "ground_name_bool",
        "post_ground",
        "GroundName",
        "bool",
        1,
        FBX + TYPE % ("GroundName", "post_ground", "String", "Bool'"),
    )
    user(
        "missing_rig_resource",
        "post_ground",
        "RigResource",
        None,
        None,
        FBX + MISSING % ("post_ground", "RigResource"),
        rig=False,
    )
    user(
        "rig_resource_bool",
        "post_ground",
        "RigResource",
        "bool",
        1,
        FBX + TYPE % ("RigResource", "post_ground", "String", "Bool'"),
    )
    user(
        "rig_resource_absent_file",
        "post_ground",
        "RigResource",
        "KString",
        "assembly:/nowhere/none.rig.fbx?/none.rig",
        ANIMATION + "Failed to open packed rig resource '",
    )
    user(
        "root_object_missing",
        "post_ground",
        "RootObjectNames",
        "KString",
        '["post_a", "nowhere"]',
        FBX + "Ground 'post_ground' expect to have hierarchy 'nowhere', but it does not exist",
    )
    user("root_objects_bad_json", "post_ground", "RootObjectNames", "KString", '["post_a"', json_error)

    post("not_a_rig", rig=False)
    expect("not_a_rig", "fails", RIG + "Selected ground is not a rig", rig="post")

    def off(scene):
        scene.take(scene.root, "off", 5, 25, node="TAKE_off").properties[0].values[4] = ("I", 0)

    post("take_node_false", off)
    expect("take_node_false", "fails", NO_TAKE % "off", take="off")
    expect("take_node_false", "packs")

    post("take_below_bone", lambda s: s.take(s.bones[0], "lost", 5, 25))
    expect("take_below_bone", "fails", NO_TAKE % "lost", take="lost")
    expect("take_below_bone", "packs")

    def clash(scene):
        scene.take(scene.root, "Move", 5, 10, node="T1")
        scene.take(scene.root, "MOVE", 20, 30, node="T2")

    post("take_name_case", clash, takes=False)
    expect("take_name_case", "packs", take="MOVE", frames=6)

    def same_name(scene):
        scene.ground(scene.bones[1], name="inner", rig=True, resource="assembly:/take_name_twice.fbx?/inner.rig")
        scene.take(scene.bones[1], "SWAY", 6, 12)
        scene.take(scene.root, "nod", 6, 12, node="post_c")  # and a bone of that name

    post("take_name_twice", same_name)
    expect(
        "take_name_twice",
        "packs",
        "The node 'post_c' is lost with all below it: it has the name of a take node",
        bones=3,
    )
    expect(
        "take_name_twice",
        "warns",
        "The take 'SWAY' of ground 'inner' is lost: another one of this name, of ground " "'post', stands before it",
        scan=True,
    )
    post("take_name_bracket", lambda s: s.take(s.root, "a<b", 5, 25, node="T1"))
    expect(
        "take_name_bracket",
        "fails",
        "Error when scanning FBX: The take 'a<b' can't be packed: no identifier holds "
        "angle brackets or control characters",
        scan=True,
    )

    def backwards(scene):
        scene.take(scene.root, "backwards", 20, 10)
        scene.take(scene.root, "early", -20, -10)
        scene.take(scene.root, "late", 1000, 1010)

    post("take_ranges", backwards)
    expect("take_ranges", "halts", take="backwards")
    expect("take_ranges", "packs")
    expect("take_ranges", "packs", take="early", frames=11)
    expect("take_ranges", "packs", take="late", frames=11)

    post("no_ground", mark=False)
    expect("no_ground", "fails", NO_TAKE % "sway")
    post("no_stack", stack=False)
    expect("no_stack", "packs", frames=21)

    def attach(scene):
        scene.ground(scene.root, "IsAttachRoot", "post")

    post("no_rig", attach, mark=False)
    expect(
        "no_rig",
        "fails",
        ANIMATION + "No Rig is referenced in the animation. It is valid only with a "
        "trajectory animation (1 bone only), but animation has 4 animated bones.",
    )

    def inner(scene):
        scene.ground(scene.bones[1], name="inner", rig=True, resource="assembly:/two_grounds.fbx?/inner.rig")
        scene.take(scene.bones[1], "inner_move", 6, 12)

    post("two_grounds", inner)
    expect("two_grounds", "packs", frames=21, bones=4)
    expect("two_grounds", "packs", take="inner_move", frames=7, bones=2)
    expect("two_grounds", "packs", rig="inner", bones=2)


# Skeletons, transforms and the graph of objects


def first_curve(scene, prop, node):
    """Column of values of the first channel of a property's curves."""
    return next(c[4][0][3] for c in scene.curves if c[1] == scene.find(node).ident and c[2] == prop)


def skeletons():
    post("duplicate_bones.rig", names=("post_a", "post_b", "post_a"), takes=False, stack=False)
    expect(
        "duplicate_bones.rig.fbx",
        "packs",
        "WARNING: ZBoneHierarchy: found duplicate names bone while "
        "constructing the bone hierarchy.\n"
        "\tDuplicate name: 'post_a'",
        rig="post",
        bones=3,
    )
    post("case_clash.rig", names=("post_a", "post_b", "POST_A"), takes=False, stack=False)
    expect(
        "case_clash.rig.fbx",
        "fails",
        RIG + "ZBoneHierarchy: Uid clash detected in bone hierarchy. \n"
        "\tClashing names are: "
        "'post_a' and 'POST_A'\n\twith Uid: ",
        rig="post",
    )

    for name, bones, result, message in (
        (
            "case_clash",
            ("post_a", "post_b", "POST_B"),
            "fails",
            ANIMATION + "The bones 'post_b' and 'POST_B' of take 'sway' have one uid, ",
        ),
        (
            "namespaces",
            ("post_a", "x:post_b", "y:post_b"),
            "packs",
            "WARNING: Take 'sway' has several bones that are packed as 'post_b': the last one stands, the others are "
            "lost",
        ),
    ):
        post(name, names=bones, rig=False, resource="assembly:/wholesome.fbx?/post.rig")
        expect(name, result, message)

    def zero(scene):
        scene.bones[1].rest["Lcl Scaling"] = (0.0, 0.0, 0.0)

    post("zero_scale", zero)
    expect("zero_scale", "fails", ANIMATION + TRANSFORM + "post_b")
    expect("zero_scale", "fails", RIG + TRANSFORM + "post_b", rig="post")

    for name, value, prop in (
        ("nan_curve", float("nan"), "Lcl Rotation"),
        ("inf_curve", float("inf"), "Lcl Translation"),
    ):

        def spoil(scene, value=value, prop=prop):
            bone = scene.bones[0]
            if prop == "Lcl Translation":
                scene.animate(bone, prop, [(f, (f * 0.1, 0, 20)) for f in range(0, 31)])
            first_curve(scene, prop, "post_a")[20] = value

        post(name, spoil)
        expect(name, "fails", ANIMATION + TRANSFORM + "post_a")

    def enum(scene):
        scene.animate(scene.root, "export_mode", [(0, 0), (10, 2)], CONSTANT, "enum")

    post("enum_property", enum)
    expect("enum_property", "packs")

    def nan_property(scene):
        scene.animate(scene.bones[0], "export_mood", [(0, 0.0), (10, float("nan"))], CONSTANT, "double")

    post("nan_property", nan_property)
    expect(
        "nan_property",
        "fails",
        ANIMATION + "A value that is no finite number: property 'export_mood' of bone "
        "'post_a', which is bone 1 of the rig, in take 'sway'",
    )

    def int_focal_length():
        scene = Scene(span=(0, 30))
        scene.stack()
        camera = scene.node("camera", "Camera")
        scene.ground(camera, None)
        scene.take(camera, "sway", 5, 25)
        scene.animate(camera, "FocalLength", [(0, 35), (30, 85)], CONSTANT, "int", attribute=True)
        return Writer(scene.version).file(scene.records())

    FILES["int_focal_length.fbx"] = int_focal_length
    expect("int_focal_length", "packs", frames=21)

    def cycle(scene):
        scene.bones[0].parent = scene.bones[2]

    post("parent_cycle", cycle)
    expect("parent_cycle", "ends")
    post("own_parent", lambda s: setattr(s.bones[1], "parent", s.bones[1]))
    expect("own_parent", "ends")
    post(
        "dangling_connection",
        lambda s: s.links.extend([(999999999, 888888888), (s.bones[0].ident, 777), (777, s.root.ident)]),
    )
    expect("dangling_connection", "ends")

    def chain(scene):
        above = scene.bones[2]
        for i in range(1000):
            above = scene.node("deep_%d" % i, parent=above, translation=(0, 0, 0.5))

    post("deep_chain", chain)
    expect("deep_chain", "ends")

    def deep_records():
        scene = Post("deep_records")
        records = scene.records()
        inner = Record("Nested", block=True)
        records.append(inner)
        for _ in range(400):
            inner = inner.add("Nested", block=True)
        return Writer(7400).file(records)

    FILES["deep_records.fbx"] = deep_records
    expect("deep_records", "ends")

    def curve_change(name, label, change):
        def make():
            scene = Post(name)
            records = scene.records()
            for record in next(r for r in records if r.name == "Objects").all("AnimationCurve"):
                array = record.child(label)
                letter, values = array.values[0]
                array.values = [(letter, change(values))]
            return Writer(7400).file(records)

        FILES[name + ".fbx"] = make
        expect(name, "ends")

    curve_change("key_counts_differ", "KeyTime", lambda v: v[:10])
    curve_change("keys_backwards", "KeyTime", lambda v: v[::-1])
    curve_change("key_flags_overrun", "KeyAttrRefCount", lambda v: [2**31 - 1] * len(v))
    curve_change("key_flags_missing", "KeyAttrFlags", lambda v: [])
    curve_change("keys_at_one_time", "KeyTime", lambda v: [v[0]] * len(v))
    curve_change("keys_far_away", "KeyTime", lambda v: [(-1) ** i * (2**63 - 1) for i in range(len(v))])


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "bad")
    raw_files()
    marks()
    skeletons()
    common = os.path.join(top, "animations", "_common")
    os.makedirs(common, exist_ok=True)
    total = len(trajectory_rig().write(os.path.join(common, "trajectoryrig.rig.fbx")))
    for name, make in FILES.items():
        data = make()
        total += len(data)
        with open(os.path.join(top, name), "wb") as f:
            f.write(data)
    evaluate.write_json(os.path.join(top, "expected.json"), ROWS)
    print("%d files, %d rows, %d bytes" % (len(FILES), len(ROWS), total))


if __name__ == "__main__":
    main()
