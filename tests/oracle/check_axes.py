#!/usr/bin/env python3
"""Which way models face, and which side of their triangles is the outer one.

    check_axes.py MARROW SCENE.glb...
"""

import numpy as np

import gltf
import harness
import models
import scenes
from check_skeletal import Kind


def volume(parts):
    """Of the body that the (points, triangles) enclose: above zero where the triangles run
    counter-clockwise seen from outside, in right-handed axes."""
    return sum(np.einsum("ti,ti->", a, np.cross(b, c)) for a, b, c in
               (points[triangles.T] for points, triangles in parts)) / 6


def parts_of(kind, path):
    """Points and triangles of a model's surfaces in its first frame, by name."""
    if kind is None:
        return {s.name: (s.verts[0], s.triangles) for s in models.Mdc(path).surfaces}
    model = kind.read(path)
    return {s.name: (s.vertices(*model.pose(0)), s.triangles) for s in model.surfaces}


def check_box(check, kind, facing, mirrored):
    """A metre wide, two high and three deep: the front at +X and the left at +Y of the model."""
    name = "mdc" if kind is None else kind.name
    print(f"a box that faces {facing}{', mirrored' if mirrored else ''}, to {name} and back")
    scene = check.folder / "box.glb"
    front, left = scenes.build_box(scene, facing, mirrored)
    target = kind.path(check.folder, "box") if kind else check.folder / "box.mdc"
    extra = kind.extra(target) if kind else []
    check.run("export", scene, "-o", target, *extra, "--facing", facing)
    parts = parts_of(kind, target)
    slack = 2 * models.GRID
    size = volume(parts.values())
    check.expect(abs(size / 40 ** 3 + 6) < 0.01, f"volume in the model: {size}")
    for side, wanted in (("front", [60, 0, 40]), ("left", [0, 20, 40])):
        check.bound(f"{side} in the model", abs(parts[side][0].mean(0) - wanted), slack, 80)

    back = check.folder / "back.glb"
    more = ["--first-frame"] if kind else []
    check.run("import", target, "-o", back, *extra, *more, "--facing", facing)
    scene = gltf.Scene(back)
    world = scene.world(None, 0)
    parts = {s.name: (scene.vertices(s, world), s.triangles) for s in scene.surfaces}
    size = volume(parts.values())
    check.expect(abs(size - 6) < 0.01, f"volume in the scene: {size}")
    for side, wanted in (("front", 1.5 * front + [0, 1, 0]), ("left", 0.5 * left + [0, 1, 0])):
        check.bound(f"{side} in the scene", abs(parts[side][0].mean(0) - wanted), slack / 40, 2)


def check_all(check, _):
    for kind in (None, Kind("mds"), Kind("pair")):
        for facing in scenes.FRONTS:
            check_box(check, kind, facing, mirrored=False)
        check_box(check, kind, "+z", mirrored=True)


if __name__ == "__main__":
    harness.main(__doc__, check_all)
