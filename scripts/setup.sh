#!/usr/bin/env bash
# Installs what building and testing need, from Debian's packages, when it is missing.
# Pass "bench" to add the peers the benchmarks compare against (OpenCV, Leptonica).
set -euo pipefail
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v g++ >/dev/null || need+=(g++)
command -v make >/dev/null || need+=(make)
command -v pkg-config >/dev/null || need+=(pkg-config)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev libgmock-dev)
[ -f /usr/include/benchmark/benchmark.h ] || need+=(libbenchmark-dev)
if [ "${1:-}" = bench ]; then
  [ -d /usr/include/opencv4 ] || need+=(libopencv-dev)
  [ -f /usr/include/leptonica/allheaders.h ] || need+=(libleptonica-dev)
  [ -f /usr/include/opencv4/opencv2/ximgproc.hpp ] || need+=(libopencv-contrib-dev)
fi
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}" >/dev/null
fi
