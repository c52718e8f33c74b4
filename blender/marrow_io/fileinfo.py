"""What stands in a model and beside it, for the side panel, read while the panel stays alive."""

from __future__ import annotations

import json
import subprocess
import threading
from dataclasses import dataclass, field
from pathlib import Path

from . import sidefiles
from .program import ANSWER_SECONDS, no_window


MODELS = (".mdc", ".mds", ".mdm")


@dataclass
class FileInfo:
    """`frames` and `tags` are there once the program has answered; `fault` where it would not."""

    skins: list[str] = field(default_factory=list)
    sequences: list[sidefiles.Sequence] = field(default_factory=list)
    mdx: list[str] = field(default_factory=list)
    frames: int | None = None
    tags: list[str] = field(default_factory=list)
    fault: str = ""


_cache: dict[tuple, FileInfo] = {}


def of(model: Path, mdx: str, program: Path | None) -> FileInfo | None:
    """None where there is no such file. Returns at once; the program's part comes later."""
    beside = sidefiles.sequence_file(model, mdx)
    try:
        key = (model, mdx, *(path.stat().st_mtime_ns for path in (model, model.parent, beside)
                             if path and path.exists()))
    except OSError:
        return None
    if not model.is_file():
        return None
    if key not in _cache:
        info = FileInfo(sidefiles.skins(model), sidefiles.sequences(model, mdx),
                        [path.name for path in sidefiles.with_suffix(model.parent, ".mdx")])
        _cache[key] = info
        if program:
            threading.Thread(target=_ask, args=(info, model, mdx, program), daemon=True).start()
    return _cache[key]


def models_around(model: Path | None) -> list[str]:
    """Models in the folder of one and in the folders beside it, relative to it."""
    if model is None:
        return []
    own = [path.name for suffix in MODELS for path in sidefiles.with_suffix(model.parent, suffix)
           if path != model]
    folders = sorted(path for path in model.parent.parent.iterdir() if path.is_dir()
                     and path != model.parent)
    return own + [f"../{folder.name}/{path.name}" for folder in folders for suffix in MODELS
                  for path in sidefiles.with_suffix(folder, suffix)]


def _ask(info: FileInfo, model: Path, mdx: str, program: Path) -> None:
    try:
        told = _described(model, program)
        info.tags = [tag["name"] for tag in told.get("tags", [])]
        info.frames = told.get("numFrames")
        if info.frames is None and model.suffix.lower() == ".mdm":
            info.frames = _described(sidefiles.mdx_of(model, mdx), program).get("numFrames")
    except (OSError, ValueError, subprocess.SubprocessError) as fault:
        info.fault = str(fault)


def _described(path: Path, program: Path) -> dict:
    answer = subprocess.run([str(program), "info", str(path), "--json"], capture_output=True,
                            timeout=ANSWER_SECONDS, stdin=subprocess.DEVNULL, **no_window())
    if answer.returncode != 0:
        raise ValueError(answer.stderr.decode("utf-8", "replace").strip())
    return json.loads(answer.stdout)
