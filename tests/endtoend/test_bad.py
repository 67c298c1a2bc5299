"""Broken and awkward input: each file fails or packs as the table says, and takes nothing else down with it."""

import os

import host
import resourcefile

ROWS = host.load(os.path.join(host.BAD, "expected.json"))


class BadTest(host.HostTest):
    assets = host.BAD

    def check_row(self, row):
        if "scan" in row:
            result = self.run_host("scan", row["scan"], timeout=60, limit=True)
            (line,) = result.lines
            bad = row["result"] == "fails"
            self.assertEqual((result.code, line["ok"]), (int(bad), not bad), result)
            self.assertIn(row["message"], line["error"] if bad else result.stderr)
            return
        words = [w for p in row.get("parameters", ()) for w in ("--param", p)]
        result = self.run_host("pack", row["pack"], row["extension"], *words, timeout=60, limit=True)
        job = result.job("AnimationPacker" if row["extension"] == "animation" else "RigPacker")
        self.assertIsNotNone(job, result)
        self.assertIn(result.code, (0, 1), result)
        self.assertEqual(result.code == 0, job["status"] in ("packed", "upToDate"), result)
        self.assertIn(row["message"], "\n".join(m["text"] for m in job["messages"]), result)
        outcome = {"packs": (0, ("packed",)), "fails": (1, ("failed",)), "halts": (1, ("failed", "crashed"))}
        if row["result"] in outcome:
            code, states = outcome[row["result"]]
            self.assertEqual(result.code, code, result)
            self.assertIn(job["status"], states, result)
        else:
            self.assertIn(job["status"], ("packed", "failed"), result)
        self.check_output(row, job)

    def check_output(self, row, job):
        kind = "ARTY" if row["extension"] == "animation" else "RRTY"
        kinds = [resourcefile.parse_file(path).kind for path in self.files_of()]  # each of them whole
        if job["status"] == "packed":
            self.assertEqual(resourcefile.parse_file(job["file"]).kind, kind)
            shown = self.inspect(job["file"])
            if "frames" in row:
                self.assertEqual(shown["animation"]["frameCount"], row["frames"])
            if "bones" in row:
                bones = shown["animation"]["boneCount"] if kind == "ARTY" else len(shown["rig"]["bones"])
                self.assertEqual(bones, row["bones"])
        else:
            self.assertIsNone(job["file"])
            self.assertNotIn(kind, kinds, "a failure leaves no output")

    def test_table_covers_every_file(self):
        listed = {row["file"] for row in ROWS}
        there = {n for n in os.listdir(host.BAD) if n.endswith((".fbx", ".txt"))}
        self.assertEqual(listed, there)

    def test_the_rest_is_still_built(self):
        """One build over all of it: the sound takes and rigs come out, the failures are counted, it ends with 1."""
        result = self.run_host("build", timeout=300, limit=True)
        self.assertEqual(result.code, 1, result)
        done = {j["id"]: j for j in result.jobs}
        packed = [j for j in done.values() if j["status"] == "packed"]
        for row in ROWS:
            jobs = [j for j in packed if j["source"].lower() == row.get("pack", "").lower()]
            if row["result"] == "packs" and not row.get("parameters"):
                self.assertTrue(jobs, row)
            elif row["result"] in ("fails", "halts") and not row.get("parameters"):
                self.assertFalse(jobs, row)
        self.assertEqual(result.summary["packed"], len(packed))
        self.assertGreater(result.summary["failed"] + result.summary["crashed"], 10)
        for path in self.files_of():
            resourcefile.parse_file(path)

    def test_a_failure_is_not_remembered_as_done(self):
        name = "assembly:/nan_curve.fbx"
        for _ in range(2):
            result = self.run_host("build", name)
            self.assertEqual(result.code, 1, result)
            self.assertGreaterEqual(result.summary["failed"], 1)


for _number, _row in enumerate(ROWS):
    _label = os.path.basename(_row.get("pack") or _row["scan"]).replace("?/", "_").replace(".", "_")
    setattr(
        BadTest,
        "test_%02d_%s_%s" % (_number, _row["file"].split(".")[0], _label),
        lambda self, row=_row: self.check_row(row),
    )
