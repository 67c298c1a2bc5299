"""What all integration tests share: where the tree and the program are, and how a program is run."""

import shutil
import subprocess
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent
ANIMPACK = TOP / "build" / "release" / "bin" / "animpack"  # run.py sets it


def program(name: str) -> str:
    """The path of an installed program; an integration test without its program is a failure."""
    found = shutil.which(name)
    if found is None:
        raise AssertionError(f"'{name}' is not installed; scripts/install-packages integration installs it")
    return found


def run(*words: object, seconds: float = 300, status: int = 0, **more: object) -> subprocess.CompletedProcess:
    """Runs a program to its end; another exit status than expected is a failure that shows what it said."""
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True, timeout=seconds, **more)
    if done.returncode != status:
        raise AssertionError(f"{' '.join(map(str, words))} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done


def animpack(*words: object, **more: object) -> subprocess.CompletedProcess:
    return run(ANIMPACK, *words, **more)


def node_modules() -> Path:
    """What package.json beside this file names, of the versions of its lock file; installed when it is not yet."""
    folder = TOP / "tests" / "integration"
    installed = folder / "node_modules" / ".package-lock.json"
    lock = folder / "package-lock.json"
    if not installed.exists() or installed.stat().st_mtime < lock.stat().st_mtime:
        run(program("npm"), "ci", "--no-audit", "--no-fund", cwd=folder)
    return folder / "node_modules"
