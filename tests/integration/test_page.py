"""The page of `animpack view` in a browser: what is drawn, and that everything on it answers."""

import struct
import tempfile
import unittest
import zlib
from pathlib import Path

import samples
from browser import Browser
from integration import animpack

SHOWN = "page.take.name"
FRAME = "Math.round(page.player.frame)"


def pixels(png):
    """Width, height and the bytes of red, green, blue of each pixel."""
    chunks, at = {}, 8
    while at < len(png):
        size, kind = struct.unpack_from(">I4s", png, at)
        chunks[kind] = chunks.get(kind, b"") + png[at + 8 : at + 8 + size]
        at += 12 + size
    width, height, _, colour = struct.unpack_from(">IIBB", chunks[b"IHDR"])
    each = {2: 3, 6: 4}[colour]
    data, line = zlib.decompress(chunks[b"IDAT"]), width * each
    above, rows = bytearray(line), bytearray()
    for row in range(height):
        kind, now = data[row * (line + 1)], bytearray(data[row * (line + 1) + 1 : (row + 1) * (line + 1)])
        for n in range(line):
            left, up, corner = (now[n - each] if n >= each else 0), above[n], (above[n - each] if n >= each else 0)
            if kind == 1:
                guess = left
            elif kind == 2:
                guess = up
            elif kind == 3:
                guess = (left + up) // 2
            elif kind == 4:
                guess = min((left, up, corner), key=lambda one: abs(left + up - corner - one))
            else:
                break
            now[n] = (now[n] + guess) & 255
        above = now
        for n in range(0, line, each):
            rows += now[n : n + 3]
    return width, height, bytes(rows)


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="page-")
        cls.addClassCleanup(folder.cleanup)
        cls.work = Path(folder.name)
        cls.tree = cls.work / "a <b>&amp; tree"  # the page is named after it
        scout = samples.copy_scout(cls.tree)
        samples.build(cls.tree, cls.work / "packed")
        samples.hurt_scout(scout)
        (scout / "moves_yup.fbx").unlink()
        (cls.work / "packed/pc/broken.animation").write_bytes(b"ARTY, and no more")
        cls.file = cls.work / "page.html"
        animpack("view", "--assets", cls.tree, "--out", cls.work / "packed", "-o", cls.file, status=1)
        cls.browser = cls.enterClassContext(Browser())

    def setUp(self):
        self.browser.errors.clear()
        self.browser.requests.clear()

    def tearDown(self):
        self.assertEqual(self.browser.errors, [])
        asked = [url for url in self.browser.requests if not url.startswith(("data:", "about:"))]
        self.assertEqual([url for url in asked if not url.startswith(self.file.as_uri().split("#")[0])], [])

    def open(self, take=None, frame=0):
        """The page with a take that stands still."""
        self.browser.open(self.file)
        self.browser.run("page.player.play(false)")
        if take:
            self.choose(take, frame)
        self.browser.drawn()

    def choose(self, take, frame=0):
        self.browser.run(f"page.choose(page.data.takes.find((one) => one.name === '{take}'), {frame})")
        self.browser.drawn()

    def text(self, name):
        return self.browser.run(f"document.getElementById('{name}').innerText")

    def view(self):
        """The middle of the picture, where the figure stands and nothing lies over it, at half its size."""
        box = self.browser.run(
            "(({x, y, width, height}) => ({x, y, width, height}))"
            "(document.getElementById('stage').getBoundingClientRect())"
        )
        clip = {
            "x": box["x"] + box["width"] * 0.25,
            "y": box["y"] + 120,
            "width": box["width"] * 0.5,
            "height": box["height"] - 220,
            "scale": 0.5,
        }
        return pixels(self.browser.picture(clip=clip))[2]

    def show(self, **things):
        for name, is_shown in things.items():
            self.browser.run(f"page.stage.show.{name} === {str(is_shown).lower()} || page.toggle('{name}')")
        self.browser.drawn()

    @staticmethod
    def count(rows, fits):
        return sum(1 for n in range(0, len(rows), 3) if fits(*rows[n : n + 3]))

    def changed(self, before, after):
        return sum(
            1
            for n in range(0, len(before), 3)
            if max(abs(a - b) for a, b in zip(before[n : n + 3], after[n : n + 3])) > 40
        )

    def test_figure_is_drawn_and_plays(self):
        self.open("run")
        figure = self.view()
        self.browser.run(
            "page.stage.packed.mesh.visible = page.stage.source.mesh.visible = false; " "page.stage.invalidate()"
        )
        self.browser.drawn()
        floor = self.view()
        self.assertGreater(self.changed(figure, floor), len(floor) / 3 * 0.01, "pixels of the figure")
        self.browser.run("page.stage.refresh()")
        self.browser.key(" ")
        self.browser.wait(f"{FRAME} > 8 && {FRAME} < 30")
        self.browser.key(" ")
        at = self.browser.run("page.player.frame")
        self.assertGreater(self.changed(figure, self.view()), len(floor) / 3 * 0.005, "it moves")
        self.browser.drawn()
        self.assertEqual(self.browser.run("page.player.frame"), at, "the second time it stands still")
        self.browser.run("page.player.setSpeed(4); page.player.play(true)")
        self.browser.wait(f"{FRAME} > 30")
        self.browser.wait(f"{FRAME} < 25")  # and begins again
        self.browser.run("page.player.setLoop(false)")
        self.browser.wait("!page.player.plays && page.player.frame === page.player.last")

    def test_damaged_take_leaps_to_the_eye(self):
        first, last = samples.HURT_FRAMES
        self.open()
        self.assertEqual(self.browser.run(SHOWN), "broken", "the worst comes first: here one that can't be shown")
        self.assertIn("can't be shown", self.text("empty"))
        self.browser.key("ArrowDown")
        self.browser.wait("page.take.name === 'walk'")
        self.assertRegex(self.text("findings"), r"4\d\d mm off its source at Bip01_L_Finger22, frame (2|3)\d")
        self.assertIn("bad", self.browser.run("document.querySelector('[aria-selected=true]').className"))

        def red(r, g, b):
            return r > 150 and g < 90 and b < 100

        def blue(r, g, b):
            return b > 180 and b - r > 70

        self.show(way=False)
        seen = {}
        for frame in (first - 6, first + 6):
            self.browser.run(f"page.player.seek({frame})")
            self.browser.drawn()
            rows = self.view()
            seen[frame] = self.count(rows, red), self.count(rows, blue)
        self.assertEqual(seen[first - 6][0], 0, "an arm where it belongs is not red")
        self.assertGreater(seen[first + 6][0], 40)
        self.assertGreater(seen[first + 6][1], seen[first - 6][1] + 20, "and the source's stands away from it")
        self.show(errors=False)
        self.assertEqual(self.count(self.view(), red), 0)
        self.show(errors=True, source=False)
        self.assertLess(self.count(self.view(), blue), 20)
        self.show(source=True, way=True)
        self.browser.run("document.querySelector('#findings button').click()")
        self.browser.drawn()
        self.assertTrue(first <= self.browser.run(FRAME) < last)
        self.assertIn("Bip01_L_Finger22  4", self.text("bone-now"))
        row = self.browser.run("document.querySelector('tr.chosen').innerText").split()
        self.assertEqual((row[0], row[1][:4]), ("L_Finger22", "axis"))
        self.assertGreater(float(row[-1]), 400)

    def test_scrubbing_stepping_and_links(self):
        self.open("turn")
        box = self.browser.run("document.getElementById('timeline-head').getBoundingClientRect().toJSON()")
        at = {frame: self.browser.run(f"page.timeline.xOf({frame})") + box["x"] for frame in (10, 20, 41)}
        self.browser.drag((at[10], box["y"] + 8), (at[20], box["y"] + 8), (at[41], box["y"] + 8))
        self.assertEqual(self.browser.run(FRAME), 41)
        self.browser.key("ArrowRight")
        self.browser.key("ArrowRight")
        self.browser.key("ArrowLeft")
        self.assertEqual(self.text("frame-now"), "42")
        link = self.browser.run("location.hash")
        self.browser.key("End")
        self.assertEqual(self.browser.run(FRAME), 59)
        self.browser.open(self.file, link)
        self.browser.wait("page.take.name === 'turn'")
        self.assertEqual((self.browser.run(FRAME), self.browser.run("page.player.plays")), (42, False))

    def test_list_filters_sorts_and_switches(self):
        self.open()
        names = "[...document.querySelectorAll('.take-name')].map((one) => one.textContent)"
        self.assertEqual(len(self.browser.run(names)), 9)
        self.browser.run(
            "document.getElementById('order').value = 'way'; "
            "document.getElementById('order').dispatchEvent(new Event('input'))"
        )
        self.assertEqual(self.browser.run(names)[0], "run")
        self.browser.run("document.getElementById('filter').focus()")
        self.browser.call("Input.insertText", text="moves_yup str")
        self.assertEqual(self.browser.run(names), ["stroll"])
        self.assertEqual(self.text("take-count"), "1 of 9 takes")
        x, y = self.browser.run(
            "(({x, y}) => [x + 20, y + 20])(document.querySelector('.take').getBoundingClientRect())"
        )
        self.browser.drag((x, y), (x, y))
        self.browser.wait("page.take.name === 'stroll'")
        self.assertIn("No source to compare with", self.text("findings"))
        self.assertIn("there is no file for 'assembly:/characters/scout/moves_yup.fbx'", self.text("findings"))
        self.assertGreater(self.count(self.view(), lambda r, g, b: r < 150), 300, "it is shown all the same")
        self.browser.run("document.getElementById('filter').value = 'nothing'; page.takes.update()")
        self.assertEqual(self.text("no-takes"), "No take fits.")
        self.browser.key("ArrowDown")  # to where there is none
        self.assertEqual(self.browser.run(SHOWN), "stroll")

    def test_names_are_text(self):
        self.open("walk", 40)
        self.assertEqual((self.text("title"), self.browser.run("document.title")), ("a <b>&amp; tree",) * 2)
        self.assertEqual(self.browser.run("page.clip.events[1].event"), "sound step </script><b>right")
        self.assertEqual(self.browser.run("document.querySelectorAll('b').length"), 1, "the frame's number alone")
        lanes = self.browser.run("page.timeline.rows.map((lane) => lane.title)")
        self.assertEqual(lanes[:3], ["Error", "Ground's way", "Ground's turn"])
        self.assertEqual(set(lanes[3:]), {"export_blink", "export_contact", "export_gait", "export_lean"})

    def test_light_and_dark(self):
        self.open("run")
        corner = {}
        for is_dark in (False, True):
            self.browser.dark(is_dark)
            corner[is_dark] = self.view()[:3]
        self.assertGreater(min(corner[False]), 220)
        self.assertLess(max(corner[True]), 40)
        self.browser.run("for (const _ of [1]) document.getElementById('theme').click()")
        self.browser.drawn()
        self.assertGreater(min(self.view()[:3]), 220, "chosen by hand, it is light in a dark system, too")
        self.browser.run("localStorage.clear()")
        self.browser.dark(False)

    def test_camera(self):
        self.open("run")
        where = "page.stage.camera.position.toArray()"
        home = self.browser.run(where)
        x, y = self.browser.run(
            "(({x, y, width, height}) => [x + width / 2, y + height / 2])"
            "(document.getElementById('stage').getBoundingClientRect())"
        )
        self.browser.drag((x, y), (x + 60, y), (x + 120, y))
        turned = self.browser.run(where)
        self.assertGreater(abs(turned[0] - home[0]), 0.3)
        self.browser.call("Input.dispatchMouseEvent", type="mouseWheel", x=x, y=y, deltaX=0, deltaY=-240)
        self.browser.wait(f"Math.hypot(...{where}.map((c, i) => c - {turned}[i])) > 0.2")
        self.browser.key("r")
        self.assertLess(sum(abs(a - b) for a, b in zip(self.browser.run(where), home)), 1e-6)
        self.browser.key("End")
        self.assertGreater(abs(self.browser.run(where)[2] - home[2]), 3, "it follows")
