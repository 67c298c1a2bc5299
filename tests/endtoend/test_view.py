"""animpack view: what stands on the page, read without a browser."""

import base64
import html.parser
import json
import os
import struct
import zlib

import host


class Page(html.parser.HTMLParser):
    """The elements of data by their ids, as a browser would find them."""

    def __init__(self, path):
        super().__init__()
        self.texts, self.open = {}, None
        self.feed(host.content(path).decode("utf-8"))
        self.index = json.loads(self.texts["index"])
        self.takes = [{**row, "rig": rig} for rig, row in self.index["takes"]]

    def handle_starttag(self, tag, attributes):
        self.open = dict(attributes).get("id") if tag == "script" else None

    def handle_data(self, data):
        if self.open:
            self.texts[self.open] = self.texts.get(self.open, "") + data

    def handle_endtag(self, tag):
        self.open = None

    def streams(self, number):
        """A list of whole numbers for each number of each bone: packed, source less packed, errors."""
        frames = self.takes[number]["frames"]
        data = zlib.decompress(base64.b64decode(self.texts["poses%d" % number], validate=True))
        count = len(data) // 4
        words = [sum(data[n + k * count] << 8 * k for k in range(4)) for n in range(count)]
        steps = [(word >> 1) ^ -(word & 1) for word in words]
        out = []
        for start in range(0, count, frames):
            total, stream = 0, []
            for step in steps[start : start + frames]:
                total = struct.unpack("<i", struct.pack("<I", (total + step) & 0xFFFFFFFF))[0]
                stream.append(total)
            out.append(stream)
        return out


class ViewTest(host.HostTest):
    def view(self, *words, code=0, name="page.html", **more):
        path = os.path.join(self.work, name)
        result = self.run_host("view", *words, "-o", path, platform=None, **more)
        self.assertEqual(result.code, code, result)
        return result, Page(path)

    def test_poses_and_errors_are_those_of_inspect_and_verify(self):
        self.run_host("build", "characters/scout/moves.fbx", "props/lever.fbx", platform=("pc", "ps3"))
        result, page = self.view()
        self.assertEqual(result.summary["takes"], 7)
        self.assertEqual((len(page.index["rigs"]), {t["platform"] for t in page.takes}), (2, {"pc"}))
        verified = {line["id"]: line for line in self.run_host("verify").lines}
        for name, frames in (("walk", (0, 31, 59)), ("pull", (7,))):
            number = next(n for n, take in enumerate(page.takes) if take["name"] == name)
            take, streams = page.takes[number], page.streams(number)
            bones = page.index["rigs"][take["rig"]]["bones"]
            self.assertEqual(len(streams), 15 * len(bones))
            for shown in self.inspect(take["id"], frames)["frames"]:
                for n, bone in enumerate(shown["bones"]):
                    numbers = [stream[shown["frame"]] for stream in streams[7 * n : 7 * n + 7]]
                    x, y, z = bone["local"]["t"]
                    for told, wanted in zip(numbers[:3], (x, z, -y)):
                        self.assertAlmostEqual(told / 1e5, wanted, delta=6e-6)
                    x, y, z, w = bone["local"]["r"]
                    dot = sum(a * b / 32767 for a, b in zip(numbers[3:], (-x, -z, y, w)))
                    self.assertAlmostEqual(abs(dot), 1, delta=1e-4, msg=bone["name"])
            errors = streams[14 * len(bones) :]
            worst = max(max(stream) for stream in errors) / 1e3
            self.assertAlmostEqual(worst, verified[take["id"]]["maxMillimetres"], delta=6e-4)
            self.assertEqual(take["worst"]["bone"], verified[take["id"]]["worstBone"])
            self.assertEqual(
                errors[[bone[0] for bone in bones].index(take["worst"]["bone"])][take["worst"]["frame"]],
                max(max(stream) for stream in errors),
            )
        details = json.loads(page.texts["details%d" % [t["name"] for t in page.takes].index("walk")])
        sizes = self.inspect(next(t["id"] for t in page.takes if t["name"] == "walk"))["animation"]["trackGroups"]
        self.assertEqual(sum(bytes_ for _, _, bytes_ in details["tracks"]), sum(group["dataBytes"] for group in sizes))
        self.view("-j", "3", name="again.html")
        first, again = (host.content(os.path.join(self.work, name)) for name in ("page.html", "again.html"))
        self.assertEqual(first, again, "the same for any number of workers")

    def test_what_can_not_be_compared_is_shown_and_told(self):
        tree = self.copy_tree("props/lever.fbx")
        self.pack("assembly:/props/lever.fbx?/pull.take", assets=tree)
        with open(os.path.join(tree, "props/lever.events"), "w", encoding="utf-8") as f:
            f.write(
                '<TakeList><Take name="pull"><EventTrack name="&lt;/script&gt;"><Event><Attributes><StartTime>0'
                "</StartTime><Duration>0</Duration></Attributes></Event></EventTrack></Take></TakeList>"
            )
        _, page = self.view("props", assets=tree)
        self.assertEqual(json.loads(page.texts["details0"])["events"][0]["track"], "</script>")
        os.remove(os.path.join(tree, "props/lever.fbx"))
        with open(os.path.join(self.out, "pc", "bad.animation"), "wb") as f:
            f.write(b"ARTY")
        result, page = self.view(assets=tree, code=1)
        rows = {take["name"]: take for take in page.takes}
        self.assertIn("source can't be read", rows["pull"]["error"])
        self.assertEqual((rows["pull"]["rig"], rows["bad"]["rig"]), (0, -1))
        self.assertEqual(len(page.streams(page.takes.index(rows["pull"]))), 7 * 3)
        self.assertEqual([line["shown"] for line in result.lines[:-1]].count(True), 1)
        result, page = self.view("nothing/", assets=tree, code=1)
        self.assertIn("there is no packed animation of it", page.takes[0]["error"])
        self.assertEqual(page.index["title"], "nothing/")
