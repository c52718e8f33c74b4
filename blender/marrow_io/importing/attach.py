"""Models that hang from a model's tags: a head from `tag_head`, a weapon from the hand's tag."""

from __future__ import annotations

from typing import Generator, Iterator

import bpy
from mathutils import Matrix

from ..conventions import is_tag, plain_name
from ..program import Message, ProgramError
from ..scenestate import NewData, SceneSettings
from . import run

Tag = tuple[bpy.types.Object, str]


def steps(context: bpy.types.Context, options: run.Options, parts: list[tuple[str, run.Options]],
          messages: list[Message]) -> Iterator[tuple[float, str]]:
    """Imports a model and its parts, each with its tag; a tag of an earlier part counts too. A
    failure or an early end leaves the scene as it was."""
    new, settings = NewData(), SceneSettings(context)
    width = 1 / (1 + len(parts))
    try:
        whole = yield from shares(run.steps(context, options, context.scene.collection, messages),
                                  0, width)
        tags = _tags(whole)
        for number, (tag, own) in enumerate(parts, 1):
            if tag not in tags:
                raise ProgramError(f"{options.model.name}: there is no tag {tag}; there are: "
                                   f"{', '.join(tags) or 'none'}")
            part = yield from shares(run.steps(context, own, whole.collection, messages),
                                     number * width, width)
            for obj in part.objects:
                if obj.parent is None:
                    _hang(obj, *tags[tag])
            tags.update((name, place) for name, place in _tags(part).items() if name not in tags)
    except BaseException:
        new.remove()
        settings.restore()
        raise


def shares(steps: Generator, start: float, width: float) -> Generator:
    """Steps as a part of larger ones."""
    while True:
        try:
            share, text = next(steps)
        except StopIteration as end:
            return end.value
        yield start + width * share, text


def _tags(imported: run.Imported) -> dict[str, Tag]:
    """By name: a bone of an armature, or an empty."""
    found: dict[str, Tag] = {}
    for obj in imported.objects:
        if obj.type == "ARMATURE":
            found.update((bone.name, (obj, bone.name)) for bone in obj.data.bones
                         if is_tag(bone.name))
        elif obj.type == "EMPTY" and is_tag(obj.name):
            found[plain_name(obj.name)] = (obj, "")
    return found


def _hang(obj: bpy.types.Object, parent: bpy.types.Object, bone: str) -> None:
    obj.parent = parent
    obj.matrix_parent_inverse = Matrix()
    if bone:
        # What hangs from a bone counts from its tail.
        obj.parent_type, obj.parent_bone = "BONE", bone
        length = parent.data.bones[bone].length
        obj.matrix_parent_inverse = Matrix.Translation((0, -length, 0))
