"""What the add-on's tests share: Blender with the add-on as a user installs it, scenes as plain
numbers, and the decoders of the game files that share no code with the product."""

import os
import pathlib
import sys
import tempfile
import unittest

import addon_utils
import bpy
import numpy as np

# Debian's glTF add-on is older than Debian's numpy.
for name, kind in (("bool", bool), ("int", int), ("object", object)):
    if name not in np.__dict__:
        setattr(np, name, kind)

HERE = pathlib.Path(__file__).resolve().parent
sys.path.append(str(HERE.parent / "oracle"))
import models  # noqa: E402

MARROW, ZIP = (pathlib.Path(path).resolve() for path in sys.argv[sys.argv.index("--") + 1:][:2])
SCALE = 40
UNIT = np.radians(models.STEP)
AIM, TURN = np.sqrt(2) * UNIT, np.sqrt(5) * UNIT  # of a direction and of a bone, cut in steps


def install():
    """The zip, into the folder that BLENDER_USER_SCRIPTS names for this run."""
    bpy.ops.preferences.addon_install(filepath=str(ZIP), overwrite=True)
    addon_utils.enable("marrow_io", default_set=True)
    return pathlib.Path(sys.modules["marrow_io"].__file__).parent


def empty_scene():
    """A new file without objects; add-ons stay on."""
    bpy.ops.wm.read_homefile(use_empty=True, use_factory_startup=True)
    addon_utils.enable("io_scene_gltf2", default_set=True)
    addon_utils.enable("marrow_io", default_set=True)


def to_blender(points):
    """A game looks along +X with +Y to its left; Blender's characters along -Y with +X there."""
    x, y, z = np.moveaxis(np.asarray(points, float), -1, 0)
    return np.stack([y, -x, z], -1) / SCALE


def world_vertices(obj):
    copy = obj.evaluated_get(bpy.context.evaluated_depsgraph_get())
    mesh = copy.to_mesh()
    flat = np.empty(3 * len(mesh.vertices), np.float32)
    mesh.vertices.foreach_get("co", flat)
    matrix = np.array(copy.matrix_world)
    copy.to_mesh_clear()
    return flat.reshape(-1, 3) @ matrix[:3, :3].T + matrix[:3, 3]


def filmed(frames, objects):
    """World vertices of mesh objects by name, [frame, vertex, 3]."""
    shots = {obj.name: [] for obj in objects}
    for frame in frames:
        bpy.context.scene.frame_set(frame)
        for obj in objects:
            shots[obj.name].append(world_vertices(obj))
    return {name: np.array(rows) for name, rows in shots.items()}


def read(path):
    if path.suffix == ".mdc":
        return models.Mdc(path)
    return models.read_mds(path) if path.suffix == ".mds" else models.read_pair(
        path, path.with_suffix(".mdx"))


def step_bound(model, height):
    """How far steps reach, in metres: in an mdc one step each way; in a skeleton along the chain
    and at the vertex."""
    if isinstance(model, models.Mdc):
        return np.sqrt(3) * models.GRID / SCALE + 1e-6 * height
    chains = [sum(model.dists[b] for b in model.chain(bone)) for bone in range(len(model.names))]
    reach = max((np.linalg.norm(s.offset, axis=1).max() for s in model.surfaces), default=0)
    return (max(chains) * AIM + reach * TURN) / SCALE + 1e-4 * height


def apart(found, wanted):
    """The largest distance from a point of either set to the nearest of the other."""
    squares = ((found[:, None] - wanted[None]) ** 2).sum(-1)
    return np.sqrt(max(squares.min(0).max(), squares.min(1).max()))


def signed_volume(points, triangles):
    a, b, c = (points[np.asarray(triangles)[:, i]] for i in range(3))
    return np.einsum("ij,ij->", a, np.cross(b, c)) / 6


class Case(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self.folder = pathlib.Path(self._folder.name).resolve() / "models" / "players" / "hero"
        self.folder.mkdir(parents=True)
        empty_scene()


def main(*cases):
    suite = unittest.TestSuite(unittest.defaultTestLoader.loadTestsFromTestCase(case)
                               for case in cases)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    sys.stdout.flush()
    os._exit(0 if result.wasSuccessful() and result.testsRun else 1)
