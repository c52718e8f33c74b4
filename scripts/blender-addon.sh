#!/usr/bin/env bash
# Makes the zip that a user installs in Blender, with the programs of finished builds in it:
#   scripts/blender-addon.sh [LINUX-BUILD [WINDOWS-BUILD]]
# by default build/release and, where it is there, build/windows. Leaves build/marrow_io.zip.
set -euo pipefail
cd "$(dirname "$0")/.."
linux=${1:-build/release}
windows=${2:-build/windows}
zip=$PWD/build/marrow_io.zip

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
mkdir "$stage/marrow_io"
git ls-files blender/marrow_io | while read -r file; do
  install -D -m 644 "$file" "$stage/${file#blender/}"
done
cp LICENSE "$stage/marrow_io/"
for file in docs/blender.md docs/images/blender-{character,import,export,front}.png; do
  install -D -m 644 "$file" "$stage/marrow_io/$file"
done
version=$(sed -n 's/^project(marrow VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
sed -i "s/(0, 0, 0),.*/(${version//./, }),/" "$stage/marrow_io/__init__.py"
sed -i "/^#/d; s/0\.0\.0/$version/" "$stage/marrow_io/blender_manifest.toml"

# A zip has no links: a library goes in under the name that the loader looks for.
cmake --install "$linux" --prefix "$stage/linux" >/dev/null
target=$stage/marrow_io/bin/linux-x64
install -D -s "$stage/linux/bin/marrow" "$target/bin/marrow"
for library in libmarrow.so $(objdump -p "$target/bin/marrow" | awk '$1 == "NEEDED" { print $2 }'); do
  [ ! -e "$stage/linux/lib/$library" ] ||
    install -D -s "$stage/linux/lib/$library" "$target/lib/$library"
done
if [ -f "$windows/bin/marrow.exe" ]; then
  cmake --install "$windows" --prefix "$stage/windows" >/dev/null
  install -D -t "$stage/marrow_io/bin/windows-x64/bin" "$stage"/windows/bin/*.exe \
    "$stage"/windows/bin/*.dll
fi

mkdir -p build
rm -f "$zip"
(cd "$stage" && python3 -m zipfile -c "$zip" marrow_io)
echo "$zip: $(stat -c %s "$zip") bytes"
