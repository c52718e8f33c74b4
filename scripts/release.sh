#!/usr/bin/env bash
# Everything that a release consists of, in dist/ with checksums: the .tar.gz and the .deb packages,
# the Windows .zip and installer, the web page and the Blender add-on. Builds what it packs, or packs
# two folders that are built already:
#   scripts/release.sh [BUILD WINDOWS-BUILD]
set -euo pipefail
cd "$(dirname "$0")/.."

native=${1:-}
windows=${2:-}
# The same commit gives packages with the same dates.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

if [ -z "$native" ]; then
  scripts/install-deps.sh --windows
  native=build/package
  windows=build/package-windows
  cmake --preset release -B "$native" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
    -DMARROW_BENCHMARKS=OFF
  cmake --build "$native"
  cmake --preset windows -B "$windows" -DBUILD_TESTING=OFF
  cmake --build "$windows"
fi

# Before the packages, which have it.
scripts/web.sh

rm -rf dist
mkdir dist
for build in "$native" "$windows"; do
  made=$(mktemp -d)
  cpack --config "$build/CPackConfig.cmake" -B "$made"
  find "$made" -maxdepth 1 -type f -exec mv -t dist {} +
  rm -rf "$made"
done

scripts/blender-addon.sh "$native" "$windows"
cp -t dist build/marrow_io.zip build/web/marrow.html

cd dist
sha256sum -- * >SHA256SUMS
ls -l
