"""Builds scene files: nodes, user properties, curves, grounds and takes.

Everything is given in the file's own axes and units. A node's rest values are written to its properties; curves
are given by frame and pruned where they never leave the rest value.
"""

import struct

from fbxfile import CREATION_TIME, FILE_ID, Record, write

TICKS_A_SECOND = 46186158000
TIME_MODES = {24: 11, 25: 10, 30: 6, 60: 3}
LINEAR, CONSTANT, CUBIC = 4, 2, 8 | 0x400  # the last with tangents of the user's
DEFAULT_WEIGHTS = struct.unpack("<f", struct.pack("<I", 3333 << 16 | 3333))[0]
ROTATION_ORDERS = ("XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX")

# File spelling of each type: type, label, letter of the values.
TYPES = {
    "bool": ("bool", "", "I"),
    "Bool": ("Bool", "", "I"),
    "int": ("int", "Integer", "I"),
    "Integer": ("Integer", "", "I"),
    "enum": ("enum", "", "I"),
    "ULongLong": ("ULongLong", "", "L"),
    "float": ("float", "", "F"),
    "double": ("double", "Number", "D"),
    "Number": ("Number", "", "D"),
    "Vector": ("Vector", "", "D"),
    "Color": ("Color", "", "D"),
    "Vector3D": ("Vector3D", "Vector", "D"),
    "ColorRGB": ("ColorRGB", "Color", "D"),
    "matrix4x4": ("matrix4x4", "", "D"),
    "KString": ("KString", "", "S"),
    "KTime": ("KTime", "Time", "L"),
    "Lcl Translation": ("Lcl Translation", "", "D"),
    "Lcl Rotation": ("Lcl Rotation", "", "D"),
    "Lcl Scaling": ("Lcl Scaling", "", "D"),
    "Visibility": ("Visibility", "", "D"),
    "object": ("object", "", ""),
}
CHANNELS = {
    "Vector": "XYZ",
    "Vector3D": "XYZ",
    "Color": "XYZ",
    "Lcl Translation": "XYZ",
    "Lcl Rotation": "XYZ",
    "Lcl Scaling": "XYZ",
}


def prop(name, kind, value, flags=""):
    spelling, label, letter = TYPES[kind]
    values = () if value is None else value if isinstance(value, (list, tuple)) else (value,)
    convert = {"I": int, "L": int, "F": float, "D": float, "S": str}.get(letter)
    return Record(
        "P", ("S", name), ("S", spelling), ("S", label), ("S", flags), *((letter, convert(v)) for v in values)
    )


def object_name(name, kind):
    return ("S", name + "\x00\x01" + kind)


def template(kind, properties):
    return Record("PropertyTemplate", ("S", kind), children=[Record("Properties70", children=properties)])


NODE_TEMPLATE = [
    prop("RotationOffset", "Vector3D", (0, 0, 0)),
    prop("RotationPivot", "Vector3D", (0, 0, 0)),
    prop("ScalingOffset", "Vector3D", (0, 0, 0)),
    prop("ScalingPivot", "Vector3D", (0, 0, 0)),
    prop("RotationOrder", "enum", 0),
    prop("RotationSpaceForLimitOnly", "bool", 0),
    prop("PreRotation", "Vector3D", (0, 0, 0)),
    prop("PostRotation", "Vector3D", (0, 0, 0)),
    prop("RotationActive", "bool", 0),
    prop("InheritType", "enum", 0),
    prop("ScalingActive", "bool", 0),
    prop("Show", "bool", 1),
    prop("DefaultAttributeIndex", "int", -1),
    prop("Lcl Translation", "Lcl Translation", (0, 0, 0), "A"),
    prop("Lcl Rotation", "Lcl Rotation", (0, 0, 0), "A"),
    prop("Lcl Scaling", "Lcl Scaling", (1, 1, 1), "A"),
    prop("Visibility", "Visibility", 1.0, "A"),
]
CAMERA_TEMPLATE = [
    prop("Color", "ColorRGB", (0.8, 0.8, 0.8)),
    prop("AspectWidth", "double", 320.0),
    prop("AspectHeight", "double", 200.0),
    prop("FilmWidth", "double", 0.816),
    prop("FilmHeight", "double", 0.612),
    prop("ApertureMode", "enum", 2),
    prop("FieldOfView", "Number", 25.115, "A"),
    prop("FocalLength", "Number", 34.89, "A"),
    prop("NearPlane", "double", 10.0),
    prop("FarPlane", "double", 4000.0),
]


class Node:
    """One node of the scene; `rest` holds its unanimated channels."""

    def __init__(self, name, kind, ident, parent):
        self.name, self.kind, self.ident, self.parent = name, kind, ident, parent
        self.rest = {
            "Lcl Translation": (0.0, 0.0, 0.0),
            "Lcl Rotation": (0.0, 0.0, 0.0),
            "Lcl Scaling": (1.0, 1.0, 1.0),
        }
        self.properties = []  # written as they stand, user properties included
        self.attribute = []  # the same for the node attribute

    def user(self, name, kind, value, flags="U"):
        self.properties.append(prop(name, kind, value, flags))
        return self


class Scene:
    def __init__(self, fps=30, version=7400, up="Z", span=(0, 100), creator="samples/tools"):
        self.fps, self.version, self.up, self.span, self.creator = fps, version, up, span, creator
        self.ident = 1000000
        self.nodes, self.curves, self.links = [], [], []
        self.stacks = []  # (name, id, layer id)
        self.active_stack = ""
        self.stack_marks = {}  # by name: span in frames, property records

    def next_id(self):
        self.ident += 16
        return self.ident

    def node(
        self,
        name,
        kind="Null",
        parent=None,
        translation=None,
        rotation=None,
        scaling=None,
        pre=None,
        post=None,
        order=None,
    ):
        """`pre`, `post` and `order` switch the rotation space of the node on."""
        node = Node(name, kind, self.next_id(), parent)
        for key, value in (("Lcl Translation", translation), ("Lcl Rotation", rotation), ("Lcl Scaling", scaling)):
            if value is not None:
                node.rest[key] = tuple(map(float, value))
        if pre or post or order:
            node.properties.append(prop("RotationActive", "bool", 1))
            if pre:
                node.properties.append(prop("PreRotation", "Vector3D", pre))
            if post:
                node.properties.append(prop("PostRotation", "Vector3D", post))
            if order:
                node.properties.append(prop("RotationOrder", "enum", ROTATION_ORDERS.index(order)))
        self.nodes.append(node)
        return node

    def find(self, name):
        return next(n for n in self.nodes if n.name == name)

    def stack(self, name="Scene", span=None, marks=()):
        """`span` in frames, default the scene's; `marks` are (name, kind, value) of user properties."""
        self.stacks.append((name, self.next_id(), self.next_id()))
        self.stack_marks[name] = (span or self.span, [prop(*m, "U") for m in marks])

    def ground(self, node, kind="IsGroundRoot", name=None, rig=False, resource=None, roots=None):
        """Marks a node as a ground; `kind` None leaves the mark to the node's camera."""
        if kind:
            node.user(kind, "bool", 1)
        if rig:
            node.user("IsRig", "bool", 1)
        if name is not None:
            node.user("GroundName", "KString", name)
        if resource is not None:
            node.user("RigResource", "KString", resource)
        if roots is not None:
            node.user("RootObjectNames", "KString", roots)
        return node

    def take(self, ground, name, first, last, partial=(), origin=None, node=None, data=None):
        """A take node below a ground. `origin` is sixteen numbers, rows, translation last."""
        take = self.node(node or "TAKE_" + name, "Null", ground)
        take.user("IsTakeNode", "bool", 1)
        if data is None:
            names = ", ".join('"%s"' % n for n in partial)
            data = '{"name": "%s", "startFrame": %d, "endFrame": %d, "partialList": [%s]}' % (name, first, last, names)
        take.user("TakeData", "KString", data)
        if origin:
            take.user("TakeSequenceOrigin", "matrix4x4", origin)
        return take

    def animate(self, node, name, keys, mode=LINEAR, kind=None, attribute=False, stack=0):
        """Curves of one property. `keys` is a list of (frame, value) with a value or a tuple of them.

        A user property takes its `kind`; it is written with the value of its first key as the static one. Of Lcl
        properties the channels that never leave the rest value get no curve.
        """
        values = [v if isinstance(v, (list, tuple)) else (v,) for _, v in keys]
        frames = [f for f, _ in keys]
        if name in node.rest:
            rest, channels = node.rest[name], "XYZ"
        else:
            rest, channels = values[0], CHANNELS.get(kind, "")
            target = node.attribute if attribute else node.properties
            static = rest if channels else rest[0]
            target.append(prop(name, kind, static, "A" if attribute else "A+U"))
        curves = []
        for i, channel in enumerate(channels or (name,)):
            column = [float(v[i]) for v in values]
            if name in node.rest and all(abs(c - rest[i]) < 1e-9 for c in column):
                continue
            curves.append(("d|" + channel, self.next_id(), frames, column, mode))
        if curves:
            owner = node.ident + 1 if attribute else node.ident
            labels = ["d|" + c for c in channels] or ["d|" + name]
            self.curves.append((self.next_id(), owner, name, list(zip(labels, rest)), curves, stack))

    # Writing

    def ticks(self, frame):
        return frame * TICKS_A_SECOND // self.fps

    def curve_record(self, ident, frames, values, mode):
        words, flags = [], []
        if mode == CUBIC:
            slopes = tangents(frames, values, self.fps)
            for i in range(len(values)):
                words += [slopes[i], slopes[min(i + 1, len(values) - 1)], DEFAULT_WEIGHTS, 0.0]
        else:
            words = [0.0, 0.0, DEFAULT_WEIGHTS, 0.0]
        entries = len(words) // 4
        flags = [mode] * entries
        counts = [1] * entries if mode == CUBIC else [len(values)]
        return Record(
            "AnimationCurve",
            ("L", ident),
            object_name("", "AnimCurve"),
            ("S", ""),
            children=[
                Record("Default", ("D", 0.0)),
                Record("KeyVer", ("I", 4008)),
                Record("KeyTime", ("l", [self.ticks(f) for f in frames])),
                Record("KeyValueFloat", ("f", values)),
                Record("KeyAttrFlags", ("i", flags)),
                Record("KeyAttrDataFloat", ("f", words)),
                Record("KeyAttrRefCount", ("i", counts)),
            ],
        )

    def settings(self):
        axes = {"Z": ((2, 1), (1, -1), (0, 1)), "Y": ((1, 1), (2, 1), (0, 1))}[self.up]
        out = []
        for label, (axis, sign) in zip(("Up", "Front", "Coord"), axes):
            out += [prop(label + "Axis", "int", axis), prop(label + "AxisSign", "int", sign)]
        return out + [
            prop("OriginalUpAxis", "int", -1),
            prop("OriginalUpAxisSign", "int", 1),
            prop("UnitScaleFactor", "double", 1.0),
            prop("OriginalUnitScaleFactor", "double", 1.0),
            prop("AmbientColor", "ColorRGB", (0, 0, 0)),
            prop("DefaultCamera", "KString", ""),
            prop("TimeMode", "enum", TIME_MODES[self.fps]),
            prop("TimeSpanStart", "KTime", self.ticks(self.span[0])),
            prop("TimeSpanStop", "KTime", self.ticks(self.span[1])),
            prop("CustomFrameRate", "double", -1.0),
        ]

    def objects(self):
        out = []
        for node in self.nodes:
            flags = {"LimbNode": "Skeleton", "Camera": "Camera"}.get(node.kind, "Null")
            attribute = Record(
                "NodeAttribute",
                ("L", node.ident + 1),
                object_name(node.name, "NodeAttribute"),
                ("S", node.kind),
                children=[Record("TypeFlags", ("S", flags))],
            )
            if node.attribute:
                attribute.children.append(Record("Properties70", children=node.attribute))
            out.append(attribute)
        for node in self.nodes:
            properties = [prop("InheritType", "enum", 1), prop("DefaultAttributeIndex", "int", 0)]
            for key, value in node.rest.items():
                if any(value) if key != "Lcl Scaling" else value != (1.0, 1.0, 1.0):
                    properties.append(prop(key, key, value, "A"))
            out.append(
                Record(
                    "Model",
                    ("L", node.ident),
                    object_name(node.name, "Model"),
                    ("S", node.kind),
                    children=[
                        Record("Version", ("I", 232)),
                        Record("Properties70", children=properties + node.properties),
                        Record("MultiLayer", ("I", 0)),
                        Record("MultiTake", ("I", 0)),
                        Record("Shading", ("C", True)),
                        Record("Culling", ("S", "CullingOff")),
                    ],
                )
            )
        for name, ident, layer in self.stacks:
            frames, marks = self.stack_marks[name]
            span = [
                prop(p, "KTime", self.ticks(f))
                for p, f in zip(("LocalStart", "LocalStop", "ReferenceStart", "ReferenceStop"), frames * 2)
            ] + marks
            out.append(
                Record(
                    "AnimationStack",
                    ("L", ident),
                    object_name(name, "AnimStack"),
                    ("S", ""),
                    children=[Record("Properties70", children=span)],
                )
            )
            out.append(
                Record("AnimationLayer", ("L", layer), object_name("BaseLayer", "AnimLayer"), ("S", ""), block=True)
            )
        for ident, _, name, rest, curves, _ in self.curves:
            label = {"Lcl Translation": "T", "Lcl Rotation": "R", "Lcl Scaling": "S"}.get(name, name)
            values = [prop(channel, "Number", value, "A") for channel, value in rest]
            out.append(
                Record(
                    "AnimationCurveNode",
                    ("L", ident),
                    object_name(label, "AnimCurveNode"),
                    ("S", ""),
                    children=[Record("Properties70", children=values)],
                )
            )
            for _, curve, frames, column, mode in curves:
                out.append(self.curve_record(curve, frames, column, mode))
        return out

    def connections(self):
        out = []

        def link(kind, a, b, *name):
            out.append(Record("C", ("S", kind), ("L", a), ("L", b), *(("S", n) for n in name)))

        for node in self.nodes:
            link("OO", node.ident, node.parent.ident if node.parent else 0)
            link("OO", node.ident + 1, node.ident)
        for _, stack, layer in self.stacks:
            link("OO", layer, stack)
        for ident, owner, name, _, curves, stack in self.curves:
            link("OO", ident, self.stacks[stack][2])
            link("OP", ident, owner, name)
            for channel, curve, _, _, _ in curves:
                link("OP", curve, ident, channel)
        out += [Record("C", ("S", "OO"), ("L", a), ("L", b)) for a, b in self.links]
        return out

    def definitions(self, objects):
        templates = {
            "Model": template("FbxNode", NODE_TEMPLATE),
            "NodeAttribute": template(
                "FbxNull", [prop("Color", "ColorRGB", (0.8, 0.8, 0.8)), prop("Size", "double", 100.0)]
            ),
        }
        if any(n.kind == "Camera" for n in self.nodes):
            templates["NodeAttribute"] = template("FbxCamera", CAMERA_TEMPLATE)
        counts = {"GlobalSettings": 1}
        for record in objects:
            counts[record.name] = counts.get(record.name, 0) + 1
        types = []
        for name, count in counts.items():
            children = [Record("Count", ("I", count))]
            if name in templates:
                children.append(templates[name])
            types.append(Record("ObjectType", ("S", name), children=children))
        return Record(
            "Definitions",
            children=[Record("Version", ("I", 100)), Record("Count", ("I", sum(counts.values())))] + types,
        )

    def records(self):
        stamp = [
            Record(k, ("I", v))
            for k, v in (
                ("Version", 1000),
                ("Year", 1970),
                ("Month", 1),
                ("Day", 1),
                ("Hour", 10),
                ("Minute", 0),
                ("Second", 0),
                ("Millisecond", 0),
            )
        ]
        header = Record(
            "FBXHeaderExtension",
            children=[
                Record("FBXHeaderVersion", ("I", 1003)),
                Record("FBXVersion", ("I", self.version)),
                Record("EncryptionType", ("I", 0)),
                Record("CreationTimeStamp", children=stamp),
                Record("Creator", ("S", self.creator)),
            ],
        )
        document = Record(
            "Document",
            ("L", 1000001),
            object_name("Scene", "Scene"),
            ("S", "Scene"),
            children=[
                Record(
                    "Properties70",
                    children=[
                        prop("SourceObject", "object", None),
                        prop("ActiveAnimStackName", "KString", self.active_stack),
                    ],
                ),
                Record("RootNode", ("L", 0)),
            ],
        )
        objects = self.objects()
        return [
            header,
            Record("FileId", ("R", FILE_ID)),
            Record("CreationTime", ("S", CREATION_TIME)),
            Record("Creator", ("S", self.creator)),
            Record(
                "GlobalSettings",
                children=[Record("Version", ("I", 1000)), Record("Properties70", children=self.settings())],
            ),
            Record("Documents", children=[Record("Count", ("I", 1)), document]),
            Record("References", block=True),
            self.definitions(objects),
            Record("Objects", children=objects, block=True),
            Record("Connections", children=self.connections(), block=True),
            Record("Takes", children=[Record("Current", ("S", self.active_stack))]),
        ]

    def write(self, path, deflate_from=128):
        return write(path, self.records(), self.version, deflate_from)


def tangents(frames, values, fps):
    """Slopes in units a second: through the neighbours, flat at the ends."""
    out = [0.0] * len(values)
    for i in range(1, len(values) - 1):
        out[i] = (values[i + 1] - values[i - 1]) * fps / (frames[i + 1] - frames[i - 1])
    return out
