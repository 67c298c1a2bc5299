"""A build in shares on a Slurm cluster ends with the bytes of a build on one machine, whatever dies on the way."""

import os
import shutil
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

import integration
import trees
from slurmcluster import Cluster

SHARES = 6
FAILING = 2  # the sample tree's takes without a rig


class SlurmTest(unittest.TestCase):
    def setUp(self):
        (integration.TOP / "build").mkdir(exist_ok=True)
        self.work = Path(tempfile.mkdtemp(prefix="slurm-", dir=integration.TOP / "build"))
        self.addCleanup(shutil.rmtree, self.work, True)
        self.tree, self.out, self.script = self.work / "tree", self.work / "out 100%", self.work / "build.slurm"
        self.cluster = Cluster(self.work / "cluster")
        self.addCleanup(self.cluster.stop)
        self.cluster.start_all()

    def processes(self, stage):
        """The programs, not their workers, that do a stage here."""
        found = []
        for path in Path("/proc").glob("[0-9]*/cmdline"):
            try:
                words = path.read_bytes().split(b"\0")
                parent = int((path.parent / "stat").read_text().rsplit(")", 1)[1].split()[1])
                above = Path(f"/proc/{parent}/cmdline").read_bytes()
            except OSError:
                continue
            if str(self.out).encode() in words and stage.encode() in words and b"animpack" not in above.split(b"\0")[0]:
                found.append(int(path.parent.name))
        return found

    def kill_one(self, stage):
        """A task in the middle of its work; one that ends before it is hit leaves the next."""

        def hit():
            for process in self.processes(stage):
                try:
                    os.kill(process, 9)
                    return True
                except ProcessLookupError:
                    pass
            return False

        self.cluster.wait_for(hit, f"a task of '{stage}'")

    def submit(self):
        words = ["sh", str(self.script), "--wait"]
        return subprocess.run(words, capture_output=True, text=True, timeout=400, env=self.cluster.environment)

    def test_what_dies_is_done_again(self):
        trees.many_takes(self.tree, 300)
        integration.animpack(
            "plan", "--format", "slurm", "-n", SHARES, "-o", self.script, "--assets", self.tree, "--out", self.out
        )
        sizes = [
            sum(
                (self.tree / line.removeprefix("assembly:/")).stat().st_size
                for line in path.read_text().split("\n")
                if line
            )
            for path in (self.out / "farm").glob("*.list")
        ]
        self.assertEqual(len(sizes), SHARES)
        self.assertLess(max(sizes), 1.1 * min(sizes))

        done = []
        submitted = threading.Thread(target=lambda: done.append(self.submit()))
        submitted.start()
        self.kill_one("takes")
        self.cluster.wait_for(
            lambda: "one" in self.cluster.ask("squeue", "-h", "-t", "R", "-o", "%N"), "a task on a node"
        )
        self.cluster.kill_node("one")
        self.cluster.ask("scontrol", "update", "NodeName=one", "State=DOWN", "Reason=died")
        submitted.join()
        self.assertEqual(done[0].returncode, 1, f"{done[0].stdout}{done[0].stderr}")  # two takes fail, as everywhere
        self.assertEqual(done[0].stdout.count("No Rig is referenced"), FAILING, done[0].stdout)
        said = "".join(path.read_text() for path in (self.out / "farm").glob("takes-*.out"))
        self.assertIn("once more", said)

        integration.animpack("build", "-q", "--assets", self.tree, "--out", self.work / "built", status=1)
        self.assertEqual(trees.packed(self.out), trees.packed(self.work / "built"))
        again = integration.animpack("build", "--assets", self.tree, "--out", self.out, status=1)
        self.assertRegex(again.stderr, f"\n0 packed \\(0 B\\), [0-9]+ up to date, {FAILING} failed")

        # And a second time, for what has changed: a task costs as much as all of it.
        self.cluster.start_node("one")
        shutil.rmtree(self.tree / "crowd" / "group 2")
        with open(self.tree / "props" / "lever.fbx", "ab") as file:
            file.write(b"\n")
        integration.animpack(
            "plan", "--format", "slurm", "-n", 2, "-o", self.script, "--assets", self.tree, "--out", self.out
        )
        self.assertEqual(self.submit().returncode, 1)
        integration.animpack("build", "-q", "--assets", self.tree, "--out", self.work / "built", status=1)
        self.assertEqual(trees.packed(self.out), trees.packed(self.work / "built"))
