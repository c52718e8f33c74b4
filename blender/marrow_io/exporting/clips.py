"""Which frames go out as which sequence, and the scene set so that just these are seen."""

from __future__ import annotations

from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Iterator

import bpy

from ..importing import curves


@dataclass
class Clip:
    """Frames first to last of the scene; of strips or of an action where it names some."""

    name: str
    first: int
    last: int
    strips: str = ""
    actions: dict[str, bpy.types.Action] = field(default_factory=dict)


def of_scene(scene: bpy.types.Scene, first: int, last: int) -> list[Clip]:
    return [Clip(scene.name, first, last)]


def of_strips(owners: list[bpy.types.ID]) -> list[Clip]:
    """A clip for each strip name, in the order of the time line."""
    found: dict[str, Clip] = {}
    for strip in _strips(owners):
        first, last = round(strip.frame_start), round(strip.frame_end)
        clip = found.setdefault(strip.name, Clip(strip.name, first, last, strips=strip.name))
        clip.first, clip.last = min(clip.first, first), max(clip.last, last)
    return sorted(found.values(), key=lambda clip: clip.first)


def _strips(owners: list[bpy.types.ID]) -> Iterator[bpy.types.NlaStrip]:
    for owner in owners:
        for track in owner.animation_data.nla_tracks if owner.animation_data else []:
            for strip in track.strips:
                if strip.action and not strip.mute:
                    yield strip


def of_actions(owners: list[bpy.types.ID]) -> list[Clip]:
    """A clip for each action that moves one of the owners."""
    found: dict[str, Clip] = {}
    for owner in owners:
        for action in bpy.data.actions:
            if not _fits(owner, action):
                continue
            first, last = (round(frame) for frame in action.frame_range)
            clip = found.setdefault(action.name, Clip(action.name, first, last))
            clip.first, clip.last = min(clip.first, first), max(clip.last, last)
            clip.actions[owner.name] = action
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
    undo = []
    try:
        for owner in owners:
            data = owner.animation_data
            if not data or not (clip.strips or clip.actions):
                continue
            undo.append((data, "action", data.action))
            undo.append((data, "use_nla", data.use_nla))
            data.use_nla = bool(clip.strips)
            if clip.actions:
                slot = getattr(data, "action_slot", None)
                action = clip.actions.get(owner.name)
                data.action = action
                if action and getattr(action, "slots", None) and data.action_slot is None:
                    data.action_slot = action.slots[0]
                if slot is not None:
                    undo.append((data, "action_slot", slot))
                continue
            data.action = None
            for track in data.nla_tracks:
                named = any(strip.name == clip.strips for strip in track.strips)
                adds = all(strip.blend_type != "REPLACE" for strip in track.strips)
                for target, value in [(track, not named and (track.mute or not adds))]:
                    undo.append((target, "mute", target.mute))
                    target.mute = value
                for strip in track.strips if named else []:
                    undo.append((strip, "mute", strip.mute))
                    strip.mute = strip.name != clip.strips
        yield
    finally:
        # The action before its slot, which is chosen anew with an action.
        for target, name, value in undo:
            setattr(target, name, value)
