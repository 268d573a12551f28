#!/usr/bin/env python3
"""Despeckling figures: rendered text pages with known noise, cleaned by `quilp despeckle`.

For each resolution (200 and 300 dpi) and page (seeds, serif and sans at 10 points), the
clean ink of textpage.render_page gets the noise of speckle_noise.add_noise; the noisy page
is written as a 1-bit BMP, cleaned by the tool with its defaults (sizes from the dpi) and
read back. Printed per resolution:
  specks removed   share of the added specks with no pixel left
  holes filled     share of the added white holes turned back to ink
  bumps, notches   share of the added edge bumps removed and notches filled
  glyph px lost    clean ink pixels that are paper after cleaning, as a share of all ink
  marks lost       small marks of the clean page (full stops, i-dots, commas: components at
                   most dpi/25 on a side) that lost half their pixels or more, of how many

Usage: /usr/bin/python3 scripts/corpus/despeckle_figures.py [--tool build/release/tools/quilp]
       [--pages N] [--work DIR]
"""

import argparse
import os
import subprocess
import sys

import numpy as np
from PIL import Image

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import speckle_noise  # noqa: E402
import textpage  # noqa: E402


def components(mask):
    """8-connected components: (labels, count), by scipy-free flood fill over runs."""
    h, w = mask.shape
    labels = np.zeros((h, w), dtype=np.int32)
    parent = [0]

    def find(i):
        while parent[i] != i:
            parent[i] = parent[parent[i]]
            i = parent[i]
        return i

    prev = []
    for y in range(h):
        row = mask[y]
        d = np.diff(np.concatenate(([0], row.view(np.int8), [0])))
        starts, ends = np.nonzero(d == 1)[0], np.nonzero(d == -1)[0] - 1
        cur = []
        j = 0
        for s, e in zip(starts, ends):
            lab = len(parent)
            parent.append(lab)
            while j < len(prev) and prev[j][1] + 1 < s:
                j += 1
            k = j
            while k < len(prev) and prev[k][0] <= e + 1:
                a, b = find(prev[k][2]), find(lab)
                parent[max(a, b)] = min(a, b)
                k += 1
            cur.append((s, e, lab))
        for s, e, lab in cur:
            labels[y, s:e + 1] = lab
        prev = cur
    roots = np.array([find(i) for i in range(len(parent))], dtype=np.int32)
    return roots[labels], len(parent)


def read_ink(path):
    return ~np.asarray(Image.open(path).convert("1"), dtype=bool)


def measure(tool, work, dpi, seed, font):
    page = textpage.render_page(seed, dpi=dpi, font=font)
    clean = page.ink
    noisy, truth = speckle_noise.add_noise(clean, dpi, seed)
    src, out = os.path.join(work, "noisy.bmp"), os.path.join(work, "clean.bmp")
    textpage.save_bmp(src, noisy, dpi)
    subprocess.run([tool, "despeckle", src, out], check=True, capture_output=True)
    got = read_ink(out)
    r = {}
    r["specks"] = (sum(not any(got[p] for p in s) for s in truth["specks"]), len(truth["specks"]))
    r["holes"] = (sum(bool(got[p]) for p in truth["holes"]), len(truth["holes"]))
    r["bumps"] = (sum(not got[p] for p in truth["bumps"]), len(truth["bumps"]))
    r["notches"] = (sum(bool(got[p]) for p in truth["notches"]), len(truth["notches"]))
    r["lost"] = (int((clean & ~got).sum()), int(clean.sum()))
    labels, n = components(clean)
    limit = dpi // 25
    lost = marks = 0
    ys, xs = np.nonzero(clean)
    lab = labels[ys, xs]
    order = np.argsort(lab, kind="stable")
    lab, ys, xs = lab[order], ys[order], xs[order]
    bounds = np.nonzero(np.diff(lab))[0] + 1
    for part in np.split(np.arange(len(lab)), bounds):
        py, px = ys[part], xs[part]
        if py.max() - py.min() >= limit or px.max() - px.min() >= limit:
            continue
        marks += 1
        if got[py, px].sum() * 2 <= len(part):
            lost += 1
    r["marks"] = (lost, marks)
    return r


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    ap = argparse.ArgumentParser()
    ap.add_argument("--tool", default=os.path.join(here, "..", "..", "build", "release", "tools", "quilp"))
    ap.add_argument("--pages", type=int, default=2)
    ap.add_argument("--work", default="/tmp/quilp-despeckle")
    a = ap.parse_args()
    os.makedirs(a.work, exist_ok=True)
    print("| dpi | pages | specks removed | holes filled | bumps removed | notches filled "
          "| glyph px lost | marks lost |")
    print("|---|---|---|---|---|---|---|---|")
    for dpi in (200, 300):
        total = {}
        for i in range(a.pages):
            for font in ("serif", "sans"):
                r = measure(a.tool, a.work, dpi, 100 + i, font)
                for k, (x, y) in r.items():
                    tx, ty = total.get(k, (0, 0))
                    total[k] = (tx + x, ty + y)

        def pct(k):
            x, y = total[k]
            return "%.2f%% (%d/%d)" % (100.0 * x / max(y, 1), x, y)

        lx, ly = total["lost"]
        print("| %d | %d | %s | %s | %s | %s | %.4f%% (%d/%d) | %d of %d |" % (
            dpi, 2 * a.pages, pct("specks"), pct("holes"), pct("bumps"), pct("notches"),
            100.0 * lx / max(ly, 1), lx, ly, total["marks"][0], total["marks"][1]))


if __name__ == "__main__":
    main()
