"""GLB files: the JSON of one that the program wrote, and one written for it."""

from __future__ import annotations

import json
import struct
from pathlib import Path

import numpy

_MAGIC, _JSON, _BIN = 0x46546C67, 0x4E4F534A, 0x004E4942
_FLOAT, _UINT32 = 5126, 5125
_SHAPES = {(): "SCALAR", (2,): "VEC2", (3,): "VEC3", (4,): "VEC4", (4, 4): "MAT4"}


def read_json(path: Path) -> dict:
    with path.open("rb") as file:
        magic, _version, _length, size, kind = struct.unpack("<5I", file.read(20))
        if magic != _MAGIC or kind != _JSON:
            raise ValueError(f"{path.name}: not a GLB file")
        return json.loads(file.read(size))


def _text(document: dict) -> bytes:
    text = json.dumps(document, ensure_ascii=False, separators=(",", ":")).encode()
    return text + b" " * (-len(text) % 4)


class Writer:
    """A document under construction: `data` is its JSON, numbers go into one buffer."""

    def __init__(self) -> None:
        self.data: dict = {"asset": {"version": "2.0", "generator": "Marrow for Blender"},
                           "scene": 0, "scenes": [{"nodes": []}]}
        self._parts: list[bytes] = []
        self._size = 0

    def add(self, kind: str, entry: dict) -> int:
        rows = self.data.setdefault(kind, [])
        rows.append(entry)
        return len(rows) - 1

    def floats(self, values: numpy.ndarray, bounds: bool = False) -> int:
        """An accessor of rows of shape (), (2,), (3,), (4,), or of matrices as columns."""
        return self._accessor(numpy.ascontiguousarray(values, "<f4"), _FLOAT,
                              _SHAPES[values.shape[1:]], bounds)

    def indices(self, values: numpy.ndarray) -> int:
        return self._accessor(numpy.ascontiguousarray(values.reshape(-1), "<u4"), _UINT32, "SCALAR")

    def joints(self, values: numpy.ndarray) -> int:
        return self._accessor(numpy.ascontiguousarray(values, "<u2"), 5123, "VEC4")

    def _accessor(self, values: numpy.ndarray, component: int, shape: str,
                  bounds: bool = False) -> int:
        raw = values.tobytes()
        view = self.add("bufferViews",
                        {"buffer": 0, "byteOffset": self._size, "byteLength": len(raw)})
        padding = -len(raw) % 4
        self._parts.append(raw + b"\0" * padding)
        self._size += len(raw) + padding
        entry = {"bufferView": view, "componentType": component, "count": len(values),
                 "type": shape}
        if bounds and len(values):
            entry["min"] = numpy.atleast_1d(values.min(axis=0)).tolist()
            entry["max"] = numpy.atleast_1d(values.max(axis=0)).tolist()
        return self.add("accessors", entry)

    def write(self, path: Path) -> None:
        if self._size:
            self.data["buffers"] = [{"byteLength": self._size}]
        text = _text(self.data)
        length = 12 + 8 + len(text) + (8 + self._size if self._size else 0)
        with path.open("wb") as file:
            file.write(struct.pack("<5I", _MAGIC, 2, length, len(text), _JSON))
            file.write(text)
            if self._size:
                file.write(struct.pack("<2I", self._size, _BIN))
                for part in self._parts:
                    file.write(part)
