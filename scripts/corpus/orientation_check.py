#!/usr/bin/env python3
"""Orientation accuracy of one or more builds of the quilp tool on real-text pages with known truth.

make OUTDIR [--count N] [--seed S]
    writes N pages (page i turned i mod 4 clockwise quarters) at 150, 200 and 300 dpi in
    turn, fonts serif/sans/mono at 8-14 pt, one or two columns, skew up to 10 degrees,
    salt-and-pepper noise on some, 1-bit versions of some, a quarter sparse (one line in four
    kept), and a manifest OUTDIR/orientation.tsv as geometry_set.py writes it.
run OUTDIR CMD [CMD ...]
    runs `CMD orient PAGE` for every page (CMD may carry an environment, e.g.
    "env LD_LIBRARY_PATH=/tmp/old /tmp/old/quilp") and prints, per build, the pages right by
    resolution and by turn, the confident misses (confidence 30 or more, the cleaning
    pipeline's bar), the mean confidence, and the pages on which the builds disagree.

Run with Debian's /usr/bin/python3. Pages stay out of git: write them under build/ or /tmp.
"""

import argparse
import collections
import os
import random
import shlex
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import geometry_set  # noqa: E402
import textpage  # noqa: E402

DPIS = (150, 200, 300)
CONFIDENT = 30


def make(outdir, count, seed):
    os.makedirs(outdir, exist_ok=True)
    rng = random.Random(seed)
    rows = []
    for i in range(count):
        dpi = DPIS[(i // 4) % len(DPIS)]
        font = rng.choice(["serif", "sans", "mono"])
        size = rng.choice([8, 10, 12, 14])
        page = textpage.render_page(rng.randrange(1 << 30), dpi=dpi, height_in=rng.choice([5.5, 11.69]),
                                    font=font, size_pt=size, columns=rng.choice([1, 1, 2]))
        sparse = rng.random() < 0.25
        if sparse:
            for k, line in enumerate(page.lines):
                if k % 4:
                    l, t, r, b = line["box"]
                    page.grey[t:b + 1, l:r + 1] = 255
        skew = rng.uniform(-10, 10) if rng.random() < 0.5 else rng.uniform(-1, 1)
        turn = i % 4
        page = textpage.turn_page(textpage.rotate_page(page, skew), turn)
        noise = rng.choice([0.0, 0.0, 0.005, 0.02])
        grey = geometry_set.noisy(page.grey, rng, noise) if noise > 0 else page.grey
        name = "orient-%03d.bmp" % i
        textpage.save_bmp(os.path.join(outdir, name), grey < 128 if rng.random() < 0.25 else grey, dpi)
        rows.append("%s\t%d\t%d\t%s\t%d\t%.3f\t%.3f\t%s" % (name, (4 - turn) % 4, dpi, font, size, skew, noise,
                                                        "sparse" if sparse else "dense"))
    with open(os.path.join(outdir, "orientation.tsv"), "w") as f:
        f.write("\n".join(rows) + "\n")


def run(outdir, commands):
    with open(os.path.join(outdir, "orientation.tsv")) as f:
        pages = [line.rstrip("\n").split("\t") for line in f if line.strip()]
    found = []  # per build: {file: (turns, confidence)}
    for cmd in commands:
        got = {}
        for p in pages:
            out = subprocess.run(shlex.split(cmd) + ["orient", os.path.join(outdir, p[0])],
                                 capture_output=True, text=True).stdout.split()
            got[p[0]] = (int(out[1]), int(out[3])) if len(out) >= 4 else (None, 0)
        found.append(got)
    heads = ["build %d" % (i + 1) for i in range(len(commands))]
    print("| pages | count | " + " | ".join(heads) + " |")
    print("|---|---|" + "---|" * len(commands))
    groups = collections.OrderedDict()
    for p in pages:
        groups.setdefault("%s dpi" % p[2], []).append(p)
    for turn in range(4):
        groups["%d quarter(s) to upright" % turn] = [p for p in pages if int(p[1]) == turn]
    groups["sparse"] = [p for p in pages if p[7] == "sparse"]
    groups["skew over 5 degrees"] = [p for p in pages if abs(float(p[5])) > 5]
    groups["all"] = pages
    for name, group in groups.items():
        cells = ["%d" % sum(got[p[0]][0] == int(p[1]) for p in group) for got in found]
        print("| %s | %d | %s |" % (name, len(group), " | ".join(cells)))
    cells = ["%d" % sum(got[p[0]][0] != int(p[1]) and got[p[0]][1] >= CONFIDENT for p in pages) for got in found]
    print("| confident misses (confidence >= %d) | %d | %s |" % (CONFIDENT, len(pages), " | ".join(cells)))
    cells = ["%.1f" % (sum(got[p[0]][1] for p in pages) / max(1, len(pages))) for got in found]
    print("| mean confidence | %d | %s |" % (len(pages), " | ".join(cells)))
    differ = [p for p in pages if len({got[p[0]] for got in found}) > 1]
    print("\nbuilds: " + "; ".join("%s = %s" % (h, c) for h, c in zip(heads, commands)))
    print("pages where the builds differ (turns, confidence): %d" % len(differ))
    for p in differ:
        print("  %s truth %s dpi %s skew %s %s: %s" % (p[0], p[1], p[2], p[5], p[7],
                                                      " / ".join(str(got[p[0]]) for got in found)))


def main():
    ap = argparse.ArgumentParser()
    sub = ap.add_subparsers(dest="what", required=True)
    m = sub.add_parser("make")
    m.add_argument("outdir")
    m.add_argument("--count", type=int, default=60)
    m.add_argument("--seed", type=int, default=11)
    r = sub.add_parser("run")
    r.add_argument("outdir")
    r.add_argument("commands", nargs="+")
    a = ap.parse_args()
    if a.what == "make":
        make(a.outdir, a.count, a.seed)
    else:
        run(a.outdir, a.commands)


if __name__ == "__main__":
    main()
