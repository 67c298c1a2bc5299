"""The committed samples are what their scripts write, and the numbers expected of them what the scripts compute."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import fbxfile
import host


def tree_of(path):
    """All files below a folder, relative."""
    return sorted(os.path.relpath(os.path.join(top, n), path) for top, _, names in os.walk(path) for n in names)


class SamplesTest(unittest.TestCase):
    def setUp(self):
        self.work = tempfile.mkdtemp(prefix="samples-")
        self.addCleanup(shutil.rmtree, self.work, True)

    def make(self, script, *words):
        subprocess.run(
            [sys.executable, "-B", os.path.join(host.SAMPLES, "tools", script), *words],
            check=True,
            stdout=subprocess.DEVNULL,
            timeout=120,
        )

    def compare(self, made, committed):
        self.assertEqual(tree_of(made), tree_of(committed))
        for name in tree_of(made):
            a, b = os.path.join(made, name), os.path.join(committed, name)
            if host.content(a) != host.content(b):
                # Another zlib may pack the same arrays into other bytes; what they hold must be the same.
                self.assertTrue(name.endswith(".fbx"), name)
                self.assertEqual(flat(fbxfile.read(a)), flat(fbxfile.read(b)), name)

    def test_tree_and_expected(self):
        self.make("make_samples.py", self.work)
        for folder in ("assembly", "expected", "stock"):
            self.compare(os.path.join(self.work, folder), os.path.join(host.SAMPLES, folder))

    def test_bad(self):
        self.make("make_bad.py", self.work)
        self.compare(self.work, host.BAD)


def flat(file):
    version, root = file

    def walk(r):
        return (r.name, r.values, [walk(c) for c in r.children])

    return version, walk(root)
