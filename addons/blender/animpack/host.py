"""Runs animpack and other programs beside Blender, and reads what they say. Knows nothing of Blender."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Iterator

PROGRAM = "animpack"


class HostError(Exception):
    """The program could not do its work; the text says what to do about it."""


def find(given: str) -> str:
    """The program's path: the given one, else the one on PATH. Raises HostError when there is none."""
    if given:
        path = os.path.expanduser(given)
        if os.path.isdir(path):
            path = os.path.join(path, PROGRAM)
        if not (os.path.isfile(path) and os.access(path, os.X_OK)):
            raise HostError(f"There is no program '{given}': choose animpack in the add-on's preferences")
        return path
    found = shutil.which(PROGRAM)
    if found is None:
        raise HostError("animpack is not on PATH: choose it in the add-on's preferences (Edit > Preferences > Add-ons)")
    return found


@dataclass
class Answer:
    """What a program left: its status, the JSON objects of its output, and its other words."""

    status: int = 0
    objects: list[dict[str, Any]] = field(default_factory=list)
    words: str = ""


def run(command: list[str], seconds: float) -> Iterator[Answer | None]:
    """Starts a program and yields None while it works, then its answer. Ends it when it takes too long.

    Closing the iterator ends the program as well. Raises HostError when it can't be started or takes too long.
    """
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        try:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=err)
        except OSError as error:
            raise HostError(f"{command[0]} can't be started: {error.strerror}") from error
        try:
            end = time.monotonic() + seconds
            while process.poll() is None:
                if time.monotonic() > end:
                    raise HostError(f"{Path(command[0]).name} took longer than {seconds:g} seconds and was ended")
                yield None
        finally:
            if process.poll() is None:
                _end(process)
        yield Answer(process.returncode, list(_objects(_text(out))), _text(err))


def _end(process: subprocess.Popen) -> None:
    """Asks first: animpack then ends its workers and leaves nothing unfinished."""
    process.terminate()
    try:
        process.wait(2)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def wait(steps: Iterator[Answer | None]) -> Answer:
    """Runs to the end, for a caller that has nothing else to do."""
    for answer in steps:
        if answer is not None:
            return answer
        time.sleep(0.01)
    raise HostError("The program left no answer")


def _text(file: Any) -> str:
    file.seek(0)
    return file.read().decode("utf-8", "replace")


def _objects(text: str) -> Iterator[dict[str, Any]]:
    for line in text.splitlines():
        try:
            value = json.loads(line)
        except ValueError:
            continue
        if isinstance(value, dict):
            yield value
