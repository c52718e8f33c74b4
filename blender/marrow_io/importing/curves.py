"""Animation curves as arrays. From Blender 4.4 on an action has slots and keeps the curves of each
in a channel bag; before, it has one list of curves."""

from __future__ import annotations

import bpy
import numpy


def of_action(action: bpy.types.Action) -> list[bpy.types.FCurve]:
    if hasattr(action, "layers"):
        return [curve for layer in action.layers for strip in layer.strips
                for bag in strip.channelbags for curve in bag.fcurves]
    return list(action.fcurves)


def keys(curve: bpy.types.FCurve) -> numpy.ndarray:
    """Rows of frame and value."""
    flat = numpy.empty(2 * len(curve.keyframe_points), numpy.float32)
    curve.keyframe_points.foreach_get("co", flat)
    return flat.reshape(-1, 2)


def set_keys(curve: bpy.types.FCurve, rows: numpy.ndarray) -> None:
    curve.keyframe_points.foreach_set("co", numpy.ascontiguousarray(rows, numpy.float32).ravel())
    curve.update()


def thin(curve: bpy.types.FCurve, rows: numpy.ndarray) -> numpy.ndarray:
    """Leaves out keys of 0 between keys of 0: a shape that one frame shows has three keys or four
    instead of one for each frame of the model."""
    used = rows[:, 1] != 0
    kept = used.copy()
    kept[1:] |= used[:-1]
    kept[:-1] |= used[1:]
    kept[[0, -1]] = True
    if not kept.all():
        points = curve.keyframe_points
        interpolation = points[0].interpolation
        points.clear()
        points.add(int(kept.sum()))
        for point in points:
            point.interpolation = interpolation
    return rows[kept]
