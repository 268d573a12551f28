#!/usr/bin/env bash
# Builds and runs every test three times: Release, AddressSanitizer + UndefinedBehaviorSanitizer,
# and a 32-bit Release build of the library with its unit tests (the tool is 64-bit only).
# The benchmarks are built in Release too (so they keep compiling), but not run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
for preset in release sanitize release32; do
  echo "== $preset build"
  bench=ON
  [ "$preset" = release ] || bench=OFF
  cmake --preset "$preset" -DQUILP_BUILD_TESTS=ON -DQUILP_BUILD_BENCH=$bench >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset tests"
  ctest --preset "$preset" -j2
done
