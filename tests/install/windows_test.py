"""The Windows packages: the .zip, and the installer with and without what it registers, each in an
empty folder and taken away again whole. Under Wine, in a prefix that the caller has set up."""

import pathlib
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile

PACKAGES, SAMPLE = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
WINE = "/usr/lib/wine/wine64"


def wine(*command, code=0, **options):
    process = subprocess.run([WINE, *map(str, command)], stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, timeout=300, **options)
    if code is not None and process.returncode != code:
        raise AssertionError(f"{command} ends with {process.returncode}: {process.stdout}")
    return process.stdout.decode(errors="replace")


def registry(key, *value):
    """What stands there, empty where nothing does."""
    return wine("reg", "query", "HKCU\\" + key, *value, code=None)


class Windows(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="marrow-windows-")
        self.addCleanup(holder.cleanup)
        self.dir = pathlib.Path(holder.name)

    def try_program(self, root):
        marrow = root / "bin" / "marrow.exe"
        wine(marrow, "export", SAMPLE, "-o", "a.mdc", cwd=self.dir)
        wine(marrow, "import", "a.mdc", "-o", "a.glb", cwd=self.dir)
        self.assertGreater((self.dir / "a.glb").stat().st_size, 10000)
        self.assertTrue((root / "share/doc/marrow/README.md").is_file())
        return wine(marrow, "--version").strip()

    def install(self, *options):
        [setup] = PACKAGES.glob("*.exe")
        folder = self.dir / "installed"
        wine(setup.resolve(), "/S", *options, "/D=Z:" + str(folder).replace("/", "\\"))
        return folder

    def uninstall(self, folder):
        # It hands on to a copy of itself and ends before that does.
        wine(folder / "uninstall.exe", "/S")
        end = time.monotonic() + 60
        while folder.exists() and time.monotonic() < end:
            time.sleep(0.2)
        self.assertEqual(list(folder.rglob("*")), [])
        self.assertFalse(folder.exists())

    def test_zip(self):
        [packed] = PACKAGES.glob("*.zip")
        with zipfile.ZipFile(packed) as archive:
            archive.extractall(self.dir)
        self.assertIn(self.try_program(self.dir / packed.stem), packed.name)

    def test_installer_registers_nothing_unasked(self):
        before = registry("Environment")
        folder = self.install()
        self.try_program(folder)
        self.assertIn("DisplayVersion",
                      registry("Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Marrow"))
        self.assertEqual(registry("Environment"), before)
        self.assertNotIn("Marrow", registry("Software\\Classes\\.mdc"))
        self.uninstall(folder)

    def test_installer_registers_what_is_wanted(self):
        # A PATH and a file type of the user's own, which stay.
        wine("reg", "add", "HKCU\\Environment", "/v", "Path", "/t", "REG_EXPAND_SZ", "/d",
             "C:\\tools;%TEMP%", "/f")
        wine("reg", "add", "HKCU\\Software\\Classes\\.mds", "/ve", "/d", "Other.Type", "/f")
        folder = self.install("/TYPES", "/ADDPATH")
        path = registry("Environment", "/v", "Path")
        self.assertIn("C:\\tools;%TEMP%;Z:" + str(folder).replace("/", "\\") + "\\bin", path)
        self.assertIn("Marrow.Model", registry("Software\\Classes\\.mdc", "/ve"))
        self.assertIn("Marrow.Skeleton", registry("Software\\Classes\\.mdx", "/ve"))
        self.assertIn("Other.Type", registry("Software\\Classes\\.mds", "/ve"))
        self.assertIn("marrow.exe", registry("Software\\Classes\\Marrow.Model\\shell\\convert\\command"))

        self.uninstall(folder)
        self.assertIn("C:\\tools;%TEMP%", registry("Environment", "/v", "Path"))
        self.assertNotIn("installed", registry("Environment", "/v", "Path"))
        self.assertIn("Other.Type", registry("Software\\Classes\\.mds", "/ve"))
        for key in (".mdc", ".mdx", "Marrow.Model", "Marrow.Skeleton"):
            self.assertNotIn("Marrow", registry("Software\\Classes\\" + key), key)
        self.assertNotIn("Marrow", registry("Software\\Marrow"))
        wine("reg", "delete", "HKCU\\Environment", "/v", "Path", "/f", code=None)
        wine("reg", "delete", "HKCU\\Software\\Classes\\.mds", "/f", code=None)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
