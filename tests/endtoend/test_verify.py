"""animpack verify: what it finds in good files and bad ones, and a fault of known size."""

import json
import os
import shutil

import host
import make_samples


class VerifyTest(host.HostTest):
    def verify(self, *words, code=0, **more):
        result = self.run_host("verify", *words, **more)
        self.assertEqual(result.code, code, result)
        return result

    def test_both_platforms_decode_alike(self):
        self.run_host("build", platform=("pc", "ps3"))
        lines = self.verify(platform=None).lines
        self.assertEqual({line["platform"] for line in lines}, {"pc", "ps3"})
        by_platform = [
            [
                {k: v for k, v in line.items() if k not in ("id", "platform", "bytes")}
                for line in lines
                if line["platform"] == p
            ]
            for p in ("pc", "ps3")
        ]
        self.assertEqual(*by_platform)
        self.assertGreaterEqual(len(by_platform[0]), 15)
        self.assertLess(max(line["maxMillimetres"] for line in lines), 0.5)
        again = self.verify("-j", "3", platform=None)
        self.assertEqual(again.lines, lines, "the same for any number of workers")

    def test_another_source_is_seen(self):
        """A knob that hangs a centimetre lower than when it was packed."""
        tree = self.copy_tree("props/lever.fbx")
        packed = self.pack("assembly:/props/lever.fbx?/pull.take", assets=tree)
        scene = make_samples.lever()
        scene.find("lever_knob").rest["Lcl Translation"] = (0, 0, 44)
        scene.write(os.path.join(tree, "props/lever.fbx"))
        (line,) = self.verify(assets=tree).lines
        self.assertAlmostEqual(line["maxMillimetres"], 10, delta=0.01)
        self.assertEqual(line["worstBone"], "lever_knob")
        self.assertEqual((line["frames"], line["bytes"]), (40, os.path.getsize(packed["file"])))
        self.assertTrue(0 < line["meanMillimetres"] < line["maxMillimetres"] and line["maxRotationDegrees"] < 0.1, line)
        result = self.verify("--max-mm", "9.5", "props/lever.fbx", assets=tree, code=1)
        self.assertIn("the bone 'lever_knob' in frame", result.stderr)
        self.assertIn(packed["id"] + ": error: ", result.stderr)
        self.assertEqual(result.lines[0]["bones"], 3)
        self.verify("--max-mm", "11", "--max-degrees", "1", assets=tree)
        result = self.verify("--max-degrees", "0.0001", assets=tree, code=1)
        self.assertIn("degrees off", result.stderr)

        path = os.path.join(tree, "props/lever.fbx")
        shorter = host.content(path).replace(b'"endFrame": 49', b'"endFrame": 48')
        self.assertNotEqual(shorter, host.content(path))
        with open(path, "wb") as f:
            f.write(shorter)
        (line,) = self.verify(assets=tree, code=1).lines
        self.assertIn("has 40 frames, its take 39", line["error"])
        os.remove(path)
        self.assertIn("source can't be read", self.verify(assets=tree, code=1).lines[0]["error"])

    def test_lost_motion(self):
        """What the scene shows and the packed take has not is an error, however well the rest was packed."""
        tree = os.path.join(self.work, "tree")
        source = os.path.join(self.work, "hiker.fbx")

        def packed(*words):
            result = self.run_host("build", "--force", assets=tree)
            self.assertEqual(result.code, 0, result)
            return result

        # A rig that knows all but one of the bones that move.
        for without in ("Head", "LeftUpLeg"):
            shutil.rmtree(tree, True)
            names = [b[0] for b in make_samples.HIKER_BONES if b[0] != without]
            make_samples.hiker(("Walk",), bones=names).write(source)
            host.execute("adopt", source, "--assets", tree)
            with open(os.path.join(tree, "hiker/hiker.rig.fbx"), "rb") as f:
                poorer = f.read()
            os.remove(os.path.join(tree, "hiker/hiker.rig.fbx"))
            make_samples.hiker(("Walk",)).write(source)
            host.execute("adopt", source, "--assets", tree)
            packed()
            (line,) = self.verify(assets=tree).lines
            self.assertEqual((line["lostBones"], line["lostMillimetres"], line["droppedScale"]), ([], 0, []))
            with open(os.path.join(tree, "hiker/hiker.rig.fbx"), "wb") as f:
                f.write(poorer)
            self.assertIn(
                "1 of 9 bones that move in take 'Walk' are not in the rig, and their motion is lost: '%s'" % without,
                "".join(packed().messages),
            )
            (line,) = self.verify(assets=tree, code=1).lines
            self.assertEqual(line["lostBones"], [without])
            self.assertGreater(line["lostMillimetres"], 1)
            self.assertIn("motion of 1 bone did not come through: '%s'" % without, line["error"])

        # Namespaces that the rig keeps and the take loses: nothing below the ground moves any more.
        shutil.rmtree(tree)
        shutil.rmtree(self.out)
        marks = os.path.join(self.work, "marks.json")
        rig = "assembly:/hiker.fbx?/hiker.rig"
        with open(marks, "w", encoding="utf-8") as f:
            json.dump(
                {
                    "nodes": {
                        "Armature": {
                            "IsGroundRoot": {"type": "bool", "value": True},
                            "IsRig": {"type": "bool", "value": True},
                            "GroundName": {"type": "KString", "value": "hiker"},
                            "RigResource": {"type": "KString", "value": rig},
                        }
                    },
                    "takes": [{"ground": "Armature", "name": "walk", "startFrame": 0, "endFrame": 45}],
                },
                f,
            )
        os.makedirs(tree)
        self.assertEqual(host.execute("mark", source, marks, os.path.join(tree, "hiker.fbx")).code, 0)
        told = "".join(packed().messages)
        for text in (
            "8 of 8 bones",
            "'Hips' (the rig has 'hiker:Hips')",
            "on 1 of 14 nodes: 'Armature' (100)",
            "reaches 15 frames beyond its anim stack 'Armature|Walk', which has frames 0 to 30",
        ):
            self.assertIn(text, told)
        (line,) = self.verify(assets=tree, code=1).lines
        self.assertEqual(
            sorted(line["lostBones"]),
            ["Head", "Hips", "LeftArm", "LeftLeg", "LeftUpLeg", "RightArm", "RightLeg", "RightUpLeg"],
        )
        self.assertEqual(line["droppedScale"], ["Armature"])

    def test_what_fails_alone(self):
        self.run_host("build", "assembly:/props", "assembly:/cameras")
        files = [p for p in self.files_of() if p.endswith(".animation")]
        with open(files[0], "r+b") as f:
            f.truncate(100)
        os.remove(next(p for p in self.files_of() if p.endswith("lever.rig.animationrig")))
        result = self.verify("cameras/", "assembly:/props/lever.fbx?/pull.take", "assembly:/none.fbx", code=1)
        errors = [line for line in result.lines if line["error"]]
        self.assertEqual(len(errors), 3, result)
        self.assertEqual(len(result.lines), 4)
        self.assertIn("no packed animation", errors[0]["error"])
        self.assertIn("lever.rig", errors[2]["error"])
        table = self.verify("cameras", json_lines=False, code=1)
        self.assertIn("max mm", table.stdout.splitlines()[0])
        self.assertIn("1 failed", table.stderr)
