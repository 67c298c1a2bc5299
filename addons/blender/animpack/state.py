"""What the add-on knows beside the scene: the faults, the last run, what is running. Gone with the session."""

from __future__ import annotations

import time

import bpy

from . import checks, fbxmarks, grounds, host, properties
from .checks import Fault
from .pipeline import Run

last: Run | None = None
running = ""
_faults: list[Fault] = []
_stale = True
_looked = 0.0


def faults(scene: bpy.types.Scene) -> list[Fault]:
    """The faults of the marks as they are now.

    They are looked for again when something has changed, and after a second: custom properties that are edited by
    hand tell nobody. While an animation plays nothing is looked for.
    """
    global _faults, _stale, _looked
    now = time.monotonic()
    playing = bpy.context.screen is not None and bpy.context.screen.is_animation_playing
    if (_stale or now - _looked > 1.0) and not playing:
        _faults = _host_faults(scene) + checks.faults(grounds.marked(scene))
        _stale, _looked = False, now
    return _faults


def _host_faults(scene: bpy.types.Scene) -> list[Fault]:
    found = []
    own = properties.preferences()
    try:
        host.find(own.program if own else "")
    except host.HostError as error:
        found.append(Fault(checks.ERROR, "", str(error)))
    if not fbxmarks.available():
        found.append(Fault(checks.ERROR, "", "Switch the add-on 'FBX format' on, then this one again"))
    if not properties.assets_folder(scene):
        found.append(Fault(checks.WARNING, "", "No asset folder is chosen: nothing can be packed"))
    return found


@bpy.app.handlers.persistent
def touch(*_any: object) -> None:
    """Something may have changed."""
    global _stale
    _stale = True


@bpy.app.handlers.persistent
def forget(*_any: object) -> None:
    """Another file is open."""
    global last
    last = None
    touch()


_HANDLERS = {"depsgraph_update_post": touch, "undo_post": touch, "redo_post": touch, "load_post": forget}


def register() -> None:
    """Listens to changes."""
    for name, handler in _HANDLERS.items():
        getattr(bpy.app.handlers, name).append(handler)
    touch()


def unregister() -> None:
    """Stops listening."""
    for name, handler in _HANDLERS.items():
        getattr(bpy.app.handlers, name).remove(handler)
