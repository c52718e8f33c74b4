#!/usr/bin/env python3
"""Vertex-animated models against the scenes they come from and go to.

    check_mdc.py MARROW SCENE.glb...
"""

import shutil
import struct
import subprocess

import numpy as np

import gltf
import harness
import models
import scenes

FLOATS = 1e-4  # of the model's size: what single precision may cost


def check_export(check, path, scale, rate, cut=None, origin=None, lean=1.0):
    """Every vertex and tag of every frame against the scene's own skinning at that time; of a
    stretch `cut` of the frames only, relative to a node where one is named."""
    print(f"{path.name} to mdc, facing {check.front}, scale {scale}, {rate} frames a second")
    target = check.folder / f"{path.stem}.mdc"
    check.run("export", path, "-o", target, "--scale", scale, "--fps", rate,
              *harness.range_options(cut, origin))
    model, scene = models.Mdc(target), gltf.Scene(path)
    frames = scene.frames(rate)
    from_point = scene.place(origin, frames[0], scale)
    frames = frames[slice(*cut)] if cut else frames
    check.same(len(model.origins), len(frames), "frames")
    check.bound("origins", abs(model.origins - from_point), 1e-4, 1, tell=False)
    for made, own in zip(model.surfaces, scene.surfaces, strict=True):
        check.expect(made.name.startswith(own.name[:63]), f"name {made.name} of {own.name}")
        check.surface(scene, made, own)
    tagged = [n for n in scene.order if scene.name(n).lower().startswith("tag_")]
    check.same([name for name, *_ in model.tags], [scene.name(n).lower() for n in tagged], "tags")

    leaning = []
    errors, places, turns, boxes, low, high = [], [], [], [], np.inf, -np.inf
    for f, (clip, time) in enumerate(frames):
        world = scene.world(clip, time)
        shapes = [scene.shape(s, clip, time) for s in scene.surfaces]
        verts = [gltf.scene_points(scene.vertices(s, world, points), scale)
                 for s, (points, _) in zip(scene.surfaces, shapes)]
        errors.append(np.vstack([abs(m.verts[f] - v) for m, v in zip(model.surfaces, verts)]))
        leaning.append(np.hstack([
            models.degrees_between(m.normals[f],
                                   gltf.scene_points(scene.normals(s, world, own=normals)))
            for m, s, (_, normals) in zip(model.surfaces, scene.surfaces, shapes)]))
        verts = np.vstack(verts)
        low, high = np.minimum(low, verts.min(0)), np.maximum(high, verts.max(0))
        boxes.append(abs(model.bounds[f] + from_point - [verts.min(0), verts.max(0)]))
        check.same(model.radius[f], np.float32(np.ptp(model.bounds[f], 0).max()), "radius")
        for (_, tag_places, angles), node in zip(model.tags, tagged):
            matrix = gltf.scene_matrix(world[node], scale)
            places.append(abs(tag_places[f] - matrix[:3, 3]))
            axes = matrix[:3, :3].T / np.linalg.norm(matrix[:3, :3], axis=0)[:, None]
            found = models.frame_axes(*angles[f])
            rows = slice(None) if np.linalg.det(axes) > 0 else 0
            if abs(axes @ axes.T - np.eye(3)).max() < 1e-5:  # sheared axes are no rotation
                turns.append(np.degrees(np.linalg.norm(found[rows] - axes[rows], axis=-1).max()))
    height, size = high[2] - low[2], (high - low).max()
    step = models.GRID + FLOATS * size
    check.bound("vertices", np.linalg.norm(errors, axis=-1), step * np.sqrt(3), height)
    check.bound("along an axis", errors, step, height, tell=False)
    check.bound("normals, degrees", leaning, lean, 1)
    check.bound("boxes", boxes, 1e-4 * size, height)
    check.bound("tags", places, step, height)
    check.bound("tags' axes, degrees", turns, 2 * models.STEP, height)
    return target


def check_shapes(check):
    """Morph targets and scale that changes are in the frames, and nothing is said of them."""
    path = check.folder / "shapes.glb"
    scenes.build_shapes(path)
    check_export(check, path, 40, 20)
    told = check.run("export", path, "-o", path.with_suffix(".mdc"))
    check.expect("left out" not in told, f"nothing is left out: {told}")
    told = check.run("export", path, "-o", path.with_suffix(".mds"))
    check.expect("morph targets that change during a clip are left out: flag, coat" in told
                 and "animated scale" in told, f"a skeletal model's losses are told: {told}")
    path = check.folder / "squashed.glb"
    told = check.run("export", path, "-o", path.with_suffix(".mds"))
    check.expect("non-uniform scale" in told, "a scale that a skeleton cannot have is told")


def check_import(check, path, frame, scale=1.0, suffix=".glb"):
    """One frame as a scene."""
    print(f"{path.name}, frame {frame}, to {suffix}, scale {scale}")
    model = models.Mdc(path)
    made = check.folder / f"{path.stem}-{frame}{suffix}"
    check.run("import", path, "-o", made, "--frame", frame, "--scale", scale)
    scene = gltf.Scene(made)
    world = scene.world(None, 0)
    size = max(np.ptp(s.verts[frame], 0).max() for s in model.surfaces)
    check.same([s.name for s in scene.surfaces], [s.name for s in model.surfaces], "surfaces")
    for own, wanted in zip(scene.surfaces, model.surfaces):
        found = gltf.scene_points(scene.vertices(own, world), scale)
        check.same(found.shape, wanted.verts[frame].shape, "vertices")
        check.bound(f"vertices of {own.name}", abs(found - wanted.verts[frame]), 1e-6 * size, size)
        check.same(scene.triangles(own).tolist(), wanted.triangles.tolist(),
                   f"triangles of {own.name}")
        check.expect(np.array_equal(own.st, wanted.st), f"texture coordinates of {own.name}")
        material = scene.json["materials"][own.material] if own.material is not None else {}
        game_path = material.get("extras", {}).get("game_path", "")
        check.same(game_path, wanted.shaders[0] if wanted.shaders else "", "game path")
    for name, places, angles in model.tags:
        matrix = gltf.scene_matrix(world[scene.named(name)], scale)
        check.bound(f"{name}", abs(matrix[:3, 3] - places[frame]), 1e-5 * size, size)
        check.bound(f"axes of {name}", abs(matrix[:3, :3].T - models.frame_axes(*angles[frame])),
                    1e-5, 1)
        check.same(scene.nodes[scene.named(name)].get("extras", {}).get("bone"), True, name)


def without_normals(path):
    """The file with its vertices' normals as 0, and the normals' directions."""
    data, found = bytearray(path.read_bytes()), []
    frames, _, surfaces, _, _, _, _, at = struct.unpack_from("<8i", data, 76)
    for _ in range(surfaces):
        count, verts, end = (struct.unpack_from("<i", data, at + field)[0]
                             for field in (84, 104, 120))
        codes = np.ndarray((frames * count, 4), "<u2", data, at + verts)[:, 3]
        found.append(models.mdc_normals(codes.copy()))
        codes[:] = 0
        at += end
    return bytes(data), np.vstack(found)


def check_all_frames(check, path, scale=40, options=(), own=True):
    """Every frame as morph targets and tracks, and the model that comes of the scene again: the
    same bytes but for normals where the file is one of the exporter's `own` shape. Gives the
    scene's bytes a vertex and differing frame."""
    print(f"{path.name}, all frames, to .glb and back, scale {scale}")
    model = models.Mdc(path)
    made = check.folder / f"{path.stem}-all.glb"
    check.run("import", path, "-o", made, "--scale", scale, *options)
    scene = gltf.Scene(made)
    frames = scene.frames(20)
    check.same(len(frames), len(model.origins), "frames")
    size = max(np.ptp(s.verts, (0, 1)).max() for s in model.surfaces)
    errors, leaning, differing = [], [], 0
    for own_part, wanted in zip(scene.surfaces, model.surfaces, strict=True):
        shapes = {(v.tobytes(), n.tobytes()) for v, n in zip(wanted.verts, wanted.normals)}
        differing += len(shapes) * len(wanted.verts[0])
        # Of the shapes the first is the mesh, but one target takes the normals at rest away.
        check.same(len(own_part.targets), len(shapes) if len(shapes) > 1 else 0,
                   "one target for equal frames")
        for (clip, time), verts, normals in zip(frames, wanted.verts, wanted.normals):
            points, turned = scene.shape(own_part, clip, time)
            world = scene.world(clip, time)
            errors.append(abs(gltf.scene_points(scene.vertices(own_part, world, points), scale)
                              - verts).ravel())
            if own:  # compressed frames have no normals that are read
                leaning.append(models.degrees_between(gltf.scene_points(
                    scene.normals(own_part, world, own=turned)), normals))
        for (node, path_), (times, values, how) in (scene.tracks or [{}])[0].items():
            if path_ == "weights":
                check.expect(((values == 0) | (values == 1)).all() and (values[:, 1:].sum(1) == values[:, 0]).all(),
                             "weights of a frame: that of the normals and one, or none")
                check.same(how, "STEP" if options else "LINEAR", "interpolation")
    check.bound("vertices", np.concatenate(errors), 1e-4 * size, size)
    check.bound("normals, degrees", np.concatenate(leaning or [[]]), 1.5, 1)
    boxes = np.reshape(scene.json["scenes"][0]["extras"]["frame_bounds"], (-1, 2, 3))
    check.bound("boxes", abs(boxes - model.bounds - model.origins[:, None]), 1e-6 * size, size)
    for name, places, angles in model.tags:
        matrices = [gltf.scene_matrix(scene.world(*frame)[scene.named(name)], scale)
                    for frame in frames]
        check.bound(name, [abs(m[:3, 3] - p) for m, p in zip(matrices, places)], 1e-5 * size, size)
        check.bound(f"axes of {name}", [abs(m[:3, :3].T - models.frame_axes(*a))
                                        for m, a in zip(matrices, angles)], 1e-5, 1)
    again = check.folder / "again" / path.name
    again.parent.mkdir(exist_ok=True)
    check.run("export", made, "-o", again, "--scale", scale)
    if own:
        first, second = without_normals(path), without_normals(again)
        check.expect(first[0] == second[0], f"{path.name} is the same again, scale {scale}")
        check.bound("normals again, degrees", models.degrees_between(first[1], second[1]),
                    360 / 256 * 1.5, 1)
    else:
        for a, b in zip(models.Mdc(again).surfaces, model.surfaces, strict=True):
            check.bound(f"{a.name} again", abs(a.verts - b.verts), models.GRID, size)
    return made.stat().st_size / max(differing, 1)


def check_attached(check, path):
    """Models at tags: their vertices are the file's, moved by the tag, in every frame."""
    print(f"{path.name} at the tags of itself")
    body, prop = check.folder / "body.mds", check.folder / "prop.mdc"
    made = check.folder / "attached.glb"
    check.run("export", path, "-o", body, "--sequences")
    check.run("export", path, "-o", prop, "--end", 40)
    check.run("import", body, "-o", made, "--attach", f"tag_weapon={prop}",
              "--attach", f"tag_head={prop}:12", "--attach", f"tag_head_prop={prop}:3")
    scene, model = gltf.Scene(made), models.Mdc(prop)
    own = len(scene.surfaces) - 3 * len(model.surfaces)
    parts = [("tag_weapon", None), ("tag_head", 12), ("tag_head_prop", 3)]
    height, errors = 72, []
    for number, (clip, time) in enumerate(scene.frames(20)):
        world = scene.world(clip, time)
        for part, (tag, frame) in enumerate(parts):
            at = gltf.scene_matrix(world[scene.named(tag)], 40)
            for s, surface in enumerate(model.surfaces):
                shown = scene.surfaces[own + part * len(model.surfaces) + s]
                points, _ = scene.shape(shown, clip, time)
                found = gltf.scene_points(scene.vertices(shown, world, points), 40)
                wanted = surface.verts[min(number, 40) if frame is None else frame]
                errors.append(abs(found - (wanted @ at[:3, :3].T + at[:3, 3])).max())
    check.bound("attached vertices", errors, 1e-4 * height, height)
    names = [scene.name(node) for node in scene.order]
    check.same(len(set(names)), len(names), "names stay apart")
    notes = scene.json["scenes"][0]["extras"]["notes"]
    check.same(notes.count("MDC Model"), len(parts), "notes of what is attached")


def check_clips(check, path):
    made = check.folder / "clips.glb"
    check.run("import", path, "-o", made, "--frames", "2-9", "--clip", "a=2-4", "--clip", "b=4-9")
    scene, model = gltf.Scene(made), models.Mdc(path)
    check.same([clip["name"] for clip in scene.clips], ["a", "b"], "clips")
    wanted = [2, 3, 4, 4, 5, 6, 7, 8, 9]
    check.same(len(scene.frames(20)), len(wanted), "frames of clips")
    for (clip, time), frame in zip(scene.frames(20), wanted):
        for own, surface in zip(scene.surfaces, model.surfaces, strict=True):
            points, _ = scene.shape(own, clip, time)
            check.bound("vertices of clips", abs(gltf.scene_points(points, 40)
                                                 - surface.verts[frame]), 0.01, 72, tell=False)


def check_compressed(check):
    """Four frames: two base frames, two compressed ones over the second, in another order."""
    random = np.random.default_rng(3)
    folder = check.folder / "models" / "test"
    folder.mkdir(parents=True, exist_ok=True)
    surfaces = []
    for name, shader, count in (("one", "models/test/one.tga", 90), ("two", "", 3)):
        packed = random.integers(0, 256, (2, count, 3))
        packed[0, :3] = [[0, 127, 128], [254, 255, 1], [255, 0, 126]]
        surfaces.append({
            "name": name, "shader": shader, "triangles": np.arange(count).reshape(-1, 3),
            "st": random.uniform(-1, 2, (count, 2)),
            "base": random.integers(-20000, 20000, (2, count, 3)), "packed": packed,
            "base_table": [0, 1, 1, 1], "comp_table": [0xFFFF, 1, 0xFFFF, 0]})
    tags = [("tag_a", random.integers(-32768, 32768, (4, 6))),
            ("tag_b", random.integers(-16000, 16000, (4, 6)))]
    tags[1][1][0, 3:] = [16384, 100, 0]  # straight down
    path = folder / "packed.mdc"
    models.write_mdc(path, random.integers(-2000, 2000, (4, 3)) * models.GRID, tags, surfaces)
    for frame in range(4):
        check_import(check, path, frame, suffix=".gltf" if frame % 2 else ".glb")
    check_all_frames(check, path, scale=20, options=("--interpolate", "step"), own=False)


PACKERS = (("gltfpack", "-c", "-kn", "-ke", "-vp", "16", "-vn", "12", "-vt", "14", "-af", "60"),
           ("draco_transcoder", "-qp", "16", "-qn", "12", "-qt", "14"))


def check_packed(check, path):
    """The scene as programs of others compress it, quantized and in another order: every corner of
    a triangle has its like, with the middle of the triangle, in rest and in poses."""
    def corners(s):
        rows = np.hstack([*s.verts[[0, 50, -1]], s.normals[0], s.st])[s.triangles]
        middles = np.broadcast_to(rows.mean(1, keepdims=True), rows.shape)
        return np.concatenate([rows, middles], -1).reshape(3 * len(rows), -1)

    model, packed = models.Mdc(check.folder / f"{path.stem}.mdc"), check.folder / "packed.mdc"
    for program, *options in PACKERS:
        if not shutil.which(program):
            print(f"{program} is not here")
            continue
        subprocess.run([program, *options, "-i", path, "-o", packed.with_suffix(".glb")],
                       check=True, capture_output=True)
        check.run("export", packed.with_suffix(".glb"), "-o", packed, "--fps", 20)
        pairs = zip(*(sorted(map(corners, m.surfaces), key=len) for m in (model, models.Mdc(packed))),
                    strict=True)
        for some, every in [pair[::turn] for pair in pairs for turn in (1, -1)]:
            check.same(some.shape, every.shape, "corners")
            some = some[::len(some) // 200 + 1]
            check.bound(f"corners by {program}", abs(some[:, None] - every).max(-1).min(1), 0.25,
                        72)


def check_all(check, paths):
    for path in paths:
        exported = check_export(check, path, 40, 20)
        check_import(check, exported, min(11, len(models.Mdc(exported).origins) - 1))
        bytes_each = check_all_frames(check, exported)
        if path == paths[0]:
            check.bound("bytes a vertex and differing frame", bytes_each, 15, 1)
            for scale in (1, 7.3, 64):
                check_all_frames(check, exported, scale)
    check_attached(check, paths[0])
    check_clips(check, check.folder / f"{paths[0].stem}.mdc")
    check_packed(check, paths[0])
    check_import(check, check_export(check, paths[0], 10.5, 13), 3, scale=40)
    for kind in scenes.ARMATURES:
        path = check.folder / f"{kind}.glb"
        scenes.build(path, kind)
        check_export(check, path, 30, 20)
    check_export(check, paths[0], 40, 20, cut=(23, 31), origin="tag_weapon")
    check_shapes(check)
    check_compressed(check)
    for front in "-z", "+x", "-x":
        check.face(front)
        check_import(check, check_export(check, check.folder / "mirrored.glb", 30, 20), 3, scale=40)


if __name__ == "__main__":
    harness.main(__doc__, check_all)
