#!/usr/bin/env python3
"""Skeletal models, in one file and in two, against the scenes they come from and go to.

    check_skeletal.py MARROW SCENE.glb...
"""

import itertools
import re

import numpy as np

import gltf
import harness
import models
import scenes

FLOATS = 2e-5  # of the model's size: what single precision may cost
UNIT = np.radians(models.STEP)  # an angle is cut by less
TURN = np.sqrt(5) * UNIT  # of a bone: it has three angles, and steep ones turn about the same axis
AIM = np.sqrt(2) * UNIT  # of the direction to a bone, which has two


class Kind:
    """mds, or mdm with mdx: paths, arguments, and who reads and writes it."""

    def __init__(self, name):
        self.name, self.one_file = name, name == "mds"

    def path(self, folder, stem):
        return folder / f"{stem}.{'mds' if self.one_file else 'mdm'}"

    def read(self, path):
        return models.read_mds(path) if self.one_file else models.read_pair(
            path, path.with_suffix(".mdx"))

    def write(self, path, model):
        if self.one_file:
            models.write_mds(path, model)
        else:
            models.write_pair(path, path.with_suffix(".mdx"), model)

    def extra(self, path):
        return [] if self.one_file else ["--mdx", path.with_suffix(".mdx")]

    def write_sequences(self, path, clips):
        lines = [f"{name} {start} {count} 0 20" for name, start, count in clips]
        if self.one_file:
            lines = ["VERSION 2", "SKELETAL", "STARTANIMS"] + lines + ["ENDANIMS"]
        side = path.with_name("wolfanim.cfg") if self.one_file else path.with_suffix(".aninc")
        side.write_text("\n".join(lines) + "\n")


def angle(a, b):
    """Between rotations, radians; exact for small ones."""
    return 2 * np.arcsin(np.clip(np.linalg.norm(a - b, axis=(-2, -1)) / np.sqrt(8), 0, 1))


def unscaled(matrix):
    """The axes, and whether they are a rotation: unequal scales above a turned node shear them."""
    axes = matrix[:3, :3] / np.linalg.norm(matrix[:3, :3], axis=0)
    return axes, abs(axes.T @ axes - np.eye(3)).max() < 1e-5


def check_export(check, kind, path, scale, rate=20, cut=None, origin=None):
    """Bones and skinned vertices of every frame against the scene's own: also of bones that change
    their distance from the parent and of further top bones, which a file has no place for."""
    print(f"{path.name} to {kind.name}, facing {check.front}, scale {scale}")
    target = kind.path(check.folder, path.stem)
    told = check.run("export", path, "-o", target, *kind.extra(target), "--scale", scale,
                     "--fps", rate, *harness.range_options(cut, origin))
    model, scene = kind.read(target), gltf.Scene(path)
    frames = scene.frames(rate)
    first_world, from_point = scene.world(*frames[0]), scene.place(origin, frames[0], scale)
    frames = frames[slice(*cut)] if cut else frames
    check.same(len(model.angles), len(frames), "frames")
    skins = [s for s in scene.surfaces if s.skin is not None or scene.parents[s.node] is not None]
    for made, own in zip(model.surfaces, skins, strict=True):
        check.surface(scene, made, own)
        check_weights(check, scene, model, made, own)
        used = {b for bone in set(made.bone) for b in model.chain(bone)}
        check.same(made.references.tolist(), sorted(used), f"bone references of {own.name}")
    rigid = {s.node for s in scene.surfaces}
    named = {scene.name(n): n for n in scene.order if n not in rigid}
    helper = np.array([name not in named for name in model.names])
    nodes = [named.get(name) for name in model.names]
    own_bones = np.flatnonzero(~helper)
    for b, parent in enumerate(model.parents):  # distances are those of the first frame of all
        if helper[b]:
            child, = np.flatnonzero(np.array(model.parents) == b)
            check.expect(parent >= 0 and not helper[parent] and not helper[child] and
                         abs(model.dists[b] - model.dists[child]) <= 1e-5 * model.dists[b],
                         f"{model.names[b]} is between two bones, as far from both")
        elif parent < 0 or not helper[parent]:
            line = first_world[nodes[b]][:3, 3] - first_world[nodes[parent]][:3, 3]
            length = np.linalg.norm(line) * scale if parent >= 0 else 0
            check.expect(abs(length - model.dists[b]) <= 1e-5 * max(length, 1),
                         f"distance of {model.names[b]}: {model.dists[b]} not {length}")
    own_nodes = [nodes[b] for b in own_bones]
    tops = sum(scene.parents[node] not in own_nodes for node in own_nodes)
    check.same((helper.any(), "hung on a bone" in told),
               ("helper bone" in told, list(model.parents).count(-1) < tops),
               "what is told of helpers and of top bones")
    check.expect("keep the distance" not in told and "stand where" not in told, f"losses: {told}")

    rows = {"bones, degrees": ([], []), "bones' places": ([], []), "vertices": ([], []),
            "normals, degrees": ([], [])}
    boxes, low, high, first = [], np.inf, -np.inf, None
    tag_errors = [], []
    for f, (clip, time) in enumerate(frames):
        world = scene.world(clip, time)
        all_verts = np.vstack([gltf.scene_points(scene.vertices(s, world), scale)
                               for s in scene.surfaces]) - from_point
        low, high = np.minimum(low, all_verts.min(0)), np.maximum(high, all_verts.max(0))
        boxes.append(abs(model.floats[f, :6] - np.r_[all_verts.min(0), all_verts.max(0)]))
        matrices = np.array([np.eye(4) if n is None else gltf.scene_matrix(world[n], scale)
                             for n in nodes])
        true_places = matrices[:, :3, 3] - from_point
        true_axes, proper = (np.array(x) for x in zip(*(unscaled(m) for m in matrices)))
        axes, places = model.pose(f)
        if np.linalg.det(true_axes[0]) < 0:  # a mirror: only turns against the first frame count
            first = (axes, true_axes) if first is None else first
            turns = angle(axes @ first[0].transpose(0, 2, 1),
                          true_axes @ first[1].transpose(0, 2, 1)) / 2
        else:
            turns = np.where(proper, angle(axes, true_axes), 0)

        bounds = np.zeros(len(places))
        for b, parent in enumerate(model.parents):
            if parent < 0:
                continue
            bounds[b] = bounds[parent] + AIM * model.dists[b]
            if not helper[b] and not helper[parent]:  # small changes of a distance get no helper
                length = np.linalg.norm(true_places[b] - true_places[parent])
                change = abs(length - model.dists[b])
                check.expect(change <= max(1e-3, UNIT * model.dists[b]) + FLOATS * length,
                             f"{model.names[b]} has no helper and changes by {change}")
                bounds[b] += change
        rows["bones, degrees"][0].append(np.degrees(turns)[own_bones])
        steep = abs(np.sin(model.angles[f, own_bones, 0] * UNIT))
        rows["bones, degrees"][1].append(np.degrees(UNIT * np.sqrt(3 + 2 * steep)))
        rows["bones' places"][0].append(np.linalg.norm(places - true_places, axis=1)[own_bones])
        rows["bones' places"][1].append(bounds[own_bones])
        for made, own in zip(model.surfaces, skins):
            wanted = gltf.scene_points(scene.vertices(own, world), scale) - from_point
            # As the games turn them: by the bone of the first weight.
            bone = made.bone[made.first[:-1]]
            found = np.einsum("vij,vj->vi", axes[bone], made.normals)
            turned = gltf.scene_points(scene.normals(own, world, blend=False))
            rows["normals, degrees"][0].append(models.degrees_between(found, turned))
            rows["normals, degrees"][1].append(np.full(len(found), np.degrees(TURN)))
            reach = abs(made.weight) * (np.linalg.norm(made.offset, axis=1) * TURN +
                                        bounds[made.bone])
            rows["vertices"][0].append(
                np.linalg.norm(made.vertices(axes, places) - wanted, axis=1))
            rows["vertices"][1].append(
                np.bincount(made.vertex, weights=reach, minlength=len(wanted)))
        for name, tag in model.tags:
            matrix = gltf.scene_matrix(world[scene.named(name)], scale)
            turn, place = model.tag_pose(tag, axes, places)
            bone, _, offset = tag if isinstance(tag, tuple) else (tag, None, np.zeros(3))
            if bone < 0 and (f > 0 or cut):
                continue  # such a tag stands where the first frame has it
            reach = np.linalg.norm(offset)
            wanted, is_turn = unscaled(matrix)
            if is_turn and np.linalg.det(wanted) > 0:
                check.expect(angle(turn, wanted) <= TURN + 1e-5, f"axes of {name}")
            tag_errors[0].append(np.linalg.norm(place + from_point - matrix[:3, 3]))
            tag_errors[1].append((bounds[bone] if bone >= 0 else 0) + reach * TURN)
    height, size = high[2] - low[2], (high - low).max()
    for what, (errors, bounds) in rows.items():
        slack = np.degrees(2e-6) if "degrees" in what else FLOATS * size
        check.bound(what, np.hstack(errors), np.hstack(bounds) + slack, height)
    check.bound("tags", tag_errors[0], np.array(tag_errors[1]) + FLOATS * size, height)
    check.bound("boxes", boxes, 1e-4 * size, height)
    wanted = {scene.name(n) for n in scene.order if scene.name(n).lower().startswith("tag_")}
    check.same({name for name, _ in model.tags}, wanted, "tags")
    if not kind.one_file:
        check.same([c.tolist() for c in model.chains],
                   [model.chain(tag[0]) for _, tag in model.tags], "chains of tags")
    return target


def check_weights(check, scene, model, made, own):
    """By bone names: the file's own against the primitive's, zero weights left out."""
    if own.skin is None:
        check.expect((made.weight == 1).all() and (np.diff(made.first) == 1).all(),
                     f"one whole weight on every vertex of {own.name}")
        return
    joints = scene.skins[own.skin][0]
    for v in range(len(own.points)):
        wanted = [(scene.name(joints[j]), np.float32(w))
                  for j, w in zip(own.joints[v], own.weights[v]) if w > 0]
        found = [(model.names[b], np.float32(w)) for b, w in made.weights_of(v)]
        if [n for n, _ in found] != [n for n, _ in wanted] or not np.allclose(
                [w for _, w in found], [w for _, w in wanted], rtol=1e-6):
            check.expect(False, f"weights of vertex {v} of {own.name}: {found} not {wanted}")
            return


def random_model(kind, noise=0.0, frames=24, loose=False):
    """A skeleton in random poses, and a skin bound in a pose that none of its frames has, or one
    whose bones hang together `loose`ly. The tags keep still against their bones."""
    random = np.random.default_rng(26 if loose else 11)
    names = ["Bip01", "Bip01 Spine", "up", "down", "nowhere"] + [f"bone {i}" for i in range(7)]
    parents = [-1, 0, 0, 0, 1, 1, 5, 6, 7, 3, 9, 10]
    if loose:
        names += [f"loose {i}" for i in range(len(names), sum(map(len, LOOSE)))]
        parents += [0] * (len(names) - len(parents))
    tags = [(name, (bone, models.frame_axes(*random.uniform(-80, 80, 3)),
                    random.uniform(-5, 5, 3))) for name, bone in (("tag_a", 2), ("tag_b", 11))]
    count = len(names)
    dists = random.uniform(4, 12, count).astype(np.float32).astype(float)
    dists[[0, 4]] = 0
    rows = random_units(random, frames + 1, count, np.array(parents))
    offsets = random.uniform(-30, 30, (frames + 1, 3)).astype(np.float32)
    model = models.Model((names, np.array(parents), np.zeros(count), dists,
                          np.zeros(count, int)), offsets, rows, [], tags)
    axes, places = model.pose(frames)
    for name in ("h_head", "u_body")[loose:]:
        points, first, bone, weight = (loose_skin if loose else random_skin)(random, count)
        vertex = np.repeat(np.arange(len(points)), np.diff(first))
        offset = np.einsum("wji,wj->wi", axes[bone], points[vertex] - places[bone])
        offset += random.normal(size=offset.shape) * noise
        model.surfaces.append(models.SkinSurface(
            name, "", np.arange(len(points)).reshape(-1, 3),
            random.uniform(0, 1, (len(points), 2)),
            points / np.linalg.norm(points, axis=1)[:, None], first, bone, weight, offset))
    model.angles, model.parent_offsets = rows[:frames], offsets[:frames]
    if kind.one_file:
        tags_to_bones(model)
    return model


def random_skin(random, count):
    """Points, where the weights of each begin, their bones and shares."""
    first = np.r_[0, np.cumsum(random.integers(1, 6, 60))]
    bone = np.hstack([random.permutation(count)[:n] for n in np.diff(first)])
    weight = random.uniform(0.1, 1, len(bone))
    return (random.uniform(-30, 30, (60, 3)), first, bone,
            weight / np.repeat(np.add.reduceat(weight, first[:-1]), np.diff(first)))


# Points that two bones share, where they leave the rotation between the two open, or nearly so.
SHARED = [[(3, 4, 5)], [(3, 4, 5), (-7, 1, 2)], [(k, 2 * k, 3 * k) for k in (1, 2, 3, -1.5)],
          [(5, 0, 0), (10, 0, 1e-3), (20, 0, 0), (30, 1e-3, 0)], [(9, 9, 9)] * 3,
          [(0, 0, 7), (10, 0, 7), (0, 10, 7), (6, 5, 7)]]
# The bones that hang together: by such points; by single ones, which decide together; two alone.
LOOSE = [range(3 * i, 3 * i + 3) for i in range(6)] + [range(18, 24), range(24, 25), range(25, 26)]


def loose_skin(random, _):
    def anywhere():
        return random.uniform(-30, 30, 3)

    rows = [(anywhere(), {bone: 1}) for bone in range(26) for _ in range(4)]
    for (a, b, c), shared in zip(LOOSE, SHARED):
        for point in shared:
            rows += [(point, {a: 0.5, b: 0.5}), (np.add(point, (0, 20, 0)), {b: 0.7, c: 0.3})]
    rows += [(anywhere(), {a: 0.5, b: 0.5}) for a, b in itertools.combinations(LOOSE[6], 2)]
    del rows[:len(rows) % 3]
    return (np.array([point for point, _ in rows], float),
            np.r_[0, np.cumsum([len(weights) for _, weights in rows])],
            np.array([bone for _, weights in rows for bone in weights]),
            np.array([share for _, weights in rows for share in weights.values()]))


def random_units(random, frames, bones, parents):
    """Random stored angles; the third and fourth bone lie straight above and below their parent."""
    rotations = np.linalg.qr(random.normal(size=(frames, bones, 3, 3)))[0]
    rotations[..., 2, :] *= np.linalg.det(rotations)[..., None]
    aims = random.normal(size=(frames, bones, 3))
    aims[:, 2], aims[:, 3] = (0, 0, 1), (0, 0, -1)
    rows = np.zeros((frames, bones, 6), np.int16)
    rows[..., :3] = models.units(models.frame_angles(rotations))
    rows[..., 4:] = models.units(models.direction_angles(aims))
    rows[:, parents < 0, 4:] = 0
    rows[0, 5, :3], rows[1, 5, :3] = (16384, 300, 0), (-16384, -300, 0)  # gimbal lock
    rows[2, 5, :3] = (0, -32768, -32768)
    return rows


def tags_to_bones(model):
    """An mds has its tags among its bones, and each frame tells where they are."""
    rows = np.zeros((len(model.angles), len(model.tags), 6), np.int16)
    for f in range(len(rows)):
        axes, places = model.pose(f)
        for t, (_, tag) in enumerate(model.tags):
            turn, place = model.tag_pose(tag, axes, places)
            rows[f, t, :3] = models.units(models.frame_angles(turn))
            rows[f, t, 4:] = models.units(models.direction_angles(place - places[tag[0]]))
    model.angles = np.concatenate([model.angles, rows], axis=1)
    count, tags = len(model.names), model.tags
    model.tags = [(name, count + t) for t, (name, _) in enumerate(tags)]
    model.names += [name for name, _ in tags]
    model.parents = np.append(model.parents, [bone for _, (bone, _, _) in tags])
    model.dists = np.append(model.dists, [np.linalg.norm(o) for _, (_, _, o) in tags])
    model.torso_weights = np.append(model.torso_weights, [0] * len(tags))
    model.flags = np.append(model.flags, [1] * len(tags))


SEQUENCES = [("stand", 0, 5), ("run_fast", 5, 12), ("die", 17, 7)]


def check_import(check, kind, model, stem, scale=1.0, fits=True, only=None):
    """A model with all or some of its sequences as a scene, in every frame."""
    print(f"{stem}.{kind.name} to glb, scale {scale}")
    folder = check.folder / "models" / kind.name
    folder.mkdir(parents=True, exist_ok=True)
    path, made = kind.path(folder, stem), check.folder / f"{stem}-{kind.name}.glb"
    kind.write(path, model)
    model = kind.read(path)
    kind.write_sequences(path, SEQUENCES)
    wanted = [s for s in SEQUENCES if s[0] in (only or s)]
    told = check.run("import", path, "-o", made, *kind.extra(path), "--scale", scale,
                     *(word for name in only or [] for word in ("--sequence", name)))
    scene = gltf.Scene(made)
    check.same([(c["name"], len(gltf.frame_times(scene.duration(i), 20)))
                for i, c in enumerate(scene.clips)], [(n, c) for n, _, c in wanted], "clips")
    taken = [start + f for _, start, frames in wanted for f in range(frames)]
    # Of a key and its opposite the one that is nearer to the key before: viewers differ in which
    # way round they take.
    check.expect(all((values[1:] * values[:-1]).sum(1).min(initial=1) >= 0 for tracks in scene.tracks
                     for (_, what), (_, values, _) in tracks.items() if what == "rotation"),
                 "rotations are on one side of the sphere")
    check.same([(s.name, scene.triangles(s).tolist()) for s in scene.surfaces],
               [(s.name, s.triangles.tolist()) for s in model.surfaces], "surfaces")
    errors, bones, turns = [], [], []
    for f, (clip, time) in zip(taken, scene.frames(20), strict=True):
        world = scene.world(clip, time)
        axes, places = model.pose(f)
        tags = [(n, *model.tag_pose(t, axes, places)) for n, t in model.tags]
        for name, turn, place in list(zip(model.names, axes, places)) + tags:
            matrix = gltf.scene_matrix(world[scene.named(name)], scale)
            turns.append(angle(matrix[:3, :3], turn))
            bones.append(np.linalg.norm(matrix[:3, 3] - place))
        errors.append([np.linalg.norm(gltf.scene_points(scene.vertices(own, world), scale) -
                                      wanted.vertices(axes, places), axis=1)
                       for own, wanted in zip(scene.surfaces, model.surfaces)])
    height = 70.0
    check.bound("bones' places", bones, 1e-5 * height, height)
    check.bound("bones, radians", turns, 1e-5, 1)
    if fits:
        check.bound("vertices", errors, 5e-6 * height, height)
    return path, made, told


def check_conversions(check, path):
    """An mds to the pair and back, and to an mdc."""
    folder = check.folder / "models"
    pair, back, sampled = folder / "as.mdm", folder / "back.mds", folder / "as.mdc"
    one, two = Kind("mds"), Kind("pair")
    check.run("convert", path, pair)
    two.write_sequences(pair, SEQUENCES)
    check.run("convert", pair, back)
    first, between = one.read(path), two.read(pair)
    plain = [n for n, flag in zip(first.names, first.flags) if not flag]
    check.same(between.names, plain, "bones of the pair")
    compare(check, first, one.read(back), "mds, pair, mds", writes=2)
    check.run("convert", path, sampled)
    verts = [s.verts for s in models.Mdc(sampled).surfaces]
    check.same([len(v) for v in verts], [len(first.angles)] * 2, "frames of the mdc")
    check.bound("as mdc", [[abs(v[f] - s.vertices(*first.pose(f)))
                            for f in range(len(first.angles))]
                           for v, s in zip(verts, first.surfaces)],
                models.GRID + FLOATS * 70, 70)


def compare(check, a, b, what, writes=1):
    """Two models that should hold the same, bones and tags found by name, after that many writings
    that cut angles."""
    print(f"  {what}")
    check.same(sorted(b.names), sorted(a.names), "bones")
    number = [b.names.index(n) for n in a.names]
    name = lambda model, bone: model.names[bone] if bone >= 0 else None  # noqa: E731
    check.same([name(b, b.parents[i]) for i in number], [name(a, p) for p in a.parents], "parents")
    check.bound("distances", abs(b.dists[number] - a.dists), 1e-5 * np.maximum(a.dists, 1), 70)
    check.same(len(b.angles), len(a.angles), "frames")
    check.bound("parent offsets", abs(b.parent_offsets - a.parent_offsets), 1e-4, 70)
    steps = (b.angles[:, number].astype(int) - a.angles + 32768) % 65536 - 32768
    steep = abs(abs(a.angles[..., [0, 4]].astype(int)) - 16384) < 60  # yaw and roll run together
    steps[..., :4][steep[..., 0]] = 0
    steps[..., 4:][steep[..., 1] | (a.dists == 0)] = 0
    moved_by_parent = (a.flags == 1) & (writes > 1)  # a tag between: its bone's angles, not its own
    check.bound("angles, units", abs(steps[:, ~moved_by_parent]), writes, 70)
    for f in range(len(a.angles)):
        (a_axes, a_places), (b_axes, b_places) = a.pose(f), b.pose(f)
        check.bound("rotations", angle(a_axes, b_axes[number]), (2 * writes - 1) * TURN, 1,
                    tell=False)
        check.bound("places", np.linalg.norm(a_places - b_places[number], axis=1),
                    60 * writes * AIM, 70, tell=False)
        for tag, value in a.tags:
            (a_turn, a_place), (b_turn, b_place) = (
                a.tag_pose(value, a_axes, a_places),
                b.tag_pose(dict(b.tags)[tag], b_axes, b_places))
            check.bound(f"axes of {tag}", angle(a_turn, b_turn), (2 * writes - 1) * TURN, 1,
                        tell=False)
            check.bound(f"place of {tag}", abs(a_place - b_place), 60 * writes * AIM, 70,
                        tell=False)
            if isinstance(value, tuple) and isinstance(dict(b.tags)[tag], tuple):
                bone, rows, offset = dict(b.tags)[tag]
                check.same(name(b, bone), name(a, value[0]), f"bone of {tag}")
                check.bound(f"axis of {tag}", abs(rows - value[1]), 1e-5, 1, tell=False)
                check.bound(f"offset of {tag}", abs(offset - value[2]), 1e-5 * 70, 1, tell=False)
    for s, t in zip(a.surfaces, b.surfaces, strict=True):
        check.same((t.name, t.triangles.tolist(), t.first.tolist()),
                   (s.name, s.triangles.tolist(), s.first.tolist()), "surface")
        check.same([b.names[i] for i in t.bone], [a.names[i] for i in s.bone], "weights' bones")
        check.bound("weights", abs(t.weight - s.weight), 1e-6, 1, tell=False)
        reach = np.linalg.norm(s.offset, axis=1)
        check.bound("offsets", np.linalg.norm(t.offset - s.offset, axis=1), 1e-5 * reach, 70)
        check.bound("texture coordinates", abs(t.st - s.st), 1e-6, 1, tell=False)


class Bound:
    """The weights of an imported model, and the bind pose that its scene has."""

    def __init__(self, check, scene, model):
        binds, rest = {}, []
        for own in scene.surfaces:
            joints, inverse = scene.skins[own.skin]
            for joint, matrix in zip(joints, inverse):
                bind = np.linalg.inv(gltf.scene_matrix(matrix))
                known = binds.setdefault(scene.name(joint), bind)
                check.bound("one bind pose for all skins", abs(known - bind), 1e-4, 1, tell=False)
            rest.append(gltf.scene_points(own.points))
        self.rest = np.vstack(rest)
        starts = np.r_[0, np.cumsum([len(points) for points in rest])]
        self.vertex, self.bone, self.weight, self.offset = (np.concatenate(x) for x in zip(
            *((s.vertex + start, s.bone, s.weight, s.offset)
              for start, s in zip(starts, model.surfaces))))
        binds = np.array([binds.get(n, np.eye(4)) for n in model.names])
        self.turns, self.places = binds[:, :3, :3].copy(), binds[:, :3, 3].copy()

    def placed(self, turns, places):
        return np.einsum("wij,wj->wi", turns[self.bone], self.offset) + places[self.bone]

    def apart(self):
        return self.placed(self.turns, self.places) - self.rest[self.vertex]


def fitted(x, y, weight):
    """The rotation and the move that take x closest to y."""
    share = (weight / weight.sum())[:, None]
    mean_x, mean_y = (share * x).sum(0), (share * y).sum(0)
    u, _, v = np.linalg.svd((share * (y - mean_y)).T @ (x - mean_x))
    turn = u @ np.diag([1, 1, np.linalg.det(u @ v)]) @ v
    return turn, mean_y - turn @ mean_x


def check_loose(check, kind):
    """Whatever vertices leave open: they are blended as the file says, and each group of bones rests
    where the first frame has it, as well as one motion can take it there."""
    path, made, _ = check_import(check, kind, random_model(kind, loose=True), "loose")
    model = kind.read(path)
    bound = Bound(check, gltf.Scene(made), model)
    resting, posed = bound.placed(bound.turns, bound.places), bound.placed(*model.pose(0))
    for group in LOOSE:
        mine = np.isin(bound.bone, group)
        turn, move = fitted(resting[mine], posed[mine], bound.weight[mine])
        check.bound(f"turn and move of {group}", np.r_[angle(turn, np.eye(3)), abs(move)], 1e-3, 1,
                    tell=False)


def check_residual(check, kind):
    """Offsets that agree with no bind pose: what is told is so, and no better pose is near."""
    model = random_model(kind, noise=0.5)
    path, made, told = check_import(check, kind, model, "noise", fits=False)
    bound = Bound(check, gltf.Scene(made), kind.read(path))
    away = np.linalg.norm(bound.apart(), axis=1)
    told = [float(n) for n in re.findall(r"[0-9]+\.[0-9]+(?:e-?[0-9]+)?", told)]
    print(f"  residual: largest {away.max():.4g}, mean {away.mean():.4g}; told: {told}")
    for figure in (away.max(), away.mean()):
        check.expect(any(abs(n - figure) <= 0.01 * figure for n in told), "the residual is told")

    # Places and binds in turn, each the best for the other: never worse, and at the best already.
    vertex, weight, rest = bound.vertex, bound.weight, bound.rest
    first = (weight * away ** 2).sum()
    for _ in range(200):
        rest += np.stack([np.bincount(vertex, weights=w)
                          for w in (bound.apart() * weight[:, None]).T],
                         -1) / np.bincount(vertex, weights=weight)[:, None]
        for b in np.unique(bound.bone):
            mine = bound.bone == b
            bound.turns[b], bound.places[b] = fitted(bound.offset[mine], rest[vertex[mine]],
                                                     weight[mine])
    last = (weight * (bound.apart() ** 2).sum(1)).sum()
    print(f"  sum of squares {first:.6g}, and refined {last:.6g}")
    check.expect(last >= first * (1 - 1e-3), "a better bind pose is near")


def check_all(check, paths):
    for kind in map(Kind, ("mds", "pair")):
        for path in paths:
            if gltf.Scene(path).skins:
                check_export(check, kind, path, 40)
        for armature in scenes.RIGID:
            path = check.folder / f"{armature}.glb"
            scenes.build(path, armature)
            check_export(check, kind, path, 30)
        check_export(check, kind, paths[0], 40, cut=(23, 31), origin="tag_weapon")
        check_export(check, kind, check.folder / "plain.glb", 30, cut=(12, 20))
        plain = kind.path(check.folder, "as-it-is")
        told = check.run("export", check.folder / "plain.glb", "-o", plain, *kind.extra(plain),
                         "--no-helper-bones")
        check.expect("keep the distance" in told and "stand where" in told and
                     "helper" not in told, "what is lost without helpers is told")
        model = random_model(kind)
        path, made, _ = check_import(check, kind, model, "random")
        again = kind.path(check.folder, "again")  # the imported scene, exported
        check.run("export", made, "-o", again, *kind.extra(again), "--scale", 1)
        compare(check, kind.read(path), kind.read(again), f"{kind.name} again")
        if kind.one_file:
            check_conversions(check, path)
        check_import(check, kind, model, "scaled", scale=40, only=["die", "stand"])
        check_loose(check, kind)
        check_residual(check, kind)
        for front in "-z", "+x", "-x", "+z":
            check.face(front)
            check_export(check, kind, check.folder / "mirrored.glb", 30)
            check_import(check, kind, model, "facing", scale=40, only=["die"])


if __name__ == "__main__":
    harness.main(__doc__, check_all)
