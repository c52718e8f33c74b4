"""What stands beside a model: its skins, its sequence file, its mdx; and names in game folders."""

from __future__ import annotations

import re
from dataclasses import dataclass
from pathlib import Path

FRAME_RATE = 20.0


@dataclass(frozen=True)
class Sequence:
    """A line of a sequence file: frames first to first + count - 1, `rate` frames a second."""

    name: str
    first: int
    count: int
    loop: int
    rate: float

    @property
    def last(self) -> int:
        return self.first + self.count - 1


def with_suffix(folder: Path, suffix: str) -> list[Path]:
    """Files of a folder by suffix in any case, in the order of their names."""
    try:
        return sorted((path for path in folder.iterdir() if path.suffix.lower() == suffix),
                      key=lambda path: path.name.lower())
    except OSError:
        return []


def skins(model: Path) -> list[str]:
    return [path.stem for path in with_suffix(model.parent, ".skin")]


def mdx_of(model: Path, chosen: str = "") -> Path:
    if not chosen:
        return model.with_suffix(".mdx")
    return Path(chosen) if Path(chosen).is_absolute() else model.parent / chosen


def sequence_file(model: Path, mdx: str = "") -> Path | None:
    """wolfanim.cfg beside an mds, NAME.aninc beside an mdx; none for an mdc."""
    kind = model.suffix.lower()
    if kind == ".mds":
        return model.parent / "wolfanim.cfg"
    if kind == ".mdm":
        return mdx_of(model, mdx).with_suffix(".aninc")
    if kind == ".mdx":
        return model.with_suffix(".aninc")
    return None


def sequences(model: Path, mdx: str = "") -> list[Sequence]:
    """The lines NAME FIRST COUNT LOOP RATE of the model's sequence file, in their order."""
    path = sequence_file(model, mdx)
    try:
        text = path.read_text("utf-8", "replace") if path else ""
    except OSError:
        return []
    found = []
    for line in text.splitlines():
        words = line.split("//")[0].split()
        if len(words) < 5 or not all(re.fullmatch(r"-?\d+", word) for word in words[1:4]):
            continue
        try:
            rate = float(words[4])
        except ValueError:
            continue
        count = int(words[2])
        if count > 0:
            found.append(Sequence(words[0], int(words[1]), count, int(words[3]),
                                  rate if rate > 0 else FRAME_RATE))
    return found


def game_path(path: str) -> str | None:
    """A path from its last folder `models` on, as the games name files; None outside of one."""
    parts = path.replace("\\", "/").split("/")
    for at in range(len(parts) - 2, -1, -1):
        if parts[at].lower() == "models":
            return "/".join(parts[at:])
    return None
