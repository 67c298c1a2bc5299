"""Runs the program under test and hands back what it said."""

import json
import os
import resource
import shutil
import signal
import subprocess
import tempfile
import unittest

PROGRAM = ""
MEMORY_LIMIT = None
HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.normpath(os.path.join(HERE, "..", ".."))
SAMPLES = os.path.join(TOP, "samples")
TREE = os.path.join(SAMPLES, "assembly")
BAD = os.path.join(SAMPLES, "bad")
EXPECTED = os.path.join(SAMPLES, "expected")
SHARED = os.path.normpath(os.path.join(TOP, "..", "shared"))


def load(path):
    with open(path, encoding="utf-8") as f:
        return json.load(f)


class Result:
    def __init__(self, command, code, stdout, stderr):
        self.command, self.code, self.stdout, self.stderr = command, code, stdout, stderr

    @property
    def lines(self):
        """The JSON lines; a line that is none fails here, and so does one that is not an object."""
        out = []
        for line in self.stdout.splitlines():
            value = json.loads(line)
            assert isinstance(value, dict), line
            out.append(value)
        return out

    @property
    def jobs(self):
        return [line for line in self.lines if "component" in line]

    def job(self, component):
        jobs = [j for j in self.jobs if j["component"] == component]
        return jobs[-1] if jobs else None

    @property
    def summary(self):
        return self.lines[-1]["summary"]

    @property
    def messages(self):
        return [m["text"] for j in self.jobs for m in j["messages"]]

    def __str__(self):
        return "%s\nexit %s\n%s\n%s" % (" ".join(self.command), self.code, self.stdout[-3000:], self.stderr[-3000:])


def execute(*words, timeout=120, limit=False, env=None):
    """Runs the program with these words. A crash or a time-out is a failure whatever a test looks for."""
    command = [PROGRAM, *map(str, words)]

    def confine():
        if limit and MEMORY_LIMIT:
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    process = subprocess.run(
        command,
        stdin=subprocess.DEVNULL,
        capture_output=True,
        timeout=timeout,
        preexec_fn=confine,
        env={**os.environ, **env} if env else None,
    )
    result = Result(
        command, process.returncode, process.stdout.decode("utf-8"), process.stderr.decode("utf-8", "replace")
    )
    if process.returncode < 0:
        raise AssertionError("ended by %s: %s" % (signal.Signals(-process.returncode).name, result))
    return result


class HostTest(unittest.TestCase):
    """A test with an output folder of its own."""

    maxDiff = 4000
    assets = TREE

    def setUp(self):
        self.work = tempfile.mkdtemp(prefix="endtoend-")
        self.addCleanup(shutil.rmtree, self.work, True)
        self.out = os.path.join(self.work, "packed")

    def run_host(self, command, *words, platform="pc", out=None, assets=None, json_lines=True, **more):
        words = [command, *words, "--assets", assets or self.assets, "--out", out or self.out]
        if platform:
            words += ["-t:" + p for p in ([platform] if isinstance(platform, str) else platform)]
        return execute(*words, *(["--json"] if json_lines else []), **more)

    def pack(self, source, extension="animation", parameters=(), **more):
        """Packs what has to pack; the job of the resource itself."""
        words = [w for p in parameters for w in ("--param", p)]
        result = self.run_host("pack", source, extension, *words, **more)
        component = {"animation": "AnimationPacker", "animationrig": "RigPacker", "rigxml": "XmlRigPacker"}[extension]
        job = result.job(component)
        self.assertEqual(result.code, 0, result)
        self.assertIsNotNone(job, result)
        self.assertIn(job["status"], ("packed", "upToDate"), result)
        self.assertTrue(job["file"] and os.path.isfile(job["file"]), result)
        return job

    def inspect(self, file, frames=None, **more):
        words = ["--frames", ",".join(map(str, frames))] if frames is not None else []
        result = self.run_host("inspect", file, *words, **more)
        self.assertEqual(result.code, 0, result)
        return result.lines[-1]

    def copy_tree(self, *names):
        """A tree of this test's own with the named files of the samples, or all of them."""
        tree = os.path.join(self.work, "tree")
        if not names:
            shutil.copytree(TREE, tree)
        for name in names:
            os.makedirs(os.path.dirname(os.path.join(tree, name)), exist_ok=True)
            shutil.copyfile(os.path.join(TREE, name), os.path.join(tree, name))
        return tree

    def files_of(self, folder=None):
        """All files below the output folder, the build state's aside."""
        out = []
        for top, _, names in os.walk(folder or self.out):
            for name in names:
                path = os.path.join(top, name)
                with open(path, "rb") as f:
                    head = f.read(16)
                if not head.startswith(b"SQLite format 3") and not path.endswith(("-wal", "-shm", "-journal", ".lock")):
                    out.append(path)
        return sorted(out)


def content(path):
    with open(path, "rb") as f:
        return f.read()
