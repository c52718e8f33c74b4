"""The game models' files, decoded and written field by field from their tables.

Bones follow the games' own formulas: pitch, yaw and roll give a frame of forward, left and up, and
a bone carries a point of its space by taking that point's products with the three. Matrices here
act on column vectors.
"""

import struct

import numpy as np

STEP = 360 / 65536  # degrees of an angle unit
GRID = 1 / 64  # units of a stored coordinate of an mdc


def text(field):
    return field.split(b"\0")[0].decode("latin-1")


def table(data, at, kind, count, width=None):
    """`count` records of a numpy type, as an array of its own."""
    values = np.frombuffer(data, kind, count * (width or 1), at)
    return values.reshape(count, width).copy() if width else values.copy()


def frame_axes(pitch, yaw, roll):
    """Forward, left and up of angles in degrees, as the last but one axis of the result."""
    (sp, sy, sr), (cp, cy, cr) = (f(np.radians([pitch, yaw, roll])) for f in (np.sin, np.cos))
    return np.stack([np.stack([cp * cy, cp * sy, -sp], -1),
                     np.stack([sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp], -1),
                     np.stack([cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp], -1)], -2)


def frame_angles(axes):
    """Pitch, yaw, roll in degrees of frames of forward, left and up."""
    pitch = -np.arcsin(np.clip(axes[..., 0, 2], -1, 1))
    yaw = np.arctan2(axes[..., 0, 1], axes[..., 0, 0])
    roll = np.arctan2(axes[..., 1, 2], axes[..., 2, 2])
    return np.degrees(np.stack([pitch, yaw, roll], -1))


def direction_angles(direction):
    """Pitch and yaw in degrees whose forward has this direction."""
    x, y, z = np.moveaxis(direction, -1, 0)
    return np.degrees(np.stack([np.arctan2(-z, np.hypot(x, y)), np.arctan2(y, x)], -1))


def degrees_between(a, b):
    """Of directions of length 1; exact for small angles."""
    return np.degrees(2 * np.arcsin(np.clip(np.linalg.norm(a - b, axis=-1) / 2, 0, 1)))


def units(degrees):
    return np.round(np.asarray(degrees) / STEP).astype(np.int64).astype(np.int16)


# --------------------------------------------------------------------------------------------- mdc

MDC_HEADER = struct.Struct("<4si64s10i")
MDC_SURFACE = struct.Struct("<i64s14i")


class Mdc:
    """`origins` [frame, 3]; `tags` as (name, positions, angles) a frame; surfaces with `verts`."""

    def __init__(self, path):
        data = path.read_bytes()
        (ident, self.version, name, _, frames, tags, surfaces, _, at_frames, at_names, at_tags, at,
         end) = MDC_HEADER.unpack_from(data)
        assert ident == b"IDPC" and self.version == 2 and end == len(data)
        self.name = text(name)
        records = [struct.unpack_from("<10f16s", data, at_frames + 56 * f) for f in range(frames)]
        self.bounds = np.array([r[:6] for r in records]).reshape(-1, 2, 3)
        self.origins = np.array([r[6:9] for r in records])
        self.radius = np.array([r[9] for r in records])
        self.tags = []
        for t in range(tags):
            record = table(data, at_tags + 12 * t * frames, "<i2", frames, 6)
            self.tags.append((text(data[at_names + 64 * t:at_names + 64 * t + 64]),
                              record[:, :3] * GRID + self.origins, record[:, 3:] * STEP))
        self.surfaces = []
        for _ in range(surfaces):
            self.surfaces.append(MdcSurface(data, at, self.origins))
            at += self.surfaces[-1].size


class MdcSurface:
    def __init__(self, data, at, origins):
        (ident, name, _, compressed, bases, shaders, verts, triangles, at_triangles, at_shaders,
         at_st, at_xyz, at_compressed, at_base, at_comp,
         self.size) = MDC_SURFACE.unpack_from(data, at)
        assert ident == 7
        self.name = text(name)
        self.shaders = [text(data[at + at_shaders + 68 * i:at + at_shaders + 68 * i + 64])
                        for i in range(shaders)]
        self.triangles = table(data, at + at_triangles, "<i4", triangles, 3)
        self.st = table(data, at + at_st, "<f4", verts, 2)
        base = table(data, at + at_base, "<u2", len(origins))
        comp = table(data, at + at_comp, "<u2", len(origins))
        records = table(data, at + at_xyz, "<i2", verts * bases, 4).reshape(bases, verts, 4)
        xyz, self.codes = records[..., :3], records[base, :, 3].view("<u2")
        packed = table(data, at + at_compressed, "u1", verts * compressed, 4)
        packed = packed.reshape(compressed, verts, 4)[..., :3]
        self.normals = mdc_normals(self.codes)
        self.verts = xyz[base] * GRID + origins[:, None]
        for f in np.flatnonzero(comp != 0xFFFF):
            self.verts[f] += (packed[comp[f]] - 127).astype(np.int8) * (3 * GRID)


def mdc_normals(codes):
    """The low byte is the angle from +Z, the high byte that about Z from +X, in 256ths of a turn."""
    up, about = np.radians((codes & 255) * (360 / 256)), np.radians((codes >> 8) * (360 / 256))
    return np.stack([np.sin(up) * np.cos(about), np.sin(up) * np.sin(about), np.cos(up)], -1)


def write_mdc(path, origins, tags, surfaces):
    """Tags: (name, int16 [frame, 6]). Surfaces: dicts of name, shader, triangles, st, `base` int16
    [base frame, vertex, 3], `packed` bytes [compressed frame, vertex, 3] and the two tables.

    The blocks lie in another order than the exporter lays them in."""
    count = len(origins)
    frames = b"".join(struct.pack("<10f16s", *[-9] * 3, *[9] * 3, *o, 18, b"f") for o in origins)
    names = b"".join(struct.pack("64s", name.encode()) for name, _ in tags)
    poses = b"".join(np.asarray(pose, "<i2").tobytes() for _, pose in tags)
    body = b""
    for s in surfaces:
        base, packed = np.asarray(s["base"], "<i2"), np.asarray(s["packed"], "u1")
        blocks = [
            ("packed", np.pad(packed, ((0, 0), (0, 0), (0, 1))).tobytes()),
            ("xyz", np.pad(base, ((0, 0), (0, 0), (0, 1))).tobytes()),
            ("comp", np.asarray(s["comp_table"], "<u2").tobytes()),
            ("base", np.asarray(s["base_table"], "<u2").tobytes()),
            ("st", np.asarray(s["st"], "<f4").tobytes()),
            ("shaders", struct.pack("64si", s["shader"].encode(), 0) if s["shader"] else b""),
            ("triangles", np.asarray(s["triangles"], "<i4").tobytes())]
        at, place = 124, {}
        for block, content in blocks:
            place[block] = at
            at += len(content)
        body += MDC_SURFACE.pack(
            7, s["name"].encode(), 0, len(packed), len(base), bool(s["shader"]), base.shape[1],
            len(s["triangles"]), place["triangles"], place["shaders"], place["st"], place["xyz"],
            place["packed"], place["base"], place["comp"], at)
        body += b"".join(content for _, content in blocks)
    at_tags = 112 + len(body)
    at_names, at_frames = at_tags + len(poses), at_tags + len(poses) + len(names)
    head = MDC_HEADER.pack(b"IDPC", 2, b"models/test.mdc", 0, count, len(tags), len(surfaces), 0,
                           at_frames, at_names, at_tags, 112, at_frames + len(frames))
    path.write_bytes(head + body + poses + names + frames)


# ---------------------------------------------------------------------------------------- skeletal

MDS_HEADER = struct.Struct("<4si64s2f10i")
MDM_HEADER = struct.Struct("<4si64s2f5i")
MDX_HEADER = struct.Struct("<4si64s6i")
SURFACE = struct.Struct("<i64s64s11i")


class SkinSurface:
    """`first` [vertex + 1] cuts the flat arrays `bone`, `weight` and `offset` into vertices."""

    def __init__(self, name, shader, triangles, st, normals, first, bone, weight, offset):
        self.name, self.shader = name, shader
        self.triangles, self.st, self.normals = triangles, st, normals
        self.first, self.bone, self.weight, self.offset = first, bone, weight, offset
        self.vertex = np.repeat(np.arange(len(first) - 1), np.diff(first))

    def vertices(self, axes, places):
        """In one pose of the bones."""
        parts = np.einsum("wij,wj->wi", axes[self.bone], self.offset) + places[self.bone]
        result = np.zeros((len(self.first) - 1, 3))
        np.add.at(result, self.vertex, parts * self.weight[:, None])
        return result

    def weights_of(self, vertex):
        part = slice(self.first[vertex], self.first[vertex + 1])
        return list(zip(self.bone[part], self.weight[part]))


class Model:
    """An mds, or an mdm with an mdx. `angles` [frame, bone, 6] are the stored units."""

    def __init__(self, bones, parent_offsets, angles, surfaces, tags=()):
        self.names, self.parents, self.torso_weights, self.dists, self.flags = bones
        self.parent_offsets, self.angles = parent_offsets, angles
        self.surfaces, self.tags = surfaces, list(tags)

    def chain(self, bone):
        """A bone and all above it, the top of the skeleton first."""
        return self.chain(self.parents[bone]) + [bone] if bone >= 0 else []

    def pose(self, frame):
        """Rotations [bone, 3, 3] and places [bone, 3] of all bones."""
        a = self.angles[frame].astype(float) * STEP
        axes = frame_axes(a[:, 0], a[:, 1], a[:, 2])
        places = self.dists[:, None] * frame_axes(a[:, 4], a[:, 5], 0 * a[:, 5])[:, 0]
        for b, parent in enumerate(self.parents):
            places[b] += self.parent_offsets[frame] if parent < 0 else places[parent]
        return axes, places

    def tag_pose(self, tag, axes, places):
        """Rotation and place of a tag: a bone's number, or (bone, axis rows, offset)."""
        if not isinstance(tag, tuple):
            return axes[tag], places[tag]
        bone, rows, offset = tag
        base, at = (axes[bone], places[bone]) if bone >= 0 else (np.eye(3), np.zeros(3))
        return base @ rows.T, base @ offset + at


def read_frames(data, at, frames, bones):
    size = 52 + 12 * bones
    records = np.frombuffer(data, "u1", frames * size, at).reshape(frames, size)
    floats = np.ascontiguousarray(records[:, :52]).view("<f4")
    angles = np.ascontiguousarray(records[:, 52:]).view("<i2").reshape(frames, bones, 6)
    return floats, angles


def read_bones(data, at, count):
    records = [struct.unpack_from("<64siffi", data, at + 80 * b) for b in range(count)]
    names, *columns = zip(*records) if records else [()] * 5
    return [text(n) for n in names], *(np.array(column) for column in columns)


def read_surfaces(data, at, count, ident, vertex_size):
    surfaces = []
    for _ in range(count):
        (kind, name, shader, _, _, header, verts, at_verts, triangles, at_triangles, at_collapse,
         references, at_references, size) = SURFACE.unpack_from(data, at)
        assert kind == ident and at + header == 0
        walk, first, heads, weights = at + at_verts, [0], [], []
        for _ in range(verts):
            heads.append(struct.unpack_from("<5fi", data, walk))
            n = heads[-1][5]
            weights += [struct.unpack_from("<i4f", data, walk + vertex_size + 20 * k)
                        for k in range(n)]
            first.append(first[-1] + n)
            walk += vertex_size + 20 * n
        assert not table(data, at + at_collapse, "<i4", verts).any()
        heads, weights = np.array(heads).reshape(-1, 6), np.array(weights).reshape(-1, 5)
        surface = SkinSurface(text(name), text(shader),
                              table(data, at + at_triangles, "<i4", triangles, 3),
                              heads[:, 3:5], heads[:, :3], np.array(first),
                              weights[:, 0].astype(int), weights[:, 1], weights[:, 2:])
        surface.references = table(data, at + at_references, "<i4", references)
        surfaces.append(surface)
        at += size
    return surfaces, at


def read_mds(path):
    data = path.read_bytes()
    (ident, version, _, scale, bias, frames, bones, at_frames, at_bones, torso, surfaces,
     at_surfaces, tags, at_tags, end) = MDS_HEADER.unpack_from(data)
    assert (ident, version, scale, bias, end) == (b"MDSW", 4, 1.0, 0.0, len(data))
    floats, angles = read_frames(data, at_frames, frames, bones)
    listed = read_bones(data, at_bones, bones)
    made, at = read_surfaces(data, at_surfaces, surfaces, 8, 32)
    assert at == at_tags and at + 72 * tags == end
    tags = [struct.unpack_from("<64sfi", data, at_tags + 72 * t) for t in range(tags)]
    model = Model(listed, floats[:, 10:], angles, made, [(text(n), b) for n, _, b in tags])
    model.floats, model.torso_parent = floats, torso
    return model


def read_pair(mdm, mdx):
    data = mdx.read_bytes()
    (ident, version, _, frames, bones, at_frames, at_bones, torso,
     end) = MDX_HEADER.unpack_from(data)
    assert (ident, version, end) == (b"MDXW", 2, len(data))
    floats, angles = read_frames(data, at_frames, frames, bones)
    listed = read_bones(data, at_bones, bones)

    data = mdm.read_bytes()
    (ident, version, _, bias, scale, surfaces, at_surfaces, tags, at_tags,
     end) = MDM_HEADER.unpack_from(data)
    assert (ident, version, bias, scale, end) == (b"MDMW", 3, 0.0, 1.0, len(data))
    made, at = read_surfaces(data, at_surfaces, surfaces, 9, 24)
    assert at == at_tags
    found, chains = [], []
    for _ in range(tags):
        name, *rest = struct.unpack_from("<64s9fi3f3i", data, at)
        found.append((text(name), (rest[9], np.array(rest[:9]).reshape(3, 3),
                                   np.array(rest[10:13]))))
        chains.append(table(data, at + 128, "<i4", rest[13]))
        at += rest[15]
    assert at == end
    model = Model(listed, floats[:, 10:], angles, made, found)
    model.floats, model.torso_parent, model.chains = floats, torso, chains
    return model


def pack_frames(model):
    return b"".join(struct.pack("<13f", *[-9] * 3, *[9] * 3, *[0] * 3, 18, *offset) +
                    angles.astype("<i2").tobytes()
                    for offset, angles in zip(model.parent_offsets, model.angles))


def pack_bones(model):
    return b"".join(struct.pack("<64siffi", n.encode(), p, w, d, f) for n, p, w, d, f in
                    zip(model.names, model.parents, model.torso_weights, model.dists, model.flags))


def pack_surfaces(model, ident, start, unused):
    """`unused` stands in a vertex before its weights."""
    result = b""
    for s in model.surfaces:
        verts = b""
        for v in range(len(s.first) - 1):
            part = slice(s.first[v], s.first[v + 1])
            verts += struct.pack("<5fi", *s.normals[v], *s.st[v], part.stop - part.start) + unused
            verts += b"".join(struct.pack("<i4f", b, w, *o) for b, w, o in
                              zip(s.bone[part], s.weight[part], s.offset[part]))
        triangles = np.asarray(s.triangles, "<i4").tobytes()
        count = len(s.first) - 1
        references = np.arange(len(model.names), dtype="<i4")
        at_triangles = 176 + len(verts)
        at_collapse = at_triangles + len(triangles)
        at_references = at_collapse + 4 * count
        result += SURFACE.pack(ident, s.name.encode(), s.shader.encode(), 0, 0,
                               -start - len(result), count, 176, len(s.triangles), at_triangles,
                               at_collapse, len(references), at_references,
                               at_references + 4 * len(references))
        result += verts + triangles + bytes(4 * count) + references.tobytes()
    return result


def write_mds(path, model):
    frames, bones = pack_frames(model), pack_bones(model)
    at_bones = 120 + len(frames)
    at_surfaces = at_bones + len(bones)
    surfaces = pack_surfaces(model, 8, at_surfaces, bytes(8))
    tags = b"".join(struct.pack("<64sfi", n.encode(), 0, b) for n, b in model.tags)
    at_tags = at_surfaces + len(surfaces)
    path.write_bytes(MDS_HEADER.pack(
        b"MDSW", 4, path.name.encode(), 1, 0, len(model.angles), len(model.names), 120, at_bones,
        0, len(model.surfaces), at_surfaces, len(model.tags), at_tags, at_tags + len(tags)) +
        frames + bones + surfaces + tags)


def write_pair(mdm, mdx, model):
    frames, bones = pack_frames(model), pack_bones(model)
    at_bones = 96 + len(frames)
    mdx.write_bytes(MDX_HEADER.pack(
        b"MDXW", 2, mdx.name.encode(), len(model.angles), len(model.names), 96, at_bones, 0,
        at_bones + len(bones)) + frames + bones)
    surfaces = pack_surfaces(model, 9, 100, b"")
    tags = b"".join(struct.pack("<64s9fi3f3i", name.encode(), *rows.ravel(), bone, *offset, 0, 128,
                                128) for name, (bone, rows, offset) in model.tags)
    at_tags = 100 + len(surfaces)
    mdm.write_bytes(MDM_HEADER.pack(
        b"MDMW", 3, mdm.name.encode(), 0, 1, len(model.surfaces), 100, len(model.tags), at_tags,
        at_tags + len(tags)) + surfaces + tags)
