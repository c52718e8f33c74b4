"""The built module as a file: names and ordinals, dialogs and version, read from its bytes."""

import struct
import subprocess
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).parent.parent / "module"))
from exports_test import expected_names  # noqa: E402

ORDINALS = {"LibType": 1, "LibNumberClasses": 2, "LibClassDesc": 3, "LibVersion": 4}

BUTTON, DEFAULT, CHECK, GROUP = [("button", kind) for kind in (0x0, 0x1, 0x3, 0x7)]
EDIT, DIGITS, READ_ONLY = [("edit", kind) for kind in (0x0, 0x2000, 0x800)]
# Neither sorted (0x2) nor with partial rows (0x100).
LIST, EXTENDED = [("listbox", kind) for kind in (0x0, 0x800)]
LABEL = ("static", 0x0)
# The bits of a control's style that tell its kind, by class.
KIND_BITS = {"button": 0xF, "edit": 0x2800, "listbox": 0x90A, "static": 0x1F}

ORIGIN = "Origin Object (if not defined WCS 0,0,0 will be the origin)"
FRAMES = [(None, LABEL, "Start Frame:"), (None, LABEL, "End Frame:"), (None, LABEL, ORIGIN)]
OK_CANCEL = [(1, DEFAULT, "OK"), (2, BUTTON, "Cancel")]
DIALOGS = {
    101: ("MDS Importer(beta) - Options",
          [(1000, EXTENDED, ""), (1005, BUTTON, "All"), (1006, BUTTON, "None"), (1007, LIST, ""),
           (1001, CHECK, "Meshes"), (1002, CHECK, "Bones"), (1003, CHECK, "Materials"),
           (1004, CHECK, "Animation"), (None, LABEL, "Anim Sequences"),
           (None, LABEL, "Name | Start Frame | Num Frames"),
           (None, LABEL, "Skin Files(contain texture info)")]),
    102: ("MDC Importer(beta) - Options",
          [(1008, READ_ONLY, ""), (1009, DIGITS, ""), (None, LABEL, "Number Of Frames:"),
           (None, LABEL, "Frame Index Range: 0 to NumOfFrames-1"),
           (None, LABEL, "Import Frame Num:")]),
    103: ("MDC/MDS Exporter(beta) - Options",
          [(1010, DIGITS, ""), (1011, DIGITS, ""), (1015, EDIT, ""), (1016, BUTTON, "Select"),
           (1012, CHECK, "Use 'models' as the directory for filenames"), *FRAMES]),
    105: ("MDM/MDX Exporter(beta) - Options",
          [(1020, DIGITS, ""), (1021, DIGITS, ""), (1018, EDIT, ""), (1019, BUTTON, "Select"),
           (1023, CHECK, "Export MDX"), (None, GROUP, "MDX"), *FRAMES]),
}
PROGRESS = ("Progress", 0x90C000C0, 0x80, (0, 0, 222, 54),
            [(1013, "msctls_progress32", 0x50000000, (4, 1, 213, 14), "Progress1"),
             (1014, "static", 0x50020000, (2, 22, 217, 13), "Static")])
OPTIONS_STYLE = 0x80C800C0  # popup, caption, system menu, modal frame, font; shown or not


class Image:
    def __init__(self, path):
        self.data = Path(path).read_bytes()
        header = self.u32(0x3C)
        self.directories = header + 24 + 112
        sections = header + 24 + self.u16(header + 20)
        self.sections = [struct.unpack_from("<4I", self.data, sections + 40 * i + 8)
                         for i in range(self.u16(header + 6))]

    def u16(self, at):
        return struct.unpack_from("<H", self.data, at)[0]

    def u32(self, at):
        return struct.unpack_from("<I", self.data, at)[0]

    def offset(self, address):
        for _, start, size, raw in self.sections:
            if start <= address < start + size:
                return raw + address - start
        raise ValueError(f"no section has address {address:#x}")

    def exports(self):
        at = self.offset(self.u32(self.directories))
        base, _, count, _, names, ordinals = struct.unpack_from("<6I", self.data, at + 16)
        result = {}
        for i in range(count):
            name = self.offset(self.u32(self.offset(names) + 4 * i))
            text = self.data[name:self.data.index(0, name)].decode()
            result[text] = base + self.u16(self.offset(ordinals) + 2 * i)
        return result

    def resources(self, kind):
        """By their numbers, the bytes of all resources of a kind."""
        root = self.offset(self.u32(self.directories + 16))

        def entries(at):
            count = self.u16(at + 12) + self.u16(at + 14)
            return dict(struct.unpack_from("<2I", self.data, at + 16 + 8 * i) for i in range(count))

        result = {}
        for number, below in entries(root + (entries(root)[kind] & 0x7FFFFFFF)).items():
            languages = entries(root + (below & 0x7FFFFFFF))
            address, size = struct.unpack_from("<2I", self.data, root + next(iter(languages.values())))
            result[number] = self.data[self.offset(address):self.offset(address) + size]
        return result


class Template:
    """An extended dialog template."""

    def __init__(self, data):
        self.data, self.at = data, 0
        assert self.take("2H") == (1, 0xFFFF)
        _, self.exstyle, self.style, count = self.take("3IH")
        self.place = self.take("4h")
        self.menu, self.window_class, self.caption = self.name(), self.name(), self.name()
        self.font = self.take("H4x")[0], self.name()
        self.controls = [self.control() for _ in range(count)]

    def take(self, layout):
        values = struct.unpack_from("<" + layout, self.data, self.at)
        self.at += struct.calcsize("<" + layout)
        return values

    def name(self):
        (first,) = self.take("H")
        if first == 0xFFFF:
            return {0x80: "button", 0x81: "edit", 0x82: "static", 0x83: "listbox"}[self.take("H")[0]]
        text = ""
        while first != 0:
            text += chr(first)
            (first,) = self.take("H")
        return text

    def control(self):
        self.at = (self.at + 3) & ~3
        _, exstyle, style = self.take("3I")
        assert exstyle == 0
        place = self.take("4h")
        (number,) = self.take("I")
        window_class, text = self.name().lower(), self.name()
        self.take("H")
        return None if number == 0xFFFFFFFF else number, window_class, style, place, text


def check(what, actual, expected):
    if actual != expected:
        sys.exit(f"{what}:\n  is     {actual}\n  wanted {expected}")


def main():
    image = Image(sys.argv[1])
    exports = image.exports()
    demangled = subprocess.run(["c++filt"], input="\n".join(exports), check=True,
                               capture_output=True, text=True).stdout.split("\n")
    check("exported names", sorted(set(demangled)), sorted(expected_names()))
    check("ordinals", {name: exports[name] for name in ORDINALS}, ORDINALS)

    dialogs = {number: Template(data) for number, data in image.resources(5).items()}
    check("dialogs", sorted(dialogs), [101, 102, 103, 104, 105])
    for number, dialog in dialogs.items():
        check(f"{number}: font", dialog.font, (8, "MS Sans Serif"))
        check(f"{number}: menu and class", (dialog.menu, dialog.window_class), ("", ""))
    progress = dialogs.pop(104)
    check("104", (progress.caption, progress.style, progress.exstyle, progress.place,
                  progress.controls), PROGRESS)
    for number, dialog in dialogs.items():
        caption, controls = DIALOGS[number]
        check(f"{number}: caption", dialog.caption, caption)
        check(f"{number}: style", dialog.style & ~0x10000000, OPTIONS_STYLE)
        check(f"{number}: controls",
              sorted((c[0] or 0, (c[1], c[2] & KIND_BITS[c[1]]), c[4]) for c in dialog.controls),
              sorted((c[0] or 0, *c[1:]) for c in OK_CANCEL + controls))

    fixed = struct.unpack_from("<6I", image.resources(16)[1], 40)
    check("version record", fixed[0], 0xFEEF04BD)
    check("file and product version", fixed[2:6], (0x00010005, 0, 0x00010005, 0))


main()
