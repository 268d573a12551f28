#!/usr/bin/env bash
# The main job: build the library and the tool, draw the demo's sample page with every
# operation's result, then clean it the way a folder of scans is cleaned.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release -DQUILP_BUILD_TESTS=OFF -DQUILP_BUILD_BENCH=OFF >/dev/null
cmake --build --preset release --target quilp
out="${1:-quilp-demo}"
build/release/tools/quilp demo "$out"
build/release/tools/quilp clean "$out/page.bmp" -o "$out/clean/" --overwrite --report "$out/clean/report.json"
