"""Runs the command and keeps the figures and faults of a check."""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np

import gltf


class Check:
    def __init__(self, marrow, folder):
        self.marrow, self.folder = marrow, folder
        self.faults = 0
        self.front = "+z"

    def face(self, front):
        """From here on the scenes' characters look along that axis."""
        self.front, gltf.AXES = front, gltf.axes_of(front)

    def run(self, *arguments):
        """The command's output. A failed run ends the check: nothing behind it has a meaning."""
        arguments += ("--facing", self.front) if arguments[0] != "convert" else ()
        done = subprocess.run([self.marrow, *map(str, arguments)], capture_output=True, text=True)
        if done.returncode:
            sys.exit(f"exit code {done.returncode}: marrow {' '.join(map(str, arguments))}\n"
                     f"{done.stdout}{done.stderr}")
        return done.stdout + done.stderr

    def expect(self, holds, what):
        if not holds:
            self.faults += 1
            print("WRONG:", what)

    def same(self, found, wanted, what):
        self.expect(found == wanted, f"{what}: {found!s:.200} instead of {wanted!s:.200}")

    def bound(self, what, errors, bound, height, tell=True):
        """Errors in units against their bounds; told also as a share of the model's height."""
        errors = np.asarray(errors)
        if errors.size == 0:
            return
        over = errors / np.broadcast_to(bound, errors.shape)
        if tell:
            print(f"  {what}: largest {errors.max():.3g} ({errors.max() / height:.2e} of the "
                  f"height), mean {errors.mean():.3g} ({errors.mean() / height:.2e}), "
                  f"{over.max():.0%} of the bound")
        worst = np.unravel_index(np.nanargmax(over), over.shape)
        self.expect(not np.isnan(errors).any() and over.max() <= 1,
                    f"{what}: {errors[worst]:.6g} at {tuple(map(int, worst))}")

    def surface(self, scene, made, own):
        """A model's against the scene's: vertices, of which each has coordinates, and triangles."""
        self.same(len(made.st), len(own.points), f"vertices of {own.name}")
        self.same(made.triangles.tolist(), scene.triangles(own).tolist(),
                  f"triangles of {own.name}")
        if own.st is not None:
            self.bound(f"texture coordinates of {own.name}", abs(made.st - own.st), 1e-6, 1,
                       tell=False)


def range_options(cut, origin):
    """Of an export of the frames from cut[0] to before cut[1], relative to a node."""
    return (["--start", cut[0], "--end", cut[1] - 1] if cut else []) + (
        ["--origin", origin] if origin else [])


def main(describe, check):
    """`check` is called with a `Check` and the scenes to run on."""
    parser = argparse.ArgumentParser(description=describe)
    parser.add_argument("marrow", type=pathlib.Path, help="the built command")
    parser.add_argument("scenes", type=pathlib.Path, nargs="+", help="rigged .glb files")
    asked = parser.parse_args()
    more = os.environ.get("MARROW_SAMPLES")  # a folder of further scenes to take in
    samples = pathlib.Path(more).glob("*.glb") if more else []
    with tempfile.TemporaryDirectory() as folder:
        made = Check(asked.marrow.resolve(), pathlib.Path(folder).resolve())
        check(made, asked.scenes + sorted(samples))
    sys.exit(f"{made.faults} faults" if made.faults else 0)
