#!/bin/sh
# Binarization quality on generated pages with exact ink truth: every method of the library
# beside Otsu, OpenCV's ximgproc Sauvola, Leptonica's Sauvola and background normalisation and
# scikit-image's Sauvola, all on the same pages. Prints the F-measure per page and method and,
# per method, the mean and lowest F-measure, mean precision, recall and PSNR.
#
#   scripts/binarize_quality.sh [BUILD_DIR]     (default build/release)
# The corpus (scripts/corpus/degrade.py: 9 degradations at 200 and 300 dpi) is made once under
# BUILD_DIR/binarize-corpus; delete that folder to make it again.
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
py=/usr/bin/python3
[ -f "$build/CMakeCache.txt" ] || cmake --preset release -DQUILP_BUILD_BENCH=ON >/dev/null
cmake --build "$build" --target quilp_binarize_quality -j2 >/dev/null
corpus="$build/binarize-corpus"
[ -f "$corpus/manifest.tsv" ] || "$py" scripts/corpus/degrade.py "$corpus"
results="$build/binarize-quality.tsv"
"$build/bench/quilp_binarize_quality" "$corpus" >"$results"
"$py" bench/binarize_quality_skimage.py "$corpus" >>"$results"
"$py" - "$results" <<'PY'
import collections, sys
rows = [l.rstrip("\n").split("\t") for l in open(sys.argv[1]) if l.count("\t") >= 5]
scores = collections.defaultdict(dict)
for page, method, p, r, f, psnr in rows:
    scores[method][page] = tuple(map(float, (p, r, f, psnr)))
methods = list(dict.fromkeys(r[1] for r in rows))
pages = list(dict.fromkeys(r[0] for r in rows))
print("F-measure (%) per page")
print("| page | " + " | ".join(methods) + " |")
print("|---" * (len(methods) + 1) + "|")
for page in pages:
    print("| %s | " % page + " | ".join("%.2f" % scores[m][page][2] if page in scores[m]
                                        else "-" for m in methods) + " |")
print()
print("| method | mean F | lowest F | mean precision | mean recall | mean PSNR |")
print("|---|---|---|---|---|---|")
for m in methods:
    v = list(scores[m].values())
    mean = lambda i: sum(x[i] for x in v) / len(v)
    print("| %s | %.2f | %.2f | %.2f | %.2f | %.2f |"
          % (m, mean(2), min(x[2] for x in v), mean(0), mean(1), mean(3)))
PY
