"""Runs in Blender with a window: does what docs/blender.md tells, and takes its pictures on the way.

scripts/pictures-blender starts it in WORK: blender ... --python pictures-blender.py -- ANIMPACK STOCK WORK PICTURES
"""

import os
import sys
import traceback

import bpy
import numpy

ANIMPACK, STOCK, WORK, PICTURES = sys.argv[sys.argv.index("--") + 1 :][:4]
state = {"step": 0}


def view():
    """The 3D view with its regions: window, area, window region, sidebar."""
    window = bpy.context.window_manager.windows[0]
    area = max((one for one in window.screen.areas if one.type == "VIEW_3D"), key=lambda one: one.width)
    regions = {one.type: one for one in area.regions}
    return window, area, regions["WINDOW"], regions["UI"]


def send(kind, x, y, *values):
    window = view()[0]
    for value in values:
        window.event_simulate(type=kind, value=value, x=int(x), y=int(y))


def override():
    window, area, region, _ = view()
    return bpy.context.temp_override(window=window, area=area, region=region)


def save(name, sidebar_only=False, down=None):
    """The 3D view, or of it the sidebar alone, from its top so many pixels down."""
    window, area, _, sidebar = view()
    whole = os.path.join(WORK, "whole.png")
    with bpy.context.temp_override(window=window, area=area):
        bpy.ops.screen.screenshot(filepath=whole)
    image = bpy.data.images.load(whole)
    width, height = image.size
    pixels = numpy.empty(width * height * 4, dtype=numpy.float32)
    image.pixels.foreach_get(pixels)
    pixels = pixels.reshape(height, width, 4)
    of = sidebar if sidebar_only else area
    part = pixels[of.y : of.y + of.height, of.x : of.x + of.width]
    part = part if down is None else part[-down:]
    made = bpy.data.images.new("part", part.shape[1], part.shape[0])
    made.pixels.foreach_set(numpy.ascontiguousarray(part).ravel())
    made.filepath_raw, made.file_format = os.path.join(PICTURES, f"blender-{name}.png"), "PNG"
    made.save()
    bpy.data.images.remove(image)
    bpy.data.images.remove(made)


def prepare():
    for old in list(bpy.data.objects):
        bpy.data.objects.remove(old)
    bpy.context.preferences.view.show_splash = False
    bpy.ops.preferences.addon_enable(module="animpack")
    bpy.context.preferences.addons["animpack"].preferences.program = ANIMPACK
    bpy.ops.import_scene.fbx(filepath=STOCK, automatic_bone_orientation=True)
    scene = bpy.context.scene
    scene.render.fps = 24
    for other in [one for one in scene.objects if one.type == "EMPTY"]:
        bpy.data.objects.remove(other)
    thing = next(one for one in scene.objects if one.type == "ARMATURE")
    thing.name = "hiker"
    thing.show_name = True
    bpy.context.view_layer.objects.active = thing
    thing.select_set(True)
    scene.animpack.assets = "art"  # below the working folder: no path of this machine in a picture
    _, area, _, _ = view()
    space = area.spaces.active
    space.show_region_ui = True
    space.overlay.show_cursor = False


def tab():
    """The tabs stand below each other at the right edge: the last one is ours."""
    _, _, _, sidebar = view()
    x = sidebar.x + sidebar.width - 10
    for part in range(6):
        y = sidebar.y + sidebar.height - 40 - 20 * part - 130
        send("MOUSEMOVE", x, y, "NOTHING")
        send("LEFTMOUSE", x, y, "PRESS", "RELEASE")


def look():
    scene = bpy.context.scene
    scene.frame_set(9)
    window, area, region, _ = view()
    with bpy.context.temp_override(window=window, area=area, region=region):
        bpy.ops.view3d.view_axis(type="FRONT")
        bpy.ops.view3d.view_orbit(angle=0.35, type="ORBITLEFT")
        bpy.ops.view3d.view_orbit(angle=0.2, type="ORBITDOWN")
        bpy.ops.view3d.view_selected()
    area.spaces.active.shading.type = "SOLID"


def mark():
    bpy.ops.animpack.mark(kind="ROOT")
    bpy.ops.animpack.takes_from_actions()


def faults():
    take = bpy.context.scene.animpack.take
    take["TakeData"] = '{"name": "Walk", "startFrame": 31, "endFrame": 1, "partialList": ["head", "LeftArm"]}'
    bpy.context.object.animpack_is_rig = False
    bpy.context.scene.animpack.take = take


def mend():
    bpy.context.object.animpack_is_rig = True
    take = bpy.context.scene.animpack.take
    take["TakeData"] = take["TakeData"].replace('"head", "LeftArm"', "")
    take.animpack_start, take.animpack_end = 1, 31


def pack():
    bpy.context.scene.animpack.file = "hiker/hiker.fbx"
    bpy.ops.animpack.pack("INVOKE_DEFAULT")


def load():
    bpy.context.scene.animpack.take = bpy.data.objects["TAKE_Walk"]
    bpy.ops.animpack.load_packed("INVOKE_DEFAULT")


def show():
    bpy.ops.animpack.show_take()
    bpy.data.objects["Packed: hiker"].select_set(True)
    look()


def redraw():
    for area in view()[0].screen.areas:
        area.tag_redraw()


STEPS = [
    prepare,
    tab,
    look,
    redraw,
    lambda: save("unmarked", True, 700),
    mark,
    redraw,
    lambda: save("marked", True),
    faults,
    redraw,
    lambda: save("faults", True),
    mend,
    pack,
    load,
    show,
    redraw,
    lambda: save("packed"),
    lambda: bpy.ops.wm.quit_blender(),
    lambda: None,
]


def advance():
    """One step a turn of Blender's own loop, so that each is drawn before the next."""
    addon = sys.modules.get("animpack")
    if addon and addon.state.running:
        return 0.2
    try:
        with override():
            STEPS[state["step"]]()
    except Exception:
        traceback.print_exc()
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(1)
    state["step"] += 1
    return 0.7


bpy.app.timers.register(advance, first_interval=2)
