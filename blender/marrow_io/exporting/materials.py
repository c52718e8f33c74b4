"""A material's shader path, as the games name it."""

from __future__ import annotations

import bpy

from ..conventions import PATH_PROPERTY, plain_name
from ..sidefiles import game_path


def shader_path(material: bpy.types.Material | None) -> str | None:
    """The custom property, else the image's path from its folder `models` on, else the name."""
    if material is None:
        return None
    kept = material.get(PATH_PROPERTY)
    if isinstance(kept, str) and kept:
        return game_path(kept) or kept
    for image in _images(material):
        for path in (image.filepath, image.name):
            found = game_path(bpy.path.abspath(path) if path.startswith("//") else path)
            if found:
                return found
    return plain_name(material.name)


def _images(material: bpy.types.Material) -> list[bpy.types.Image]:
    """Images of the material, what is its base colour first."""
    if not material.use_nodes or not material.node_tree:
        return []
    nodes = material.node_tree.nodes
    base = []
    for node in nodes:
        socket = node.inputs.get("Base Color") or node.inputs.get("Color")
        if node.type in ("BSDF_PRINCIPLED", "EMISSION", "BSDF_DIFFUSE") and socket:
            base += [link.from_node for link in socket.links]
    base += [node for node in nodes if node not in base]
    return [node.image for node in base if node.type == "TEX_IMAGE" and node.image]
