"""The add-on in a window, as a user sees it: panels filled from the file, one step of undo, Esc.
Blender has to run with --enable-event-simulate."""

import os
import pathlib
import subprocess
import sys
import tempfile
import time
import traceback

import support
from support import bpy, unittest

SECONDS = 60
SAMPLE = support.HERE.parent.parent / "examples" / "sample.glb"
PICTURES = os.environ.get("MARROW_PICTURES")
BIN = support.install() / "bin" / "linux-x64" / "bin"
check = unittest.TestCase()


def window():
    return bpy.context.window_manager.windows[0]


def browser():
    """The file browser's window and area, where one is open."""
    return next(((each, area) for each in bpy.context.window_manager.windows
                 for area in each.screen.areas if area.type == "FILE_BROWSER"), None)


def until(condition, what):
    """Steps of a script that wait for it, with the window alive."""
    end = time.monotonic() + SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain: {what}")
        yield 0.05


def picture(name, where=None, area=None):
    if PICTURES:
        with bpy.context.temp_override(window=where or window(), area=area):
            bpy.ops.screen.screenshot(filepath=str(pathlib.Path(PICTURES) / name))


def choose(operator, path, **options):
    """Calls an operator from the menu and confirms a file in its browser."""
    with bpy.context.temp_override(window=window()):
        operator("INVOKE_DEFAULT", **options)
    yield from until(browser, "the file browser")
    where, area = browser()
    area.spaces.active.params.directory = str(path.parent).encode() + b"/"
    area.spaces.active.params.filename = path.name
    yield 0.2


def confirm():
    where, area = browser()
    region = next(region for region in area.regions if region.type == "WINDOW")
    with bpy.context.temp_override(window=where, area=area, region=region):
        bpy.ops.file.execute()


def press(key):
    window().event_simulate(type=key, value="PRESS", x=300, y=300)
    window().event_simulate(type=key, value="RELEASE", x=300, y=300)


def running():
    return sys.modules["marrow_io.stepping"].running > 0


def names():
    return sorted(obj.name for obj in bpy.context.scene.objects)


def undo():
    with bpy.context.temp_override(window=window()):
        bpy.ops.ed.undo()


def script(folder):
    model = folder / "model.mds"
    yield from import_by_menu(model)
    yield from import_of_a_drop(model)
    yield from cancelled_import(model)
    yield from cancelled_export(folder)


def import_by_menu(model):
    with bpy.context.temp_override(window=window()):
        bpy.context.scene.objects["Cube"].location.x = 5
        bpy.ops.ed.undo_push(message="moved")
    before = names()
    yield from choose(bpy.ops.import_scene.marrow, model, filter_glob="*.mdc;*.mds")
    operator = browser()[1].spaces.active.active_operator
    operator.animation = "CHOSEN"
    browser()[1].tag_redraw()
    yield from until(lambda: len(operator.choices) == 3, "the panel is filled")
    check.assertEqual([choice.name for choice in operator.choices], ["idle", "walk", "wave"])
    yield 1.0
    browser()[1].tag_redraw()
    yield 0.5
    picture("blender-import.png", *browser())
    operator.choices[1].use = False
    confirm()
    yield from until(lambda: "model" in names() and not running(), "the import")
    check.assertEqual(sorted(action.name for action in bpy.data.actions), ["idle", "wave"])
    check.assertEqual(bpy.context.scene.objects["Cube"].location.x, 5)
    undo()
    yield 0.2
    check.assertEqual(names(), before)
    check.assertEqual(bpy.context.scene.objects["Cube"].location.x, 5)
    undo()
    yield 0.2
    check.assertEqual(bpy.context.scene.objects["Cube"].location.x, 0, "one step of undo")


def import_of_a_drop(model):
    """A drop gives the path at the start: only options are asked for."""
    with bpy.context.temp_override(window=window()):
        bpy.ops.import_scene.marrow("INVOKE_DEFAULT", filepath=str(model))
    yield 0.5
    check.assertIsNone(browser())
    picture("drop.png")
    press("RET")
    yield from until(lambda: "model" in names() and not running(), "the import")
    undo()


def slow_program(folder):
    """The program waits once it is asked for more than its handlers."""
    BIN.joinpath("marrow").rename(BIN / "real")
    begun = folder / "begun"
    program = BIN / "marrow"
    program.write_text(f"#!/bin/sh\ncase $1 in import | export)\n  echo $$ >'{begun}'\n"
                       f"  exec sleep {2 * SECONDS} ;;\nesac\nexec '{BIN}/real' \"$@\"\n")
    program.chmod(0o755)
    return begun


def has_ended(begun):
    try:
        os.kill(int(begun.read_text()), 0)
    except ProcessLookupError:
        return True
    return False


def cancelled_import(model):
    begun = slow_program(model.parent)
    before = names(), sorted(bpy.data.collections.keys()), len(bpy.data.meshes)
    yield from choose(bpy.ops.import_scene.marrow, model)
    confirm()
    yield from until(lambda: begun.exists() and begun.read_text(), "the program's start")
    check.assertTrue(running())
    press("ESC")
    yield from until(lambda: not running(), "the import's end")
    check.assertTrue(has_ended(begun))
    check.assertEqual((names(), sorted(bpy.data.collections.keys()), len(bpy.data.meshes)), before)


def cancelled_export(folder):
    """While frames are sampled and while the program runs; an old file stays as it is."""
    scene = bpy.context.scene
    begun = folder / "begun"
    for last in (100000, 3):
        begun.unlink(missing_ok=True)
        scene.frame_start, scene.frame_end = 0, last
        scene.frame_set(2)
        target = folder / "cube.mdc"
        target.write_bytes(b"old")
        yield from choose(bpy.ops.export_scene.marrow, target, kind="MDC")
        if last > 3:
            picture("blender-export.png", *browser())
        confirm()
        yield from until(lambda: scene.frame_current > 20 if last > 3 else begun.exists(),
                         "the export's start")
        press("ESC")
        yield from until(lambda: not running(), "the export's end")
        check.assertEqual((target.read_bytes(), scene.frame_current), (b"old", 2))
        check.assertEqual(sorted(path.name for path in folder.iterdir() if "cube" in path.name),
                          ["cube.mdc"])


def run(steps):
    try:
        return next(steps)
    except StopIteration:
        print("window: all seen", flush=True)
        os._exit(0)
    except Exception:
        traceback.print_exc()
        os._exit(1)


_folder = tempfile.TemporaryDirectory()
_path = pathlib.Path(_folder.name).resolve() / "models" / "players" / "hero"
_path.mkdir(parents=True)
for name in ("default", "winter"):
    (_path / f"{name}.skin").write_text("body,models/players/hero/body.tga\n")
subprocess.run([support.MARROW, "export", SAMPLE, "-o", _path / "model.mds", "--sequences",
                "--scale", str(support.SCALE)], check=True)
_steps = script(_path)
bpy.app.timers.register(lambda: run(_steps), first_interval=0.5, persistent=True)
