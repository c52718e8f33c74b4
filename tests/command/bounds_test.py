"""What small files can ask of a machine: side files that have no end are not read, what is known to
need more memory than it may is refused at once, and names do not steer terminals."""

import json
import os
import struct
import subprocess
import unittest
import zlib

import program
from program import MARROW, SAMPLE


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


def skinned(bones, seconds, vertices=3):
    """A mesh on that many joints, of which the first moves; or on none, and moves itself."""
    data = struct.pack("<2f6f", 0, seconds, 0, 0, 0, 1, 0, 0)
    data += struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0) * (vertices // 3)
    data += bytes(4 * vertices) + struct.pack("<4f", 1, 0, 0, 0) * vertices
    views, at = [], 0
    for size in 8, 24, 12 * vertices, 4 * vertices, 16 * vertices:
        views.append({"buffer": 0, "byteOffset": at, "byteLength": size})
        at += size
    kinds = (5126, 2, "SCALAR"), (5126, 2, "VEC3"), (5126, vertices, "VEC3"), \
        (5121, vertices, "VEC4"), (5126, vertices, "VEC4")
    joints = [{"name": f"b{i}"} for i in range(bones)]
    if bones:
        joints[0]["children"] = list(range(2, bones + 1))
    return data, {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1] if bones else [0]}],
        "nodes": [{"name": "m", "mesh": 0, **({"skin": 0} if bones else {})}, *joints],
        **({"skins": [{"joints": list(range(1, bones + 1))}]} if bones else {}),
        "meshes": [{"primitives": [{"attributes": {"POSITION": 2, "JOINTS_0": 3, "WEIGHTS_0": 4}}]}],
        "buffers": [{"byteLength": len(data), "uri": "m.bin"}], "bufferViews": views,
        "accessors": [{"bufferView": i, "componentType": component, "count": count, "type": kind}
                      for i, (component, count, kind) in enumerate(kinds)],
        "animations": [{"channels": [{"sampler": 0, "target": {"node": 1 if bones else 0,
                                                               "path": "translation"}}],
                        "samplers": [{"input": 0, "output": 1}]}]}


def png(width, height, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


SANITIZED = b"__asan_init" in open(MARROW, "rb").read()


class Bounded(program.ProgramTest):
    """Each file alone would take a gigabyte and more, or a minute."""

    def bounded(self, *arguments, code, saying, megabytes=400, seconds=10):
        with open(self.dir / "said", "wb") as said:
            process = subprocess.Popen([MARROW, *arguments], cwd=self.dir, stdout=subprocess.DEVNULL,
                                       stderr=said)
            _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        told = self.read("said").decode()
        self.assertEqual(process.returncode, code, told)
        self.assertIn(saying, told)
        if not SANITIZED:  # which takes several times as much of both
            self.assertLess(used.ru_utime + used.ru_stime, seconds)
            self.assertLess(used.ru_maxrss // 1024, megabytes)

    def scene(self, name, *how):
        data, scene = skinned(*how)
        self.write("m.bin", data)
        self.write(name, json.dumps(scene))

    def test_frames(self):
        self.scene("a.gltf", 60, 50000)
        self.bounded("export", "a.gltf", "-o", "a.mds", code=1,
                     saying="that the input can need (--max-memory allows others) holds")
        self.bounded("export", "a.gltf", "-o", "a.mds", "--max-memory", "500MB", code=1,
                     saying="--max-memory of 500 MB holds 647668 frames of 60 bones, not 1000001")
        self.scene("a.gltf", 0, 2000, 30000)
        self.bounded("export", "a.gltf", "-o", "a.mdc", code=1,
                     saying="the format holds 8945 frames of 30000 vertices, not 40001")
        self.assertEqual([name for name in self.names() if name.startswith("a.m")], [])

    def test_clips(self):
        self.export("a.mds")
        self.write("wolfanim.cfg", "VERSION 2\nSTARTANIMS\n" +
                   "".join(f"w{i} 0 95 0 20\n" for i in range(20000)) + "ENDANIMS\n")
        self.bounded("import", "a.mds", "-o", "a.glb", code=1, saying="GB for 20000 clips, more than")

    def test_files(self):
        self.export("a.mds")
        self.write("a.glb", b"glTF")
        with open(self.dir / "a.glb", "r+b") as scene, open(self.dir / "b.mds", "wb") as model:
            scene.truncate(1 << 30)
            model.truncate(3 << 30)
        limit = "--max-memory", "400MB"
        if not SANITIZED:
            self.bounded("info", "a.glb", *limit, code=1, saying="not enough memory; --max-memory")
        (self.dir / "b.mds").rename(self.dir / "c.glb")
        self.bounded("info", "c.glb", code=1, saying="is larger than 2 GiB")
        (self.dir / "c.glb").rename(self.dir / "b.mds")
        self.bounded("import", "b.mds", "-o", "b.glb", *limit, code=1,
                     saying="needs 16 GB for the file and its scene, more than --max-memory of 4")
        self.bounded("export", SAMPLE, "-o", "c.mds", "--max-memory", "1MB", code=2,
                     saying="--max-memory")

    def test_images(self):
        self.export("a.mds")
        surfaces = [surface["name"] for surface in self.info("a.mds")["surfaces"]]
        for image, found in [
                ("a.tga", bytes([0, 0, 2, *bytes(9)]) + struct.pack("<HHBB", 8190, 8190, 32, 0)),
                ("a.png", png(1, 1, bytes(1 << 30))), ("a.png", png(8000, 8000, b"\0" * 9)),
                ("a.jpg", b"\xff\xd8\xff\xc0\0\x11\x08\x1f\xff\x1f\xff\x03\x01\x22\0\x02\x11"
                          b"\x01\x03\x11\x01\xff\xd9")]:
            self.write(image, found)
            self.write("a.skin", "".join(f"{name},{image}\n" for name in surfaces))
            self.bounded("import", "a.mds", "-o", "a.glb", code=0, saying="is not an image")
            (self.dir / image).unlink()

    def test_an_image_of_many_surfaces(self):
        data, scene = skinned(1, 1)
        scene["meshes"][0]["primitives"] *= 36
        self.write("m.bin", data)
        self.write("a.gltf", json.dumps(scene))
        self.marrow("export", "a.gltf", "-o", "a.mds")
        surfaces = [surface["name"] for surface in self.info("a.mds")["surfaces"]]
        self.write("a.png", png(6000, 6000, bytes(18001 * 6000)))
        self.write("a.skin", "".join(f"{name},{'./' * i}a.png\n"
                                     for i, name in enumerate(surfaces)))
        self.bounded("import", "a.mds", "-o", "a.glb", code=0, saying="36 of 36 images found",
                     seconds=4)  # nine, where each surface decodes it


if __name__ == "__main__":
    program.main()
