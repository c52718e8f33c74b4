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


def main(library):
    listing = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                             check=True, capture_output=True, text=True).stdout
    exported = {line.split(" ", 2)[2] for line in listing.splitlines()}
    print("missing:", sorted(expected_names() - exported))
    print("not wanted:", sorted(exported - expected_names()))
    sys.exit(expected_names() != exported)


if __name__ == "__main__":
    main(sys.argv[1])
