#!/usr/bin/env python3
"""Runs the series of the handlers and writes docs/performance.md.

    bench/series.py build/release/bin/marrow_bench docs/performance.md

Each case runs in a process of its own. CPU time is the least of a few runs. Instructions are those
of the run alone, counted by callgrind, on the sizes that this takes seconds for. The exit code is 1
when a figure is worse than what the document promises; the document then says which.
"""
import json
import math
import re
import statistics
import subprocess
import sys

VERTS = 500
RUNS = 5
COUNTED = {"vertex": 2_500_000, "joint": 100_000}  # what callgrind is asked for at most
FLAT = 0.15      # of an mdc export, around the middle of its series
FLAT_FROM = 1_000_000  # vertices of frames: with fewer, what is done once for a surface weighs
EXPONENT = {"CPU": 1.05, "instructions": 1.02}  # of a skeletal run, over a doubling series
BARE = 1.5       # CPU time of an import over that of the bare loop
MEMORY = 2.0     # peak of an import over the scene's own data
EXPORT = 1.5     # CPU time, instructions and peak of an mdc export over those of the bare loop
SKELETAL = 2.0   # the same of an mds export
FILE = 2.0       # CPU time of a .glb read or written over a bare parse and copy
SCENE = 2.0      # CPU time, instructions and peak of all frames to a glb over those of the bare loop


class Case:
    def __init__(self, kind, frames=100, surfaces=20, joints=30, weights=2, fmt="mdc"):
        self.fmt, self.kind = fmt, kind
        self.frames, self.surfaces, self.joints, self.weights = frames, surfaces, joints, weights
        self.runs, self.cpu, self.wall, self.instructions = [], None, None, None

    def command(self, bench):
        return [bench, "--case", self.fmt, self.kind] + [
            str(n) for n in (self.frames, self.surfaces, VERTS, self.joints, self.weights)]

    @property
    def vertices(self):
        return self.surfaces * VERTS

    def countable(self):
        if self.fmt == "glb":
            return True
        work = self.vertices * self.frames if self.kind == "export" or self.fmt == "mdc" else 0
        return work <= COUNTED["vertex"] and self.joints * self.frames <= COUNTED["joint"]

    def memory(self):
        return min(run["memoryBytes"] for run in self.runs)


def measure(bench, cases, counted=None):
    """The cases take turns, so that a spell in which the machine is slow is no case's alone.
    Instructions are counted where it is asked for, by default on the cases that are small enough."""
    for _ in range(RUNS):
        for case in cases:
            done = subprocess.run(case.command(bench), check=True, capture_output=True, text=True)
            case.runs.append(json.loads(done.stdout))
    for case in cases:
        case.cpu = min(run["userSeconds"] + run["systemSeconds"] for run in case.runs)
        case.wall = min(run["wallSeconds"] for run in case.runs)
        if case.countable() if counted is None else counted:
            told = subprocess.run(
                ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                 "--collect-atstart=no", "--toggle-collect=MeasuredRun"] + case.command(bench),
                check=True, capture_output=True, text=True)
            case.instructions = int(re.search(r"Collected : (\d+)", told.stderr).group(1))
    return cases


def rows(header, lines):
    text = "| " + " | ".join(header) + " |\n" + "|--:" * len(header) + "|\n"
    return text + "".join("| " + " | ".join(line) + " |\n" for line in lines)


def per_vertex_frame(cases, checked, off):
    """The table of an mdc series; figures further than FLAT from its middle go into `off`."""
    columns = {"CPU ns": lambda c: c.cpu * 1e9, "bytes": Case.memory,
               "instructions": lambda c: c.instructions}
    lines = [[str(c.frames), str(c.surfaces), str(c.vertices)] for c in cases]
    for name, figure in columns.items():
        values = [None if figure(c) is None else figure(c) / (c.vertices * c.frames) for c in cases]
        known = [v for v in values if v is not None]
        centre = statistics.median(known) if known else None
        for case, line, value in zip(cases, lines, values):
            line.append("" if value is None else f"{value:.1f}")
            if (checked and value is not None and case.vertices * case.frames >= FLAT_FROM
                    and abs(value / centre - 1) > FLAT):
                line[-1] += f" ({value / centre - 1:+.0%})"
                off.append(f"mdc {case.kind}, {case.frames} frames, {case.surfaces} surfaces: "
                           f"{name} {value / centre - 1:+.0%} from the middle of the series")
    return rows(["frames", "surfaces", "vertices", *columns], lines)


def exponent(sizes, values):
    """The slope of the values over the sizes, both as logarithms."""
    points = [(math.log(n), math.log(v)) for n, v in zip(sizes, values) if v]
    x, y = (statistics.mean(column) for column in zip(*points))
    return (sum((a - x) * (b - y) for a, b in points) / sum((a - x) ** 2 for a, _ in points))


def mdc(bench, off):
    frames = [Case("export", frames=n) for n in (10, 50, 200, 500, 1000, 2000)]
    surfaces = [Case("export", surfaces=n) for n in (1, 5, 20, 50, 100, 200)]
    imports = [Case("import", frames=n) for n in (10, 100, 1000)]
    measure(bench, frames + surfaces + imports)
    return f"""## mdc

All figures are per vertex and frame. What is done once for a surface, its triangles, texture
coordinates and the blocks that its boxes are taken from, weighs more the fewer frames there are:
cases of less than {FLAT_FROM:,} vertices of frames are not checked for being flat.

Export, growing frames:

{per_vertex_frame(frames, True, off)}
Export, growing surfaces:

{per_vertex_frame(surfaces, True, off)}
Import of one frame out of a file. The file is read and checked whole and one frame of it is built,
so the figures fall as the file grows; they are not checked for being flat.

{per_vertex_frame(imports, False, off)}"""


def doubling(fmt, kind):
    """Series that double one size at a time, and the name of that size."""
    base = {"frames": 500, "surfaces": 20, "joints": 64, "weights": 2}
    if kind == "export":
        base["frames"] = 250
    spans = {"joints": (32, 64, 128), "frames": (250, 500, 1000, 2000),
             "surfaces": (20, 40, 80, 160), "weights": (2, 4, 8)}
    return [(name, [Case(kind, fmt=fmt, **{**base, name: n}) for n in span])
            for name, span in spans.items()]


def skeletal(bench, fmt, off):
    text = f"## {fmt}{' with mdx' if fmt == 'mdm' else ''}\n\n"
    for kind in ("import", "export"):
        lines, summary = [], []
        for name, cases in doubling(fmt, kind):
            measure(bench, cases)
            sizes = [getattr(case, name) for case in cases]
            slopes = {"CPU": exponent(sizes, [c.cpu for c in cases])}
            counted = [c for c in cases if c.instructions]
            if len(counted) > 1:
                slopes["instructions"] = exponent([getattr(c, name) for c in counted],
                                                  [c.instructions for c in counted])
            label = "vertices" if name == "surfaces" else name
            summary.append([label] + [f"{slopes[s]:.2f}" if s in slopes else ""
                                      for s in ("CPU", "instructions")])
            off.extend(f"{fmt} {kind} over {label}: exponent of {what} is {slope:.2f}"
                       for what, slope in slopes.items() if slope > EXPONENT[what])
            for case in cases:
                lines.append([label, str(case.joints), str(case.frames), str(case.vertices),
                              str(case.weights), f"{case.cpu * 1e3:.1f}",
                              f"{case.instructions / 1e6:.1f}" if case.instructions else ""])
        text += (f"{kind.capitalize()}, one size doubled at a time:\n\n"
                 + rows(["growing", "joints", "frames", "vertices", "weights", "CPU ms",
                         "million instructions"], lines)
                 + f"\nExponents of the {kind}:\n\n"
                 + rows(["growing", "CPU time", "instructions"], summary) + "\n")
    return text


def beside_bare(bench, what, kinds, bound, off, **size):
    """The figures of a run and of its bare loop; those of more than `bound` times go into `off`."""
    whole, bare = measure(bench, [Case(kind, **size) for kind in kinds], counted=True)
    lines = []
    for name, figure in {"CPU s": lambda c: c.cpu,
                         "million instructions": lambda c: c.instructions / 1e6,
                         "peak MB": lambda c: c.memory() / 1e6}.items():
        share = figure(whole) / figure(bare)
        lines.append([name, f"{figure(whole):.3g}", f"{figure(bare):.3g}", f"{share:.2f}"])
        if share > bound:
            off.append(f"{whole.fmt}, {what}: {share:.2f} times the bare loop in {name}")
    return rows(["", what, "bare loop", "ratio"], lines)


def bare_export(bench, off):
    table = beside_bare(bench, "export", ("export", "bareexport"), EXPORT, off, frames=200)
    return f"""## mdc export beside the bare loop: 200 frames of 10,000 vertices

The bare loop poses the joints, skins each vertex for the frame's box, skins it again, moves it by the
surface's matrix, quantises and writes it (`bench/bareexport.cpp`); its vertices are within a step of
the export's. The export skins for the box those vertices alone that may reach it. What is left
above the loop: each vertex goes through the host's export mesh and through its product of a point
and a matrix, in double precision, one call each.

{table}"""


def bare_skeletal_export(bench, off):
    table = beside_bare(bench, "export", ("export", "bareexport"), SKELETAL, off, fmt="mds",
                        frames=2000, joints=128)
    return f"""## mds export beside the bare loop: 128 joints, 2,000 frames, 10,000 vertices

For each frame the bare loop poses the joints, skins each vertex for the box and takes the joints'
angles, in single precision; then it writes them with the surfaces and their weights
(`bench/bareskeletal.cpp`). Its angles are within a step of the export's, its surfaces the same. The
export skins for the box those vertices alone that may reach it, but goes through the host for each
joint and frame and chains, inverts and takes angles in double precision. The host remembers poses of
2 MB; of up to 256 MB for a caller that goes through the frames more than twice.

{table}"""


def all_frames(bench, off):
    """1,000 frames of 2,000 vertices into a scene file, beside the bare loop."""
    table = beside_bare(bench, "import", ("scene", "barescene"), SCENE, off, frames=1000, surfaces=4)
    return f"""## mdc, all frames to a scene file: 1,000 frames of 2,000 vertices

Each frame is a pose of its own. The bare loop decodes the same bytes and writes the same accessors,
without host, checks, scene or a search for equal frames (`bench/bareframes.cpp`).

{table}"""


def scene_files(bench, off):
    """A scene to and from a .glb, beside the bare loops; what bringing it to the disk costs."""
    lines, safety = [], []
    for label, size in (("many frames", {"frames": 2000, "surfaces": 20, "joints": 128}),
                        ("many nodes", {"frames": 2, "surfaces": 1, "joints": 10_000})):
        kinds = ("read", "bareread", "write", "barewrite", "replace")
        cases = dict(zip(kinds, measure(bench, [Case(kind, fmt="glb", **size) for kind in kinds])))
        for kind in ("read", "write"):
            whole, bare = cases[kind], cases["bare" + kind]
            line = [label, kind]
            for name, figure in {"CPU time": lambda c: c.cpu * 1e3,
                                 "instructions": lambda c: c.instructions / 1e6}.items():
                share = figure(whole) / figure(bare)
                line += [f"{figure(whole):.1f}", f"{figure(bare):.1f}", f"{share:.2f}"]
                if share > FILE and name == "CPU time":
                    off.append(f"glb, {label}, {kind}: {share:.2f} times the bare loop in {name}")
            lines.append(line + [f"{whole.memory() / 1e6:.0f}", f"{bare.memory() / 1e6:.0f}"])
        safety.append([label] + [f"{seconds * 1e3:.1f}" for case in ("write", "replace")
                                 for seconds in (cases[case].cpu, cases[case].wall)])
    return f"""## Scene files: 128 joints, 2,000 frames and 10,000 vertices; 10,000 joints and 2 frames

The bare loops parse and write the JSON by RapidJSON and copy each accessor between the file and the
arrays that a scene is made of (`bench/baregltf.h`): no host, no checks, no sampling at frames, no
rest pose recovered from the weights. A written file here is whole but neither brought to the disk nor
given its name. Instructions are not held to a bound: a bare copy takes one for many numbers at once,
where the reader checks, turns and normalises each key.

{rows(["", "run", "CPU ms", "bare", "ratio", "million instructions", "bare", "ratio", "peak MB",
       "bare"], lines)}
The price of safety: the same with the file brought to the disk and put in the older one's place.

{rows(["", "written: CPU ms", "wall ms", "replaced: CPU ms", "wall ms"], safety)}"""


def full_size(bench, off):
    """128 joints, 10,000 frames, 10,000 vertices; imports beside the bare loop."""
    size = {"frames": 10_000, "surfaces": 20, "joints": 128}
    runs = [Case(kind, fmt=fmt, **size) for fmt in ("mds", "mdm") for kind in ("import", "export")]
    bare = Case("bare", fmt="mds", **size)
    measure(bench, runs + [bare], counted=False)
    lines = []
    for case in runs:
        line = [case.fmt, case.kind, f"{case.cpu:.2f}", f"{case.memory() / 1e6:.0f}", "", ""]
        if case.kind == "import":
            share = case.cpu / bare.cpu
            held = case.memory() / case.runs[0]["sceneBytes"]
            line[4:] = [f"{share:.2f}", f"{held:.2f}"]
            if share > BARE:
                off.append(f"{case.fmt} import takes {share:.2f} times the bare loop")
            if held > MEMORY:
                off.append(f"{case.fmt} import takes {held:.2f} times the scene's own data")
        lines.append(line)
    return f"""## Full size: 128 joints, 10,000 frames, 10,000 vertices

The bare loop decodes the same angles with sine and cosine and multiplies the same matrices, without
host, checks or scene (`bench/bareloop.cpp`); it takes {bare.cpu:.2f} s. The host takes the rotations
of stored angles from two tables (`host/core/turn.cpp`), which the loop does not. The scene's own
data are its keys, vertices, faces and weights.

{rows(["format", "run", "CPU s", "peak MB", "CPU over the bare loop", "peak over the scene's data"],
      lines)}"""


def main(bench, target):
    off = []
    body = [mdc(bench, off), bare_export(bench, off), all_frames(bench, off),
            bare_skeletal_export(bench, off), scene_files(bench, off), full_size(bench, off),
            skeletal(bench, "mds", off), skeletal(bench, "mdm", off)]
    promise = (f"An mdc export stays within {FLAT:.0%} of the middle of its series; the time of a "
               f"skeletal run grows with an exponent of at most {EXPONENT['CPU']} in joints, frames, "
               f"vertices and weights, its instructions with {EXPONENT['instructions']}; an mdc "
               f"export takes at most {EXPORT} times the bare loop and an mds export {SKELETAL:.0f} "
               f"times; a skeletal import takes at most {BARE} times the bare loop and "
               f"{MEMORY:.0f} times the scene's own data, all frames of an mdc to a scene "
               f"{SCENE:.0f} times their bare loop; a .glb is read and written in at most "
               f"{FILE:.0f} times the CPU time of a bare parse of its JSON and copy of its "
               f"accessors.")
    verdict = "All of it held in this run."
    if off:
        verdict = "Not so in this run:\n\n" + "\n".join(f"- {line}" for line in off)
    with open(target, "w", encoding="utf-8") as out:
        out.write(f"""# Performance

Measured by `bench/series.py` with the `release` preset. The scene is a chain of joints, each with a
key for every frame, and surfaces of {VERTS} vertices. CPU time, with the kernel's share for pages and
file writes, is the least of {RUNS} runs, each in a process of its own; on a busy machine times of one
case differ by up to half between runs, and instructions, which callgrind counts for the run alone on
the smaller cases, are the steady measure. Memory is the peak of the process above what it held
before the run; an export of one frame goes first, so that what the scene prepares once for a skin
is not in it.

{promise}

{verdict}

""" + "\n".join(body))
    print(verdict)
    return 1 if off else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
