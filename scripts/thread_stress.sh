#!/usr/bin/env bash
# Thread stress under ThreadSanitizer: builds the library and the stress test alone with
# -fsanitize=thread and runs it ROUNDS times (default 5), each in a fresh process, so its
# threads are the first to use the library's shared tables.
# Not part of the test command (a fourth build of the library does not fit its time); run it after
# changes to shared state, tables built on first use, or the block registry.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/tsan
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILP_BUILD_TESTS=ON \
  -DQUILP_BUILD_BENCH=OFF -DQUILP_BUILD_TOOLS=OFF \
  -DCMAKE_CXX_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" \
  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread >/dev/null
cmake --build "$build" --target quilp_thread_stress -j2
rounds=${1:-5}
for ((i = 1; i <= rounds; i++)); do
  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
    "$build/tests/quilp_thread_stress" --gtest_brief=1
done
echo "thread stress: $rounds clean runs"
