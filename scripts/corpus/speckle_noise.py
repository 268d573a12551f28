#!/usr/bin/env python3
"""Scanner noise with truth, for measuring despeckling on text pages.

add_noise(ink, dpi, seed) takes a clean ink mask (H x W bool, True = ink, as textpage.py's
page.ink) and returns (noisy, truth), where truth records what was added:
  - specks: list of pixel lists, black specks on paper (single pixels, and two- to four-pixel
    dust), each at least two pixels from any ink, so each is a component of its own;
  - holes:  list of (y, x), single white pixels inside strokes (the 3 x 3 around them ink);
  - bumps:  list of (y, x), one-pixel ink bumps on straight stroke edges;
  - notches: list of (y, x), one-pixel notches cut into straight stroke edges.
Counts scale with the page area: per million pixels 1000 specks, 120 holes, 500 bumps and
250 notches.

Run with Debian's /usr/bin/python3 (numpy).
"""

import numpy as np

DUST = [[(0, 0)], [(0, 0), (0, 1)], [(0, 0), (1, 0)], [(0, 0), (0, 1), (1, 0), (1, 1)],
        [(0, 0), (0, 1), (1, 1)]]


def _shift(a, dy, dx, fill=False):
    """a shifted so that out[y, x] = a[y + dy, x + dx] (fill outside)."""
    h, w = a.shape
    out = np.full_like(a, fill)
    ys, yd = (slice(dy, h), slice(0, h - dy)) if dy >= 0 else (slice(0, h + dy), slice(-dy, h))
    xs, xd = (slice(dx, w), slice(0, w - dx)) if dx >= 0 else (slice(0, w + dx), slice(-dx, w))
    out[yd, xd] = a[ys, xs]
    return out


def _edge_sites(ink, on_ink):
    """Pixels where a one-pixel bump (on_ink False: paper pixel that would stick out of an
    edge) or notch (on_ink True: ink pixel cut into an edge) matches the straight-edge
    pattern, in any of the four directions."""
    a = ink if not on_ink else ~ink  # the side the pixel belongs to after the change
    b = ~a                           # the other side
    sites = np.zeros_like(ink)
    for (dy, dx) in ((1, 0), (-1, 0), (0, 1), (0, -1)):  # where the edge lies
        py, px = dx, dy  # along the edge
        # the pixel and its two sides along the edge: of the class the pixel has now
        m = b & _shift(b, py, px, False) & _shift(b, -py, -px, False)
        for t in (-1, 0, 1):  # beyond it: three pixels of its class
            m &= _shift(b, -dy + py * t, -dx + px * t, False)
        for t in (-2, -1, 0, 1, 2):  # behind it: five pixels of the other class
            m &= _shift(a, dy + py * t, dx + px * t, False)
        sites |= m
    return sites


def add_noise(ink, dpi, seed, scale=1.0):
    rng = np.random.default_rng(seed)
    h, w = ink.shape
    per_mp = h * w / 1e6 * scale
    noisy = ink.copy()
    truth = {"specks": [], "holes": [], "bumps": [], "notches": []}
    # Keep-out zone: two pixels around ink (and around placed noise).
    near = ink.copy()
    for dy in range(-2, 3):
        for dx in range(-2, 3):
            near |= _shift(ink, dy, dx)
    count = int(1000 * per_mp)
    tries = 0
    while len(truth["specks"]) < count and tries < count * 20:
        tries += 1
        y, x = int(rng.integers(2, h - 4)), int(rng.integers(2, w - 4))
        shape = DUST[0] if rng.random() < 0.6 else DUST[int(rng.integers(1, len(DUST)))]
        pix = [(y + a, x + b) for a, b in shape]
        if any(near[p] for p in pix):
            continue
        for p in pix:
            noisy[p] = True
        for (py, px) in pix:
            near[max(0, py - 2):py + 3, max(0, px - 2):px + 3] = True
        truth["specks"].append(pix)
    interior = ink.copy()
    for dy in (-1, 0, 1):
        for dx in (-1, 0, 1):
            interior &= _shift(ink, dy, dx)
    taken = np.zeros_like(ink)  # keep the changes apart, so each meets the clean pattern
    for key, sites, n in (("holes", interior, int(120 * per_mp)),
                          ("bumps", _edge_sites(ink, False), int(500 * per_mp)),
                          ("notches", _edge_sites(ink, True), int(250 * per_mp))):
        ys, xs = np.nonzero(sites)
        if len(ys) == 0:
            continue
        pick = rng.choice(len(ys), size=min(n, len(ys)), replace=False)
        for i in pick:
            y, x = int(ys[i]), int(xs[i])
            if taken[max(0, y - 3):y + 4, max(0, x - 3):x + 4].any():
                continue
            taken[y, x] = True
            noisy[y, x] = not ink[y, x]
            truth[key].append((y, x))
    return noisy, truth
