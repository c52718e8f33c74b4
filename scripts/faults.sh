#!/usr/bin/env bash
# A trial of faults over the program of a build (default: build/release):
# kills, signals, system calls that fail and pairs of runs at one target, with a
# table of what became of the files. It takes up to an hour and a quarter;
# --short takes two minutes. --seed repeats the random choices of a trial.
#
#   scripts/faults.sh [BUILD] [--short] [--seed N]
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/release
if [ $# -gt 0 ] && [ "${1#-}" = "$1" ]; then
  build=$1
  shift
fi
command -v strace >/dev/null || {
  echo "strace is missing: scripts/install-deps.sh --tests" >&2
  exit 1
}
exec python3 tests/faults/trial.py "$build/bin/marrow" examples/sample.glb "$@"
