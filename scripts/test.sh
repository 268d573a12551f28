#!/usr/bin/env bash
# Builds and runs every test three times: Release, AddressSanitizer + UndefinedBehaviorSanitizer,
# and a 32-bit Release build of the library with its unit tests (the tool is 64-bit only).
# The benchmarks are built in Release too (so they keep compiling), but not run; the Python
# module is built and tested in Release (a sanitized module would need the runtime preloaded).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
for preset in release sanitize release32; do
  echo "== $preset build"
  extra=(-DQUILP_BUILD_BENCH=ON -DQUILP_BUILD_PYTHON=ON -DPython_EXECUTABLE=/usr/bin/python3)
  [ "$preset" = release ] || extra=(-DQUILP_BUILD_BENCH=OFF -DQUILP_BUILD_PYTHON=OFF)
  cmake --preset "$preset" -DQUILP_BUILD_TESTS=ON "${extra[@]}" >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset tests"
  ctest --preset "$preset" -j2
done
