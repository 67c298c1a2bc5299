"""Pictures of the page of `animpack view`: pictures.py ANIMPACK FOLDER."""

import sys
import tempfile
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests" / "integration"))
import integration  # noqa: E402
import samples  # noqa: E402
from browser import Browser  # noqa: E402

HURT_FRAME = 35


def main(program, folder):
    integration.ANIMPACK = Path(program).resolve(strict=True)
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="pictures-") as work, Browser() as browser:
        tree, out, page = Path(work, "art"), Path(work, "packed"), Path(work, "page.html")
        scout = samples.copy_scout(tree)
        (scout / "moves.events").write_text(samples.EVENTS.replace("&lt;/script&gt;&lt;b&gt;", ""))
        integration.animpack("adopt", TOP / "samples" / "stock" / "hiker.fbx", "--assets", tree)
        samples.build(tree, out)
        words = ("view", "--assets", tree, "--out", out, "-o", page)

        def picture(name, take, frame, is_dark, *steps):
            browser.dark(is_dark)
            browser.open(page)
            browser.run("page.player.play(false)")
            browser.run(f"page.choose(page.data.takes.find((one) => one.name === '{take}'), {frame})")
            for step in steps:
                browser.run(step)
            browser.drawn()
            browser.picture(folder / name)

        integration.animpack(*words)
        picture("view-dark.png", "run", 12, True)
        samples.hurt_scout(scout)
        integration.animpack(*words)
        picture("view-wrong.png", "walk", HURT_FRAME, False)


if __name__ == "__main__":
    main(sys.argv[1], Path(sys.argv[2]))
