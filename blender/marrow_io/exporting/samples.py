"""The scene frame by frame: where bones and objects are, and what shape meshes have."""

from __future__ import annotations

from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Iterator

import bpy
import numpy

from . import surfaces
from .clips import Clip, shown
from .plan import Item, Plan


@dataclass
class Samples:
    """Matrices act on columns, in Blender's axes; rows of all clips one behind the other.

    joints [frames, joints, 4, 4] and items [frames, items, 4, 4] are world matrices;
    shapes holds, for an item, rows of its evaluated vertices and corner normals
    """

    joints: numpy.ndarray
    items: numpy.ndarray
    shapes: dict[int, list[tuple[numpy.ndarray, numpy.ndarray]]] = field(default_factory=dict)
    shape_rows: list[int] = field(default_factory=list)


@dataclass
class Bound:
    """What stays the same: an item's geometry, and the bind pose.

    joints [joints, 4, 4] bind matrices, world; matrix [4, 4] places the geometry in the world;
    weights of its vertices where an armature bends it
    """

    geometry: surfaces.Geometry
    matrix: numpy.ndarray
    weights: list[list[tuple[int, float]]] | None
    loose: int = 0


@contextmanager
def evaluated(item: Item, context: bpy.types.Context) -> Iterator[bpy.types.Mesh]:
    depsgraph = context.evaluated_depsgraph_get()
    copy = item.source.evaluated_get(depsgraph)
    mesh = copy.to_mesh(preserve_all_data_layers=True, depsgraph=depsgraph)
    try:
        yield mesh
    finally:
        copy.to_mesh_clear()


class Poses:
    """Reads the world matrices of a plan's joints; the scale of an armature's object, which bones
    of the games do not have, is taken out of them."""

    def __init__(self, made: Plan) -> None:
        self._plan = made
        # With the determinant's sign, so that a mirror goes with it.
        self._scale = [numpy.cbrt(rig.matrix_world.determinant()) or 1.0 for rig in made.armatures]
        self._rows = []
        for rig in made.armatures:
            at = [index for index, joint in enumerate(made.joints) if joint.armature == rig]
            names = {bone.name: row for row, bone in enumerate(rig.pose.bones)}
            self._rows.append((at, [names[made.joints[index].bone] for index in at]))
        axes = numpy.zeros((len(made.joints), 4, 4))
        axes[:, 3, 3] = 1
        for index, joint in enumerate(made.joints):
            axes[index, :3, :3] = joint.axes.T
        self._axes = axes

    def read(self, depsgraph: bpy.types.Depsgraph) -> numpy.ndarray:
        made = numpy.empty((len(self._plan.joints), 4, 4))
        for rig, (at, rows), scale in zip(self._plan.armatures, self._rows, self._scale):
            copy = rig.evaluated_get(depsgraph)
            flat = numpy.empty(len(copy.pose.bones) * 16, numpy.float32)
            copy.pose.bones.foreach_get("matrix", flat)
            bones = flat.reshape(-1, 4, 4).transpose(0, 2, 1).astype(numpy.float64)
            world = numpy.array(copy.matrix_world) @ bones[rows]
            world[:, :3, :3] /= scale
            made[at] = world
        return made @ self._axes


def bind(made: Plan, context: bpy.types.Context, poses: Poses) \
        -> tuple[numpy.ndarray, dict[int, Bound]]:
    """Bind matrices and the geometry of all items, at the current frame: what an armature bends
    in its rest position, everything else as it is."""
    bound: dict[int, Bound] = {}
    for index, item in enumerate(made.items):
        if item.is_geometry and not item.skin:
            bound[index] = _bound(item, made, context)
    before = [(rig.data, rig.data.pose_position) for rig in made.armatures]
    try:
        for data, _ in before:
            data.pose_position = "REST"
        depsgraph = context.evaluated_depsgraph_get()
        joints = poses.read(depsgraph)
        for index, item in enumerate(made.items):
            if item.is_geometry and item.skin:
                bound[index] = _bound(item, made, context)
    finally:
        for data, position in before:
            data.pose_position = position
    return joints, bound


def _bound(item: Item, made: Plan, context: bpy.types.Context) -> Bound:
    with evaluated(item, context) as mesh:
        weights, loose = None, 0
        if item.skin:
            groups = {group.index: made.joint_of.get((item.skin.name, group.name))
                      for group in item.source.vertex_groups}
            weights = surfaces.weights(mesh, {group: joint for group, joint in groups.items()
                                              if joint is not None})
            first = next(at for at, joint in enumerate(made.joints) if joint.armature == item.skin)
            loose = sum(not row for row in weights)
            weights = [row or [(first, 1.0)] for row in weights]
        depsgraph = context.evaluated_depsgraph_get()
        matrix = numpy.array(item.source.evaluated_get(depsgraph).matrix_world)
        return Bound(surfaces.geometry(mesh), matrix, weights, loose)


def sample(made: Plan, clips: list[Clip], context: bpy.types.Context, poses: Poses,
           every_shape: bool, samples: Samples) -> Iterator[float]:
    """Fills `samples`, yielding the share that is done. Shapes are taken in every frame, or in the
    first, the middle and the last of each clip."""
    scene = context.scene
    owners = made.moving()
    total = sum(clip.last - clip.first + 1 for clip in clips)
    samples.joints = numpy.empty((total, len(made.joints), 4, 4))
    samples.items = numpy.empty((total, len(made.items), 4, 4))
    samples.shapes = {index: [] for index, item in enumerate(made.items) if item.is_geometry}
    row = 0
    for clip in clips:
        looked_at = {clip.first, (clip.first + clip.last) // 2, clip.last}
        with shown(owners, clip):
            for frame in range(clip.first, clip.last + 1):
                scene.frame_set(frame)
                depsgraph = context.evaluated_depsgraph_get()
                samples.joints[row] = poses.read(depsgraph)
                for index, item in enumerate(made.items):
                    samples.items[row, index] = item.source.evaluated_get(depsgraph).matrix_world
                if every_shape or frame in looked_at:
                    samples.shape_rows.append(row)
                    for index, rows in samples.shapes.items():
                        with evaluated(made.items[index], context) as mesh:
                            rows.append((surfaces.vertices(mesh),
                                         surfaces.corner_normals(mesh) if every_shape else None))
                row += 1
                yield row / total
