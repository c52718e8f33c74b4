"""Side files, choices of an import, conversions: which files are read and written."""

import json
import os

import program
from program import SAMPLE

HEAD = "// name, first frame, frames, frames that loop, frames a second\n"


def clips(info):
    return [(clip["name"], clip["start"], clip["frames"]) for clip in info["clips"]]


def types(info):
    return {node["type"] for node in info["nodes"]}


class Import(program.ProgramTest):
    def setUp(self):
        super().setUp()
        self.export("a.mds", "--sequences")
        self.export("a.mdm", "--mdx", "a.mdx", "--sequences")

    def imported(self, *arguments):
        self.marrow("import", *arguments, "-o", "out.glb")
        return self.info("out.glb")

    def test_the_frame_of_an_mdc(self):
        self.export("a.mdc")
        result = self.marrow("import", "a.mdc", "-o", "94.glb", "--frame", "94")
        self.assertEqual(len(result.lines), 2, result.err)
        self.assertIn("models/players/sample/figure.tga is not found", result.lines[1])
        for frame, clamped in ("95", "94"), ("-3", "0"):
            result = self.marrow("import", "a.mdc", "-o", clamped + ".glb", "--frame", frame)
            self.assertIn(f"frame {clamped} is imported", result.err)
        self.marrow("import", "a.mdc", "-o", "last.glb", "--frame", "94")
        self.assertEqual(self.read("94.glb"), self.read("last.glb"))
        for option, fault in (("--frames=90-95", "--frames 90-95 is not within the frames 0 to 94"),
                              ("--clip=run=90-95", "--clip run=90-95 is not within")):
            self.fails(1, "import", "a.mdc", "-o", "x.glb", option, saying=["a.mdc", fault])
        self.export("b.mds")
        self.fails(1, "import", "b.mds", "-o", "x.glb", "--no-materials", "--quiet",
                   "--attach=tag_foot=a.mdc", saying=["a.mdc", "no tag tag_foot", "tag_head, tag_weapon"])
        for option in "--attach=tag_head", "--frames=9-", "--frames=9-8", "--clip==1-2", "--clip=a":
            self.fails(2, "import", "a.mdc", "-o", "x.glb", option, saying=[option[:6]])
        self.assertNotEqual(self.read("94.glb"), self.read("0.glb"))

    def test_sequences(self):
        everything = [("idle", 0, 41), ("walk", 41, 21), ("wave", 62, 33)]
        for model in "a.mds", "a.mdm":
            self.assertEqual(clips(self.imported(model)), everything)
            self.assertEqual(clips(self.imported(model, "--sequence", "wave", "--sequence",
                                                 "walk")), [("walk", 0, 21), ("wave", 21, 33)])
            self.assertEqual(clips(self.imported(model, "--first-frame")), [])
            self.assertEqual(clips(self.imported(model, "--no-animation")), [])
            self.fails(1, "import", model, "-o", "no.glb", "--sequence", "run",
                       saying=["run", "idle, walk, wave"])
        self.assertNotIn("no.glb", self.names())

    def test_what_is_imported(self):
        self.assertEqual(types(self.imported("a.mds", "--no-meshes")), {"bone"})
        self.assertEqual(types(self.imported("a.mds", "--no-bones")), {"mesh"})
        self.assertEqual(types(self.imported("a.mds")), {"bone", "skin"})

    def test_skins_are_found_from_anywhere(self):
        folder = self.dir / "game" / "models" / "players"
        folder.mkdir(parents=True)
        for name in "a.mds", "wolfanim.cfg":
            (self.dir / name).rename(folder / name)
        self.write("game/models/players/b.skin", "body,models/players/b.tga\n")
        self.write("game/models/players/c.skin", "body,models/players/c.tga\n")

        def image(directory, model, *options):
            told = self.run_in(directory, "import", model, "-o", self.dir / "out.glb", *options).err
            materials = self.info("out.glb")["materials"]
            if materials:
                self.assertIn(f"is not found as .tga, .jpg or .png in {self.dir}/game\n", told)
            return materials[0]["image"].removeprefix("models/") if materials else None

        for directory, model in ((folder, "a.mds"), (folder.parent.parent, "models/players/a.mds"),
                                 (self.dir, "game/models/players/a.mds"),
                                 (self.dir, folder / "a.mds")):
            self.assertEqual(image(directory, model), "players/b.tga", model)
        self.assertEqual(image(folder, "a.mds", "--skin", "c.skin"), "players/c.tga")
        self.assertEqual(image(folder, "a.mds", "--skin", "c"), "players/c.tga")
        self.assertEqual(image(folder, "a.mds", "--no-skin"), "players/sample/figure.tga")
        self.assertIsNone(image(folder, "a.mds", "--no-materials"))
        result = self.run_in(folder, "import", "a.mds", "-o", "x.glb", "--skin", "d.skin")
        self.assertEqual(result.code, 1)
        self.assertIn("b.skin, c.skin", result.err)

    def test_the_mdx_of_an_mdm(self):
        self.write("A.Mdx", b"MDXW")  # less like it
        self.assertEqual(types(self.imported("a.mdm")), {"bone", "skin"})
        (self.dir / "a.mdx").rename(self.dir / "A.Mdx")
        self.assertEqual(types(self.imported("a.mdm")), {"bone", "skin"})
        (self.dir / "A.Mdx").rename(self.dir / "b.mdx")
        self.write("c.mdx", b"MDXW")
        self.fails(1, "import", "a.mdm", "-o", "x.glb", saying=["a.mdm", "b.mdx, c.mdx"])
        self.fails(1, "import", "a.mdm", "-o", "x.glb", "--mdx", "c.mdx",
                   saying=["a.mdm", "c.mdx", "header"])
        self.assertEqual(types(self.imported("a.mdm", "--mdx", "b.mdx")), {"bone", "skin"})
        self.patch("b.mdx", 76, 5)  # numBones
        self.fails(1, "import", "a.mdm", "-o", "x.glb", "--mdx", "b.mdx",
                   saying=["a.mdm", "b.mdx", "surface 0", "vertex", "skeleton with 5"])

    def test_an_mdx_of_another_model_is_told(self):
        self.export("big.mdm", "--scale=120")
        self.export("less.mdm", "--no-bones=Bip01 L Hand")
        self.export("part.mdm", "--mdx=skeleton.bin", "--origin=tag_head")
        for mdm, mdx, share in (("a", "a.mdx", None), ("big", "big.mdx", None),
                                ("less", "less.mdx", None), ("part", "skeleton.bin", None),
                                ("part", "a.mdx", None), ("a", "big.mdx", 73),
                                ("big", "a.mdx", 82), ("less", "a.mdx", 9)):
            err = self.marrow("import", mdm + ".mdm", "--mdx", mdx, "-o", "out.glb").err
            self.assertEqual(err.count("belong"), share is not None, (mdm, mdx, err))
            if share:
                self.assertIn(f"warning: {mdm}.mdm: may not belong to {mdx}: {share} % of", err)
        data = self.read("a.mdm")
        self.patch("a.mdm", data.rindex(b"tag_weapon\0") + 64 + 36, 23)  # boneIndex
        self.assertIn("may not belong to a.mdx: tags hang from bones beyond its 23: tag_weapon "
                      "(bone 23)\n", self.marrow("import", "a.mdm", "-o", "out.glb").err)

    def test_an_mdx_may_have_any_suffix_and_needs_its_folder(self):
        for name, written in ("skeleton.bin", "skeleton.bin"), ("skeleton", "skeleton.mdx"):
            self.export("b.mdm", "--mdx", name)
            self.assertEqual(self.read(written)[:4], b"MDXW")
            self.assertEqual(types(self.imported("b.mdm", "--mdx", written)), {"bone", "skin"})
        old = self.read("a.mdm")
        self.fails(1, "export", program.SAMPLE, "-o", "a.mdm", "--mdx", "none/a.mdx",
                   saying=["none/a.mdx", "does not exist"])
        self.assertEqual(self.read("a.mdm"), old)

    def test_long_paths_of_an_mdx(self):
        # The module takes 255 bytes for one to write and 511 for one to read.
        for length in 243, 244, 245, 255, 256, 700:
            room = length - len(os.fsencode(self.dir)) - len("//A.mdx")
            folder = self.dir / "/".join(["d" * 99] * (room // 100) + ["e" * (room % 100)])
            folder.mkdir(parents=True)
            near = folder.relative_to(self.dir)
            for directory, name in (folder, "A"), (folder.parent, folder / "A"):
                for suffix in ".mdm", ".mdx":
                    (folder / ("A" + suffix)).unlink(missing_ok=True)
                result = self.run_in(directory, "export", SAMPLE, "-o", f"{name}.mdm", "--end=0")
                self.assertEqual(result.code, 0, result.err)
                self.assertEqual(self.info(near / "A.mdx")["name"], "a.mdx")
                result = self.run_in(directory, "import", f"{name}.mdm", "-o", self.dir / "x.glb")
                self.assertEqual(result.code, 0, result.err)
        self.fails(2, "import", near / "A.mdm", "-o", "x.glb", saying=["A.mdx", "511 bytes"])


class Several(program.ProgramTest):
    def test_names_are_made_of_the_inputs(self):
        self.export("a.mds")
        (self.dir / "out").mkdir()
        for made, *arguments in (("a.glb", "import", "a.mds"),
                                 ("out/a.gltf", "import", "a.mds", "-o", "out", "--to", "gltf"),
                                 ("out/a.mdc", "export", "a.glb", "-o", "out", "--to", "mdc"),
                                 ("a.mdx", "convert", "a.mds", "--to", "mdx"),
                                 ("b.mdc", "convert", "a.mds", "-o", "b.mdc")):
            result = self.marrow(*arguments, "--quiet")
            self.assertEqual(result.out, "")
            self.assertIn(made, self.names())

    def test_the_worst_of_several_is_the_end(self):
        self.export("a.mds")
        for name in "b", "d":
            self.write(name + ".mds", self.read("a.mds"))
        (self.dir / "out").mkdir()
        good = ["a.mds", "b.mds", "d.mds"]
        for jobs in "1", "3":
            result = self.marrow("import", *good, "-o", "out", "--first-frame", "--jobs", jobs)
            self.assertEqual([line.split(":")[0] for line in result.out.splitlines()],
                             ["out/a.glb", "out/b.glb", "out/d.glb", "3 of 3 files written"])
        self.write("c.mds", self.read("a.mds")[:200])
        self.write("e.obj", "x")
        result = self.marrow("import", "a.mds", "c.mds", "e.obj", "b.mds", "-o", "out", code=1)
        self.assertRegex(result.err, r"(?s)error: c\.mds: .*error: e\.obj: the module has no")
        self.assertEqual(result.out.splitlines()[-1], "2 of 4 files written; not: c.mds, e.obj")
        self.marrow("import", "a.mds", "e.obj", "-o", "out", code=2)
        self.marrow("export", SAMPLE, "out/a.glb", "--to", "mdx", "--start", "5", "--end", "3",
                    "-o", "out", code=3)


class SequenceFiles(program.ProgramTest):
    def test_names_become_one_word_and_an_old_file_stays(self):
        with open(SAMPLE, "rb") as file:
            scene = file.read()
        # As long as the names that they replace, so that the document keeps its size.
        for old, new in (b'"idle"', b'"a b "'), (b'"walk"', b'"//lk"'):
            self.assertEqual(scene.count(b'"name": ' + old) + scene.count(b'"name":' + old), 1)
            scene = scene.replace(old, new)
        self.write("s.glb", scene)
        self.marrow("export", "s.glb", "-o", "a.mds", "--sequences", "--fps", "10")
        text = HEAD + ("VERSION 2\nSKELETAL\nSTARTANIMS\na_b_ 0 21 0 10\n_/lk 21 11 0 10\n"
                       "wave 32 17 0 10\nENDANIMS\n")
        self.assertEqual(self.read("wolfanim.cfg").decode(), text)

        result = self.export("b.mds", "--sequences", "--end", "50")
        self.assertIn("wolfanim.cfg", result.err)
        self.assertEqual(self.read("wolfanim.cfg").decode(), text)
        self.export("b.mds", "--sequences", "--start", "10", "--end", "50", "--force")
        self.assertIn("\nidle 0 31 0 20\nwalk 31 10 0 20\nENDANIMS\n",
                      self.read("wolfanim.cfg").decode())

    def test_a_model_without_one(self):
        self.export("a.mds")
        self.export("a.mdm", "--mdx", "a.mdx")
        for model, animated, name in (("a.mds", "a.mds", "wolfanim.cfg"),
                                      ("a.mdm", "a.mdx", "a.aninc")):
            result = self.marrow("import", model, "-o", "x.glb")
            self.assertIn(f"marrow sequences {animated} --init", result.lines[0])
            self.assertIn("first bones", result.lines[1])
            result = self.marrow("import", model, "-o", "x.glb", "--quiet", "--no-materials")
            self.assertEqual(result.err, "")
            result = self.marrow("import", model, "-o", "x.glb", "--first-frame")
            self.assertNotIn("--init", result.err)
            self.marrow("sequences", model, "--init", "--fps", "15")
            self.assertIn("\nall 0 95 0 15\n", self.read(name).decode())
            self.assertNotIn("--init", self.marrow("import", model, "-o", "x.glb").err)
            self.assertEqual(clips(self.info("x.glb")), [("all", 0, 95)])
            self.fails(1, "sequences", model, "--init", saying=[name, "--force"])
        self.fails(2, "sequences", "a.mdc", "--init", saying=["a.mdc"])
        self.fails(2, "sequences", "a.mds", saying=["--init"])


class WhatSideFilesLose(program.ProgramTest):
    def told(self, name, *options):
        """What an import says of a side file."""
        result = self.marrow("import", "a.mds", "-o", "a.glb", *options)
        return [line.split(name + ": ")[1] for line in result.lines if name + ": " in line]

    def test_sequence_files(self):
        self.export("a.mds", "--sequences")
        good = self.read("wolfanim.cfg").decode()
        everything = [("idle", 0, 41), ("walk", 41, 21), ("wave", 62, 33)]
        for text in (good.encode("utf-8-sig"), good.encode("utf-16"), good.replace("\n", "\r"),
                     b"\xfe\xff" + good.encode("utf-16-be"), good.replace("\n", "\r\n"),
                     good + " // no loss\n\n"):
            self.write("wolfanim.cfg", text)
            self.assertEqual(self.told("wolfanim.cfg"), [], text)
            self.assertEqual(clips(self.info("a.glb")), everything, text)
        for old, new, *losses in (
                ("VERSION 2", "VERSION 3", "line 2: not VERSION 2, the only one that is read: "
                                           "the rest of the file is ignored"),
                ("walk 41", "walk x", "line 6: not read: a sequence is a name and four numbers"),
                ("62 33", "62 34", "line 7: sequence wave: frames 62 to 95 are not all in the "
                                   "model, which has 95 frames"),
                ("0 41", "-1 41", "line 5: sequence idle: frames -1 to 39 are not all in the "
                                  "model, which has 95 frames"),
                ("0 41", "0 0", "line 5: sequence idle has no frames"),
                ("walk", "w" * 505, "line 6: is longer than the 511 bytes that are read as one line",
                 *["line 6: not read: a sequence is a name and four numbers"] * 2),
                ("STARTANIMS\nidle 0 41 0 20", "idle 0 41 0 20\nSTARTANIMS",
                 "line 4: sequence idle stands before STARTANIMS, not read"),
                ("ENDANIMS\n", "ENDANIMS\n\nrun 1 2 3 4\n",
                 "line 10: sequence run stands after ENDANIMS, not read")):
            self.write("wolfanim.cfg", good.replace(old, new))
            self.assertEqual(self.told("wolfanim.cfg"), losses)
            self.assertEqual(self.told("wolfanim.cfg", "--first-frame"), [])
        self.write("wolfanim.cfg", good.replace("walk", "walk\n" * 10))
        told = self.told("wolfanim.cfg")
        self.assertEqual((len(told), told[10]), (11, "and 1 more line, 11 in all"))
        (self.dir / "wolfanim.cfg").unlink()
        (self.dir / "wolfanim.cfg").mkdir()
        self.assertEqual(self.told("wolfanim.cfg"), ["not read: is a directory, not a file"])
        # A plan, whose version says nothing.
        self.write("plan.cfg", good.replace("VERSION 2", "VERSION 3").replace("walk 41", "walk"))
        result = self.export("b.mds", "--sequences-from", "plan.cfg")
        self.assertIn("plan.cfg: line 6: not read", result.lines[0])
        self.assertEqual(self.info("b.mds")["numFrames"], 95)

    def test_skins_and_their_images(self):
        self.export("a.mds", "--sequences")
        self.write("models/x.tga", "no image")
        skin = ("// c\ntag_head,x.mdc\nbody,models/x.tga\nbody models/y.tga\nBODY,models/y.tga\n"
                ",models/z.tga\nsword,\nhat,models/h.tga\n")
        losses = ["line 4: not read: a line is SURFACE,PATH", "line 5: not read: body has line 3 already",
                  "line 6: names no surface", "line 7: names no image",
                  "the model has no surfaces of these names: hat (line 8)"]
        for text in skin, skin.encode("utf-16"), skin.encode("utf-8-sig"), skin.replace("\n", "\r"):
            self.write("a.skin", text)
            self.assertEqual(self.told("a.skin"), losses)
            self.assertRegex("".join(self.told("a.mds")),
                             r"models/x.tga \(a.skin, line 3\): .*/models/x.tga is not an image")
        self.write("a.skin", "\n" * 3 + "sword,models/none.tga")
        self.assertRegex("".join(self.told("a.mds")), r"none.tga \(a.skin, line 4\) is not found")


class Convert(program.ProgramTest):
    def test_skeletal_models_keep_frames_and_sequences(self):
        self.export("a.mds")
        numbers = "idle 0 41 38 24\nwalk 41 21 18 20\nwave 62 33 0 12\n"
        self.write("wolfanim.cfg", "VERSION 2\nSTARTANIMS\n" + numbers + "ENDANIMS\n")
        self.marrow("convert", "a.mds", "b.mdm", "--sequences")
        self.assertEqual(self.info("b.mdx")["numFrames"], 95)
        self.assertEqual(self.read("b.aninc").decode(), HEAD + numbers)
        (self.dir / "c").mkdir()
        self.marrow("convert", "b.mdm", "c/a.mds", "--sequences")
        self.assertEqual(self.info("c/a.mds")["numFrames"], 95)
        self.assertIn(numbers, self.read("c/wolfanim.cfg").decode())
        # Through a scene file: rates in its keys, loops in its notes, which some programs drop.
        self.marrow("convert", "a.mds", "d.gltf")
        scene = json.loads(self.read("d.gltf"))
        lengths = [max(scene["accessors"][sampler["input"]]["max"][0]
                       for sampler in clip["samplers"]) for clip in scene["animations"]]
        self.assert_near(lengths, (40 / 24, 20 / 20, 32 / 12), 1e-6)
        (self.dir / "d").mkdir()
        self.marrow("convert", "d.gltf", "d/a.mds", "--sequences")
        self.assertIn(numbers, self.read("d/wolfanim.cfg").decode())
        self.assertEqual(self.info("d/a.mds")["numFrames"], 95)
        del scene["scenes"][0]["extras"]
        self.write("e.gltf", json.dumps(scene))
        loops = ["--loop", "idle=38", "--loop=walk=18"]
        result = self.marrow("convert", "e.gltf", "d/a.mds", "--sequences", "--force", *loops)
        self.assertIn("overrides: idle (24)\n", result.err)
        self.assertIn(numbers.replace("33 0 12", "55 0 20"), self.read("d/wolfanim.cfg").decode())
        self.marrow("convert", "e.gltf", "d/a.mds", "--sequences", "--force", "--fps", "10",
                    "--loop", "walk=all")
        self.assertIn("idle 0 18 0 10\nwalk 18 11 11 10\n", self.read("d/wolfanim.cfg").decode())
        # The sequence file tells both where nothing else does, at rates below 20 too.
        self.marrow("convert", "e.gltf", "d/a.mds", "--sequences-from=wolfanim.cfg", "--sequences",
                    "--force")
        self.assertEqual(self.info("d/a.mds")["numFrames"], 95)
        self.assertIn(numbers, self.read("d/wolfanim.cfg").decode())
        self.assert_near(self.frames("d/a.mds"), self.frames("a.mds"), 0.02)
        for option, fault in (("idel=all", "did you mean idle?"), ("walk=22", "21 frames")):
            self.fails(1, "convert", "e.gltf", "x.mds", "--sequences", "--loop", option, "--quiet",
                       saying=["x.mds", fault])
        for options in ["--loop=walk=all"], ["--sequences", "--loop=walk=x"]:
            self.fails(2, "convert", "e.gltf", "x.mds", *options, saying=["--loop"])

    def frames(self, name):
        return [row["bounds"] for row in self.info(name)["frames"]]

    def test_frames_that_sequences_share(self):
        self.export("a.mds")
        lines = "idle 0 41 0 20\nlook 10 9 0 20\nwalk 41 21 0 20\nwave 62 33 0 24\n"
        self.write("wolfanim.cfg", "VERSION 2\nSTARTANIMS\n" + lines + "ENDANIMS\n")
        self.marrow("import", "a.mds", "-o", "s.gltf")
        (self.dir / "b").mkdir()
        self.marrow("export", "s.gltf", "-o", "b/a.mds", "--sequences")
        self.assertIn(lines, self.read("b/wolfanim.cfg").decode())
        self.assert_near(self.frames("b/a.mds"), self.frames("a.mds"), 0.02)
        # One whose poses are no longer those that it shared gets frames of its own.
        scene = json.loads(self.read("s.gltf"))
        look, wave = scene["animations"][1], scene["animations"][3]
        look["samplers"], look["channels"] = wave["samplers"], wave["channels"]
        self.write("s.gltf", json.dumps(scene))
        self.marrow("export", "s.gltf", "-o", "b/a.mds", "--sequences", "--force")
        self.assertIn("idle 0 41 0 20\nlook 41 33 0 24\n", self.read("b/wolfanim.cfg").decode())

    def test_frames_after_a_sequence_file(self):
        self.export("a.mds")
        lines = "wave 0 30 4 24\nrun 30 5 0 20\nwalk 37 22 21 20\nstep 37 2 0 20\n"
        self.write("plan.cfg", "// a plan\nVERSION 2\nSTARTANIMS\n" + lines + "ENDANIMS\nx 1 2 3 4\n")
        result = self.export("b.mds", "--sequences-from", "plan.cfg", "--sequences")
        for told in "filled: run, step", "wave (33, not 30), walk (21, not 22)", "left out", "idle":
            self.assertIn(told, result.err)
        self.assertIn(lines, self.read("wolfanim.cfg").decode())
        old = self.frames("a.mds")
        self.assert_near(self.frames("b.mds"),
                         old[62:92] + 7 * [old[91]] + old[41:62] + [old[61]], 0.02)
        for text, fault in (("VERSION 2\n", "no sequences"), ("a 0 5 0 20\n", "no sequence of"),
                            ("idle 2000000 5 0 20\n", "out of range")):
            self.write("plan.cfg", text)
            self.fails(1, "export", SAMPLE, "-o", "x.mds", "--sequences-from", "plan.cfg",
                       saying=["plan.cfg", fault])

    def test_which_files_are_written(self):
        for target, *beside in (("a.mdc",), ("a.mdx",), ("a.gltf", "a.bin", "a_0.png"), ("A.GLB",),
                                ("a.mdm", "a.mdx")):
            for name in self.names():
                (self.dir / name).unlink()
            self.marrow("convert", SAMPLE, target)
            self.assertEqual(self.names(), sorted([target, *beside]))
        for option, beside in ((), ["a.mdx"]), (["--no-mdx"], []):
            for name in self.names():
                (self.dir / name).unlink()
            self.export("a.mdm", *option)
            self.assertEqual(self.names(), ["a.mdm", *beside])
        self.marrow("convert", SAMPLE, "a.mdm")
        self.marrow("convert", SAMPLE, "a.mdm", "--mdx", "other.mdx")
        self.assertEqual(self.names(), ["a.mdm", "a.mdx", "other.mdx"])
        self.marrow("convert", "a.mdm", "b.mdc", "--mdx", "other.mdx")
        self.assertEqual(self.info("b.mdc")["numFrames"], 1)

    def test_one_frame_of_an_mdc(self):
        self.export("a.mdc")
        self.marrow("convert", "a.mdc", "b.mdc", "--frame", "7")
        info = self.info("b.mdc")
        self.assertEqual((info["numFrames"], info["numSurfaces"], info["numTags"]), (1, 2, 2))
        self.assert_near(self.frames("b.mdc"), self.frames("a.mdc")[7:8], 2 / 64)


program.main()
