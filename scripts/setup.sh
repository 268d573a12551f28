#!/usr/bin/env bash
# Installs what building and testing need, from Debian's packages, when it is missing.
# Pass "bench" to add the peers the benchmarks and quality tables compare against
# (OpenCV with its contrib modules, Leptonica, scikit-image, unpaper); "fuzz" adds clang.
set -euo pipefail
want=(cmake g++ make pkg-config libgtest-dev libgmock-dev libbenchmark-dev
      # the tool's image files
      libpng-dev libtiff-dev libjpeg-dev
      # the 32-bit build
      g++-multilib
      # generated test pages: real glyphs from Debian's fonts, OCR for the quality checks
      python3 python3-numpy python3-pil fonts-dejavu-core fonts-liberation2 fonts-freefont-ttf
      tesseract-ocr tesseract-ocr-eng
      # the Python module, for Debian's own python3
      python3-dev python3-pybind11 python3-pytest)
if [ "${1:-}" = fuzz ]; then  # the fuzz targets: clang with libFuzzer and the sanitizers
  want+=(clang libclang-rt-14-dev)
fi
if [ "${1:-}" = bench ]; then
  want+=(libopencv-dev libopencv-contrib-dev libleptonica-dev python3-skimage unpaper
         # layout analysis compared in scripts/segment_check.py
         libtesseract-dev)
fi
need=()
for pkg in "${want[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "ok installed" || need+=("$pkg")
done
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}" >/dev/null
fi
