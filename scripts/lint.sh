#!/usr/bin/env bash
# clang-tidy over all files but those for Windows, which scripts/test-windows.sh reads. Files that
# the preset joins are read as one, so that the libraries' headers are looked through once for them:
#   cmake --preset lint && scripts/lint.sh build/lint
set -euo pipefail
build=$(realpath "${1:?usage: scripts/lint.sh BUILD_DIR}")
cd "$(dirname "$0")/.."

mapfile -t joined < <(sed -n 's|.*"file": "\(.*/unity_[0-9]*_cxx\.cxx\)".*|\1|p' \
  "$build/compile_commands.json")
[ ${#joined[@]} -gt 0 ] || { echo "$build is not of the lint preset" >&2; exit 1; }
{
  printf '%s\n' "${joined[@]}"
  git ls-files -- 'src/*.cpp' 'host/*.cpp' ':!*win32*' ':!*_windows.cpp' |
    grep -vxFf <(sed -n "s|^#include \"$PWD/\(.*\)\"|\1|p" "${joined[@]}")
} | xargs -P "$(nproc)" -n 1 \
  clang-tidy-14 -p "$build" --quiet --checks=-bugprone-suspicious-include
