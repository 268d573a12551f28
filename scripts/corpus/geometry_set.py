#!/usr/bin/env python3
"""Pages for the geometry checks: real text turned to each orientation, skewed and noisy.

orientation OUTDIR [--count N] [--seed S] [--small] [--dense]
    writes N pages, page i turned i mod 4 clockwise quarters, with a manifest
    OUTDIR/orientation.tsv: file, quarters that make it upright, dpi, font, size, skew,
    noise. Fonts serif/sans/mono, 8-14 pt, 200 and 300 dpi, one or two columns, skew up to
    10 degrees, salt-and-pepper noise on some, 1-bit versions of some, a quarter sparse
    (one line in four kept).
deskew OUTDIR [--count N] [--seed S]
    writes N grey pages rotated by known angles in -10..10 degrees, manifest deskew.tsv.

Run with Debian's /usr/bin/python3. Pages stay out of git: write them under build/ or /tmp.
"""

import argparse
import os
import random
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402


def noisy(grey, rng, amount):
    """Salt and pepper on a share `amount` of the pixels, and a little grain."""
    out = grey.astype(np.int16)
    nr = np.random.default_rng(rng.randrange(1 << 30))
    out += nr.normal(0, 6, out.shape).astype(np.int16)
    mask = nr.random(out.shape) < amount
    out[mask] = np.where(nr.random(int(mask.sum())) < 0.5, 0, 255)
    return np.clip(out, 0, 255).astype(np.uint8)


def orientation(outdir, count, seed, small=False, dense=False):
    rng = random.Random(seed)
    rows = []
    for i in range(count):
        dpi = 200 if small else rng.choice([200, 300])
        font = rng.choice(["serif", "sans", "mono"])
        size = rng.choice([8, 10, 12, 14])
        columns = rng.choice([1, 1, 2])
        # Pages cropped to keep the run short: a half page is still a full-width text block.
        page = textpage.render_page(rng.randrange(1 << 30), dpi=dpi, height_in=4.0 if small else rng.choice([5.5, 11.69]),
                                    font=font, size_pt=size, columns=columns)
        sparse = rng.random() < 0.25 and not dense
        if sparse:  # a letter-like page: one line in four kept
            for k, line in enumerate(page.lines):
                if k % 4:
                    l, t, r, b = line["box"]
                    page.grey[t:b + 1, l:r + 1] = 255
        skew = rng.uniform(-10, 10) if rng.random() < 0.5 else rng.uniform(-1, 1)
        page = textpage.rotate_page(page, skew)
        turn = i % 4
        page = textpage.turn_page(page, turn)
        noise = rng.choice([0.0, 0.0, 0.005, 0.02])
        grey = noisy(page.grey, rng, noise) if noise > 0 else page.grey
        name = "orient-%03d.bmp" % i
        if rng.random() < 0.25:
            textpage.save_bmp(os.path.join(outdir, name), grey < 128, dpi)
        else:
            textpage.save_bmp(os.path.join(outdir, name), grey, dpi)
        # The page was turned `turn` quarters clockwise: (4 - turn) more make it upright.
        rows.append("%s\t%d\t%d\t%s\t%d\t%.3f\t%.3f\t%s" % (name, (4 - turn) % 4, dpi, font, size, skew, noise,
                                                        "sparse" if sparse else "dense"))
    with open(os.path.join(outdir, "orientation.tsv"), "w") as f:
        f.write("\n".join(rows) + "\n")


def deskew(outdir, count, seed):
    rng = random.Random(seed)
    rows = []
    for i in range(count):
        page = textpage.render_page(rng.randrange(1 << 30), dpi=300, font=rng.choice(["serif", "sans"]),
                                    size_pt=rng.choice([9, 10, 12]), columns=rng.choice([1, 2]))
        skew = rng.uniform(-10, 10)
        page = textpage.rotate_page(page, skew)
        name = "deskew-%03d.bmp" % i
        if i % 3 == 2:
            textpage.save_bmp(os.path.join(outdir, name), page.grey < 128, 300)
        else:
            textpage.save_bmp(os.path.join(outdir, name), page.grey, 300)
        rows.append("%s\t%.4f" % (name, skew))
    with open(os.path.join(outdir, "deskew.tsv"), "w") as f:
        f.write("\n".join(rows) + "\n")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("kind", choices=["orientation", "deskew"])
    ap.add_argument("outdir")
    ap.add_argument("--count", type=int, default=40)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--small", action="store_true", help="200-dpi pages 4 inches high (quick)")
    ap.add_argument("--dense", action="store_true", help="no sparse pages")
    a = ap.parse_args()
    os.makedirs(a.outdir, exist_ok=True)
    if a.kind == "orientation":
        orientation(a.outdir, a.count, a.seed, a.small, a.dense)
    else:
        deskew(a.outdir, a.count, a.seed)


if __name__ == "__main__":
    main()
