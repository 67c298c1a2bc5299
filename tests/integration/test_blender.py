"""The Blender add-on in Blender: installed from its zip; scenes marked, exported, packed and read back by operators."""

import importlib.util
import json
import math
import os
import shutil
import sys
import tempfile
import time
import unittest
from pathlib import Path

import integration
from integration import TOP, animpack, program, run

IDENTITY = [[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, 0]]
SCARECROW = {"stroll": 24, "turn": 16, "Walk": 41, "arms": 11}
# Where the sequence of each take begins: the root's rest, or the take's own origin.
REST = [[1, 0, 0, 0.5], [0, 1, 0, 0], [0, 0, 1, 0]]
ORIGIN = [[math.cos(0.5), -math.sin(0.5), 0, 2], [math.sin(0.5), math.cos(0.5), 0, 3], [0, 0, 1, 0]]


def product(left, right):
    rows = []
    for row in left:
        rows.append([sum(row[k] * right[k][column] for k in range(3)) for column in range(4)])
        rows[-1][3] += row[3]
    return rows


def inverse(matrix):
    turn = [[matrix[column][row] for column in range(3)] for row in range(3)]
    where = [matrix[row][3] for row in range(3)]
    return [[*row, -sum(a * b for a, b in zip(row, where))] for row in turn]


def unpacked(transform):
    """A transform of animpack's, whose rotations are of the runtime's sense."""
    x, y, z, w = transform.get("r") or transform["rotation"]
    x, y, z = -x, -y, -z
    rows = [
        [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
        [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
        [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
    ]
    where = transform.get("t") or transform["translation"]
    return [[*row, where[index]] for index, row in enumerate(rows)]


def millimetres(left, right):
    """How far points 3 cm along each axis are from each other."""
    worst = 0.0
    for axis in range(3):
        point = [row[3] + 0.03 * row[axis] for row in left]
        other = [row[3] + 0.03 * row[axis] for row in right]
        worst = max(worst, 1000 * math.dist(point, other))
    return worst


def moved(matrices):
    """Where a ground is, and how it has turned since its first frame: the axes that it had there are out of this."""
    first = inverse(matrices[0])
    turns = [product(matrix, first) for matrix in matrices]
    return [[[*turn[row][:3], matrix[row][3]] for row in range(3)] for turn, matrix in zip(turns, matrices)]


class BlenderTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="animpack-blender-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.zip = cls.folder / "animpack-blender.zip"
        run(sys.executable, TOP / "scripts/blender-addon", cls.zip)

    def inside(self, case, **environment):
        """What inside.py found in Blender, and its asset folder."""
        home = self.folder / case
        (home / "art").mkdir(parents=True)
        (home / "scripts" / "addons").mkdir(parents=True)
        words = ["--factory-startup", "--python-exit-code", "1"]
        words += ["--python", TOP / "tests/integration/blender/inside.py"]
        result = home / "result.json"
        around = {**os.environ, "BLENDER_USER_SCRIPTS": str(home / "scripts"), **environment}
        words += ["--", case, self.zip, home / "art", result, integration.ANIMPACK]
        run(program("blender"), "-b", *words, env=around, seconds=120)
        return json.loads(result.read_text()), home

    def compare_readback(self, take, ground, bones):
        """The action that was read back beside what Blender showed."""
        shown, again = take["shown"], take["again"]
        self.assertEqual(len(shown), len(again), again[:1])
        worst = 0.0
        of_shown = [frame.get(ground) or frame["/" + ground] for frame in shown]
        for left, right in zip(moved(of_shown), moved([frame["/" + ground] for frame in again])):
            worst = max(worst, millimetres(left, right))
        for left, right in zip(shown, again):
            for bone in bones:
                worst = max(worst, millimetres(left.get(bone) or left["/" + bone], right[bone]))
        self.assertLess(worst, 0.1)
        # A comparison of things that stand still would find nothing.
        self.assertTrue(any(millimetres(shown[0][name], shown[-1][name]) > 10 for name in shown[0]))

    def compare_packed(self, home, name, take, ground, bones, origin=REST):
        """The packed file, decoded by animpack, beside what Blender showed."""
        frames = ",".join(str(frame) for frame in range(len(take["shown"])))
        packed = next((home / "packed/pc/crows/scarecrow.fbx").glob(f"{name.lower()}.take*.animation"))
        told = json.loads(animpack("inspect", packed, "--out", home / "packed", "--json", "--frames", frames).stdout)
        start = product(origin, unpacked(told["animation"]["sequenceOffset"]))
        seen, paths = [], []
        for shown, frame in zip(take["shown"], told["frames"]):
            decoded = {bone["name"]: product(start, unpacked(bone["character"])) for bone in frame["bones"]}
            paths.append(product(start, unpacked(frame["bones"][0]["character"])))
            seen.append(shown.get(ground) or shown["/" + ground])
            for bone in bones:
                self.assertLess(millimetres(shown.get(bone) or shown["/" + bone], decoded[bone]), 0.1, (name, bone))
        for left, right in zip(moved(seen), moved(paths)):
            self.assertLess(millimetres(left, right), 0.1, name)

    def check_whole(self, case):
        result, home = self.inside(case)
        self.assertEqual(result["faults"], [])
        self.assertTrue(result["untouched"], "the export left its traces in the artist's scene")
        found = ["pull", "pan", "stroll", "turn", "Walk", "arms"]
        done, check = result["check"]
        self.assertEqual(done, ["FINISHED"])
        wanted = sorted([*(f"{take}.take" for take in found), "lever.rig", "scarecrow.rig"])
        self.assertEqual(sorted(check["found"]), wanted)
        done, packed = result["pack"]
        self.assertEqual((done, [fault for fault in packed["faults"] if fault[0] != "INFO"]), (["FINISHED"], []))
        self.assertEqual(set(packed["takes"]), set(found))
        for size, off in packed["takes"].values():
            self.assertGreater(size, 0)
            self.assertLess(off, 0.1)

        bones = ["hips", "spine", "arm", "hand", "leg"]
        for take, frames in SCARECROW.items():
            self.assertEqual(len(result["takes"][take]["shown"]), frames)
            if take != "arms":
                self.compare_readback(result["takes"][take], "root", bones)
                origin = ORIGIN if take == "turn" else REST
                self.compare_packed(home, take, result["takes"][take], "root", bones, origin)
        for ground, take, below in (("lever", "pull", ["handle"]), ("shot", "pan", [])):
            self.compare_readback(result["takes"][take], ground, below)
            self.compare_packed(home, take, result["takes"][take], ground, below)

        # Of a partial take the bones in the list move, each beside its parent; the others rest.
        arms = result["takes"]["arms"]
        legs = set()
        for shown, again in zip(arms["shown"], arms["again"]):
            for bone, parent in (("arm", "spine"), ("hand", "arm")):
                left, right = (product(inverse(frame[parent]), frame[bone]) for frame in (shown, again))
                self.assertLess(millimetres(left, right), 0.1)
            leg = product(inverse(again["hips"]), again["leg"])
            legs.add(tuple(round(number, 3) + 0.0 for row in leg for number in row))
        self.assertEqual(len(legs), 1)
        return home

    def test_whole_road(self):
        home = self.check_whole("whole")
        nodes = [line.split()[0] for line in self.scene(home / "art/crows/scarecrow.fbx") if "  t " in line]
        bones = ["root", "hips", "spine", "arm", "hand", "leg"]
        takes = ["TAKE_stroll", "TAKE_turn", "TAKE_Walk", "TAKE_arms"]
        self.assertCountEqual(nodes, ["RootNode", *bones, *takes, "lever", "handle", "TAKE_pull", "shot", "TAKE_pan"])

        # A plain export carries the same marks.
        scanned = {}
        for name in ("crows/scarecrow.fbx", "plain.fbx"):
            told = json.loads(animpack("scan", name, "--assets", home / "art", "--out", home / "p", "--json").stdout)
            self.assertIsNone(told["error"])
            scanned[name] = [
                (sub["id"].rpartition("?/")[2], sub["properties"].get("CutsequenceRigResource"))
                for sub in told["subResources"]
            ]
        self.assertEqual(scanned["plain.fbx"], scanned["crows/scarecrow.fbx"])

    def scene(self, file):
        return animpack("scene", file).stdout.splitlines()

    def test_scaled_armature(self):
        home = self.check_whole("scaled")
        told = json.loads(animpack("scene", home / "art/crows/scarecrow.fbx", "--json", "--at", "0").stdout)
        self.assertIn("hips", [node["name"] for node in told["nodes"]])
        for node in told["nodes"]:
            for scale in node["local"]["s"]:
                self.assertAlmostEqual(scale, 1, places=4, msg=node["name"])

    def test_imported_stock_character(self):
        result, _ = self.inside("stock", STOCK=str(TOP / "samples/stock/hiker.fbx"))
        done, packed = result["pack"]
        self.assertEqual((done, packed["faults"]), (["FINISHED"], []))
        self.assertEqual(set(packed["takes"]), {"Idle", "Walk", "Turn"})
        for take in result["takes"].values():
            bones = [name for name in take["shown"][0] if not name.startswith("/")]
            self.assertGreater(len(bones), 10)
            for shown, again in zip(take["shown"], take["again"]):
                for bone in bones:
                    self.assertLess(millimetres(shown[bone], again[bone]), 0.5, bone)

    def test_without_animpack(self):
        result, home = self.inside("absent")
        self.assertTrue(any("animpack is not on PATH" in text for text in result["faults"]), result["faults"])
        check, pack, load, export, failing, none = result["calls"]
        for done, faults in (check, pack, load, none):
            self.assertEqual(done, ["CANCELLED"])
            self.assertTrue(any("preferences" in text for text in faults), faults)
        self.assertEqual(failing[0], ["CANCELLED"])
        self.assertIn("animpack ended with 1", failing[1])
        self.assertEqual(result["undone"], 1)
        self.assertEqual(export[0], ["FINISHED"])
        self.assertTrue((home / "art/a.fbx").is_file())

    def test_a_program_that_hangs(self):
        """It is ended after its time, and also when Blender's user stops it."""
        spec = importlib.util.spec_from_file_location("host", TOP / "addons/blender/animpack/host.py")
        host = sys.modules["host"] = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(host)
        mark = self.folder / "late"
        words = ["sh", "-c", f"sleep 1; touch {mark}"]
        with self.assertRaisesRegex(host.HostError, "took longer than 0.1 seconds"):
            host.wait(host.run(words, 0.1))
        stopped = host.run(words, 60)
        self.assertIsNone(next(stopped))
        stopped.close()
        time.sleep(1.5)
        self.assertFalse(mark.exists())
        answer = host.wait(host.run(["printf", '{"a": 1}\nno json\n[2]\n'], 60))
        self.assertEqual((answer.status, answer.objects), (0, [{"a": 1}]))

    def test_faults(self):
        result, _ = self.inside("faults")
        self.assertIn("Nothing is marked", result["nothing"][0][0])
        expected = {
            "backwards": "take 'move' ends at frame 10, before its first frame 20",
            "no_rig": "'scarecrow' was expected to have FbxProperty 'RigResource', but it does not exist",
            "no_root_object": "Ground 'scarecrow' expect to have hierarchy 'leg2', but it does not exist",
            "no_partial_list": "has no key 'partialList'",
            "type": "FbxProperty 'GroundName', in 'scarecrow', was expected to be of type 'String', but is 'Integer'",
            "partial_list": "there is no node 'Hand'; did you mean 'hand'?",
        }
        for name, words in expected.items():
            with self.subTest(name):
                self.assertTrue(any(words in text for text in result[name][0]), result[name][0])
        # The same words come from animpack itself, where the export lets the fault through to it.
        for name in ("no_rig", "type"):
            with self.subTest(name + " by animpack"):
                self.assertTrue(any(expected[name] in text for text in result[name][1]), result[name][1])


if __name__ == "__main__":
    unittest.main()
