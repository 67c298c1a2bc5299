"""What the scene file reader makes of the samples: nodes, transforms at a time, animated values."""

import math
import os
import re

import host
from evaluate import Evaluator
from fbxscene import TICKS_A_SECOND
from test_transforms import degrees_apart, expected_files


class SceneTest(host.HostTest):
    def scene(self, path, *words):
        result = host.execute("scene", path, "--json", *words)
        self.assertEqual(result.code, 0, result)
        return result.lines[-1]

    def check_transform(self, got, translation, rotation, where):
        size = max(1.0, max(map(abs, translation)))
        self.assertLess(math.dist(got["t"], translation), 2e-5 * size, where)
        self.assertLess(degrees_apart(got["r"], rotation), 2e-3, where)

    def check_file(self, expected):
        path = os.path.join(host.SAMPLES, expected["file"])
        source = Evaluator(path)
        for take in expected["takes"]:
            frames = [s["frame"] for s in take["samples"]]
            ticks = [f * TICKS_A_SECOND // expected["fps"] for f in frames]
            shown = self.scene(path, "--ticks=" + ",".join(map(str, ticks)))
            # Take nodes that the rewriting of an old scene made stand behind the file's own.
            shown["nodes"] = [n for n in shown["nodes"] if not re.match("TAKE_NODE[0-9]", n["name"])]
            names = [n["name"] for n in shown["nodes"]]
            self.assertEqual(names[1:], [n.name for n in source.nodes], "file order behind the root")
            self.assertEqual([n["parent"] for n in shown["nodes"][1:]],
                             [names.index(n.parent.name) if n.parent else 0 for n in source.nodes])
            self.assertEqual(shown["version"], source.version)
            self.assertEqual(shown["format"], "binary")
            self.assertAlmostEqual(shown["fps"], expected["fps"])
            self.assertEqual([a["ticks"] for a in shown["at"]], ticks)
            for sample, at in zip(take["samples"], shown["at"]):
                for name, want in sample["nodes"].items():
                    node = source.by_name[name]
                    if node.kind == "Camera":       # the reader leaves a camera's post-rotation alone, grounds do not
                        continue
                    where = "%s %s frame %d" % (expected["file"], name, sample["frame"])
                    got = at["nodes"][names.index(name)]
                    self.check_transform(got["local"], want["local"], want["localRotation"], where)
                    self.check_transform(got["global"], want["world"], want["worldRotation"], where)

    def check_animated(self, stem):
        """Values of animated properties, those included that packing passes over."""
        content = host.load(os.path.join(host.EXPECTED, stem + "_properties.json"))
        path = os.path.join(host.SAMPLES, content["file"])
        source = Evaluator(path)
        names = ["(root)"] + [n.name for n in source.nodes]
        for track in content["properties"]:
            if track["property"] == "FocalLength":      # expected is the angle that it makes
                continue
            pairs = [pair for values in track["values"].values() for pair in values[::7]]
            shown = self.scene(path, "--ticks=" + ",".join(str(source.ticks(f)) for f, _ in pairs))
            for (frame, want), at in zip(pairs, shown["at"]):
                rows = [a for a in at["animated"]
                        if (a["node"], a["name"]) == (names.index(track["node"]), track["property"])]
                self.assertEqual(len(rows), 1, track["property"])
                want = want if isinstance(want, list) else [want]
                got = rows[0]["value"] if isinstance(rows[0]["value"], list) else [rows[0]["value"]]
                for x, y in zip(got, want, strict=True):
                    self.assertAlmostEqual(float(x), float(y), places=4, msg="%s frame %d" % (track["property"], frame))

    def test_animated_values(self):
        for stem in ("moves", "moves_yup", "shot"):
            with self.subTest(stem):
                self.check_animated(stem)

    def test_current_stack(self):
        path = os.path.join(host.TREE, "props/lever.fbx")
        shown = self.scene(path)
        self.assertEqual([s["name"] for s in shown["stacks"]], ["Empty", "Moves"])
        self.assertEqual(shown["currentStack"], "Moves")
        arm = [n["name"] for n in shown["nodes"]].index("lever_arm")
        at = lambda *words: self.scene(path, "--at=1.1666", *words)["at"][0]["nodes"][arm]["local"]["r"]
        self.assertGreater(degrees_apart(at(), at("--stack", "Empty")), 20.0)

    def test_old_layout(self):
        path = os.path.join(host.TREE, "old/crane_own_rig.fbx")
        shown = self.scene(path, "--assets", host.TREE)
        self.assertEqual([s["name"] for s in shown["stacks"]], ["_Take001"])
        marks = {n["name"]: {p["name"]: p["value"] for p in n["properties"]} for n in shown["nodes"]}
        self.assertEqual(marks["crane_root"]["RigResource"], "assembly:/old/crane_own_rig.fbx")
        self.assertIs(marks["crane_root"]["IsRig"], True)
        self.assertEqual(marks["TAKE_NODE0"]["TakeData"],
                         '{"startFrame": 5"endFrame": 20"partialList": []"name": "crane_idle"}')
        # Who asks for a stack of the file gets the file.
        shown = self.scene(path, "--stack", "crane_idle")
        self.assertEqual([s["name"] for s in shown["stacks"]], ["crane_idle"])
        self.assertNotIn("TAKE_NODE0", [n["name"] for n in shown["nodes"]])

    def test_user_properties(self):
        shown = self.scene(os.path.join(host.TREE, "characters/scout/moves.fbx"))
        nodes = {n["name"]: {p["name"]: p for p in n["properties"]} for n in shown["nodes"]}
        self.assertIs(bool(nodes["scout_ground"]["IsGroundRoot"]["value"]), True)
        self.assertEqual(nodes["scout_ground"]["GroundName"]["value"], "scout")
        self.assertEqual(len(nodes["TAKE_strafe"]["TakeSequenceOrigin"]["value"]), 16)
        self.assertEqual(nodes["Bip01_Head"]["export_mass"]["value"], 4.5)
        self.assertIn("A", nodes["Bip01_Head"]["export_mass"]["flags"])


for _stem, _expected in expected_files():
    setattr(SceneTest, "test_transforms_" + _stem, lambda self, e=_expected: self.check_file(e))
