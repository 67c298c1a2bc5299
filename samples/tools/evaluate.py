"""Evaluates a sample scene from its bytes, in double precision, and tells what its takes should come to.

It reads the finished file and knows nothing of how it was made. Covered is what the samples use: linear, constant and
cubic keys with unweighted tangents, pre- and post-rotation, rotation order, Y or Z up, uniform scaling.
"""

import json
import math
from bisect import bisect_right

import fbxfile
from fbxscene import ROTATION_ORDERS, TICKS_A_SECOND, TIME_MODES
from rotation import IDENTITY, add, conj, from_euler, mul, scale, sub, turn, unit

Y_TO_Z_UP = (math.sqrt(0.5), 0.0, 0.0, math.sqrt(0.5))


def text(value):
    return value.decode("utf-8") if isinstance(value, bytes) else value


def properties(record):
    """Name to (type, values) of a record's property block."""
    block = record.child("Properties70") if record else None
    return {
        text(p.value(0)): (text(p.value(1)), [text(v) for _, v in p.values[4:]])
        for p in (block.children if block else [])
    }


class Curve:
    def __init__(self, record):
        self.times = record.child("KeyTime").value()
        self.values = record.child("KeyValueFloat").value()
        words = record.child("KeyAttrDataFloat").value()
        self.modes, self.slopes = [], []
        for entry, count in enumerate(record.child("KeyAttrRefCount").value()):
            self.modes += [record.child("KeyAttrFlags").value()[entry]] * count
            self.slopes += [tuple(words[4 * entry : 4 * entry + 2])] * count

    def at(self, ticks):
        i = bisect_right(self.times, ticks) - 1
        if i < 0:
            return self.values[0]
        if i + 1 == len(self.times) or self.modes[i] & 2:
            return self.values[i]
        span = self.times[i + 1] - self.times[i]
        u = (ticks - self.times[i]) / span
        a, b = self.values[i], self.values[i + 1]
        if self.modes[i] & 4:
            return a + (b - a) * u
        seconds = span / TICKS_A_SECOND
        right, left = (s * seconds for s in self.slopes[i])
        return (
            (2 * u**3 - 3 * u**2 + 1) * a
            + (u**3 - 2 * u**2 + u) * right
            + (3 * u**2 - 2 * u**3) * b
            + (u**3 - u**2) * left
        )


class Node:
    def __init__(self, record):
        self.ident = record.value(0)
        self.name = text(record.value(1)).split("\x00")[0]
        self.kind = text(record.value(2))
        self.properties = properties(record)
        self.parent = None
        self.children = []
        self.attribute = None  # id and properties


class Evaluator:
    def __init__(self, path):
        self.version, root = fbxfile.read(path)
        settings = properties(root.child("GlobalSettings"))
        self.y_up = settings["UpAxis"][1][0] == 1
        self.fps = {mode: fps for fps, mode in TIME_MODES.items()}[settings["TimeMode"][1][0]]
        by_id = {o.value(0): o for o in root.child("Objects").children}
        self.nodes = [Node(o) for o in root.child("Objects").children if o.name == "Model"]
        self.by_name = {n.name: n for n in self.nodes}
        at = {n.ident: n for n in self.nodes}
        links = [
            (text(c.value(0)), c.value(1), c.value(2), text(c.value(3)) if len(c.values) > 3 else "")
            for c in root.child("Connections").children
        ]
        layers = self.layers(root, by_id, links)
        channels, owners = {}, []
        for kind, a, b, name in links:
            source = by_id.get(a)
            if kind == "OO" and a in at and (b in at or b == 0):
                at[a].parent = at.get(b)
                if b:
                    at[b].children.append(at[a])
            elif source is not None and source.name == "NodeAttribute" and b in at:
                at[b].attribute = (a, properties(source))
            elif source is not None and source.name == "AnimationCurve":
                channels.setdefault(b, {})[name] = Curve(source)
            elif source is not None and source.name == "AnimationCurveNode" and kind == "OP":
                owners.append((a, b, name))
        live = {a for kind, a, b, _ in links if kind == "OO" and b in layers}
        self.curves = {(b, name): channels.get(a, {}) for a, b, name in owners if a in live}

    @staticmethod
    def layers(root, by_id, links):
        """The layers of the current stack: the one that the document names, else the first."""
        stacks = [o for o in by_id.values() if o.name == "AnimationStack"]
        document = root.child("Documents").child("Document")
        active = properties(document).get("ActiveAnimStackName", ("", [""]))[1][0]
        named = [s for s in stacks if text(s.value(1)).split("\x00")[0] == active]
        chosen = (named or stacks or [None])[0]
        return {a for kind, a, b, _ in links if chosen is not None and kind == "OO" and b == chosen.value(0)}

    def ticks(self, frame):
        return frame * TICKS_A_SECOND // self.fps

    def value(self, node, name, default, frame):
        """Values of a property of a node or its attribute; frame None is the static value."""
        for ident, block in ((node.ident, node.properties), node.attribute or (None, {})):
            curves = self.curves.get((ident, name))
            if name in block or curves:
                values = list(block[name][1]) if name in block else list(default)
                for channel, curve in (curves or {}).items():
                    index = "XYZ".find(channel[2:]) if len(channel) == 3 else 0
                    if frame is not None:
                        values[index] = curve.at(self.ticks(frame))
                return values
        return list(default)

    def local(self, node, frame):
        """Translation, rotation, uniform scale relative to the parent, Z up. A camera has no rotation space."""
        t = self.value(node, "Lcl Translation", (0, 0, 0), frame)
        angles = self.value(node, "Lcl Rotation", (0, 0, 0), frame)
        sizes = self.value(node, "Lcl Scaling", (1, 1, 1), frame)
        if max(sizes) - min(sizes) > 1e-6:
            raise ValueError("%s: uneven scaling is not covered" % node.name)
        if node.properties.get("RotationActive", ("", [0]))[1][0] and node.kind != "Camera":
            order = ROTATION_ORDERS[node.properties.get("RotationOrder", ("", [0]))[1][0]]
            pre = from_euler(node.properties.get("PreRotation", ("", (0, 0, 0)))[1])
            post = from_euler(node.properties.get("PostRotation", ("", (0, 0, 0)))[1])
            q = mul(mul(pre, from_euler(angles, order)), conj(post))
        else:
            q = from_euler(angles)
        if self.y_up and node.parent is None:
            t, q = turn(Y_TO_Z_UP, t), mul(Y_TO_Z_UP, q)
        return tuple(t), q, sizes[0]

    def world(self, node, frame):
        t, q, s = self.local(node, frame)
        while node.parent is not None:
            node = node.parent
            pt, pq, ps = self.local(node, frame)
            t, q, s = add(pt, turn(pq, scale(t, ps))), mul(pq, q), s * ps
        return t, q

    # The layout that grounds and takes have

    def flag(self, node, name):
        return bool(node.properties.get(name, ("", [0]))[1][0])

    def is_ground(self, node):
        return node.kind == "Camera" or self.flag(node, "IsGroundRoot") or self.flag(node, "IsAttachRoot")

    def grounds(self):
        return [n for n in self.nodes if self.is_ground(n)]

    def bones(self, ground):
        """The ground, all below it, then the trees that it names, depth first."""
        out = []

        def walk(node):
            if "IsTakeNode" not in node.properties:
                out.append(node)
                for child in node.children:
                    walk(child)

        walk(ground)
        for name in json.loads(ground.properties.get("RootObjectNames", ("", ["[]"]))[1][0]):
            walk(self.by_name[name])
        return out

    def takes(self):
        for ground in self.grounds():
            for node in ground.children:
                if self.flag(node, "IsTakeNode"):
                    yield ground, node, json.loads(node.properties["TakeData"][1][0])

    def sequence_offset(self, ground, node, first):
        """The ground at the take's start relative to the take's own origin, or to the last ground root's rest."""
        roots = [n for n in self.nodes if self.flag(n, "IsGroundRoot")]
        if "TakeSequenceOrigin" in node.properties:
            m = node.properties["TakeSequenceOrigin"][1]
            half = math.atan2(m[1], m[0]) / 2  # the samples' origins turn about Z only
            qo, to = (0.0, 0.0, math.sin(half), math.cos(half)), m[12:15]
        elif roots:
            to, qo = self.world(roots[-1], None)
        else:
            return (0.0, 0.0, 0.0), IDENTITY
        t, q = self.world(ground, first)
        return turn(conj(qo), sub(t, to)), unit(mul(conj(qo), q))

    def path_metres(self, ground, first, last):
        places = [self.local(ground, f)[0] for f in range(first, last + 1)]
        return sum(math.dist(a, b) for a, b in zip(places, places[1:])) * 0.01


def tidy(values, digits):
    return [round(v, digits) + 0.0 for v in values]


def transform(prefix, t, q):
    return {prefix: tidy(t, 6), prefix + "Rotation": tidy(q, 7)}


def node_entry(evaluator, node, frame):
    t, q = evaluator.world(node, frame)
    lt, lq, _ = evaluator.local(node, frame)
    return {**transform("world", t, q), **transform("local", lt, lq)}


def describe_takes(path, name, extra_frames=None):
    """The expected transforms of every take of a file, at five frames and those asked for."""
    e = Evaluator(path)
    takes = []
    for ground, node, data in e.takes():
        first, last = data["startFrame"], data["endFrame"]
        frames = {first + round((last - first) * k / 4) for k in range(5)} | set(
            (extra_frames or {}).get(data["name"], ())
        )
        t, q = e.sequence_offset(ground, node, first)
        samples = [
            {"frame": f, "nodes": {n.name: node_entry(e, n, f) for n in e.bones(ground)}} for f in sorted(frames)
        ]
        takes.append(
            {
                "name": data["name"],
                "startFrame": first,
                "endFrame": last,
                "partialList": data["partialList"],
                "ground": ground.name,
                "roots": [n.name for n in e.bones(ground) if n.parent is None and n is not ground],
                "sequenceOffset": {"translation": tidy(t, 6), "rotation": tidy(q, 7)},
                "pathMetres": round(e.path_metres(ground, first, last), 6),
                "samples": samples,
            }
        )
    return {
        "file": name,
        "unit": "cm",
        "up": "Z",
        "rotation": "quaternion x, y, z, w; turns column vectors",
        "local": "relative to the parent node",
        "frames": "scene frame numbers",
        "fps": e.fps,
        "takes": takes,
    }


def describe_rig(path, name):
    e = Evaluator(path)
    nodes = []
    for ground in e.grounds():
        bones = e.bones(ground)
        for node in bones:
            parent = node.parent if node is not ground else None
            if node is not ground and parent is None:
                parent = ground
            t, q = e.world(node, None)
            nodes.append({"name": node.name, "parent": parent.name if parent else None, **transform("world", t, q)})
    return {"file": name, "unit": "cm", "up": "Z", "rotation": "quaternion x, y, z, w", "nodes": nodes}


CAMERA_TRACKS = ("FocalLength", "FieldOfView", "NearPlane")


def exported_name(node, name):
    """The name under which an animated property is packed; None for those to be passed over."""
    if node.kind == "Camera" and name in CAMERA_TRACKS:
        return "FieldOfView" if name == "FocalLength" else name
    return name if name.startswith("export_") else None


def describe_properties(path, name):
    """Animated properties and their values at the sample frames of each take; a camera's angle in degrees."""
    e = Evaluator(path)
    out = []
    for node in e.nodes:
        for ident, block in ((node.ident, node.properties), node.attribute or (None, {})):
            for key, (kind, static) in block.items():
                if key.startswith("Lcl ") or (ident, key) not in e.curves:
                    continue
                values = {}
                for ground, _, data in e.takes():
                    if node in e.bones(ground):
                        first, last = data["startFrame"], data["endFrame"]
                        values[data["name"]] = [
                            [f, property_value(e, node, key, kind, f)] for f in range(first, last + 1)
                        ]
                out.append(
                    {
                        "node": node.name,
                        "property": key,
                        "type": kind,
                        "exported": exported_name(node, key),
                        "values": values,
                    }
                )
    return {"file": name, "note": "values at every frame of each take", "properties": out}


def property_value(e, node, key, kind, frame):
    values = tidy(e.value(node, key, (), frame), 6)
    if key == "FocalLength":
        width = node.attribute[1]["FilmWidth"][1][0]
        return round(math.degrees(2 * math.atan(width * 25.4 / (2 * values[0]))), 6)
    if kind in ("Bool", "bool", "Integer", "int"):
        return int(values[0])
    return values if len(values) > 1 else values[0]


def write_json(path, value):
    """JSON with one line a node, so that differences can be read."""

    def lines(v, depth):
        pad = " " * depth
        flat = json.dumps(v, separators=(",", ":"))
        if (
            not isinstance(v, (dict, list))
            or len(flat) < 230
            or not v
            or isinstance(v, list)
            and not isinstance(v[0], dict)
        ):
            return flat
        if isinstance(v, dict):
            body = ["%s %s:%s" % (pad, json.dumps(k), lines(x, depth + 1)) for k, x in v.items()]
            return "{\n" + ",\n".join(body) + "\n" + pad + "}"
        return "[\n" + ",\n".join(pad + " " + lines(x, depth + 1) for x in v) + "\n" + pad + "]"

    with open(path, "w", encoding="utf-8") as f:
        f.write(lines(value, 0) + "\n")
