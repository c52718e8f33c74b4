"""Each package, installed into an empty folder, tried and taken away again; the manual pages and
the completions that come with it tell of every option that the program has."""

import os
import pathlib
import pty
import re
import select
import sys
import tempfile
import time
import unittest

from running import run

BUILD, SOURCE, LIBDIR = sys.argv[1:4]
SAMPLE = pathlib.Path(SOURCE) / "examples" / "sample.glb"
COMMANDS = ("handlers", "import", "export", "convert", "info", "sequences", "view")


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        holder = tempfile.TemporaryDirectory(prefix="marrow-packages-")
        cls.addClassCleanup(holder.cleanup)
        cls.top = pathlib.Path(holder.name)
        run("cpack", "--config", f"{BUILD}/CPackConfig.cmake", "-B", cls.top / "made")
        [cls.tar] = (cls.top / "made").glob("*.tar.gz")
        cls.debs = sorted((cls.top / "made").glob("*.deb"))
        run("tar", "-xzf", cls.tar, "-C", cls.top)
        cls.root = cls.top / cls.tar.name.removesuffix(".tar.gz")

    def try_program(self, root):
        work = pathlib.Path(tempfile.mkdtemp(dir=self.top))
        marrow = root / "bin" / "marrow"
        run(marrow, "export", SAMPLE, "-o", "a.mdc", cwd=work)
        run(marrow, "import", "a.mdc", "-o", "a.glb", cwd=work)
        self.assertGreater((work / "a.glb").stat().st_size, 10000)
        return run(marrow, "--version").strip()

    def test_archive(self):
        self.assertIn(self.try_program(self.root), self.tar.name)
        for name in ("README.md", "LICENSE", "CHANGELOG.md", "docs/performance.md",
                     "examples/sample.glb"):
            self.assertTrue((self.root / "share/doc/marrow" / name).is_file(), name)

    def test_debian_packages(self):
        self.assertEqual([deb.name.split("_")[0] for deb in self.debs], ["libmarrow-dev", "marrow"])
        lintian = run("lintian", "--fail-on", "none", "--tag-display-limit", "0", *self.debs)
        found = [line for line in lintian.splitlines() if re.match("[EW]:", line)]
        self.assertEqual(found, [])

        root = self.top / "deb"
        for folder in ("info", "updates"):
            (root / "var/lib/dpkg" / folder).mkdir(parents=True)
        (root / "var/lib/dpkg/status").touch()
        (root / "var/lib/dpkg/available").touch()
        # What the packages depend on is on this machine, not in the folder.
        dpkg = [*([] if os.getuid() == 0 else ["fakeroot"]), "dpkg", f"--root={root}",
                "--force-depends", "--force-script-chrootless", "--no-triggers"]
        environment = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin:/sbin"}
        run(*dpkg, "-i", *self.debs, env=environment)
        version = self.try_program(root / "usr")
        self.assertIn(f"_{version}_", self.debs[1].name)
        self.assertTrue((root / "usr/share/man/man1/marrow-import.1.gz").is_file())
        [pc] = (root / "usr/lib").rglob("marrow.pc")
        libs = run("pkg-config", "--variable=libdir", "marrow",
                   env={**environment, "PKG_CONFIG_PATH": str(pc.parent)}).strip()
        self.assertTrue(os.path.samefile(libs, root / "usr" / LIBDIR))
        run(*dpkg, "--purge", "libmarrow-dev", "marrow", env=environment)
        left = [path for path in root.rglob("*") if not path.is_dir()
                and not path.is_relative_to(root / "var/lib/dpkg")
                and not path.is_relative_to(root / "var/log")]
        self.assertEqual(left, [])

    def options(self):
        """By command, from the program's own help."""
        return {command: re.findall(r"(?<![\w-])--?[a-z][a-z-]*",
                                    "\n".join(re.findall(r"^  (-\S+)", run(
                                        self.root / "bin/marrow", command, "--help"), re.M)))
                for command in COMMANDS}

    def test_manual_pages(self):
        for command, options in self.options().items():
            page = self.root / "share/man/man1" / f"marrow-{command}.1"
            # Without a width of its own, man cuts words.
            text = run("man", "--warnings", "--no-hyphenation", "-E", "ascii", "-l", page,
                       env={**os.environ, "MANWIDTH": "100", "MANPAGER": "cat", "TERM": "dumb"})
            self.assertNotIn("warning:", text)
            text = re.sub(".\b", "", text)
            for option in options:
                self.assertRegex(text, rf"(?m)^ +(-[-\w]+, )*{option}\b", page)

    def test_bash_and_fish(self):
        share = self.root / "share"

        def bash(*words):
            line = " ".join(f"'{word}'" for word in words)
            return run("bash", "--norc", "-c",
                       f"source {share}/bash-completion/completions/marrow; COMP_WORDS=({line});"
                       f"COMP_CWORD={len(words) - 1}; _marrow 2>/dev/null;"
                       "printf '%s\\n' \"${COMPREPLY[@]}\"", cwd=self.root).split()

        def fish(*words):
            text = run("fish", "--no-config", "-c",
                       f"source {share}/fish/vendor_completions.d/marrow.fish;"
                       f"complete -C '{' '.join(words)}'", cwd=self.root,
                       env={**os.environ, "HOME": str(self.top)})
            return [line.split("\t")[0].rstrip("/") for line in text.splitlines()]

        for complete in (bash, fish):
            with self.subTest(complete.__name__):
                self.assertEqual(complete("marrow", "im"), ["import"])
                self.assertLessEqual(set(COMMANDS), set(complete("marrow", "")))
                for command, options in self.options().items():
                    if complete is fish:
                        options = [option for option in options if option.startswith("--")]
                        self.assertLessEqual(set(options), set(complete("marrow", command, "--")))
                    else:
                        self.assertLessEqual(set(options), set(complete("marrow", command, "-")))
                self.assertIn("share", complete("marrow", "info", "sh"))
                self.assertIn("share", complete("marrow", "import", "a.mds", "-o", "sh"))
                self.assertEqual(complete("marrow", "import", "a.mds", "--frame", "sh"), [])

    def test_zsh(self):
        process, terminal = pty.fork()
        if process == 0:
            os.chdir(self.root)
            os.environ.update(TERM="dumb", HOME=str(self.top), PS1="", ZDOTDIR=str(self.top))
            os.execvp("zsh", ["zsh", "-f", "-i"])

        def typed(text, wanted):
            os.write(terminal, text.encode())
            seen = ""
            end = time.monotonic() + 60
            while wanted not in seen and time.monotonic() < end:
                if select.select([terminal], [], [], 1)[0]:
                    seen += os.read(terminal, 4096).decode(errors="replace")
            self.assertIn(wanted, seen)

        def completed(line, rest):
            typed("\x15" + line, line[-4:])
            typed("\t", rest)

        try:
            typed(f"fpath=({self.root}/share/zsh/site-functions $fpath); autoload -Uz compinit;"
                  "compinit -D -u; print re''ady\n", "ready")
            completed("marrow conv", "ert")
            completed("marrow info --js", "on")
            completed("marrow info sha", "re/")
            completed("marrow export a.glb --no-help", "er-bones")
        finally:
            os.write(terminal, b"\x15exit\n")
            os.close(terminal)
            os.waitpid(process, 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
