"""Sampled objects as a GLB document for the program."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Iterator

import numpy

from ..conventions import PATH_PROPERTY, TO_GLTF
from ..glb import Writer
from . import materials, surfaces
from .clips import Clip
from .plan import Item, Names, Plan
from .samples import Bound, Samples, Shape, placed

# Of the scene's size: what changes by less is noise of single precision, ...
_STILL = 2e-6
_SAME_SHAPE = 1e-5
# ... and a shape that bones alone give by less is theirs.
_ASTRAY = 2e-4
# Of a scale of 1.
_UNIT_SCALE = 1e-4
_UNEVEN = 1e-3
_WEIGHTS_PER_SET = 4

_TO_GLTF4 = numpy.eye(4)
_TO_GLTF4[:3, :3] = TO_GLTF


@dataclass
class Track:
    """Local translation [frames, 3], rotation x y z w [frames, 4] and scale [frames, 3]."""

    translation: numpy.ndarray
    rotation: numpy.ndarray
    scale: numpy.ndarray


def decompose(matrices: numpy.ndarray) -> Track:
    """Translation, rotation and scale of matrices [frames, 4, 4] without a mirror."""
    linear = matrices[:, :3, :3]
    scale = numpy.linalg.norm(linear, axis=1)
    rotation = quaternions(linear / numpy.maximum(scale, 1e-12)[:, None, :])
    scale[numpy.abs(scale - 1) < _UNIT_SCALE] = 1.0
    return Track(matrices[:, :3, 3], rotation, scale)


def quaternions(rotations: numpy.ndarray) -> numpy.ndarray:
    """x y z w of rotation matrices [n, 3, 3] on columns, from the largest of the four parts;
    neighbours lie on the same side."""
    r = rotations
    trace = r[:, 0, 0] + r[:, 1, 1] + r[:, 2, 2]
    squares = numpy.stack([1 + 2 * r[:, axis, axis] - trace for axis in range(3)] + [1 + trace], 1)
    largest = numpy.argmax(squares, axis=1)
    a = r[:, 2, 1] - r[:, 1, 2], r[:, 0, 2] - r[:, 2, 0], r[:, 1, 0] - r[:, 0, 1]
    s = r[:, 0, 1] + r[:, 1, 0], r[:, 0, 2] + r[:, 2, 0], r[:, 1, 2] + r[:, 2, 1]
    x, y, z, w = squares.T
    choices = numpy.stack([numpy.stack(row, 1) for row in (
        (x, s[0], s[1], a[0]), (s[0], y, s[2], a[1]), (s[1], s[2], z, a[2]),
        (a[0], a[1], a[2], w))], 1)
    made = choices[numpy.arange(len(r)), largest]
    made /= numpy.linalg.norm(made, axis=1, keepdims=True)
    flips = numpy.einsum("ij,ij->i", made[1:], made[:-1]) < 0
    made[1:][numpy.logical_xor.accumulate(flips)] *= -1
    return made


class Builder:
    """Writes a plan's samples. `kind` is the game file's suffix without its dot."""

    def __init__(self, made: Plan, clips: list[Clip], samples: Samples, bind: numpy.ndarray,
                 bound: dict[int, Bound], kind: str, rate: float) -> None:
        self.warnings: list[str] = []
        self._plan, self._clips, self._samples = made, clips, samples
        self._bind, self._bound, self._kind, self._rate = bind, bound, kind, rate
        self._writer = Writer()
        self._tracks: list[tuple[list[int], Track]] = []
        self._weights: list[tuple[int, numpy.ndarray]] = []
        self._materials: dict[str, int] = {}
        self._names = Names()
        self._size = self._extent()
        # Joints of one scale in all directions and frames have axes with these products.
        linear = samples.joints[..., :3, :3]
        products = linear.swapaxes(-1, -2) @ linear
        even = numpy.trace(products[:1], axis1=-2, axis2=-1)[..., None, None] / 3 * numpy.eye(3)
        self._uneven = numpy.abs(products - even).max(axis=(0, 2, 3), initial=0) > _UNEVEN

    def build(self) -> Writer:
        self._add_joints()
        for index, item in enumerate(self._plan.items):
            self._add_item(index, item)
        self._add_clips()
        return self._writer

    def moves(self) -> bool:
        """Whether anything changes in the sampled frames."""
        samples = self._samples
        return not (self._still(samples.joints) and self._still(samples.items)
                    and all(self._same_shape(rows) for rows in samples.shapes.values()))

    def beyond_bones(self) -> list[int]:
        """Items of an mdc whose shapes bones alone do not give; their shapes go out instead."""
        return [index for index, own in self._bound.items() if own.skin
                and self._kind == "mdc" and not self._bends(index)]

    def _extent(self) -> float:
        points = [bound.world() for bound in self._bound.values() if len(bound.geometry.vertices)]
        points.append(self._bind[:, :3, 3] - self._bind[:1, :3, 3] if len(self._bind)
                      else numpy.zeros((1, 3)))
        return max(float(numpy.ptp(rows, axis=0).max()) for rows in points) or 1.0

    def _still(self, matrices: numpy.ndarray) -> bool:
        change = numpy.abs(matrices - matrices[:1])
        return not change.size or (change[..., :3, :3].max() < _STILL
                                   and change[..., :3, 3].max() < _STILL * self._size)

    def _same_shape(self, rows: list[Shape]) -> bool:
        first = rows[0].vertices
        return all(row is rows[0] or (len(row.vertices) == len(first) and numpy.abs(
            row.vertices - first).max(initial=0) < _SAME_SHAPE * self._size) for row in rows)

    def _bends(self, index: int) -> bool:
        skin = self._bound[index].skin
        uneven = self._uneven[skin.joints[skin.shares > 0]].any()
        return not uneven and self._samples.astray.get(index, 0) < _ASTRAY * self._size

    # Nodes -------------------------------------------------------------------------------------

    def _node(self, name: str, parent: int | None, track: Track | None, **entry) -> int:
        if track is not None:
            entry["translation"] = track.translation[0].tolist()
            entry["rotation"] = track.rotation[0].tolist()
            if (track.scale[0] != 1).any():
                entry["scale"] = track.scale[0].tolist()
        index = self._writer.add("nodes", {"name": name, **entry})
        nodes = self._writer.data["nodes"]
        above = self._writer.data["scenes"][0]["nodes"] if parent is None else \
            nodes[parent].setdefault("children", [])
        above.append(index)
        return index

    def _add_joints(self) -> None:
        """The joints' nodes come first, so that a joint's number is its node's."""
        worlds = _TO_GLTF4 @ self._samples.joints
        for index, joint in enumerate(self._plan.joints):
            local = worlds[:, index] if joint.parent is None else \
                numpy.linalg.inv(worlds[:, joint.parent]) @ worlds[:, index]
            track = decompose(local)
            self._names.take(joint.name)
            self._node(joint.name, joint.parent, track, extras={"bone": True})
            self._tracks.append(([index], track))
        if self._kind != "mdc" and not self._plan.joints:
            self._node(self._names.take("root"), None, None, extras={"bone": True})

    def _add_item(self, index: int, item: Item) -> None:
        if item.is_geometry and item.skin and index not in self._samples.shapes:
            self._add_skinned(index, item)
        elif item.is_geometry:
            self._add_rigid(index, item)
        else:
            self._add_empty(index, item)

    def _local(self, index: int, item: Item) -> tuple[int | None, numpy.ndarray]:
        """Parent node and matrices of an item below it. A skeletal file holds only what hangs
        from a bone: what stands free hangs from the first."""
        parent = item.joint
        if parent is None and self._kind != "mdc":
            parent = 0
        worlds = self._samples.items[:, index]
        if parent is None or not self._plan.joints:
            return parent, _TO_GLTF4 @ worlds
        return parent, numpy.linalg.inv(self._samples.joints[:, parent]) @ worlds

    def _add_empty(self, index: int, item: Item) -> None:
        parent, local = self._local(index, item)
        track = decompose(local @ _TO_GLTF4.T)
        track.scale[:] = 1.0
        node = self._node(self._names.take(item.name), parent, track)
        self._tracks.append(([node], track))

    # Meshes ------------------------------------------------------------------------------------

    def _add_skinned(self, index: int, item: Item) -> None:
        bound, name = self._bound[index], item.source.name
        joints, shares = bound.skin.joints, bound.skin.shares
        if bound.skin.loose:
            first = next(joint.name for joint in self._plan.joints if joint.armature == item.skin)
            self.warnings.append(f"{name}: {bound.skin.loose} vertices without a weight follow the "
                                 f"bone {first}")
        astray = self._samples.astray.get(index, 0)
        if numpy.isinf(astray):
            self.warnings.append(f"{name}: its modifiers change the number of vertices over the "
                                 "frames")
        elif astray >= _ASTRAY * self._size:
            self.warnings.append(f"{name}: its modifiers do more than its bones can: up to "
                                 f"{astray:.3g} units away from what is seen")
        used = numpy.unique(joints[shares > 0])
        place = numpy.zeros(len(self._plan.joints), numpy.int64)
        place[used] = numpy.arange(len(used))
        inverse = numpy.linalg.inv(_TO_GLTF4 @ self._bind[used])
        skin = self._writer.add("skins", {
            "joints": used.tolist(),
            "inverseBindMatrices": self._writer.floats(inverse.transpose(0, 2, 1))})
        for surface, name in self._surfaces(item, bound):
            attributes = self._attributes(surface, bound.geometry, bound.matrix)
            rows = place[joints[surface.source]], shares[surface.source]
            for first in range(0, rows[0].shape[1], _WEIGHTS_PER_SET):
                four = numpy.zeros((len(surface.source), 4)), numpy.zeros((len(surface.source), 4))
                for target, values in zip(four, rows):
                    part = values[:, first:first + _WEIGHTS_PER_SET]
                    target[:, :part.shape[1]] = part
                number = first // _WEIGHTS_PER_SET
                attributes[f"JOINTS_{number}"] = self._writer.joints(four[0])
                attributes[f"WEIGHTS_{number}"] = self._writer.floats(four[1])
            mesh = self._mesh(item, name, surface, attributes, bound.matrix)
            self._node(name, None, None, mesh=mesh, skin=skin)

    def _add_rigid(self, index: int, item: Item) -> None:
        bound, rows = self._bound[index], self._samples.shapes[index]
        baked = item.skin is not None
        parent, local = self._local(index, item)
        if baked:
            parent, local = None, numpy.tile(_TO_GLTF4, (len(self._samples.items), 1, 1))
        # The first frame's stretch goes into the vertices, its rotation to the node.
        left, _, right = numpy.linalg.svd(local[0, :3, :3])
        rotation = left @ right
        if numpy.linalg.det(rotation) < 0:
            rotation = -rotation
        stretch = numpy.eye(4)
        stretch[:3, :3] = rotation.T @ local[0, :3, :3]
        if abs(numpy.linalg.det(stretch)) < 1e-12:
            self.warnings.append(f"{item.source.name}: left out, its scale is 0")
            return
        track = decompose(local @ numpy.linalg.inv(stretch) @ _TO_GLTF4.T)
        changes = baked or not self._same_shape(rows)
        if changes and self._kind != "mdc":
            self.warnings.append(f"{item.source.name}: its shape changes, which only an mdc can "
                                 "hold: it is exported as in the first frame")
            changes = False
        if changes and any(len(row.vertices) != len(rows[0].vertices) for row in rows):
            self.warnings.append(f"{item.source.name}: its modifiers change the number of vertices "
                                 "over the frames: it is exported as in the first frame")
            changes = False
        nodes = []
        shape = bound.geometry
        for surface, name in self._surfaces(item, bound):
            if changes:
                shown = (self._shape(index, row, stretch, baked) for row in range(len(rows)))
                attributes, targets, weights = self._morphs(surface, shown)
                mesh = self._mesh(item, name, surface, attributes, stretch, targets)
            else:
                mesh = self._mesh(item, name, surface, self._attributes(surface, shape, stretch),
                                  stretch)
            node = self._node(name, parent, track, mesh=mesh)
            nodes.append(node)
            if changes and weights.shape[1]:
                self._weights.append((node, weights))
        self._tracks.append((nodes, track))

    def _shape(self, index: int, row: int, stretch: numpy.ndarray, baked: bool):
        """Vertices and corner normals of a frame below the item's node, in glTF's axes."""
        shape = self._samples.shapes[index][row]
        matrix = self._samples.items[row, index] if baked else stretch
        return _placed(shape.vertices, matrix), _directed(shape.normals, matrix)

    def _morphs(self, surface: surfaces.Surface, shown: Iterator):
        """The first frame as the mesh, each other shape as a target that its frames show."""
        frames = ((points[surface.source], normals[surface.corner]) for points, normals in shown)
        base, base_normals = next(frames)
        known: dict[bytes, int] = {base.astype("<f4").tobytes(): -1}
        targets, rows = [], [-1]
        for points, normals in frames:
            key = points.astype("<f4").tobytes()
            if key not in known:
                known[key] = len(targets)
                targets.append({"POSITION": self._writer.floats(points - base, bounds=True),
                                "NORMAL": self._writer.floats(normals - base_normals)})
            rows.append(known[key])
        weights = numpy.zeros((len(rows), len(targets)))
        for at, target in enumerate(rows):
            if target >= 0:
                weights[at, target] = 1.0
        attributes = {"POSITION": self._writer.floats(base, bounds=True),
                      "NORMAL": self._writer.floats(base_normals),
                      "TEXCOORD_0": self._writer.floats(_uvs(surface))}
        return attributes, targets, weights

    def _surfaces(self, item: Item, bound: Bound):
        parts = surfaces.split(bound.geometry)
        if not parts:
            self.warnings.append(f"{item.source.name}: left out, it has no faces")
        for surface in parts:
            if len(parts) == 1:
                yield surface, self._names.take(item.name)
            else:
                material = self._material(item, surface.slot)
                ending = material.name if material else str(surface.slot)
                yield surface, self._names.take(f"{item.name}_{ending}")

    def _attributes(self, surface: surfaces.Surface, shape: surfaces.Geometry,
                    matrix: numpy.ndarray) -> dict[str, int]:
        return {"POSITION": self._writer.floats(_placed(shape.vertices[surface.source], matrix),
                                                bounds=True),
                "NORMAL": self._writer.floats(_directed(surface.normals, matrix)),
                "TEXCOORD_0": self._writer.floats(_uvs(surface))}

    def _mesh(self, item: Item, name: str, surface: surfaces.Surface, attributes: dict[str, int],
              matrix: numpy.ndarray, targets: list | None = None) -> int:
        triangles = surface.triangles
        if numpy.linalg.det(matrix[:3, :3]) < 0:
            triangles = triangles[:, ::-1]
        primitive = {"attributes": attributes, "indices": self._writer.indices(triangles)}
        path = materials.shader_path(self._material(item, surface.slot))
        if path is not None:
            if path not in self._materials:
                self._materials[path] = self._writer.add(
                    "materials", {"name": path, "extras": {PATH_PROPERTY: path}})
            primitive["material"] = self._materials[path]
        if targets:
            primitive["targets"] = targets
        return self._writer.add("meshes", {"name": name, "primitives": [primitive]})

    @staticmethod
    def _material(item: Item, slot: int):
        slots = item.source.material_slots
        return slots[min(slot, len(slots) - 1)].material if slots else None

    # Clips -------------------------------------------------------------------------------------

    def _add_clips(self) -> None:
        if len(self._samples.joints) < 2:
            return
        start = 0
        for clip in self._clips:
            end = start + clip.last - clip.first + 1
            self._add_clip(clip.name, start, end)
            start = end

    def _add_clip(self, name: str, start: int, end: int) -> None:
        times = self._writer.floats(numpy.arange(end - start) / self._rate, bounds=True)
        channels, samplers = [], []

        def add(nodes: list[int], path: str, values: numpy.ndarray) -> None:
            samplers.append({"input": times, "output": self._writer.floats(values)})
            channels.extend({"sampler": len(samplers) - 1, "target": {"node": node, "path": path}}
                            for node in nodes)

        for nodes, track in self._tracks:
            for path in ("translation", "rotation", "scale"):
                values = getattr(track, path)
                limit = _STILL * self._size if path == "translation" else _STILL
                if nodes and numpy.abs(values - values[0]).max() > limit:
                    add(nodes, path, values[start:end])
        for node, weights in self._weights:
            add([node], "weights", weights[start:end].reshape(-1))
        if not channels and self._tracks:
            # A clip in which nothing moves keeps its length.
            add(self._tracks[0][0][:1], "translation", self._tracks[0][1].translation[start:end])
        if channels:
            self._writer.add("animations",
                             {"name": name, "channels": channels, "samplers": samplers})


def _placed(points: numpy.ndarray, matrix: numpy.ndarray) -> numpy.ndarray:
    return placed(points, matrix) @ TO_GLTF.T


def _directed(normals: numpy.ndarray, matrix: numpy.ndarray) -> numpy.ndarray:
    # By the cofactors, which a flat matrix has too; a mirror turns them over.
    linear = matrix[:3, :3]
    cofactors = numpy.linalg.inv(linear).T * abs(numpy.linalg.det(linear))
    turned = normals @ cofactors.T @ TO_GLTF.T
    return turned / numpy.maximum(numpy.linalg.norm(turned, axis=1, keepdims=True), 1e-12)


def _uvs(surface: surfaces.Surface) -> numpy.ndarray:
    return numpy.column_stack([surface.uvs[:, 0], 1 - surface.uvs[:, 1]])
