"""The scan index: what scanning keeps between runs, and animpack query, which answers from it."""

import os
import shutil
import sqlite3

import host
import make_samples

DATABASE = """<AnimationDatabase>
  <Character name="scout" rig="assembly:/characters/scout/scout.rig.fbx?/scout.rig">
    <Animation name="Walk" take="assembly:/characters/scout/moves.fbx?/walk.take"/>
    <Animation name="Run" take="assembly:/characters/scout/moves.fbx?/run.take"/>
  </Character>
</AnimationDatabase>
"""


class IndexTest(host.HostTest):
    def setUp(self):
        super().setUp()
        self.tree = self.copy_tree("characters/scout/moves.fbx", "characters/scout/scout.rig.fbx", "props/lever.fbx")
        self.database = self.add("characters/scout.xml", DATABASE)
        self.index = os.path.join(self.out, "animpack.db")

    def add(self, name, text):
        path = os.path.join(self.tree, name)
        with open(path, "w", encoding="utf-8") as f:
            f.write(text)
        return path

    def scan(self, *words, code=0):
        result = self.run_host("scan", *words, assets=self.tree)
        self.assertEqual(result.code, code, result)
        return result

    def query(self, *words, code=0, **more):
        result = host.execute("query", *words, "--out", self.out, "--json", **more)
        self.assertEqual(result.code, code, result)
        return result

    def names(self, *words):
        return [line["name"] for line in self.query(*words).lines]

    def test_unchanged_sources_are_not_opened(self):
        """Other bytes of the same size and time: nobody has looked."""
        first = self.scan()
        self.assertEqual(
            [line["source"].rsplit("/", 1)[1] for line in first.lines],
            ["scout.xml", "moves.fbx", "scout.rig.fbx", "lever.fbx"],
        )
        for top, _, names in os.walk(self.tree):
            for path in (os.path.join(top, n) for n in names):
                stat = os.stat(path)
                with open(path, "r+b") as f:
                    f.write(b"?" * stat.st_size)
                os.utime(path, ns=(stat.st_atime_ns, stat.st_mtime_ns))
        again = self.scan()
        self.assertEqual((again.stdout, again.stderr), (first.stdout, ""))
        os.utime(os.path.join(self.tree, "props/lever.fbx"))
        self.assertEqual([line["ok"] for line in self.scan(code=1).lines], [True, True, True, False])
        self.assertEqual(
            self.names("--kind", "take"),
            ["jump", "run", "strafe", "turn", "walk", "wave"],
            "what can't be scanned is not in the index",
        )

    def test_what_changed(self):
        self.scan()
        os.utime(self.database)
        self.add("characters/scout.xml", DATABASE.replace('name="scout"', 'name="guard"'))
        scene = make_samples.lever()
        scene.take(scene.nodes[0], "second", 10, 20)
        scene.write(os.path.join(self.tree, "props/lever.fbx"))
        os.remove(os.path.join(self.tree, "characters/scout/moves.fbx"))
        shutil.copy(os.path.join(host.TREE, "props/drift.fbx"), os.path.join(self.tree, "props"))
        told = self.query().stderr
        self.assertIn("2 changed, 1 gone, 1 not in the index", told)
        self.assertEqual(len(self.names("--kind", "take")), 7, "query itself opens nothing")

        self.scan("assembly:/props")
        self.assertEqual(len(self.names("--kind", "take")), 9, "of what was not asked for nothing goes")
        result = self.query("--scan", "--kind", "take,character", "--assets", self.tree)
        self.assertEqual([line["name"] for line in result.lines], ["guard", "drift", "pull", "second"])
        self.assertEqual(self.query().stderr, "")

    def test_damaged_index(self):
        self.scan()
        wanted = self.query().lines
        with sqlite3.connect(self.index) as db:
            db.execute("DROP TABLE scan")
        self.assertIn("animpack scan", self.query(code=3).stderr)
        self.assertIn("is made anew", self.scan().stderr)
        self.assertEqual(self.query().lines, wanted)

    def test_changed_text_in_the_index(self):
        """A value that is not the one that was saved: its source is scanned again."""
        first = self.scan().stdout
        with sqlite3.connect(self.index) as db:
            db.execute("UPDATE scan SET content = replace(content, 'FPS\t30', 'FPS\t31')")
        self.assertEqual(self.scan().stdout, first)
        self.assertEqual(len(self.query("--where", "FPS=30").lines), 7)

    def test_no_index(self):
        result = self.query(code=3)
        self.assertIn("animpack scan", result.stderr)
        os.makedirs(os.path.join(self.work, "bare"))
        self.run_host("scan", assets=os.path.join(self.work, "bare"))
        self.assertIn("is empty", self.query().stderr)


class QueryTest(host.HostTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        import tempfile

        cls.folder = tempfile.mkdtemp(prefix="endtoend-")
        cls.addClassCleanup(shutil.rmtree, cls.folder, True)
        cls.tree = os.path.join(cls.folder, "tree")
        shutil.copytree(host.TREE, cls.tree)
        with open(os.path.join(cls.tree, "characters/scout.xml"), "w", encoding="utf-8") as f:
            f.write(DATABASE)
        cls.index = os.path.join(cls.folder, "packed")
        cls.scanned = host.execute("scan", "--assets", cls.tree, "--out", cls.index, "--json").lines

    def query(self, *words, code=0):
        result = host.execute("query", *words, "--out", self.index, "--json")
        self.assertEqual(result.code, code, result)
        return result.lines

    def entries(self):
        return [e for line in self.scanned for e in line["subResources"]]

    def test_everything(self):
        wanted = sorted(self.entries(), key=lambda e: e["id"])
        got = self.query()
        self.assertEqual([{k: e[k] for k in ("id", "source", "references", "properties")} for e in got], wanted)
        for entry in got:
            self.assertTrue(entry["id"].endswith("?/%(name)s.%(kind)s" % entry))
        self.assertEqual([e["id"] for e in self.query("--kind", "source")], [x["source"] for x in self.scanned])

    def test_conditions(self):
        def takes(hold):
            return sorted(e["id"] for e in self.entries() if e["properties"] and hold(e["properties"]))

        def far(p):
            return float(p["ACD_TotalLinearDelta"])

        for words, hold in (
            (["FPS=30", "ACD_TotalLinearDelta>1.5"], lambda p: p["FPS"] == "30" and far(p) > 1.5),
            (["FPS = 3e1", "acd_totallineardelta <= 1.5"], lambda p: p["FPS"] == "30" and far(p) <= 1.5),
            (["DurationSeconds<1.5"], lambda p: float(p["DurationSeconds"]) < 1.5),
            (["TakeName>=S", "TakeName!=turn"], lambda p: p["TakeName"] >= "s" and p["TakeName"] != "turn"),
            (["SequenceTrackTypes~*fieldofview*"], lambda p: "FieldOfView" in p["SequenceTrackTypes"]),
            (["SequenceTrackTypes!~*Bones*"], lambda p: "Bones" not in p["SequenceTrackTypes"]),
            (["CutsequenceRigResource="], lambda p: not p["CutsequenceRigResource"]),
            (["name~[a-h]*", "kind='take'"], lambda p: p["TakeName"][0].lower() in "abcdefgh"),
        ):
            got = [e["id"] for e in self.query(*[w for c in words for w in ("--where", c)])]
            self.assertEqual(got, takes(hold), words)
            self.assertTrue(0 < len(got) < 19, words)

    def test_order_and_columns(self):
        words = ("--sort", "ACD_TotalLinearDelta", "--where", "FPS=30")
        far = [float(e["properties"]["ACD_TotalLinearDelta"]) for e in self.query(*words)]
        self.assertEqual(far, sorted(far))
        back = [float(e["properties"]["ACD_TotalLinearDelta"]) for e in self.query(*words, "--reverse", "--limit", "3")]
        self.assertEqual(back, far[:-4:-1])
        self.assertEqual(
            self.query("--name", "pull", "--columns", "FPS,TakeName")[0]["properties"],
            {"FPS": "30", "TakeName": "pull"},
        )
        table = host.execute(
            "query", "--out", self.index, "--name", "[rw]*", "--columns", "TakeName,ACD_TotalLinearDelta"
        ).stdout.splitlines()
        self.assertRegex(table[0], r"^id +TakeName +ACD_TotalLinearDelta \(m\)$")
        self.assertEqual(len({len(line) for line in table}), 1, "a column of numbers ends every line alike")
