"""Operators that export, check, pack and read back. The buttons run them beside Blender's own work; scripts wait."""

import os
import shutil
import tempfile
import time
from typing import Iterator

import bpy

from . import checks, grounds, host, marks, pipeline, properties, readback, state
from .checks import Fault
from .pipeline import Run, Tools


class _Running(bpy.types.Operator):
    """An operator whose work is a generator: it is stepped by a timer, or run through by a script."""

    bl_options = {"REGISTER"}

    _steps: Iterator[str] | None = None
    _timer = None

    @classmethod
    def poll(cls, _context: bpy.types.Context) -> bool:
        """One at a time."""
        return not state.running

    def steps(self, context: bpy.types.Context, run: Run) -> Iterator[str]:
        """The work; yields what is being done."""
        raise NotImplementedError

    def execute(self, context: bpy.types.Context) -> set[str]:
        """Runs through."""
        run = Run()
        try:
            for _ in self.steps(context, run):
                time.sleep(0.01)
        except (host.HostError, readback.ReadBackError, OSError) as error:
            run.faults.append(Fault(checks.ERROR, "", str(error)))
        return self._finish(run)

    def invoke(self, context: bpy.types.Context, _event: bpy.types.Event) -> set[str]:
        """Starts, and leaves the rest to the timer."""
        self._run = Run()
        self._steps = self.steps(context, self._run)
        state.running = "Starting"
        self._timer = context.window_manager.event_timer_add(0.1, window=context.window)
        context.window_manager.modal_handler_add(self)
        return {"RUNNING_MODAL"}

    def modal(self, context: bpy.types.Context, event: bpy.types.Event) -> set[str]:
        """One look a tenth of a second; Escape ends the program."""
        if event.type == "ESC":
            self._steps.close()
            self._run.faults.append(Fault(checks.WARNING, "", "Stopped"))
            return self._leave(context)
        if event.type != "TIMER":
            return {"PASS_THROUGH"}
        try:
            state.running = next(self._steps)
        except StopIteration:
            return self._leave(context)
        except (host.HostError, readback.ReadBackError, OSError) as error:
            self._run.faults.append(Fault(checks.ERROR, "", str(error)))
            return self._leave(context)
        _redraw(context)
        return {"PASS_THROUGH"}

    def _leave(self, context: bpy.types.Context) -> set[str]:
        context.window_manager.event_timer_remove(self._timer)
        state.running = ""
        result = self._finish(self._run)
        _redraw(context)
        return result

    def _finish(self, run: Run) -> set[str]:
        state.last = run
        errors = [fault for fault in run.faults if fault.level == checks.ERROR]
        if errors:
            about = errors[0].about + ": " if errors[0].about else ""
            # An error report would be an exception for a script; what is wrong stands in the panel as well.
            self.report({"WARNING"}, about + errors[0].text)
            return {"CANCELLED"}
        if run.said:
            self.report({"INFO"}, run.said)
        return {"FINISHED"}


def _redraw(context: bpy.types.Context) -> None:
    for window in context.window_manager.windows:
        for area in window.screen.areas:
            if area.type == "VIEW_3D":
                area.tag_redraw()


def _place_in_tree(scene: bpy.types.Scene, tools: Tools) -> str:
    """The file's path below the asset folder. Raises HostError when it has none."""
    file = scene.animpack.file
    if not tools.assets:
        raise host.HostError("Choose the asset folder first")
    if not os.path.isdir(tools.assets):
        raise host.HostError(f"There is no asset folder '{tools.assets}'")
    if not file:
        raise host.HostError("Choose the file first, such as characters/hero/hero.fbx")
    inside = os.path.normpath(os.path.join(tools.assets, file))
    if os.path.isabs(file) or os.path.relpath(inside, tools.assets).startswith(".."):
        raise host.HostError(f"'{file}' is not in the asset folder '{tools.assets}'")
    return file


class ANIMPACK_OT_export(_Running):
    """Write the marked FBX into the asset folder, or to the path given"""

    bl_idname = "animpack.export"
    bl_label = "Export"

    filepath: bpy.props.StringProperty(subtype="FILE_PATH", options={"SKIP_SAVE"})

    def steps(self, context: bpy.types.Context, run: Run) -> Iterator[str]:
        """Exports."""
        tools = Tools.of(context.scene, packing=False)
        properties.name_own_rigs(context.scene)
        file, common = bpy.path.abspath(self.filepath), ""
        if not file:
            file, common = os.path.join(tools.assets, _place_in_tree(context.scene, tools)), tools.assets
        yield from pipeline.export(tools, run, file, common)
        run.said = f"Wrote {file}"


class ANIMPACK_OT_check(_Running):
    """Export to a temporary file and let animpack say what it finds there"""

    bl_idname = "animpack.check"
    bl_label = "Check"

    def steps(self, context: bpy.types.Context, run: Run) -> Iterator[str]:
        """Exports and scans."""
        tools = Tools.of(context.scene, packing=True)
        folder = tempfile.mkdtemp(prefix="animpack-")
        try:
            name = context.scene.animpack.file or "scene.fbx"
            name = "scene.fbx" if os.path.isabs(name) else name
            assets = os.path.join(folder, "assets")
            yield from pipeline.export(tools, run, os.path.join(assets, name))
            yield from pipeline.scan(tools, run, assets, os.path.join(folder, "packed"), name)
        finally:
            shutil.rmtree(folder, ignore_errors=True)
        run.said = "animpack finds " + (", ".join(run.found) or "nothing")


class ANIMPACK_OT_pack(_Running):
    """Export, pack all takes and rigs, and compare them with the export"""

    bl_idname = "animpack.pack"
    bl_label = "Export and pack"

    def steps(self, context: bpy.types.Context, run: Run) -> Iterator[str]:
        """The whole road."""
        tools = Tools.of(context.scene, packing=True)
        properties.name_own_rigs(context.scene)
        file = _place_in_tree(context.scene, tools)
        yield from pipeline.export(tools, run, os.path.join(tools.assets, file), tools.assets)
        yield from pipeline.pack(tools, run, file)
        worst = max((take.millimetres or 0.0 for take in run.takes.values()), default=0.0)
        run.said = f"{len(run.takes)} takes packed, at most {worst:.3f} mm off"


class ANIMPACK_OT_load_packed(_Running):
    """Load the chosen take, as it is packed, as an action of an armature beside the original"""

    bl_idname = "animpack.load_packed"
    bl_label = "Load packed take"

    @classmethod
    def poll(cls, context: bpy.types.Context) -> bool:
        """A take is chosen."""
        take = context.scene.animpack.take
        return not state.running and take is not None and grounds.is_take(take)

    def steps(self, context: bpy.types.Context, run: Run) -> Iterator[str]:
        """Decodes with animpack, then keys an armature."""
        scene, last = context.scene, state.last
        tools = Tools.of(scene, packing=True)
        take_node = scene.animpack.take.name
        take = marks.read_take(scene.animpack.take)
        file = _place_in_tree(scene, tools)
        if take is None:
            raise readback.ReadBackError("This take can't be read")
        packed = os.path.join(tools.out, tools.platform, file.lower(), f"{take.name.lower()}.take.animation")
        found = _packed_file(packed)
        if found is None:
            raise readback.ReadBackError(f"'{take.name}' is not packed yet: there is no {packed}")
        words = readback.inspect_words(tools.program, tools.out, found, take.end - take.start + 1)
        answer = None
        for answer in host.run(words, tools.seconds):
            if answer is None:
                yield "Decoding"
        scene, thing = bpy.data.scenes.get(tools.scene), bpy.data.objects.get(take_node)
        if scene is None or thing is None:
            raise readback.ReadBackError("The take has gone meanwhile")
        mode, active = context.mode, context.active_object
        if mode != "OBJECT":
            bpy.ops.object.mode_set(mode="OBJECT")
        made = readback.read(scene, thing, readback.answer_of(answer))
        if active is not None and mode in ("POSE", "EDIT_ARMATURE"):
            context.view_layer.objects.active = active
            bpy.ops.object.mode_set(mode="POSE" if mode == "POSE" else "EDIT")
        bpy.ops.ed.undo_push(message="Load packed take")
        if last is not None:  # the figures of the last pack stay
            run.takes, run.grounds, run.faults = last.takes, last.grounds, list(last.faults)
        run.said = f"'{made.name}' plays '{take.name}' as it is packed"


def _packed_file(path: str) -> str | None:
    """The file, or that of the take with a rig as parameter, whose name has more behind the take's."""
    if os.path.exists(path):
        return path
    folder, name = os.path.split(path)
    start = name[: -len(".animation")]
    if not os.path.isdir(folder):
        return None
    for other in sorted(os.listdir(folder)):
        if other.startswith(start) and other.endswith(".animation"):
            return os.path.join(folder, other)
    return None


CLASSES = (ANIMPACK_OT_export, ANIMPACK_OT_check, ANIMPACK_OT_pack, ANIMPACK_OT_load_packed)
