"""A glTF 2.0 scene evaluated from its data alone: poses of clips, skinning, frames.

Column vectors, in the file's own axes and units, double precision throughout.
"""

import base64
import json
import math
import pathlib
import struct

import numpy as np

COMPONENTS = {5120: "i1", 5121: "u1", 5122: "<i2", 5123: "<u2", 5125: "<u4", 5126: "<f4"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}


class Surface:
    """A primitive at a node: what becomes one surface of a model."""

    def __init__(self, scene, node, primitive):
        attributes = primitive["attributes"]
        self.node, self.name = node, scene.name(node)
        self.skin = scene.nodes[node].get("skin")
        self.points = scene.array(attributes["POSITION"])
        self.normals = scene.array(attributes["NORMAL"])
        self.st = scene.array(attributes["TEXCOORD_0"]) if "TEXCOORD_0" in attributes else None
        indices = primitive.get("indices")
        flat = scene.array(indices) if indices is not None else np.arange(len(self.points))
        self.triangles = flat.astype(int).reshape(-1, 3)
        self.material = primitive.get("material")
        # Displacements of each morph target.
        self.targets = [(scene.array(target["POSITION"]),
                         scene.array(target["NORMAL"]) if "NORMAL" in target else None)
                        for target in primitive.get("targets", [])]
        sets = sum(name.startswith("JOINTS_") for name in attributes)
        if self.skin is not None and sets:
            joints = [scene.array(attributes[f"JOINTS_{i}"]) for i in range(sets)]
            self.joints = np.hstack(joints).astype(int)
            self.weights = np.hstack([scene.array(attributes[f"WEIGHTS_{i}"])
                                      for i in range(sets)])


class Scene:
    def __init__(self, path):
        path = pathlib.Path(path)
        data, binary = path.read_bytes(), None
        if data[:4] == b"glTF":
            length = struct.unpack_from("<I", data, 12)[0]
            binary = data[28 + length:]
            data = data[20:20 + length]
        self.json = json.loads(data)
        self.buffers = [binary if "uri" not in b else
                        base64.b64decode(b["uri"].split(",")[1]) if b["uri"].startswith("data:")
                        else (path.parent / b["uri"]).read_bytes()
                        for b in self.json.get("buffers", [])]
        self.nodes = self.json["nodes"]
        self.parents = [None] * len(self.nodes)
        for i, node in enumerate(self.nodes):
            for child in node.get("children", []):
                self.parents[child] = i
        self.order = self._parents_first()
        self.clips = self.json.get("animations", [])
        self.tracks = [self._tracks(clip) for clip in self.clips]
        self.skins = [(skin["joints"], self._bind(skin)) for skin in self.json.get("skins", [])]
        self.surfaces = [Surface(self, node, primitive) for node in self.order
                         if "mesh" in self.nodes[node]
                         for primitive in self.json["meshes"][self.nodes[node]["mesh"]]["primitives"]]

    def _parents_first(self):
        """Nodes of the scene in file order, but a parent behind its child directly before it."""
        order, seen = [], set()

        def add(i):
            if i is not None and i not in seen:
                add(self.parents[i])
                seen.add(i)
                order.append(i)

        for i in range(len(self.nodes)):
            add(i)
        return order

    def name(self, node):
        return self.nodes[node].get("name", "")

    def named(self, name):
        return next(i for i in self.order if self.name(i) == name)

    def place(self, name, frame, scale):
        """Of a node in a frame, in the scene's axes; zero without a name."""
        if name is None:
            return np.zeros(3)
        return scene_matrix(self.world(*frame)[self.named(name)], scale)[:3, 3]

    def array(self, index):
        accessor = self.json["accessors"][index]
        kind = np.dtype(COMPONENTS[accessor["componentType"]])
        width, count = WIDTHS[accessor["type"]], accessor["count"]
        values = (self._elements(accessor, kind, count, width) if "bufferView" in accessor
                  else np.zeros((count, width)))
        if "sparse" in accessor:
            sparse = accessor["sparse"]
            places = self._elements(sparse["indices"], np.dtype(
                COMPONENTS[sparse["indices"]["componentType"]]), sparse["count"], 1)[:, 0]
            values[places.astype(int)] = self._elements(sparse["values"], kind, sparse["count"],
                                                        width)
        if accessor.get("normalized"):
            values = np.maximum(values / np.iinfo(kind).max, -1)
        return values[:, 0] if width == 1 else values

    def _elements(self, place, kind, count, width):
        view = self.json["bufferViews"][place["bufferView"]]
        start = view.get("byteOffset", 0) + place.get("byteOffset", 0)
        stride = view.get("byteStride", width * kind.itemsize)
        return np.ndarray((count, width), kind, self.buffers[view["buffer"]], start,
                          (stride, kind.itemsize)).astype(float)

    def _bind(self, skin):
        if "inverseBindMatrices" not in skin:
            return np.tile(np.eye(4), (len(skin["joints"]), 1, 1))
        return self.array(skin["inverseBindMatrices"]).reshape(-1, 4, 4).transpose(0, 2, 1)

    def _tracks(self, clip):
        tracks = {}
        for channel in clip["channels"]:
            sampler = clip["samplers"][channel["sampler"]]
            times, values = self.array(sampler["input"]), self.array(sampler["output"])
            how = sampler.get("interpolation", "LINEAR")
            if how == "CUBICSPLINE":
                values = values.reshape(len(times), 3, -1)
            elif channel["target"]["path"] == "weights":
                values = values.reshape(len(times), -1)
            tracks[channel["target"].get("node"), channel["target"]["path"]] = times, values, how
        return tracks

    def duration(self, clip):
        return max((times[-1] for times, _, _ in self.tracks[clip].values()), default=0.0)

    def frames(self, rate):
        """(clip, time) of every frame: the clips one behind the other; at rest without any."""
        return [(clip, time) for clip in range(len(self.clips))
                for time in frame_times(self.duration(clip), rate)] or [(None, 0.0)]

    def world(self, clip, time):
        """World matrices of all nodes, in the order of the file."""
        tracks = {} if clip is None else self.tracks[clip]
        result = np.empty((len(self.nodes), 4, 4))
        for i in self.order:
            node = self.nodes[i]
            if "matrix" in node:
                local = np.array(node["matrix"], float).reshape(4, 4).T
            else:
                parts = {"translation": (0, 0, 0), "rotation": (0, 0, 0, 1), "scale": (1, 1, 1)}
                for path in parts:
                    parts[path] = np.array(node.get(path, parts[path]), float)
                    if (i, path) in tracks:
                        parts[path] = sample(*tracks[i, path], time, path == "rotation")
                local = np.eye(4)
                local[:3, :3] = rotation(parts["rotation"]) * parts["scale"]
                local[:3, 3] = parts["translation"]
            parent = self.parents[i]
            result[i] = local if parent is None else result[parent] @ local
        return result

    def shape(self, surface, clip, time):
        """Points and normals of a surface with its morph targets, before its node or joints."""
        node = self.nodes[surface.node]
        mesh = self.json["meshes"][node["mesh"]]
        weights = node.get("weights", mesh.get("weights", [0] * len(surface.targets)))
        if clip is not None and (surface.node, "weights") in self.tracks[clip]:
            weights = sample(*self.tracks[clip][surface.node, "weights"], time, False)
        points, normals = surface.points.copy(), surface.normals.copy()
        for weight, (moved, turned) in zip(weights, surface.targets):
            points += weight * moved
            if turned is not None:
                normals += weight * turned
        return points, normals

    def triangles(self, surface):
        """As the games order them, clockwise seen from the front: a file's run the other way, but
        under a mirror a rigid part is seen from its other side."""
        mirrored = surface.skin is None and np.linalg.det(self.world(None, 0)[surface.node]) < 0
        return surface.triangles if mirrored else surface.triangles[:, [0, 2, 1]]

    def vertices(self, surface, world, points=None):
        """Linear blend skinning, or the node's own matrix for a rigid part; of other points than
        those at rest where they are given."""
        points = surface.points if points is None else points
        points = np.column_stack([points, np.ones(len(points))])
        if surface.skin is None:
            return (points @ world[surface.node].T)[:, :3]
        joints, bind = self.skins[surface.skin]
        matrices = world[joints] @ bind
        result = np.zeros((len(points), 3))
        for joint, weight in zip(surface.joints.T, surface.weights.T):
            result += weight[:, None] * np.einsum("vij,vj->vi", matrices[joint], points)[:, :3]
        return result

    def normals(self, surface, world, blend=True, own=None):
        """Of length 1: turned by the inverse transposed of what moves the vertex, blended, or of
        its first weight's joint alone; of other normals than those at rest where they are given."""
        own = surface.normals if own is None else own
        if surface.skin is None:
            matrices = world[[surface.node]]
            joints, weights = np.zeros((len(surface.points), 1), int), np.ones(
                (len(surface.points), 1))
        else:
            used, bind = self.skins[surface.skin]
            matrices, joints, weights = world[used] @ bind, surface.joints, surface.weights
            if not blend:
                first = np.argmax(weights > 0, axis=1)[:, None]
                joints = np.take_along_axis(joints, first, 1)
                weights = np.ones(joints.shape)
        turns = np.linalg.inv(matrices[:, :3, :3]).transpose(0, 2, 1)
        result = np.zeros(surface.points.shape)
        for joint, weight in zip(joints.T, weights.T):
            parts = np.einsum("vij,vj->vi", turns[joint], own)
            result += weight[:, None] * parts / np.linalg.norm(parts, axis=1)[:, None]
        return result / np.linalg.norm(result, axis=1)[:, None]


def frame_times(duration, rate):
    steps = duration * rate
    count = round(steps) if abs(steps - round(steps)) <= 1e-4 else math.ceil(steps)
    return [min(k / rate, duration) for k in range(count + 1)]


def sample(times, values, how, time, turning):
    if how == "STEP":
        time += 1e-6  # a frame's own time, which single precision may have moved up
    time = min(max(time, times[0]), times[-1])
    k = min(max(int(np.searchsorted(times, time, "right")) - 1, 0), max(len(times) - 2, 0))
    last = len(times) == 1 or time >= times[-1]
    if how == "CUBICSPLINE":
        if last:
            result = values[-1, 1]
        else:
            step = times[k + 1] - times[k]
            s = (time - times[k]) / step
            result = ((2 * s ** 3 - 3 * s ** 2 + 1) * values[k, 1] +
                      step * (s ** 3 - 2 * s ** 2 + s) * values[k, 2] +
                      (3 * s ** 2 - 2 * s ** 3) * values[k + 1, 1] +
                      step * (s ** 3 - s ** 2) * values[k + 1, 0])
        return result / np.linalg.norm(result) if turning else result
    if last or how == "STEP":
        return values[-1] if last else values[k]
    share = (time - times[k]) / (times[k + 1] - times[k])
    a, b = values[k], values[k + 1]
    if not turning:
        return a + (b - a) * share
    a, b = a / np.linalg.norm(a), b / np.linalg.norm(b)
    dot = a @ b
    if dot < 0:
        b, dot = -b, -dot
    if dot > 1 - 1e-12:
        return b
    angle = math.acos(dot)
    return (math.sin((1 - share) * angle) * a + math.sin(share * angle) * b) / math.sin(angle)


def rotation(quaternion):
    x, y, z, w = quaternion / np.linalg.norm(quaternion)
    return np.array([[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
                     [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
                     [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]])


def axes_of(front):
    """Rows of the games' axes, front, left and up, in the file's, whose up is +Y."""
    front = np.roll([1.0 if front[0] == "+" else -1.0, 0, 0], "xyz".index(front[1]))
    return np.array([front, np.cross([0, 1, 0], front), [0, 1, 0]])


AXES = axes_of("+z")


def scene_points(points, scale=1.0):
    return points @ AXES.T * scale


def scene_matrix(matrix, scale=1.0):
    """A matrix of the file's space as one of the scene's: column vectors still."""
    turned = np.eye(4)
    turned[:3, :3] = AXES @ matrix[:3, :3] @ AXES.T
    turned[:3, 3] = AXES @ matrix[:3, 3] * scale
    return turned
