"""The side panels of the file browser."""

from __future__ import annotations

import bpy

from .export_operator import EXPORT_SCENE_OT_marrow
from .fileinfo import FileInfo
from .import_operator import IMPORT_SCENE_OT_marrow, panel_info, panel_path

_SHOWN_SEQUENCES = 8
_SHOWN_TAGS = 16


class _BrowserPanel:
    bl_space_type = "FILE_BROWSER"
    bl_region_type = "TOOL_PROPS"
    bl_parent_id = "FILE_PT_operator"
    operator = ""

    @classmethod
    def poll(cls, context: bpy.types.Context) -> bool:
        active = context.space_data.active_operator
        return bool(active) and active.bl_idname == cls.operator

    def draw(self, context: bpy.types.Context) -> None:
        self.layout.use_property_split = True
        self.layout.use_property_decorate = False
        self.draw_options(context.space_data.active_operator, context)


class MARROW_UL_sequences(bpy.types.UIList):
    def draw_item(self, _context, layout, _data, item, _icon, _active_data, _active_name) -> None:
        layout.prop(item, "use", text=item.name)


def draw_import(layout: bpy.types.UILayout, operator: bpy.types.Operator,
                context: bpy.types.Context) -> None:
    """All options that fit the file, filled from it."""
    layout.use_property_split = True
    layout.use_property_decorate = False
    path = panel_path(operator, context)
    kind = path.suffix.lower() if path else ""
    info = panel_info(operator, context)
    _fill(operator, str(path) if path else "", info)
    layout.prop(operator, "scale")
    layout.prop(operator, "facing")
    layout.prop(operator, "game_folders")
    if info.fault:
        layout.label(text=info.fault, icon="ERROR")
    if kind == ".mdc":
        layout.prop(operator, "frames")
        if operator.frames == "ONE":
            layout.prop(operator, "frame")
        if info.frames is not None:
            layout.label(text=f"{info.frames} frames, {len(info.tags)} tags")
    else:
        _draw_skeletal(layout, operator, kind, info)
    if operator.attachments:
        column = layout.column(heading="Attach")
        for row in operator.attachments:
            column.prop(row, "model", text=row.name)


def _draw_skeletal(layout: bpy.types.UILayout, operator: bpy.types.Operator, kind: str,
                   info: FileInfo) -> None:
    if kind == ".mdm":
        layout.prop(operator, "mdx")
    column = layout.column(heading="Include")
    for name in ("meshes", "bones", "materials"):
        column.prop(operator, name)
    row = layout.row()
    row.enabled = operator.materials
    row.prop(operator, "skin")
    layout.label(text=f"{len(info.skins)} skins beside the model" if info.skins
                 else "no .skin file beside the model")
    column = layout.column()
    column.enabled = operator.bones
    column.prop(operator, "animation")
    if info.sequences:
        frames = "" if info.frames is None else f" in {info.frames} frames"
        column.label(text=f"{len(info.sequences)} sequences{frames}")
    elif kind:
        column.label(text="no sequence file: the first frame only", icon="INFO")
    if operator.animation == "CHOSEN":
        column.template_list("MARROW_UL_sequences", "", operator, "choices", operator,
                             "choice_at", rows=_SHOWN_SEQUENCES)


def _fill(operator: bpy.types.Operator, path: str, info: FileInfo) -> None:
    if operator.filled_from != path:
        operator.filled_from = path
        operator.choices.clear()
        operator.attachments.clear()
        for sequence in info.sequences:
            operator.choices.add().name = sequence.name
        if operator.skin not in info.skins:
            operator.skin = ""
        if operator.mdx not in info.mdx:
            operator.mdx = ""
    if info.tags and not operator.attachments:
        for tag in info.tags[:_SHOWN_TAGS]:
            operator.attachments.add().name = tag


class MARROW_PT_import(_BrowserPanel, bpy.types.Panel):
    bl_label = "Model"
    operator = "IMPORT_SCENE_OT_marrow"

    def draw_options(self, operator: IMPORT_SCENE_OT_marrow, context: bpy.types.Context) -> None:
        draw_import(self.layout, operator, context)


class MARROW_PT_export_include(_BrowserPanel, bpy.types.Panel):
    bl_label = "Include"
    operator = "EXPORT_SCENE_OT_marrow"

    def draw_options(self, operator: EXPORT_SCENE_OT_marrow, context: bpy.types.Context) -> None:
        layout = self.layout
        column = layout.column(heading="Limit to")
        column.prop(operator, "use_selection")
        column.prop(operator, "use_visible")
        column.prop(operator, "use_collection")
        layout.prop(operator, "scale")
        layout.prop(operator, "facing")
        layout.prop_search(operator, "origin", context.scene, "objects")


class MARROW_PT_export_animation(_BrowserPanel, bpy.types.Panel):
    bl_label = "Animation"
    operator = "EXPORT_SCENE_OT_marrow"

    def draw_options(self, operator: EXPORT_SCENE_OT_marrow, context: bpy.types.Context) -> None:
        layout, scene = self.layout, context.scene
        skeletal = operator.target().suffix.lower() != ".mdc"
        layout.prop(operator, "frames")
        if operator.frames == "RANGE":
            column = layout.column(align=True)
            column.prop(operator, "frame_start")
            column.prop(operator, "frame_end")
        else:
            layout.label(text=f"Frames {scene.frame_start} to {scene.frame_end}")
        layout.prop(operator, "sequences")
        column = layout.column(heading="Write")
        column.enabled = skeletal
        column.prop(operator, "write_sequences")
        row = column.row()
        row.enabled = operator.write_sequences
        row.prop(operator, "replace_sequences")
        column = layout.column(heading="Skeleton")
        column.enabled = skeletal
        column.prop(operator, "helper_bones")
        column.prop(operator, "use_deform_bones")


CLASSES = (MARROW_UL_sequences, MARROW_PT_import, MARROW_PT_export_include,
           MARROW_PT_export_animation)
