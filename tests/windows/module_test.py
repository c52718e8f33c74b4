"""The built module as a file: names and ordinals, dialogs and version read back from it."""

import re
import subprocess
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).parent.parent / "module"))
from exports_test import expected_names, host_names, of_host  # noqa: E402

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
FONT = '8, "MS Sans Serif"'
PROGRESS = ("Progress", 0x90C000C0, 0x80, (0, 0, 222, 54), FONT,
            [(1013, "msctls_progress32", 0x50000000, (4, 1, 213, 14), "Progress1"),
             (1014, "static", 0x50020000, (2, 22, 217, 13), "Static")])
OPTIONS_STYLE = 0x80C800C0  # popup, caption, system menu, modal frame, font; shown or not


def output(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def exports(module):
    """The names with their ordinals."""
    listing = output("x86_64-w64-mingw32-objdump", "-p", module)
    slots = dict(re.findall(r"\[ *(\d+)\] \+base\[ *(\d+)\]", listing))
    table = listing.split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
    return {name: int(slots[slot]) for slot, name in re.findall(r"\[ *(\d+)\] (\S+)", table)}


def imports(module):
    """The names asked of the host's library, demangled."""
    listing = output("x86_64-w64-mingw32-objdump", "-p", module)
    table = listing.split("DLL Name: Core.dll")[1].split("DLL Name:")[0].split("\n\n")[0]
    names = re.findall(r"^\s+[0-9a-f]+\s+\d+\s+(\S+)$", table, re.M)
    return of_host(output("c++filt", text="\n".join(names)).split("\n"))


def dialogs(resources):
    """By number: caption, style, extended style, place, font and the controls."""
    found = {}
    for number, place, head, body in re.findall(
            r"^(\d+) DIALOGEX (.*)\n((?:[A-Z]+ .*\n)+)BEGIN\n((?:  .*\n)+)END", resources, re.M):
        head = dict(line.split(" ", 1) for line in head.splitlines())
        controls = [(None if ident == "-1" else int(ident), kind.lower(), int(style, 16),
                     tuple(map(int, where.split(", "))), text)
                    for text, ident, kind, style, where in re.findall(
                        r'CONTROL "(.*)", (\S+), "(\w+)", (\w+), (.*)', body)]
        check("controls read", len(controls), body.count("\n"))
        found[int(number)] = (head["CAPTION"].strip('"'), int(head["STYLE"], 16),
                              int(head.get("EXSTYLE", "0"), 16),
                              tuple(map(int, place.split(", "))), head["FONT"], controls)
    return found


def check(what, actual, expected):
    if actual != expected:
        sys.exit(f"{what}:\n  is     {actual}\n  wanted {expected}")


def main():
    names = exports(sys.argv[1])
    demangled = output("c++filt", text="\n".join(names)).split("\n")
    check("exported names", sorted(set(demangled)), sorted(expected_names()))
    check("ordinals", {name: names[name] for name in ORDINALS}, ORDINALS)

    asked = imports(sys.argv[1])
    check("asked of a host beyond its list", sorted(asked - host_names()), [])
    check("asked of a host", "Interface::NumNodes()" in asked, True)

    resources = output("x86_64-w64-mingw32-windres", "-J", "coff", sys.argv[1], "-O", "rc")
    found = dialogs(resources)
    check("dialogs", sorted(found), [101, 102, 103, 104, 105])
    check("104", found.pop(104), PROGRESS)
    for number, (caption, style, _, _, font, controls) in found.items():
        check(f"{number}: caption", caption, DIALOGS[number][0])
        check(f"{number}: style", style & ~0x10000000, OPTIONS_STYLE)
        check(f"{number}: font", font, FONT)
        check(f"{number}: controls",
              sorted((c[0] or 0, (c[1], c[2] & KIND_BITS[c[1]]), c[4]) for c in controls),
              sorted((c[0] or 0, *c[1:]) for c in OK_CANCEL + DIALOGS[number][1]))
    for record in ("FILEVERSION", "PRODUCTVERSION"):
        check(record, re.findall(rf"{record} (.*)", resources), ["1, 5, 0, 0"])


main()
