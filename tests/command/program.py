"""The program, a directory of its own for each test, and what a test looks into."""

import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

import numpy as np

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "oracle"))
MARROW = os.path.abspath(sys.argv[1])
SANITIZED = b"__asan_init" in open(MARROW, "rb").read()
SAMPLE = os.path.abspath(sys.argv[2])  # 3 clips: idle 41 frames, walk 21, wave 33; 23 bones, 2 tags, 2 skins


class Result:
    def __init__(self, process):
        self.code = process.returncode
        self.out = process.stdout.decode()
        self.err = process.stderr.decode()
        self.lines = self.err.splitlines()


class ProgramTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="marrow ü ")  # a blank and UTF-8
        self.addCleanup(holder.cleanup)
        self.dir = pathlib.Path(holder.name)

    def run_in(self, directory, *arguments, **options):
        return Result(
            subprocess.run([MARROW, *map(str, arguments)], cwd=directory, timeout=120,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options))

    def marrow(self, *arguments, code=0, **options):
        """Runs the program in the test's directory, which relative names are in."""
        result = self.run_in(self.dir, *arguments, **options)
        self.assertEqual(result.code, code, result.err)
        return result

    def fails(self, code, *arguments, saying, **options):
        """One line, with all of the texts in it."""
        result = self.marrow(*arguments, code=code, **options)
        self.assertEqual(len(result.lines), 1, result.err)
        self.assertTrue(result.err.startswith("marrow: error: "), result.err)
        for text in saying:
            self.assertIn(text, result.err)
        return result

    @staticmethod
    def assert_near(numbers, wanted, delta):
        np.testing.assert_allclose(numbers, wanted, rtol=0, atol=delta)

    def info(self, name, *options):
        return json.loads(self.marrow("info", name, "--json", *options).out)

    def names(self):
        return sorted(str(path.relative_to(self.dir)) for path in self.dir.rglob("*")
                      if path.is_file())

    def read(self, name):
        return (self.dir / name).read_bytes()

    def write(self, name, content):
        path = self.dir / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def patch(self, name, offset, number):
        data = bytearray(self.read(name))
        struct.pack_into("<i", data, offset, number)
        self.write(name, bytes(data))

    def export(self, name, *options):
        return self.marrow("export", SAMPLE, "-o", name, *options)

    def scene(self, name, change):
        """The sample as text, with its document changed; `change` gets the nodes by name too."""
        if not (self.dir / "sample.gltf").exists():
            self.marrow("convert", SAMPLE, "sample.gltf")
        document = json.loads(self.read("sample.gltf"))
        change(document, {node.get("name"): node for node in document["nodes"]})
        self.write(name, json.dumps(document))


def main():
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])


if os.name != "posix":
    sys.exit("these tests are for POSIX systems")
