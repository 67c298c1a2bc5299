"""animpack stats: memory of packed animations, worked out again from the files."""

import os
import shutil

import host
import resourcefile


class StatsTest(host.HostTest):
    def stats(self, *words, code=0, platform=None, **more):
        result = self.run_host("stats", *words, platform=platform, **more)
        self.assertEqual(result.code, code, result)
        return result

    def test_figures(self):
        self.run_host("build", platform=("pc", "ps3"))
        wanted = [p for p in self.files_of() if resourcefile.parse_file(p).kind == "ARTY"]
        # A run at work has files that are none yet.
        shutil.copy(wanted[0], os.path.join(os.path.dirname(wanted[0]), ".animpack-1-2-3.part"))
        result = self.stats()
        lines, summary = result.lines[:-1], result.summary
        self.assertEqual(sorted(line["file"] for line in lines), wanted)
        sums = {}
        for line in lines:
            shown = self.inspect(line["file"])["animation"]
            groups = shown["trackGroups"]
            data = sum(g["dataBytes"] for g in groups)
            self.assertEqual((line["boneDataBytes"], line["bytes"]), (data, os.path.getsize(line["file"])))
            self.assertEqual(line["otherDataBytes"], line["bytes"] - data)
            self.assertEqual(line["boneCount"], len({b for g in groups for b in g["bones"]}))
            self.assertAlmostEqual(line["seconds"], shown["frameCount"] / shown["frameRate"], places=5)
            self.assertAlmostEqual(line["boneSeconds"], line["seconds"] * line["boneCount"], places=3)
            for g in groups:
                entry = line["trackClasses"][g["type"]]
                self.assertEqual(
                    (entry["type"], entry["tracks"], entry["bytes"]), (g["type"], len(g["bones"]), g["dataBytes"])
                )
            of = sums.setdefault(line["platform"], [0, 0, 0])
            of[0] += 1
            of[1] += line["boneDataBytes"]
            of[2] += line["otherDataBytes"]
        self.assertEqual(set(sums), {"pc", "ps3"})
        for platform, (count, data, other) in sums.items():
            told = summary["platforms"][platform]
            self.assertEqual((told["animations"], told["boneDataBytes"], told["otherDataBytes"]), (count, data, other))
            percents = sum(c["percent"] for c in told["trackClasses"]) + 100 * other / (data + other)
            self.assertAlmostEqual(percents, 100, places=6)
        self.assertEqual(summary["animations"], len(lines))

    def test_damaged_file(self):
        self.run_host("build", "assembly:/props/lever.fbx", "assembly:/cameras")
        sound = self.stats().lines[:-1]
        spoiled = sound[0]
        with open(spoiled["file"], "r+b") as f:
            f.truncate(spoiled["bytes"] - 5)
        with open(os.path.join(self.out, "pc", "junk.animation"), "wb") as f:
            f.write(b"nothing")
        result = self.stats(code=1)
        self.assertEqual(
            [line["id"] for line in result.lines[:-1] if not line["error"]], [line["id"] for line in sound[1:]]
        )
        self.assertEqual((result.summary["animations"], result.summary["failed"]), (len(sound) - 1, 2))
        self.assertIn(spoiled["id"] + ": error: ", result.stderr)
        self.assertIn("junk.animation: error: ", result.stderr)

    def test_usage(self):
        self.run_host("pack", "assembly:/props/lever.fbx?/pull.take", "animation")
        self.stats("--save", "memory.txt", code=2)
        self.stats("--save", "<assembly:/a.fbx?/b.take>.pc.animation", code=2)
        packed = [p for p in self.files_of() if p.endswith("pull.take.animation")][0]
        before = host.content(packed)
        self.stats("--save", "assembly:/props/lever.fbx/pull.take.animation")
        self.assertEqual(host.content(packed), before, "a report takes no packed file's place")
        self.assertEqual(self.stats(platform="ps4").summary["animations"], 0)
