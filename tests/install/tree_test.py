"""The installed tree, moved away from where it was installed: its headers compile one by one, the
examples are built against it, and nothing in it knows of the source."""

import json
import os
import pathlib
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

from running import run

BUILD, SOURCE, LIBDIR, COMPILER = sys.argv[1:5]


class Tree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.holder = tempfile.TemporaryDirectory(prefix="marrow-install-")
        cls.addClassCleanup(cls.holder.cleanup)
        top = pathlib.Path(cls.holder.name)
        run("cmake", "--install", BUILD, "--prefix", top / "first", "--strip")
        cls.root = (top / "first").rename(top / "moved")
        cls.work = top / "work"
        cls.work.mkdir()
        cls.marrow = cls.root / "bin" / "marrow"
        cls.module = cls.root / LIBDIR / "libmarrow.so"
        sample = pathlib.Path(SOURCE) / "examples" / "sample.glb"
        for suffix in ("mds", "mdc", "mdm"):
            run(cls.marrow, "export", sample, "-o", f"a.{suffix}", "--scale", "40", "--quiet",
                *(["--mdx", "a.mdx"] if suffix == "mdm" else []), cwd=cls.work)
        run(cls.marrow, "sequences", "a.mds", "--init", cwd=cls.work)

    def info(self, name):
        return json.loads(run(self.marrow, "info", name, "--json", cwd=self.work))

    def test_headers_compile_alone(self):
        include = self.root / "include" / "marrow"
        headers = sorted(str(path.relative_to(include)) for path in include.rglob("*.h"))
        for wanted in ("core/scene.h", "gltf/gltf.h", "mds/mdsfile.h", "module/module.h",
                       "plugin/host/nodes.h"):
            self.assertIn(wanted, headers)

        def compile_alone(header):
            run(COMPILER, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-x", "c++",
                f"-I{include}", "-", input=f'#include "{header}"\n'.encode())

        with ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(compile_alone, headers))

    def test_examples(self):
        examples = self.root / "share" / "doc" / "marrow" / "examples"
        for source in examples.glob("*.cpp"):
            self.assertLess(len(source.read_text().splitlines()), 60, source)
        build = self.work / "build"
        run("cmake", "-S", examples, "-B", build, f"-DCMAKE_PREFIX_PATH={self.root}",
            f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
        run("cmake", "--build", build)

        bones = [bone["name"] for bone in self.info("a.mds")["bones"]]
        self.assertGreater(len(bones), 20)
        printed = run(build / "bones", "a.mds", cwd=self.work).splitlines()
        self.assertEqual([line.split(" ", 1)[1].rsplit(" (", 1)[0] for line in printed], bones)
        self.assertEqual(run(build / "bones", "a.mdx", cwd=self.work).splitlines()[0], printed[0])
        self.assertEqual(run(build / "bones", "a.mdc", cwd=self.work),
                         run(build / "bones", "a.mdm", cwd=self.work))

        nodes = run(build / "runhandler", self.module, "a.mdm", cwd=self.work)
        run(build / "toglb", self.module, "a.mdm", "example.glb", cwd=self.work)
        run(self.marrow, "import", "a.mdm", "-o", "command.glb", "--scale", "40", cwd=self.work)
        scene = self.info("example.glb")
        self.assertEqual(scene["nodes"], self.info("command.glb")["nodes"])
        self.assertEqual({line.strip() for line in nodes.splitlines()[1:]},
                         {node["name"] for node in scene["nodes"]})

        # A host that shares no library with ours.
        run(build / "host" / "smallhost", self.module, "a.mds", "small.mdm", cwd=self.work)
        for name in ("small.mdm", "small.mdx"):
            self.assertTrue((self.work / name).is_file(), name)
        self.assertEqual({bone["name"] for bone in self.info("small.mdx")["bones"]},
                         {bone["name"] for bone in self.info("a.mdx")["bones"]})

    def test_one_version(self):
        version = run(self.marrow, "--version").strip()
        environment = {**os.environ,
                       "PKG_CONFIG_PATH": str(self.root / LIBDIR / "pkgconfig")}
        self.assertEqual(run("pkg-config", "--modversion", "marrow", env=environment).strip(), version)
        self.assertTrue((self.root / LIBDIR / f"libCore.so.{version}").is_file())
        self.assertIn(f"## {version}", (self.root / "share/doc/marrow/CHANGELOG.md").read_text())

        flags = run("pkg-config", "--cflags", "--libs", "marrow", env=environment).split()
        source = self.root / "share/doc/marrow/examples/toglb.cpp"
        run(COMPILER, "-std=c++20", source, "-o", self.work / "bypc", *flags,
            f"-Wl,-rpath,{self.root / LIBDIR}")
        module = run("pkg-config", "--variable=module", "marrow", env=environment).strip()
        run(self.work / "bypc", module, "a.mds", "bypc.glb", cwd=self.work)
        names = [node["name"] for node in self.info("bypc.glb")["nodes"]]
        self.assertTrue({bone["name"] for bone in self.info("a.mds")["bones"]} <= set(names))

    def test_the_program_is_small(self):
        root = self.work / "runtime"
        run("cmake", "--install", BUILD, "--prefix", root, "--strip", "--component", "Runtime")
        # The page for browsers is there where it was built.
        sizes = {path: path.lstat().st_size for path in root.rglob("*")
                 if not path.is_dir() and path.name != "marrow.html"}
        self.assertLess(sum(sizes.values()), 3_000_000, sizes)
        self.assertFalse((root / "include").exists())

    def test_knows_nothing_of_the_source(self):
        files = [path for path in self.root.rglob("*") if path.is_file() and not path.is_symlink()]
        for path in files:
            if path.suffix in (".cmake", ".pc", ".h") or path.parent.name == "bin":
                text = path.read_bytes()
                self.assertNotIn(SOURCE.encode(), text, path)
                self.assertNotIn(BUILD.encode(), text, path)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
