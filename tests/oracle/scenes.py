"""Scenes that are hard on a reader, made small: see `build`."""

import pathlib
import sys

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "examples"))
import make_sample  # noqa: E402

import gltf  # noqa: E402

# What stands above the joints: scale and a rotation.
TILT = np.array([0.2, 0.4, -0.1, 0.9]) / np.linalg.norm([0.2, 0.4, -0.1, 0.9])
ARMATURES = {
    "plain": ((1, 1, 1), (0, 0, 0, 1)),
    "scaled": ((100, 100, 100), TILT),
    "mirrored": ((-1.5, 1.5, 1.5), TILT),
    "still": ((0.5, 0.3, 0.8), TILT),  # without clips
    "squashed": ((1, 0.6, 1.4), (0, 0, 0, 1)),  # no skeleton of rigid bones can follow it
}
RIGID = [kind for kind in ARMATURES if kind != "squashed"]


class Scene(make_sample.Document):
    def __init__(self):
        super().__init__()
        self.nodes, self.meshes, self.skins, self.animations = [], [], [], []

    def node(self, name, parent=None, **parts):
        parts = {k: v.tolist() if isinstance(v, np.ndarray) else v for k, v in parts.items()}
        self.nodes.append({"name": name} | parts)
        if parent is not None:
            self.nodes[parent].setdefault("children", []).append(len(self.nodes) - 1)
        return len(self.nodes) - 1

    def clip(self, name, *channels):
        """Channels: node, path, times, values, interpolation."""
        animation = {"name": name, "samplers": [], "channels": []}
        for node, path, times, values, how in channels:
            kind = {"rotation": "VEC4", "weights": "SCALAR"}.get(path, "VEC3")
            animation["channels"].append({"sampler": len(animation["samplers"]),
                                          "target": {"node": node, "path": path}})
            animation["samplers"].append({
                "input": self.array(times, "SCALAR", limits=True),
                "output": self.array(values, kind), "interpolation": how})
        self.animations.append(animation)

    def write(self, path):
        below = {c for n in self.nodes for c in n.get("children", [])}
        head = {"asset": {"version": "2.0"}, "scene": 0,
                "scenes": [{"nodes": [i for i in range(len(self.nodes)) if i not in below]}],
                "nodes": self.nodes, "meshes": self.meshes, "skins": self.skins,
                "materials": [{"name": "red", "extras": {"game_path": "models/test/Red.tga"}},
                              {"name": "blue", "pbrMetallicRoughness": {
                                  "baseColorFactor": [0, 0, 1, 1]}}],
                "buffers": [{"byteLength": len(self.data)}], "bufferViews": self.views,
                "accessors": self.accessors}
        if self.animations:
            head["animations"] = self.animations
        make_sample.write(path, head, bytes(self.data))


def turned(random, spread=1.0):
    q = np.append(random.normal(size=3) * spread, 1)
    return q / np.linalg.norm(q)


def blob(scene, random, joints=0, sets=1, size=1.0):
    """A primitive of loose triangles, none of them flat, with weights on `joints` joints."""
    points = random.uniform(-size, size, (45, 3))
    normals = points / np.linalg.norm(points, axis=1, keepdims=True)
    more = {}
    if joints:
        weights = random.uniform(0.05, 1, (45, 4 * sets))
        weights[random.uniform(size=weights.shape) < 0.4] = 0
        weights[:, 0] += 0.1
        picked = np.array([np.resize(random.permutation(joints), 4 * sets) for _ in points])
        weights[:, joints:] = 0
        weights /= weights.sum(1, keepdims=True)
        picked[weights == 0] = 0
        for i in range(sets):
            part = slice(4 * i, 4 * i + 4)
            more[f"JOINTS_{i}"] = scene.array(picked[:, part], "VEC4", make_sample.BYTE)
            more[f"WEIGHTS_{i}"] = scene.array(weights[:, part], "VEC4")
    return scene.mesh("blob", points, normals, random.uniform(0, 1, (45, 2)),
                      np.arange(45).reshape(15, 3), more)


def build(path, kind):
    """Joints under a turned and scaled node, one of them under a plain empty that moves; bones
    straight up, straight down and of no length, one that comes near its parent, passes it and goes
    away again; a top joint of its own; rigid parts and tags on joints; two skins with
    bind poses of their own, one of two primitives, one with up to seven weights a vertex; a rigid
    part of no joint that moves, and turns its axes into each other, so that its box is still the
    box of its vertices; clips of all interpolations, one ending between frames."""
    random = np.random.default_rng(7)
    s = Scene()
    scale, rotation = ARMATURES[kind]
    armature = s.node("Armature", scale=scale, rotation=rotation, translation=[0.3, 0.1, -0.2])
    size = 1 / scale[1]
    root = s.node("Bip01", armature, translation=[0, size, 0])
    spine = s.node("Bip01 Spine", root, translation=[0, 0.6 * size, 0])
    tail = s.node("tail", root, translation=[0, -0.4 * size, 0], rotation=turned(random))
    twist = s.node("twist", spine, translation=[0, 0, 0], rotation=turned(random))
    pivot = s.node("pivot", spine, translation=[0.2 * size, 0.3 * size, 0],
                   rotation=turned(random))
    arm = s.node("arm", pivot, translation=[0.3 * size, 0, 0.1 * size], rotation=turned(random))
    hand = s.node("hand", arm, translation=[0, 0, 0.5 * size], rotation=turned(random))
    s.node("box", hand, mesh=0, translation=[0, 0.1 * size, 0], rotation=turned(random),
           scale=[size, size, 2 * size])
    s.node("tag_hand", hand, translation=[0.1 * size, 0, 0.2 * size], rotation=turned(random))
    drone = s.node("drone", translation=[1, 1.5, 0], rotation=turned(random))
    top = s.node("TAG_Top", translation=[0, 2, 0], rotation=turned(random))
    rock = s.node("rock", mesh=1, translation=[1, 0, 1], scale=[1, 2, 1])
    s.node("body", mesh=2, skin=0)
    s.node("cloak", mesh=3, skin=1, translation=[5, 5, 5])

    s.meshes = [blob(s, random, size=0.2), blob(s, random, size=0.3),
                blob(s, random, joints=6), blob(s, random, joints=8, sets=2)]
    second = blob(s, random, joints=6)["primitives"][0] | {"material": 1}
    s.meshes[2]["primitives"].append(second)
    joints = [[root, spine, tail, twist, arm, hand], [hand, arm, pivot, spine, root, tail, twist, drone]]
    for used in joints:
        binds = []
        for _ in used:  # any rigid placement of the joint, made the size of the armature
            bind = np.eye(4)
            bind[:3, :3] = gltf.rotation(turned(random)) / np.array(scale)
            bind[:3, 3] = random.uniform(-0.4, 0.4, 3) * size
            binds.append(bind.T.ravel())
        s.skins.append({"joints": used, "inverseBindMatrices": s.array(binds, "MAT4")})

    if kind != "still":
        upright = [make_sample.turn("y", a) for a in (0, 70, 200, 290, 360)]
        s.clip("look around",
               (root, "rotation", [0, 0.3, 0.6, 0.9, 1.2], upright, "LINEAR"),
               (root, "translation", [0, 0.55, 1.1],
                [np.array([x, 1, 0]) * size for x in (0, 0.3, 0)], "LINEAR"),
               (arm, "rotation", [0, 0.42, 1], [turned(random) for _ in range(3)], "STEP"),
               (top, "translation", [0, 1.13], [[0, 2, 0], [1, 1, 1]], "LINEAR"),
               (hand, "translation", [0, 0.4, 0.6, 1],
                [np.array(p) * size for p in ((0, 0, 0.5), (0.4, 0, 1), (0, 0, -1), (0, 0, 0))],
                "LINEAR"),
               (drone, "translation", [0, 0.7], [[1, 1.5, 0], [-1, 1, 1]], "LINEAR"),
               (rock, "scale", [0, 1], [[1, 2, 1], [1, 2, 1]], "LINEAR"))
        tangents = random.normal(size=(3, 3, 4)) * 0.5
        tangents[:, 1] = [turned(random) for _ in range(3)]
        s.clip("turn",
               (pivot, "rotation", [0, 0.5, 0.83], tangents.reshape(9, 4), "CUBICSPLINE"),
               (hand, "rotation", [0.1, 0.7], [turned(random), turned(random)], "LINEAR"),
               (root, "rotation", [0.2, 0.8], [turned(random), turned(random)], "LINEAR"),
               (tail, "rotation", [0.3], [turned(random)], "LINEAR"),
               (rock, "rotation", [0, 0.63], [(0, 0, 0, 1), (0.5, 0.5, 0.5, 0.5)], "STEP"),
               (rock, "translation", [0, 0.8], [[1, 0, 1], [-2, 3, 1]], "LINEAR"))
    s.write(path)


def morphed(scene, random, shown, count):
    """Gives each primitive of a mesh `count` morph targets with normals, the second sparse over
    nothing, the third over others."""
    for primitive in shown["primitives"]:
        size = scene.accessors[primitive["attributes"]["POSITION"]]["count"]
        primitive["targets"] = []
        for number in range(count):
            moved = random.normal(size=(size, 3)) * 0.1
            position = scene.array(moved, "VEC3")
            if number:
                places = np.sort(random.permutation(size)[:7])
                scene.accessors[position]["sparse"] = {
                    "count": 7,
                    "indices": {"componentType": make_sample.BYTE, "bufferView": scene.view(
                        places.astype("u1").tobytes())},
                    "values": {"bufferView": scene.view(moved[:7].astype("<f4").tobytes())}}
            if number == 1:
                del scene.accessors[position]["bufferView"]
            primitive["targets"].append({"POSITION": position, "NORMAL": scene.array(
                random.normal(size=(size, 3)) * 0.3, "VEC3")})
    return shown


def build_shapes(path):
    """What changes a mesh's points and is no pose: weights of morph targets, by clips of all
    interpolations, by default, by the node; on a part of no joint, on a skin of two primitives, on
    a part that hangs from a joint. Scale that changes: of a part's own node, above a part, of a
    joint of the skin, above a part that hangs from a joint, above a tag; from nothing, too."""
    random = np.random.default_rng(11)
    s = Scene()
    # Axes that turn into each other, so that boxes are still the boxes of the vertices.
    above = s.node("above", translation=[0.2, 0, 0.4], rotation=[0.5, 0.5, 0.5, 0.5])
    s.node("flag", above, mesh=0, translation=[0.3, 0.5, 0], rotation=[0.5, -0.5, 0.5, 0.5])
    s.node("pennant", above, mesh=1, weights=[0.5, -0.25, 1], scale=[1, 2, 0.5])
    root = s.node("Bip01", translation=[0, 1, 0])
    arm = s.node("arm", root, translation=[0, 0.4, 0], rotation=turned(random))
    hand = s.node("hand", arm, translation=[0.2, 0.1, 0], rotation=turned(random))
    holder = s.node("holder", hand, translation=[0, 0.2, 0], scale=[2, 2, 2])
    s.node("sword", holder, mesh=3, rotation=turned(random))
    s.node("tag_hand", hand, translation=[0.1, 0, 0.1], rotation=turned(random))
    s.node("coat", mesh=2, skin=0)
    s.node("bud", mesh=4, translation=[1, 0, 0])
    s.meshes = [morphed(s, random, blob(s, random, size=0.4), 3),
                morphed(s, random, blob(s, random, size=0.3), 3),
                blob(s, random, joints=3), blob(s, random, size=0.2), blob(s, random, size=0.2)]
    s.meshes[2]["primitives"].append(blob(s, random, joints=3)["primitives"][0] | {"material": 1})
    morphed(s, random, s.meshes[2], 2)
    s.meshes[0]["weights"] = [0, 0.75, 0]
    s.skins.append({"joints": [root, arm, hand], "inverseBindMatrices": s.array(
        [np.eye(4).ravel()] * 3, "MAT4")})
    flag, coat = 1, 9
    s.clip("wave",
           (flag, "weights", [0, 0.4, 0.9], random.normal(size=(3, 3, 3)).ravel(), "CUBICSPLINE"),
           (coat, "weights", [0, 0.33, 0.8], [0, 1, 1, 0, -0.5, 0.25], "LINEAR"),
           (above, "scale", [0, 0.8], [[1, 1, 1], [0.5, 3, 1.5]], "LINEAR"),
           (arm, "scale", [0, 0.5], [[1, 1, 1], [2, 2, 2]], "LINEAR"),
           (arm, "rotation", [0, 0.7], [turned(random), turned(random)], "LINEAR"))
    s.clip("step",
           (coat, "weights", [0, 0.22, 0.5], [1, 0, 0, 0, 0.5, 1], "STEP"),
           (hand, "scale", [0, 0.5], [[1, 1, 1], [0.25, 0.25, 0.25]], "LINEAR"),
           (len(s.nodes) - 1, "scale", [0, 0.5], [[1e-3, 1e-3, 1e-3], [3, 2, 1]], "LINEAR"))
    s.write(path)
