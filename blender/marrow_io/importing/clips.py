"""Clips of the file as actions and NLA strips: a frame of the game is a frame of Blender."""

from __future__ import annotations

import re
from dataclasses import dataclass

import bpy
import numpy
from mathutils import Quaternion

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


def lay_out(owners: list[bpy.types.ID], clips: list[Clip], scene_rate: int,
            turns: dict[str, Quaternion]) -> None:
    """Replaces the importer's muted tracks by one track for each clip, at the clip's frames.

    owners      objects and shape keys that the importer gave tracks
    scene_rate  frames a second that the importer placed the keys at
    turns       from the axes that the importer gave each bone to those that it has now
    """
    moving = [owner for owner in owners if owner.animation_data]
    rewritten = set()
    for owner in moving:
        data = owner.animation_data
        strips = {track.name: track.strips[0] for track in data.nla_tracks if track.strips}
        actions = {name: (strip.action, getattr(strip, "action_slot", None))
                   for name, strip in strips.items()}
        data.action = None
        for track in list(data.nla_tracks):
            data.nla_tracks.remove(track)
        for clip in clips:
            if clip.name not in actions:
                continue
            action, slot = actions[clip.name]
            # With slots, owners may share an action.
            if action.as_pointer() not in rewritten:
                rewritten.add(action.as_pointer())
                action.name = clip.name if owner == moving[0] else f"{clip.name} {owner.name}"
                _rewrite(action, clip.rate / scene_rate, turns)
            _add_strip(data, action, slot, clip)


def _rewrite(action: bpy.types.Action, factor: float, turns: dict[str, Quaternion]) -> None:
    """Keys onto whole frames, and poses into the bones' axes: one that counts from axes F is
    inverse(Q) P Q counted from F Q."""
    groups: dict[str, list[tuple[bpy.types.FCurve, numpy.ndarray]]] = {}
    for curve in curves.of_action(action):
        rows = curves.keys(curve)
        rows[:, 0] = numpy.round(rows[:, 0] * factor)
        groups.setdefault(curve.data_path, []).append((curve, rows))
    for path, group in groups.items():
        found = re.fullmatch(r'pose\.bones\["(.*)"\]\.(location|rotation_quaternion)', path)
        turn = turns.get(bpy.utils.unescape_identifier(found[1])) if found else None
        if turn:
            first = 1 if found[2] == "rotation_quaternion" else 0
            vector = [rows for curve, rows in sorted(group, key=lambda row: row[0].array_index)
                      if curve.array_index >= first]
            turned = numpy.stack([rows[:, 1] for rows in vector], axis=1) \
                @ numpy.array(turn.to_matrix(), numpy.float64)
            for rows, values in zip(vector, turned.T):
                rows[:, 1] = values
        for curve, rows in group:
            if path.startswith("key_blocks["):
                rows = curves.thin(curve, rows)
            curves.set_keys(curve, rows)


def _add_strip(data: bpy.types.AnimData, action: bpy.types.Action, slot, clip: Clip) -> None:
    action.use_frame_range = True
    action.frame_start, action.frame_end = 0, max(clip.count - 1, 1)
    track = data.nla_tracks.new()
    track.name = clip.name
    strip = track.strips.new(clip.name, clip.first, action)
    strip.name = clip.name
    if slot is not None:
        strip.action_slot = slot
    strip.action_frame_start, strip.action_frame_end = action.frame_start, action.frame_end
    strip.extrapolation = "NOTHING"
    track.select = strip.select = False
