"""Clips of the file as actions and NLA strips: a frame of the game is a frame of Blender."""

from __future__ import annotations

from dataclasses import dataclass

import bpy
import numpy

from ..sidefiles import FRAME_RATE, Sequence
from . import curves


@dataclass(frozen=True)
class Clip:
    """A clip of `count` frames that begins at frame `first` of the time line."""

    name: str
    first: int
    count: int
    rate: float

    @property
    def last(self) -> int:
        return self.first + self.count - 1


def of_document(document: dict, sequences: list[Sequence]) -> list[Clip]:
    """Where the sequence file places them; a clip that it does not name follows the one before."""
    by_name = {sequence.name: sequence for sequence in sequences}
    clips: list[Clip] = []
    for animation in document.get("animations", []):
        inputs = {sampler["input"] for sampler in animation["samplers"]}
        seconds = max(document["accessors"][at]["max"][0] for at in inputs)
        known = by_name.get(animation.get("name", ""))
        if known:
            rate = (known.count - 1) / seconds if seconds > 0 and known.count > 1 else known.rate
            clips.append(Clip(known.name, known.first, known.count, rate))
        else:
            first = clips[-1].last + 1 if clips else 0
            clips.append(Clip(animation.get("name", "clip"), first,
                              round(seconds * FRAME_RATE) + 1, FRAME_RATE))
    return clips


def lay_out(owners: list[bpy.types.ID], clips: list[Clip], scene_rate: int) -> None:
    """Replaces the importer's muted tracks by one track for each clip, at the clip's frames.

    owners      objects and shape keys that the importer gave tracks
    scene_rate  frames a second that the importer placed the keys at
    """
    moving = [owner for owner in owners if owner.animation_data]
    for owner in moving:
        data = owner.animation_data
        actions = {track.name: track.strips[0].action for track in data.nla_tracks if track.strips}
        data.action = None
        for track in list(data.nla_tracks):
            data.nla_tracks.remove(track)
        for clip in clips:
            action = actions.get(clip.name)
            if action:
                action.name = clip.name if len(moving) == 1 or owner == moving[0] \
                    else f"{clip.name} {owner.name}"
                _place_on_frames(action, clip.rate / scene_rate)
                _add_strip(data, action, clip)


def _place_on_frames(action: bpy.types.Action, factor: float) -> None:
    for curve in curves.of_action(action):
        rows = curves.keys(curve)
        rows[:, 0] = numpy.round(rows[:, 0] * factor)
        curves.set_keys(curve, rows)


def _add_strip(data: bpy.types.AnimData, action: bpy.types.Action, clip: Clip) -> None:
    action.use_frame_range = True
    action.frame_start, action.frame_end = 0, max(clip.count - 1, 1)
    track = data.nla_tracks.new()
    track.name = clip.name
    strip = track.strips.new(clip.name, clip.first, action)
    strip.name = clip.name
    if getattr(action, "slots", None) and getattr(strip, "action_slot", True) is None:
        strip.action_slot = action.slots[0]
    strip.action_frame_start, strip.action_frame_end = action.frame_start, action.frame_end
    strip.extrapolation = "NOTHING"
    track.select = strip.select = False
