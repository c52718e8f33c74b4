"""Entries of the File menu, and files dropped on a window (Blender 4.1 and later)."""

from __future__ import annotations

import bpy

from .export_operator import EXPORT_SCENE_OT_marrow, KINDS
from .fileinfo import MODELS
from .import_operator import IMPORT_SCENE_OT_marrow

_IMPORTS = (("RTCW model (.mdc, .mds)", "*.mdc;*.mds"), ("RTCW-ET model (.mdm)", "*.mdm"))


def draw_import(self, _context: bpy.types.Context) -> None:
    for text, pattern in _IMPORTS:
        entry = self.layout.operator(IMPORT_SCENE_OT_marrow.bl_idname, text=text)
        entry.filter_glob = pattern


def draw_export(self, _context: bpy.types.Context) -> None:
    for kind, text in KINDS:
        entry = self.layout.operator(EXPORT_SCENE_OT_marrow.bl_idname, text=text)
        entry.kind = kind


def register() -> None:
    bpy.types.TOPBAR_MT_file_import.append(draw_import)
    bpy.types.TOPBAR_MT_file_export.append(draw_export)
    if _DROP:
        bpy.utils.register_class(_DROP)


def unregister() -> None:
    if _DROP:
        bpy.utils.unregister_class(_DROP)
    bpy.types.TOPBAR_MT_file_export.remove(draw_export)
    bpy.types.TOPBAR_MT_file_import.remove(draw_import)


_DROP = None
if hasattr(bpy.types, "FileHandler"):

    class MARROW_FH_models(bpy.types.FileHandler):
        bl_idname = "MARROW_FH_models"
        bl_label = "Game models"
        bl_import_operator = IMPORT_SCENE_OT_marrow.bl_idname
        bl_file_extensions = ";".join(MODELS)

        @classmethod
        def poll_drop(cls, context: bpy.types.Context) -> bool:
            return context.area is not None and context.area.type in ("VIEW_3D", "OUTLINER")

    _DROP = MARROW_FH_models
