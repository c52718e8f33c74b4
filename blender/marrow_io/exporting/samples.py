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
class Shape:
    """An item in one frame, in the object's space: vertices [n, 3], and normals of corners where
    the shape itself is to go out."""

    vertices: numpy.ndarray
    normals: numpy.ndarray | None


@dataclass
class Samples:
    """Matrices act on columns, in Blender's axes; rows of all clips one behind the other.

    joints [frames, joints, 4, 4] and items [frames, items, 4, 4] are world matrices
    shapes  of items, a row for each frame looked at; rows that do not differ are one object
    astray  how far bones alone leave an item from what is seen, where an armature bends it
    """

    joints: numpy.ndarray
    items: numpy.ndarray
    shapes: dict[int, list[Shape]] = field(default_factory=dict)
    astray: dict[int, float] = field(default_factory=dict)

    def first_only(self) -> None:
        self.joints, self.items = self.joints[:1], self.items[:1]
        self.shapes = {index: rows[:1] for index, rows in self.shapes.items()}


@dataclass
class Skin:
    """Weights that add up to 1: joints and shares [vertices, the most that one has]; `loose`
    counts vertices that had none and follow the armature's first bone."""

    joints: numpy.ndarray
    shares: numpy.ndarray
    loose: int

    def moved(self, points: numpy.ndarray, motion: numpy.ndarray) -> numpy.ndarray:
        """World points [n, 3] of the bind pose, under each joint's motion since [joints, 4, 4]."""
        moved = numpy.zeros_like(points)
        for joints, shares in zip(self.joints.T, self.shares.T):
            part = motion[joints]
            moved += shares[:, None] * (numpy.einsum("nij,nj->ni", part[:, :3, :3], points)
                                        + part[:, :3, 3])
        return moved


@dataclass
class Bound:
    """What stays the same of an item: its geometry, the matrix that places it in the world of the
    bind pose, its skin where an armature bends it."""

    geometry: surfaces.Geometry
    matrix: numpy.ndarray
    skin: Skin | None

    def world(self) -> numpy.ndarray:
        return placed(self.geometry.vertices, self.matrix)


def placed(points: numpy.ndarray, matrix: numpy.ndarray) -> numpy.ndarray:
    return points @ matrix[:3, :3].T + matrix[:3, 3]


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
        skin = None
        if item.skin:
            groups = {group.index: made.joint_of.get((item.skin.name, group.name))
                      for group in item.source.vertex_groups}
            first = next(at for at, joint in enumerate(made.joints) if joint.armature == item.skin)
            skin = _skin(surfaces.weights(mesh, {group: joint for group, joint in groups.items()
                                                 if joint is not None}), first)
        depsgraph = context.evaluated_depsgraph_get()
        matrix = numpy.array(item.source.evaluated_get(depsgraph).matrix_world)
        return Bound(surfaces.geometry(mesh), matrix, skin)


def _skin(weights: list[list[tuple[int, float]]], first: int) -> Skin:
    loose = sum(not row for row in weights)
    width = max((len(row) for row in weights), default=1) or 1
    joints = numpy.full((len(weights), width), first)
    shares = numpy.zeros((len(weights), width))
    for at, row in enumerate(weights):
        for column, (joint, weight) in enumerate(row or [(first, 1.0)]):
            joints[at, column], shares[at, column] = joint, weight
    return Skin(joints, shares, loose)


def _frames(made: Plan, clips: list[Clip], scene: bpy.types.Scene) -> Iterator[tuple[Clip, int]]:
    """Shows each frame of each clip in turn."""
    owners = made.moving()
    for clip in clips:
        with shown(owners, clip):
            for frame in range(clip.first, clip.last + 1):
                clip.show(scene, frame)
                yield clip, frame


def sample(made: Plan, clips: list[Clip], context: bpy.types.Context, poses: Poses,
           bind_pose: numpy.ndarray, bound: dict[int, Bound], every_shape: bool,
           samples: Samples) -> Iterator[float]:
    """Fills `samples`, yielding the share that is done. Shapes are looked at in every frame, or in
    the first, the middle and the last of each clip."""
    total = sum(clip.last - clip.first + 1 for clip in clips)
    samples.joints = numpy.empty((total, len(made.joints), 4, 4))
    samples.items = numpy.empty((total, len(made.items), 4, 4))
    inverse = numpy.linalg.inv(bind_pose)
    for row, (clip, frame) in enumerate(_frames(made, clips, context.scene)):
        depsgraph = context.evaluated_depsgraph_get()
        samples.joints[row] = poses.read(depsgraph)
        for index, item in enumerate(made.items):
            samples.items[row, index] = item.source.evaluated_get(depsgraph).matrix_world
        if every_shape or frame in (clip.first, (clip.first + clip.last) // 2, clip.last):
            for index, own in bound.items():
                if own.skin:
                    error = _error(made.items[index], own, samples.joints[row] @ inverse,
                                   samples.items[row, index], context)
                    samples.astray[index] = max(samples.astray.get(index, 0.0), error)
                else:
                    _look(made.items[index], context, every_shape,
                          samples.shapes.setdefault(index, []))
        yield (row + 1) / total


def sample_shapes(made: Plan, clips: list[Clip], context: bpy.types.Context, indices: list[int],
                  samples: Samples) -> Iterator[float]:
    """The shapes of further items in every frame."""
    total = sum(clip.last - clip.first + 1 for clip in clips)
    for row, _ in enumerate(_frames(made, clips, context.scene)):
        for index in indices:
            _look(made.items[index], context, True, samples.shapes.setdefault(index, []))
        yield (row + 1) / total


def _error(item: Item, own: Bound, motion: numpy.ndarray, matrix: numpy.ndarray,
           context: bpy.types.Context) -> float:
    with evaluated(item, context) as mesh:
        seen = surfaces.vertices(mesh)
    if len(seen) != len(own.geometry.vertices):
        return numpy.inf
    if not len(seen):
        return 0.0
    return float(numpy.abs(placed(seen, matrix) - own.skin.moved(own.world(), motion)).max())


def _look(item: Item, context: bpy.types.Context, with_normals: bool, rows: list[Shape]) -> None:
    with evaluated(item, context) as mesh:
        points = surfaces.vertices(mesh).astype(numpy.float32)
        if rows and numpy.array_equal(points, rows[0].vertices):
            rows.append(rows[0])
        else:
            rows.append(Shape(points, surfaces.corner_normals(mesh) if with_normals else None))
