#!/usr/bin/env python3
"""Runs the series of the mdc handlers and writes docs/performance.md.

    bench/series.py build/release/bin/marrow_bench docs/performance.md

Each case runs in a process of its own. CPU time is the least of a few runs. Instructions are those
of the run alone, counted by callgrind, on the sizes that this takes seconds for. Time, memory and
instructions of an export, each per vertex and frame, are compared with the middle of their series;
the table says which lie further off than 15 %, and the exit code is 1 then.
"""
import json
import re
import statistics
import subprocess
import sys

VERTS, JOINTS = 500, 30
FRAME_SERIES = [10, 50, 200, 500, 1000, 2000]
SURFACE_SERIES = [1, 5, 20, 50, 100, 200]
FIXED_SURFACES, FIXED_FRAMES = 20, 100
COUNTED = 10_000_000  # vertex x frames that callgrind is asked for at most
LIMIT = 0.15
RUNS = 7
COLUMNS = [("cpu", "CPU ns"), ("memory", "bytes"), ("ir", "instructions")]


def measure(bench, cases):
    """One row for each (frames, surfaces, kind), in their order.

    The cases take turns, so that a spell in which the machine is slow is no case's alone.
    """
    commands = [[bench, "--case", str(frames), str(surfaces), str(VERTS), str(JOINTS), kind]
                for frames, surfaces, kind in cases]
    runs = [[] for _ in cases]
    for _ in range(RUNS):
        for command, results in zip(commands, runs):
            done = subprocess.run(command, check=True, capture_output=True, text=True)
            results.append(json.loads(done.stdout))
    return [summary(command, results) for command, results in zip(commands, runs)]


def summary(command, runs):
    row = runs[0]
    unit = row["vertices"] * row["frames"]
    row["cpu"] = min(r["userSeconds"] + r["systemSeconds"] for r in runs) * 1e9 / unit
    row["memory"] = min(r["memoryBytes"] for r in runs) / unit
    row["ir"] = None
    if unit <= COUNTED:
        counted = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
             "--collect-atstart=no", "--toggle-collect=MeasuredRun"] + command,
            check=True, capture_output=True, text=True)
        row["ir"] = int(re.search(r"Collected : (\d+)", counted.stderr).group(1)) / unit
    return row


def middle(rows, key):
    values = [row[key] for row in rows if row[key] is not None]
    return statistics.median(values) if values else None


def table(rows, checked):
    off = []
    text = "| frames | surfaces | vertices | " + " | ".join(c for _, c in COLUMNS) + " |\n"
    text += "|--:" * (3 + len(COLUMNS)) + "|\n"
    for row in rows:
        cells = [str(row["frames"]), str(row["surfaces"]), str(row["vertices"])]
        for key, name in COLUMNS:
            value = row[key]
            cell = "" if value is None else f"{value:.1f}"
            centre = middle(rows, key)
            if checked and value is not None and abs(value / centre - 1) > LIMIT:
                share = f"{value / centre - 1:+.0%}"
                cell += f" ({share})"
                off.append(f"{row['frames']} frames, {row['surfaces']} surfaces: {name} {share}")
            cells.append(cell)
        text += "| " + " | ".join(cells) + " |\n"
    return text, off


def main(bench, target):
    cases = [(n, FIXED_SURFACES, "export") for n in FRAME_SERIES]
    cases += [(FIXED_FRAMES, n, "export") for n in SURFACE_SERIES]
    cases += [(n, FIXED_SURFACES, "import") for n in (10, 100, 1000)]
    rows = measure(bench, cases)
    frames = rows[:len(FRAME_SERIES)]
    surfaces = rows[len(FRAME_SERIES):len(FRAME_SERIES) + len(SURFACE_SERIES)]
    imports = rows[len(FRAME_SERIES) + len(SURFACE_SERIES):]
    frame_table, frame_off = table(frames, True)
    surface_table, surface_off = table(surfaces, True)
    import_table, _ = table(imports, False)
    off = frame_off + surface_off
    verdict = "All figures of both export series lie within 15 % of the middle of their series."
    if off:
        verdict = ("Further than 15 % from the middle of their series, marked in the tables:\n\n"
                   + "\n".join(f"- {line}" for line in off))
    with open(target, "w", encoding="utf-8") as out:
        out.write(f"""# Performance

Measured by `bench/series.py` with the `release` preset; all figures are per vertex and frame.
The scene has {JOINTS} joints in a chain, each with a key for every frame, and surfaces of {VERTS}
vertices with two weights a vertex. CPU time, with the kernel's share for pages and file writes, is
the least of {RUNS} runs, each in a process of its own. Memory is the
peak of the process above what it held before the run; an export of one frame goes first, so that
what the scene prepares once for a skin is not in it. Instructions are callgrind's count of the run
alone, for cases of up to {COUNTED:,} vertices x frames.

## Export of mdc, growing frames

{frame_table}
## Export of mdc, growing surfaces

{surface_table}
{verdict}

Instructions are the steady measure; CPU times of one case differ by up to half between runs on a
busy machine. The memory of a model of one surface falls and rises with the number of its joints: the scene remembers the pose of
each at each frame. What a run does once, whatever the frames, weighs most in the one of ten frames.

## Import of mdc, one frame out of a file

The file is read and checked whole and one frame of it is built, so time per vertex and frame falls
as the file grows; it is not checked for being flat.

{import_table}""")
    print(verdict)
    return 1 if off else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
