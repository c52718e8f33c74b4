"""Models of RTCW (mdc, mds) and RTCW-ET (mdm, mdx) in Blender, through the program marrow."""

bl_info = {
    "name": "Marrow: RTCW and RTCW-ET models",
    "author": "The Marrow authors",
    "version": (0, 0, 0),  # scripts/blender-addon.sh puts in the project's
    "blender": (3, 4, 0),
    "location": "File > Import-Export",
    "description": "Import and export mdc, mds, mdm and mdx models with their animation",
    "doc_url": "",
    "category": "Import-Export",
}

import bpy  # noqa: E402: Blender reads bl_info from the file's head without running it

from . import menus, panels
from .export_operator import EXPORT_SCENE_OT_marrow
from .import_operator import (IMPORT_SCENE_OT_marrow, MARROW_Attachment,
                              MARROW_SequenceChoice)
from .preferences import MARROW_Preferences

_CLASSES = (MARROW_Preferences, MARROW_SequenceChoice, MARROW_Attachment,
            IMPORT_SCENE_OT_marrow,
            EXPORT_SCENE_OT_marrow, *panels.CLASSES)


def register() -> None:
    for cls in _CLASSES:
        bpy.utils.register_class(cls)
    menus.register()


def unregister() -> None:
    menus.unregister()
    for cls in reversed(_CLASSES):
        bpy.utils.unregister_class(cls)
