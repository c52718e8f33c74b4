"""Models into Blender and back without the add-on: by the command and Blender's own glTF importer
and exporter, as docs/blender-by-hand.md walks through it."""

import re
import subprocess

import numpy as np

import support
from support import bpy

import models
import scenes

SAMPLE = support.HERE.parent.parent / "examples" / "sample.glb"


def marrow(*arguments):
    done = subprocess.run([support.MARROW, *map(str, arguments)], capture_output=True, text=True)
    if done.returncode:
        raise AssertionError(f"marrow {' '.join(map(str, arguments))}: {done.stderr}")
    return done.stderr


def sequence_file(path):
    return path.with_name("wolfanim.cfg") if path.suffix == ".mds" else path.with_suffix(".aninc")


def paint(path, *colours):
    """A TGA of one row of pixels, blue green red."""
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(bytes([0, 0, 2, *[0] * 9, len(colours), 0, 1, 0, 24, 0]) +
                     b"".join(map(bytes, colours)))


def pixels(path):
    image = bpy.data.images.load(str(path))
    return list(image.size), list(image.pixels)


class ByHand(support.Case):
    def setUp(self):
        super().setUp()
        self.game = self.folder.parents[2]
        self.other = self.game / "other"
        (self.other / "models" / "players" / "hero").mkdir(parents=True)

    def trip(self, kind, rate, brought=(), back=()):
        """hero.mds or hero.mdm to the same of another game, in a scene of that rate. The importer's
        bones are to keep their axes; the save is as it is by default."""
        first = self.folder / f"hero.{kind}"
        second = self.other / first.relative_to(self.game)
        scene, saved = self.game / "hero.glb", self.game / "saved.glb"
        told = marrow("import", first, "-o", scene, *brought)
        self.assertNotIn("is not found", told)
        support.empty_scene()
        bpy.context.scene.render.fps = rate
        bpy.ops.import_scene.gltf(filepath=str(scene), bone_heuristic="BLENDER")
        self.assertEqual([obj.name for obj in bpy.context.scene.objects
                          if obj.type == "ARMATURE"], ["hero"])
        bpy.ops.export_scene.gltf(filepath=str(saved))
        marrow("export", saved, "-o", second, "--write-images", "--force", *back)

        one, two = support.read(first), support.read(second)
        for model in one, two:
            model.surfaces.sort(key=lambda surface: surface.name)
        self.same_skeleton(one, two)
        self.same_surfaces(one, two)
        self.same_angles(one, two)
        self.same_frames(one, two)
        images = [path.relative_to(self.game) for path in (self.game / "models").rglob("*.tga")]
        self.assertTrue(images)
        for image in images:
            self.assertEqual(pixels(self.other / image), pixels(self.game / image), image)
        if "--sequences" in back:
            self.assertEqual(sequence_file(second).read_bytes(), sequence_file(first).read_bytes())

    def same_skeleton(self, one, two):
        """By names: Blender has children in an order of its own."""
        def rows(model):
            return {name: (model.names[parent] if parent >= 0 else None, share)
                    for name, parent, share in zip(model.names, model.parents, model.torso_weights)}

        self.assertEqual(rows(two), rows(one))
        self.assertEqual({name for name, _ in two.tags}, {name for name, _ in one.tags})
        number = [two.names.index(name) for name in one.names]
        np.testing.assert_allclose(two.dists[number], one.dists, rtol=1e-5, atol=1e-4)
        two.angles_by_one = two.angles[:, number]

    def same_surfaces(self, one, two):
        """By the corners of triangles: Blender splits vertices where it rounds normals."""
        self.assertEqual([(s.name, s.shader) for s in two.surfaces],
                         [(s.name, s.shader) for s in one.surfaces])
        for a, b in zip(one.surfaces, two.surfaces):
            b.source = np.zeros(len(b.first) - 1, int)
            b.source[b.triangles] = a.triangles
            np.testing.assert_array_equal(b.source[b.triangles], a.triangles)
            np.testing.assert_allclose(b.st, a.st[b.source], atol=1e-6)
            for v, old in enumerate(b.source):
                wanted, found = ({model.names[bone]: weight for bone, weight in s.weights_of(at)}
                                 for model, s, at in ((one, a, old), (two, b, v)))
                self.assertEqual(found.keys(), wanted.keys())
                for bone, weight in wanted.items():
                    self.assertAlmostEqual(found[bone], weight, delta=1e-5)

    def same_angles(self, one, two):
        """Within a step, where an angle says something: yaw and roll run together straight up and
        down, and there is no direction to a bone at its parent's place."""
        steps = (two.angles_by_one.astype(int) - one.angles + 32768) % 65536 - 32768
        steep = abs(abs(one.angles[..., [0, 4]].astype(int)) - 16384) < 60
        steps[..., 1:4][steep[..., 0]] = 0
        steps[..., 5][steep[..., 1]] = 0
        steps[..., 4:][:, one.dists < 1e-3] = 0
        self.assertLessEqual(abs(steps).max(), 1)

    def same_frames(self, one, two):
        """Vertices of every frame, and normals as the games turn them: by the first bone."""
        bound = support.step_bound(one, 0) * support.SCALE
        worst, normals = 0, []
        for frame in range(len(one.angles)):
            pose, other = one.pose(frame), two.pose(frame)
            points = [s.vertices(*pose) for s in one.surfaces]
            height = np.ptp(np.vstack(points)[:, 2])
            for a, b, wanted in zip(one.surfaces, two.surfaces, points):
                worst = max(worst, np.linalg.norm(b.vertices(*other) - wanted[b.source],
                                                  axis=1).max())
                shown = [np.einsum("vij,vj->vi", axes[s.bone[s.first[:-1]]], s.normals)
                         for s, (axes, _) in ((a, pose), (b, other))]
                normals.append(models.degrees_between(shown[0][b.source], shown[1]).mean())
            self.assertLessEqual(worst, bound + 1e-4 * height, f"frame {frame}")
        print(f"  {len(one.angles)} frames: off by up to {worst:.4f} units of {bound:.4f}, normals "
              f"{np.mean(normals):.3f} degrees")
        self.assertLess(np.mean(normals), 1)

    def test_sample(self):
        for kind in ("mds", "mdm"):
            with self.subTest(kind):
                loops = ["--sequences", "--loop", "walk=all", "--loop", "idle=20"]
                marrow("export", SAMPLE, "-o", self.folder / f"hero.{kind}", "--write-images",
                       "--force", *loops)
                self.trip(kind, 20, back=loops)

    def test_character(self):
        """Sequences of three rates: as long as they are, and with one rate for all of the scene."""
        paint(self.folder / "skin.tga", (10, 20, 30), (40, 50, 60))
        paint(self.folder / "cloth.tga", *[(200, 100, 0)] * 4)
        paint(self.game / "models" / "weapons2" / "sword" / "blade.tga", (90, 90, 90))
        for kind, rate, brought in ("mds", 60, ()), ("mdm", 20, ("--fps", 20)):
            with self.subTest(kind):
                support.empty_scene()
                scenes.character()
                built, first = (self.folder / f"{name}.{kind}" for name in ("built", "hero"))
                bpy.ops.export_scene.marrow(filepath=str(built), replace_sequences=True)
                torso = ("--torso", "spine1")
                marrow("convert", built, first, "--sequences", "--force", *torso)
                plan = sequence_file(first)
                lines = plan.read_text()
                for name, numbers in ("walk", "25 10"), ("wave", "0 15"):
                    lines = re.sub(rf"(?m)^({name} .*) 0 20$", rf"\1 {numbers}", lines)
                plan.write_text(lines)
                self.trip(kind, rate, brought, ("--sequences", "--sequences-from", plan, *torso))

    def test_prop(self):
        paint(self.game / "models" / "mapobjects" / "crate.tga", (0, 90, 180), (0, 0, 0))
        scenes.prop()
        for kind in ("mds", "mdm"):
            bpy.ops.export_scene.marrow(filepath=str(self.folder / f"hero.{kind}"))
        for kind in ("mds", "mdm"):
            with self.subTest(kind):
                self.trip(kind, 20)


support.install()
support.main(ByHand)
