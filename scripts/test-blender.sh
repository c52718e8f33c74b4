#!/usr/bin/env bash
# The Blender add-on as a user installs it, with the program of a finished build:
#   scripts/test-blender.sh [BUILD [PICTURES]]
# Scenes made by script go into every kind of file and back, with the add-on and without it; faults;
# the menus in a real window.
# With a folder for PICTURES, those of the documentation are made there.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
pictures=${2:+$(realpath "$2")}

scripts/install-deps.sh --blender
scripts/blender-addon.sh "$build"

user=$(mktemp -d)
trap 'rm -rf "$user"' EXIT
run() { # TEST [COMMAND...]: in a Blender with nothing of this user's
  echo "-- $1"
  rm -rf "${user:?}"/* && mkdir "$user/scripts" "$user/config"
  BLENDER_USER_SCRIPTS=$user/scripts BLENDER_USER_CONFIG=$user/config MARROW_PICTURES=$pictures \
    timeout 300 "${@:2}" --factory-startup --python-exit-code 1 --python tests/blender/run.py -- \
    "$build/bin/marrow" build/marrow_io.zip "$1"
}
run test_trips blender --background
run test_by_hand blender --background
run test_errors blender --background
# Mesa draws the window where there is no graphics card.
window=(xvfb-run -a -s "-screen 0 1600x1000x24" blender --window-geometry 0 0 1500 950
  --enable-event-simulate)
run test_window "${window[@]}"
if [ -n "$pictures" ]; then
  run figure "${window[@]}"
fi
