"""File > Import."""

from __future__ import annotations

from pathlib import Path
from typing import Iterator

import bpy
from bpy.props import (BoolProperty, CollectionProperty, EnumProperty, FloatProperty, IntProperty,
                       StringProperty)
from bpy_extras.io_utils import ImportHelper

from . import fileinfo, log, preferences
from .conventions import facing_items
from .importing import attach, run
from .program import Message, ProgramError
from .stepping import Stepping

GAME_UNITS_PER_METRE = 40.0


class MARROW_SequenceChoice(bpy.types.PropertyGroup):
    """A sequence to import; `name` is the sequence's."""

    use: BoolProperty(name="Import", default=True)


class MARROW_Attachment(bpy.types.PropertyGroup):
    """A model to hang from a tag; `name` is the tag's."""

    model: StringProperty(
        name="Model", search=lambda self, context, text: fileinfo.models_around(panel_path(
            context.space_data.active_operator, context)),
        description="The model to hang from this tag, relative to the imported one")


class IMPORT_SCENE_OT_marrow(bpy.types.Operator, Stepping, ImportHelper):
    """Import models of RTCW (mdc, mds) and RTCW-ET (mdm)"""

    bl_idname = "import_scene.marrow"
    bl_label = "Import game model"
    # Blender would push a step of undo when the file browser closes, before the work is done.
    bl_options = {"PRESET"}

    filename_ext = ""
    filter_glob: StringProperty(default="*.mdc;*.mds;*.mdm", options={"HIDDEN"})
    # Not kept for the next time: a path that is there at the start comes from a drop.
    filepath: StringProperty(subtype="FILE_PATH", options={"HIDDEN", "SKIP_SAVE"})
    files: CollectionProperty(type=bpy.types.OperatorFileListElement,
                              options={"HIDDEN", "SKIP_SAVE"})
    directory: StringProperty(subtype="DIR_PATH", options={"HIDDEN", "SKIP_SAVE"})

    scale: FloatProperty(
        name="Units per metre", default=GAME_UNITS_PER_METRE, min=1e-4, soft_min=1, soft_max=100,
        description="Units of the game to one of Blender: a unit of the games is about an inch")
    facing: EnumProperty(name="Facing", items=facing_items(), default="+z",
                         description="Which way the character looks in Blender")
    animation: EnumProperty(
        name="Animation", default="ALL",
        items=(("ALL", "All sequences", "Every sequence of the model's sequence file"),
               ("CHOSEN", "Chosen sequences", "The sequences ticked below"),
               ("NONE", "First frame", "The first frame as a pose")))
    sequences: StringProperty(
        name="Sequences", options={"HIDDEN", "SKIP_SAVE"},
        description="For scripts: the names of the sequences to import, separated by commas")
    choices: CollectionProperty(type=MARROW_SequenceChoice, options={"HIDDEN", "SKIP_SAVE"})
    choice_at: IntProperty(options={"HIDDEN", "SKIP_SAVE"})
    frames: EnumProperty(
        name="Frames", default="ALL",
        items=(("ALL", "All frames", "A shape key for each frame that differs, and an action"),
               ("ONE", "One frame", "The frame named below alone")))
    frame: IntProperty(name="Frame", min=0, description="The frame to import")
    meshes: BoolProperty(name="Meshes", default=True, description="Import the surfaces")
    bones: BoolProperty(name="Bones", default=True, description="Import the skeleton")
    materials: BoolProperty(name="Materials", default=True,
                            description="Import materials and the images that are found")
    skin: StringProperty(
        name="Skin", search=lambda self, context, text: panel_info(self, context).skins,
        description="The .skin file beside the model that names its images; the first if empty",
        options={"SKIP_SAVE"})
    game_folders: StringProperty(
        name="Game folders",
        description="Folders of games, above their models folders, to look for images in, "
        "separated by semicolons; later ones win")
    mdx: StringProperty(
        name="Mdx", search=lambda self, context, text: panel_info(self, context).mdx,
        description="The mdx file with skeleton and animation; the one named as the model if empty",
        options={"SKIP_SAVE"})
    attach: StringProperty(
        name="Attach", options={"HIDDEN", "SKIP_SAVE"},
        description="For scripts: models to hang from tags, as TAG=FILE, separated by commas")
    attachments: CollectionProperty(type=MARROW_Attachment, options={"HIDDEN", "SKIP_SAVE"})
    filled_from: StringProperty(options={"HIDDEN", "SKIP_SAVE"})

    def invoke(self, context: bpy.types.Context, event: bpy.types.Event) -> set[str]:
        self.interactive = True
        # Files were dropped on a window: only options are left to ask for.
        if self.paths():
            return context.window_manager.invoke_props_dialog(self)
        return ImportHelper.invoke(self, context, event)

    def draw(self, _context: bpy.types.Context) -> None:
        """The file browser has panels for it; a dialog draws them here."""
        if not isinstance(_context.space_data, bpy.types.SpaceFileBrowser):
            from . import panels
            panels.draw_import(self.layout, self, _context)

    def paths(self) -> list[Path]:
        names = [entry.name for entry in self.files if entry.name]
        if names:
            folder = self.directory or str(Path(self.filepath).parent)
            return [Path(bpy.path.abspath(folder)) / name for name in names]
        return [Path(bpy.path.abspath(self.filepath))] if self.filepath else []

    def steps(self, context: bpy.types.Context) -> Iterator[tuple[float, str]]:
        self._done, self._faults = 0, []
        paths = self.paths()
        try:
            program = preferences.program_path(context)
            if not paths:
                raise ProgramError("no file is chosen")
        except ProgramError as fault:
            log.keep(paths[0].name if paths else "import", [Message("error", str(fault))])
            raise
        for number, path in enumerate(paths):
            messages: list[Message] = []
            try:
                yield from attach.shares(
                    attach.steps(context, self._options(program, path), self._parts(program, path),
                                 messages), number / len(paths), 1 / len(paths))
                self._done += 1
            except ProgramError as fault:
                self._faults.append(str(fault))
                log.add_error(messages, fault)
            except Exception as fault:
                log.add_error(messages, fault)
                raise
            finally:
                log.keep(path.name, messages)
                log.report(self, messages)

    def finish(self, context: bpy.types.Context) -> set[str]:
        for fault in self._faults:
            self.report({"ERROR"}, fault)
        if not self._done:
            return {"CANCELLED"}
        if not bpy.app.background:
            bpy.ops.ed.undo_push(message=self.bl_label)
        return {"FINISHED"}

    def _parts(self, program: Path, path: Path) -> list[tuple[str, run.Options]]:
        pairs = [(row.name, row.model) for row in self.attachments if row.model]
        for pair in self.attach.split(","):
            tag, _, model = pair.partition("=")
            if model.strip():
                pairs.append((tag.strip(), model.strip()))
        return [(tag, self._options(program, path.parent / bpy.path.abspath(model), part=True))
                for tag, model in pairs]

    def _options(self, program: Path, path: Path, part: bool = False) -> run.Options:
        """Of a model, or of a part of one: skins, sequences and the mdx are a model's own."""
        kind = path.suffix.lower()
        if kind not in fileinfo.MODELS:
            raise ProgramError(f"{path}: is no mdc, mds or mdm file")
        arguments = ["--facing", self.facing]
        for folder in filter(None, map(str.strip, self.game_folders.split(";"))):
            arguments += ["--game-dir", bpy.path.abspath(folder)]
        if part:
            return run.Options(program, path, self.scale, arguments)
        if kind == ".mdc":
            if self.frames == "ONE":
                arguments += ["--frame", str(self.frame)]
        else:
            arguments += self._skeletal_arguments()
            if kind == ".mdm" and self.mdx:
                mdx = Path(bpy.path.abspath(self.mdx))
                arguments += ["--mdx", str(mdx if mdx.is_absolute() else path.parent / mdx)]
        return run.Options(program, path, self.scale, arguments, self.mdx)

    def _skeletal_arguments(self) -> list[str]:
        arguments: list[str] = []
        if self.skin:
            arguments += ["--skin", self.skin]
        for on, option in ((self.meshes, "--no-meshes"), (self.bones, "--no-bones"),
                           (self.materials, "--no-materials")):
            if not on:
                arguments.append(option)
        if self.animation == "NONE":
            arguments.append("--first-frame")
        names = [name.strip() for name in self.sequences.split(",") if name.strip()]
        if self.animation == "CHOSEN" and not names:
            names = [choice.name for choice in self.choices if choice.use]
        for name in names:
            arguments += ["--sequence", name]
        return arguments


def panel_path(operator: bpy.types.Operator, context: bpy.types.Context) -> Path | None:
    """The file that the browser stands on, else the operator's own."""
    space = context.space_data
    if isinstance(space, bpy.types.SpaceFileBrowser) and space.params and space.params.filename:
        folder = space.params.directory
        return Path(folder.decode("utf-8", "surrogateescape") if isinstance(folder, bytes)
                    else folder) / space.params.filename
    paths = operator.paths()
    return paths[0] if paths else None


def panel_info(operator: bpy.types.Operator, context: bpy.types.Context) -> fileinfo.FileInfo:
    path = panel_path(operator, context)
    try:
        program = preferences.program_path(context)
    except ProgramError:
        program = None
    found = None
    if path and path.suffix.lower() in fileinfo.MODELS:
        found = fileinfo.of(path, operator.mdx, program)
    return found or fileinfo.FileInfo()
