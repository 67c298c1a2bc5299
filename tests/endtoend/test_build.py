"""What a build tells of itself: why a job ran, what failed for which cause, what would be done."""

import json
import os
import shutil
import signal
import subprocess
import time

import host

SCOUT = "assembly:/characters/scout/"
RIG = "<%sscout.rig.fbx?/scout.rig>.pc.animationrig" % SCOUT
WALK = "<%smoves.fbx?/walk.take>.pc.animation" % SCOUT
LEVER = "<assembly:/props/lever.fbx?/pull.take>.pc.animation"
SHOT = "<assembly:/cameras/shot.fbx?/shot.take>.pc.animation"
NAMES = (
    "characters/scout/scout.rig.fbx",
    "characters/scout/moves.fbx",
    "props/lever.fbx",
    "cameras/shot.fbx",
    "animations/_common/trajectoryrig.rig.fbx",
    "props/door.fbx",
    "props/door.rig.fbx",
)


def reasons(result):
    """What each job says why it ran: (what, identifier, change of bytes)."""
    return {
        j["id"]: [(w["what"], w["id"], w["bytesNow"] - w["bytesBefore"]) for w in j["why"]]
        for j in result.jobs
        if "why" in j
    }


class ExplainTest(host.HostTest):
    def change(self):
        """One input of each kind of change, in a tree that is built."""
        self.tree = self.copy_tree(*NAMES)
        self.assertEqual(self.run_host("build", assets=self.tree).summary["failed"], 2)
        with open(os.path.join(self.tree, NAMES[0]), "ab") as file:
            file.write(b"\n")
        with open(os.path.join(self.tree, "cameras/shot.events"), "wb") as file:
            file.write(b"<TakeList/>")
        lever = os.path.join(self.out, "pc/props/lever.fbx/pull.take.animation")
        os.remove(lever)
        os.remove(os.path.join(self.tree, "props/door.rig.fbx"))
        return {
            RIG: [("inputChanged", SCOUT + "scout.rig.fbx", 1)],
            LEVER: [
                (
                    "outputGone",
                    lever,
                    -os.path.getsize(
                        self.pack("assembly:/props/lever.fbx?/pull.take", out=os.path.join(self.work, "other"))["file"]
                    ),
                )
            ],
            SHOT: [("inputNew", "assembly:/cameras/shot.events", 11)],
        }

    def test_why(self):
        expected = self.change()
        before = self.files_of()
        foreseen = self.run_host("build", "--dry-run", assets=self.tree)
        self.assertEqual(foreseen.code, 0, foreseen)
        self.assertEqual(self.files_of(), before, "a dry run writes nothing")
        self.assertEqual(reasons(foreseen)[WALK], [("inputChanged", SCOUT + "scout.rig.fbx", 1), ("needAgain", RIG, 0)])
        self.assertEqual(
            [j["id"] for j in foreseen.jobs if j["status"] == "toRemove"],
            ["<assembly:/props/door.rig.fbx?/door.rig>.pc.animationrig"],
        )
        done = self.run_host("build", assets=self.tree)
        for found in (reasons(foreseen), reasons(done)):
            self.assertEqual({job: found[job] for job in expected}, expected)
        status = {"toPack": ("packed", "failed"), "toRemove": ("removed",), "upToDate": ("upToDate",)}
        now = {j["id"]: j["status"] for j in done.jobs}
        for job in foreseen.jobs:
            self.assertIn(now[job["id"]], status[job["status"]], job)
        for forced, what in ((False, "new"), (True, "forced")):
            words = ["--force"] if forced else []
            again = reasons(self.run_host("build", *words, assets=self.tree))
            self.assertEqual({w for job, why in again.items() if forced or "door" in job for w, *_ in why}, {what})
        self.assertEqual(again.keys() >= expected.keys(), True)

    def test_no_output_folder(self):
        result = self.run_host("build", "--dry-run", assets=self.copy_tree(*NAMES))
        self.assertGreater(result.summary["toPack"], 5)
        self.assertFalse(os.path.exists(self.out), "a dry run makes no folder")

    def test_end_of_the_story(self):
        """Two failures of one cause are one; the log has what -q leaves out."""
        log = os.path.join(self.work, "log")
        result = self.run_host("build", "-q", "--log", log, assets=self.copy_tree(*NAMES), json_lines=False)
        lines = result.stderr.splitlines()
        self.assertEqual([": error: " in line for line in lines], [True, True], result)
        told = host.content(log).decode().splitlines()
        self.assertLessEqual(set(lines), set(told))
        causes = told.index("failures by cause:")
        self.assertRegex(told[causes + 1], "^ +2  .*No Rig is referenced.*first assembly:/props/door.fbx")
        self.assertEqual(len([x for x in told[told.index("slowest:") + 1 : -1] if " s  <assembly:/" in x]), 5)
        self.assertIn("because it is new, or failed the last time", "\n".join(told))


class DepFileTest(host.HostTest):
    def test_what_was_read(self):
        """Files that were read, of needs too, and the folder of what was looked for in vain."""
        tree = os.path.realpath(self.copy_tree(*NAMES))
        depfile = os.path.join(self.work, "lever.d")
        source = os.path.join(tree, "props/le ver#$.fbx")
        lever = os.path.join(tree, "props/lever.fbx")
        shutil.copyfile(lever, source)
        for status in ("packed", "upToDate"):
            job = self.run_host("pack", source + "?/pull.take", "animation", "--depfile", depfile, assets=tree).job(
                "AnimationPacker"
            )
            self.assertEqual(job["status"], status)
            plain = [
                x.strip().replace("\\ ", " ").replace("\\#", "#").replace("$$", "$")
                for x in host.content(depfile).decode().split(" \\\n  ")
            ]
            self.assertEqual(plain[0], job["file"] + ":")
            self.assertEqual(
                plain[1:],
                sorted(
                    [
                        source,
                        lever,
                        os.path.join(tree, "props"),
                        os.path.join(self.out, "pc/props/lever.fbx/lever.rig.animationrig"),
                    ]
                ),
            )


class WatchTest(host.HostTest):
    def test_builds_again(self):
        """After the last write, once for a storm, in folders that come and are renamed; the output is in the tree."""
        tree = self.copy_tree(*NAMES[:4])
        words = [host.PROGRAM, "build", "--watch", "--json", "--assets", tree, "--out", os.path.join(tree, "packed")]
        watch = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(watch.kill)

        def summary():
            jobs = []
            for line in watch.stdout:
                value = json.loads(line)
                if "summary" in value:
                    return value["summary"], jobs
                jobs.append(value)
            self.fail(watch.stderr.read())

        self.assertEqual(summary()[0]["failed"], 3)  # cameras, and the rig that they lack
        while "watching" not in watch.stderr.readline():
            pass
        lever, folder = os.path.join(tree, "props/lever.fbx"), os.path.join(tree, "new")
        with open(lever, "ab") as file:
            file.write(b"\n")
        wrote = time.monotonic()
        told, jobs = summary()
        self.assertLess(time.monotonic() - wrote - told["seconds"], 0.4)
        self.assertEqual(
            [j["source"] for j in jobs if j["status"] == "packed"],
            ["assembly:/props/lever.fbx?/lever.rig", "assembly:/props/lever.fbx?/pull.take"],
        )
        os.mkdir(folder)
        for n in range(20):
            shutil.copyfile(lever, os.path.join(folder, "%d.fbx" % n))
        self.assertEqual(summary()[0]["packed"], 40, "a storm is one build")
        os.rename(folder, folder + "er")
        told, _ = summary()
        self.assertEqual((told["packed"], told["removed"]), (40, 40))
        os.remove(os.path.join(folder + "er", "7.fbx"))
        self.assertEqual(summary()[0]["removed"], 2, "in a folder that was renamed")
        watch.send_signal(signal.SIGINT)
        self.assertEqual(watch.wait(10), 130)


class DiffTest(host.HostTest):
    def diff(self, *words):
        result = host.execute("diff", *words, "--json")
        *files, last = result.lines
        self.assertEqual(
            result.code, int(last["summary"]["new"] + last["summary"]["gone"] + last["summary"]["changed"] > 0)
        )
        return {f["place"]: f for f in files if f["what"] != "same"}, last["summary"]

    def test_folders_and_files(self):
        tree, other = self.copy_tree(*NAMES[:3]), os.path.join(self.work, "other")
        self.run_host("build", assets=tree)
        shutil.copytree(self.out, other)
        self.assertEqual(
            self.diff(self.out, other),
            ({}, {"new": 0, "gone": 0, "changed": 0, "maxMillimetres": 0, "same": len(self.files_of())}),
        )
        folder = "pc/characters/scout/moves.fbx/"
        shutil.move(
            os.path.join(other, folder + "turn.take.animation"), os.path.join(other, folder + "new.take.animation")
        )
        shutil.copy(
            os.path.join(other, folder + "run.take.animation"), os.path.join(other, folder + "walk.take.animation")
        )
        files, total = self.diff(self.out, other)
        self.assertEqual(
            {place: f["what"] for place, f in files.items()},
            {
                folder + "turn.take.animation": "gone",
                folder + "new.take.animation": "new",
                folder + "walk.take.animation": "changed",
            },
        )
        walk, run = (
            {
                bone["name"]: bone["character"]
                for bone in self.inspect(os.path.join(self.out, folder + name + ".take.animation"), [0, 20, 39])[
                    "frames"
                ][1]["bones"]
            }
            for name in ("walk", "run")
        )
        changed = files[folder + "walk.take.animation"]
        furthest = max(1000 * sum((p - q) ** 2 for p, q in zip(walk[b]["t"], run[b]["t"])) ** 0.5 for b in walk)
        self.assertGreater(changed["maxMillimetres"], furthest - 0.01)
        self.assertEqual(
            (changed["frames"], changed["sameShape"], total["maxMillimetres"]), (40, False, changed["maxMillimetres"])
        )
        alone, _ = self.diff(*(os.path.join(out, folder + "walk.take.animation") for out in (self.out, other)))
        self.assertEqual([f["maxMillimetres"] for f in alone.values()], [changed["maxMillimetres"]])

    def test_rigs_tell_bones(self):
        self.run_host("build", "props")
        rigs = [
            self.pack("assembly:/props/%s.rig" % name, "animationrig")["file"]
            for name in ("lever.fbx?/lever", "door.rig.fbx?/door")
        ]
        files, _ = self.diff(*rigs)
        self.assertIn("bone 'lever_arm' is gone", list(files.values())[0]["changes"])
        self.assertEqual(host.execute("diff", rigs[0], os.path.dirname(rigs[0])).code, 3)
