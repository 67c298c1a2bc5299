"""What the scene file reader makes of the samples: nodes, transforms at a time, animated values."""

import os

import host
from test_transforms import degrees_apart


class SceneTest(host.HostTest):
    def scene(self, path, *words):
        result = host.execute("scene", path, "--json", *words)
        self.assertEqual(result.code, 0, result)
        return result.lines[-1]

    def test_current_stack(self):
        path = os.path.join(host.TREE, "props/lever.fbx")
        shown = self.scene(path)
        self.assertEqual(
            [(s["name"], s["firstFrame"], s["lastFrame"]) for s in shown["stacks"]],
            [("Empty", 0, 49), ("Moves", 0, 49)],
        )
        self.assertEqual((shown["unitScaleFactor"], shown["originalAxes"]), (1, shown["axes"]))
        self.assertEqual(shown["currentStack"], "Moves")
        arm = [n["name"] for n in shown["nodes"]].index("lever_arm")

        def at(*words):
            return self.scene(path, "--at=1.1666", *words)["at"][0]["nodes"][arm]["local"]["r"]

        self.assertGreater(degrees_apart(at(), at("--stack", "Empty")), 20.0)

    def test_old_layout(self):
        path = os.path.join(host.TREE, "old/crane_own_rig.fbx")
        shown = self.scene(path, "--assets", host.TREE)
        self.assertEqual([s["name"] for s in shown["stacks"]], ["_Take001"])
        marks = {n["name"]: {p["name"]: p["value"] for p in n["properties"]} for n in shown["nodes"]}
        self.assertEqual(marks["crane_root"]["RigResource"], "assembly:/old/crane_own_rig.fbx")
        self.assertIs(marks["crane_root"]["IsRig"], True)
        self.assertEqual(
            marks["TAKE_NODE0"]["TakeData"], '{"startFrame": 5"endFrame": 20"partialList": []"name": "crane_idle"}'
        )
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
