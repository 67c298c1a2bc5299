"""Animation databases: what scanning tells of characters, and the packed lookup read by a reader of its own."""

import os
import struct

import host
import resourcefile

MOVES = "assembly:/characters/scout/moves.fbx?/%s.take"
SCOUT = "assembly:/characters/scout/scout.rig.fbx?/scout.rig"
BLEND = "assembly:/characters/blends/Locomotion.blendspace"

DATABASE = """<?xml version="1.0"?>
<AnimationDatabase>
  <!-- entries in no order, one without a take -->
  <Character name="Scout">
    <Animation name="Walk" take="{walk}"/>
    <Animation name="run" take="{run}"/>
    <Animation name="Attack" take="{turn}"/>
    <Animation name="Stroll" take="{walk}"/>
    <Animation name="Unset" take=""/>
    <Animation name="Blend" take="{blend}"/>
    <Character name="guard" rig="{rig}">
      <Animation name="run" take="{jump}"/>
      <Animation name="Unset" take="{strafe}"/>
      <Animation name="Attack" take=""/>
      <Animation name="Blend" take="{walk}"/>
      <Character name="captain">
        <Animation name="Walk" take="{wave}"/>
        <Animation name="Walk" take="{run}"/>
      </Character>
    </Character>
  </Character>
</AnimationDatabase>
""".format(
    rig=SCOUT, blend=BLEND, **{n: MOVES % n for n in ("walk", "run", "turn", "jump", "strafe", "wave")}
)

# By the rules: the nearest definition wins, one without a take is none, capitals come before small letters.
RESOLVED = {
    "Scout": [("Attack", "turn"), ("Blend", BLEND), ("Stroll", "walk"), ("Walk", "walk"), ("run", "run")],
    "guard": [
        ("Attack", "turn"),
        ("Blend", "walk"),
        ("Stroll", "walk"),
        ("Unset", "strafe"),
        ("Walk", "walk"),
        ("run", "jump"),
    ],
    "captain": [
        ("Attack", "turn"),
        ("Blend", "walk"),
        ("Stroll", "walk"),
        ("Unset", "strafe"),
        ("Walk", "wave"),
        ("run", "jump"),
    ],
}
RIGS = {"Scout": "", "guard": SCOUT, "captain": ""}


def single(value):
    return struct.unpack("f", struct.pack("f", value))[0]


def source_of(take):
    return take if ":" in take else MOVES % take


def packed_id(take, rig, platform):
    kind = "rbs" if take == BLEND else "animation"
    return ("<%s>%s.%s.%s" % (source_of(take), "(%s)" % rig if rig else "", platform, kind)).lower()


class CharacterTest(host.HostTest):
    def setUp(self):
        super().setUp()
        self.tree = self.copy_tree("characters/scout/moves.fbx", "characters/scout/scout.rig.fbx")
        self.write(DATABASE)

    def write(self, text, name="characters/set.xml"):
        with open(os.path.join(self.tree, name), "w", encoding="utf-8") as f:
            f.write(text)

    def add_blend_space(self, platform):
        """Blend spaces are made elsewhere: a file in its place will do."""
        path = os.path.join(self.out, platform, "characters/blends/locomotion.blendspace/@.rbs")
        os.makedirs(os.path.dirname(path))
        with open(path, "wb") as f:
            f.write(b"made elsewhere")

    def test_scan(self):
        (line,) = self.run_host("scan", "assembly:/characters/set.xml", "--scandata", assets=self.tree).lines
        blob = host.content(os.path.join(self.out, "scan/characters/set.xml.scandata"))
        self.assertEqual(
            struct.unpack("<3i", blob[:12]), (0, 0, 3), "what other hosts read holds three characters, too"
        )
        self.assertEqual(
            [(e["id"], e["properties"]) for e in line["subResources"]],
            [("assembly:/characters/set.xml?/%s.chartype" % n, {}) for n in RESOLVED],
        )
        for entry, entries in zip(line["subResources"], RESOLVED.values()):
            self.assertEqual(entry["references"], [source_of(take) for _, take in entries])

    def test_packed_lookup(self):
        for platform in ("pc", "ps3"):
            self.add_blend_space(platform)
        result = self.run_host("build", platform=("pc", "ps3"), assets=self.tree)
        self.assertEqual(result.code, 0, result)
        jobs = {
            (j["source"].rsplit("/", 1)[1], j["id"].split(".")[-2]): j
            for j in result.jobs
            if j["component"] == "AnimationDatabasePacker"
        }
        self.assertEqual(len(jobs), 6)
        for name, entries in RESOLVED.items():
            for platform in ("pc", "ps3"):
                with self.subTest(name=name, platform=platform):
                    file = jobs[name.lower() + ".chartype", platform]["file"]
                    resource = resourcefile.parse_file(file)
                    self.assertEqual((resource.kind, resource.big_endian), ("ChrT", platform == "ps3"))
                    wanted = [(n.lower(), packed_id(take, RIGS[name], platform), take == BLEND) for n, take in entries]
                    self.assertEqual([tuple(e) for e in resourcefile.parse_character(resource)], wanted)
                    self.assertEqual(
                        {r for r, _ in resource.references},
                        {r for _, r, _ in wanted},
                        "two names of one take share a reference",
                    )
                    self.assertEqual({f for _, f in resource.references}, {resourcefile.ADDED})
                    size = len(resource.body)
                    n = len(entries)
                    self.assertEqual(size, (2 * n + 1) * 4 + n + sum(len(e[0]) + 1 for e in entries))
                    memory = single(single(single(single(size) * single(0.0009765625)) * single(4.87)) * 1024.0)
                    self.assertEqual(resource.sizes, [size, int(memory), 0])
                    self.check_inspect(file, platform, wanted, resource)

    def check_inspect(self, file, platform, wanted, resource):
        shown = self.inspect(file, platform=platform)
        self.assertEqual((shown["type"], shown["platform"]), ("ChrT", platform))
        self.assertEqual(shown["sizes"], resource.sizes)
        references = [r["id"] for r in shown["references"]]
        self.assertEqual(
            [(e["name"], references[e["reference"]], e["blendSpace"]) for e in shown["character"]["animations"]], wanted
        )
        told = host.execute("inspect", file).stdout
        for name, _, _ in wanted:
            self.assertIn("  %s " % name, told)

    def test_what_a_character_needs(self):
        result = self.run_host("build", "assembly:/characters/set.xml", assets=self.tree)
        states = {
            j["source"].rsplit("/", 1)[1]: j["status"]
            for j in result.jobs
            if j["component"] == "AnimationDatabasePacker"
        }
        self.assertEqual(states, {"scout.chartype": "failed", "guard.chartype": "packed", "captain.chartype": "packed"})
        failed = next(j for j in result.jobs if j["status"] == "failed")
        self.assertIn("rbs", failed["messages"][-1]["text"])
        self.assertIsNone(failed["file"])
        again = self.run_host("build", "assembly:/characters/set.xml", assets=self.tree)
        self.assertEqual({j["source"].rsplit("/", 1)[1]: j["status"] for j in again.jobs}["guard.chartype"], "upToDate")

    def test_no_animations(self):
        self.write('<AnimationDatabase><Character name="empty"/></AnimationDatabase>')
        result = self.run_host("build", "assembly:/characters/set.xml", platform="xbox360", assets=self.tree)
        resource = resourcefile.parse_file(result.job("AnimationDatabasePacker")["file"])
        self.assertEqual((resource.body, resource.references, resource.block_size), (bytes(4), [], 0))
        self.assertEqual(resourcefile.parse_character(resource), [])
