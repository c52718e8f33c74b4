"""What goes wrong: said plainly, and the scene is as it was."""

import os
import shutil
import sys
import unittest.mock

import support
from support import bpy

import scenes

PACKAGE = support.install()
BIN = PACKAGE / "bin"


def content():
    """Everything in the file but texts, and what the scene is set to."""
    scene, layer = bpy.context.scene, bpy.context.view_layer
    layer.update()
    kinds = ("objects", "meshes", "armatures", "actions", "materials", "images", "collections",
             "scenes", "node_groups", "shape_keys")
    blocks = {kind: sorted(block.name for block in getattr(bpy.data, kind)) for kind in kinds}
    states = [(obj.name, obj.select_get(), obj.visible_get(), [round(v, 6) for row in
               obj.matrix_world for v in row]) for obj in scene.objects]
    rigs = [(rig.data.pose_position, rig.animation_data and (rig.animation_data.use_nla, [
        (track.mute, [strip.mute for strip in track.strips])
        for track in rig.animation_data.nla_tracks]))
        for rig in scene.objects if rig.type == "ARMATURE"]
    return (blocks, states, rigs, scene.frame_current, scene.render.fps, scene.frame_start,
            scene.frame_end, scene.render.engine, dict(scene.items()),
            layer.objects.active and layer.objects.active.name)


class Errors(support.Case):
    def fails(self, operator, path, words, **options):
        """The run fails with the words, in the report and in the text block; nothing changed."""
        before = content()
        with self.assertRaisesRegex(RuntimeError, words):
            operator(filepath=str(path), **options)
        self.assertEqual(content(), before)
        self.assertRegex(bpy.data.texts["Marrow messages"].as_string(), "error: .*" + words)

    def both(self, words):
        model = self.folder / "model.mds"
        model.write_bytes(b"MDSW")
        self.fails(bpy.ops.import_scene.marrow, model, words)
        self.fails(bpy.ops.export_scene.marrow, self.folder / "new.mds", words)
        self.assertFalse((self.folder / "new.mds").exists())

    def test_programs(self):
        """None at all, one that is not there, and one that is something else."""
        scenes.prop()
        preferences = bpy.context.preferences.addons["marrow_io"].preferences
        aside = BIN.with_name("aside")
        BIN.rename(aside)
        try:
            with unittest.mock.patch.dict(os.environ, {"PATH": ""}):
                self.both("the program marrow was not found")
            for named, words in (("/nowhere/marrow", "no such program"),
                                 (shutil.which("true"), "not the program marrow"),
                                 (str(PACKAGE / "__init__.py"), "not the program marrow")):
                preferences.program = named
                self.both(words)
            preferences.program = str(support.MARROW)
            target = self.folder / "crate.mdc"
            self.assertEqual(bpy.ops.export_scene.marrow(filepath=str(target)), {"FINISHED"})
        finally:
            preferences.program = ""
            aside.rename(BIN)

    def test_files(self):
        scenes.prop()
        damaged = self.folder / "damaged.mds"
        damaged.write_bytes(b"MDSW" + bytes(200))
        self.fails(bpy.ops.import_scene.marrow, damaged, "damaged.mds")
        self.fails(bpy.ops.import_scene.marrow, self.folder / "none.mdm", "none.mdm")
        self.fails(bpy.ops.import_scene.marrow, self.folder / "model.obj", "no mdc, mds or mdm")
        self.fails(bpy.ops.export_scene.marrow, self.folder / "none" / "crate.mdc", "none")
        bpy.context.scene.objects["crate"].hide_set(True)
        self.fails(bpy.ops.export_scene.marrow, self.folder / "x.mds", "nothing to export")
        self.fails(bpy.ops.export_scene.marrow, self.folder / "x.mds", "no object of this scene",
                   use_visible=False, origin="nobody")

    def test_without_the_importer(self):
        bpy.context.view_layer.objects.active = scenes.prop()
        model = self.folder / "crate.mds"
        bpy.ops.object.mode_set(mode="EDIT")
        bpy.ops.export_scene.marrow(filepath=str(model))
        self.assertEqual(bpy.context.mode, "EDIT_MESH")
        bpy.ops.object.mode_set(mode="OBJECT")
        support.addon_utils.disable("io_scene_gltf2", default_set=True)
        self.fails(bpy.ops.import_scene.marrow, model, 'add-on "glTF 2.0 format" is off')

    def test_fault_while_building(self):
        """Blender's importer or ours breaks half way: what was made is taken away again."""
        scenes.character()
        model = self.folder / "model.mds"
        bpy.ops.export_scene.marrow(filepath=str(model))
        module = sys.modules["marrow_io.importing.clips"]
        with unittest.mock.patch.object(module, "lay_out", side_effect=ValueError("broken")):
            before = content()
            with self.assertRaisesRegex(RuntimeError, "ValueError: broken"):
                bpy.ops.import_scene.marrow(filepath=str(model))
            self.assertEqual(content(), before)

    def test_names_files_and_what_stands_there(self):
        """Blanks and letters beyond ASCII; two files at once; one of them damaged; the scene's own
        content, rate and frames stay."""
        rig = scenes.character()
        bpy.context.scene.frame_set(7)
        before = content()
        folder = self.folder / "mit Blank 世界"
        folder.mkdir()
        for name in ("Жук häß.mds", "zwei.mdm"):
            self.assertEqual(bpy.ops.export_scene.marrow(filepath=str(folder / name)), {"FINISHED"})
        self.assertEqual(content(), before)
        self.assertEqual(sorted(path.name for path in folder.iterdir()),
                         ["wolfanim.cfg", "zwei.aninc", "zwei.mdm", "zwei.mdx", "Жук häß.mds"])
        (folder / "drei.mds").write_bytes(b"nothing")
        bpy.context.scene.render.fps = 30
        world = support.world_vertices(bpy.data.objects["body"])
        with self.assertRaisesRegex(RuntimeError, "drei.mds"):
            bpy.ops.import_scene.marrow(directory=str(folder), files=[
                {"name": "Жук häß.mds"}, {"name": "drei.mds"}, {"name": "zwei.mdm"}])
        scene = bpy.context.scene
        self.assertEqual({"Жук häß", "zwei"} & set(bpy.data.collections.keys()),
                         {"Жук häß", "zwei"})
        self.assertNotIn("drei", bpy.data.collections.keys())
        self.assertEqual((scene.render.fps, scene.frame_current, scene.frame_end), (30, 7, 61))
        self.assertLess(abs(support.world_vertices(bpy.data.objects["body"]) - world).max(), 1e-6)
        self.assertEqual(rig.animation_data.nla_tracks[0].strips[0].name, "idle")
        self.assertRegex(bpy.data.texts["Marrow messages"].as_string(),
                         "idle, walk, wave: 20 frames a second, the scene 30")


support.main(Errors)
