"""Images of imported models, found as the games find them in made-up folders of games, and the
paths of exported ones."""

import base64
import io
import os
import struct
import unittest
import zipfile

import program

SHADER = "models/players/sample/figure.tga"
FACE = "models/players/hero/face.tga"


def tga(width, bits=24, packed=False):
    """A row of one colour, `width` pixels long; tests know images by their widths."""
    head = struct.pack("<3B5xHH2H2B", 0, 0, 10 if packed else 2, 0, 0, width, 1, bits, 0)
    pixel = bytes([200] * (bits // 8))
    return head + (bytes([0x7F + width]) + pixel if packed else pixel * width)


def pk3(*files):
    """An archive of names and contents."""
    block = io.BytesIO()
    with zipfile.ZipFile(block, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in files:
            archive.writestr(name, content)
    return block.getvalue()


class Textures(program.ProgramTest):
    def setUp(self):
        super().setUp()
        for kind in "mdc", "mds":
            self.export("kept." + kind, "--end", "0")
        self.export("kept.mdm", "--mdx", "kept.mdx", "--end", "0")

    def image(self, model, *options, saying=()):
        """The path and the width of what the surfaces wear."""
        result = self.marrow("import", model, "-o", "out.glb", *options)
        for text in saying:
            self.assertIn(text, result.err)
        rows = self.info("out.glb")["materials"]
        self.assertEqual(len({row["image"] for row in rows}), 1, rows)
        return rows[0]["image"], rows[0]["width"]

    def place(self, folder, kind="mds"):
        for name in [kind] + ["mdx"] * (kind == "mdm"):
            self.write(f"{folder}/hero.{name}", self.read("kept." + name))
        return f"{folder}/hero.{kind}"

    def skin(self, folder, field, end="\n"):
        self.write(f"{folder}/hero.skin", f"// head{end}tag_head,{end}" +
                   "".join(f"{surface},{field}{end}" for surface in ("body", "sword")))

    def test_where_images_are_found(self):
        own, own_named = "main/models/players/hero", "main/" + FACE
        for number, (case, folder, files, options) in enumerate((
            ("its own name", own, [own_named], []),
            ("jpg or png for tga", own, ["main/models/players/hero/face.png"], []),
            ("case of letters", own, ["main/models/players/hero/Face.TGA"], []),
            ("of folders too", "main/Models/Players/hero", ["main/Models/Players/hero/face.tga"],
             []),
            ("mymodels is no models", "mymodels/main/models/players/hero",
             ["mymodels/main/" + FACE], []),
            ("models above the game", "models/main/models/players/hero",
             ["models/main/" + FACE], []),
            ("another game", "mymod/models/players/hero", [own_named], ["--game-dir=main"]),
            ("own before others", own, [own_named, "other/" + FACE], ["--game-dir=other"]),
            ("a loose folder", "loose", ["loose/face.tga"], []),
            ("below a loose folder", "loose", ["loose/" + FACE], []),
        ), 1):
            with self.subTest(case):
                model = self.place(f"{number}/{folder}")
                self.skin(f"{number}/{folder}", FACE)
                for at, name in enumerate(files):
                    self.write(f"{number}/{name}", tga(number + at))
                options = [text.replace("=", f"={number}/") for text in options]
                saying = ["1 of 1 image found"]
                self.assertEqual(self.image(model, *options, saying=saying), (FACE, number))
                if case == "another game":
                    self.assertEqual(self.image(model, saying=[
                        "0 of 1 image found; --game-dir", f"{FACE} (hero.skin, line 4) is not found as",
                        f".tga, .jpg or .png in {self.dir}/{number}/mymod"]), (FACE, 0))

    def test_later_games_win_and_the_folder_that_is_named_has_its_place(self):
        model = self.place("main/models/players/hero")
        self.skin("main/models/players/hero", FACE)
        for width, folder in enumerate(("main", "mod", "both"), 1):
            self.write(f"{folder}/{FACE}", tga(width))
            (self.dir / folder / "textures").mkdir()
        games = [f"--game-dir={folder}" for folder in ("main", "mod", "both")]
        self.assertEqual(self.image(model, *games)[1], 3)
        self.assertEqual(self.image(model, *games[:2])[1], 2)
        self.assertEqual(self.image(model, *games[1:])[1], 1)
        # A name that games try first counts before a later folder.
        (self.dir / "mod" / FACE).rename(self.dir / "mod" / FACE.replace(".tga", ".png"))
        self.assertEqual(self.image(model, *games[:2])[1], 1)

    def test_forms_of_skins_and_files(self):
        folder = "main/models/players/hero"
        for kind in "mds", "mdm":
            model = self.place(folder, kind)
            for width, (field, end, content) in enumerate((
                (FACE, "\n", {}), (FACE, "\r\n", {"bits": 32}), (f" {FACE} ", "\n", {}),
                (f'"{FACE}"', "\r\n", {"packed": True}), (f' "{FACE}" ', "\r", {}),
                (FACE.removesuffix(".tga"), "\n", {"bits": 32, "packed": True}),
                (FACE.replace("/", "\\"), "\n", {}),
            ), 1):
                self.skin(folder, field, end)
                self.write("main/" + FACE, tga(width, **content))
                path, found = self.image(model)
                self.assertEqual((path.removesuffix(".tga") + ".tga", found), (FACE, width),
                                 (kind, field))

    def test_what_no_skin_dresses_wears_the_files_shader(self):
        folder = "main/models/players/hero"
        for width, kind in enumerate(("mdc", "mds", "mdm"), 1):
            model = self.place(folder, kind)
            self.write("main/" + SHADER, tga(width))
            self.assertEqual(self.image(model), (SHADER, width))
            self.marrow("convert", model, "out.mdc")
            self.assertEqual({row["shaders"][0] for row in self.info("out.mdc")["surfaces"]},
                             {SHADER})
        self.write(folder + "/hero.skin", f"body,{FACE}\n")
        self.marrow("import", folder + "/hero.mds", "-o", "out.glb")
        self.assertEqual({row["image"] for row in self.info("out.glb")["materials"]},
                         {FACE, SHADER})
        self.marrow("import", folder + "/hero.mds", "-o", "out.glb", "--no-materials")
        self.assertEqual(self.info("out.glb")["materials"], [])

    def test_what_is_no_image_and_paths_that_lead_out(self):
        model = self.place("main/models/players/hero")
        self.skin("main/models/players/hero", FACE)
        self.write("main/" + FACE, "no image")
        self.assertEqual(self.image(model, saying=["face.tga is not an image"])[1], 0)
        self.write("out.tga", tga(1))
        self.place("main/models/players/hero", "mdm")
        self.skin("main/models/players/hero", "../out.tga")
        self.assertEqual(self.image("main/models/players/hero/hero.mdm",
                                    saying=["0 of 1 image"]), ("../out.tga", 0))

    @unittest.skipIf("MARROW_NO_ARCHIVES" in os.environ, "a build without archives")
    def test_archives(self):
        model = self.place("main/models/players/hero")
        self.skin("main/models/players/hero", FACE)
        self.write("main/pak0.pk3", pk3((FACE, tga(1)), ("../" + FACE, tga(9))))
        self.assertEqual(self.image(model), (FACE, 1))
        self.write("main/" + FACE, tga(2))
        self.assertEqual(self.image(model), (FACE, 1))
        self.write("main/Pak1.PK3", pk3((FACE.replace("m", "M"), tga(3)),
                                        *((f"textures/{i}.tga", b"") for i in range(10000))))
        self.assertEqual(self.image(model), (FACE, 3))
        (self.dir / "mod").mkdir()
        self.write("mod/pak0.pk3", pk3((FACE, tga(4))))
        self.assertEqual(self.image(model, "--game-dir=main", "--game-dir=mod"), (FACE, 4))
        self.write("main/pak2.pk3", "no archive")
        self.image(model, saying=["pak2.pk3: is skipped: "])

    @unittest.skipIf("MARROW_NO_ARCHIVES" in os.environ, "a build without archives")
    def test_archives_that_lie(self):
        model = self.place("main/models/players/hero")
        self.skin("main/models/players/hero", FACE)
        good = pk3((FACE, tga(1) + bytes(5000)))
        central = good.index(b"PK\1\2")
        for claimed, told in ((1 << 30, "claims 1073741824 bytes"), (100000, "claims 100000 bytes"),
                              (10, "is damaged"), (20000, "is damaged")):
            lying = bytearray(good)
            struct.pack_into("<I", lying, central + 24, claimed)
            struct.pack_into("<I", lying, 22, claimed)
            self.write("main/pak0.pk3", bytes(lying))
            self.image(model, saying=["0 of 1", "main/pak0.pk3: " + FACE + " " + told])
        self.write("main/pak0.pk3", pk3(("../../" + FACE, tga(1)), ("/" + FACE, tga(1))))
        self.image(model, saying=["0 of 1", "main and its 1 pk3 archive"])


class Shaders(program.ProgramTest):
    def test_what_becomes_of_a_material(self):
        def change(document, _):
            material, image = document["materials"][0], document["images"][0]
            material["name"], image["name"] = name, stored or ""
            material["extras"] = {"game_path": path} if path else {}
            if stored is None:
                del material["pbrMetallicRoughness"]["baseColorTexture"]
            # An image in the document's buffer has a name; one of a file has that file's.
            content = self.read(image.pop("uri"))
            document["buffers"].append({"byteLength": len(content), "uri": "data:;base64," +
                                        base64.b64encode(content).decode()})
            image.update(bufferView=len(document["bufferViews"]), mimeType="image/png")
            document["bufferViews"].append({"buffer": len(document["buffers"]) - 1,
                                            "byteLength": len(content)})

        for name, path, stored, options, wanted in (
            ("figure", FACE, "b.png", [], FACE),
            ("figure", "Textures/Sfx/Glow", "b.png", [], "textures/sfx/glow"),
            ("models/players/hero/face", None, "face", [], FACE),
            ("models/players/hero/face.001", None, "face.tga", [], FACE),
            ("models/hero/cloth", None, "models/hero/cloth", [], "models/hero/cloth"),
            ("Textures/Skins/face.jpg", None, None, [], "textures/skins/face.jpg"),
            ("textures/sfx/glow", None, None, [], "textures/sfx/glow"),
            ("figure", None, "models\\players\\hero\\Face.tga", [], FACE),
            ("figure", None, "models/players/hero/face.png", ["--shader-dir=models/a"], FACE),
            ("face.002", None, "b", ["--shader-dir=models/players/hero"], FACE),
            ("figure", "models/old/" + FACE, None, [], FACE),
            ("face", None, None, ["--shader-dir=models/a/"], "models/a/face"),
            ("figure", None, "face.tga", [], "models/face.tga"),
        ):
            self.scene("s.gltf", change)
            for kind in "mdc", "mds":
                self.marrow("export", "s.gltf", "-o", f"s.{kind}", "--end=0", *options)
                shaders = {row["shader"] if kind == "mds" else row["shaders"][0]
                           for row in self.info(f"s.{kind}")["surfaces"]}
                self.assertEqual(shaders, {wanted}, (name, path, stored, kind))

    def test_what_is_written_beside_a_model(self):
        folder = "main/models/players/hero"
        (self.dir / folder).mkdir(parents=True)
        for kind, quote in ("mds", ""), ("mdm", '"'):
            model, skin = f"{folder}/hero.{kind}", f"{folder}/hero.skin"
            for name in skin, "main/" + SHADER:
                self.write(name, "old")
            result = self.export(model, "--end=0", "--write-skin", "--write-images")
            self.assertEqual(result.err.count("already exists, kept"), 2)
            self.assertEqual((self.read(skin), self.read("main/" + SHADER)), (b"old", b"old"))
            self.export(model, "--end=0", "--write-skin", "--write-images", "--force")
            self.assertEqual(self.read(skin).decode(), "".join(
                f"{name},{quote}{SHADER}{quote}\n" for name in ("sword", "body")))
            self.assertIn("1 of 1 image found", self.marrow("import", model, "-o", "a.glb").err)
            row, = self.info("a.glb")["materials"]
            wanted, = self.info(program.SAMPLE)["materials"]
            self.assertEqual((row["image"], row["width"], row["height"]),
                             (SHADER, wanted["width"], wanted["height"]))
        self.scene("s.gltf", lambda document, _: document["materials"][0]["extras"].update(
            game_path="../figure.tga"))
        before = self.names()
        self.assertIn("leads out", self.marrow("export", "s.gltf", "-o", model, "--end=0", "--force",
                                               "--write-images").err)
        self.assertEqual(self.names(), before)
        self.fails(2, "export", program.SAMPLE, "-o", model, "--force", saying=["--write-skin"])

    def test_names_are_paths(self):
        self.export("a.mds", "--end=0")
        self.marrow("import", "a.mds", "-o", "a.glb")
        self.assertEqual([row["name"] for row in self.info("a.glb")["materials"]],
                         [SHADER.removesuffix(".tga")])


program.main()
