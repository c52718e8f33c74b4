#!/usr/bin/env bash
# Lines of the product and of its tests, blank lines and comments aside, and the tests' share.
# Counted are files that git knows; generated lists (package-lock.json) are not.
set -euo pipefail
cd "$(dirname "$0")/.."

count() { # FOLDER...: prints a line for each and the sum
  git ls-files -- "$@" | grep -Ev 'package-lock\.json$|\.(png|glb|ico|md)$' |
    python3 scripts/countlines.py
}
product=$(count src host bench examples scripts blender web)
tests=$(count tests fuzz)
printf 'src, host, bench, examples, scripts, blender, web: %d\n' "$product"
printf 'tests, fuzz: %d\n' "$tests"
awk -v tests="$tests" -v product="$product" 'BEGIN {
  printf "tests and fuzz are %.1f %% of the others, %.1f %% of all\n",
         100 * tests / product, 100 * tests / (product + tests) }'
