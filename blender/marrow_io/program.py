"""The marrow program: where it is, how it is run, and what it says."""

from __future__ import annotations

import os
import platform
import re
import shutil
import signal
import subprocess
import threading
import time
from dataclasses import dataclass
from pathlib import Path
from typing import Iterator

FIRST_POLL_SECONDS = 0.001
POLL_SECONDS = 0.02
ANSWER_SECONDS = 20
PACKAGE = Path(__file__).resolve().parent


class ProgramError(Exception):
    """What a user has to be told about a run that did not succeed."""


@dataclass(frozen=True)
class Message:
    """One line of the program: kind is error, warning or note."""

    kind: str
    text: str


def _suffix() -> str:
    return ".exe" if os.name == "nt" else ""


def bundled() -> Path:
    """Where the zip of this system would hold the program."""
    system = {"Windows": "windows", "Darwin": "macos"}.get(platform.system(), "linux")
    machine = "arm64" if platform.machine().lower() in ("arm64", "aarch64") else "x64"
    return PACKAGE / "bin" / f"{system}-{machine}" / "bin" / f"marrow{_suffix()}"


def find(preferred: str) -> Path:
    """The program in the add-on, else the one of the preferences, else the one on PATH."""
    inside = bundled()
    if inside.is_file():
        _make_executable(inside)
        return inside
    if preferred:
        if not Path(preferred).is_file():
            raise ProgramError(
                f"{preferred}: no such program; set the path of marrow in the add-on's preferences"
            )
        return Path(preferred)
    on_path = shutil.which("marrow")
    if on_path:
        return Path(on_path)
    raise ProgramError(
        "the program marrow was not found: this add-on holds none for this system "
        f"({inside.parent.parent.name}), the preferences name none, and there is none on PATH"
    )


def _make_executable(path: Path) -> None:
    # Blender unpacks a zip without its permissions.
    if os.name != "nt" and not os.access(path, os.X_OK):
        path.chmod(path.stat().st_mode | 0o755)


_checked: dict[tuple[Path, int], bool] = {}


def check(path: Path) -> None:
    """Raises unless path answers as marrow does; each file is asked once."""
    key = (path, path.stat().st_mtime_ns)
    if key in _checked:
        return
    try:
        answer = subprocess.run(
            [str(path), "handlers"], capture_output=True, timeout=ANSWER_SECONDS,
            stdin=subprocess.DEVNULL, **no_window())
    except (OSError, subprocess.TimeoutExpired) as fault:
        raise ProgramError(f"{path}: not the program marrow ({fault})") from fault
    if b"mdc" not in answer.stdout or answer.returncode != 0:
        raise ProgramError(f"{path}: not the program marrow (it lists no handlers)")
    _checked[key] = True


def no_window() -> dict:
    if os.name == "nt":
        return {"creationflags": subprocess.CREATE_NO_WINDOW
                | subprocess.CREATE_NEW_PROCESS_GROUP}
    return {}


class Run:
    """One run of the program. Iterate over `wait()` until it ends; closing it ends the program.
    `share` and `text` are the progress that it tells of."""

    def __init__(self, path: Path, arguments: list[str]):
        check(path)
        self.messages: list[Message] = []
        self.share, self.text = 0.0, ""
        self._plain: list[str] = []
        try:
            self._process = subprocess.Popen(
                [str(path), *arguments, "--progress"], stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **no_window())
        except OSError as fault:
            raise ProgramError(f"{path}: cannot be run ({fault})") from fault
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self) -> None:
        for raw in self._process.stdout:
            line = raw.decode("utf-8", "replace").strip()
            found = re.match(r"marrow: (error|warning|note|progress): (.*)", line)
            if found and found[1] == "progress":
                percent, _, self.text = found[2].partition(" ")
                self.share = int(percent) / 100
            elif found:
                self.messages.append(Message(found[1], found[2]))
            elif line:
                self._plain.append(line)

    def wait(self) -> Iterator[None]:
        """Yields while the program runs; raises ProgramError where it fails."""
        try:
            pause = FIRST_POLL_SECONDS
            while self._process.poll() is None:
                yield
                time.sleep(pause)
                pause = min(2 * pause, POLL_SECONDS)
        finally:
            self._stop()
        self._reader.join()
        if self._process.returncode != 0:
            raise ProgramError(self._cause())

    def _stop(self) -> None:
        # An interrupted program takes its unfinished files away; a killed one could not.
        if self._process.poll() is not None:
            return
        self._process.send_signal(signal.CTRL_BREAK_EVENT if os.name == "nt" else signal.SIGINT)
        try:
            self._process.wait(ANSWER_SECONDS)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()

    def _cause(self) -> str:
        errors = [message.text for message in self.messages if message.kind == "error"]
        if errors:
            return errors[-1]
        if self._plain:
            return self._plain[-1]
        return f"marrow ended with code {self._process.returncode} and no message"
