"""What the commands do, say and refuse."""

import os
import pty
import json
import subprocess

import program  # also brings the path of the oracle's modules
from program import SAMPLE
import models

HEADERS = {
    "mdc": (models.MDC_HEADER, "flags numFrames numTags numSurfaces numSkins ofsFrames ofsTagNames "
                               "ofsTags ofsSurfaces ofsEnd"),
    "mds": (models.MDS_HEADER, "lodScale lodBias numFrames numBones ofsFrames ofsBones torsoParent "
                               "numSurfaces ofsSurfaces numTags ofsTags ofsEnd"),
    "mdm": (models.MDM_HEADER, "lodBias lodScale numSurfaces ofsSurfaces numTags ofsTags ofsEnd"),
    "mdx": (models.MDX_HEADER, "numFrames numBones ofsFrames ofsBones torsoParent ofsEnd"),
}
LISTS = {
    "mdc": {"tags": 1, "surfaces": 2, "frames": 95},
    "mds": {"bones": 25, "tags": 1, "surfaces": 2, "frames": 95},
    "mdm": {"tags": 1, "surfaces": 2},
    "mdx": {"bones": 23, "frames": 95},
}


class Usage(program.ProgramTest):
    def test_everything_has_help(self):
        self.assertIn("convert", self.marrow("--help").out)
        for command in "handlers", "import", "export", "convert", "info", "sequences":
            text = self.marrow(command, "--help").out
            self.assertLess(max(map(len, text.splitlines())), 100, command)
            heading, *examples = text.rstrip().splitlines()[-3:]
            self.assertEqual(heading, "Examples:")
            for example in examples:
                self.assertTrue(example.startswith(f"  marrow {command}"), example)

    def test_handlers_are_the_registry(self):
        rows = [line.split() for line in self.marrow("handlers").out.splitlines()[1:8]]
        self.assertEqual([(row[1], row[-1]) for row in rows],
                         [("importer", "mdc"), ("importer", "mds"), ("exporter", "mdc"),
                          ("exporter", "mds"), ("importer", "mdm"), ("exporter", "mdm"),
                          ("exporter", "mdx")])

    def test_standard_output_is_full(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run([program.MARROW, "handlers"], stdout=full,
                                    stderr=subprocess.DEVNULL)
        self.assertEqual(result.returncode, 1)

    def test_wrong_usage(self):
        self.export("a.mds")
        self.export("a.mdm", "--mdx", "a.mdx")
        before = self.names()
        for saying, *arguments in (
            ("subcommand",),
            ("--end", "export", SAMPLE, "-o", "x.mdc", "--end", "many"),
            ("--scale", "export", SAMPLE, "-o", "x.mdc", "--scale", "0"),
            ("--fps", "export", SAMPLE, "-o", "x.mdc", "--fps", "nan"),
            ("mdc, mds, mdm, mdx", "export", SAMPLE, "-o", "x.obj"),
            ("mdc, mds, mdm", "import", "x.obj", "-o", "x.glb"),
            (".glb", "import", "a.mds", "-o", "x.mdc"),
            (".glb", "export", "a.mds", "-o", "x.mdc"),
            ("--mdx", "import", "a.mdx", "-o", "x.glb"),
            ("--mdx", "convert", "a.mdx", "x.mds"),
            ("no bones", "convert", "x.mdc", "x.mdx"),
            ("--scale", "convert", "a.mds", "x.mdc", "--scale", "2"),
            ("--facing", "convert", "a.mds", "x.mdc", "--facing", "-x"),
            ("--facing", "export", SAMPLE, "-o", "x.mdc", "--facing", "y"),
            ("neither", "convert", "a.mds", "x.mdc", "--mdx", "a.mdx"),
            ("--frame", "import", "a.mds", "-o", "x.glb", "--frame", "1"),
            ("--sequence", "import", "x.mdc", "-o", "x.glb", "--sequence", "idle"),
            ("--first-frame", "import", "a.mds", "-o", "x.glb", "--sequence", "idle",
             "--first-frame"),
            ("--no-models-dir", "export", SAMPLE, "-o", "x.mds", "--no-models-dir"),
            ("--sequences", "export", SAMPLE, "-o", "x.mdc", "--sequences"),
            ("--no-mdx", "export", SAMPLE, "-o", "x.mdm", "--sequences", "--no-mdx"),
            ("--no-mdx", "export", SAMPLE, "-o", "x.mdm", "--mdx", "x.mdx", "--no-mdx"),
            ("--scle is not an option of export; did you mean --scale?", "export", SAMPLE, "--scle",
             "2"),
            ("--bath is not an option of info (", "info", SAMPLE, "--bath"),
            ("did you mean --sequence?", "import", "--sequnce=x", "a.mds", "-o", "x.glb"),
            ("did you mean export?", "exprot", SAMPLE),
            ("which kind", "export", SAMPLE),
            ("is not a folder", "export", SAMPLE, "x.glb", "-o", "y.mds"),
            ("as another input is", "export", SAMPLE, SAMPLE, "--to", "mds", "-o", "."),
            ("names one file", "export", SAMPLE, "x.glb", "--to", "mdm", "-o", ".", "--mdx", "m"),
            ("one sequence file", "export", SAMPLE, "x.glb", "--to", "mds", "-o", ".",
             "--sequences"),
            ("over itself", "convert", "a.mds", "--to", "mds"),
            ("as --to says", "convert", "a.mds", "-o", "b.mdc", "--to", "mds"),
            ("--to KIND", "convert", "a.mds"),
            ("same file", "export", SAMPLE, "-o", "x.mdm", "--mdx", "./x.mdm"),
            ("255", "export", SAMPLE, "-o", "x.mdm", "--mdx", "d/" * 130 + "x.mdx"),
            ("unknown kind of file", "info", "x.obj"),
            ("--ask: only the program for Windows", "import", "a.mds", "--ask"),
        ):
            self.fails(2, *arguments, saying=[saying])
        self.assertEqual(self.names(), before)

    def test_files_that_are_none(self):
        (self.dir / "d.mds").mkdir()
        self.write("empty.mdc", b"")
        for saying, *arguments in (
            (["x.glb", "no such file"], "export", "x.glb", "-o", "x.mdc"),
            (["x.mdc", "no such file"], "import", "x.mdc", "-o", "x.glb"),
            (["d.mds", "directory"], "import", "d.mds", "-o", "x.glb"),
            (["d.mds", "directory"], "info", "d.mds"),
            (["d.mds", "folder"], "export", SAMPLE, "-o", "d.mds"),
            (["empty.mdc", "empty"], "import", "empty.mdc", "-o", "x.glb"),
            (["no/x.mdc", "does not exist"], "export", SAMPLE, "-o", "no/x.mdc"),
            (["libmarrow.so", "module"], "handlers", "--module", "libmarrow.so"),
            (["Core.so", "entry point"], "handlers", "--module",
             os.path.join(os.path.dirname(program.MARROW), "..", "lib", "libCore.so")),
        ):
            self.fails(1, *arguments, saying=saying)
        self.assertEqual(self.names(), ["empty.mdc"])

    def test_a_refused_model_says_what_does_not_hold(self):
        self.export("a.mdc")
        self.write("short.mdc", self.read("a.mdc")[:-1])
        self.fails(1, "import", "short.mdc", "-o", "x.glb", "--frame", "94",
                   saying=["short.mdc", "surface 1", "frame 94"])
        refused = json.loads(self.marrow("info", "short.mdc", "--json").out)["refusedFrames"]
        self.assertEqual([row["frame"] for row in refused], [94])
        self.export("a.mds")
        self.patch("a.mds", 4, 5)
        for command in (["import", "a.mds", "-o", "x.glb"], ["info", "a.mds"],
                        ["sequences", "a.mds", "--init"], ["convert", "a.mds", "x.mdc"]):
            self.fails(1, *command, saying=["a.mds", "version is 5"])
        for offset, number, fault, told in (
            (4, 5, "version is 5", {"version": 5, "numBones": 25, "bones": []}),
            (96, 99, "", {"torsoParent": 99}),
            (112, 1 << 30, "", {"ofsTags": 1 << 30, "tags": []}),
            (80, 1 << 20, "the frames", {"numFrames": 1 << 20, "frames": []}),
            (104, -8, "surface 0: its header", {"ofsSurfaces": -8, "surfaces": []}),
        ):
            self.export("a.mds")
            self.patch("a.mds", offset, number)
            result = self.marrow("info", "a.mds", "--json", code=1 if fault else 0)
            info = json.loads(result.out)
            self.assertIn(fault, info.get("refused", ""))
            self.assertEqual({key: info[key] for key in told}, told)
        self.patch("a.mdc", 76, 0)
        result = self.marrow("info", "a.mdc", code=1)
        self.assertIn("numFrames: 0\n", result.out)
        self.assertIn("numFrames is 0", result.err)
        self.write("bad.glb", b"glTF" + bytes(40))
        self.fails(1, "export", "bad.glb", "-o", "x.mdc", saying=["bad.glb"])
        self.assertEqual(self.names(), ["a.mdc", "a.mds", "bad.glb", "short.mdc"])


class Export(program.ProgramTest):
    def test_range_and_names(self):
        (self.dir / "models").mkdir()
        for name, options, header, frames, *told in (
            ("x.mdc", [], "models/x.mdc", 95),
            ("X.MDC", ["--no-models-dir"], (str(self.dir) + "/x.mdc").lower()[:63], 95),
            ("models/y.mdc", ["--start", "10", "--end", "12"], "models/y.mdc", 3),
            ("x.mdc", ["--start=-5", "--end", "0"], "models/x.mdc", 1,
             "--start -5 is before frame 0: frame 0 is exported"),
            ("x.mdc", ["--start", "94", "--end", "100"], "models/x.mdc", 7,
             "--end 100 is beyond the scene's last frame 94: frames 94 to 100 are exported"),
            ("x.mds", ["--end=-3"], "x.mds", 1, "--end -3 is before frame 0: frame 0 is exported"),
            ("x.mds", ["--start", "94"], "x.mds", 1),
            ("x.mdx", ["--end", "95"], "x.mdx", 96, "frames 0 to 95 are exported"),
        ):
            result = self.export(name, *options)
            info = self.info(name)
            self.assertEqual((info["name"], info["numFrames"]), (header, frames), options)
            self.assertEqual(len(result.lines), len(told), result.err)
            for text in told:
                self.assertIn(f"warning: {name}: ", result.err)
                self.assertIn(text, result.err)
        for options in [], ["--no-mdx"]:  # an mdm has no frames of its own
            result = self.export("x.mdm", "--end=95", *options)
            self.assertEqual("beyond" in result.err, not options, result.err)

    def test_stored_names_are_those_of_the_full_path(self):
        folder = self.dir / "models" / "mapobjects"
        (folder / "a").mkdir(parents=True)
        for directory, typed in ((folder, "crate.mdc"), (folder / "a", "../crate.mdc"),
                                 (self.dir, "models/mapobjects/a/../crate.mdc"),
                                 (self.dir, "./models/mapobjects/crate.mdc")):
            result = self.run_in(directory, "export", SAMPLE, "-o", typed, "--end", "0")
            self.assertEqual(result.code, 0, result.err)
            self.assertEqual(self.info("models/mapobjects/crate.mdc")["name"],
                             "models/mapobjects/crate.mdc", typed)
            (folder / "crate.mdc").unlink()

    def test_start_above_end_does_nothing(self):
        old = self.write("x.mdc", "old")
        for name in "x.mdc", "x.mdx":
            self.fails(3, "export", SAMPLE, "-o", name, "--start", "5", "--end", "3",
                       saying=[name, "Start Frame must not be greater than End Frame!"])
        self.fails(1, "export", SAMPLE, "-o", "x.mdc", "--end", "65535",
                   saying=["x.mdc", "65535 frames, not 65536"])
        self.assertEqual(old.read_text(), "old")
        self.assertEqual(self.names(), ["x.mdc"])

    def test_an_empty_scene_does_nothing(self):
        self.write("empty.gltf", '{"asset": {"version": "2.0"}}')
        for name in "x.mdc", "x.mds", "x.mdm", "x.mdx":
            self.fails(3, "export", "empty.gltf", "-o", name, saying=["No objects in scene!"])

    def test_what_is_left_out_or_wrong_is_told(self):
        for name, near in (("xyz", "; there are: "), ("tag-Head", "; did you mean tag_head?")):
            self.fails(1, "export", SAMPLE, "-o", "a.mdc", "--origin", name,
                       saying=["a.mdc", f"no node {name} for --origin{near}"])
        self.assertEqual(self.export("a.mdc", "--origin", "tag_head", "--end", "0").err, "")
        self.assertGreater(self.info("a.mdc")["frames"][0]["localOrigin"][2], 40.0)
        result = self.marrow("export", SAMPLE, "-o", "a.mdc", "--scale", "400", "--end", "0")
        self.assertIn("512", result.err)

    def test_what_the_games_do_not_take_is_told(self):
        def change(document, nodes):
            nodes["body"]["name"] = "b" * 70
            for i in range(130):
                nodes["Bip01"]["children"].append(len(document["nodes"]))
                document["nodes"].append({"name": f"tag_{i}"})

        self.scene("s.gltf", change)
        cut = "b" * 63
        for name, *limits in (("a.mdc", "1025 frames", "1024", "132 tags", "16", cut),
                              ("a.mds", "155 bones", "128", "132 tags", cut),
                              ("a.mdm", "132 tags", "128", cut)):
            told = self.marrow("export", "s.gltf", "-o", name, "--end", "1024").err
            for text in limits:
                self.assertIn(text, told)
                self.assertIn(text, self.marrow("info", name).err)

    def test_info_has_every_field_of_the_header(self):
        self.export("a.mdm", "--mdx", "a.mdx")
        self.export("a.mds")
        self.export("a.mdc")
        for kind, (layout, fields) in HEADERS.items():
            name = "a." + kind
            content, fields = self.read(name), f"ident version name {fields}".split()
            values = list(layout.unpack_from(content))
            if "numTags" in fields:  # as many as surfaces otherwise
                values[fields.index("numTags")] = 1
                self.write(name, layout.pack(*values) + content[layout.size:])
            info = self.info(name)
            for field, value in zip(fields, values, strict=True):
                if isinstance(value, bytes):
                    value = value.split(b"\0")[0].decode()
                self.assertEqual(info[field], value, f"{kind} {field}")
            for field, count in LISTS[kind].items():
                self.assertEqual(len(info[field]), count, f"{kind} {field}")
            self.assertIn("numSurfaces: 2" if "numSurfaces" in fields else "numBones: 23",
                          self.marrow("info", name).out)

    def test_info_of_a_scene(self):
        info = self.info(SAMPLE, "--fps", "10")
        self.assertEqual(info["fps"], 10)
        self.assertEqual([list(clip.values())[:3] for clip in info["clips"]],
                         [["idle", 0, 21], ["walk", 21, 11], ["wave", 32, 17]])
        self.export("a.mds")
        most = [("sword", 1), ("body", 4)]  # weights of a vertex
        for surfaces in info["skins"], self.info("a.mds")["surfaces"]:
            self.assertEqual([(row["name"], row["mostWeights"]) for row in surfaces], most)
        self.assertEqual(len(info["materials"]), 1)
        self.assertEqual(sum(node["type"] == "bone" for node in info["nodes"]), 25)

    def test_progress_on_a_terminal_only(self):
        self.assertEqual(self.export("a.mds").err, "")
        for options, shown in ([], True), (["--quiet"], False):
            main, side = pty.openpty()
            process = subprocess.Popen([program.MARROW, "export", SAMPLE, "-o", "a.mds", *options],
                                       cwd=self.dir, stdout=subprocess.DEVNULL, stderr=side)
            self.assertEqual(process.wait(60), 0)
            os.write(side, b"end")
            text = b""
            while not text.endswith(b"end"):
                text += os.read(main, 65536)
            os.close(main)
            os.close(side)
            self.assertEqual(b"] " in text, shown, text)
        lines = self.export("a.mds", "--progress").err
        self.assertRegex(lines, r"^(marrow: progress: \d{1,3} .+\n)+$")


program.main()
