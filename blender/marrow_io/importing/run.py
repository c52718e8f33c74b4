"""The steps of an import."""

from __future__ import annotations

import tempfile
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path
from typing import Generator

import bpy
from mathutils import Quaternion, Vector

from .. import glb, sidefiles
from ..conventions import PATH_PROPERTY, is_tag, plain_name
from ..program import Message, ProgramError, Run
from ..scenestate import NewData, SceneSettings
from . import armature, clips

# The share of an import that is the program's.
_READING = 0.4

# A tag's arrows, as a share of the model's largest side.
_ARROWS = 0.04


@dataclass
class Options:
    program: Path
    model: Path
    scale: float
    arguments: list[str] = field(default_factory=list)
    mdx: str = ""


@dataclass
class Imported:
    """What a model became."""

    collection: bpy.types.Collection
    objects: list[bpy.types.Object]


def steps(context: bpy.types.Context, options: Options, holder: bpy.types.Collection,
          messages: list[Message]) -> Generator[tuple[float, str], None, Imported]:
    """Imports one model into a collection below `holder`. Yields what share is done. `messages`
    takes what the program and the import have to say."""
    name = options.model.name
    with tempfile.TemporaryDirectory(prefix="marrow-") as folder:
        scene_file = Path(folder) / "scene.glb"
        run = Run(options.program,
                  ["import", str(options.model), "-o", str(scene_file), "--scale",
                   repr(options.scale), *options.arguments])
        try:
            for _ in run.wait():
                yield _READING * run.share, f"{name}: {run.text or 'reading'}"
        finally:
            messages.extend(run.messages)
        yield _READING, f"{name}: building the scene"
        return _build(context, scene_file, options, holder, messages)


def _build(context: bpy.types.Context, scene_file: Path, options: Options,
           holder: bpy.types.Collection, messages: list[Message]) -> Imported:
    scene, new, settings = context.scene, NewData(), SceneSettings(context)
    document = glb.read_json(scene_file)
    found = clips.of_document(document, sidefiles.sequences(options.model, options.mdx))
    _set_times(scene, found, messages, options.model.name)
    if context.mode != "OBJECT":
        bpy.ops.object.mode_set(mode="OBJECT")
    _read(scene_file)
    settings.restore_engine_and_properties()

    order = {node.get("name", ""): at for at, node in enumerate(document["nodes"])}
    objects = sorted(new.of("objects"), key=lambda obj: order.get(plain_name(obj.name), 0))
    collection = _collect(objects, options.model.stem, holder)
    turns = _dress(objects, order, options.model.stem, context)
    clips.lay_out([*objects, *new.of("shape_keys")], found, scene.render.fps, turns)
    for material in new.of("materials"):
        kept = material.get(PATH_PROPERTY)
        if kept:
            material[PATH_PROPERTY] = sidefiles.game_path(kept) or kept
    _keep_notes(document, options.model.name)
    _select(objects, context)
    scene.frame_set(scene.frame_current)
    return Imported(collection, objects)


def _collect(objects: list[bpy.types.Object], name: str,
             holder: bpy.types.Collection) -> bpy.types.Collection:
    collection = bpy.data.collections.new(name)
    holder.children.link(collection)
    for obj in objects:
        for other in list(obj.users_collection):
            other.objects.unlink(obj)
        collection.objects.link(obj)
    return collection


def _dress(objects: list[bpy.types.Object], order: dict[str, int], stem: str,
           context: bpy.types.Context) -> dict[str, Quaternion]:
    """Names, bones and tags as users expect them; returns how the bones' axes were turned."""
    turns = {}
    size = _size(objects)
    for obj in objects:
        if obj.type == "ARMATURE":
            obj.name = obj.data.name = f"{stem} rig" if stem in order else stem
            turns.update(armature.dress(obj, order, context))
        elif obj.type == "EMPTY" and is_tag(obj.name):
            obj.empty_display_type = "ARROWS"
            obj.empty_display_size = _ARROWS * size
    for obj in objects:
        # A name that the rig had for a moment.
        if plain_name(obj.name) in order and plain_name(obj.name) not in bpy.data.objects:
            obj.name = plain_name(obj.name)
    return turns


def _select(objects: list[bpy.types.Object], context: bpy.types.Context) -> None:
    own = set(objects)
    for obj in context.view_layer.objects:
        obj.select_set(obj in own)
    rigs = [obj for obj in objects if obj.type == "ARMATURE"]
    if objects:
        context.view_layer.objects.active = (rigs or objects)[0]


def _read(scene_file: Path) -> None:
    if not hasattr(bpy.types, "IMPORT_SCENE_OT_gltf"):
        raise ProgramError('Blender\'s add-on "glTF 2.0 format" is off: turn it on in the '
                           "preferences, under Add-ons")
    # Options differ between Blender's versions.
    known = bpy.ops.import_scene.gltf.get_rna_type().properties.keys()
    wanted = {"bone_heuristic": "BLENDER", "disable_bone_shape": True, "merge_vertices": False,
              "import_pack_images": True, "guess_original_bind_pose": True}
    bpy.ops.import_scene.gltf(filepath=str(scene_file),
                              **{key: value for key, value in wanted.items() if key in known})


def _set_times(scene: bpy.types.Scene, found: list[clips.Clip], messages: list[Message],
               name: str) -> None:
    """An empty scene takes the model's rate and frames; another keeps its own."""
    if not found:
        return
    rate = Counter(round(clip.rate) for clip in found).most_common(1)[0][0]
    if all(obj.type in ("CAMERA", "LIGHT") for obj in scene.objects):
        scene.render.fps, scene.render.fps_base = max(rate, 1), 1.0
        scene.frame_start = min(clip.first for clip in found)
        scene.frame_end = max(clip.last for clip in found)
        scene.frame_current = scene.frame_start
    scene_rate = scene.render.fps / scene.render.fps_base
    others: dict[float, list[str]] = {}
    for clip in found:
        if abs(clip.rate - scene_rate) > 0.01:
            others.setdefault(round(clip.rate, 2), []).append(clip.name)
    for rate, names in others.items():
        messages.append(Message(
            "warning", f"{name}: {', '.join(names)}: {rate:g} frames a second, the scene "
            f"{scene_rate:g}: every frame is kept and plays at the scene's rate"))


def _size(objects: list[bpy.types.Object]) -> float:
    corners = [obj.matrix_world @ Vector(corner) for obj in objects if obj.type == "MESH"
               for corner in obj.bound_box]
    if not corners:
        return 1.0
    return max(max(corner[axis] for corner in corners) - min(corner[axis] for corner in corners)
               for axis in range(3)) or 1.0


def _keep_notes(document: dict, name: str) -> None:
    notes = document["scenes"][document.get("scene", 0)].get("extras", {}).get("notes", "")
    if notes:
        bpy.data.texts.new(f"{name} notes").write(notes)
