"""Marking: a file without marks becomes one that packs like the sample that was written with them."""

import json
import os

import host

GROUND = {"IsGroundRoot": {"type": "bool", "value": True}, "IsRig": {"type": "bool", "value": True},
          "GroundName": {"type": "KString", "value": "lever"},
          "RigResource": {"type": "KString", "value": "assembly:/props/lever.fbx?/lever.rig"}}


class MarkTest(host.HostTest):
    def mark(self, source, marks, target, code=0):
        path = os.path.join(self.work, "marks.json")
        with open(path, "w", encoding="utf-8") as f:
            json.dump(marks, f)
        result = host.execute("mark", source, path, target, "--json")
        self.assertEqual(result.code, code, result)
        return result

    def test_marked_again(self):
        sample = os.path.join(host.TREE, "props/lever.fbx")
        tree = os.path.join(self.work, "assembly")
        target = os.path.join(tree, "props/lever.fbx")
        self.mark(sample, {"nodes": {"lever_base": dict.fromkeys(GROUND)}}, target)
        scanned = lambda: self.run_host("scan", assets=tree).lines[0]["subResources"]
        self.assertEqual(scanned(), [], "a take below no ground is none")

        take = {"ground": "lever_base", "name": "pull", "startFrame": 10, "endFrame": 49}
        half = dict(take, name="half", endFrame=29, partialList=["lever_arm"])
        result = self.mark(target, {"nodes": {"lever_base": GROUND}, "takes": [take, half]}, target)
        self.assertEqual(result.lines, [{"file": target, "nodes": 1, "takes": 2}])
        self.assertEqual([e["id"].split("?/")[1] for e in scanned()], ["pull.take", "half.take", "lever.rig"])

        pull = self.pack("assembly:/props/lever.fbx?/pull.take", assets=tree, out=os.path.join(self.work, "a"))
        plain = self.pack("assembly:/props/lever.fbx?/pull.take", out=os.path.join(self.work, "b"))
        self.assertEqual(host.content(pull["file"]), host.content(plain["file"]))
        packed = self.pack("assembly:/props/lever.fbx?/half.take", assets=tree, out=os.path.join(self.work, "a"))
        shown = self.run_host("inspect", packed["file"], assets=tree, out=os.path.join(self.work, "a")).lines[-1]
        self.assertEqual((shown["animation"]["frameCount"], shown["animation"]["boneCount"]), (20, 1))

    def test_faults(self):
        sample = os.path.join(host.TREE, "props/lever.fbx")
        target = os.path.join(self.work, "out.fbx")
        result = self.mark(sample, {"nodes": {"lever_bas": {}}}, target, code=1)
        self.assertIn("marks.json: error: /nodes/lever_bas: there is no node 'lever_bas'; did you mean 'lever_base'?",
                      result.stderr)
        self.assertEqual([sorted(line) for line in result.lines], [["error", "file"]])
        self.assertFalse(os.path.exists(target))
        broken = os.path.join(host.BAD, "truncated.fbx")
        self.assertIn(broken + ": error: ", self.mark(broken, {}, target, code=1).stderr)

    def test_schema_knows_every_key(self):
        """What the schema allows is read, and the other way round: every word of one is in the other."""
        schema = host.load(os.path.join(host.TOP, "docs/marks.schema.json"))
        sample = os.path.join(host.TREE, "props/lever.fbx")
        target = os.path.join(self.work, "out.fbx")
        for place, known in (([], schema), (["takes"], schema["$defs"]["take"]),
                             (["nodes"], schema["$defs"]["property"])):
            wrong = {"no_such_key": 1}
            marks = {"takes": [wrong]} if place == ["takes"] else {"nodes": {"a": {"P": wrong}}} if place else wrong
            said = self.mark(sample, marks, target, code=1 if place else 0).stderr
            words = said.split("known are ")[1].strip().split(", ")
            self.assertEqual(sorted(words), sorted(known["properties"]))
        said = self.mark(sample, {"nodes": {"a": {"P": {"type": "x", "value": 1}}}}, target, code=1).stderr
        self.assertEqual(said.split("known are ")[1].strip().split(", "),
                         schema["$defs"]["property"]["properties"]["type"]["enum"])
