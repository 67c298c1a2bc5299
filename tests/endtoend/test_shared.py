"""Larger collections beside the repository, where they are there: real files with reference tables, more samples."""

import glob
import os
import subprocess
import sys

import host


class SharedTest(host.HostTest):
    def folder(self, *names):
        path = os.path.join(host.SHARED, *names)
        if not os.path.exists(path):
            self.skipTest("%s is not there" % path)
        return path

    def script(self, *words):
        done = subprocess.run(
            [sys.executable, "-B", *words], capture_output=True, text=True, timeout=1500, stdin=subprocess.DEVNULL
        )
        self.assertEqual(done.returncode, 0, (done.stdout + done.stderr)[-4000:])

    def test_scene_files_against_reference_tables(self):
        corpus = self.folder("fbx-corpus")
        self.script(
            os.path.join(corpus, "check.py"), host.PROGRAM, os.path.join(corpus, "files"), os.path.join(corpus, "ref")
        )

    def test_packed_takes_of_the_larger_samples(self):
        samples = self.folder("samples")
        expected = sorted(glob.glob(os.path.join(samples, "expected", "*.json")))
        names = [p for p in expected if not p.endswith(("_ground.json", "_properties.json", ".rig.json", "rifle.json"))]
        self.assertTrue(names)
        self.script(os.path.join(samples, "check_packed.py"), host.PROGRAM, samples, self.out, *names)

    def test_damaged_scene_files(self):
        """A clean refusal or a scene, in bounded time and memory."""
        files = sorted(glob.glob(os.path.join(self.folder("fbx-corpus", "malformed"), "*")))
        files = [f for f in files if not f.endswith((".csv", ".md"))]
        self.assertTrue(files)
        for path in files:
            with self.subTest(os.path.basename(path)):
                self.assertIn(host.execute("scene", path, "--json", timeout=60, limit=True).code, (0, 1))
