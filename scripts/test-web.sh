#!/usr/bin/env bash
# Builds the page for browsers and drives it in Chromium, beside the program of a build:
#   scripts/test-web.sh BUILD_DIR [PICTURES_DIR]
set -euo pipefail
program=$(realpath "${1:?usage: scripts/test-web.sh BUILD_DIR [PICTURES_DIR]}")/bin/marrow
pictures=${2:+$(realpath "$2")}
cd "$(dirname "$0")/.."

scripts/web.sh
[ -d tests/validate/node_modules ] || npm ci --prefix tests/validate --no-audit --no-fund
node tests/web/page.mjs "$program" build/web/marrow.html examples/sample.glb ${2:+"$pictures"}
