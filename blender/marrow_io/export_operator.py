"""File > Export."""

from __future__ import annotations

from pathlib import Path
from typing import Iterator

import bpy
from bpy.props import BoolProperty, EnumProperty, FloatProperty, IntProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import log, preferences
from .conventions import facing_items
from .exporting import plan, run
from .import_operator import GAME_UNITS_PER_METRE
from .program import Message, ProgramError
from .stepping import Stepping

KINDS = (("MDC", "RTCW model, vertex animation (.mdc)"), ("MDS", "RTCW model, skeletal (.mds)"),
         ("MDM", "RTCW-ET model (.mdm with its .mdx)"), ("MDX", "RTCW-ET animation (.mdx)"))
_SUFFIXES = tuple(f".{kind.lower()}" for kind, _ in KINDS)


class EXPORT_SCENE_OT_marrow(bpy.types.Operator, Stepping, ExportHelper):
    """Export the scene as a model of RTCW (mdc, mds) or RTCW-ET (mdm, mdx)"""

    bl_idname = "export_scene.marrow"
    bl_label = "Export game model"
    bl_options = {"PRESET"}

    filename_ext = ""
    check_extension = None
    filter_glob: StringProperty(default="*.mdc;*.mds;*.mdm;*.mdx", options={"HIDDEN"})
    kind: EnumProperty(
        name="Kind", items=tuple((kind, kind.lower(), text) for kind, text in KINDS),
        description="What is written where the file's name has no suffix of a kind",
        default="MDS", options={"HIDDEN"})

    scale: FloatProperty(
        name="Units per metre", default=GAME_UNITS_PER_METRE, min=1e-4, soft_min=1, soft_max=100,
        description="Units of the game to one of Blender: a unit of the games is about an inch")
    facing: EnumProperty(name="Facing", items=facing_items(), default="+z",
                         description="Which way the character looks in Blender")
    use_selection: BoolProperty(name="Selected objects",
                                description="Leave out what is not selected")
    use_visible: BoolProperty(name="Visible objects", default=True,
                              description="Leave out what is hidden")
    use_collection: BoolProperty(
        name="Active collection",
        description="Leave out what is not in the active collection, or in one inside it")
    use_deform_bones: BoolProperty(
        name="Deforming bones",
        description="Leave out bones that deform nothing, such as controls; tags stay")
    origin: StringProperty(
        name="Origin",
        description="The object whose place at the first frame is the model's origin")
    frames: EnumProperty(
        name="Frames", default="SCENE",
        items=(("SCENE", "Scene range", "The frames of the scene, or of its preview where one is "
                "set"), ("RANGE", "Range", "The frames given below")))
    frame_start: IntProperty(name="Start", default=0)
    frame_end: IntProperty(name="End", default=100)
    sequences: EnumProperty(
        name="Sequences", default="AUTO",
        items=(("AUTO", "Automatic", "Skeletal models: NLA strips where there are some, else "
                "actions, else the frames; mdc: the frames"),
               ("STRIPS", "NLA strips", "Each strip alone, by its name, in the time line's order"),
               ("ACTIONS", "Actions", "Each action that fits the armature, by its name"),
               ("SCENE", "Frames as seen", "The frames as they play, as one")))
    write_sequences: BoolProperty(
        name="Sequence file", default=True,
        description="Write the sequence file beside a skeletal model")
    replace_sequences: BoolProperty(
        name="Replace it", default=False,
        description="Replace a sequence file that is there; else it stays as it is")
    helper_bones: BoolProperty(
        name="Helper bones", default=True,
        description="Add bones for what a skeletal file cannot say otherwise: bones that change "
                    "their distance from their parent, further bones without a parent")

    def invoke(self, context: bpy.types.Context, event: bpy.types.Event) -> set[str]:
        self.interactive = True
        # The last file's name again, as the kind that the menu's entry stands for.
        last = Path(self.filepath or context.blend_data.filepath or "untitled")
        self.filepath = str(last.with_suffix(f".{self.kind.lower()}"))
        self.filter_glob = "*." + self.kind.lower()
        context.window_manager.fileselect_add(self)
        return {"RUNNING_MODAL"}

    def check(self, _context: bpy.types.Context) -> bool:
        with_suffix = str(self.target())
        changed = bool(self.filepath) and with_suffix != self.filepath
        if changed:
            self.filepath = with_suffix
        return changed

    def draw(self, _context: bpy.types.Context) -> None:
        """The file browser has panels for it."""

    def target(self) -> Path:
        path = Path(bpy.path.abspath(self.filepath))
        if path.suffix.lower() in _SUFFIXES or not path.name:
            return path
        return path.with_name(f"{path.name}.{self.kind.lower()}")

    def steps(self, context: bpy.types.Context) -> Iterator[tuple[float, str]]:
        self._messages: list[Message] = []
        edited = context.object.mode if context.object else "OBJECT"
        try:
            program = preferences.program_path(context)
            if not self.filepath:
                raise ProgramError("no file is chosen")
            if edited != "OBJECT":
                # What is being edited is seen by others only once it is left.
                bpy.ops.object.mode_set(mode="OBJECT")
            yield from run.steps(context, self._options(context, program), self._messages)
        except Exception as fault:
            log.add_error(self._messages, fault)
            raise
        finally:
            if edited != "OBJECT" and context.object.mode != edited:
                bpy.ops.object.mode_set(mode=edited)
            log.keep(Path(self.filepath).name, self._messages)
            log.report(self, self._messages)

    def finish(self, _context: bpy.types.Context) -> set[str]:
        self.report({"INFO"}, f"{self.target().name}: written")
        return {"FINISHED"}

    def _options(self, context: bpy.types.Context, program: Path) -> run.Options:
        scene, target = context.scene, self.target()
        first, last = (scene.frame_start, scene.frame_end) if not scene.use_preview_range else \
            (scene.frame_preview_start, scene.frame_preview_end)
        sequences = self.sequences
        if self.frames == "RANGE":
            first, last = self.frame_start, self.frame_end
            if first > last:
                raise ProgramError(f"frames {first} to {last}: an empty range")
            sequences = "SCENE" if sequences == "AUTO" else sequences
        kind, arguments = target.suffix.lower(), ["--facing", self.facing]
        if kind != ".mdc" and not self.helper_bones:
            arguments.append("--no-helper-bones")
        if kind == ".mdm":
            arguments += ["--mdx", str(target.with_suffix(".mdx"))]
        collection = context.collection if self.use_collection else None
        choice = plan.Choice(self.use_selection, self.use_visible, collection,
                             self.use_deform_bones, self.origin)
        return run.Options(program, target, self.scale, first, last, sequences,
                           self.write_sequences, self.replace_sequences, choice, arguments)
