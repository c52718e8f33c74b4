"""Side files that have no end are not read, and names do not steer terminals."""

import json
import os
import struct
import unittest

import program
from program import SAMPLE


def gltf(name):
    """A scene with a node of that name that shows a triangle and moves, and its m.bin."""
    data = struct.pack("<2f6f", 0, 1, 0, 0, 0, 1, 0, 0)
    floats = {"componentType": 5126}
    scene = {"asset": {"version": "2.0"}, "nodes": [{"name": name, "mesh": 0}],
             "meshes": [{"primitives": [{"attributes": {"POSITION": 2}}]}],
             "buffers": [{"byteLength": len(data), "uri": "m.bin"}],
             "bufferViews": [{"buffer": 0, "byteLength": 8},
                             {"buffer": 0, "byteOffset": 8, "byteLength": 24}],
             "accessors": [{**floats, "bufferView": 0, "count": 2, "type": "SCALAR"},
                           {**floats, "bufferView": 1, "count": 2, "type": "VEC3"},
                           {**floats, "count": 3, "type": "VEC3"}],
             "animations": [{"channels": [{"sampler": 0, "target": {"node": 0,
                                                                    "path": "translation"}}],
                             "samplers": [{"input": 0, "output": 1}]}]}
    return json.dumps(scene), data


class Endless(program.ProgramTest):
    """Pipes in the place of files; who opens one waits for somebody to write."""

    def fifo(self, name):
        if (self.dir / name).exists():
            (self.dir / name).unlink()
        os.mkfifo(self.dir / name)
        return name

    def ends(self, *arguments, code, saying=""):
        self.assertIn(saying, self.marrow(*arguments, code=code).err)

    def test_pipes(self):
        for kind in "mds", "mdm", "mdx":
            self.export("a." + kind, "--end", "3")
        self.write("hero/models/a.mds", self.read("a.mds"))
        for name in "wolfanim.cfg", "a.aninc", "a.skin":
            self.fifo(name)
        self.ends("import", "a.mds", "-o", "b.glb", code=0)
        self.ends("import", "a.mdm", "-o", "b.glb", code=0)
        self.fifo("hero/models/image.tga")
        self.write("hero/models/a.skin", "body,models/image.tga\n")
        self.ends("import", "hero/models/a.mds", "-o", "b.glb", code=0, saying="is not found")
        self.ends("import", "a.mdm", "-o", "b.glb", "--mdx", self.fifo("p.mdx"), code=1)
        for option in "--bone-map", "--sequences-from":
            self.ends("export", SAMPLE, "-o", "c.mds", option, self.fifo("p"), code=1,
                      saying="is not a regular file")
        self.ends("info", self.fifo("p.glb"), code=1)
        text, _ = gltf("a")
        self.write("m.gltf", text)
        self.fifo("m.bin")
        self.ends("info", "m.gltf", code=1, saying="cannot read m.bin")
        self.ends("info", "/dev/zero", code=2)

    def test_names_do_not_steer_terminals(self):
        scene, data = gltf("a\x1b[2J\x7f\u009b\nb\u00fc")
        self.write("m.gltf", scene)
        self.write("m.bin", data)
        shown = self.marrow("info", "m.gltf").out + self.marrow("info", "m.gltf", "--json").out
        told = self.marrow("export", "m.gltf", "-o", "m.mds").err
        for text in shown, told:
            self.assertFalse([c for c in text if c != "\n" and (c < " " or "\x7f" <= c < "\xa0")])
        self.assertIn("a?[2J??", shown)
        self.assertEqual(self.info("m.gltf")["nodes"][0]["name"], "a\x1b[2J\x7f\u009b\nb\u00fc")


if __name__ == "__main__":
    program.main()
