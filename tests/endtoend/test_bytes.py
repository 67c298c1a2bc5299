"""The bytes of packed files: heads, references, byte orders, and that they are the same each time."""

import os

import host
import resourcefile
from resourcefile import ADDED

WALK = "assembly:/characters/scout/moves.fbx?/walk.take"
SCOUT = "assembly:/characters/scout/scout.rig.fbx?/scout.rig"
SAMPLED = (
    WALK,
    "assembly:/characters/scout/moves.fbx?/wave.take",
    "assembly:/cameras/shot.fbx?/shot.take",
    "assembly:/characters/crate_rider/rider.fbx?/ride.take",
    "assembly:/props/drift.fbx?/drift.take",
    "assembly:/props/lever.fbx?/pull.take",
)


class HeadTest(host.HostTest):
    def test_animation(self):
        for platform, start, big in (
            ("pc", b"YTRA", False),
            ("ps3", b"ARTY", True),
            ("durango", b"YTRA", False),
            ("ps4", b"YTRA", False),
            ("xbox360", b"ARTY", True),
        ):
            with self.subTest(platform):
                job = self.pack(WALK, platform=platform)
                data = host.content(job["file"])
                self.assertEqual(data[:4], start)
                self.assertEqual(job["bytes"], len(data))
                head = resourcefile.parse(data)
                self.assertEqual((head.big_endian, len(head.references)), (big, 1))
                self.assertEqual(head.sizes, [len(head.body), len(head.body), 0])
                self.assertEqual(head.third_words, [0])
                text, flags = head.references[0]
                self.assertEqual(flags, ADDED)
                self.assertEqual(text, text.lower())
                self.assertIn("scout.rig", text)
                self.assertIn("animationrig", text)
                shown = self.inspect(job["file"], platform=platform)
                self.assertEqual([(r["id"], r["flags"] & 0xFFFFFFFF) for r in shown["references"]], head.references)
                self.assertEqual(shown["sizes"], head.sizes)
                self.assertEqual(shown["referenceBlockSize"], head.block_size)
                self.assertEqual((shown["type"], shown["platform"]), ("ARTY", platform))
                self.assertEqual(shown["endian"], "big" if big else "little")

    def test_rig(self):
        for platform, start in (("pc", b"YTRR"), ("ps3", b"RRTY")):
            data = host.content(self.pack(SCOUT, "animationrig", platform=platform)["file"])
            self.assertEqual(data[:4], start)
            head = resourcefile.parse(data)
            self.assertEqual((head.block_size, head.references), (0, []))
            self.assertEqual(head.sizes, [len(head.body), len(head.body), 0])


class OrderTest(host.HostTest):
    def test_both_byte_orders_hold_the_same(self):
        """Value by value: groups, codes, properties, decoded bones. Only the order of the bytes differs."""
        for source in SAMPLED:
            with self.subTest(source):
                shown = {}
                for platform in ("pc", "ps3"):
                    job = self.pack(source, platform=platform)
                    one = self.inspect(job["file"], range(0, 40, 3), platform=platform)
                    heads = resourcefile.parse_file(job["file"])
                    shown[platform] = (
                        one["animation"],
                        one["frames"],
                        one["sizes"],
                        len(one["references"]),
                        len(heads.body),
                    )
                    self.assertEqual(one["endian"], "big" if platform == "ps3" else "little")
                self.assertEqual(shown["pc"], shown["ps3"])


class SameBytesTest(host.HostTest):
    def built(self, out, *words, platform=("pc", "ps3")):
        """Relative path to bytes of all that a build of a folder puts out."""
        result = self.run_host("build", *words, platform=platform, out=out, assets=self.tree, timeout=400)
        self.assertEqual(result.code, 0, result)
        return {os.path.relpath(p, out): host.content(p) for p in self.files_of(out)}

    def setUp(self):
        super().setUp()
        self.tree = self.copy_tree(
            "characters/scout/scout.rig.fbx",
            "characters/scout/moves.fbx",
            "props/drift.fbx",
            "props/lever.fbx",
            "animations/_common/trajectoryrig.rig.fbx",
        )

    def test_runs_and_workers(self):
        one = self.built(os.path.join(self.work, "one"), "-j", "1")
        four = self.built(os.path.join(self.work, "four"), "-j", "4")
        again = self.built(os.path.join(self.work, "one"), "-j", "3", "--force")
        self.assertGreater(len(one), 15)
        self.assertEqual(set(one), set(four))
        for other in (four, again):
            self.assertEqual([n for n in one if one[n] != other[n]], [])

    def test_pack_and_build(self):
        built = self.built(os.path.join(self.work, "built"), platform="pc")
        for source in (WALK, "assembly:/props/lever.fbx?/pull.take", "assembly:/props/drift.fbx?/drift.take"):
            job = self.pack(source, assets=self.tree)
            self.assertEqual(built[os.path.relpath(job["file"], self.out)], host.content(job["file"]), source)
