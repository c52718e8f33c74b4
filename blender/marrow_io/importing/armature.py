"""Bones that lie as an animator expects them.

A game's joints have axes of their own, which an animation's angles count from. A bone is laid
along its chain instead, and the rotation from the joint's axes to the bone's is kept with the bone
(`marrow_axes`), so that an export finds the joint's axes again.
"""

from __future__ import annotations

import bpy
from mathutils import Matrix, Quaternion, Vector

from ..conventions import AXES_PROPERTY, ORDER_PROPERTY, TAG_AXES, is_tag
# Shares of the skeleton's height.
_TAG_LENGTH = 0.03
_LEAF_LENGTH = 0.06
_SAME_PLACE = 1e-3
_LEAF_SHARE = 0.5


def dress(armature: bpy.types.Object, order: dict[str, int],
          context: bpy.types.Context) -> dict[str, Quaternion]:
    """Turns all bones of an imported armature and what counts from their axes but the actions,
    for which it returns each bone's rotation. `order` is the place of each name among the file's
    nodes."""
    old = {bone.name: bone.matrix_local.copy() for bone in armature.data.bones}
    hanging = _hanging_objects(armature, old)
    _lay_bones(armature, context)
    turns = {}
    for bone in armature.data.bones:
        turn = (old[bone.name].to_3x3().inverted() @ bone.matrix_local.to_3x3()).to_quaternion()
        turns[bone.name] = turn
        if not is_tag(bone.name):
            bone[AXES_PROPERTY] = list(turn)
        bone[ORDER_PROPERTY] = order.get(bone.name, len(order))
    for bone in armature.pose.bones:
        turn = turns[bone.name]
        bone.location = turn.inverted() @ bone.location
        bone.rotation_quaternion = turn.inverted() @ bone.rotation_quaternion @ turn
    for child, matrix in hanging:
        bone = armature.data.bones[child.parent_bone]
        tail = Matrix.Translation((0, bone.length, 0))
        child.matrix_parent_inverse = Matrix()
        child.matrix_basis = tail.inverted() @ turns[bone.name].to_matrix().to_4x4().inverted() \
            @ matrix
    _show(armature)
    return turns


def _hanging_objects(armature: bpy.types.Object, old: dict[str, Matrix]) -> list:
    """Objects that hang from bones, each with its matrix in the bone's axes at the bone's head."""
    return [(child, Matrix.Translation((0, armature.data.bones[child.parent_bone].length, 0))
             @ child.matrix_parent_inverse @ child.matrix_basis)
            for child in armature.children
            if child.parent_type == "BONE" and child.parent_bone in old]


def _lay_bones(armature: bpy.types.Object, context: bpy.types.Context) -> None:
    context.view_layer.objects.active = armature
    bpy.ops.object.mode_set(mode="EDIT")
    bones = armature.data.edit_bones
    heads = [bone.head.copy() for bone in bones]
    height = max((max(head[axis] for head in heads) - min(head[axis] for head in heads)
                  for axis in range(3)), default=0) or 1.0
    sizes: dict[str, int] = {}
    for bone in reversed(_parents_first(bones)):
        sizes[bone.name] = 1 + sum(sizes[child.name] for child in bone.children)
    for bone in _parents_first(bones):
        if is_tag(bone.name):
            bone.matrix = bone.matrix @ TAG_AXES.to_matrix().to_4x4()
            bone.length = _TAG_LENGTH * height
        else:
            _lay(bone, _tail(bone, sizes, height))
    bpy.ops.object.mode_set(mode="OBJECT")


def _parents_first(bones) -> list:
    order = [bone for bone in bones if bone.parent is None]
    for bone in order:
        order.extend(bone.children)
    return order


def _tail(bone, sizes: dict[str, int], height: float) -> Vector:
    """On the child that carries the chain on: the straightest, at the start the one with most
    bones below it. The last bone of a chain keeps its parent's direction."""
    near = _SAME_PLACE * height
    children = [child for child in bone.children
                if not is_tag(child.name) and (child.head - bone.head).length > near]
    arriving = bone.head - bone.parent.head if bone.parent else Vector()
    if len(children) > 1 and arriving.length > near:
        return max(children, key=lambda child: (child.head - bone.head).normalized().dot(
            arriving)).head.copy()
    if children:
        return max(children, key=lambda child: sizes[child.name]).head.copy()
    if arriving.length > near:
        length = min(arriving.length * _LEAF_SHARE, _LEAF_LENGTH * height)
        return bone.head + arriving.normalized() * length
    return bone.head + Vector((0, 0, _LEAF_LENGTH * height))


def _lay(bone, tail: Vector) -> None:
    along = (tail - bone.head).normalized()
    old = bone.matrix.to_3x3()
    side = min(old.col, key=lambda axis: abs(axis.dot(along)))
    across = along.cross(side).normalized()
    rotation = Matrix((across, along, across.cross(along))).transposed()
    length = (tail - bone.head).length
    bone.matrix = Matrix.Translation(bone.head) @ rotation.to_4x4()
    bone.length = length


def _show(armature: bpy.types.Object) -> None:
    armature.show_in_front = True
    tags = [bone for bone in armature.pose.bones if is_tag(bone.name)]
    if not tags:
        return
    arrows = bpy.data.objects.new("tag arrows", None)
    arrows.empty_display_type = "ARROWS"
    arrows.use_fake_user = False
    for bone in tags:
        bone.custom_shape = arrows
