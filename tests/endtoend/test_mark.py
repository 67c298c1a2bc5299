"""Marking: a file without marks becomes one that packs like the sample that was written with them."""

import json
import os
import shutil

import host

GROUND = {
    "IsGroundRoot": {"type": "bool", "value": True},
    "IsRig": {"type": "bool", "value": True},
    "GroundName": {"type": "KString", "value": "lever"},
    "RigResource": {"type": "KString", "value": "assembly:/props/lever.fbx?/lever.rig"},
}


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

        def scanned():
            return self.run_host("scan", assets=tree).lines[0]["subResources"]

        self.assertEqual(scanned(), [], "a take below no ground is none")

        take = {"ground": "lever_base", "name": "pull", "startFrame": 10, "endFrame": 49}
        half = dict(take, name="half", endFrame=29, partialList=["lever_arm"])
        result = self.mark(target, {"nodes": {"lever_base": GROUND}, "takes": [take, half]}, target)
        size = os.path.getsize(target)
        (line,) = result.lines
        self.assertEqual(
            [m["text"][:50] for m in line.pop("messages")],
            ["WARNING: Scale is dropped in take '%s', on 1 of " % name for name in ("pull", "half")],
        )
        self.assertEqual(line, {"file": target, "nodes": 1, "takes": 2, "bytes": size})
        self.assertEqual([e["id"].split("?/")[1] for e in scanned()], ["pull.take", "half.take", "lever.rig"])

        pull = self.pack("assembly:/props/lever.fbx?/pull.take", assets=tree, out=os.path.join(self.work, "a"))
        plain = self.pack("assembly:/props/lever.fbx?/pull.take", out=os.path.join(self.work, "b"))
        self.assertEqual(host.content(pull["file"]), host.content(plain["file"]))
        packed = self.pack("assembly:/props/lever.fbx?/half.take", assets=tree, out=os.path.join(self.work, "a"))
        shown = self.run_host("inspect", packed["file"], assets=tree, out=os.path.join(self.work, "a")).lines[-1]
        self.assertEqual((shown["animation"]["frameCount"], shown["animation"]["boneCount"]), (20, 1))

    def test_namespaces_stripped(self):
        """The rig keeps a namespace that the take loses: without it every bone of the take is in the rig."""
        sample = os.path.join(host.SAMPLES, "stock/hiker.fbx")
        tree = os.path.join(self.work, "assembly")
        ground = dict(
            GROUND,
            GroundName={"type": "KString", "value": "hiker"},
            RigResource={"type": "KString", "value": "assembly:/hiker.fbx?/hiker.rig"},
        )
        take = {"ground": "Armature", "name": "walk", "startFrame": 0, "endFrame": 30, "partialList": ["Hips", "Head"]}
        for strip, packs in ((False, False), (True, True)):
            marks = {"stack": "Armature|Walk", "stripNamespaces": strip, "nodes": {"Armature": ground}, "takes": [take]}
            self.mark(sample, marks, os.path.join(tree, "hiker.fbx"))
            result = self.run_host("build", "--force", assets=tree)
            self.assertEqual(result.code == 0 and "not in the rig" not in str(result.messages), packs, result)

    def test_takes_of_several_stacks(self):
        """A take that names its stack, and leaves its frames to it, goes to a file that plays that stack."""
        sample = os.path.join(host.SAMPLES, "stock/hiker.fbx")
        tree = os.path.join(self.work, "assembly")
        ground = dict(
            GROUND,
            GroundName={"type": "KString", "value": "hiker"},
            RigResource={"type": "KString", "value": "assembly:/a/hiker.fbx?/hiker.rig"},
        )
        takes = [
            {"ground": "Armature", "name": name.lower(), "stack": "Armature|" + name, "partialList": ["Head"]}
            for name in ("Walk", "Idle", "Turn")
        ]
        marks = {"stripNamespaces": True, "nodes": {"Armature": ground}, "takes": takes}
        result = self.mark(sample, marks, os.path.join(tree, "a/hiker.fbx"))
        self.assertEqual(
            [os.path.basename(e["file"]) for e in result.lines], ["hiker.fbx", "hiker_Walk.fbx", "hiker_Turn.fbx"]
        )
        # Said with the output outside --assets, as the rig tells where the tree begins.
        self.assertIn("Scale is dropped in take 'walk'", str(result.lines[1]["messages"]))
        built = {e["id"].split("?/")[1].split(">")[0]: e for e in self.run_host("build", assets=tree).jobs}
        for name, frames in (("walk", 31), ("idle", 25), ("turn", 31)):
            shown = self.run_host("inspect", built[name + ".take"]["file"], assets=tree).lines[-1]
            self.assertEqual(shown["animation"]["frameCount"], frames, name)
        own = os.path.join(tree, "c_Walk.fbx")
        shutil.copyfile(sample, own)
        self.mark(own, marks, os.path.join(tree, "c.fbx"), code=1)
        self.assertEqual(host.content(own), host.content(sample), "an input is not what a stack's file replaces")
        takes[0]["stack"] = "Run"
        wrong = self.mark(sample, marks, os.path.join(tree, "b.fbx"), code=1)
        self.assertIn("/takes/0/stack: there is no anim stack 'Run'; there are 'Armature|Idle', ", wrong.stderr)
        self.assertFalse(os.path.exists(os.path.join(tree, "b.fbx")))

    def test_foretells_lost_motion(self):
        """What packing would warn of is told when the file is marked: a rig keeps its namespace, a take does not."""
        sample = os.path.join(host.SAMPLES, "stock/hiker.fbx")
        ground = dict(GROUND, RigResource={"type": "KString", "value": "assembly:/hiker.fbx?/lever.rig"})
        take = {"ground": "Armature", "name": "walk", "startFrame": 0, "endFrame": 60}
        result = self.mark(
            sample,
            {"stack": "Armature|Walk", "nodes": {"Armature": ground}, "takes": [take]},
            os.path.join(self.work, "hiker.fbx"),
        )
        told = " ".join(m["text"] for m in result.lines[0]["messages"])
        for words in (
            "are not in the rig",
            "(the rig has 'hiker:Hips')",
            "reaches 30 frames beyond",
            "Scale is dropped",
        ):
            self.assertIn(words, told)

    def test_faults(self):
        sample = os.path.join(host.TREE, "props/lever.fbx")
        target = os.path.join(self.work, "out.fbx")
        result = self.mark(sample, {"nodes": {"lever_bas": {}}}, target, code=1)
        self.assertIn(
            "marks.json: error: /nodes/lever_bas: there is no node 'lever_bas'; did you mean 'lever_base'?",
            result.stderr,
        )
        self.assertTrue(result.lines[0]["error"].startswith("/nodes/lever_bas: there is no node"), result)
        self.assertFalse(os.path.exists(target))
        broken = os.path.join(host.BAD, "truncated.fbx")
        self.assertIn(broken + ": error: ", self.mark(broken, {}, target, code=1).stderr)

    def test_schema_knows_every_key(self):
        """What the schema allows is read, and the other way round: every word of one is in the other."""
        schema = host.load(os.path.join(host.TOP, "docs/marks.schema.json"))
        sample = os.path.join(host.TREE, "props/lever.fbx")
        target = os.path.join(self.work, "out.fbx")
        for place, known in (
            ([], schema),
            (["takes"], schema["$defs"]["take"]),
            (["nodes"], schema["$defs"]["property"]),
        ):
            wrong = {"no_such_key": 1}
            marks = {"takes": [wrong]} if place == ["takes"] else {"nodes": {"a": {"P": wrong}}} if place else wrong
            said = self.mark(sample, marks, target, code=1 if place else 0).stderr
            words = said.split("known are ")[1].splitlines()[0].split(", ")
            self.assertEqual(sorted(words), sorted(known["properties"]))
        said = self.mark(sample, {"nodes": {"a": {"P": {"type": "x", "value": 1}}}}, target, code=1).stderr
        self.assertEqual(
            said.split("known are ")[1].strip().split(", "), schema["$defs"]["property"]["properties"]["type"]["enum"]
        )
