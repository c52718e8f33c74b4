"""What the module exports is exactly its outer face: entry points, handler classes, objects. What
it asks of a host is within the list that every host has, and the rest the language's libraries
give."""

import re
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


# By class, "" for functions: what a host has to offer.
HOST = {
    "": """
        CreateNewBone(); CreateNewMesh(); CreateNewSkin(); CreateNewMaterial();
        UniqueNameForMaterial(char*, int); MakePt3(float, float, float);
        EulerToQuat(cpoint3 const&); QuatToEuler(cquat const&); QuatFromMatrix(cmatrix4
        const&); EulerFromMatrix(cmatrix4 const&, float*); Inverse(cmatrix4 const&);
        MatrixLookAt(cmatrix4&, cpoint3 const&, cpoint3 const&); CalcTMBBox(cpoint3&,
        cpoint3&, cmatrix4 const&); MyAssertFailedLine(char const*, char const*, int);
        array_assert(int)""",
    "Interface": """
        NumNodes(); GetNodeAt(int); GetNodesHierarchy(culongarray&); GetAnimStart();
        GetAnimEnd(); SetAnimStart(int); SetAnimEnd(int); SetAnimTime(int);
        SetAnimTPF(int); AddToScene(cnode*, int); AddToScene(cmaterial*, int);
        AddNotes(char const*, int); GetMainHWND(); GetMaterialAt(int);
        GetUnusedMaterials(cbooleanarray&); PickFromList(unsigned int, unsigned int,
        char*, char*, int (*)(cnode*), void (*)(cnode*))""",
    "canim": "SetKey(ckey const&); SetNumKeys(int, int); SetKeyAt(int, ckey&, int)",
    "cmesh": """
        Allocate(int, int, int); SetVert(int, cpoint3 const&); SetTVert(int, cpoint3
        const&); SetFace(int, cface const&); AutoSmooth(float, int)""",
    "cskin": """
        Init(cmesh*); GetNormal(int); SetVertNumWeights(int, int); SetVertWeight(int, int,
        cskinweight const&); GetVertNumWeights(int); GetVertWeight(int, int, cskinweight&)""",
    "cexpmesh": """
        cexpmesh(); ~cexpmesh(); BuildFromMesh(cmesh*, unsigned char);
        BuildFromSkin(cskin*, unsigned char); CalcSkinVertsAtFrame(int, int, int)""",
    "cmaterial": """
        GetImage(unsigned int); SetImage(cimage const&, unsigned int); GetName();
        SetName(char const*); Copy(cmaterial*); Delete()""",
    "cimage": """
        cimage(); ~cimage(); Load(char const*); GetPathName(char*); SetPathName(char
        const*)""",
    "cmatrix4": """
        cmatrix4(); Identity(); Invert(); GetRow3(int); GetTrans(); FromAngleX(float);
        FromAngleY(float); FromAngleZ(float); operator*(cmatrix4 const&);
        operator*(cpoint3 const&)""",
    "cpoint3": """
        operator-(cpoint3 const&); operator+(cpoint3 const&); operator*(float);
        operator*(cmatrix4 const&); Length(); Normalize()""",
    "cquat": "Identity()",
    "culongarray": "culongarray(); ~culongarray(); operator[](int)",
    "cbooleanarray": "cbooleanarray(); ~cbooleanarray(); operator[](int); NumNonZero(); Zero(int)",
}


def host_names():
    return {f"{owner}::{' '.join(name.split())}".removeprefix("::")
            for owner, names in HOST.items() for name in names.split(";")}


def of_host(demangled):
    """Without what a member of a constant object has behind it."""
    return {name.removesuffix(" const") for name in demangled}


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


def symbols(library, which):
    listing = subprocess.run(["nm", "--dynamic", which, "--demangle", library],
                             check=True, capture_output=True, text=True).stdout
    return [line[17:].split(" ", 1) for line in listing.splitlines()]


def main(library):
    exported = {name for _, name in symbols(library, "--defined-only")}
    print("missing:", sorted(expected_names() - exported))
    print("not wanted:", sorted(exported - expected_names()))
    # A name with a version is the system's; a weak one need not be there.
    needed = of_host(name for kind, name in symbols(library, "--undefined-only")
                     if kind == "U" and not re.search(r"@(GLIBC|GLIBCXX|CXXABI|GCC)_", name))
    foreign = {name for name in needed - host_names() if not re.match("__(asan|ubsan|sanitizer|sancov)_", name)}
    print("asked of a host beyond its list:", sorted(foreign))
    sys.exit(expected_names() != exported or bool(foreign) or not needed & host_names())


if __name__ == "__main__":
    main(sys.argv[1])
