"""What the module exports is exactly its outer face: entry points, handler classes, objects."""

import subprocess
import sys

IMPORTERS = {"cimpmdc": "impmdc", "cimpmds": "impmds", "cimpmdmmdx": "impmdmmdx"}
EXPORTERS = {"cexpmdc": "expmdc", "cexpmds": "expmds", "cexpmdmmdx": "expmdmmdx",
             "cexpmdx": "expmdx"}
STEPS = ["CacheSkinFiles()", "LoadSkinFile(char const*)", "CreateSurfMaterials()",
         "FindMatBySurface(char const*)"]
PRIVATE = {
    "cimpmds": STEPS + ["CalcBoneFrame(void*, unsigned long)", "LoadAnimConfig()"],
    "cimpmdmmdx": STEPS + ["CalcBoneFrame(void*, void*, unsigned long)",
                           "LoadAnimConfig(char const*)"],
}


def expected_names():
    names = {"LibType", "LibNumberClasses", "LibClassDesc", "LibVersion"}
    names.update(IMPORTERS.values(), EXPORTERS.values())
    for handler in [*IMPORTERS, *EXPORTERS]:
        run = "Import" if handler in IMPORTERS else "Export"
        members = [f"{handler}()", f"{handler}({handler} const&)", f"operator=({handler} const&)",
                   "Name()", "Ext(int)", "NumExt()", f"{run}(char const*)",
                   *PRIVATE.get(handler, [])]
        names.update(f"{handler}::{member}" for member in members)
        names.add(f"vtable for {handler}")
    return names


def exported_names(library):
    listing = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                             check=True, capture_output=True, text=True).stdout
    return {line.split(" ", 2)[2] for line in listing.splitlines()}


def main():
    expected, exported = expected_names(), exported_names(sys.argv[1])
    for name in sorted(expected - exported):
        print("missing:", name)
    for name in sorted(exported - expected):
        print("not wanted:", name)
    sys.exit(expected != exported)


if __name__ == "__main__":
    main()
