"""Evaluated geometry as the surfaces of a game file: one for each material of an object."""

from __future__ import annotations

from dataclasses import dataclass

import bpy
import numpy

# Corners of one vertex are one vertex of the file unless their normals differ by more: less comes
# of how Blender stores normals.
_SAME_NORMAL = numpy.cos(numpy.radians(2.0))
_NORMAL_STEPS = 50


@dataclass
class Geometry:
    """A mesh as Blender shows it, in the object's space.

    vertices [n, 3]; corners [c] name vertices; normals [c, 3] and uvs [c, 2] stand at corners;
    triangles [t, 3] name corners, slots [t] the material slot
    """

    vertices: numpy.ndarray
    corners: numpy.ndarray
    normals: numpy.ndarray
    uvs: numpy.ndarray
    triangles: numpy.ndarray
    slots: numpy.ndarray


@dataclass
class Surface:
    """Vertices of a file: `source` names the mesh's vertex and `corner` a corner of each."""

    slot: int
    source: numpy.ndarray
    corner: numpy.ndarray
    normals: numpy.ndarray
    uvs: numpy.ndarray
    triangles: numpy.ndarray


def _array(rows, name: str, width: int, kind: type = numpy.float32) -> numpy.ndarray:
    flat = numpy.empty(len(rows) * width, kind)
    rows.foreach_get(name, flat)
    return flat.reshape(-1, width) if width > 1 else flat


def vertices(mesh: bpy.types.Mesh) -> numpy.ndarray:
    return _array(mesh.vertices, "co", 3).astype(numpy.float64)


def corner_normals(mesh: bpy.types.Mesh) -> numpy.ndarray:
    if hasattr(mesh, "corner_normals"):
        return _array(mesh.corner_normals, "vector", 3)
    mesh.calc_normals_split()
    return _array(mesh.loops, "normal", 3)


def geometry(mesh: bpy.types.Mesh) -> Geometry:
    mesh.calc_loop_triangles()
    normals = corner_normals(mesh)
    layer = next((layer for layer in mesh.uv_layers if layer.active_render), None)
    uvs = _array(layer.data, "uv", 2) if layer else numpy.zeros((len(mesh.loops), 2), numpy.float32)
    return Geometry(
        vertices(mesh), _array(mesh.loops, "vertex_index", 1, numpy.int32), normals, uvs,
        _array(mesh.loop_triangles, "loops", 3, numpy.int32),
        _array(mesh.loop_triangles, "material_index", 1, numpy.int32))


def weights(mesh: bpy.types.Mesh, joint_of_group: dict[int, int]) -> list[list[tuple[int, float]]]:
    """(joint, weight) of each vertex, adding up to 1; empty where no bone moves it."""
    found = []
    for vertex in mesh.vertices:
        row = [(joint_of_group[entry.group], entry.weight) for entry in vertex.groups
               if entry.weight > 0 and entry.group in joint_of_group]
        total = sum(weight for _, weight in row)
        found.append([(joint, weight / total) for joint, weight in row] if total > 0 else [])
    return found


def split(shape: Geometry) -> list[Surface]:
    """Surfaces in the order of their slots, vertices in the order of the mesh's."""
    made = []
    for slot in numpy.unique(shape.slots):
        triangles = shape.triangles[shape.slots == slot]
        used = numpy.unique(triangles)
        part = _normal_parts(shape, used)
        keys = numpy.column_stack([shape.corners[used], shape.uvs[used].view(numpy.int32), part])
        _, first, where = numpy.unique(keys, axis=0, return_index=True, return_inverse=True)
        where = where.reshape(-1)
        normals = numpy.zeros((len(first), 3))
        numpy.add.at(normals, where, shape.normals[used])
        lengths = numpy.linalg.norm(normals, axis=1, keepdims=True)
        normals = numpy.divide(normals, lengths, out=numpy.tile([0.0, 0, 1], (len(first), 1)),
                               where=lengths > 0)
        vertex_of = numpy.zeros(len(shape.corners), numpy.int64)
        vertex_of[used] = where
        corner = used[first]
        made.append(Surface(int(slot), shape.corners[corner], corner, normals, shape.uvs[corner],
                            vertex_of[triangles]))
    return made


def _normal_parts(shape: Geometry, used: numpy.ndarray) -> numpy.ndarray:
    """Columns that tell corners of a vertex apart where its normals do, else 0."""
    normals = shape.normals[used].astype(numpy.float64)
    sums = numpy.zeros((len(shape.vertices), 3))
    numpy.add.at(sums, shape.corners[used], normals)
    lengths = numpy.linalg.norm(sums, axis=1)
    means = sums / numpy.maximum(lengths, 1e-12)[:, None]
    apart = numpy.einsum("ij,ij->i", normals, means[shape.corners[used]]) < _SAME_NORMAL
    split_vertex = numpy.zeros(len(shape.vertices), bool)
    split_vertex[shape.corners[used][apart]] = True
    steps = numpy.round(normals * _NORMAL_STEPS).astype(numpy.int32)
    steps[~split_vertex[shape.corners[used]]] = 0
    return steps
