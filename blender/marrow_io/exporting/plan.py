"""Which objects go out, and what they hang from."""

from __future__ import annotations

from dataclasses import dataclass, field

import bpy
import numpy
from mathutils import Quaternion

from ..conventions import AXES_PROPERTY, ORDER_PROPERTY, TAG_AXES, is_tag, plain_name
from ..program import ProgramError

NAME_BYTES = 63
_GEOMETRY = {"MESH", "CURVE", "SURFACE", "FONT", "META"}


@dataclass
class Joint:
    """A bone that goes out. `axes` turns vectors of the joint into those of the bone."""

    name: str
    armature: bpy.types.Object
    bone: str
    parent: int | None
    axes: numpy.ndarray


@dataclass
class Item:
    """An object that goes out; `joint` is what carries it, `skin` the armature that bends it."""

    name: str
    source: bpy.types.Object
    joint: int | None
    skin: bpy.types.Object | None = None

    @property
    def is_geometry(self) -> bool:
        return self.source.type in _GEOMETRY


@dataclass
class Plan:
    joints: list[Joint] = field(default_factory=list)
    items: list[Item] = field(default_factory=list)
    armatures: list[bpy.types.Object] = field(default_factory=list)
    joint_of: dict[tuple[str, str], int] = field(default_factory=dict)
    warnings: list[str] = field(default_factory=list)

    def moving(self) -> list[bpy.types.ID]:
        """Everything whose actions and strips take part."""
        owners: list[bpy.types.ID] = [*self.armatures]
        for item in self.items:
            owners.append(item.source)
            keys = getattr(item.source.data, "shape_keys", None)
            if keys:
                owners.append(keys)
        return list(dict.fromkeys(owners))


@dataclass(frozen=True)
class Choice:
    selected_only: bool = False
    visible_only: bool = True
    collection: bpy.types.Collection | None = None
    deform_only: bool = False
    origin: str = ""


def plan(context: bpy.types.Context, choice: Choice, geometry: bool = True) -> Plan:
    """Raises ProgramError where nothing is left to go out."""
    inside = set(choice.collection.all_objects) if choice.collection else None
    objects = [obj for obj in context.view_layer.objects if (inside is None or obj in inside)
               and (obj.visible_get() or not choice.visible_only)
               and (obj.select_get() or not choice.selected_only)]
    made = Plan()
    chosen = [obj for obj in objects
              if obj.type in _GEOMETRY or (obj.type == "EMPTY" and is_tag(obj.name))]
    # A rig goes along with what it bends or carries: many hide it while they work.
    rigs = [obj for obj in objects if obj.type == "ARMATURE"]
    rigs += [rig for obj in chosen for rig in (bending(obj), _carrier(obj)[0]) if rig]
    made.armatures = list(dict.fromkeys(rigs))
    made.warnings += [f"{obj.name}: its instances are left out: make them real to export them"
                      for obj in objects if obj.instance_type != "NONE"]
    names = Names()
    for rig in made.armatures:
        _add_joints(made, rig, choice.deform_only, names)
    origin = context.scene.objects.get(choice.origin) if choice.origin else None
    if choice.origin and origin is None:
        raise ProgramError(f"the origin {choice.origin} is no object of this scene")
    for obj in [*chosen, *([origin] if origin and origin not in chosen else [])]:
        skin = bending(obj)
        if obj.type in _GEOMETRY and not geometry and obj is not origin:
            continue
        rig, bone = _carrier(obj)
        joint = made.joint_of.get((rig.name, bone)) if rig and not skin else None
        made.items.append(Item(names.take(obj.name), obj, joint, skin))
    if not made.joints and not any(item.is_geometry or is_tag(item.name) for item in made.items):
        which = "selected " if choice.selected_only else "visible " if choice.visible_only else ""
        kinds = "meshes, armatures or tags" if geometry else "armatures or tags"
        raise ProgramError(f"nothing to export: there are no {which}{kinds}")
    return made


def bending(obj: bpy.types.Object) -> bpy.types.Object | None:
    """The armature that deforms an object by its vertex groups."""
    if obj.type not in _GEOMETRY:
        return None
    rigs = [modifier.object for modifier in obj.modifiers
            if modifier.type == "ARMATURE" and modifier.show_viewport]
    if obj.parent_type == "ARMATURE":
        rigs.append(obj.parent)
    return next((rig for rig in rigs if rig and rig.type == "ARMATURE" and rig.data.bones), None)


def _carrier(obj: bpy.types.Object) -> tuple[bpy.types.Object | None, str]:
    """The bone that an object hangs from, by its parents or by a constraint that does the same."""
    while obj:
        for constraint in obj.constraints:
            if constraint.type in ("CHILD_OF", "COPY_TRANSFORMS") and constraint.enabled \
                    and constraint.influence == 1 and constraint.target \
                    and constraint.target.type == "ARMATURE" and constraint.subtarget:
                return constraint.target, constraint.subtarget
        if obj.parent and obj.parent_type == "BONE":
            return obj.parent, obj.parent_bone
        obj = obj.parent
    return None, ""


def _add_joints(made: Plan, rig: bpy.types.Object, deform_only: bool, names: Names) -> None:
    for bone in _in_order(rig.data.bones):
        above = bone.parent
        while above and (rig.name, above.name) not in made.joint_of:
            above = above.parent
        parent = made.joint_of[rig.name, above.name] if above else None
        if deform_only and not bone.use_deform and not is_tag(bone.name):
            continue
        if AXES_PROPERTY in bone:
            turn = Quaternion(bone[AXES_PROPERTY])
        else:
            turn = TAG_AXES if is_tag(bone.name) else Quaternion()
        made.joint_of[rig.name, bone.name] = len(made.joints)
        made.joints.append(Joint(names.take(bone.name, numbered=True), rig, bone.name, parent,
                                 numpy.array(turn.to_matrix())))


def _in_order(bones) -> list[bpy.types.Bone]:
    """Parents before their children, else as in the file that the bones came from."""
    order: dict[str, bpy.types.Bone] = {}
    for bone in sorted(bones, key=lambda bone: bone.get(ORDER_PROPERTY, len(bones))):
        for above in reversed([bone, *bone.parent_recursive]):
            order.setdefault(above.name, above)
    return list(order.values())


class Names:
    """Names of one file: distinct, at most 63 bytes, without the number that Blender appends to
    an object's name; that of a bone is its own."""

    def __init__(self) -> None:
        self._taken: set[str] = set()

    def take(self, name: str, numbered: bool = False) -> str:
        plain = name if numbered else plain_name(name)
        for wish in (plain, name):
            cut = _cut(wish, NAME_BYTES)
            if cut.lower() not in self._taken:
                self._taken.add(cut.lower())
                return cut
        number = 2
        while True:
            ending = f"_{number}"
            cut = _cut(plain, NAME_BYTES - len(ending)) + ending
            if cut.lower() not in self._taken:
                self._taken.add(cut.lower())
                return cut
            number += 1


def _cut(text: str, size: int) -> str:
    return text.encode()[:size].decode("utf-8", "ignore")
