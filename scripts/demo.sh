#!/usr/bin/env bash
# The main job: build the library and the tool, then run the demo on its built-in page.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release -DQUILP_BUILD_TESTS=OFF -DQUILP_BUILD_BENCH=OFF >/dev/null
cmake --build --preset release --target quilp
build/release/tools/quilp demo "${1:-quilp-demo}"
