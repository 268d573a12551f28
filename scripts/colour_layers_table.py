#!/usr/bin/env python3
"""F-measure table of ink-layer recovery on made colour pages with known layers.

For each seed, scripts/corpus/colour_layers.py renders a page (black text, red stamp, blue
signature, yellow highlighter on a tinted, noisy sheet) with its truth masks; the quilp tool
then
  - separates it (quilp separate --colours 4): each truth layer is scored against the mask
    of the layer whose ink colour is nearest its own;
  - matches each layer's ink colour (quilp match-colour) with the tolerance given below.
Pixels where two of text, stamp and signature overlap are left out. F = 2PR / (P + R), in %.

Usage (Debian's python3): scripts/colour_layers_table.py QUILP_TOOL [--seeds 1,2,3] [--work DIR]
"""

import argparse
import os
import subprocess
import sys

import numpy as np
from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "corpus"))
import colour_layers  # noqa: E402
import textpage  # noqa: E402

# match-colour settings per layer: Delta E 2000 tolerance, lightness ignored or not.
MATCH = {"text": (35.0, False), "stamp": (15.0, True), "signature": (15.0, True),
         "highlighter": (12.0, True)}


def read_mask(path):
    return np.asarray(Image.open(path).convert("L")) < 128


def f_measure(found, truth, keep):
    f, t = found & keep, truth & keep
    tp = np.count_nonzero(f & t)
    p = tp / max(1, np.count_nonzero(f))
    r = tp / max(1, np.count_nonzero(t))
    return 100.0 * (2 * p * r / (p + r) if p + r > 0 else 0.0), 100.0 * p, 100.0 * r


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("tool")
    ap.add_argument("--seeds", default="1,2,3")
    ap.add_argument("--work", default="/tmp/quilp-colour-layers")
    args = ap.parse_args()
    rows = []
    for seed in [int(s) for s in args.seeds.split(",")]:
        work = os.path.join(args.work, "seed-%d" % seed)
        os.makedirs(work, exist_ok=True)
        rgb, truth, overlap = colour_layers.render_layers(seed)
        page = os.path.join(work, "page.bmp")
        textpage.save_bmp(page, rgb)
        keep = ~overlap
        out = subprocess.run([args.tool, "separate", page, work, "--colours", "4"],
                             check=True, capture_output=True, text=True).stdout
        layers = []
        for line in out.splitlines():  # "layer N: ink RRGGBB, ..."
            if line.startswith("layer "):
                hexed = line.split("ink ")[1][:6]
                ink = tuple(int(hexed[i:i + 2], 16) for i in (0, 2, 4))
                layers.append((ink, read_mask(os.path.join(work, "layer-%s.bmp" % line.split()[1][:-1]))))
        for name, mask in truth.items():
            want = np.array(colour_layers.INKS[name], float)
            ink, found = min(layers, key=lambda l: np.sum((np.array(l[0], float) - want) ** 2))
            fs = f_measure(found, mask, keep)
            tol, ignore = MATCH[name]
            hexed = "%02X%02X%02X" % colour_layers.INKS[name]
            mpath = os.path.join(work, "match-%s.bmp" % name)
            cmd = [args.tool, "match-colour", page, mpath, "--colour", hexed, "--tolerance", str(tol)]
            if ignore:
                cmd.append("--ignore-lightness")
            subprocess.run(cmd, check=True, capture_output=True)
            fm = f_measure(read_mask(mpath), mask, keep)
            rows.append((seed, name, "%02X%02X%02X" % ink, fs, fm, tol, ignore))
    print("| seed | layer | separated ink | separate F (P / R) | match-colour F (P / R) | tolerance |")
    print("|---|---|---|---|---|---|")
    for seed, name, ink, fs, fm, tol, ignore in rows:
        print("| %d | %s | %s | %.1f (%.1f / %.1f) | %.1f (%.1f / %.1f) | %.0f%s |" % (
            seed, name, ink, fs[0], fs[1], fs[2], fm[0], fm[1], fm[2], tol,
            ", no lightness" if ignore else ""))


if __name__ == "__main__":
    main()
