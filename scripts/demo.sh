#!/usr/bin/env bash
# The main job, from nothing: installs what the build needs, builds, takes the sample through
# export and import, and shows what came out. Leaves its files in build/demo.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release -DBUILD_TESTING=OFF -DMARROW_BENCHMARKS=OFF
cmake --build --preset release

out=build/demo
rm -rf "$out"
mkdir -p "$out/models"
marrow=build/release/bin/marrow
run() {
  printf '\n$ %s\n' "$*"
  "$@"
}
run "$marrow" handlers
run "$marrow" export examples/sample.glb -o "$out/models/sample.mdc" --write-images
run "$marrow" info "$out/models/sample.mdc"
run "$marrow" import "$out/models/sample.mdc" -o "$out/sample-from-mdc.glb"
run "$marrow" info "$out/sample-from-mdc.glb"
