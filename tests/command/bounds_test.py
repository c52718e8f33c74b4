"""What small files can ask of a machine: side files that have no end are not read, what is known to
need more memory than it may is refused at once, and names do not steer terminals."""

import itertools
import os
import struct
import subprocess
import zlib

import numpy as np

import program  # also brings the path of the oracle's modules
from program import MARROW, SAMPLE
import scenes


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
        self.marrow("convert", SAMPLE, "m.gltf")
        self.fifo("m.bin")
        self.ends("info", "m.gltf", code=1, saying="cannot read m.bin")
        self.ends("info", "/dev/zero", code=2)

    def test_names_do_not_steer_terminals(self):
        name = "a\x1b[2J\x7f\u009b\nb\u00fc"
        self.scene("m.gltf", lambda _, nodes: (nodes["body"].pop("skin"),
                                               nodes["body"].update(name=name)))
        shown = self.marrow("info", "m.gltf").out + self.marrow("info", "m.gltf", "--json").out
        told = self.marrow("export", "m.gltf", "-o", "m.mds").err
        for text in shown, told:
            self.assertFalse([c for c in text if c != "\n" and (c < " " or "\x7f" <= c < "\xa0")])
            self.assertIn("[2J??", text)
        self.assertIn(name, [node["name"] for node in self.info("m.gltf")["nodes"]])


def rig(bones, seconds, triangles=1):
    """A mesh on that many joints, of which the first moves; or on none, and moves itself."""
    scene, corners = scenes.Scene(), np.tile(np.eye(3), (triangles, 1))
    joints = [scene.node(f"b{i}", 0 if i else None) for i in range(bones)]
    scene.node("m", mesh=0, **({"skin": 0} if bones else {}))
    scene.skins = [{"joints": joints}] if bones else []
    first = np.eye(4)[[0] * len(corners)]
    scene.meshes = [scene.mesh("m", corners, corners, corners[:, :2], np.arange(len(corners)), {
        "JOINTS_0": scene.array(0 * first, "VEC4", scenes.make_sample.BYTE),
        "WEIGHTS_0": scene.array(first, "VEC4")})]
    scene.clip("move", (0, "translation", [0, seconds], [(0, 0, 0), (1, 0, 0)], "LINEAR"))
    return scene


def png(width, height, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


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
        if not program.SANITIZED:  # which takes several times as much of both
            self.assertLess(used.ru_utime + used.ru_stime, seconds)
            self.assertLess(used.ru_maxrss // 1024, megabytes)

    def test_frames(self):
        rig(60, 50000).write(self.dir / "a.glb")
        self.bounded("export", "a.glb", "-o", "a.mds", code=1,
                     saying="that the input can need (--max-memory allows others) holds")
        self.bounded("export", "a.glb", "-o", "a.mds", "--max-memory", "500MB", code=1,
                     saying="--max-memory of 500 MB holds 647668 frames of 60 bones, not 1000001")
        rig(0, 2000, 10000).write(self.dir / "a.glb")
        self.bounded("export", "a.glb", "-o", "a.mdc", code=1,
                     saying="the format holds 8945 frames of 30000 vertices, not 40001")
        self.assertEqual([name for name in self.names() if name.startswith("a.m")], [])

    def test_what_scenes_say_over_and_over(self):
        sets = rig(1, 1)
        attributes = sets.meshes[0]["primitives"][0]["attributes"]
        for kind, number in itertools.product(("JOINTS", "WEIGHTS"), range(1, 1800)):
            attributes[f"{kind}_{number}"] = attributes[kind + "_0"]
        for accessor in sets.accessors:
            accessor["count"] = 300000
            del accessor["bufferView"]
        channels = rig(0, 50000)
        channels.animations[0]["channels"] *= 1700
        frames = rig(0, 50000)
        for _ in range(16):
            frames.animations[0]["channels"].append({
                "sampler": 0, "target": {"node": frames.node("a"), "path": "translation"}})
        names = rig(0, 1)
        names.nodes *= 30000
        names.meshes[0]["primitives"] *= 2
        for scene, fault in ((sets, "has more values than the file can have"), (channels, ""),
                             (frames, "frames for 17 nodes, which is more than a scene can hold"),
                             (names, "")):
            scene.write(self.dir / "a.glb")
            self.bounded("info", "a.glb", code=bool(fault), saying=fault, seconds=5)

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
        if not program.SANITIZED:
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
        scene = rig(1, 1)
        scene.meshes[0]["primitives"] *= 36
        scene.write(self.dir / "s.glb")
        self.marrow("export", "s.glb", "-o", "a.mds")
        surfaces = [surface["name"] for surface in self.info("a.mds")["surfaces"]]
        self.write("a.png", png(6000, 6000, bytes(18001 * 6000)))
        self.write("a.skin", "".join(f"{name},{'./' * i}a.png\n"
                                     for i, name in enumerate(surfaces)))
        self.bounded("import", "a.mds", "-o", "a.glb", code=0, saying="36 of 36 images found",
                     seconds=4)  # nine, where each surface decodes it


program.main()
