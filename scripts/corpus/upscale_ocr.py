#!/usr/bin/python3
"""OCR of 1-bit pages brought from 150 to 300 dpi: pixel replication against `quilp upscale`.

Renders text pages at 150 dpi with textpage.py, thresholds them to 1 bit (the clean ink
mask), and enlarges each twice: by replicating every pixel 2 x 2, and with `quilp upscale
--factor 2` (the edge-directed rule, which fills the steps of diagonal edges). Tesseract
reads both at 300 dpi. Prints the character error rate of each: the edit distance between
the recognised and the true text, whitespace runs counted as one space, divided by the true
text's length.

Usage: upscale_ocr.py QUILP_TOOL WORKDIR [--pages N] [--sizes PT,PT,...]
Run with Debian's /usr/bin/python3; needs tesseract-ocr and tesseract-ocr-eng.
"""

import argparse
import os
import subprocess
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402

FONTS = ["serif", "sans", "mono"]


def edit_distance(a, b):
    """Levenshtein distance, one row of the table at a time; insertions along a row are the
    running minimum of (cost - index), plus the index."""
    if not a:
        return len(b)
    bb = np.frombuffer(b.encode("utf-32-le"), dtype=np.uint32)
    index = np.arange(len(b) + 1)
    row = index.copy()
    for i, ch in enumerate(a, 1):
        code = ord(ch)
        sub = row[:-1] + (bb != code)
        cand = np.empty_like(row)
        cand[0] = i
        cand[1:] = np.minimum(sub, row[1:] + 1)
        row = np.minimum.accumulate(cand - index) + index
    return int(row[-1])


def normalise(text):
    return " ".join(text.split())


def ocr(path, work):
    base = os.path.join(work, "ocr")
    env = dict(os.environ, OMP_THREAD_LIMIT="1")
    subprocess.run(["tesseract", path, base, "--dpi", "300", "-l", "eng"], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=env)
    with open(base + ".txt", encoding="utf-8") as f:
        return f.read()


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("tool")
    ap.add_argument("work")
    ap.add_argument("--pages", type=int, default=3)
    ap.add_argument("--sizes", default="6,7", help="point sizes, comma-separated")
    args = ap.parse_args()
    os.makedirs(args.work, exist_ok=True)
    rows = []
    totals = {"replicated": [0, 0], "quilp upscale": [0, 0]}
    sizes = [float(v) for v in args.sizes.split(",")]
    for size, n in [(size, n) for size in sizes for n in range(args.pages)]:
        font = FONTS[n % len(FONTS)]
        seed = 1400 + n
        low = textpage.render_page(seed, dpi=150, height_in=4.0, font=font, size_pt=size)
        truth = normalise(low.text)
        small = os.path.join(args.work, "page-150.bmp")
        textpage.save_bmp(small, low.ink, dpi=150)
        replicated = os.path.join(args.work, "page-replicated.bmp")
        textpage.save_bmp(replicated, np.repeat(np.repeat(low.ink, 2, axis=0), 2, axis=1), dpi=300)
        upscaled = os.path.join(args.work, "page-upscaled.bmp")
        subprocess.run([args.tool, "upscale", small, upscaled, "--factor", "2"], check=True)
        line = [f"{size:g} pt {font} ({seed})"]
        for name, path in (("replicated", replicated), ("quilp upscale", upscaled)):
            errors = edit_distance(truth, normalise(ocr(path, args.work)))
            totals[name][0] += errors
            totals[name][1] += len(truth)
            line.append(f"{100.0 * errors / len(truth):.2f}%")
        rows.append(line)
    print("Character error rate of text rendered at 150 dpi, 1 bit, read at 300 dpi")
    print()
    print("| page (size, font, seed) | replicated 2x2 | quilp upscale x2 |")
    print("|---|---|---|")
    for line in rows:
        print("| " + " | ".join(line) + " |")
    cells = [f"{100.0 * e / max(1, c):.2f}%" for e, c in totals.values()]
    print("| all pages | " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main()
