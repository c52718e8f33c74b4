#!/usr/bin/env bash
# Installs what a build needs from Debian's packages; with --tests also what the tests, the
# sanitizers, the format and lint checks and the viewer checks need, with --windows also what the
# Windows build and its tests need, with --pictures what makes pictures of its windows, with
# --blender what the tests of the Blender add-on need, with --web what the page for browsers needs.
set -euo pipefail

packages=(g++ cmake ninja-build
  nlohmann-json3-dev rapidjson-dev libstb-dev libeigen3-dev libcli11-dev libdraco-dev
  libmeshoptimizer-dev libzip-dev)
for option in "$@"; do
  case $option in
  --tests)
    packages+=(libgtest-dev libbenchmark-dev clang-14 libclang-rt-14-dev clang-format-14
      clang-tidy-14 python3 python3-numpy binutils pkg-config valgrind chromium
      lintian fakeroot man-db zsh fish strace gltfpack draco)
    command -v npm >/dev/null || packages+=(nodejs npm)
    ;;
  --windows)
    packages+=(g++-mingw-w64-x86-64-posix nsis googletest wine64 xvfb clang-tidy-14 python3 binutils)
    ;;
  --blender) packages+=(blender xvfb xauth libgl1-mesa-dri binutils python3) ;;
  --web)
    packages+=(emscripten)
    command -v npm >/dev/null || packages+=(nodejs npm)
    ;;
  --pictures) packages+=(imagemagick xdotool fonts-wine) ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
