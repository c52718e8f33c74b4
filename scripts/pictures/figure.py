"""Makes the pictures of docs/blender.md and docs/blender-by-hand.md, in a real window: an imported
character with its actions, the same from the front, back faces culled, and one that went through
an mds and Blender's own importer beside the scene that it comes from."""

import os
import pathlib
import subprocess
import tempfile

import support
from mathutils import Euler
from support import bpy

SAMPLE = support.HERE.parent.parent / "examples" / "sample.glb"
OUT = pathlib.Path(os.environ["MARROW_PICTURES"])
support.install()


def paint(path, colours, size=64):
    """A TGA of squares in two colours, blue green red."""
    rows = [bytes(colours[(x // 8 + y // 8) % 2]) for y in range(size) for x in range(size)]
    path.write_bytes(bytes([0, 0, 2, *[0] * 9, size, 0, size, 0, 24, 0]) + b"".join(rows))


def area(kind):
    screen = bpy.context.window_manager.windows[0].screen
    return next(area for area in screen.areas if area.type == kind)


def over(where):
    window = bpy.context.window_manager.windows[0]
    return bpy.context.temp_override(window=window, area=where, region=next(
        region for region in where.regions if region.type == "WINDOW"))


def script(folder):
    model = folder / "models" / "players" / "sample" / "body.mds"
    model.parent.mkdir(parents=True)
    subprocess.run([support.MARROW, "export", SAMPLE, "-o", model, "--sequences"], check=True)
    paint(model.parent / "figure.tga", ((60, 90, 130), (70, 105, 150)))
    paint(model.parent / "blade.tga", ((150, 150, 140), (190, 190, 180)))
    (model.parent / "body.skin").write_text("body,models/players/sample/figure.tga\n"
                                            "sword,models/players/sample/blade.tga\n")
    window = bpy.context.window_manager.windows[0]
    window.workspace = bpy.data.workspaces["Layout"]
    yield 0.5
    for obj in list(bpy.context.scene.objects):
        bpy.data.objects.remove(obj)
    bpy.data.collections.remove(bpy.data.collections["Collection"])
    with bpy.context.temp_override(window=window):
        bpy.ops.import_scene.marrow(filepath=str(model))
    yield 0.5

    scene = bpy.context.scene
    scene.frame_set(52)
    view = area("VIEW_3D")
    with over(view):
        bpy.ops.screen.area_split(direction="HORIZONTAL", factor=0.3)
    lower, view = sorted((each for each in view.id_data.areas if each.type == "VIEW_3D"),
                         key=lambda each: each.y)
    lower.type = "NLA_EDITOR"
    space = view.spaces.active
    space.shading.color_type = "TEXTURE"
    space.region_3d.view_rotation = Euler((1.35, 0, 0.6)).to_quaternion()
    with over(view):
        bpy.ops.view3d.view_selected()
    space.region_3d.view_distance *= 1.2
    with over(area("OUTLINER")):
        bpy.ops.outliner.show_one_level()
        bpy.ops.outliner.show_one_level()
    yield 0.5
    with over(lower):
        bpy.ops.nla.view_all()
    yield 1
    with over(view):
        bpy.ops.screen.screenshot(filepath=str(OUT / "blender-character.png"))

    camera = bpy.data.objects.new("camera", bpy.data.cameras.new("camera"))
    scene.collection.objects.link(camera)
    camera.location, camera.rotation_euler = (0, -4, 0.9), (1.5708, 0, 0)
    camera.data.lens = 60
    scene.camera = camera
    scene.frame_set(0)
    scene.render.engine = "BLENDER_WORKBENCH"
    scene.display.shading.show_backface_culling = True
    scene.display.shading.color_type = "TEXTURE"
    scene.render.resolution_x, scene.render.resolution_y = 480, 640
    scene.render.filepath = str(OUT / "blender-front.png")
    bpy.ops.render.render(write_still=True)
    yield from by_hand(folder, lower, view)


def by_hand(folder, lower, view):
    model, scene = folder / "models" / "players" / "sample" / "hero.mds", folder / "hero.glb"
    subprocess.run([support.MARROW, "export", SAMPLE, "-o", model, "--write-skin",
                    "--write-images", "--sequences", "--force"], check=True)
    subprocess.run([support.MARROW, "import", model, "-o", scene, "--skin", "hero"], check=True)
    for obj in list(bpy.data.objects):
        bpy.data.objects.remove(obj)
    for collection in list(bpy.data.collections):
        bpy.data.collections.remove(collection)
    bpy.context.scene.render.fps = 20
    tops = []
    for path, place in ((scene, 0.45), (SAMPLE, -0.45)):
        with over(view):
            bpy.ops.import_scene.gltf(filepath=str(path), bone_heuristic="BLENDER")
        tops += [obj for obj in bpy.context.selected_objects if obj.parent is None]
        tops[-1].location.x = place
    tops[1].name = "original"
    bpy.context.scene.frame_set(10)
    lower.type = "OUTLINER"
    space = view.spaces.active
    space.overlay.show_overlays, space.region_3d.view_perspective = False, "ORTHO"
    space.region_3d.view_rotation = Euler((1.5, 0, 0.3)).to_quaternion()
    with over(view):
        bpy.ops.view3d.view_all()
    space.region_3d.view_distance *= 0.65
    yield 1
    with over(lower):
        for _ in range(2):
            bpy.ops.outliner.show_one_level()
    yield 2
    with over(view):
        bpy.ops.screen.screenshot(filepath=str(OUT / "blender-by-hand.png"))


def step(steps):
    try:
        return next(steps)
    except StopIteration:
        os._exit(0)
    except BaseException:
        import traceback
        traceback.print_exc()
        os._exit(1)


_folder = tempfile.TemporaryDirectory()
_steps = script(pathlib.Path(_folder.name).resolve())
bpy.app.timers.register(lambda: step(_steps), first_interval=1)
