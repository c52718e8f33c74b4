"""The steps of an export."""

from __future__ import annotations

import tempfile
from dataclasses import dataclass, field
from pathlib import Path
from typing import Iterator

import bpy
import numpy

from ..conventions import is_tag
from ..program import Message, ProgramError, Run
from ..scenestate import SceneSettings
from . import clips, document, samples
from .plan import Choice, plan

# Shares of the time that the two parts of an export take.
_SAMPLING = 0.7


@dataclass
class Options:
    """`sequences` is AUTO, STRIPS, ACTIONS or SCENE; first and last are frames of the scene."""

    program: Path
    target: Path
    scale: float
    first: int
    last: int
    sequences: str = "AUTO"
    sequence_file: bool = True
    replace: bool = False
    choice: Choice = field(default_factory=Choice)
    arguments: list[str] = field(default_factory=list)


def steps(context: bpy.types.Context, options: Options,
          messages: list[Message]) -> Iterator[tuple[float, str]]:
    """Exports the scene. Yields what share is done; whatever ends it, the scene is as before."""
    name = options.target.name
    kind = options.target.suffix.lower().lstrip(".")
    settings = SceneSettings(context)
    with tempfile.TemporaryDirectory(prefix="marrow-") as folder:
        scene_file = Path(folder) / "scene.glb"
        try:
            extra: list[str] = []
            for share in _write(context, options, kind, scene_file, messages, extra):
                yield _SAMPLING * share, f"{name}: frame {context.scene.frame_current}"
        finally:
            settings.restore_frame()
        rate = context.scene.render.fps / context.scene.render.fps_base
        arguments = ["export", str(scene_file), "-o", str(options.target), "--scale",
                     repr(options.scale), "--fps", repr(rate), *options.arguments, *extra]
        run = Run(options.program, arguments)
        try:
            for _ in run.wait():
                yield _SAMPLING + (1 - _SAMPLING) * run.share, f"{name}: {run.text or 'writing'}"
        finally:
            # The scene file is of no concern to a user.
            messages.extend(Message(message.kind, message.text.replace(str(scene_file), name))
                            for message in run.messages)


def _write(context: bpy.types.Context, options: Options, kind: str, scene_file: Path,
           messages: list[Message], extra: list[str]) -> Iterator[float]:
    """The scene for the program, and in `extra` the arguments that come of what is in it."""
    scene = context.scene
    made = plan(context, options.choice, geometry=kind != "mdx")
    found = _clips(made.moving(), scene, options, kind)
    if options.sequences in ("STRIPS", "ACTIONS") and not (found[0].strips or found[0].actions):
        messages.append(Message("warning", f"{options.target.name}: there are no "
                                f"{options.sequences.lower()}: the frames are exported as seen"))
    with clips.shown(made.moving(), found[0]):
        found[0].show(scene, found[0].first)
        poses = samples.Poses(made)
        joints, bound = samples.bind(made, context, poses)
    rows = samples.Samples(numpy.empty(0), numpy.empty(0))
    yield from samples.sample(made, found, context, poses, joints, bound, kind == "mdc", rows)
    for item in made.items:
        if item.source.name == options.choice.origin:
            extra += ["--origin", item.name]
    rate = scene.render.fps / scene.render.fps_base
    builder = document.Builder(made, found, rows, joints, bound, kind, rate)
    beyond = builder.beyond_bones()
    if beyond:
        yield from samples.sample_shapes(made, found, context, beyond, rows)
    if not builder.moves():
        rows.first_only()
        messages.append(Message("note", f"{options.target.name}: nothing moves: one frame"))
    elif options.sequence_file and kind != "mdc":
        extra += ["--sequences", "--force"] if options.replace else ["--sequences"]
    writer = builder.build()
    messages.extend(Message("warning", text) for text in made.warnings + builder.warnings)
    tags = any(is_tag(item.name) for item in made.items)
    if not (tags or made.joints or "meshes" in writer.data):
        raise ProgramError("nothing to export: no object has faces")
    writer.write(scene_file)


def _clips(owners: list[bpy.types.ID], scene: bpy.types.Scene, options: Options,
           kind: str) -> list[clips.Clip]:
    found: list[clips.Clip] = []
    wish = options.sequences
    if wish == "STRIPS" or (wish == "AUTO" and kind != "mdc"):
        found = clips.of_strips(owners)
    if not found and (wish == "ACTIONS" or (wish == "AUTO" and kind != "mdc")):
        found = clips.of_actions(owners)
    return found or clips.of_scene(scene, options.first, options.last)
