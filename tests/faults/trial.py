"""What becomes of a user's files when a run is killed, interrupted, denied a system call or met by
another run at the same target. Prints a table and fails where a file was lost, mixed with another
run's or left behind, or where the program said otherwise than what it had done."""

import argparse
import collections
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SIGNALS = "PIPE ALRM XCPU USR1 USR2 ABRT TERM INT HUP QUIT".split()
ERRORS = "ENOSPC EIO EINTR EACCES EMFILE".split()
# Calls that have to do with files; memory and threads have tests of their own.
CALLS = """openat read pread64 write pwrite64 writev lseek close fsync rename link unlink chmod chown
access faccessat2 newfstatat fstat flock readlink getcwd copy_file_range fcntl getdents64""".split()
CHANGING = "write close fsync rename link unlink chmod chown flock".split()
HUNG = 255  # the code of a run that did not end
BAD = "lost", "corrupt", "left behind", "said otherwise", "crashed"
COLUMNS = "old kept", "new whole", "next run", *BAD

Case = collections.namedtuple("Case", "name arguments targets other")


def cases(sample):
    """`other` is a second run at the same targets, with another result."""
    end = ["--end", "20"]
    return [
        Case("export mdc", ["export", sample, "-o", "a.mdc", "--end", "40"], ["a.mdc"],
             ["export", sample, "-o", "a.mdc", *end]),
        Case("export mds", ["export", sample, "-o", "s/a.mds", "--sequences", "--force"],
             ["s/a.mds", "s/wolfanim.cfg"],
             ["export", sample, "-o", "s/a.mds", "--sequences", "--force", *end]),
        Case("export mdm", ["export", sample, "-o", "a.mdm", "--mdx", "a.mdx", "--sequences",
                            "--force"], ["a.mdm", "a.mdx", "a.aninc"],
             ["export", sample, "-o", "a.mdm", "--mdx", "a.mdx", "--sequences", "--force", *end]),
        Case("convert", ["convert", "in.mds", "b.mdm"], ["b.mdm", "b.mdx"],
             ["convert", "in.mds", "b.mdm", "--first-frame"]),
        Case("import glb", ["import", "in.mds", "-o", "c.glb"], ["c.glb"],
             ["import", "in.mds", "-o", "c.glb", "--first-frame"]),
        Case("import gltf", ["import", "in.mds", "-o", "d.gltf"], ["d.gltf", "d.bin"],
             ["import", "in.mds", "-o", "d.gltf", "--no-meshes"]),
        Case("sequences", ["sequences", "in.mds", "--init", "--force"], ["wolfanim.cfg"],
             ["sequences", "in.mds", "--init", "--force", "--fps", "10"]),
    ]


class Trial:
    def __init__(self, marrow, sample, seconds, seed):
        self.marrow = os.path.abspath(marrow)
        self.seconds, self.begun = seconds, time.monotonic()
        self.random = random.Random(seed)
        self.rows = collections.OrderedDict()
        self.faults = []
        holder = tempfile.TemporaryDirectory(prefix="marrow-faults-")
        self.holder = holder
        self.dir = pathlib.Path(holder.name) / "files"
        self.source = pathlib.Path(holder.name) / "source"
        self.source.mkdir()
        sample = os.path.abspath(sample)
        self.run(["export", sample, "-o", "in.mds", "--sequences"], cwd=self.source)
        self.cases = cases(sample)
        self.whole, self.others, self.time, self.told = {}, {}, {}, {}
        for case in self.cases:
            for arguments, results in (case.other, self.others), (case.arguments, self.whole):
                self.prepare(case, old=False)
                begun = time.monotonic()
                process = self.run(arguments)
                self.time[case.name] = time.monotonic() - begun
                assert process.returncode == 0, process.stderr
                self.told[case.name] = process.stdout
                results[case.name] = self.targets(case)
                assert None not in results[case.name], case.name

    def command(self, arguments):
        return [self.marrow, *arguments]

    def run(self, arguments, cwd=None, before=()):
        process = subprocess.Popen([*before, *self.command(arguments)], cwd=cwd or self.dir,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   start_new_session=True)
        try:
            out, err = process.communicate(timeout=120)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return subprocess.CompletedProcess(process.args, HUNG, b"", b"did not end")
        return subprocess.CompletedProcess(process.args, process.returncode, out, err)

    def prepare(self, case, old=True):
        shutil.rmtree(self.dir, ignore_errors=True)
        shutil.copytree(self.source, self.dir)
        (self.dir / "s").mkdir()
        if old:
            for name in case.targets:
                (self.dir / name).write_bytes(self.old(name))
        self.before = self.names()

    @staticmethod
    def old(name):
        return b"old " + name.encode()

    def names(self):
        return {str(path.relative_to(self.dir)) for path in self.dir.rglob("*") if path.is_file()}

    def targets(self, case):
        return [(self.dir / name).read_bytes() if (self.dir / name).is_file() else None
                for name in case.targets]

    def state(self, case, *whole):
        """old, new (of one of the runs) or what is wrong."""
        found = self.targets(case)
        if found in whole:
            return "new whole"
        if found == [self.old(name) for name in case.targets]:
            return "old kept"
        return "lost" if None in found else "corrupt"

    def leftovers(self):
        return {name for name in self.names() - self.before if ".marrow-" in name}

    def note(self, row, outcome, detail):
        self.rows.setdefault(row, collections.Counter())[outcome] += 1
        if outcome in BAD:
            self.faults.append(f"{outcome}: {row}: {detail}")

    def next_run_removes(self, case, state):
        """What the system would not remove is removed later, and nothing else is touched by that."""
        self.refused_run(case)
        same = self.state(case, self.whole[case.name]) == state
        process = self.run(case.arguments)
        return same and process.returncode == 0 and not self.leftovers()

    def refused_run(self, case):
        """Refused for its range after its targets are locked: what it ends is the old run."""
        if case.arguments[0] == "export":
            wanted = [each for each in case.arguments if each not in ("--sequences", "--force")]
            self.run([*wanted, "--start", "9", "--end", "1"])

    def judge(self, row, case, code, stderr, detail, call="", lasting=False, unheard=False):
        """Of a run that was not killed outright, and so has to clean up after itself, but for what
        the system would not let it remove (`call`), what it says that it leaves, or where the system
        refuses for good (`lasting`). `unheard`: its last words could not be written."""
        detail = f"{case.name}: {detail}: code {code}: {stderr.decode(errors='replace').strip()}"
        state = self.state(case, self.whole[case.name])
        left = self.leftovers()
        ended = code < 0 or code > 128
        leaves = code == 1 and b"until the next run" in stderr
        if state in BAD and call == "rename" and leaves:
            return self.judge_killed(row, case, detail)
        if state in BAD:
            return self.note(row, state, detail)
        if code in (-signal.SIGSEGV, -signal.SIGBUS, 139, 135, HUNG):
            return self.note(row, "crashed", detail)
        may_stay = lasting or call == "unlink" or leaves
        if left and not (may_stay and self.next_run_removes(case, state)):
            return self.note(row, "left behind", f"{detail} {sorted(left)}")
        told = unheard or b"standard output cannot be written" in stderr or ended
        if (code == 0) != (state == "new whole") and not told:
            return self.note(row, "said otherwise", f"{detail} ({state})")
        return self.note(row, "next run" if left else state, detail)

    def judge_killed(self, row, case, detail):
        """What a killed run left has names of its own, and the next run to the target ends it."""
        detail = f"{case.name}: {detail}"
        state = self.state(case, self.whole[case.name])
        left = self.leftovers()
        mixed = state in BAD
        if mixed and not any(name.endswith("-journal") for name in left):
            return self.note(row, state, detail)
        if mixed and case.arguments[0] == "export":
            self.refused_run(case)
            if self.state(case, self.whole[case.name]) in BAD:
                return self.note(row, state, detail + ", and the next run did not end it")
        process = self.run(case.arguments)
        if process.returncode != 0 or self.state(case, self.whole[case.name]) != "new whole":
            return self.note(row, "lost", f"{detail}, and the next run: {process.stderr}")
        if self.leftovers():
            return self.note(row, "left behind", f"{detail} {sorted(self.leftovers())}")
        return self.note(row, "next run" if left else state, detail)

    def left(self):
        """The share of the time that is not used up."""
        return 1 - (time.monotonic() - self.begun) / self.seconds

    def parts(self, share, count):
        """Random cases, as many as asked for and as long as there is time."""
        end = time.monotonic() + self.seconds * share
        for _ in range(count):
            if time.monotonic() > end:
                return
            yield self.random.choice(self.cases)

    def interrupted(self, case, number):
        self.prepare(case)
        process = subprocess.Popen(self.command(case.arguments), cwd=self.dir,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        wait = self.random.uniform(0, 1.1 * self.time[case.name])
        time.sleep(wait)
        process.send_signal(number)
        stderr = process.communicate(timeout=120)[1]
        return process.returncode, stderr, f"after {wait:.4f} s"

    def kills(self, share, count):
        for case in self.parts(share, count):
            code, _, detail = self.interrupted(case, signal.SIGKILL)
            self.judge_killed("SIGKILL at a random moment", case, detail)

    def signals(self, share, count):
        for i, case in enumerate(self.parts(share, count * len(SIGNALS))):
            name = SIGNALS[i % len(SIGNALS)]
            number = getattr(signal, "SIG" + name)
            code, stderr, detail = self.interrupted(case, number)
            row = "SIG" + name
            if code not in (0, -number):
                self.note(row, "said otherwise", f"{case.name}: {detail}: code {code}")
            else:
                self.judge(row, case, code, stderr, detail)

    def closed_pipe(self):
        """Standard output and error that nobody reads change nothing but the exit code."""
        for case in self.cases:
            self.prepare(case)
            process = subprocess.Popen(self.command(case.arguments), cwd=self.dir,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            process.stdout.close()
            process.stderr.close()
            code = process.wait(timeout=120)
            state = self.state(case, self.whole[case.name])
            good = state == "new whole" and code == 128 + signal.SIGPIPE and not self.leftovers()
            self.note("closed pipes", state if good else "said otherwise", f"{case.name}: {code}")

    def traced(self, arguments, inject):
        return self.run(arguments, before=["strace", "-f", "-o", "/dev/null", "-e",
                                           "trace=" + inject.split(":")[0], "-e",
                                           "inject=" + inject])

    def calls_of(self, case):
        """How often a run makes each call."""
        self.prepare(case)
        log = self.dir.parent / "calls"
        self.run(case.arguments, before=["strace", "-f", "-o", str(log), "-e",
                                         "trace=" + ",".join("?" + call for call in CALLS)])
        return collections.Counter(re.findall(r"^\d+ +(\w+)\(", log.read_text(), re.MULTILINE))

    def places(self, share, calls=CALLS):
        """Each (case, call, number of the call), all of them or as many as there is time for."""
        every = []
        for case in self.cases:
            every += [(case, call, i + 1) for call, count in self.calls_of(case).items()
                      for i in range(count) if call in calls]
        self.random.shuffle(every)
        end = time.monotonic() + self.seconds * share
        for each in every:
            if time.monotonic() > end:
                return
            yield each

    def failing_calls(self, share):
        for case, call, number in self.places(share):
            for error in ERRORS:
                # Once, or a disk that stays full or is freed again.
                disk = "", "+", f"..{number + 2}"
                more = self.random.choice(disk) if error == "ENOSPC" else ""
                inject = f"{call}:error={error}:when={number}{more}"
                self.prepare(case)
                process = self.traced(case.arguments, inject)
                self.judge(error, case, process.returncode, process.stderr, inject, call,
                           lasting=more == "+",
                           unheard=call == "write" and process.stdout != self.told[case.name])

    def kills_at_calls(self, share):
        for case, call, number in self.places(share, CHANGING):
            inject = f"{call}:signal=KILL:when={number}"
            self.prepare(case)
            self.traced(case.arguments, inject)
            self.judge_killed("SIGKILL at a call", case, inject)

    def pairs(self, share, count):
        for case in self.parts(share, count):
            self.prepare(case)
            both = []
            for arguments in case.arguments, case.other:
                both.append(subprocess.Popen(self.command(arguments), cwd=self.dir,
                                             stdout=subprocess.PIPE, stderr=subprocess.PIPE))
                time.sleep(self.random.uniform(0, self.time[case.name]) / 2)
            told = [(process.communicate(timeout=120)[1], process.returncode)
                    for process in both]
            detail = f"{case.name}: {told}"
            state = self.state(case, self.whole[case.name], self.others[case.name])
            if state == "new whole" and self.leftovers():
                self.note("pairs of runs", "left behind", f"{detail} {self.leftovers()}")
            elif state == "new whole" and any(code for _, code in told):
                self.note("pairs of runs", "said otherwise", detail)
            else:
                self.note("pairs of runs", state, detail)

    def table(self):
        width = max(map(len, self.rows))
        print(f"{'':{width}}  runs  " + "  ".join(COLUMNS))
        for row, counts in self.rows.items():
            cells = (f"{counts[column] or '-':>{len(column)}}" for column in COLUMNS)
            print(f"{row:{width}}  {sum(counts.values()):4}  " + "  ".join(cells))
        for fault in self.faults[:20]:
            print(fault)
        return 1 if self.faults else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("marrow")
    parser.add_argument("sample")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32))
    options = parser.parse_args()
    print(f"seed {options.seed}")
    signal.signal(signal.SIGHUP, signal.SIG_DFL)  # what nohup ignores, the runs would ignore too
    trial = Trial(options.marrow, options.sample, 110 if options.short else 4500, options.seed)
    trial.closed_pipe()
    trial.kills(0.15, 2000)
    trial.signals(0.2, 200)
    trial.pairs(0.1, 500)
    if subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True).returncode == 0:
        trial.kills_at_calls(0.25)
        trial.failing_calls(trial.left())
    else:
        print("this machine lets nobody trace: no failing calls and no kills at calls")
    sys.exit(trial.table())


main()
