#!/usr/bin/env python3
"""Degraded scans with exact ink truth, for measuring binarization.

Each page is a textpage.py rendering (real glyphs, anti-aliased) whose ink mask stays the
truth, printed onto simulated paper and lit like a scan:
    out = light * (paper * (1 - c) + ink * c) + noise,   c = ink coverage of the rendering
Degradations (one per page, plus one page combining shadow and faded ink):
  clean      white paper, black ink, mild sensor noise
  gradient   light falling to 45 % across the page
  gutter     a book's gutter shadow along the left edge, down to 30 %
  faded      ink within 55 levels of the paper (faded toner or pencil)
  bleed      the mirrored text of the sheet's back showing through at a quarter contrast
  stains     soft dark blotches, some over the text
  coloured   24-bit: yellow or blue paper with dark blue ink
  jpeg       strong noise, then JPEG at quality 35
  shadow+faded  the gutter shadow and faded ink together
Pages are written as NAME.bmp (8-bit grey, or 24-bit for coloured) and NAME-ink.bmp (1-bit,
black = ink), with a manifest.tsv listing name, dpi and font.

Run with Debian's /usr/bin/python3:  degrade.py OUTDIR [--dpi 200 300] [--seed S]
"""

import argparse
import io
import os
import sys

import numpy as np
from PIL import Image

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402

KINDS = ["clean", "gradient", "gutter", "faded", "bleed", "stains", "coloured", "jpeg",
         "shadow+faded"]


def coverage(page):
    return 1.0 - page.grey.astype(np.float64) / 255.0


def smooth(a, sigma):
    """Gaussian blur of values in 0..1 through PIL (8-bit steps are plenty here)."""
    from PIL import ImageFilter
    img = Image.fromarray(np.clip(np.rint(a * 255), 0, 255).astype(np.uint8))
    return np.asarray(img.filter(ImageFilter.GaussianBlur(sigma)), dtype=np.float64) / 255.0


def compose(c, paper, ink, light, rng, noise):
    out = light * (paper * (1.0 - c) + ink * c)
    out = out + rng.normal(0.0, noise, out.shape)
    return np.clip(np.rint(out), 0, 255).astype(np.uint8)


def degrade(kind, page, seed, dpi):
    rng = np.random.default_rng(seed)
    c = coverage(page)
    h, w = c.shape
    yy, xx = np.mgrid[0:h, 0:w].astype(np.float64)
    one = np.ones_like(c)
    if kind == "clean":
        return compose(c, 245, 15, one, rng, 3)
    if kind == "gradient":
        t = (xx / w + yy / h) / 2
        return compose(c, 240, 20, 1.0 - 0.55 * t, rng, 4)
    if kind in ("gutter", "shadow+faded"):
        dist = xx / (0.12 * w)
        light = 1.0 - 0.7 * np.exp(-dist * dist) - 0.1 * (yy / h)
        if kind == "gutter":
            return compose(c, 238, 20, light, rng, 4)
        return compose(c, 235, 180, light, rng, 4)
    if kind == "faded":
        return compose(c, 235, 180, 1.0 - 0.15 * xx / w, rng, 4)
    if kind == "bleed":
        back = textpage.render_page(seed + 1000, dpi, font="sans")
        cb = smooth(coverage(back)[:, ::-1], dpi / 150.0)[:h, :w]
        paper = 240.0 * (1.0 - 0.27 * cb)
        return compose(c, paper, 20, one, rng, 3)
    if kind == "stains":
        light = one.copy()
        for _ in range(7):
            cx, cy = rng.uniform(0, w), rng.uniform(0, h)
            r = rng.uniform(0.05, 0.14) * w
            depth = rng.uniform(0.2, 0.45)
            d2 = ((xx - cx) ** 2 + (yy - cy) ** 2) / (r * r)
            light *= 1.0 - depth / (1.0 + np.exp(np.minimum(6.0 * (d2 - 1.0), 50.0)))
        return compose(c, 240, 25, light, rng, 4)
    if kind == "coloured":
        papers = [(235, 225, 150), (170, 200, 235)]
        paper = papers[seed % 2]
        ink = (30, 35, 90)
        noise = rng.normal(0.0, 4, (h, w))
        chans = []
        for p, i in zip(paper, ink):
            chans.append(np.clip(np.rint(p * (1 - c) + i * c + noise), 0, 255).astype(np.uint8))
        return np.stack(chans, axis=2)
    if kind == "jpeg":
        grey = compose(c, 235, 30, one, rng, 14)
        buf = io.BytesIO()
        Image.fromarray(grey).save(buf, format="JPEG", quality=35)
        return np.asarray(Image.open(io.BytesIO(buf.getvalue())).convert("L"), dtype=np.uint8)
    raise ValueError(kind)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("out")
    ap.add_argument("--dpi", type=int, nargs="+", default=[200, 300])
    ap.add_argument("--seed", type=int, default=7)
    ap.add_argument("--kinds", nargs="+", default=KINDS)
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    fonts = ["serif", "sans", "mono"]
    rows = []
    n = 0
    for dpi in args.dpi:
        for kind in args.kinds:
            seed = args.seed + n
            font = fonts[n % len(fonts)]
            n += 1
            page = textpage.render_page(seed, dpi, font=font, size_pt=10 if n % 2 else 9)
            img = degrade(kind, page, seed, dpi)
            name = "%s-%d" % (kind.replace("+", "-"), dpi)
            textpage.save_bmp(os.path.join(args.out, name + ".bmp"), img, dpi)
            textpage.save_bmp(os.path.join(args.out, name + "-ink.bmp"), page.ink, dpi)
            rows.append("%s\t%d\t%s" % (name, dpi, font))
    with open(os.path.join(args.out, "manifest.tsv"), "w") as f:
        f.write("\n".join(rows) + "\n")


if __name__ == "__main__":
    main()
