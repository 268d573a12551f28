#!/usr/bin/env bash
# Builds the benchmarks with their peers (OpenCV, Leptonica) and runs them on bottom-up and on
# top-down pages, alternating, ROUNDS times each (default 3); then prints one table of every
# operation, its peer, both times and the ratios, ours and the peer's from the same run.
# Extra arguments go to the benchmark binary, e.g. --benchmark_filter=Grey.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh bench
cmake --preset release -DQUILP_BUILD_BENCH=ON >/dev/null
cmake --build --preset release --target quilp_bench
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
files=()
for round in $(seq "${ROUNDS:-3}"); do
  for order in bottom-up top-down; do
    echo "== round $round, $order pages"
    QUILP_BENCH_ORDER=$order build/release/bench/quilp_bench \
      --benchmark_out="$out/$order-$round.json" --benchmark_out_format=json "$@"
    files+=("$order=$out/$order-$round.json")
  done
done
echo
/usr/bin/python3 scripts/bench_table.py "${files[@]}"
