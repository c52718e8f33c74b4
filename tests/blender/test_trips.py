"""Scenes through the add-on into every kind of file and back into an empty one."""

import subprocess
import time

import numpy as np

import support
from support import (SCALE, TURN, apart, bpy, filmed, read, signed_volume, step_bound, to_blender)

import models
import scenes


def file_vertices(model):
    """Of all surfaces by name, [frame, vertex, 3], in Blender's axes and metres."""
    if isinstance(model, models.Mdc):
        return {s.name: to_blender(s.verts) for s in model.surfaces}
    poses = [model.pose(frame) for frame in range(len(model.angles))]
    return {s.name: to_blender([s.vertices(*pose) for pose in poses]) for s in model.surfaces}


class Trips(support.Case):
    def trip(self, kind, truth, names, height):
        """Export, compare with the truth, import into an empty file, compare again, export again:
        returns the two files."""
        first = self.folder / f"model.{kind}"
        self.assertEqual(bpy.ops.export_scene.marrow(filepath=str(first)), {"FINISHED"})
        model = read(first)
        inside = file_vertices(model)
        self.assertEqual(sorted(inside), sorted(names))
        bound = step_bound(model, height)
        everything = np.concatenate(list(truth.values()), axis=1)
        written = np.concatenate(list(inside.values()), axis=1)
        self.assertEqual(len(written), len(everything))
        for frame, (found, wanted) in enumerate(zip(written, everything)):
            self.assertLessEqual(apart(found, wanted), bound, f"frame {frame} of the file")

        self.write_skin(kind, names)
        support.empty_scene()
        self.assertEqual(bpy.ops.import_scene.marrow(filepath=str(first)), {"FINISHED"})
        return first, model, inside, bound

    def write_skin(self, kind, names):
        """Names images of the surfaces; that of the trousers is there, 4 x 4 and red."""
        quote = '"' if kind == "mdm" else ""
        self.folder.joinpath("model.skin").write_text("".join(
            f"{name},{quote}models/players/hero/{name}.tga{quote}\n" for name in names))
        self.folder.joinpath("body_trousers.tga").write_bytes(
            bytes([0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 4, 0, 24, 0]) + b"\0\0\xff" * 16)

    def came_in(self, model, inside, bound, truth):
        """What stands in Blender against the file, vertex by vertex, and against the truth."""
        meshes = [obj for obj in bpy.context.scene.objects if obj.type == "MESH"]
        self.assertEqual(sorted(obj.name for obj in meshes), sorted(inside))
        count = len(next(iter(inside.values())))
        shown = filmed(range(count), meshes)
        for name, rows in inside.items():
            self.assertEqual(shown[name].shape, rows.shape)
            self.assertLess(abs(shown[name] - rows).max(), bound, name)
        everything = np.concatenate(list(truth.values()), axis=1)
        written = np.concatenate(list(shown.values()), axis=1)
        worst = max(apart(found, wanted) for found, wanted in zip(written, everything))
        self.assertLessEqual(worst, bound)
        print(f"  {len(everything[0])} vertices, {count} frames: off by up to {worst * SCALE:.4f} "
              f"units of {bound * SCALE:.4f}")

    def faces_are_right(self, model):
        """Clockwise in the file, outward in Blender: volumes of closed shapes have signs."""
        self.faces_are_right_in_file(model)
        bpy.context.scene.frame_set(0)
        for surface in model.surfaces:
            obj = bpy.context.scene.objects[surface.name]
            faces = [list(face.vertices) for face in obj.data.polygons]
            world = support.world_vertices(obj)
            self.assertGreater(signed_volume(world - world.mean(0), faces), 0, obj.name)

    def again(self, first, kind):
        """A second export differs from the first by the steps of a trip only."""
        second = self.folder / f"again.{kind}"
        self.assertEqual(bpy.ops.export_scene.marrow(filepath=str(second)), {"FINISHED"})
        one, two = read(first), read(second)
        self.assertEqual([s.name for s in one.surfaces], [s.name for s in two.surfaces])
        for a, b in zip(one.surfaces, two.surfaces):
            np.testing.assert_array_equal(a.triangles, b.triangles)
            np.testing.assert_array_equal(a.st, b.st)
        self.assertEqual([name for name, *_ in one.tags], [name for name, *_ in two.tags])
        return one, two

    @staticmethod
    def turned(one, two):
        """How far each bone of each frame is turned between two files, in radians."""
        pairs = (models.frame_axes(*np.moveaxis(model.angles[..., :3] * models.STEP, -1, 0))
                 for model in (one, two))
        a, b = pairs
        return 2 * np.arcsin(np.linalg.norm(a - b, axis=(-2, -1)) / np.sqrt(8))

    def character(self):
        scenes.character()
        frames = range(scenes.CLIPS[0][1], scenes.CLIPS[-1][2] + 1)
        truth = filmed(frames, [bpy.data.objects["body"], bpy.data.objects["sword"]])
        tags = {name: [] for name in ("tag_head", "tag_weapon")}
        for frame in frames:
            bpy.context.scene.frame_set(frame)
            for name, rows in tags.items():
                rows.append(np.array(bpy.data.objects[name].matrix_world.translation))
        return truth, tags

    def skeletal(self, kind):
        truth, tags = self.character()
        names = ["body_skin", "body_trousers", "sword"]
        first, model, inside, bound = self.trip(kind, truth, names, 1.8)
        self.assertEqual([s.shader for s in model.surfaces], [
            "models/players/hero/skin.tga", "models/players/hero/cloth",
            "models/weapons2/sword/blade"])
        for name, tag in model.tags:
            for frame, wanted in enumerate(tags[name]):
                _, place = model.tag_pose(tag, *model.pose(frame))
                self.assertLess(np.abs(to_blender(place) - wanted).max(), bound)
        self.came_in(model, inside, bound, truth)
        self.faces_are_right(model)

        rig = bpy.data.objects["model"]
        scene = bpy.context.scene
        self.assertEqual([obj for obj in scene.objects if obj.type == "ARMATURE"], [rig])
        self.assertEqual(rig.users_collection[0].name, "model")
        self.assertEqual((scene.render.fps, scene.frame_start, scene.frame_end), (20, 0, 61))
        self.assertEqual([(track.name, strip.action.name, strip.frame_start, strip.frame_end)
                          for track in rig.animation_data.nla_tracks for strip in track.strips],
                         [(name, name, *frames) for name, *frames in scenes.CLIPS])
        bones = rig.data.bones
        for parent, child in (("thigh.L", "calf.L"), ("spine", "spine1"), ("neck", "head")):
            self.assertLess((bones[parent].tail_local - bones[child].head_local).length, 1e-4)
        self.assertTrue(rig.show_in_front)
        self.assertTrue({"tag_head", "tag_weapon"} <= set(bones.keys()))
        material = bpy.data.objects["body_trousers"].data.materials[0]
        self.assertEqual(material["game_path"], "models/players/hero/body_trousers.tga")
        image, = (node.image for node in material.node_tree.nodes if node.type == "TEX_IMAGE")
        self.assertEqual(tuple(image.size), (4, 4))
        np.testing.assert_allclose(image.pixels[:4], [1, 0, 0, 1], atol=1e-3)

        one, two = self.again(first, kind)
        self.assertEqual((one.names, list(one.parents)), (two.names, list(two.parents)))
        np.testing.assert_allclose(one.dists, two.dists, atol=2e-4)
        self.assertLessEqual(self.turned(one, two).max(), TURN)
        for a, b in zip(one.surfaces, two.surfaces):
            np.testing.assert_array_equal(a.bone, b.bone)
            np.testing.assert_allclose(a.weight, b.weight, atol=1e-5)
        side = "wolfanim.cfg" if kind == "mds" else "again.aninc"
        self.assertIn("walk 21 25 0 20", (self.folder / side).read_text())

    def test_character_mds(self):
        self.skeletal("mds")

    def test_character_mdm(self):
        self.skeletal("mdm")

    def test_character_mdc(self):
        truth, tags = self.character()
        model = self.vertex_animated(truth, ["body_skin", "body_trousers", "sword"], 1.8)
        for name, places, _ in model.tags:
            self.assertLess(np.abs(to_blender(places) - tags[name]).max(), step_bound(model, 1.8))

    def test_flag(self):
        model = self.vertex_animated(filmed(range(21), [scenes.flag()]), ["flag"], 1)
        self.assertEqual(model.surfaces[0].shaders, ["models/flags/red.tga"])
        keys = bpy.data.objects["flag"].data.shape_keys
        self.assertEqual(len(keys.key_blocks), 22)  # the first frame, 20 more, their normals
        track, = keys.animation_data.nla_tracks
        self.assertEqual([(s.name, s.frame_start, s.frame_end) for s in track.strips],
                         [("all", 0, 20)])

    def vertex_animated(self, truth, names, height):
        """Frame for frame through an mdc and back, and the same file again."""
        first, model, inside, bound = self.trip("mdc", truth, names, height)
        self.came_in(model, inside, bound, truth)
        one, two = self.again(first, "mdc")
        for a, b in zip(one.surfaces, two.surfaces):
            np.testing.assert_array_equal(a.verts, b.verts)
            self.assertEqual(a.shaders, b.shaders)
        for (_, places, angles), (_, others, turned) in zip(one.tags, two.tags):
            np.testing.assert_allclose(places, others, atol=models.GRID)
            np.testing.assert_allclose(angles, turned, atol=2 * models.STEP)
        return model

    def test_prop(self):
        crate = scenes.prop()
        truth = filmed([1], [crate])
        for kind in ("mds", "mdc"):
            path = self.folder / f"crate.{kind}"
            bpy.ops.export_scene.marrow(filepath=str(path), replace_sequences=True)
            model = read(path)
            points = file_vertices(model)["crate"]
            self.assertEqual(len(points), 1)
            self.assertLess(apart(points[0], truth["crate"][0]), step_bound(model, 1))
            self.faces_are_right_in_file(model)
            if kind == "mdc":
                support.empty_scene()
                bpy.ops.import_scene.marrow(filepath=str(path))
                one, two = self.again(path, kind)
                self.assertEqual(one.surfaces[0].shaders, two.surfaces[0].shaders)
                away = abs(one.surfaces[0].verts - two.surfaces[0].verts).max()
                self.assertLessEqual(away, models.GRID)

    def test_strips_that_touch(self):
        """A frame that two strips share is the last of the one and the first of the other."""
        bpy.ops.object.armature_add()
        rig = bpy.context.object
        crate = scenes.prop()
        crate.parent, crate.parent_type, crate.parent_bone = rig, "BONE", "Bone"
        track = rig.animation_data_create().nla_tracks.new()
        for number in range(2):
            rig.animation_data.action = bpy.data.actions.new(f"pose{number}")
            rig.pose.bones[0].rotation_quaternion = (1, number, 0, 0)
            for frame in (0, 5):
                rig.pose.bones[0].keyframe_insert("rotation_quaternion", frame=frame)
            track.strips.new(f"pose{number}", 5 * number, rig.animation_data.action)
        rig.animation_data.action = None
        bpy.ops.export_scene.marrow(filepath=str(self.folder / "poses.mds"))
        model = models.read_mds(self.folder / "poses.mds")
        axes = np.array([model.pose(frame)[0][0] for frame in range(len(model.angles))])
        wanted = np.repeat(axes[[0, -1]], 6, axis=0)
        self.assertGreater(abs(axes[0] - axes[-1]).max(), 0.9)
        np.testing.assert_allclose(axes, wanted, atol=1e-3)

    def test_names(self):
        """At most 63 bytes, distinct, without Blender's numbers; bones keep theirs. What is left
        out is told."""
        crate = scenes.prop()
        crate.name = "ü" * 31
        for letter in "mn":
            crate.data.materials.append(bpy.data.materials.new(letter * 40))
        crate.data.polygons[0].material_index, crate.data.polygons[1].material_index = 1, 2
        scenes.prop().name = "lamp.003"
        bpy.ops.object.collection_instance_add(collection=bpy.data.collections.new("more").name)
        bpy.ops.object.armature_add()
        bpy.context.object.data.bones[0].name = "spine.001"
        path = self.folder / "names.mds"
        bpy.ops.export_scene.marrow(filepath=str(path))
        model = models.read_mds(path)
        found = [s.name.encode("latin-1") for s in model.surfaces]
        self.assertEqual(len(set(found)), 4)
        self.assertIn(b"lamp", found)
        self.assertLessEqual(max(map(len, found)), 63)
        self.assertEqual(model.names, ["spine.001"])
        self.assertIn("instances are left out", bpy.data.texts["Marrow messages"].as_string())

    def test_parts_of_a_model(self):
        scenes.character()
        path = self.folder / "model.mdm"
        bpy.ops.export_scene.marrow(filepath=str(path))
        for options, kinds, actions in (
                ({"meshes": False}, {"ARMATURE"}, 3), ({"bones": False}, {"MESH"}, 0),
                ({"animation": "NONE"}, {"ARMATURE", "MESH"}, 0),
                ({"sequences": "wave, idle"}, {"ARMATURE", "MESH"}, 2)):
            with self.subTest(**options):
                support.empty_scene()
                bpy.ops.import_scene.marrow(filepath=str(path), **options)
                self.assertEqual({obj.type for obj in bpy.context.scene.objects}, kinds)
                self.assertEqual(len(bpy.data.actions), actions)
                for obj in bpy.context.scene.objects:
                    self.assertGreater(len(obj.data.vertices if obj.type == "MESH" else
                                           obj.data.bones), 20)

    def test_odd_rigs(self):
        """Objects as they are: a mirrored rig, a scaled pose, two rigs, what is tied by a
        constraint or moved by a driver, vertices without a weight."""
        def mirrored(rig):
            rig.scale.x *= -1

        def scaled(rig):
            rig.pose.bones["head"].scale = (2, 2, 2)

        def two(rig):
            bpy.ops.object.armature_add(location=(3, 0, 0))
            crate = scenes.prop()
            crate.modifiers.new("rig", "ARMATURE").object = bpy.context.object

        def tied(rig):
            crate = scenes.prop()
            constraint = crate.constraints.new("CHILD_OF")
            constraint.target, constraint.subtarget = rig, "hand.L"
            crate.driver_add("rotation_euler", 0).driver.expression = "frame * 0.1"

        for change in (mirrored, scaled, two, tied):
            with self.subTest(change.__name__):
                support.empty_scene()
                change(scenes.character())
                scene, kinds = bpy.context.scene, ("mdc", "mds")
                scene.frame_start, scene.frame_end = 4, 9
                meshes = [obj for obj in scene.objects if obj.type == "MESH"]
                truth = np.concatenate(list(filmed(range(4, 10), meshes).values()), axis=1)
                for kind in kinds if change != scaled else kinds[:1]:
                    path = self.folder / f"{change.__name__}.{kind}"
                    bpy.ops.export_scene.marrow(filepath=str(path), sequences="SCENE")
                    model = read(path)
                    inside = np.concatenate(list(file_vertices(model).values()), axis=1)
                    worst = max(apart(a, b) for a, b in zip(inside, truth))
                    self.assertEqual(len(inside), len(truth))
                    self.assertLessEqual(worst, step_bound(model, 1.8), kind)

    def test_choices(self):
        """Which frames, actions, objects and bones go out, and from where."""
        def lines():
            text = (self.folder / "wolfanim.cfg").read_text()
            return [line for line in text.splitlines() if line.endswith(" 20")]

        rig = scenes.character()
        path = self.folder / "part.mds"

        def export(**options):
            bpy.ops.export_scene.marrow(filepath=str(path), replace_sequences=True, **options)
            return models.read_mds(path)

        rig.data.bones["toe.L"]["marrow_order"] = 0
        track = rig.animation_data.nla_tracks[0]
        track.mute, track.strips[1].mute = True, True
        export()
        self.assertEqual(lines(), ["idle 0 21 0 20", "wave 21 16 0 20"])
        self.assertEqual((track.mute, track.strips[0].mute, track.strips[1].mute),
                         (True, False, True))
        export(sequences="ACTIONS")
        self.assertEqual(lines(), ["idle 0 21 0 20", "walk 21 25 0 20", "wave 46 16 0 20"])
        self.assertIsNone(rig.animation_data.action)
        track.mute = False
        self.assertEqual(len(export(frames="RANGE", frame_start=5, frame_end=10).angles), 6)
        for obj in bpy.context.scene.objects:
            obj.select_set(obj.name == "sword")
        model = export(use_selection=True, use_deform_bones=True, origin="tag_head")
        self.assertEqual([s.name for s in model.surfaces], ["sword"])
        self.assertNotIn("ik_foot.L", model.names)
        self.assertEqual(model.names[model.parents[model.names.index("toe.L")]], "foot.L")
        bpy.context.scene.frame_set(0)
        wanted = support.world_vertices(bpy.data.objects["sword"]) - np.array(
            bpy.data.objects["tag_head"].matrix_world.translation)
        found = to_blender(model.surfaces[0].vertices(*model.pose(0)))
        self.assertLess(apart(found, wanted), 1e-3)

    def test_attached(self):
        """A head and what hangs from it, at their tags in every frame: the files' vertices moved by
        the tags that the files have."""
        scenes.prop()
        empty = bpy.data.objects.new("tag_hat", None)
        bpy.context.collection.objects.link(empty)
        empty.location, empty.rotation_euler = (0, 0.1, 0.3), (0.3, 0, 1)
        bpy.ops.export_scene.marrow(filepath=str(self.folder / "head.mdc"))
        head = models.Mdc(self.folder / "head.mdc")
        support.empty_scene()
        scenes.character()
        bpy.ops.export_scene.marrow(filepath=str(self.folder / "body.mds"))
        body = models.read_mds(self.folder / "body.mds")
        support.empty_scene()
        with self.assertRaisesRegex(RuntimeError, "no tag tag_foot.* tag_head, tag_weapon"):
            bpy.ops.import_scene.marrow(filepath=str(self.folder / "body.mds"),
                                        attach="tag_foot=head.mdc")
        self.assertEqual(len(bpy.data.objects) + len(bpy.data.collections), 0)
        # Frame for frame in a scene of another rate.
        bpy.context.collection.objects.link(bpy.data.objects.new("other", None))
        bpy.context.scene.render.fps = 24
        bpy.ops.import_scene.marrow(filepath=str(self.folder / "body.mds"),
                                    attach="tag_head=head.mdc, tag_hat=head.mdc")
        crates = [obj for obj in bpy.data.objects if obj.name.startswith("crate")]
        shown = filmed(range(len(body.angles)), sorted(crates, key=lambda obj: obj.name))
        points = head.surfaces[0].verts[0]
        (_, places, angles), = head.tags
        hat = models.frame_axes(*angles[0]).T, places[0]
        for frame in range(len(body.angles)):
            turn, place = body.tag_pose(dict(body.tags)["tag_head"], *body.pose(frame))
            first = points @ turn.T + place
            second = (points @ hat[0].T + hat[1]) @ turn.T + place
            for wanted, name in ((first, "crate"), (second, "crate.001")):
                away = abs(shown[name][frame] - to_blender(wanted)).max()
                self.assertLess(away, 1e-4 * 1.8, name)

    def faces_are_right_in_file(self, model):
        for surface in model.surfaces:
            points = surface.verts[0] if isinstance(model, models.Mdc) else \
                surface.vertices(*model.pose(0))
            self.assertLess(signed_volume(points - points.mean(0), surface.triangles), 0,
                            surface.name)

    def test_speed(self):
        """An import takes at most twice the command's and Blender's own, one after the other."""
        model, scene = self.folder / "sample.mds", self.folder / "sample.glb"
        sample = support.HERE.parent.parent / "examples" / "sample.glb"
        # 923 frames: characters of the games have thousands.
        subprocess.run([support.MARROW, "export", sample, "-o", model, "--sequences", "--fps",
                        "200"], check=True)

        def both():
            subprocess.run([support.MARROW, "import", model, "-o", scene], check=True,
                           capture_output=True)
            bpy.ops.import_scene.gltf(filepath=str(scene))

        def ours():
            bpy.ops.import_scene.marrow(filepath=str(model))

        times = {both: [], ours: []}
        for _ in range(6):
            for run, rows in times.items():
                support.empty_scene()
                start = time.perf_counter()
                run()
                rows.append(time.perf_counter() - start)
        plain, own = min(times[both]), min(times[ours])
        print(f"  {own:.3f} s; the command and Blender's importer {plain:.3f} s: {own / plain:.2f}")
        self.assertLessEqual(own, 2 * plain)


support.install()
support.main(Trips)
