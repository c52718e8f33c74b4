#!/usr/bin/env bash
# Builds the page that shows models in a browser, from a fresh clone too: installs what is needed,
# compiles the command to WebAssembly and puts it, the script and the styles into one file.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh --web
npm ci --prefix web --no-audit --no-fund
npm run --prefix web check
cmake --preset web
cmake --build --preset web --target marrow
node web/build.mjs build/web/bin build/web/marrow.html
echo "The page: $PWD/build/web/marrow.html"
