"""Asset trees for builders, and the bytes that are built of them."""

import hashlib
import shutil
from pathlib import Path

import integration

SAMPLES = integration.TOP / "samples" / "assembly"
SCOUT = SAMPLES / "characters" / "scout"
TAKES = 6  # of one file of moves


def many_takes(tree: Path, files: int, names: str = "moves {}.fbx") -> None:
    """The sample tree, whose two takes without a rig fail, and copies of a file of six takes in folders of fifty."""
    shutil.copytree(SAMPLES, tree)
    for n in range(files):
        folder = tree / "crowd" / f"group {n // 50}"
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(SCOUT / "moves.fbx", folder / names.format(n))
    (tree / "set.xml").write_text(
        '<AnimationDatabase><Character name="scout" rig="assembly:/characters/scout/scout.rig.fbx?/scout.rig">'
        '<Animation name="walk" take="assembly:/characters/scout/moves.fbx?/walk.take"/></Character>'
        "</AnimationDatabase>"
    )


def packed(out: Path) -> dict[str, str]:
    """Hashes of all packed files below an output folder, by their places."""
    files = (path for path in sorted((out / "pc").rglob("*")) if path.is_file())
    return {str(path.relative_to(out)): hashlib.sha256(path.read_bytes()).hexdigest() for path in files}
