#!/usr/bin/env bash
# Everything that a change has to pass, from a clean checkout: installs what is needed, then
# format, warnings as errors with both compilers, all tests, all tests again under the address and
# undefined behaviour sanitizers, lint, a trial of faults, a short run of every fuzz target, the
# Windows build, the Blender add-on, a release and the page for browsers.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

# Runs a command that leaves processors idle beside the step that follows, in a process group that
# ends with this script; joined shows its output.
beside() {
  log=$(mktemp)
  setsid "$@" >"$log" 2>&1 &
  running=$!
  trap 'kill -- -"$running" 2>/dev/null || true; cat "$log"; rm "$log"' EXIT
}
joined() {
  local code=0
  wait "$running" || code=$?
  trap - EXIT
  cat "$log"
  rm "$log"
  return "$code"
}

step "Packages"
scripts/install-deps.sh --tests --windows --blender --web
npm ci --prefix tests/validate --no-audit --no-fund

step "Format"
git ls-files -- '*.h' '*.cpp' | xargs clang-format-14 --dry-run --Werror

step "Build: g++, warnings are errors"
cmake --preset ci
cmake --build --preset ci

# The fuzz targets are built along, of the same objects.
step "Build: clang, sanitizers"
cmake --preset asan -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DMARROW_WERROR=ON \
  -DMARROW_FUZZ=ON
cmake --build --preset asan

step "Tests"
ctest --preset ci -j "$(nproc)"

step "Tests under the sanitizers"
ctest --preset asan -j "$(nproc)"

step "Lint, and a trial of faults, two minutes of it"
beside scripts/faults.sh build/ci --short
cmake --preset lint
scripts/lint.sh build/lint
joined

step "Fuzz targets, a short run each"
printf '%s\n' build/asan/bin/*_fuzz | xargs -P "$(nproc)" -I TARGET \
  env TARGET -runs=100000 -max_total_time=15 -verbosity=0 -print_final_stats=0

step "The Windows build, and the Blender add-on"
beside scripts/test-blender.sh build/ci
scripts/test-windows.sh build/ci
joined

step "A release"
scripts/release.sh build/ci build/windows

step "The page for browsers"
scripts/test-web.sh build/ci

step "Done"
