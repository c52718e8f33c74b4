"""The add-on's preferences."""

from __future__ import annotations

import bpy
from bpy.props import StringProperty

from . import program


class MARROW_Preferences(bpy.types.AddonPreferences):
    bl_idname = __package__

    program: StringProperty(
        name="Program", subtype="FILE_PATH",
        description="The program marrow; needed where this add-on holds none for your system and "
                    "it is not on PATH")

    def draw(self, _context: bpy.types.Context) -> None:
        self.layout.prop(self, "program")
        try:
            found = program.find(self.program)
            program.check(found)
            self.layout.label(text=f"In use: {found}", icon="CHECKMARK")
        except program.ProgramError as fault:
            self.layout.label(text=str(fault), icon="ERROR")


def program_path(context: bpy.types.Context):
    """Raises ProgramError where there is none."""
    addon = context.preferences.addons.get(__package__)
    preferred = addon.preferences.program if addon and addon.preferences else ""
    return program.find(bpy.path.abspath(preferred) if preferred else "")
