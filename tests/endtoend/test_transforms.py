"""Packed takes put every bone where the scene has it; rigs hold the rest pose."""

import glob
import math
import os
import unittest

import host
from rotation import add, conj, mul, scale, sub, turn, unit

FINE_MM, FINE_DEGREES = 0.2, 0.1
FINGER_MM, FINGER_DEGREES = 2.0, 0.6  # fingers are stored in half the bits, and the tips are three joints out
TWISTED = ("twist", "bone_")  # never packed


def bare(name):
    return name.rsplit(":", 1)[-1].lower()


def degrees_apart(a, b):
    d = abs(sum(x * y for x, y in zip(unit(a), unit(b))))
    return math.degrees(2 * math.acos(min(1.0, d)))


def relative(t0, q0, t, q):
    return turn(conj(q0), sub(t, t0)), mul(conj(q0), q)


def expected_files():
    """(stem, content) of the expected files that hold takes."""
    for path in sorted(glob.glob(os.path.join(host.EXPECTED, "*.json"))):
        content = host.load(path)
        if "takes" in content:
            yield os.path.basename(path)[:-5], content


def take_source(expected, take):
    return "assembly:/%s?/%s.take" % (expected["file"].split("assembly/", 1)[1], take["name"])


# Files with an event document, and how many pose properties it adds to which take.
EVENT_PROPERTIES = {"moves_yup": {"stroll": 3}}


def parameters_of(stem):
    """Attach roots name no rig: theirs is given on the command line."""
    return ["assembly:/props/door.rig.fbx?/door.rig"] if stem == "door" else []


class TakeTest(host.HostTest):
    """One expected file, packed and decoded."""

    def check_take(self, stem, expected, take):
        job = self.pack(take_source(expected, take), parameters=parameters_of(stem))
        frames = [s["frame"] - take["startFrame"] for s in take["samples"]]
        shown = self.inspect(job["file"], frames)
        animation = shown["animation"]
        self.assertEqual(animation["frameCount"], take["endFrame"] - take["startFrame"] + 1)
        self.assertAlmostEqual(animation["frameRate"], expected["fps"], places=3)
        events = stem in EVENT_PROPERTIES  # the event document comes before the rig, for every take of its file
        self.assertEqual(len(shown["references"]), 1 + events, "the rig, and what events there are")
        self.assertEqual(animation["rigReference"], int(events))
        self.assertEqual(animation["eventTrackReference"], 0 if events else -1)
        self.check_offset(take, animation["sequenceOffset"])
        self.assertEqual([f["frame"] for f in shown["frames"]], frames)

        bones = {bare(b["name"]): b["index"] for b in shown["frames"][0]["bones"][1:]}
        packed = {i for g in animation["trackGroups"] for i in g["bones"]}
        self.assertEqual(animation["boneCount"], len(packed))
        self.check_packed_set(take, bones, packed)
        first = take["samples"][0]["nodes"][take["ground"]]
        compared = 0
        for sample, frame in zip(take["samples"], shown["frames"]):
            at = {b["index"]: b for b in frame["bones"]}
            for name, want in sample["nodes"].items():
                index = 0 if name == take["ground"] else bones[bare(name)]
                if index in packed:
                    compared += self.check_bone(take, sample, first, name, want, at[index])
        self.assertGreaterEqual(compared, len(take["samples"]))

    def check_offset(self, take, got):
        want = take["sequenceOffset"]
        self.assertLess(math.dist(scale(want["translation"], 0.01), got["translation"][:3]) * 1000, 0.05)
        self.assertEqual(got["translation"][3], 1.0)
        self.assertLess(degrees_apart(conj(want["rotation"]), got["rotation"]), 0.01)

    def check_packed_set(self, take, bones, packed):
        names = {bare(n) for n in take["samples"][0]["nodes"] if n != take["ground"]}
        self.assertEqual(names, set(bones), "bones of the scene and of the rig")
        chosen = take["partialList"]
        for name in take["samples"][0]["nodes"]:
            index = 0 if name == take["ground"] else bones[bare(name)]
            wanted = (name in chosen or not chosen) and not any(t in bare(name) for t in TWISTED)
            self.assertEqual(index in packed, wanted, name)

    def check_bone(self, take, sample, first, name, want, got):
        """Against the ground's first frame; with selected bones, whose parents rest, against the parent."""
        finger = "finger" in name.lower()
        if bare(name) == "bip01":
            self.assertLess(math.dist(got["local"]["t"][:3], (0, 0, 0)), 1e-6, "its motion goes to its children")
            return 1
        if take["partialList"]:
            if name == take["ground"] or bare(name) == "bip01_pelvis":
                return 0
            t, q, got = want["local"], want["localRotation"], got["local"]
            if name in take["roots"]:
                ground = sample["nodes"][take["ground"]]
                t, q = relative(ground["world"], ground["worldRotation"], t, q)
        else:
            t, q = relative(first["world"], first["worldRotation"], want["world"], want["worldRotation"])
            got = got["character"]
        millimetres = math.dist(scale(t, 0.01), got["t"][:3]) * 1000
        degrees = degrees_apart(conj(q), got["r"])
        where = "%s frame %d %s" % (take["name"], sample["frame"], name)
        self.assertLessEqual(millimetres, FINGER_MM if finger else FINE_MM, where)
        self.assertLessEqual(degrees, FINGER_DEGREES if finger else FINE_DEGREES, where)
        return 1

    def check_properties(self, stem, expected, take, tracks):
        job = self.pack(take_source(expected, take), parameters=parameters_of(stem))
        shown = self.inspect(job["file"], [0])
        index = {bare(b["name"]): b["index"] for b in shown["frames"][0]["bones"]}
        got = shown["animation"]["properties"]
        wanted = [t for t in tracks if t["exported"]]
        more = EVENT_PROPERTIES.get(stem, {}).get(take["name"], 0)
        self.assertEqual(len(got), len(wanted) + more, "what has another prefix or no curve is passed over")
        for track in wanted:
            bone = 0 if track["node"] == take["ground"] else index[bare(track["node"])]
            values = [v for _, v in track["values"][take["name"]]]
            self.assertTrue(
                any(g["boneId"] == bone and same_values(g["keys"], values) for g in got),
                "%s of %s in %s: %s" % (track["property"], track["node"], take["name"], values[:8]),
            )
            self.assertTrue(all(g["flags"] == 0 for g in got))
        names = {g["nameHash"] for g in got}
        self.assertEqual(len(names), len(wanted) + more, "each name has its own hash")


def same_values(keys, values):
    def flat(v):
        return list(v) if isinstance(v, list) else [v]

    return len(keys) == len(values) and all(
        len(flat(k)) == len(flat(v))
        and all(abs(float(x) - float(y)) <= 1e-4 * max(1.0, abs(y)) for x, y in zip(flat(k), flat(v)))
        for k, v in zip(keys, values)
    )


def add_tests():
    """One test a take, so that a failure names it and the others still run."""
    for stem, expected in expected_files():
        tracks = os.path.join(host.EXPECTED, stem + "_properties.json")
        tracks = host.load(tracks)["properties"] if os.path.exists(tracks) else []
        for take in expected["takes"]:
            label = "%s_%s" % (stem, take["name"])
            setattr(TakeTest, "test_bones_" + label, lambda self, s=stem, e=expected, t=take: self.check_take(s, e, t))
            setattr(
                TakeTest,
                "test_properties_" + label,
                lambda self, s=stem, e=expected, t=take, p=tracks: self.check_properties(s, e, t, p),
            )


add_tests()


class RigTest(host.HostTest):
    """Local bind transforms, composed again, stand where the nodes rest, but for the biped's repairs."""

    REPAIRED = {
        "Bip01": None,
        "Bip01_LUpArmTwist": "Bip01_L_UpperArm",
        "Bip01_RUpArmTwist": "Bip01_R_UpperArm",
        "Bip01_LThighTwist": "Bip01_L_Thigh",
        "Bip01_RThighTwist": "Bip01_R_Thigh",
    }

    def depth_first(self, nodes):
        """Names in the rig's order: twist bones beside their limbs, children in the scene's order."""
        names = [n["name"] for n in nodes]
        parents = {n["name"]: n["parent"] for n in nodes}
        if "Bip01" in parents:
            for twist, limb in self.REPAIRED.items():
                if limb in parents and twist in parents:
                    parents[twist] = parents[limb]

        def walk(name):
            return [name] + [d for child in names if parents[child] == name for d in walk(child)]

        return walk(names[0])

    def check_rig(self, stem):
        expected = host.load(os.path.join(host.EXPECTED, stem + ".json"))
        nodes = {n["name"]: n for n in expected["nodes"]}
        job = self.pack("assembly:/" + expected["file"].split("assembly/", 1)[1], "animationrig")
        rig = self.inspect(job["file"])["rig"]
        self.assertEqual([b["name"] for b in rig["bones"]], self.depth_first(expected["nodes"]))
        self.assertEqual([b["index"] for b in rig["bones"]], list(range(len(nodes))))
        self.assertEqual(rig["trajectoryIndex"], 0)
        self.assertEqual(rig["rootIndices"], [0])
        self.assertEqual(len({b["uid"] for b in rig["bones"]}), len(nodes))
        world = {}

        def place(index):
            if index not in world:
                bone = rig["bones"][index]
                t, q = bone["t"][:3], conj(bone["r"])
                if bone["parent"] >= 0:
                    pt, pq = place(bone["parent"])
                    t, q = add(pt, turn(pq, t)), mul(pq, q)
                world[index] = (t, q)
            return world[index]

        ground = expected["nodes"][0]  # the rig's trajectory stands at the origin, wherever this one rests
        repaired = self.REPAIRED if "Bip01" in nodes else {}
        for bone in rig["bones"]:
            name = bone["name"]
            target = nodes[name]
            parent = target["parent"]
            if name in repaired:
                target = nodes[repaired[name]] if repaired[name] else ground
                parent = target["parent"] if repaired[name] else parent
            self.assertEqual(rig["bones"][bone["parent"]]["name"] if bone["parent"] >= 0 else None, parent, name)
            t, q = place(bone["index"])
            wt, wq = relative(ground["world"], ground["worldRotation"], target["world"], target["worldRotation"])
            self.assertLess(math.dist(scale(wt, 0.01), t) * 1000, 0.02, name)
            self.assertLess(degrees_apart(wq, q), 0.02, name)

    def test_scout(self):
        self.check_rig("scout.rig")

    def test_rider_with_trees_beside_the_ground(self):
        self.check_rig("rider.rig")

    def test_door(self):
        self.check_rig("door.rig")

    def test_trajectory(self):
        self.check_rig("trajectoryrig.rig")

    def test_a_file_and_its_rig_are_one_resource(self):
        """A rig packed by its name and by its file alone, which means the first ground."""
        by_name = self.pack("assembly:/characters/scout/scout.rig.fbx?/scout.rig", "animationrig")
        by_file = self.pack("assembly:/characters/scout/scout.rig.fbx", "animationrig")
        self.assertEqual(host.content(by_name["file"]), host.content(by_file["file"]))


class RootMotionTest(host.HostTest):
    def test_embedded_path_length(self):
        """One value on the first bone: the metres that the ground covers in the take."""
        expected = host.load(os.path.join(host.EXPECTED, "moves.json"))
        for name in ("walk", "turn"):
            take = next(t for t in expected["takes"] if t["name"] == name)
            plain = self.inspect(self.pack(take_source(expected, take))["file"])["animation"]["properties"]
            job = self.pack(take_source(expected, take), parameters=["EMBED_animation_properties"])
            added = self.inspect(job["file"])["animation"]["properties"]
            single = [p for p in added if len(p["keys"]) == 1]
            self.assertEqual((len(added), len(single)), (len(plain) + 1, 1))
            self.assertEqual(single[0]["boneId"], 0)
            self.assertAlmostEqual(single[0]["keys"][0], take["pathMetres"], delta=1e-4 * take["pathMetres"] + 1e-5)


if __name__ == "__main__":
    unittest.main()
