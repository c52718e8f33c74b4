#!/usr/bin/env python3
"""Builds sample.glb from nothing: a small rigged figure with named clips, a sword and two tags.

The body is the smooth union of rounded cones, meshed on a grid by surface nets, so that one skin
without seams runs over every joint. Metres, Y up, facing +Z. The nodes rest in the T pose in which
the skin is bound; no clip starts there.

    python3 examples/make_sample.py [OUTPUT]
"""

import json
import pathlib
import struct
import sys
import zlib

import numpy as np

FLOAT, BYTE, SHORT = 5126, 5121, 5123
TEXTURE = 256  # pixels of a view; the image holds the front view and the back view side by side

# ---------------------------------------------------------------------------------------- skeleton

# name, parent, position in the T pose, direction of the bone. L is the figure's left: +X.
CENTRE = [
    ("Bip01", None, (0, 0.96, 0), (0, 1, 0)),
    ("Bip01 Pelvis", "Bip01", (0, 0.96, 0), (0, 1, 0)),
    ("Bip01 Spine", "Bip01 Pelvis", (0, 1.06, -0.005), (0, 1, 0)),
    ("Bip01 Spine1", "Bip01 Spine", (0, 1.18, 0), (0, 1, 0)),
    ("Bip01 Spine2", "Bip01 Spine1", (0, 1.31, -0.005), (0, 1, 0)),
    ("Bip01 Neck", "Bip01 Spine2", (0, 1.47, -0.01), (0, 1, 0.1)),
    ("Bip01 Head", "Bip01 Neck", (0, 1.56, 0), (0, 1, 0)),
]
SIDE = [
    ("Clavicle", "Bip01 Spine2", (0.03, 1.43, 0), (1, 0, 0)),
    ("UpperArm", "Clavicle", (0.18, 1.42, -0.01), (1, 0, 0)),
    ("Forearm", "UpperArm", (0.45, 1.42, -0.02), (1, 0, 0.05)),
    ("Hand", "Forearm", (0.69, 1.42, 0), (1, 0, 0)),
    ("Thigh", "Bip01 Pelvis", (0.095, 0.92, 0), (0, -1, 0)),
    ("Calf", "Thigh", (0.105, 0.50, 0.015), (0, -1, -0.03)),
    ("Foot", "Calf", (0.11, 0.09, -0.02), (0, -0.3, 1)),
    ("Toe0", "Foot", (0.115, 0.03, 0.09), (0, 0, 1)),
]


def skeleton():
    """Joints, parents first, as (name, index of the parent, position, world rotation)."""
    joints = [(n, p, np.array(at, float), np.array(d, float)) for n, p, at, d in CENTRE]
    for side, sign in (("L", 1), ("R", -1)):
        mirror = np.array([sign, 1, 1])
        for name, parent, at, along in SIDE:
            if not parent.startswith("Bip01"):
                parent = f"Bip01 {side} {parent}"
            joints.append((f"Bip01 {side} {name}", parent, at * mirror, along * mirror))
    number = {joint[0]: i for i, joint in enumerate(joints)}
    return [(n, number.get(p), at, bone_axes(along)) for n, p, at, along in joints]


def bone_axes(along):
    """A rotation whose X axis lies along the bone; Z is as near the figure's front as can be."""
    x = along / np.linalg.norm(along)
    front = np.array([0, 0, 1.0]) if abs(x[2]) < 0.9 else np.array([0, 1.0, 0])
    y = np.cross(front, x)
    y /= np.linalg.norm(y)
    return np.column_stack([x, y, np.cross(x, y)])


# -------------------------------------------------------------------------------------------- body

# from, to, radius at each end; mirrored to the other side where `sided`
FLESH = [
    ((0, 1.66, 0.005), (0, 1.70, 0.0), 0.105, 0.112, False),  # skull
    ((0, 1.60, 0.045), (0, 1.585, 0.06), 0.06, 0.05, False),  # jaw
    ((0, 1.655, 0.115), (0, 1.635, 0.125), 0.016, 0.02, False),  # nose
    ((0, 1.40, -0.01), (0, 1.58, 0), 0.062, 0.055, False),  # neck
    ((0.0, 1.36, 0), (0.13, 1.40, -0.01), 0.115, 0.07, True),  # chest and shoulder
    ((0.05, 1.30, 0.03), (0.05, 1.12, 0.015), 0.105, 0.09, True),  # ribs and belly
    ((0.06, 0.97, 0), (0.06, 1.10, 0), 0.105, 0.085, True),  # hips
    ((0.16, 1.41, -0.01), (0.45, 1.42, -0.02), 0.064, 0.047, True),  # upper arm
    ((0.45, 1.42, -0.02), (0.69, 1.42, 0), 0.05, 0.034, True),  # forearm
    ((0.70, 1.42, 0), (0.80, 1.415, 0.005), 0.045, 0.034, True),  # hand
    ((0.71, 1.41, 0.03), (0.75, 1.405, 0.075), 0.022, 0.018, True),  # thumb
    ((0.10, 0.90, 0), (0.105, 0.50, 0.015), 0.092, 0.058, True),  # thigh
    ((0.105, 0.50, 0.01), (0.11, 0.10, -0.02), 0.062, 0.045, True),  # calf
    ((0.11, 0.065, -0.03), (0.115, 0.045, 0.10), 0.058, 0.044, True),  # foot
    ((0.115, 0.045, 0.09), (0.115, 0.042, 0.15), 0.046, 0.038, True),  # toes
]


def segment(points, start, end):
    """Distance of points to a segment, and how far along it the nearest place is, 0 to 1."""
    start, end = np.asarray(start, float), np.asarray(end, float)
    line = end - start
    along = np.clip((points - start) @ line / (line @ line), 0, 1)
    return np.linalg.norm(points - start - along[..., None] * line, axis=-1), along


def distance(points):
    """Signed distance to the body, negative inside."""
    result = np.full(points.shape[:-1], 9.0)
    blend = 0.035
    for start, end, r0, r1, sided in FLESH:
        where = points * [1, 1, 1]
        if sided:
            where[..., 0] = np.abs(where[..., 0])
        away, along = segment(where, start, end)
        away -= r0 + (r1 - r0) * along
        near = np.clip(0.5 + 0.5 * (result - away) / blend, 0, 1)
        result = result + (away - result) * near - blend * near * (1 - near)
    return result


def surface(cell=0.031):
    """The body as vertices and triangles: one vertex in each cell that the surface crosses."""
    low, high = np.array([-0.95, -0.06, -0.28]), np.array([0.95, 1.94, 0.28])
    size = np.ceil((high - low) / cell).astype(int)
    size[0] += size[0] % 2  # a plane of the grid lies on the middle: both sides come out alike
    low[0] = -cell * size[0] / 2
    grid = np.stack(np.meshgrid(*[low[a] + cell * np.arange(size[a] + 1) for a in range(3)],
                                indexing="ij"), -1)
    value = distance(grid)
    total, count = np.zeros((*size, 3)), np.zeros(size)
    for axis in range(3):
        ahead = np.roll(value, -1, axis)
        crossed = (value < 0) != (ahead < 0)
        share = np.where(crossed, value / np.where(crossed, value - ahead, 1), 0)
        place = grid.copy()
        place[..., axis] += share * cell
        u, v = (axis + 1) % 3, (axis + 2) % 3
        for du in (0, 1):
            for dv in (0, 1):
                pick = [slice(0, n) for n in size]
                pick[u] = slice(du, du + size[u])
                pick[v] = slice(dv, dv + size[v])
                pick = tuple(pick)
                total += np.where(crossed[pick][..., None], place[pick], 0)
                count += crossed[pick]
    number = np.full(size, -1)
    number[count > 0] = np.arange(np.count_nonzero(count))
    points = (total / np.maximum(count, 1)[..., None])[count > 0]
    for _ in range(3):
        points = points - distance(points)[:, None] * gradient(points)

    triangles = []
    for axis in range(3):
        u, v = (axis + 1) % 3, (axis + 2) % 3
        inside, ahead = value < 0, np.roll(value, -1, axis) < 0
        for at in np.argwhere(inside != ahead):
            if at[u] == 0 or at[v] == 0 or at[axis] == size[axis]:
                continue
            back_u, back_v = np.eye(3, dtype=int)[u], np.eye(3, dtype=int)[v]
            quad = [number[tuple(at - s * back_u - t * back_v)]
                    for s, t in ((1, 1), (0, 1), (0, 0), (1, 0))]
            if not inside[tuple(at)]:
                quad.reverse()
            a, b, c, d = points[quad]
            if np.linalg.norm(a - c) > np.linalg.norm(b - d) + 1e-9:
                quad = quad[1:] + quad[:1]
            triangles += [quad[:3], [quad[0], quad[2], quad[3]]]
    return points, np.array(triangles)


def gradient(points):
    step = 1e-3
    normals = np.stack([distance(points + e) - distance(points - e) for e in np.eye(3) * step], -1)
    return normals / np.linalg.norm(normals, axis=-1, keepdims=True)


def skin_weights(points, triangles, joints):
    """Up to four joints and weights a vertex: near bones first, then smoothed over the mesh."""
    count = len(joints)
    children = [[j for j in range(count) if joints[j][1] == i] for i in range(count)]
    away = np.full((len(points), count), 9.0)
    for i, (name, _, at, axes) in enumerate(joints):
        if name == "Bip01":
            continue  # moves the whole figure, holds no flesh of its own
        ends = [joints[c][2] for c in children[i] if np.linalg.norm(joints[c][2] - at) > 0.01]
        if not ends or name.endswith(("Head", "Hand", "Toe0")):
            ends = [at + axes[:, 0] * 0.09]
        for end in ends:
            away[:, i] = np.minimum(away[:, i], segment(points, at, end)[0])
    nearest = away.argmin(1)
    kin = np.eye(count, dtype=bool)
    for i, joint in enumerate(joints):
        if joint[1] is not None:
            kin[i, joint[1]] = kin[joint[1], i] = True
    weights = np.where(kin[nearest], 1 / np.maximum(away, 0.01) ** 4, 0)
    weights[:, 0] = 0
    weights /= weights.sum(1, keepdims=True)

    edges = np.unique(np.sort(triangles[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2), 1), axis=0)
    degree = np.bincount(edges.ravel(), minlength=len(points))[:, None]
    for _ in range(3):
        around = np.zeros_like(weights)
        np.add.at(around, edges[:, 0], weights[edges[:, 1]])
        np.add.at(around, edges[:, 1], weights[edges[:, 0]])
        weights = 0.4 * weights + 0.6 * around / degree
    chosen = np.argsort(-weights, axis=1, kind="stable")[:, :4]
    share = np.take_along_axis(weights, chosen, 1)
    share[share < 0.02] = 0
    share = (share / share.sum(1, keepdims=True)).astype(np.float32)
    share[:, 0] += 1 - share.sum(1)
    return np.where(share > 0, chosen, 0).astype(np.uint8), share


def view_coordinates(points, back):
    """Where a point of the body lies in the image: front view left, back view right."""
    u = (points[:, 0] / 1.9 + 0.5) * 0.5
    return np.column_stack([np.where(back, 1 - u, u), 1 - (points[:, 1] + 0.03) / 1.9])


def split_by_view(points, triangles, *more):
    """Doubles the vertices that triangles of both views share."""
    a, b, c = (points[triangles[:, i]] for i in range(3))
    back = np.cross(b - a, c - a)[:, 2] < 0
    key = triangles * 2 + back[:, None]
    used, triangles = np.unique(key, return_inverse=True)
    source = used // 2
    back = used % 2 == 1
    return (points[source], triangles.reshape(-1, 3), view_coordinates(points[source], back),
            *[m[source] for m in more])


# ------------------------------------------------------------------------------------------- image

def paint():
    """The figure's clothes, front and back, and a strip of steel and leather for the sword."""
    image = np.zeros((TEXTURE, 2 * TEXTURE, 3))
    row, column = np.mgrid[0:TEXTURE, 0:TEXTURE] + 0.5
    for back in (False, True):
        x = (column / TEXTURE - 0.5) * 1.9 * (-1 if back else 1)
        y = (1 - row / TEXTURE) * 1.9 - 0.03
        reach = np.abs(x)
        view = np.empty((TEXTURE, TEXTURE, 3))
        view[:] = (58, 92, 66)  # tunic
        weave = ((column.astype(int) + row.astype(int)) % 4 == 0) & (y > 0.86)
        view[weave] = (64, 100, 72)
        view[(y > 1.2) & (reach < 0.012 + (y - 1.2) * 0.08) & (not back)] = (206, 190, 150)
        view[(reach > 0.58)] = (110, 78, 48)  # gloves
        view[(reach > 0.55) & (reach < 0.58)] = (70, 48, 30)
        view[(y < 1.03) & (y > 0.97)] = (70, 48, 30)  # belt
        view[(y < 1.025) & (y > 0.975) & (reach < 0.03) & (not back)] = (212, 176, 84)
        view[y < 0.86] = (92, 84, 78)  # trousers
        view[(y < 0.86) & (reach < 0.008)] = (74, 66, 60)
        view[y < 0.36] = (84, 58, 36)  # boots
        view[(y < 0.36) & (y > 0.33)] = (112, 80, 50)
        view[y < 0.02] = (40, 30, 24)
        head = (y > 1.475) & (reach < 0.3)
        view[head] = (226, 178, 146)
        hair = head & (y > (1.62 if back else 1.735 - 0.25 * reach))
        view[hair | (head & (reach > 0.088) & (y > 1.64))] = (96, 56, 28)
        if not back:
            for eye in (-0.0408, 0.0408):
                across = (x - eye) / 0.02
                view[across ** 2 + ((y - 1.675) / 0.013) ** 2 < 1] = (245, 245, 240)
                view[((x - eye) / 0.009) ** 2 + ((y - 1.675) / 0.011) ** 2 < 1] = (46, 70, 90)
                view[(np.abs(across) < 1.2) & (np.abs(y - 1.702) < 0.006)] = (84, 48, 24)
            view[(reach < 0.03) & (np.abs(y - 1.592 - 2 * x * x) < 0.006)] = (170, 92, 84)
        image[:, TEXTURE * back:TEXTURE * (back + 1)] = view
    image[-16:, :32] = (196, 202, 210)  # steel
    image[-16:, 32:64] = (120, 84, 50)  # leather
    return image.astype(np.uint8)


STEEL, LEATHER = ((column / (2 * TEXTURE), 1 - 8 / TEXTURE) for column in (16, 48))


def png(image):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    rows = b"".join(b"\0" + line.tobytes() for line in image)
    head = struct.pack(">2I5B", image.shape[1], image.shape[0], 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(rows, 9)) +
            chunk(b"IEND", b""))


# ------------------------------------------------------------------------------------------- sword

def sword():
    """Boxes with flat faces, in the space of the hand: the blade runs along +Z."""
    boxes = [((-0.014, -0.014, -0.09), (0.014, 0.014, 0.08), LEATHER),
             ((-0.022, -0.022, -0.12), (0.022, 0.022, -0.09), STEEL),
             ((-0.018, -0.085, 0.08), (0.018, 0.085, 0.105), STEEL)]
    faces = []
    for low, high, where in boxes:
        low, high = np.array(low), np.array(high)
        for axis in range(3):
            for far in (0, 1):
                u, v = np.eye(3)[(axis + 1) % 3], np.eye(3)[(axis + 2) % 3]
                at = np.where(np.eye(3)[axis] == far, low, low)
                at = at + np.eye(3)[axis] * (high - low) * far
                size = high - low
                quad = [at, at + u * size, at + (u + v) * size, at + v * size]
                faces.append((quad if far else quad[::-1], where))
    ring = np.array([(0, -0.03), (0.007, 0), (0, 0.03), (-0.007, 0)])
    tip = np.array([0, 0, 0.78])
    for i in range(4):
        a, b = (np.append(ring[j % 4], 0.105) for j in (i, i + 1))
        c, d = a + [0, 0, 0.56], b + [0, 0, 0.56]
        faces += [([a, b, d, c], STEEL), ([c, d, tip], STEEL)]
    points, normals, where, triangles = [], [], [], []
    for corners, patch in faces:
        first = len(points)
        normal = np.cross(corners[1] - corners[0], corners[2] - corners[0])
        normal /= np.linalg.norm(normal)
        points += corners
        normals += [normal] * len(corners)
        where += [patch] * len(corners)
        triangles += [(first, first + i, first + i + 1) for i in range(1, len(corners) - 1)]
    return np.array(points), np.array(normals), np.array(where), np.array(triangles)


# ------------------------------------------------------------------------------------------- clips

def turn(axis, degrees):
    half = np.radians(degrees) / 2
    return np.append(np.array("xyz".index(axis) == np.arange(3)) * np.sin(half), np.cos(half))


def after(a, b):
    """The quaternion that applies b first, then a."""
    v = a[3] * b[:3] + b[3] * a[:3] + np.cross(a[:3], b[:3])
    return np.append(v, a[3] * b[3] - a[:3] @ b[:3])


def quaternion(rotation):
    """Of a rotation matrix with columns; from the largest of its four squared parts."""
    m = rotation
    k = np.array([[m[0, 0] - m[1, 1] - m[2, 2], m[1, 0] + m[0, 1], m[2, 0] + m[0, 2],
                   m[2, 1] - m[1, 2]],
                  [m[1, 0] + m[0, 1], m[1, 1] - m[0, 0] - m[2, 2], m[2, 1] + m[1, 2],
                   m[0, 2] - m[2, 0]],
                  [m[2, 0] + m[0, 2], m[2, 1] + m[1, 2], m[2, 2] - m[0, 0] - m[1, 1],
                   m[1, 0] - m[0, 1]],
                  [m[2, 1] - m[1, 2], m[0, 2] - m[2, 0], m[1, 0] - m[0, 1],
                   m[0, 0] + m[1, 1] + m[2, 2]]])
    found = np.linalg.eigh(k)[1][:, -1]
    return found if found[3] >= 0 else -found


def stance(phase, swing, arm, breath, lean=0.0):
    """Turns of the joints against the T pose, in the figure's own axes; phase in turns."""
    wave = np.sin(2 * np.pi * phase)
    turns = {
        "Bip01": [("y", 4 * swing * wave)],
        "Bip01 Spine": [("x", lean), ("y", -5 * swing * wave)],
        "Bip01 Spine1": [("x", -1.5 * breath), ("y", -4 * swing * wave)],
        "Bip01 Spine2": [("x", -2 * breath)],
        "Bip01 Neck": [("x", 1.5 * breath - lean / 2)],
        "Bip01 Head": [("x", 2 * breath), ("y", 5 * swing * wave)],
    }
    for side, sign in (("L", 1), ("R", -1)):
        leg = np.sin(2 * np.pi * phase + (0 if sign > 0 else np.pi))
        lift = max(0.0, np.cos(2 * np.pi * phase + (0 if sign > 0 else np.pi)))
        turns |= {
            f"Bip01 {side} Clavicle": [("z", -6 * sign)],
            f"Bip01 {side} UpperArm": [("x", 28 * swing * leg), ("z", -sign * (arm - 3 * breath))],
            f"Bip01 {side} Forearm": [("y", -sign * (14 + 12 * swing * (1 - leg)))],
            f"Bip01 {side} Hand": [("y", -sign * 6), ("x", -8)],
            f"Bip01 {side} Thigh": [("x", -27 * swing * leg - 6 * swing), ("z", 2 * sign)],
            f"Bip01 {side} Calf": [("x", swing * (8 + 48 * lift))],
            f"Bip01 {side} Foot": [("x", swing * (10 * leg - 6 * lift)), ("y", 6 * sign)],
            f"Bip01 {side} Toe0": [("x", -14 * swing * max(0.0, -leg))],
        }
    return turns


def clips():
    """name: (times, one stance a time, height of the hips above the T pose a time)."""
    made = {}
    times = np.linspace(0, 2, 9)
    breath = [np.sin(np.pi * t) for t in times]
    made["idle"] = (times, [stance(0, 0, 72, b) for b in breath],
                    [0.004 * b - 0.004 for b in breath])
    times = np.linspace(0, 1, 17)
    made["walk"] = (times, [stance(t, 1, 70, 0.4 * np.sin(4 * np.pi * t), 4) for t in times],
                    [-0.022 - 0.014 * np.cos(4 * np.pi * t) for t in times])
    times = np.linspace(0, 1.6, 17)
    stances = []
    for t in times:
        pose = stance(0, 0, 72, 0.5 * np.sin(2 * np.pi * t / 1.6))
        raised = np.clip(min(t, 1.6 - t) / 0.4, 0, 1)
        raised = raised * raised * (3 - 2 * raised)
        pose["Bip01 L UpperArm"] = [("z", -72 + 84 * raised), ("x", -12 * raised)]
        pose["Bip01 L Forearm"] = [("y", -14 * (1 - raised)),
                                   ("z", raised * (62 + 22 * np.sin(4 * np.pi * t / 1.6)))]
        pose["Bip01 Head"] = [("y", 12 * raised), ("z", -5 * raised)]
        stances.append(pose)
    made["wave"] = (times, stances, [-0.003] * len(times))
    return made


# ------------------------------------------------------------------------------------------ writing

class Document:
    """A glb in the making: one buffer, a view of it for each array."""

    def __init__(self):
        self.data = bytearray()
        self.views, self.accessors = [], []

    def view(self, data, target=None):
        self.data += b"\0" * (-len(self.data) % 4)
        self.views.append({"buffer": 0, "byteOffset": len(self.data), "byteLength": len(data)} |
                          ({"target": target} if target else {}))
        self.data += data
        return len(self.views) - 1

    def array(self, values, kind, component=FLOAT, target=None, limits=False):
        values = np.ascontiguousarray(values, {FLOAT: "<f4", BYTE: "u1", SHORT: "<u2"}[component])
        made = {"bufferView": self.view(values.tobytes(), target), "componentType": component,
                "count": len(values), "type": kind}
        if limits:
            flat = values.reshape(len(values), -1)
            made |= {"min": flat.min(0).tolist(), "max": flat.max(0).tolist()}
        self.accessors.append(made)
        return len(self.accessors) - 1

    def mesh(self, name, points, normals, where, triangles, more=None):
        attributes = {"POSITION": self.array(points, "VEC3", target=34962, limits=True),
                      "NORMAL": self.array(normals, "VEC3", target=34962),
                      "TEXCOORD_0": self.array(where, "VEC2", target=34962)} | (more or {})
        indices = self.array(triangles.ravel(), "SCALAR", SHORT, 34963)
        return {"name": name, "primitives": [{"attributes": attributes, "indices": indices,
                                              "material": 0}]}


def build():
    joints = skeleton()
    number = {joint[0]: i for i, joint in enumerate(joints)}
    document = Document()

    points, triangles = surface()
    bones, share = skin_weights(points, triangles, joints)
    points, triangles, where, normals, bones, share = split_by_view(
        points, triangles, gradient(points), bones, share)
    body = document.mesh("body", points, normals, where, triangles, {
        "JOINTS_0": document.array(bones, "VEC4", BYTE, 34962),
        "WEIGHTS_0": document.array(share, "VEC4", target=34962)})
    prop_points, prop_normals, prop_where, prop_triangles = sword()
    prop = document.mesh("sword", prop_points, prop_normals, prop_where, prop_triangles)

    nodes, inverse = [], []
    for name, parent, at, axes in joints:
        base = np.eye(3) if parent is None else joints[parent][3]
        origin = np.zeros(3) if parent is None else joints[parent][2]
        nodes.append({"name": name, "translation": (base.T @ (at - origin)).round(6).tolist(),
                      "rotation": quaternion(base.T @ axes).round(7).tolist()})
        if parent is not None:
            nodes[parent].setdefault("children", []).append(len(nodes) - 1)
        matrix = np.eye(4)
        matrix[:3, :3] = axes.T
        matrix[:3, 3] = -axes.T @ at
        inverse.append(matrix.T.ravel())

    def hang(parent, name, at, axes, **more):
        """A node at a place and rotation of the figure, below a joint."""
        _, _, origin, base = joints[number[parent]]
        nodes[number[parent]].setdefault("children", []).append(len(nodes))
        nodes.append({"name": name, "translation": (base.T @ (np.array(at) - origin)).tolist(),
                      "rotation": quaternion(base.T @ axes).tolist()} | more)

    grip = np.array([-0.75, 1.385, 0.03])
    hang("Bip01 R Hand", "sword", grip, np.eye(3), mesh=1)
    hang("Bip01 R Hand", "tag_weapon", grip, bone_axes(np.array([0, 0, 1.0])))
    hang("Bip01 Head", "tag_head", (0, 1.56, 0), np.eye(3))
    nodes.append({"name": "body", "mesh": 0, "skin": 0})

    animations = []
    for name, (times, stances, heights) in clips().items():
        clock = document.array(times, "SCALAR", limits=True)
        samplers = [{"input": clock, "output": document.array(
            [joints[0][2] + [0, h, 0] for h in heights], "VEC3")}]
        channels = [{"sampler": 0, "target": {"node": 0, "path": "translation"}}]
        for i, (joint, parent, _, axes) in enumerate(joints):
            if joint not in stances[0]:
                continue
            base = np.eye(3) if parent is None else joints[parent][3]
            keys = []
            for pose in stances:
                turned = np.array([0, 0, 0, 1.0])
                for axis, degrees in pose[joint]:
                    turned = after(turned, turn(axis, degrees))
                key = after(after(quaternion(base.T), turned), quaternion(axes))
                keys.append(-key if keys and key @ keys[-1] < 0 else key)
            channels.append({"sampler": len(samplers), "target": {"node": i, "path": "rotation"}})
            samplers.append({"input": clock, "output": document.array(keys, "VEC4")})
        animations.append({"name": name, "samplers": samplers, "channels": channels})

    picture = document.view(png(paint()))
    skin = {"name": "figure", "joints": list(range(len(joints))), "skeleton": 0,
            "inverseBindMatrices": document.array(inverse, "MAT4")}
    material = {"name": "figure", "extras": {"game_path": "models/players/sample/figure.tga"},
                "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "metallicFactor": 0,
                                         "roughnessFactor": 0.9}}
    scene = [i for i in range(len(nodes)) if not any(i in n.get("children", []) for n in nodes)]
    return {
        "asset": {"version": "2.0", "generator": "make_sample.py"},
        "scene": 0, "scenes": [{"nodes": scene}], "nodes": nodes, "meshes": [body, prop],
        "skins": [skin], "animations": animations, "materials": [material],
        "textures": [{"source": 0}],
        "images": [{"name": "figure", "bufferView": picture, "mimeType": "image/png"}],
        "buffers": [{"byteLength": len(document.data)}],
        "bufferViews": document.views, "accessors": document.accessors,
    }, bytes(document.data)


def write(where, head, data):
    """A glb of the JSON part and its one buffer. Gives its length."""
    text = json.dumps(head, separators=(",", ":")).encode()
    text += b" " * (-len(text) % 4)
    data += b"\0" * (-len(data) % 4)
    length = 12 + 8 + len(text) + 8 + len(data)
    where.write_bytes(struct.pack("<4sII", b"glTF", 2, length) +
                      struct.pack("<I4s", len(text), b"JSON") + text +
                      struct.pack("<I4s", len(data), b"BIN\0") + data)
    return length


def main():
    where = pathlib.Path(__file__).with_name("sample.glb")
    if len(sys.argv) > 1:
        where = pathlib.Path(sys.argv[1])
    head, data = build()
    print(f"{where}: {write(where, head, data)} bytes, "
          f"{head['accessors'][0]['count']} vertices in the body")


if __name__ == "__main__":
    main()
