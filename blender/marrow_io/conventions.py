"""How Blender's axes, glTF's and those of joints fit together.

Blender is Z up and a character looks along -Y; glTF is Y up and it looks along +Z.
"""

from __future__ import annotations

import re

import numpy
from mathutils import Quaternion

# Rows: glTF's x, y, z of a vector in Blender's axes.
TO_GLTF = numpy.array([[1.0, 0, 0], [0, 0, 1.0], [0, -1.0, 0]])

# Which way a character looks in Blender, and what the program calls that axis of a glTF scene.
FACINGS = (("-Y", "+z"), ("Y", "-z"), ("X", "+x"), ("-X", "-x"))

# A material keeps the game's path of its shader or image.
PATH_PROPERTY = "game_path"

# A bone keeps the rotation from its joint's axes to its own under this name: w, x, y, z.
AXES_PROPERTY = "marrow_axes"

# ... and its place among the bones of the file it came from.
ORDER_PROPERTY = "marrow_order"

# A tag is seen as an object is: with axes that mean the same in its own space as in the world.
TAG_AXES = Quaternion((0.5 ** 0.5, -(0.5 ** 0.5), 0.0, 0.0))


def is_tag(name: str) -> bool:
    return name.lower().startswith("tag_")


def plain_name(name: str) -> str:
    """A name without the number that Blender appends to one that is taken."""
    return re.sub(r"\.\d{3,}$", "", name)


def facing_items() -> tuple:
    """For an EnumProperty whose identifiers are the program's words."""
    return tuple((program, blender, f"The character looks along {blender} in Blender, and along +X "
                  "in the game") for blender, program in FACINGS)
