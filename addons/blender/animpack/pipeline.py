"""The road from the scene to the packed takes: export, animpack build, animpack verify. Nothing of it blocks Blender.

Each step is a generator that yields a text of what is being done while a program works; `Run` holds what came of it.
"""

from __future__ import annotations

import json
import os
import shutil
import sys
import tempfile
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Iterator

import bpy

from . import checks, host, marks, properties
from .checks import Fault


@dataclass
class TakeResult:
    """What came of packing a take."""

    name: str
    bytes: int = 0
    millimetres: float | None = None
    worst: str = ""
    messages: list[Fault] = field(default_factory=list)

    @property
    def failed(self) -> bool:
        """Whether something is wrong enough that the take can't be used."""
        return any(message.level == checks.ERROR for message in self.messages)


@dataclass
class Run:
    """One road, or a part of it, and all that was said on it."""

    file: str = ""
    said: str = ""
    faults: list[Fault] = field(default_factory=list)
    takes: dict[str, TakeResult] = field(default_factory=dict)
    grounds: list[dict[str, Any]] = field(default_factory=list)
    found: list[str] = field(default_factory=list)

    @property
    def failed(self) -> bool:
        """Whether any error was told."""
        return any(fault.level == checks.ERROR for fault in self.faults)


@dataclass
class Tools:
    """Where everything is, settled before anything starts: an undo meanwhile takes Blender's own objects away."""

    scene: str
    platform: str
    max_mm: float
    program: str = ""
    assets: str = ""
    out: str = ""
    seconds: float = 300.0

    @staticmethod
    def of(scene: bpy.types.Scene, packing: bool) -> Tools:
        """Looks for animpack only when something is to be packed. Raises HostError when it is not there."""
        own, settings = properties.preferences(), scene.animpack
        tools = Tools(scene.name, settings.platform, settings.max_mm, seconds=own.seconds if own else 300.0)
        tools.assets, tools.out = properties.assets_folder(scene), properties.out_folder(scene)
        if packing:
            tools.program = host.find(own.program if own else "")
        return tools


def export(tools: Tools, run: Run, file: str, common_rig: str = "") -> Iterator[str]:
    """Writes the marked FBX in a Blender of its own, from a copy of what the artist has open."""
    with tempfile.TemporaryDirectory(prefix="animpack-") as folder:
        copy, job, report = (os.path.join(folder, name) for name in ("scene.blend", "job.json", "report.json"))
        bpy.ops.wm.save_as_mainfile(filepath=copy, copy=True, check_existing=False, compress=False)
        made = os.path.join(folder, "made.fbx")
        words = {"scene": tools.scene, "file": made, "report": report, "common_rig": common_rig}
        Path(job).write_text(json.dumps(words), encoding="utf-8")
        answer = yield from _program(_blender(copy, job), tools, "Exporting")
        if not os.path.exists(report):
            lines = [line for line in answer.words.splitlines() if line.strip()]
            raise host.HostError("The export failed: " + (lines[-1] if lines else f"status {answer.status}"))
        told = json.loads(Path(report).read_text(encoding="utf-8"))
        os.makedirs(os.path.dirname(os.path.abspath(file)), exist_ok=True)
        shutil.move(made, file)
    run.file, run.grounds = file, told["grounds"]
    if "common_rig" in told:
        run.faults.append(Fault("INFO", "", f"Wrote {told['common_rig']}, the rig of takes of one bone"))


def scan(tools: Tools, run: Run, assets: str, out: str, file: str) -> Iterator[str]:
    """What animpack finds in the file that was written, below an asset folder."""
    words = [tools.program, "scan", "--json", "--assets", assets, "--out", out, f"assembly:/{file}"]
    answer = yield from _program(words, tools, "Scanning")
    for source in answer.objects:
        if source.get("error"):
            run.faults.append(Fault(checks.ERROR, "", source["error"]))
        run.found += [sub["id"].rpartition("?/")[2] for sub in source.get("subResources", [])]
    _other_words(run, answer)


def pack(tools: Tools, run: Run, file: str) -> Iterator[str]:
    """Packs all rigs and takes of the file, then compares the takes with it."""
    where = ["--assets", tools.assets, "--out", tools.out]
    platform = ["-t:" + tools.platform]
    ids, given = [], []
    for ground in run.grounds:
        if ground["rig"]:
            ids.append(marks.rig_identifier(file, ground["shown"]))
        for take in ground["takes"]:
            run.takes[take["name"].lower()] = TakeResult(take["name"])
            identifier = marks.take_identifier(file, take["name"])
            if ground["attached"] and ground["resource"]:
                given.append([identifier, "animation", "--param", ground["resource"]])
            else:
                ids.append(identifier)
    commands = [["build", *ids]] if ids else []
    commands += [["pack", *words] for words in given]
    packed: list[str] = []
    for words in commands:
        answer = yield from _program([tools.program, *words, "--json", *where, *platform], tools, "Packing")
        for told in answer.objects:
            _packed(run, told)
            if told.get("file"):
                packed.append(told["file"])
        _other_words(run, answer)

    animations = [path for path in packed if path.endswith(".animation")]
    if animations:
        words = [tools.program, "verify", "--json", *where, "--max-mm", f"{tools.max_mm:g}"]
        answer = yield from _program([*words, *animations], tools, "Comparing")
        for told in answer.objects:
            _verified(run, told)
        _other_words(run, answer)


def _blender(copy: str, job: str) -> list[str]:
    words = [bpy.app.binary_path, "-b"]
    if "--factory-startup" in sys.argv:
        words.append("--factory-startup")
    words.append("--disable-autoexec" if bpy.app.autoexec_fail else "--enable-autoexec")
    script = os.path.join(os.path.dirname(__file__), "exportjob.py")
    return [*words, copy, "--python-exit-code", "1", "--python", script, "--", job]


def _program(words: list[str], tools: Tools, doing: str) -> Iterator[str]:
    for answer in host.run(words, tools.seconds):
        if answer is not None:
            return answer
        yield doing
    raise host.HostError(f"{words[0]} left no answer")


def _take_of(run: Run, identifier: str) -> TakeResult | None:
    """The take that an identifier such as <assembly:/a.fbx?/walk.take>.pc.animation is about."""
    name = identifier.partition(">")[0].rpartition("?/")[2]
    return run.takes.get(name[: -len(".take")].lower()) if name.endswith(".take") else None


def _tell(run: Run, identifier: str, level: str, text: str) -> None:
    take = _take_of(run, identifier)
    fault = Fault(level, take.name if take else identifier.strip("<").partition(">")[0], text)
    run.faults.append(fault)
    if take:
        take.messages.append(fault)


def _packed(run: Run, told: dict[str, Any]) -> None:
    if "id" not in told:
        return
    for message in told.get("messages", []):
        level = checks.ERROR if message.get("severity") == "error" else checks.WARNING
        if message.get("severity") in ("error", "warning"):
            _tell(run, told["id"], level, message["text"])
    take = _take_of(run, told["id"])
    if take:
        take.bytes = told.get("bytes", 0)


def _verified(run: Run, told: dict[str, Any]) -> None:
    take = _take_of(run, told.get("id", ""))
    if take is None:
        return
    take.millimetres = told.get("maxMillimetres")
    take.worst = f"{told.get('worstBone', '')}, frame {told.get('worstFrame', 0)}"
    if told.get("error"):
        _tell(run, told["id"], checks.ERROR, told["error"])


def _other_words(run: Run, answer: host.Answer) -> None:
    """Lines that came beside the JSON: faults of the whole run, such as a wrong folder."""
    known = [fault.text for fault in run.faults]
    for line in answer.words.splitlines():
        level = checks.ERROR if "error: " in line else checks.WARNING if "warning: " in line else ""
        text = line.partition(": error: ")[2] or line.partition(": warning: ")[2] or line
        if level and not any(text in other or other in line for other in known):
            run.faults.append(Fault(level, "", text))
    if answer.status and not run.failed:
        lines = [line for line in answer.words.splitlines() if line.strip()]
        run.faults.append(Fault(checks.ERROR, "", lines[-1] if lines else f"animpack ended with {answer.status}"))
