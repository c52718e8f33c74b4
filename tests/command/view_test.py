"""The page with a model inside."""

import base64
import json
import os
import pathlib
import re

import program
from program import SAMPLE

HEAD, TAIL = '<p></p><script type="application/json" id="inside">', "</script><p></p>"


class View(program.ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("page.html", HEAD + TAIL)
        # Without a browser, and with temporary files in a place of the test's own.
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("DISPLAY", "WAYLAND_DISPLAY", "BROWSER")}
        self.environment["TMPDIR"] = str(self.dir / "tmp")
        (self.dir / "tmp").mkdir()

    def view(self, *arguments, **options):
        return self.marrow("view", *arguments, "--page", "page.html",
                           **{"env": self.environment, **options})

    def inside(self, page):
        """What is shown, and the files by their paths."""
        text = pathlib.Path(self.dir / page).read_text()
        self.assertTrue(text.startswith(HEAD) and text.endswith(TAIL))
        text = text.removeprefix(HEAD).removesuffix(TAIL)
        self.assertNotIn("<", text)
        inside = json.loads(text)
        return inside["shown"], {file["path"]: base64.b64decode(file["base64"], validate=True)
                                 for file in inside["files"]}

    def test_all_that_belongs_to_a_model_comes_along(self):
        hero, head = "game/models/hero/", "other/models/head<"
        for folder in hero, head:  # what ends a script is in a path
            (self.dir / folder).mkdir(parents=True)
        self.export(hero + "a.mds", "--sequences", "--write-images")
        self.export(hero + "b.mdm", "--mdx", "c.mdx", "--sequences")
        self.export(head + "/script>.mdc")
        worn, unworn = '"models/hero/worn.tga"', '"models/hero/Unworn.tga"'
        self.write(hero + "plain.skin", f"body,{worn}\n")
        self.write(hero + "z.skin", f"body,{unworn}\n")
        image = self.read("game/models/players/sample/figure.tga")
        self.write(hero + "WORN.tga", image)
        self.write(hero + "unworn.tga", image)
        self.write(hero + "nobody's.tga", image)

        self.view(hero + "a.mds", "--skin", "plain", "--attach", f"tag_head={head}/script>.mdc:3",
                  "--scale", "39", "--no-meshes", "-o", "a.html")
        shown, files = self.inside("a.html")
        self.assertEqual(shown, {
            "model": "models/hero/a.mds",
            "choice": {"skin": "plain.skin", "noSkin": False,
                       "options": ["--no-meshes", "--scale=39"],
                       "attachments": [{"tag": "tag_head", "path": "2/models/head</script>.mdc",
                                        "skin": "", "frame": 3}]}})
        self.assertEqual(set(files), {
            "models/hero/a.mds", "models/hero/wolfanim.cfg", "models/hero/plain.skin",
            "models/hero/z.skin", "2/models/head</script>.mdc", "models/hero/worn.tga",
            "models/hero/Unworn.tga", "models/players/sample/figure.tga"})
        self.assertEqual(files["models/hero/a.mds"], self.read(hero + "a.mds"))
        self.assertEqual(files["models/hero/worn.tga"], image)

        self.view(hero + "b.mdm", "--mdx", "c.mdx", "-o", "b.html")
        _, files = self.inside("b.html")
        self.assertEqual(files["models/hero/b.mdx"], self.read("c.mdx"))
        self.assertEqual(files["models/hero/b.aninc"], self.read("c.aninc"))

        self.view(SAMPLE, "-o", "scene.html")
        shown, files = self.inside("scene.html")
        self.assertEqual(shown, {"model": "sample.glb"})
        self.assertEqual(files["sample.glb"], pathlib.Path(SAMPLE).read_bytes())

    def test_a_gltf_brings_the_files_beside_it(self):
        self.export("a.mdc")
        self.marrow("import", "a.mdc", "-o", "s c.gltf")
        self.view("s c.gltf", "-o", "scene.html")
        _, files = self.inside("scene.html")
        self.assertEqual({name: self.read(name) for name in files}, files)
        self.assertIn("s c.bin", files)

    def test_the_browser_gets_the_page(self):
        # Words that a shell would take apart, in the name and in BROWSER.
        opened = self.write("open it", '#!/bin/sh\nprintf "%s\\n" "$@" > "$0.got"\n')
        opened.chmod(0o755)
        self.export("a;$(b).mdc")
        link = pathlib.Path("/tmp") / f"marrow-view-{os.getpid()}"
        link.symlink_to(opened)
        self.addCleanup(link.unlink)
        self.addCleanup(lambda: pathlib.Path(f"{link}.got").unlink(missing_ok=True))
        for browser in (f"none-such:{link} -n", f"{link} -n %s"):
            said = self.view("a;$(b).mdc", env={**self.environment, "BROWSER": browser})
            [page] = re.findall(r"^(.*): opened in the browser$", said.out, re.M)
            self.assertEqual(pathlib.Path(f"{link}.got").read_text().splitlines(), ["-n", page])
            self.assertEqual(pathlib.Path(page).parent.stat().st_mode & 0o077, 0)
        said = self.view("a;$(b).mdc", "-q", env={**self.environment, "BROWSER": "false"})
        [page] = re.findall(r"^marrow: warning: (.*): no browser can be started", said.err, re.M)
        self.inside(page)

    def test_what_cannot_be_shown_is_told(self):
        self.export("a.mdc")
        self.write("torn.mds", self.read("a.mdc")[:50])
        for arguments, code, saying in (
                (("a.mdc", "--page", "none.html"), 1, ("none.html", "scripts/web.sh", "--page")),
                (("a.mdc", "--page", SAMPLE), 1, ("no place for a model",)),
                (("none.mdc",), 1, ("none.mdc",)),
                (("torn.mds",), 1, ("torn.mds",)),
                (("a.mdc", "-o", "a.glb"), 2, ("a.glb", ".html")),
                (("a.mdc", "--attach", "tag_none=a.mdc"), 1, ("there is no tag tag_none",)),
                ((SAMPLE, "--skin", "a"), 2, ("--skin applies to models",))):
            page = () if "--page" in arguments else ("--page", "page.html")
            said = self.marrow("view", *arguments, *page, code=code, env=self.environment)
            for text in saying:
                self.assertIn(text, said.lines[-1])
        self.assertEqual(list((self.dir / "tmp").iterdir()), [])


program.main()
