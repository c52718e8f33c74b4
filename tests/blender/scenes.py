"""Scenes made as modders make them."""

import math

import bpy
import numpy as np
from mathutils import Matrix, Quaternion, Vector

# Bones in centimetres, Y up and Z to the front: name, parent, head, tail.
_MIDDLE = [("root", None, (0, 0, 0), (0, 20, 0)), ("pelvis", "root", (0, 95, 0), (0, 106, 0)),
           ("spine", "pelvis", (0, 106, 0), (0, 120, 1)),
           ("spine1", "spine", (0, 120, 1), (0, 134, 0)),
           ("spine2", "spine1", (0, 134, 0), (0, 150, -1)),
           ("neck", "spine2", (0, 150, -1), (0, 159, 0)),
           ("head", "neck", (0, 159, 0), (0, 180, 2))]
_SIDE = [("clavicle", "spine2", (3, 146, 0), (17, 147, -1)),
         ("upperarm", "clavicle", (17, 147, -1), (44, 147, -2)),
         ("forearm", "upperarm", (44, 147, -2), (69, 147, 0)),
         ("hand", "forearm", (69, 147, 0), (80, 146, 1)),
         ("thigh", "pelvis", (10, 93, 0), (11, 50, 2)), ("calf", "thigh", (11, 50, 2), (11, 9, -2)),
         ("foot", "calf", (11, 9, -2), (12, 3, 12)), ("toe", "foot", (12, 3, 12), (12, 2, 18))]
_CONTROLS = [("ik_foot.L", "root", (11, 9, -2), (11, 9, -12)),
             ("ik_foot.R", "root", (-11, 9, -2), (-11, 9, -12))]

CLIPS = (("idle", 0, 20), ("walk", 21, 45), ("wave", 46, 61))


def _rig():
    rig = bpy.data.objects.new("rig", bpy.data.armatures.new("rig"))
    bpy.context.collection.objects.link(rig)
    rig.scale = (0.01,) * 3
    rig.rotation_euler = (math.radians(90), 0, 0)
    bpy.context.view_layer.objects.active = rig
    bpy.ops.object.mode_set(mode="EDIT")
    rows = list(_MIDDLE)
    for letter, sign in (("L", 1), ("R", -1)):
        for name, parent, head, tail in _SIDE:
            own = parent if parent in ("spine2", "pelvis") else f"{parent}.{letter}"
            rows.append((f"{name}.{letter}", own, (sign * head[0], *head[1:]),
                         (sign * tail[0], *tail[1:])))
    for name, parent, head, tail in rows + _CONTROLS:
        bone = rig.data.edit_bones.new(name)
        bone.head, bone.tail = head, tail
        bone.parent = rig.data.edit_bones[parent] if parent else None
        bone.roll = 0.3 if name.startswith("spine") else 0
        bone.use_deform = not name.startswith("ik_")
    bpy.ops.object.mode_set(mode="OBJECT")
    for letter in "LR":
        constraint = rig.pose.bones[f"calf.{letter}"].constraints.new("IK")
        constraint.target, constraint.subtarget = rig, f"ik_foot.{letter}"
        constraint.chain_count = 2
    for bone in rig.pose.bones:
        bone.rotation_mode = "QUATERNION"
    return rig


def _material(name, path=None, shader=None):
    material = bpy.data.materials.new(name)
    material.use_nodes = True
    if path:
        node = material.node_tree.nodes.new("ShaderNodeTexImage")
        node.image = bpy.data.images.new(path.rsplit("/", 1)[1], 8, 8)
        node.image.filepath_raw = path
        material.node_tree.links.new(node.outputs["Color"], material.node_tree.nodes[
            "Principled BSDF"].inputs["Base Color"])
    if shader:
        material["game_path"] = shader
    return material


def _tube(start, end, radius, sides=8, rings=4):
    """Points and quads of a closed tube, and how far along each point is."""
    axis = Vector(end) - Vector(start)
    turn = Vector((0, 0, 1)).rotation_difference(axis)
    points, shares = [], []
    for ring in range(rings + 1):
        for side in range(sides):
            angle = 2 * math.pi * side / sides
            at = Vector((radius * math.cos(angle), radius * math.sin(angle), 0))
            points.append(Vector(start) + axis * ring / rings + turn @ at)
            shares.append(ring / rings)
    faces = [(sides * r + s, sides * r + (s + 1) % sides, sides * (r + 1) + (s + 1) % sides,
              sides * (r + 1) + s) for r in range(rings) for s in range(sides)]
    faces += [tuple(reversed(range(sides))), tuple(sides * rings + s for s in range(sides))]
    return points, faces, shares


def _mesh(name, points, faces, smooth=True):
    mesh = bpy.data.meshes.new(name)
    mesh.from_pydata([tuple(point) for point in points], [], faces)
    layer = mesh.uv_layers.new(name="UVMap")
    flat = np.array([mesh.vertices[loop.vertex_index].co for loop in mesh.loops])
    layer.data.foreach_set("uv", (flat[:, :2] / 200 + 0.25).astype(np.float32).ravel())
    mesh.polygons.foreach_set("use_smooth", [smooth] * len(mesh.polygons))
    obj = bpy.data.objects.new(name, mesh)
    bpy.context.collection.objects.link(obj)
    return obj


def _body(rig):
    """The left half of a figure; a mirror makes the other."""
    points, faces, weights, cloth = [], [], [], []
    for bone in rig.data.bones:
        if not bone.use_deform or bone.name.endswith(".R") or bone.name == "root":
            continue
        radius = 12 if bone.name.startswith(("spine", "pelvis")) else 5
        shift = Vector((radius + 1 if abs(bone.head_local.x) < 1 else 0, 0, 0))
        some, quads, shares = _tube(bone.head_local + shift, bone.tail_local + shift, radius)
        cloth += [bone.name.startswith(("spine", "pelvis", "thigh", "calf"))] * len(quads)
        faces += [tuple(len(points) + at for at in quad) for quad in quads]
        points += some
        above = bone.parent.name if bone.parent.name != "root" else bone.name
        weights += [{bone.name: 0.5 + share / 2, above: 0.5 - share / 2} if above != bone.name
                    else {bone.name: 1.0} for share in shares]
    body = _mesh("body", points, faces)
    body.parent = rig
    for bone in rig.data.bones:
        body.vertex_groups.new(name=bone.name)
    for at, row in enumerate(weights):
        for name, weight in row.items():
            if weight:
                # Weights need not add up to 1 in Blender.
                body.vertex_groups[name].add([at], 0.8 * weight, "REPLACE")
    body.data.materials.append(_material("skin", "/game/main/models/players/hero/Skin.tga"))
    body.data.materials.append(_material("trousers", shader="models/players/hero/cloth"))
    body.data.polygons.foreach_set("material_index", [int(flag) for flag in cloth])
    mirror = body.modifiers.new("mirror", "MIRROR")
    mirror.use_mirror_merge = False
    body.modifiers.new("rig", "ARMATURE").object = rig
    return body


def _hang(obj, rig, bone, place, turn=Quaternion()):
    obj.parent, obj.parent_type, obj.parent_bone = rig, "BONE", bone
    bpy.context.view_layer.update()
    obj.matrix_world = Matrix.Translation(place) @ turn.to_matrix().to_4x4()


def _key(rig, frame, bone, degrees=None, axis=(1, 0, 0), location=None):
    pose = rig.pose.bones[bone]
    if degrees is not None:
        pose.rotation_quaternion = Quaternion(axis, math.radians(degrees))
        pose.keyframe_insert("rotation_quaternion", frame=frame)
    if location is not None:
        pose.location = location
        pose.keyframe_insert("location", frame=frame)


def _actions(rig):
    rig.animation_data_create()
    track = rig.animation_data.nla_tracks.new()
    for name, first, last in CLIPS:
        action = bpy.data.actions.new(name)
        rig.animation_data.action = action
        span = last - first
        for frame in (0, span // 2, span):
            swing = math.sin(2 * math.pi * frame / span) if frame != span // 2 else 1
            _key(rig, frame, "spine1", 8 * swing)
            _key(rig, frame, "head", 15 * swing, axis=(0, 1, 0))
            _key(rig, frame, "ik_foot.L", location=(0, 0, 0))
            _key(rig, frame, "upperarm.L", 20 * swing, axis=(0, 0, 1))
            _key(rig, frame, "upperarm.R", (-60 if name == "wave" else -20) * swing, axis=(0, 0, 1))
            if name == "walk":
                _key(rig, frame, "ik_foot.L", location=(0, 25 * swing, -20 * swing))
        strip = track.strips.new(name, first, action)
        strip.name = name
    rig.animation_data.action = None
    for bone in rig.pose.bones:
        bone.matrix_basis = Matrix()


def character():
    scene = bpy.context.scene
    scene.render.fps, scene.frame_start, scene.frame_end = 20, CLIPS[0][1], CLIPS[-1][2]
    rig = _rig()
    _body(rig)
    points, faces, _ = _tube((0, 0, 0), (0, -0.8, 0.1), 0.03, sides=6)
    sword = _mesh("sword", points, faces, smooth=False)
    sword.data.materials.append(_material("models/weapons2/sword/blade"))
    _hang(sword, rig, "hand.R", (-0.76, 0, 1.46))
    for name, bone, place, turn in (
            ("tag_head", "head", (0, 0, 1.6), Quaternion()),
            ("tag_weapon", "hand.R", (-0.75, -0.02, 1.45), Quaternion((0, 0, 1), 0.5))):
        empty = bpy.data.objects.new(name, None)
        bpy.context.collection.objects.link(empty)
        _hang(empty, rig, bone, place, turn)
    _actions(rig)
    return rig


def flag():
    scene = bpy.context.scene
    scene.render.fps, scene.frame_start, scene.frame_end = 20, 0, 20
    side = 6
    points = [(x / side, 0, 1 + z / side) for z in range(side + 1) for x in range(side + 1)]
    faces = [(r * (side + 1) + c, r * (side + 1) + c + 1, (r + 1) * (side + 1) + c + 1,
              (r + 1) * (side + 1) + c) for r in range(side) for c in range(side)]
    cloth = _mesh("flag", points, faces)
    cloth.data.materials.append(_material("flag", "/game/main/models/flags/red.tga"))
    cloth.shape_key_add(name="Basis")
    for number, name in enumerate(("left", "right")):
        key = cloth.shape_key_add(name=name)
        for point, moved in zip(points, key.data):
            wave = 0.2 * math.sin(3 * point[0] + number)
            moved.co = Vector(point) + Vector((0, wave, 0.1 * point[0]))
        for frame in (0, 10, 20):
            key.value = (frame == 10) if number else frame / 20
            key.keyframe_insert("value", frame=frame)
    pole = bpy.data.objects.new("tag_flag", None)
    bpy.context.collection.objects.link(pole)
    pole.location = (0, 0, 2)
    return cloth


def prop():
    """Nothing of it moves; its scale and rotation are not applied."""
    box = [(x, y, z) for x in (-1, 1) for y in (-1, 1) for z in (-1, 1)]
    faces = [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)]
    crate = _mesh("crate", box, faces, smooth=False)
    crate.data.materials.append(_material("crate", shader="models/mapobjects/crate"))
    crate.location, crate.scale = (0.5, 0.2, 0.4), (0.3, -0.4, 0.4)
    crate.rotation_euler = (0.2, 0.3, 0.4)
    return crate
