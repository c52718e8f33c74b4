#!/usr/bin/env bash
# The Windows build: cross-compiled with warnings as errors, its tests and dialogs run under Wine,
# and what it writes compared with what the build for this machine in the given folder writes.
set -euo pipefail
cd "$(dirname "$0")/.."
native=${1:-build/release}
windows=build/windows

scripts/install-deps.sh --windows
cmake --preset windows -DMARROW_WERROR=ON
nice cmake --build --preset windows

echo "-- Lint of what no other build compiles"
# The linter reads the compiler's options but one, and is shown the compiler's library.
mkdir -p "$windows/lint"
sed 's/-fno-keep-inline-dllexport//' "$windows/compile_commands.json" \
  >"$windows/lint/compile_commands.json"
library=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
git ls-files -- '*win32*.cpp' '*_windows.cpp' |
  xargs clang-tidy-14 -p "$windows/lint" --quiet --extra-arg=-Wno-unused-command-line-argument \
    --extra-arg=--target=x86_64-w64-mingw32 \
    "--extra-arg=-isystem$library" "--extra-arg=-isystem$library/x86_64-w64-mingw32"

echo "-- The module's exports, dialogs and version"
python3 tests/windows/module_test.py "$windows/bin/marrow.dll"

. scripts/wine.sh
for test in "$windows"/bin/test_*.exe; do
  echo "-- $(basename "$test")"
  timeout 300 /usr/lib/wine/wine64 "$test" --gtest_brief=1
done

echo "-- Files written there and here"
out=$PWD/$windows/compare
rm -rf "$out"
mkdir -p "$out/here" "$out/there"
run() { # WHERE ARGUMENTS: the marrow of one side, in its folder
  local program=("$PWD/$native/bin/marrow")
  [ "$1" = here ] || program=(/usr/lib/wine/wine64 "$PWD/$windows/bin/marrow.exe")
  (cd "$out/$1" && "${program[@]}" "${@:2}" --quiet 2>/dev/null)
}
for side in here there; do
  # The letters of paths are UTF-8 on both sides.
  cp examples/sample.glb "$out/$side/häß 世.glb"
  run $side export "häß 世.glb" -o "Ж.mdc"
  run $side export "häß 世.glb" -o "Ж.mds"
  run $side export "häß 世.glb" -o "Ж.mdm" --mdx "Ж.mdx"
  run $side import "Ж.mds" -o "Ж.gltf"
done
for file in "$out"/here/*; do
  cmp "$file" "$out/there/$(basename "$file")"
  echo "$(basename "$file"): $(stat -c %s "$file") bytes, all equal"
done

echo "-- The packages"
packages=$PWD/$windows/packages
rm -rf "$packages"
cpack --config "$windows/CPackConfig.cmake" -B "$packages"
python3 tests/install/windows_test.py "$packages" examples/sample.glb
