"""The scan index: what scanning keeps between runs, and animpack query, which answers from it."""

import glob
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
        self.assertEqual([line["source"].rsplit("/", 1)[1] for line in first.lines],
                         ["scout.xml", "moves.fbx", "scout.rig.fbx", "lever.fbx"])
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
        self.assertEqual(self.names("--kind", "take"), ["jump", "run", "strafe", "turn", "walk", "wave"],
                         "what can't be scanned is not in the index")

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

    def test_build_keeps_it_too(self):
        self.run_host("build", assets=self.tree)
        built = self.query().lines
        shutil.rmtree(self.out)
        self.scan()
        self.assertEqual(self.query().lines, built)

    def test_same_content_for_any_number_of_workers(self):
        def rows():
            with sqlite3.connect(self.index) as db:
                return [db.execute("SELECT * FROM %s ORDER BY 1, 2" % t).fetchall()
                        for t in ("entry", "reference", "property", "property_name")]
        self.scan("-j", "1")
        one = rows()
        shutil.rmtree(self.out)
        self.scan("-j", "4")
        self.assertEqual(rows(), one)
        self.assertGreater(len(one[2]), 100)

    def test_damaged_index(self):
        self.scan()
        wanted = self.query().lines
        good = host.content(self.index)

        def sql(text):
            with sqlite3.connect(self.index) as db:
                db.executescript(text)

        def rewrite(change):
            with open(self.index, "wb") as f:
                f.write(change(good))
        middle = len(good) // 8192 * 4096
        for spoil in (lambda: rewrite(lambda b: b[:len(b) // 2]), lambda: rewrite(lambda b: b[:30]),
                      lambda: rewrite(lambda b: b"SQLite format 3\0" + b"\xff" * 5000),
                      lambda: rewrite(lambda b: b[:middle] + bytes(4096) + b[middle + 4096:]),
                      lambda: rewrite(lambda b: b[:middle] + b"\xaa" * 4096 + b[middle + 4096:]),
                      lambda: sql("PRAGMA user_version = 1"), lambda: sql("DROP TABLE reference"),
                      lambda: sql("DROP TABLE property; CREATE TABLE property(entry, value)")):
            rewrite(lambda b: b)
            spoil()
            refused = self.query(code=3)
            self.assertIn("animpack scan", refused.stderr)
            again = self.scan()
            self.assertIn("is made anew", again.stderr)
            self.assertEqual(len(again.lines), 4)
            self.assertEqual(self.query().lines, wanted)

    def test_changed_text_in_the_index(self):
        """A value that is not the one that was saved: its source is scanned again."""
        first = self.scan().stdout
        with sqlite3.connect(self.index) as db:
            db.execute("UPDATE property SET value = '31' WHERE value = '30'")
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
        far = lambda p: float(p["ACD_TotalLinearDelta"])
        for words, hold in (
                (["FPS=30", "ACD_TotalLinearDelta>1.5"], lambda p: p["FPS"] == "30" and far(p) > 1.5),
                (["FPS = 3e1", "acd_totallineardelta <= 1.5"], lambda p: p["FPS"] == "30" and far(p) <= 1.5),
                (["DurationSeconds<1.5"], lambda p: float(p["DurationSeconds"]) < 1.5),
                (["TakeName>=S", "TakeName!=turn"], lambda p: p["TakeName"] >= "s" and p["TakeName"] != "turn"),
                (["SequenceTrackTypes~*fieldofview*"], lambda p: "FieldOfView" in p["SequenceTrackTypes"]),
                (["SequenceTrackTypes!~*Bones*"], lambda p: "Bones" not in p["SequenceTrackTypes"]),
                (["CutsequenceRigResource="], lambda p: not p["CutsequenceRigResource"]),
                (["name~[a-h]*", "kind='take'"], lambda p: p["TakeName"][0].lower() in "abcdefgh")):
            got = [e["id"] for e in self.query(*[w for c in words for w in ("--where", c)])]
            self.assertEqual(got, takes(hold), words)
            self.assertTrue(0 < len(got) < 19, words)

    def test_patterns(self):
        self.assertEqual([e["name"] for e in self.query("--name", "W[ah]*", "--name", "pull")],
                         ["walk", "wave", "pull"])
        scout = [e["id"] for e in self.query("--source", "assembly:/characters/scout/*")]
        self.assertEqual(scout, [e["id"] for e in self.query("--source", "characters/scout/")])
        self.assertEqual(len(scout), 9)
        self.assertEqual([e["kind"] for e in self.query("--kind", "rig", "--source", "*scout.rig.fbx")], ["rig"])
        user, = self.query("--uses", "*/run.take")
        self.assertEqual((user["kind"], user["name"]), ("chartype", "scout"))
        self.assertEqual(len(user["references"]), 2)
        self.assertEqual(self.query("--uses", "*/idle.take"), [])

    def test_order_and_columns(self):
        words = ("--sort", "ACD_TotalLinearDelta", "--where", "FPS=30")
        far = [float(e["properties"]["ACD_TotalLinearDelta"]) for e in self.query(*words)]
        self.assertEqual(far, sorted(far))
        back = [float(e["properties"]["ACD_TotalLinearDelta"]) for e in self.query(*words, "--reverse", "--limit", "3")]
        self.assertEqual(back, far[:-4:-1])
        self.assertEqual(self.query("--name", "pull", "--columns", "FPS,TakeName")[0]["properties"],
                         {"FPS": "30", "TakeName": "pull"})
        table = host.execute("query", "--out", self.index, "--name", "[rw]*", "--columns",
                             "TakeName,ACD_TotalLinearDelta").stdout.splitlines()
        self.assertRegex(table[0], r"^id +TakeName +ACD_TotalLinearDelta \(m\)$")
        self.assertEqual(len({len(line) for line in table}), 1, "a column of numbers ends every line alike")

    def test_wrong_questions(self):
        for condition, place in (("FPS", 4), ("=30", 1), ("FPS=>30", 5), ("FPS>", 5), ("FPS!30", 4), ("", 1)):
            result = host.execute("query", "--out", self.index, "--where", condition)
            self.assertEqual((result.code, result.stdout), (2, ""), condition)
            self.assertIn("character %d:" % place, result.stderr)
            self.assertIn("!= < <= > >= ~", result.stderr)
        self.assertEqual(host.execute("query", "--kind", "bone").code, 2)
        result = host.execute("query", "--out", self.index, "--where", "ACD_TotalLinerDelta>1")
        self.assertEqual(result.code, 0)
        self.assertIn("'ACD_TotalLinearDelta' meant?", result.stderr)
        self.assertNotIn("warning", host.execute("query", "--out", self.index, "--where", "FPS>1000").stderr)


class SourceKindTest(host.HostTest):
    def test_other_documents(self):
        """Of XML files in a tree those are sources that are databases; one that is named is looked at whatever it is."""
        tree = self.copy_tree("props/lever.fbx")
        for name, text in (("other.xml", "<other/>"), ("list.xml", "<CharacterList><Character name='a'/>"
                                                                   "</CharacterList>"), ("torn.xml", "<a><b></a>")):
            with open(os.path.join(tree, name), "w", encoding="utf-8") as f:
                f.write(text)
        result = self.run_host("scan", assets=tree)
        self.assertEqual((result.code, result.stderr), (0, ""))
        self.assertEqual([line["source"] for line in result.lines], ["assembly:/props/lever.fbx"])
        for name in ("other.xml", "list.xml"):
            result = self.run_host("scan", "assembly:/" + name, assets=tree)
            self.assertEqual(result.code, 1)
            self.assertEqual(result.lines[0]["error"],
                             "Failed scanning resource 'assembly:/%s' due to the following error: 0 top-level "
                             "characters encountered. There should be exactly one" % name)
        self.assertIn("Failed to load XML document 'assembly:/torn.xml' (LoadXMLDocument: line 1, column 9: ",
                      self.run_host("scan", os.path.join(tree, "torn.xml"), assets=tree).lines[0]["error"])
        self.assertEqual(glob.glob(os.path.join(tree, "**/*.db"), recursive=True), [])
