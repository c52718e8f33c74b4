"""Which frames go out as which sequence, and the scene set so that just these are seen."""

from __future__ import annotations

from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Iterator

import bpy

from ..importing import curves


# Of a frame: too short for anything to move by a step of an angle.
_JUST_AFTER = 1e-4

Owner = tuple[str, str]


def owner_key(block: bpy.types.ID) -> Owner:
    return type(block).__name__, block.name


@dataclass
class Clip:
    """Frames first to last of the scene: of strips of that name, or of an action for each owner,
    where it names some. `taking_part` has every owner of any clip: what moves by other means, by
    an action beside strips say, moves on in all of them. `shares_first`: another strip of the
    track ends at the first frame, which Blender gives to that one."""

    name: str
    first: int
    last: int
    strips: str = ""
    actions: dict[Owner, bpy.types.Action] = field(default_factory=dict)
    taking_part: set[Owner] = field(default_factory=set)
    shares_first: bool = False

    def show(self, scene: bpy.types.Scene, frame: int) -> None:
        late = self.shares_first and frame == self.first
        scene.frame_set(frame, subframe=_JUST_AFTER if late else 0.0)

    def cover(self, first: float, last: float) -> None:
        self.first, self.last = min(self.first, round(first)), max(self.last, round(last))


def of_scene(scene: bpy.types.Scene, first: int, last: int) -> list[Clip]:
    return [Clip(scene.name, first, last)]


def of_strips(owners: list[bpy.types.ID]) -> list[Clip]:
    """A clip for each strip name, in the order of the time line."""
    found: dict[str, Clip] = {}
    taking_part: set[Owner] = set()
    for owner in owners:
        for track in owner.animation_data.nla_tracks if owner.animation_data else []:
            for strip in track.strips:
                if not strip.action or strip.mute:
                    continue
                taking_part.add(owner_key(owner))
                clip = found.setdefault(strip.name, Clip(
                    strip.name, round(strip.frame_start), round(strip.frame_end), strip.name,
                    taking_part=taking_part))
                clip.cover(strip.frame_start, strip.frame_end)
                clip.shares_first |= any(other.frame_end == strip.frame_start
                                         for other in track.strips)
    return sorted(found.values(), key=lambda clip: clip.first)


def of_actions(owners: list[bpy.types.ID]) -> list[Clip]:
    """A clip for each action that moves one of the owners."""
    found: dict[str, Clip] = {}
    taking_part: set[Owner] = set()
    for owner in owners:
        for action in bpy.data.actions:
            if not _fits(owner, action):
                continue
            taking_part.add(owner_key(owner))
            first, last = action.frame_range
            clip = found.setdefault(action.name, Clip(action.name, round(first), round(last),
                                                      taking_part=taking_part))
            clip.cover(first, last)
            clip.actions[owner_key(owner)] = action
    return list(found.values())


def _fits(owner: bpy.types.ID, action: bpy.types.Action) -> bool:
    data = owner.animation_data
    if data and data.action == action:
        return True
    if not isinstance(owner, bpy.types.Object) or owner.type != "ARMATURE":
        return False
    paths = {curve.data_path for curve in curves.of_action(action)}
    bones = {path for path in paths if path.startswith("pose.bones[")}
    if not bones:
        return False
    try:
        return all(owner.path_resolve(path) is not None for path in bones)
    except ValueError:
        return False


@contextmanager
def shown(owners: list[bpy.types.ID], clip: Clip) -> Iterator[None]:
    """The clip's strips or actions alone in effect; strips that add to others stay."""
    undo: list[tuple[object, str, object]] = []

    def change(target: object, name: str, value: object) -> None:
        undo.append((target, name, getattr(target, name)))
        setattr(target, name, value)

    try:
        for owner in owners:
            if owner_key(owner) not in clip.taking_part:
                continue
            data = owner.animation_data or owner.animation_data_create()
            slot = getattr(data, "action_slot", None)
            change(data, "use_nla", bool(clip.strips))
            change(data, "action", clip.actions.get(owner_key(owner)))
            if slot is not None:
                undo.append((data, "action_slot", slot))
            if data.action and getattr(data, "action_slot", True) is None \
                    and data.action_suitable_slots:
                data.action_slot = data.action_suitable_slots[0]
            for track in data.nla_tracks if clip.strips else []:
                named = any(strip.name == clip.strips for strip in track.strips)
                adds = all(strip.blend_type != "REPLACE" for strip in track.strips)
                change(track, "mute", not named and (track.mute or not adds))
        yield
    finally:
        # An action before its slot, which Blender chooses anew with the action.
        for target, name, value in undo:
            setattr(target, name, value)
