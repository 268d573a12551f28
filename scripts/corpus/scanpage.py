#!/usr/bin/env python3
"""Scanned-looking pages made from textpage.py's truth pages, for the cleaning quality check.

scan_page(seed, recipe) renders a page of real text and degrades it the way scanners and
phones do, keeping the truth text: skew, quarter turns, uneven light, noise, a coloured
stamp, a dark scanner border and punch holes. save_scan writes it as PNG, TIFF or JPEG with
its resolution. Run with Debian's /usr/bin/python3.
"""

import math
import os
import random
import sys

import numpy as np
from PIL import Image, ImageDraw

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402


def _uneven(h, w, rng, strength):
    """A light field: 1 at the brightest corner, 1 - strength at the darkest, smooth."""
    y, x = np.mgrid[0:h, 0:w].astype(np.float32)
    cx, cy = rng.uniform(0, w), rng.uniform(0, h)
    d = np.hypot(x - cx, y - cy) / math.hypot(w, h)
    return 1.0 - strength * np.clip(d / d.max(), 0, 1) ** 1.5


def _stamp(rgb, rng, dpi):
    """A coloured ring with a bar inside, near the top right, over whatever is there."""
    img = Image.fromarray(rgb)
    draw = ImageDraw.Draw(img)
    colour = rng.choice([(200, 30, 40), (40, 60, 190), (30, 140, 60)])
    r = int(0.45 * dpi)
    h, w = rgb.shape[:2]
    cx, cy = int(w * rng.uniform(0.6, 0.8)), int(h * rng.uniform(0.08, 0.2))
    width = max(2, dpi // 60)
    draw.ellipse((cx - r, cy - r, cx + r, cy + r), outline=colour, width=width)
    draw.ellipse((cx - r + 3 * width, cy - r + 3 * width, cx + r - 3 * width, cy + r - 3 * width),
                 outline=colour, width=width)
    draw.rectangle((cx - r + 4 * width, cy - width * 3, cx + r - 4 * width, cy + width * 3), fill=colour)
    return np.asarray(img).copy()


def _border_and_holes(rgb, rng, dpi, border, holes):
    out = rgb.copy()
    h, w = out.shape[:2]
    if border:
        level = rng.randint(15, 60)
        for side in rng.sample(["l", "r", "t", "b"], rng.randint(1, 3)):
            k = int(rng.uniform(0.02, 0.05) * (w if side in "lr" else h))
            if side == "l": out[:, :k] = level
            if side == "r": out[:, w - k:] = level
            if side == "t": out[:k, :] = level
            if side == "b": out[h - k:, :] = level
    if holes:
        img = Image.fromarray(out)
        draw = ImageDraw.Draw(img)
        r = int(3 * dpi / 25.4)  # 6 mm holes
        x = int(12 * dpi / 25.4)
        for fy in (0.3, 0.7):
            y = int(fy * h)
            draw.ellipse((x - r, y - r, x + r, y + r), fill=(25, 25, 25))
        out = np.asarray(img).copy()
    return out


def scan_page(seed, dpi=300, skew=0.0, quarters=0, light=0.0, noise=0.0, stamp=False,
              border=False, holes=False, font="serif", size_pt=10, width_in=8.27, height_in=11.69):
    """(rgb H x W x 3 uint8, truth text)."""
    rng = random.Random(seed * 7919 + 13)
    margin = min(1.25, width_in / 7)
    page = textpage.render_page(seed, dpi=dpi, font=font, size_pt=size_pt, margin_in=margin,
                                width_in=width_in, height_in=height_in)
    text = page.text
    if skew:
        page = textpage.rotate_page(page, skew)
    grey = page.grey.astype(np.float32)
    rgb = np.repeat(grey[:, :, None], 3, axis=2)
    if stamp:
        rgb = np.minimum(rgb, _stamp(rgb.astype(np.uint8), rng, dpi).astype(np.float32))
    if light:
        paper = np.array([250, 244, 228], np.float32) / 255.0  # slightly yellowed
        rgb = rgb * paper * _uneven(*grey.shape, rng, light)[:, :, None]
    if noise:
        rgb += np.random.default_rng(seed).normal(0, noise, rgb.shape).astype(np.float32)
    rgb = np.clip(rgb + 0.5, 0, 255).astype(np.uint8)
    rgb = _border_and_holes(rgb, rng, dpi, border, holes)
    if quarters:
        rgb = np.rot90(rgb, -quarters).copy()
    return rgb, text


def save_scan(path, rgb, dpi, jpeg_quality=None):
    img = Image.fromarray(rgb)
    if path.endswith(".jpg"):
        img.save(path, quality=jpeg_quality or 75, dpi=(dpi, dpi))
    elif path.endswith(".tif"):
        img.save(path, compression="tiff_lzw", dpi=(dpi, dpi))
    else:
        img.save(path, dpi=(dpi, dpi))
