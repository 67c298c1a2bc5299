"""animpack adopt: stock files become characters that pack, and come out moving as the source shows them."""

import math
import os

import host
import make_samples
from fbxscene import Scene
from rotation import add, conj, scale, turn, unit

HIKER = os.path.join(host.SAMPLES, "stock", "hiker.fbx")
POINTS = ((0, 0, 0), (0.03, 0, 0), (0, 0.03, 0), (0, 0, 0.03))


def bare(name):
    return name.rsplit(":", 1)[-1].lower()


def lone_tree(scene, name, prefix="", parent=None):
    """Three bones, of which two turn."""
    top = scene.node(prefix + name, "LimbNode", parent, translation=(0, 0, 90))
    middle = scene.node(prefix + "Spine", "LimbNode", top, translation=(0, 0, 30))
    scene.node(prefix + "Head", "LimbNode", middle, translation=(0, 0, 40))
    for node, angles in ((top, (40, 0, 30)), (middle, (0, 20, 10))):
        scene.animate(node, "Lcl Rotation", [(0, (0, 0, 0)), (10, angles)])
    return top


class AdoptTest(host.HostTest):
    def setUp(self):
        super().setUp()
        self.tree = os.path.join(self.work, "assembly")

    def adopt(self, *words, code=0):
        result = host.execute("adopt", *words, "--assets", self.tree, "--json")
        self.assertEqual(result.code, code, result)
        return result.lines[:-1]

    def write(self, scene, name):
        path = os.path.join(self.work, name)
        scene.write(path)
        return path

    def scene(self, name, build):
        scene = Scene(span=(0, 10))
        scene.stack("Take 001")
        build(scene)
        return self.write(scene, name)

    def compare(self, line):
        """Largest difference in millimetres between distances of points on the bones, source against packed."""
        frames = list(range(line["firstFrame"], line["lastFrame"] + 1))[::7]
        at = ",".join(repr(f / line["fps"]) for f in frames)
        shown = host.execute("scene", line["file"], "--stack", line["stack"], "--at", at, "--json").lines[0]
        packed = self.pack(line["take"], assets=self.tree)
        decoded = self.inspect(packed["file"], [f - line["firstFrame"] for f in frames], assets=self.tree)
        nodes = {bare(n["name"]): i for i, n in enumerate(shown["nodes"])}
        worst = moved = 0
        for moment, frame in zip(shown["at"], decoded["frames"]):
            source, target = [], []
            for bone in frame["bones"][1:]:
                if bone["name"].lower() not in nodes:
                    continue
                there = moment["nodes"][nodes[bone["name"].lower()]]["global"]
                here = bone["character"]
                source += [add(scale(there["t"], line["scale"] / 100), turn(unit(there["r"]), p)) for p in POINTS]
                target += [add(here["t"], turn(conj(unit(here["r"])), p)) for p in POINTS]
            lengths = [math.dist(a, b) for a in source for b in source]
            first = lengths if frame is decoded["frames"][0] else first  # noqa: F821  set by the first frame
            moved = max(moved, *(abs(a - b) for a, b in zip(lengths, first)))
            worst = max(
                worst,
                *(abs(a - math.dist(b, c)) for a, (b, c) in zip(lengths, ((b, c) for b in target for c in target)))
            )
        self.assertGreater(moved, 1e-3, "a source that stands still proves nothing")
        return worst * 1000

    def test_character_as_exported(self):
        before = host.content(HIKER)
        planned = self.adopt(HIKER, "--dry-run")
        self.assertFalse(os.path.exists(self.tree))
        lines = self.adopt(HIKER)
        self.assertEqual(lines, planned)
        self.assertEqual(
            [(one["take"], one["stack"], one["firstFrame"], one["lastFrame"]) for one in lines],
            [
                ("assembly:/hiker/hiker_%s.fbx?/%s.take" % (s, s), "Armature|" + s, *span)
                for s, span in make_samples.HIKER_STACKS.items()
            ],
        )
        self.assertIn("scale of 'Armature' (100)", lines[0]["messages"][0]["text"])
        files = {one["written"]: host.content(one["written"]) for one in lines}
        self.adopt(HIKER)
        self.assertEqual(files, {name: host.content(name) for name in files}, "the same bytes again")
        self.assertEqual(host.content(HIKER), before)

        built = self.run_host("build", assets=self.tree)
        self.assertEqual((built.summary["packed"], built.summary["failed"]), (4, 0), built)
        self.run_host("verify", "--max-mm", "0.5", assets=self.tree)
        for line in lines:
            self.assertLess(self.compare(line), 0.2)

        def kinds(path):
            return [n["type"] for n in host.execute("scene", path, "--json").lines[0]["nodes"]]

        self.assertNotIn("Mesh", kinds(lines[1]["written"]))
        kept = self.adopt(HIKER, "--keep-geometry", "--to", "kept")
        self.assertIn("Mesh", kinds(kept[1]["written"]))
        self.assertLess(self.compare(kept[1]), 0.2)

    def test_where_the_way_goes(self):
        """The walk goes a metre and a half straight to the front; whatever carries that, bones stay where they are."""
        for root, way in (("floor", 1.5), ("static", 0.0), ("keep", 0.0)):
            with self.subTest(root=root):
                line = self.adopt(HIKER, "--root", root, "--to", "go/" + root)[1]
                self.assertLess(self.compare(line), 0.2)
                (entry,) = self.run_host("scan", line["take"].split("?")[0], assets=self.tree).lines[0]["subResources"]
                self.assertAlmostEqual(float(entry["properties"]["ACD_TotalLinearDelta"]), way, delta=1e-3)
                self.assertAlmostEqual(float(entry["properties"]["ACD_StartDirectionAngle"]), 0, delta=1e-3)
        turned = self.run_host("scan", "go/floor/hiker_Turn.fbx", assets=self.tree).lines[0]["subResources"][0]
        self.assertAlmostEqual(float(turned["properties"]["ACD_TotalAngularDelta"]), math.pi / 2, delta=1e-3)

        # A root that goes its way: the default keeps it.
        def rooted(scene):
            root = scene.node("root", "LimbNode")
            scene.animate(root, "Lcl Translation", [(0, (0, 0, 0)), (10, (0, -200, 0))])
            lone_tree(scene, "pelvis", parent=root)

        (line,) = self.adopt(self.scene("rooted.fbx", rooted))
        (entry,) = self.run_host("scan", "rooted/rooted_Take_001.fbx", assets=self.tree).lines[0]["subResources"]
        self.assertAlmostEqual(float(entry["properties"]["ACD_TotalLinearDelta"]), 2, delta=1e-3)
        self.assertEqual(line["bones"], 4)

    def test_files_of_one_skeleton(self):
        body = self.write(make_samples.hiker(stacks=()), "hero.fbx")
        legs = self.write(
            make_samples.hiker(("Walk",), "", ("Hips", "LeftUpLeg", "RightUpLeg", "LeftLeg", "RightLeg")),
            "hero_stroll.fbx",
        )
        rigs = []
        for files in ((body, legs), (legs, body)):
            lines = sorted(self.adopt(*files), key=lambda one: one["file"])
            self.assertEqual(
                [(one["take"], one["bones"]) for one in lines],
                [(None, 14), ("assembly:/hero/hero_Walk.fbx?/Walk.take", 14)],
            )
            rigs.append(host.content(os.path.join(self.tree, "hero/hero.rig.fbx")))
            os.remove(os.path.join(self.tree, "hero/hero.rig.fbx"))
        self.assertEqual(*rigs)
        # Of an animation that comes later, the rig keeps the bones that it has.
        self.adopt(body)
        (late,) = self.adopt(legs, "--to", "hero", "--name", "hero")
        self.assertEqual((late["bones"], host.content(os.path.join(self.tree, "hero/hero.rig.fbx"))), (14, rigs[0]))
        self.assertLess(self.compare(late), 0.2)

    def test_kinds_of_files(self):
        def two(scene):
            lone_tree(scene, "Hips", "anna:")
            lone_tree(scene, "Hips", "ben:")

        def armatures(scene):
            for name in ("Alice", "Bob"):
                lone_tree(scene, "Hips", parent=scene.node(name, "Null"))

        def prop(scene):
            base = scene.node("crane", "Null")
            arm = scene.node("arm", "Mesh", base, translation=(0, 0, 100))
            hook = scene.node("hook", "Null", arm, translation=(50, 0, 0))
            scene.animate(arm, "Lcl Rotation", [(0, (0, 0, 0)), (10, (0, 0, 90))])
            scene.animate(hook, "Lcl Translation", [(0, (50, 0, 0)), (10, (50, 0, -40))])

        def biped(scene):
            lone_tree(scene, "Bip01")

        def same_names(scene):
            lone_tree(scene, "HEAD")

        for label, build, takes, bones in (
            ("two", two, ["two_anna_Take_001", "two_ben_Take_001"], 4),
            ("both", armatures, ["both_Alice_Take_001", "both_Bob_Take_001"], 4),
            ("prop", prop, ["prop_Take_001"], 4),
            ("biped", biped, ["biped_Take_001"], 5),
            ("names", same_names, ["names_Take_001"], 4),
        ):
            with self.subTest(label):
                lines = self.adopt(self.scene(label + ".fbx", build))
                self.assertEqual([os.path.basename(one["written"])[:-4] for one in lines], takes)
                self.assertEqual({one["bones"] for one in lines}, {bones})
                for line in lines if label != "names" else ():
                    self.assertLess(self.compare(line), 0.2, "the bone that packers leave at rest is one of these")
        self.assertIn("'Head' is 'Head_2'", lines[0]["messages"][0]["text"])

        def stretched(scene):
            scene.animate(lone_tree(scene, "Hips"), "Lcl Scaling", [(0, (1, 1, 1)), (10, (1, 1.5, 1))])

        (line,) = self.adopt(self.scene("stretched.fbx", stretched))
        self.assertIn("scale of 'Hips' (1 to 1 1.5 1), which moves", str(line["messages"]))

    def test_refused(self):
        still = self.scene("still.fbx", lambda scene: scene.node("box", "Mesh"))
        lines = self.adopt(still, HIKER, code=1)
        self.assertEqual(
            lines[0], {"file": still, "error": "nothing in it can be a rig: it has no bones, and no node moves"}
        )
        self.assertEqual(len(lines), 4, "the others are done")
        os.makedirs(os.path.join(self.tree, "mine"))
        mine = os.path.join(self.tree, "mine/mine_Walk.fbx")
        make_samples.hiker(("Walk",)).write(mine)
        before = host.content(mine)
        for words, reason in (
            ((HIKER, "--name", "mine"), "no file that adopt wrote"),
            ((mine, "--name", "mine"), "not written over"),
            ((still, "--to", "../out"), "--to"),
            ((still, "--name", "a b"), "--name"),
        ):
            result = host.execute("adopt", *words, "--assets", self.tree)
            self.assertEqual(result.code, 2 if reason.startswith("--") else 1)
            self.assertIn(reason, result.stderr)
        self.assertEqual(host.content(mine), before)
