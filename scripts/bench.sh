#!/usr/bin/env bash
# Builds the benchmarks with their peers (OpenCV, Leptonica) and runs them; extra arguments go
# to the benchmark binary, e.g. --benchmark_filter=Grey.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh bench
cmake --preset release -DQUILP_BUILD_BENCH=ON >/dev/null
cmake --build --preset release --target quilp_bench
build/release/bench/quilp_bench "$@"
