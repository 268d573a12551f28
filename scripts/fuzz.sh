#!/usr/bin/env bash
# Builds the fuzz targets (clang, libFuzzer, ASan + UBSan) and runs each for SECONDS (default
# 600), one at a time, from its seed corpus in fuzz/corpus/<target>. New inputs go to
# build/fuzz/corpus/<target>; a crash leaves its input in build/fuzz/ and stops the run.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh fuzz
seconds=${1:-600}
shift || true
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j2
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for f in fuzz/fuzz_*.cpp; do targets+=("$(basename "$f" .cpp)"); done
fi
for t in "${targets[@]}"; do
  mkdir -p "build/fuzz/corpus/$t"
  seeds=()
  [ -d "fuzz/corpus/$t" ] && seeds=("fuzz/corpus/$t")
  echo "== $t for $seconds s"
  (cd build/fuzz && "./fuzz/$t" -max_total_time="$seconds" -print_final_stats=1 -rss_limit_mb=2048 \
     -timeout=10 "corpus/$t" "${seeds[@]/#/../../}" 2>&1 | grep -E "stat::number_of_executed_units|ERROR|SUMMARY|Done" || true)
done
