#!/bin/bash
# Quality of orientation detection and deskewing on generated real-text pages with known
# truth, through the quilp tool. Pages go to a work folder outside git.
#   scripts/corpus/geometry_quality.sh [WORK] [ORIENT_COUNT] [DESKEW_COUNT]
# Needs a release build (build/release/tools/quilp) and Debian's python3 with PIL and numpy.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work=${1:-$root/build/geometry-quality}
orientCount=${2:-80}
deskewCount=${3:-12}
quilp=$root/build/release/tools/quilp
py=/usr/bin/python3
mkdir -p "$work"
[ -f "$work/orient/orientation.tsv" ] || $py "$here/geometry_set.py" orientation "$work/orient" --count "$orientCount" --seed 42
[ -f "$work/deskew/deskew.tsv" ] || $py "$here/geometry_set.py" deskew "$work/deskew" --count "$deskewCount" --seed 7

echo "| page | truth | found | confidence | dpi | font | pt | skew | noise | kind |"
echo "|---|---|---|---|---|---|---|---|---|---|"
right=0; total=0
while IFS=$'\t' read -r file want dpi font size skew noise kind; do
  read -r _ got _ confidence < <("$quilp" orient "$work/orient/$file")
  total=$((total + 1))
  if [ "$got" = "$want" ]; then right=$((right + 1)); mark=""; else mark=" **miss**"; fi
  echo "| $file | $want | $got$mark | $confidence | $dpi | $font | $size | $skew | $noise | ${kind:-dense} |"
done < "$work/orient/orientation.tsv"
echo
echo "orientation: $right of $total right"
echo
echo "| page | drawn skew (deg) | corrected (deg) | residual by the Hough estimate (deg) |"
echo "|---|---|---|---|"
while IFS=$'\t' read -r file drawn; do
  corrected=$("$quilp" deskew "$work/deskew/$file" "$work/straight-$file" | awk '{print $2}')
  # 1-bit results are measured on their grey copy.
  "$quilp" convert "$work/straight-$file" "$work/grey-$file" --depth 8 > /dev/null 2>&1 ||
    cp "$work/straight-$file" "$work/grey-$file"
  residual=$("$quilp" skew "$work/grey-$file" | awk '/hough image/ {print $3}')
  echo "| $file | $drawn | $corrected | $residual |"
done < "$work/deskew/deskew.tsv"
