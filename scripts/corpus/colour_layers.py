#!/usr/bin/env python3
"""Colour form pages with known ink layers, for the separation and colour-match checks.

A textpage.py page of black text gets, on a slightly tinted and noisy sheet:
  - a yellow highlighter over a few words (multiplied under the ink, soft edges),
  - a red ring stamp with bold lettering, turned a little,
  - a blue handwritten-like signature (smooth random strokes).
Each layer is drawn as coverage (0..1, anti-aliased by drawing at 4x and averaging) and the
layers are multiplied onto the paper, as inks on a sheet combine.

Truth: layer L's mask is where its coverage is at least one half. Where two of text, stamp and
signature overlap the pixel is marked 'overlap' and left out of the scoring; the highlighter's
truth is its half-covered pixels that no other layer half-covers.

Run with Debian's /usr/bin/python3. As a program: colour_layers.py OUTDIR [--seed S] writes
page.bmp (24-bit) and truth-<layer>.bmp (1-bit, black = ink) for each layer.
"""

import argparse
import math
import os
import random
import sys

import numpy as np
from PIL import Image, ImageDraw, ImageFont

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402

# Ink colours, RGB.
INKS = {
    "text": (20, 20, 24),
    "stamp": (200, 32, 40),
    "signature": (30, 50, 170),
    "highlighter": (255, 236, 60),
}
PAPER = (250, 247, 240)
SUPER = 4  # supersampling of the drawn layers


def _coverage(size, draw_fn):
    """Anti-aliased coverage of a drawing made at SUPER times the size."""
    w, h = size
    img = Image.new("L", (w * SUPER, h * SUPER), 0)
    draw_fn(ImageDraw.Draw(img), SUPER)
    a = np.asarray(img, dtype=np.float32) / 255.0
    return a.reshape(h, SUPER, w, SUPER).mean(axis=(1, 3))


def _stamp(rng, w, h, dpi):
    r = int(0.75 * dpi)
    cx, cy = rng.randint(w // 2, w - r - 60), rng.randint(r + 60, h // 3)
    box = 2 * r + 40
    font = ImageFont.truetype(textpage.find_font("sans-bold"), int(0.22 * dpi) * SUPER)

    def draw(d, s):
        c = box * s // 2
        d.ellipse((c - r * s, c - r * s, c + r * s, c + r * s), outline=255, width=int(0.05 * dpi) * s)
        d.ellipse((c - (r - 30) * s, c - (r - 30) * s, c + (r - 30) * s, c + (r - 30) * s),
                  outline=255, width=int(0.02 * dpi) * s)
        word = rng.choice(["PAID", "APPROVED", "RECEIVED", "COPY"])
        tw = d.textlength(word, font=font)
        d.text((c - tw / 2, c - font.size * 0.6), word, font=font, fill=255)

    cov = _coverage((box, box), draw)
    cov = np.asarray(Image.fromarray((cov * 255).astype(np.uint8)).rotate(
        rng.uniform(-20, 20), resample=Image.BILINEAR), dtype=np.float32) / 255.0
    full = np.zeros((h, w), np.float32)
    x0, y0 = cx - box // 2, cy - box // 2
    full[y0:y0 + box, x0:x0 + box] = cov
    return full


def _signature(rng, w, h, dpi):
    sw, sh = int(2.2 * dpi), int(0.7 * dpi)
    x0, y0 = rng.randint(w // 2, w - sw - 80), rng.randint(int(h * 0.75), h - sh - 80)
    pen = max(2, int(0.012 * dpi))

    def draw(d, s):
        x, y = 10.0, sh / 2
        pts = []
        for _ in range(rng.randint(5, 8)):  # letters: loops moving right
            a = rng.uniform(0.3, 0.45) * sh
            step = rng.uniform(0.08, 0.14) * sw
            for t in np.linspace(0, 2 * math.pi, 40):
                pts.append((x + step * t / (2 * math.pi) + 0.3 * a * math.sin(t),
                            y - a * math.sin(t) * rng.uniform(0.9, 1.1)))
            x += step
        d.line([(px * s, py * s) for px, py in pts], fill=255, width=pen * s, joint="curve")
        d.line([(20 * s, (sh - 15) * s), ((x + 20) * s, (sh - 35) * s)], fill=255, width=pen * s)

    full = np.zeros((h, w), np.float32)
    full[y0:y0 + sh, x0:x0 + sw] = _coverage((sw, sh), draw)
    return full


def _highlighter(rng, page, w, h):
    full = np.zeros((h, w), np.float32)
    lines = [ln for ln in page.lines if len(ln["words"]) > 3]
    for ln in rng.sample(lines, min(6, len(lines))):
        words = ln["words"]
        i = rng.randint(0, len(words) - 3)
        l, t = words[i][0] - 6, ln["box"][1] - 6
        r, b = words[i + 2][2] + 6, ln["box"][3] + 6
        full[t:b + 1, l:r + 1] = 1.0
    # Soft edges: a 3 x 3 box blur.
    pad = np.pad(full, 1, mode="edge")
    return sum(pad[dy:dy + h, dx:dx + w] for dy in range(3) for dx in range(3)) / 9.0


def render_layers(seed, dpi=300):
    """Returns (rgb H x W x 3 uint8, truth dict layer -> bool mask, overlap bool mask)."""
    rng = random.Random(seed)
    page = textpage.render_page(seed, dpi=dpi)
    h, w = page.grey.shape
    cover = {
        "highlighter": _highlighter(rng, page, w, h),
        "text": (255.0 - page.grey.astype(np.float32)) / 255.0,
        "stamp": _stamp(rng, w, h, dpi),
        "signature": _signature(rng, w, h, dpi),
    }
    rgb = np.empty((h, w, 3), np.float32)
    for c in range(3):
        v = np.full((h, w), PAPER[c] / 255.0, np.float32)
        for name, cov in cover.items():
            v *= 1.0 - cov * (1.0 - INKS[name][c] / 255.0)
        rgb[:, :, c] = v * 255.0
    noise = np.random.default_rng(seed).normal(0.0, 2.0, rgb.shape)
    rgb = np.clip(rgb + noise + 0.5, 0, 255).astype(np.uint8)
    half = {name: cov >= 0.5 for name, cov in cover.items()}
    marks = half["text"].astype(int) + half["stamp"] + half["signature"]
    overlap = marks > 1
    truth = {name: half[name] & ~overlap for name in ("text", "stamp", "signature")}
    truth["highlighter"] = half["highlighter"] & (marks == 0)
    return rgb, truth, overlap


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("out")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--dpi", type=int, default=300)
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    rgb, truth, overlap = render_layers(args.seed, args.dpi)
    textpage.save_bmp(os.path.join(args.out, "page.bmp"), rgb, args.dpi)
    for name, mask in truth.items():
        textpage.save_bmp(os.path.join(args.out, "truth-%s.bmp" % name), mask, args.dpi)
    textpage.save_bmp(os.path.join(args.out, "overlap.bmp"), overlap, args.dpi)


if __name__ == "__main__":
    main()
