#!/usr/bin/env python3
"""scikit-image's Sauvola on the binarization corpus, in binarize_quality.cpp's line format.

Usage: binarize_quality_skimage.py CORPUS_DIR
Prints page, "sk-sauvola", precision, recall, F-measure (percent) and PSNR (dB) per page. The
window follows the resolution as the other methods' do (dpi / 10, odd); k is 0.34 and 0.10,
the values the C++ program gives OpenCV and Leptonica. Colour pages are read through PIL's
luma.
"""

import math
import os
import sys

import numpy as np
from PIL import Image
from skimage.filters import threshold_sauvola

KS = [(0.34, "sk-sauvola"), (0.10, "sk-sauvola-k10")]


def report(name, method, black, ink):
    tp = float(np.count_nonzero(black & ink))
    fp = float(np.count_nonzero(black & ~ink))
    fn = float(np.count_nonzero(~black & ink))
    p = tp / max(1.0, tp + fp)
    r = tp / max(1.0, tp + fn)
    fm = 2 * p * r / (p + r) if p + r > 0 else 0.0
    mse = (fp + fn) / ink.size
    psnr = 10 * math.log10(1.0 / mse) if mse > 0 else 99.0
    print("%s\t%s\t%.2f\t%.2f\t%.2f\t%.2f" % (name, method, 100 * p, 100 * r, 100 * fm, psnr),
          flush=True)


def main():
    folder = sys.argv[1]
    with open(os.path.join(folder, "manifest.tsv")) as f:
        entries = [line.split("\t") for line in f.read().splitlines() if line.strip()]
    for name, dpi, _font in entries:
        dpi = int(dpi)
        grey = np.asarray(Image.open(os.path.join(folder, name + ".bmp")).convert("L"))
        ink = np.asarray(Image.open(os.path.join(folder, name + "-ink.bmp")).convert("L")) == 0
        window = max(3, dpi // 10) | 1
        for k, method in KS:
            report(name, method, grey < threshold_sauvola(grey, window_size=window, k=k), ink)


if __name__ == "__main__":
    main()
