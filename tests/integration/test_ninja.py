"""A manifest for ninja makes the bytes that a build makes, and no edge runs that need not."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import integration
import trees

FAILING = 2  # the sample tree's takes without a rig


class NinjaTest(unittest.TestCase):
    def setUp(self):
        (integration.TOP / "build").mkdir(exist_ok=True)
        self.work = Path(tempfile.mkdtemp(prefix="ninja-", dir=integration.TOP / "build"))
        self.addCleanup(shutil.rmtree, self.work, True)
        self.tree, self.out, self.manifest = self.work / "tree", self.work / "out put", self.work / "build.ninja"

    def ninja(self, status=1):
        """What ran, by its description. Ninja is given the manifest's path, or finds it in its folder, by turns."""
        self.turn = not getattr(self, "turn", False)
        words = [integration.program("ninja"), "-k0", *(["-f", str(self.manifest)] if self.turn else [])]
        env = {**os.environ, "TERM": "dumb"}
        done = subprocess.run(words, cwd=None if self.turn else self.work, capture_output=True, text=True, env=env)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        self.said = done.stdout
        return sorted(line for line in re.findall(r"^\[\d+/\d+\] (.*)", done.stdout, re.M) if "props/door" not in line)

    def assert_same_as_build(self):
        """A plain build knows nothing of the manifest and packs into a folder of its own."""
        shutil.rmtree(self.work / "built", True)
        integration.animpack("build", "-q", "--assets", self.tree, "--out", self.work / "built", status=1)
        # Of takes that are gone ninja leaves what it has made, but for what cleandead removes.
        integration.run("ninja", "-f", self.manifest, "-t", "cleandead")
        self.assertEqual(trees.packed(self.out), trees.packed(self.work / "built"))

    def plan(self):
        integration.animpack("plan", "--format", "ninja", "-o", self.manifest, "--assets", self.tree, "--out", self.out)

    def test_a_thousand_takes(self):
        trees.many_takes(self.tree, 167, "moves {} $b:c'd #e;f.fbx")
        self.plan()
        self.assertGreater(len(self.ninja()), 1000)
        self.assertEqual(self.said.count("No Rig is referenced"), FAILING)
        self.assert_same_as_build()
        self.assertEqual(self.ninja(), [])

        file = self.tree / "crowd" / "group 0" / "moves 7 $b:c'd #e;f.fbx"
        os.utime(file)
        ran = self.ninja()
        self.assertEqual(len(set(ran) - {"plan"}), trees.TAKES, ran)
        self.assertTrue(all("moves 7 " in line for line in set(ran) - {"plan"}), ran)
        self.assertEqual(self.ninja(), [])

    def test_what_comes_and_goes(self):
        trees.many_takes(self.tree, 2)
        shutil.rmtree(self.tree / "props")
        self.plan()
        self.ninja(0)
        moves = self.tree / "crowd" / "group 0"
        steps = (
            ("a source comes", lambda: shutil.copyfile(trees.SCOUT / "moves.fbx", moves / "new.fbx"), trees.TAKES),
            ("events come", lambda: (moves / "new.events").write_text("<TakeList/>"), trees.TAKES),
            ("events change", lambda: (moves / "new.events").write_text("<TakeList />"), trees.TAKES),
            ("events go", (moves / "new.events").unlink, trees.TAKES),
            (
                "a source is saved by renaming",
                lambda: os.replace(shutil.copyfile(trees.SCOUT / "moves.fbx", moves / "saved"), moves / "new.fbx"),
                trees.TAKES,
            ),
            ("a source goes", (moves / "new.fbx").unlink, 0),
            ("a folder comes", lambda: shutil.copytree(moves, self.tree / "more"), 2 * trees.TAKES),
        )
        for what, change, edges in steps:
            with self.subTest(what):
                change()
                self.assertEqual(len([line for line in self.ninja(0) if line != "plan"]), edges, self.said)
                self.assertEqual(self.ninja(0), [])
        self.tree.joinpath("broken.fbx").write_text("this is no scene")
        self.assertEqual([line for line in self.ninja(1) if line != "plan"], ["scan assembly:/broken.fbx"])
        self.tree.joinpath("broken.fbx").unlink()
        self.ninja(0)
        integration.animpack("build", "-q", "--assets", self.tree, "--out", self.work / "built")
        integration.run("ninja", "-f", self.manifest, "-t", "cleandead")
        self.assertEqual(trees.packed(self.out), trees.packed(self.work / "built"))
