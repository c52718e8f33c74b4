"""A file that stands under a target's name is only gone when the new one is whole."""

import os
import resource
import subprocess
import unittest

import program
from program import MARROW, SAMPLE, Result


def small_files():
    """A disk that is full after 20,000 bytes of each file."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))


class Keep(program.ProgramTest):
    def olds(self, *names):
        for name in names:
            self.write(name, "old " + name)

    def assert_olds(self, *names):
        self.assertEqual(self.names(), sorted(names))
        for name in names:
            self.assertEqual(self.read(name).decode(), "old " + name)

    def test_a_full_disk(self):
        self.export("a.mds", "--end", "0")
        bare = self.dir.with_name(self.dir.name + ".glb")  # its mdm is small, many frames are not
        self.addCleanup(bare.unlink)
        self.marrow("convert", "a.mds", bare, "--no-meshes")
        (self.dir / "a.mds").unlink()
        for targets, *command in ((["a.mdc"], "export", SAMPLE, "-o", "a.mdc"),
                                  (["a.mds"], "export", SAMPLE, "-o", "a.mds"),
                                  (["a.mdx"], "convert", SAMPLE, "a.mdx"),
                                  (["a.mdm", "a.mdx"], "convert", SAMPLE, "a.mdm"),
                                  (["a.mdm", "a.mdx"], "export", bare, "-o", "a.mdm", "--mdx",
                                   "a.mdx", "--end", "5000"),
                                  (["a.glb"], "convert", SAMPLE, "a.glb"),
                                  (["a.gltf", "a.bin"], "convert", SAMPLE, "a.gltf")):
            for olds in targets, []:
                self.olds(*olds)
                result = self.marrow(*command, code=1, preexec_fn=small_files)
                self.assertTrue(any(targets[0] in line or targets[-1] in line
                                    for line in result.lines), result.err)
                self.assert_olds(*olds)
                for name in olds:
                    (self.dir / name).unlink()

    def test_a_sequence_file(self):
        self.export("a.mds", "--sequences")
        cfg = self.read("wolfanim.cfg")

        def tiny():
            resource.setrlimit(resource.RLIMIT_FSIZE, (10, 10))

        self.marrow("sequences", "a.mds", "--init", "--force", code=1, preexec_fn=tiny)
        self.assertEqual(self.read("wolfanim.cfg"), cfg)
        self.assertEqual(self.names(), ["a.mds", "wolfanim.cfg"])

    @unittest.skipIf(program.SANITIZED, "the address sanitizer takes more memory than there is")
    def test_no_memory_and_limits_are_the_cause(self):
        self.olds("a.mds")
        for end, saying in (("2147483646", "holds 6100805 frames of 25 bones, not 2147483647"),
                            ("3000000", "there is not enough memory for the list"),
                            ("500000", "there is not enough memory")):
            self.fails(1, "export", SAMPLE, "-o", "a.mds", "--end", end, "--max-memory", "9GB",
                       saying=["a.mds", saying],
                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (150 << 20,) * 2))
            self.assert_olds("a.mds")

    @unittest.skipIf(program.SANITIZED, "what traces cannot trace itself")
    def test_a_call_that_fails_once(self):
        for call, error, cause in (("write", "ENOSPC", "no space left"), ("close", "EIO", "error"),
                                   ("fsync", "EIO", "error"), ("rename", "EACCES", "denied")):
            for number in 1, 2, 3, 9:
                self.olds("a.mdc")
                inject = f"{call}:error={error}:when={number}"
                result = subprocess.run(
                    ["strace", "-o", os.devnull, "-e", "trace=" + call, "-e", "inject=" + inject,
                     MARROW, "export", SAMPLE, "-o", "a.mdc", "--end", "9"],
                    cwd=self.dir, capture_output=True, timeout=120)
                told = result.stderr.decode()
                if result.returncode == 0:
                    self.assertEqual(self.info("a.mdc")["numFrames"], 10, inject)
                elif "standard output" not in told:
                    self.assert_olds("a.mdc")
                    self.assertIn(cause, told.lower(), inject)
                self.assertEqual(self.names(), ["a.mdc"])
                (self.dir / "a.mdc").unlink()

    @unittest.skipIf(program.SANITIZED, "what traces cannot trace itself")
    def test_a_file_that_is_not_what_was_written(self):
        def traced(*options):
            return Result(subprocess.run(
                ["strace", "-o", self.dir / "calls", "-e", "trace=write", *options,
                 MARROW, "export", SAMPLE, "-o", "a.mdc", "--end", "9"],
                cwd=self.dir, capture_output=True, timeout=120))

        traced()
        calls = [line for line in self.read("calls").decode("latin-1").splitlines()
                 if line.startswith("write(") and not line.startswith("write(1,")]
        self.olds("a.mdc")
        # The last write brings the end of the file, which is in the last frame of its surface.
        told = traced("-e", f"inject=write:poke_enter=@arg2=11111111:when={len(calls)}").err
        (self.dir / "calls").unlink()
        self.assertRegex(told, "^marrow: error: a.mdc: not written, the previous file is kept: "
                         r"frame 9: surface 1 \(body\): vertex \d+ is not where the scene has it$")
        self.assert_olds("a.mdc")

    def test_the_stored_name_is_that_of_the_target(self):
        (self.dir / "models").mkdir()
        (self.dir / "elsewhere").mkdir()
        (self.dir / "models" / "Link.mdc").symlink_to("../elsewhere/real.mdc")
        (self.dir / "elsewhere" / "real.mdc").touch()
        self.export("models/Link.mdc", "--end", "0")
        self.assertEqual(self.info("models/Link.mdc")["name"], "models/link.mdc")
        self.export("Y.mdm", "--mdx", "Z.mdx", "--end", "0")
        self.assertEqual([self.info("Y.mdm")["name"], self.info("Z.mdx")["name"]],
                         ["y.mdm", "z.mdx"])

    def test_in_place_no_frame_is_lost(self):
        self.export("a.mds")
        self.export("a.mdm", "--mdx", "a.mdx")
        for source, target, animated in (("a.mds", "a.mds", "a.mds"), ("a.mdm", "a.mdm", "a.mdx"),
                                         ("a.mdm", "a.mdx", "a.mdx")):
            before = self.read(animated)
            told = self.marrow("convert", source, target, "--quiet", code=1).lines[-1]
            for text in target, "95 frames", f"marrow sequences {animated} --init", "--first-frame":
                self.assertIn(text, told)
            self.assertEqual(self.read(animated), before)
        self.marrow("sequences", "a.mdm", "--init")
        self.marrow("convert", "a.mdm", "a.mdm")
        self.assertEqual(self.info("a.mdx")["numFrames"], 95)
        self.marrow("convert", "a.mds", "a.mds", "--first-frame")
        self.assertEqual(self.info("a.mds")["numFrames"], 1)

    @unittest.skipIf(os.geteuid() == 0, "root may write everything")
    def test_what_may_not_be_written(self):
        old = self.write("a.mdc", "old a.mdc")
        old.chmod(0o444)
        self.fails(1, "export", SAMPLE, "-o", "a.mdc", saying=["a.mdc", "permission denied"])
        self.assert_olds("a.mdc")
        self.write("a.glb", "old a.glb").chmod(0o444)
        self.fails(1, "convert", SAMPLE, "a.glb", saying=["a.glb", "permission denied"])
        self.assert_olds("a.mdc", "a.glb")


program.main()
