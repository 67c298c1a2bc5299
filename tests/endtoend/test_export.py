"""animpack export: a glTF file read back, beside what inspect and scene say of the same take."""

import json
import os
import struct

import host
import make_samples

SIZES = {"SCALAR": 1, "VEC3": 3, "VEC4": 4, "MAT4": 16}


class Gltf:
    """Just enough of a reader: nodes and animations as numbers."""

    def __init__(self, path):
        data = host.content(path)
        magic, version, length, size, kind = struct.unpack_from("<IIIII", data)
        assert (magic, version, length, kind) == (0x46546C67, 2, len(data), 0x4E4F534A)
        self.json = json.loads(data[20 : 20 + size])
        self.binary = data[28 + size :]
        self.names = [node["name"] for node in self.json["nodes"]]

    def numbers(self, index):
        accessor = self.json["accessors"][index]
        view = self.json["bufferViews"][accessor["bufferView"]]
        start = view.get("byteOffset", 0) + accessor.get("byteOffset", 0)
        each = SIZES[accessor["type"]]
        flat = struct.unpack_from("<%df" % (accessor["count"] * each), self.binary, start)
        return [flat[n : n + each] for n in range(0, len(flat), each)]

    def animation(self, name):
        return next(a for a in self.json["animations"] if a["name"] == name)

    def pose(self, animation, frame):
        """Node -> (translation, rotation) at a frame that the animation has keys on."""
        pose = [
            (tuple(n.get("translation", (0, 0, 0))), tuple(n.get("rotation", (0, 0, 0, 1)))) for n in self.json["nodes"]
        ]
        for channel in animation["channels"]:
            sampler = animation["samplers"][channel["sampler"]]
            keys = self.numbers(sampler["output"])
            key = keys[min(frame, len(keys) - 1)]
            node, path = channel["target"]["node"], channel["target"]["path"]
            pose[node] = (key, pose[node][1]) if path == "translation" else (pose[node][0], key)
        return pose


def to_y_up(t, runtime_rotation):
    """What inspect tells, whose rotations are conjugates, as glTF has it."""
    x, y, z, w = runtime_rotation
    return (t[0], t[2], -t[1]), (-x, -z, y, w)


class ExportTest(host.HostTest):
    def export(self, *words, name="out.glb", code=0, **more):
        path = os.path.join(self.work, name)
        result = self.run_host("export", *words, "-o", path, platform=None, **more)
        self.assertEqual(result.code, code, result)
        return result, path

    def test_poses_are_those_that_inspect_shows(self):
        self.run_host("build", "characters/scout", "props/lever.fbx", platform=("pc", "ps3"))
        result, path = self.export("assembly:/")
        gltf = Gltf(path)
        self.assertEqual(result.summary["takes"], 9)
        self.assertEqual(result.summary["bytes"], os.path.getsize(path))
        self.assertEqual(
            {a["name"] for a in gltf.json["animations"]},
            {"walk", "run", "turn", "jump", "wave", "strafe", "stroll", "about_face", "pull"},
        )
        self.assertEqual(len(gltf.json["skins"]), 2, "takes of one rig share its bones")
        for take, frames in (("walk", (0, 17, 59)), ("wave", (3, 54)), ("pull", (0, 39))):
            animation = gltf.animation(take)
            times = [gltf.numbers(s["input"]) for s in animation["samplers"]]
            self.assertEqual(len(max(times, key=len)), animation["extras"]["frameCount"])
            self.assertAlmostEqual(max(times, key=len)[-1][0], (animation["extras"]["frameCount"] - 1) / 30, places=5)
            skin = gltf.json["skins"][1 if take == "pull" else 0]
            for shown in self.inspect(animation["extras"]["id"], frames)["frames"]:
                pose = gltf.pose(animation, shown["frame"])
                for bone, node in zip(shown["bones"], skin["joints"]):
                    self.assertEqual(gltf.names[node], bone["name"])
                    t, q = to_y_up(bone["local"]["t"], bone["local"]["r"])
                    self.assertLess(max(abs(a - b) for a, b in zip(t, pose[node][0])), 2e-6, (take, bone))
                    self.assertGreater(abs(sum(a * b for a, b in zip(q, pose[node][1]))), 1 - 1e-6, (take, bone))
        extras = gltf.animation("walk")["extras"]
        self.assertEqual(
            {(p["bone"], p["name"]) for p in extras["properties"]},
            {
                ("Bip01_Head", "export_blink"),
                ("scout_ground", "export_contact"),
                ("scout_ground", "export_gait"),
                ("Bip01_Spine2", "export_lean"),
            },
        )

        again = self.export("assembly:/", "-j", "3", name="again.glb")[1]
        self.assertEqual(host.content(again), host.content(path), "the same for any number of workers")
        other = Gltf(self.export("assembly:/", "-t:ps3", name="ps3.glb")[1])
        self.assertEqual(other.binary, gltf.binary, "and of another platform")

    def test_source_and_events(self):
        """What the scene says now, and the document of events beside it."""
        tree = self.copy_tree("props/lever.fbx")
        self.pack("assembly:/props/lever.fbx?/pull.take", assets=tree)
        scene = make_samples.lever()
        scene.find("lever_knob").rest["Lcl Translation"] = (0, 0, 44)
        scene.write(os.path.join(tree, "props/lever.fbx"))
        with open(os.path.join(tree, "props/lever.events"), "w", encoding="utf-8") as f:
            f.write(
                '<TakeList><Take name="other"/><Take name="PULL"><EventTrack name="Sound"><Event><Attributes>'
                '<StartTime>0.5</StartTime><Duration>0</Duration><EntityData name="m_sound">cl&lt;ick</EntityData>'
                "</Attributes></Event></EventTrack></Take></TakeList>"
            )
        knob = {}
        for words in ((), ("--source",)):
            _, path = self.export("props/lever.fbx", *words, assets=tree)
            gltf = Gltf(path)
            pose = gltf.pose(gltf.animation("pull"), 7)
            knob[words] = pose[gltf.names.index("lever_knob")][0]
            (event,) = gltf.animation("pull")["extras"]["events"]
            self.assertEqual((event["track"], event["event"]), ("Sound", "sound cl<ick"))
            self.assertAlmostEqual(event["start"], 0.65, places=5)
        self.assertAlmostEqual(abs(knob[()][1] - knob[("--source",)][1]), 0.01, places=5)

        os.remove(os.path.join(tree, "props/lever.fbx"))
        self.assertEqual(self.export("pull.take", "assembly:/props/", assets=tree, code=1)[0].summary["takes"], 1)
        result, path = self.export("assembly:/props", "--source", name="none.glb", assets=tree, code=1)
        self.assertIn("source can't be read", result.lines[0]["error"])
        self.assertFalse(os.path.exists(path), "nothing is written of nothing")

    def test_places_that_are_not_written(self):
        self.run_host("build", "props/lever.fbx")
        folder = os.path.join(self.work, "folder")
        os.mkdir(folder)
        for place, told in ((folder, "is a folder"), ("/dev/null", "is no regular file")):
            result = self.run_host("export", "props/lever.fbx", "-o", place)
            self.assertEqual((result.code, told in result.lines[0]["error"]), (2, True), result)
