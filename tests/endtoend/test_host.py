"""The command line's promises: exit codes, clean output, lookups, what is packed when, scans."""

import itertools
import json
import os
import pty
import re
import shutil
import signal
import subprocess
import time
import xml.etree.ElementTree

import host
import make_samples

WALK = "assembly:/characters/scout/moves.fbx?/walk.take"
LEVER = "assembly:/props/lever.fbx?/pull.take"
DOOR = "assembly:/props/door.fbx?/open.take"
COLOUR = re.compile(rb"\x1b\[[0-9;]*m")


class ExitTest(host.HostTest):
    def test_success_and_help(self):
        self.pack(LEVER)
        for words in (["--help"], ["--version"], ["pack", "--help"], ["build", "--help"], ["inspect", "--help"]):
            result = host.execute(*words)
            self.assertEqual(result.code, 0, result)
            self.assertTrue(result.stdout.strip(), words)
        for command in ("scan", "pack", "build", "query", "inspect", "stats", "verify", "scene", "effect", "mark"):
            self.assertIn(command, host.execute("--help").stdout)

    def test_failed_assets(self):
        moves = "assembly:/characters/scout/moves.fbx"
        for words, hint in (
            (("pack", DOOR, "animation"), "No Rig is referenced"),
            (("pack", "assembly:/props/none.fbx?/open.take", "animation"), "none.fbx"),
            (("pack", LEVER.replace("pull", "pul"), "animation"), "is '?/pull.take' meant?"),
            (("pack", moves, "animation"), "there are ?/walk.take, ?/run.take, "),
            (("build", moves + "?/walk"), "is '?/walk.take' meant?"),
            (("build", LEVER.replace("pull", "pul")), "is '?/pull.take' meant?"),
            (("pack", "assembly:/props/lever.fbx?/levr.rig", "rigxml"), "is '?/lever.rig' meant?"),
            (("build", "props/none.fbx"), "there is no such file"),
        ):
            result = self.run_host(*words)
            self.assertEqual(result.code, 1, result)
            self.assertEqual(result.jobs[-1]["status"], "failed")
            self.assertIn(hint, "\n".join(m["text"] for m in result.jobs[-1]["messages"]))

    def test_no_place_to_write(self):
        """Nothing can be packed below a file: the host cannot go on."""
        blocked = os.path.join(self.work, "file")
        with open(blocked, "w", encoding="utf-8"):
            pass
        result = self.run_host("build", "assembly:/props/lever.fbx", out=os.path.join(blocked, "packed"))
        self.assertEqual(result.code, 3, result)
        self.assertTrue(result.stderr.strip())
        self.assertIn("error", result.lines[-1])

    def test_without_standard_streams(self):
        """No file of the host's own takes the place of a stream that is closed."""
        words = ["build", LEVER, "--assets", host.TREE, "--out", self.out]
        for close, code in (("<&- >&- 2>&-", 0), (">&-", 3)):
            command = 'exec "$0" "$@" %s %s' % ("--json" if code else "", close)
            self.assertEqual(subprocess.run(["sh", "-c", command, host.PROGRAM, *words], check=False).returncode, code)
        self.assertEqual(self.run_host("build", LEVER).summary["upToDate"], 1, "the state is what it was")
        nobody, stream = os.pipe()
        os.close(nobody)
        gone = subprocess.run([host.PROGRAM, *words, "--json"], stdout=stream, stderr=subprocess.PIPE, check=False)
        os.close(stream)
        self.assertEqual(gone.returncode, 3, gone.stderr)

    def test_inspecting_what_is_no_packed_file(self):
        for path in (
            os.path.join(host.TREE, "props/lever.fbx"),
            os.path.join(self.work, "absent"),
            os.path.join(host.BAD, "empty.fbx"),
        ):
            result = self.run_host("inspect", path)
            self.assertIn(result.code, (1, 2), result)


class CleanOutputTest(host.HostTest):
    def test_json_lines_alone(self):
        """Standard output holds JSON lines and nothing else, whatever happens."""
        for words in (
            ["build", "assembly:/props/lever.fbx"],
            ["build", "assembly:/props/door.fbx"],
            ["scan"],
            ["pack", DOOR, "animation"],
            ["pack", LEVER, "animation", "--progress", "always", "--color", "always"],
        ):
            result = self.run_host(*words)
            self.assertTrue(result.lines, result)
            self.assertNotIn("\x1b", result.stdout)

    def test_job_lines(self):
        result = self.run_host("pack", LEVER, "animation")
        job = result.job("AnimationPacker")
        self.assertEqual(job["source"].lower(), LEVER)
        self.assertEqual((job["status"], job["bytes"]), ("packed", os.path.getsize(job["file"])))
        self.assertGreaterEqual(job["seconds"], 0)
        for message in job["messages"]:
            self.assertIn(message["severity"], ("info", "warning", "error"))
        failed = self.run_host("pack", DOOR, "animation").job("AnimationPacker")
        self.assertIsNone(failed["file"])
        self.assertIn("error", [m["severity"] for m in failed["messages"]])

    def test_diagnostics(self):
        """IDENTIFIER: error: TEXT on standard error, one that editors can find; plain without a terminal."""
        result = self.run_host("pack", DOOR, "animation", json_lines=False)
        self.assertEqual(result.code, 1)
        (line,) = [x for x in result.stderr.splitlines() if ": error: " in x]
        shown = self.run_host("pack", LEVER, "animation", json_lines=False)
        self.assertTrue(os.path.isfile(shown.stdout.strip().splitlines()[-1]), shown)
        self.assertTrue(line.startswith("assembly:/props/door.fbx"), line)
        self.assertIn("Error when packing animation: No Rig is referenced", line)
        self.assertNotIn("\x1b", result.stderr + result.stdout)

    def on_terminal(self, *words, **env):
        """Standard error as a terminal sees it."""
        master, slave = pty.openpty()
        command = ["timeout", "60", host.PROGRAM, *words, "--assets", host.TREE, "--out", self.out, "-t:pc"]
        clean = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "TERM", "CLICOLOR", "CLICOLOR_FORCE")}
        process = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=slave,
            env={**clean, "TERM": "xterm-256color", **env},
        )
        os.close(slave)
        seen = b""
        try:
            while part := os.read(master, 65536):
                seen += part
        except OSError:  # what a closed terminal reads as
            pass
        os.close(master)
        self.assertIn(process.wait(10), (0, 1))
        return seen

    def test_colour(self):
        failing = ("pack", DOOR, "animation")
        self.assertRegex(self.on_terminal(*failing), COLOUR)
        self.assertNotRegex(self.on_terminal(*failing, NO_COLOR="1"), COLOUR)
        self.assertNotRegex(self.on_terminal(*failing, "--color", "never"), COLOUR)
        forced = self.run_host(*failing, "--color", "always", json_lines=False)
        self.assertRegex(forced.stderr.encode(), COLOUR)


class LookupTest(host.HostTest):
    def test_two_files_of_one_name(self):
        tree = self.copy_tree("props/lever.fbx")
        folder = os.path.join(tree, "props")
        shutil.copyfile(os.path.join(folder, "lever.fbx"), os.path.join(folder, "LEVER.fbx"))
        os.rename(os.path.join(folder, "lever.fbx"), os.path.join(folder, "Lever.fbx"))
        result = self.run_host("pack", LEVER, "animation", assets=tree)
        self.assertEqual(result.code, 1, result)
        self.assertRegex(result.stderr + "\n".join(result.messages), "LEVER.fbx(.|\n)*Lever.fbx")

        os.remove(os.path.join(folder, "LEVER.fbx"))
        for name in ("Lever.events", "LEVER.events"):
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write("<TakeList/>")
        for _ in range(2):  # nor does it pass for up to date the second time
            result = self.run_host("pack", LEVER, "animation", assets=tree)
            self.assertEqual(result.code, 1, result)
            self.assertIn(
                "files that differ in case alone: 'props/LEVER.events' 'props/Lever.events'", "\n".join(result.messages)
            )


class OnDemandTest(host.HostTest):
    def test_rig_document(self):
        """A packed rig as XML: the skeleton's own nesting, from the identifier that packing it gave."""
        rig = self.pack("assembly:/characters/scout/scout.rig.fbx?/scout.rig", "animationrig")
        root = xml.etree.ElementTree.parse(self.pack(rig["id"], "rigxml")["file"]).getroot()
        self.assertEqual(root.tag, "RigDefinition")
        bones = {b["index"]: b for b in self.inspect(rig["file"])["rig"]["bones"]}
        seen = []

        def walk(element, parent):
            for child in element.findall("Bone"):
                bone = bones[int(child.get("Index"))]
                self.assertEqual(
                    (child.get("Name"), int(child.get("UniqueId")), bone["parent"]),
                    (bone["name"], bone["uid"] & 0xFFFFFFFF, parent),
                )
                self.assertEqual(len(re.findall(r"-?\d[\d.e+-]*", child.get("AbsoluteLocation"))), 12)
                seen.append(bone["index"])
                walk(child, bone["index"])

        walk(root, -1)
        self.assertEqual(sorted(seen), sorted(bones))


class BuildTest(host.HostTest):
    def setUp(self):
        super().setUp()
        self.tree = self.copy_tree(
            "characters/crate_rider/rider.fbx",
            "characters/crate_rider/rider.rig.fbx",
            "props/lever.fbx",
            "props/drift.fbx",
            "animations/_common/trajectoryrig.rig.fbx",
        )

    def build(self, *words, code=0, **more):
        result = self.run_host("build", *words, assets=self.tree, timeout=300, **more)
        self.assertEqual(result.code, code, result)
        states = {}
        for job in result.jobs:
            states.setdefault(job["status"], []).append(job["source"].lower())
        for state in ("packed", "upToDate", "failed", "crashed", "removed"):
            self.assertEqual(result.summary[state], len(states.get(state, [])), result)
        return states

    def test_only_what_changed(self):
        first = self.build()
        self.assertNotIn("failed", first)
        self.assertEqual(sum(s.endswith(".take") for s in first["packed"]), 4)
        self.assertEqual(sum(s.endswith(".rig") for s in set(sum(first.values(), []))), 3)
        stamps = {p: os.stat(p).st_mtime_ns for p in self.files_of()}

        self.assertEqual(set(self.build()), {"upToDate"})
        self.assertEqual(stamps, {p: os.stat(p).st_mtime_ns for p in self.files_of()}, "nothing is written anew")
        self.assertLessEqual(set(first["packed"]), set(self.build("--force")["packed"]))

        # A rig with another rest pose: it and the takes on it, nothing else.
        scene = make_samples.rider(True)
        scene.find("Bip01_Head").rest["Lcl Translation"] = (7.0, 0.0, 1.0)
        scene.write(os.path.join(self.tree, "characters/crate_rider/rider.rig.fbx"))
        changed = self.build()
        self.assertEqual([s for s in changed["packed"] if "crate_rider" not in s], [])
        self.assertLessEqual({"ride.take", "brake.take"}, {s.rsplit("/", 1)[1] for s in changed["packed"]})
        self.assertTrue(any("lever" in s for s in changed["upToDate"]), changed)

    def test_one_failure_among_others(self):
        """A take without a rig fails; what stands before and behind it in the tree is done."""
        for name in ("props/door.fbx", "props/door.rig.fbx"):
            shutil.copyfile(os.path.join(host.TREE, name), os.path.join(self.tree, name))
        states = self.build(code=1)
        self.assertEqual(sorted(s.rsplit("/", 1)[1] for s in states["failed"]), ["open.take", "slam.take"])
        done = set(states["packed"]) | set(states.get("upToDate", ()))
        self.assertEqual((sum(s.endswith(".take") for s in done), sum(s.endswith(".rig") for s in done)), (4, 4))

    def test_what_is_gone_is_removed(self):
        """By a build of the whole tree, and nothing that no build has made."""
        database = os.path.join(self.tree, "props/set.xml")
        with open(database, "w", encoding="utf-8") as file:
            file.write("<AnimationDatabase><Character name='c'><Character name='C'/></Character></AnimationDatabase>")
        first = self.run_host("build", assets=self.tree)
        self.assertRegex(first.stderr, "props/set.xml: warning: .*'C' is lost: .*'c', stands before it")
        with open(database, "w", encoding="utf-8") as file:
            file.write("<SomethingElse/>")
        for name in ("props/drift.fbx/notes.txt", "props/none.fbx/a.take.animation"):
            path = os.path.join(self.out, "pc", name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write("mine")
        os.remove(os.path.join(self.tree, "props/drift.fbx"))
        scene = make_samples.lever()
        scene.nodes = [node for node in scene.nodes if node.name != "TAKE_pull"]
        scene.write(os.path.join(self.tree, "props/lever.fbx"))
        self.assertNotIn("removed", self.build("props/lever.fbx"))
        states = self.build()
        self.assertEqual(
            (states["removed"], "packed" in states),
            (["assembly:/props/drift.fbx?/drift.take", LEVER, "assembly:/props/set.xml?/c.chartype"], False),
        )
        left = [os.path.relpath(path, os.path.join(self.out, "pc")) for path in self.files_of() if "props" in path]
        self.assertEqual(
            left,
            ["props/drift.fbx/notes.txt", "props/lever.fbx/lever.rig.animationrig", "props/none.fbx/a.take.animation"],
        )

    def test_killed_in_the_middle(self):
        """What is there after a kill is whole, and the next build completes it; Ctrl-C leaves nothing unfinished."""
        full = os.path.join(self.work, "full")
        # So many that workers have some of them ahead.
        os.mkdir(os.path.join(self.tree, "crowd"))
        for n in range(80):
            lever = os.path.join(self.tree, "props/lever.fbx")
            shutil.copy(lever, os.path.join(self.tree, "crowd/lever_%d.fbx" % n))
        self.build(out=full)
        wanted = {os.path.relpath(p, full): host.content(p) for p in self.files_of(full)}
        command = [host.PROGRAM, "build", "--assets", self.tree, "--out", self.out, "-t:pc", "--json"]
        for delay, how in itertools.product((0.01, 0.06, 0.1, 0.12, 0.14, 0.2), (signal.SIGKILL, signal.SIGINT)):
            if how == signal.SIGINT:
                shutil.rmtree(self.out, ignore_errors=True)
            process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
            )
            time.sleep(delay)
            process.send_signal(how)
            told = process.communicate(timeout=30)[0]
            if how == signal.SIGINT:
                self.assertIn(process.returncode, (0, 130, -signal.SIGINT))  # the last: before it began
                if told:
                    last = json.loads(told.splitlines()[-1])
                    self.assertEqual(
                        last.get("error") == "interrupted" or last["summary"]["interrupted"], process.returncode == 130
                    )
                self.assertEqual([p for p in self.files_of() if p.endswith(".part")], [])
            for name, data in wanted.items():
                path = os.path.join(self.out, name)
                if os.path.exists(path):
                    self.assertEqual(host.content(path), data, name)
        self.build()
        self.assertEqual({n: host.content(os.path.join(self.out, n)) for n in wanted}, wanted)

    def test_two_builds_at_once(self):
        command = [host.PROGRAM, "build", "--assets", self.tree, "--out", self.out, "-t:pc", "--json"]
        both = [
            subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            for _ in range(2)
        ]
        for process in both:
            told = process.communicate(timeout=120)
            self.assertIn(process.returncode, (0, 3), told)  # the second may say that it cannot go on meanwhile
        self.assertIn(0, [p.returncode for p in both])
        self.assertEqual(set(self.build()), {"upToDate"})


class ScanTest(host.HostTest):
    def scanned(self, name):
        result = self.run_host("scan", "assembly:/" + name)
        self.assertEqual(result.code, 0, result)
        (line,) = result.lines
        self.assertEqual((line["ok"], line["error"], line["references"]), (True, None, []))
        return line["subResources"]

    def test_takes_then_rigs(self):
        entries = self.scanned("props/lever.fbx")
        self.assertEqual([e["id"] for e in entries], [LEVER, "assembly:/props/lever.fbx?/lever.rig"])
        self.assertEqual({e["source"] for e in entries}, {"assembly:/props/lever.fbx"})
        self.assertEqual(entries[1]["properties"], {})

    def test_take_properties(self):
        expected = host.load(os.path.join(host.EXPECTED, "moves.json"))
        entries = {e["properties"]["TakeName"]: e["properties"] for e in self.scanned("characters/scout/moves.fbx")}
        self.assertEqual(list(entries), [t["name"] for t in expected["takes"]])
        for take in expected["takes"]:
            p = entries[take["name"]]
            count = take["endFrame"] - take["startFrame"] + 1
            self.assertEqual(p["SequenceDuration"], "%d/30FPS" % (count - 1))
            self.assertAlmostEqual(float(p["DurationSeconds"]), count / 30, places=4)
            self.assertEqual(float(p["FPS"]), 30.0)
            self.assertEqual(p["CutsequenceRigResource"], "assembly:/characters/scout/scout.rig.fbx?/scout.rig")
            self.assertEqual(p["SequenceTrackTypes"], "Trajectory|Bones")

    def test_camera_and_attached(self):
        kinds = {
            n: {e["properties"]["SequenceTrackTypes"] for e in self.scanned(n)}
            for n in ("cameras/shot.fbx", "props/drift.fbx", "props/door.fbx")
        }
        self.assertEqual(
            kinds,
            {
                "cameras/shot.fbx": {"Trajectory|FieldOfView"},
                "props/drift.fbx": {"Trajectory"},
                "props/door.fbx": {"Trajectory"},
            },
        )

    def test_whole_tree(self):
        result = self.run_host("scan")
        self.assertEqual(result.code, 0, result)
        self.assertEqual(
            {line["source"] for line in result.lines},
            {"assembly:/" + name for name in (*make_samples.TREE, "characters/scout/scout.xml")},
        )
        names = [e["id"] for line in result.lines for e in line["subResources"]]
        self.assertEqual((sum(n.endswith(".take") for n in names), sum(n.endswith(".rig") for n in names)), (19, 7))
        self.assertEqual(len(set(names)), len(names))
