"""Exported takes in the hands of others: the format's own validator, and Blender beside its own import of the FBX."""

import json
import math
import os
import struct
import tempfile
import unittest
from pathlib import Path

import samples
from integration import TOP, animpack, node_modules, program, run

HERE = Path(__file__).resolve().parent
SAMPLES = TOP / "samples" / "assembly"
METRES = 0.0005  # that quantised tracks may be off, and Blender's own single floats
# Stand elsewhere on purpose: a bone that is folded into its children, and helpers that the runtime moves itself.
ELSEWHERE = ("Bip01", "Twist", "ForeT", "Bone_")


def gltf_of(path):
    data = path.read_bytes()
    return json.loads(data[20 : 20 + struct.unpack_from("<I", data, 12)[0]])


def turned(q, v):
    """w, x, y, z as Blender has it."""
    w, u = q[0], q[1:]
    c = [u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]]
    d = [u[1] * c[2] - u[2] * c[1], u[2] * c[0] - u[0] * c[2], u[0] * c[1] - u[1] * c[0]]
    return [v[i] + 2 * (w * c[i] + d[i]) for i in range(3)]


class GltfTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="gltf-")
        self.addCleanup(folder.cleanup)
        self.work = Path(folder.name)
        self.art = self.work / "art"
        self.out = self.work / "packed"

    def export(self, name, *words, assets=None):
        path = self.work / name
        animpack("export", *words, "-o", path, "--assets", assets or self.art, "--out", self.out)
        return path

    def test_validator_has_nothing_to_say(self):
        node_modules()
        samples.build(SAMPLES, self.out, status=1)  # two takes have no rig there
        files = [
            self.export("all.glb", "assembly:/", assets=SAMPLES),
            self.export("source.glb", "assembly:/", "--source", assets=SAMPLES),
        ]
        takes = gltf_of(files[0])["animations"]
        self.assertGreaterEqual(len(takes), 17)
        files += [self.export(f"take{n}.glb", take["extras"]["id"], assets=SAMPLES) for n, take in enumerate(takes)]
        animpack("adopt", TOP / "samples" / "stock" / "hiker.fbx", "--assets", self.art)
        samples.build(self.art, self.out)
        files.append(self.export("hiker.glb", "hiker/"))
        told = run(program("node"), HERE / "validate_gltf.js", *files, cwd=HERE).stdout.splitlines()
        self.assertEqual(len(told), len(files))
        for line in map(json.loads, told):
            found = {kind: line[kind] for kind in ("numErrors", "numWarnings", "numInfos", "numHints")}
            self.assertEqual(set(found.values()), {0}, line)
            self.assertTrue(line["info"]["hasSkins"] and line["info"]["totalTriangleCount"] > 0, line)

    def heads(self, path, fps, action, first, last):
        out = self.work / "heads.json"
        run(
            program("blender"),
            "-b",
            "--python-exit-code",
            "1",
            "--python",
            HERE / "blender_heads.py",
            "--",
            path,
            fps,
            action,
            first,
            last,
            out,
            env={**os.environ, "PATH": "/usr/bin:/bin"},
        )  # the Python that it was built with
        return json.loads(out.read_text())

    def compare(self, exported, scene, place, turn):
        """Every bone at every frame, the scene's seen from where the take begins."""
        back = [turn[0], *(-c for c in turn[1:])]
        names = {name.rpartition(":")[2]: name for name in scene if name}
        compared, worst, moved = 0, 0.0, 0.0
        for name, wanted in exported.items():
            if name.rpartition(":")[2] not in names or any(part in name for part in ELSEWHERE[1:]) or name == "Bip01":
                continue
            compared += 1
            for got, seen in zip(wanted, scene[names[name.rpartition(":")[2]]], strict=True):
                own = turned(back, [seen[i] - place[i] for i in range(3)])
                worst = max(worst, math.dist(got, own))
                moved = max(moved, math.dist(got, wanted[0]))
        self.assertLess(worst, METRES)
        self.assertGreater(moved, 0.1, "a take in which nothing moves shows nothing")
        return compared

    def test_blender_sees_both_stand_in_one_place(self):
        samples.copy_scout(self.art)
        # A stack a file: between several Blender carries over what channels without curves had in the one before.
        stock = {take: self.work / f"hiker {take}.fbx" for take in ("Walk", "Turn")}
        for take, path in stock.items():
            samples.make_samples.hiker((take,)).write(str(path))
        animpack("adopt", *stock.values(), "--assets", self.art, "--name", "hiker")
        samples.build(self.art, self.out)
        scout = self.export("scout.glb", "characters/scout/moves.fbx")
        hiker = self.export("hiker.glb", "hiker/")
        for take, first, last in (("walk", 10, 69), ("turn", 130, 189)):
            scene = self.heads(self.art / "characters/scout/moves.fbx", 30, "", first, last)
            exported = self.heads(scout, 30, take, 0, last - first)
            with self.subTest(take):
                self.assertGreater(self.compare(exported, scene, scene["scout_ground"][0], scene[""][1]), 50)
        for take, first, last in (("Walk", 0, 30), ("Turn", 10, 40)):
            scene = self.heads(stock[take], 24, take, first, last)
            animation = next(a for a in gltf_of(hiker)["animations"] if take.lower() in a["extras"]["id"])
            # Where the ground begins, which is a world place here: Blender turns Y up to Z up again.
            offset = animation["extras"]["sequenceOffset"]
            x, y, z = offset.get("t", (0, 0, 0))
            qx, qy, qz, qw = offset.get("r", (0, 0, 0, 1))
            exported = self.heads(hiker, 24, animation["name"], 0, last - first)
            with self.subTest(take):
                self.assertGreater(self.compare(exported, scene, (x, -z, y), (qw, qx, -qz, qy)), 8)
