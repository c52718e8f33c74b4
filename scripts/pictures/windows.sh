#!/usr/bin/env bash
# Pictures of the module's windows into docs/images: runs the Windows build under Wine as a user
# would, without options, and takes each window as it comes.
set -euo pipefail
cd "$(dirname "$0")/../.."
images=$PWD/docs/images
work=$PWD/build/windows/pictures
marrow=$PWD/build/windows/bin/marrow.exe
sample=$PWD/examples/sample.glb

scripts/install-deps.sh --windows --pictures
cmake --preset windows
cmake --build --preset windows --target marrow marrow_module
. scripts/wine.sh
# The dialogs' font and the signs of a window's frame, where Wine looks for them at its next start.
cp /usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts"
/usr/lib/wine/wineserver64 -k

# Waits for a window of that title and takes it; `window` is its number then. Titles are patterns.
take() { # TITLE NAME
  for ((tries = 0; tries < 300; ++tries)); do
    window=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | tail -1) || true
    if [ -n "$window" ]; then
      sleep "${3:-0.5}" # until it has painted its controls
      import -window "$window" -strip "$images/$2.png"
      echo "$2.png: $(identify -format '%w x %h' "$images/$2.png")"
      return
    fi
    sleep 0.02
  done
  echo "no window $1" >&2
  exit 1
}
finish() { # KEY: ends the dialog, and the program with it
  press "$1"
  wait $! || true
}
press() { xdotool key --clearmodifiers "$@"; }
start() { wine "$marrow" "$@" --ask --quiet >"$work/log" 2>&1 & }

rm -rf "$work"
mkdir -p "$work/models" "$images"
cd "$work/models"
wine "$marrow" export "$sample" -o figure.mds --sequences --quiet
wine "$marrow" export "$sample" -o figure.mdc --quiet
for skin in body_default body_red; do
  printf 'body,"models/players/%s.tga"\n' "$skin" >"$skin.skin"
done

start import figure.mdc -o frame.glb
take 'MDC Importer' dialog-102
finish Escape

# The dialog of an mds has no title.
start import figure.mds -o figure.glb
sleep 2
take '^$' dialog-101
finish Escape

start export "$sample" -o other.mdm
take 'MDM/MDX Exporter' dialog-105
finish Escape

start export "$sample" -o other.mdc
take 'MDC/MDS Exporter' dialog-103
press Tab Tab Tab space
take 'Select Origin Object' picker
press Escape
sleep 0.5
press Return
take 'Exporting MDC' dialog-104 0.05
wait $!
