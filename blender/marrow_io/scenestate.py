"""What a run must not leave changed: remembered before it, put back after it."""

from __future__ import annotations

import bpy

KINDS = ("objects", "meshes", "armatures", "actions", "materials", "images", "textures",
         "collections", "shape_keys", "curves", "cameras", "lights", "node_groups", "scenes")


class NewData:
    """Tells the data-blocks made since it was constructed, and can take them away again."""

    def __init__(self) -> None:
        self._before = {kind: {block.as_pointer() for block in getattr(bpy.data, kind)}
                        for kind in KINDS}

    def of(self, kind: str) -> list[bpy.types.ID]:
        before = self._before[kind]
        return [block for block in getattr(bpy.data, kind) if block.as_pointer() not in before]

    def remove(self) -> None:
        # Keys go with their meshes.
        bpy.data.batch_remove([block for kind in KINDS if kind != "shape_keys"
                               for block in self.of(kind)])


class SceneSettings:
    """The settings of a scene and its view layer that imports, exports and samplings touch."""

    def __init__(self, context: bpy.types.Context) -> None:
        scene, layer = context.scene, context.view_layer
        self._scene, self._layer = scene, layer
        self._engine = scene.render.engine
        self._rate = (scene.render.fps, scene.render.fps_base)
        self._range = (scene.frame_start, scene.frame_end)
        self._frame = (scene.frame_current, scene.frame_subframe)
        self._properties = {key: scene[key] for key in scene.keys()}
        self._active_name = layer.objects.active.name if layer.objects.active else None
        self._selected = [obj.name for obj in layer.objects if obj.select_get()]
        self._mode = context.mode

    def restore_engine_and_properties(self) -> None:
        """What Blender's glTF importer sets in a scene without being asked."""
        if self._scene.render.engine != self._engine:
            self._scene.render.engine = self._engine
        for key in [key for key in self._scene.keys() if key not in self._properties]:
            del self._scene[key]

    def restore_frame(self) -> None:
        self._scene.frame_set(self._frame[0], subframe=self._frame[1])

    def restore(self) -> None:
        self.restore_engine_and_properties()
        self._scene.render.fps, self._scene.render.fps_base = self._rate
        self._scene.frame_start, self._scene.frame_end = self._range
        self.restore_frame()
        selected = set(self._selected)
        for obj in self._layer.objects:
            obj.select_set(obj.name in selected)
        self._layer.objects.active = self._layer.objects.get(self._active_name or "")
