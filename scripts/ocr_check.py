#!/usr/bin/env python3
"""OCR quality and throughput of `quilp clean`, next to the raw scans and unpaper.

Builds a varied set of scanned-looking pages with known text (scripts/corpus/scanpage.py:
skew up to 10 degrees, all four orientations, 200 and 300 dpi, uneven light, noise, JPEG,
coloured stamps, dark borders, punch holes), runs Tesseract on the raw pages, on unpaper's
output (defaults) and on quilp clean's output, and prints the character error rates (edit
distance over the truth's length, white space collapsed) and pages per second.

    /usr/bin/python3 scripts/ocr_check.py QUILP WORKDIR [--pages N] [--small MAX_CER]

--small runs the quick check of the test command: two small pages through quilp clean only,
failing (exit 1) when a page's error rate is above MAX_CER.
"""

import argparse
import json
import os
import random
import shutil
import subprocess
import sys
import time

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus"))
import scanpage  # noqa: E402

ENV = dict(os.environ, OMP_THREAD_LIMIT="1")


def edit_distance(a, b):
    """Levenshtein distance, one row of the table at a time in numpy."""
    if not a or not b:
        return max(len(a), len(b))
    bv = np.frombuffer(b.encode("utf-32-le"), dtype=np.uint32)
    row = np.arange(len(b) + 1, dtype=np.int32)
    idx = np.arange(len(b) + 1, dtype=np.int32)
    for i, ch in enumerate(a, 1):
        sub = row[:-1] + (bv != ord(ch))
        new = np.empty_like(row)
        new[0] = i
        new[1:] = np.minimum(row[1:] + 1, sub)
        row = np.minimum.accumulate(new - idx) + idx  # insertions along the row
    return int(row[-1])


def norm(text):
    return " ".join(text.split())


def cer(truth, seen):
    t = norm(truth)
    return edit_distance(t, norm(seen)) / max(1, len(t))


def ocr(path):
    r = subprocess.run(["tesseract", path, "stdout", "-l", "eng"], capture_output=True, text=True, env=ENV)
    return r.stdout


def recipes(count):
    """Varied pages: every feature appears, mixed the same way on every run."""
    rng = random.Random(2024)
    out = []
    for i in range(count):
        out.append(dict(
            seed=100 + i, dpi=300 if i % 3 else 200,
            skew=round(rng.uniform(-10, 10) if i % 2 else rng.uniform(-2, 2), 2),
            quarters=[0, 0, 1, 0, 2, 0, 3, 0][i % 8], light=0.35 if i % 2 == 0 else 0.0,
            noise=10.0 if i % 4 in (1, 2) else 0.0, stamp=i % 3 == 1, border=i % 4 == 3,
            holes=i % 5 == 2, font=["serif", "sans", "mono"][i % 3],
            ext=".jpg" if i % 4 == 2 else ".png"))
    return out


def build(work, count, small):
    raw = os.path.join(work, "raw")
    os.makedirs(raw, exist_ok=True)
    pages = []
    for s in (recipes(count) if not small else [
            dict(seed=7, dpi=200, skew=0.0, quarters=0, light=0.35, noise=10.0, stamp=False, border=True,
                 holes=False, font="serif", ext=".png"),
            dict(seed=8, dpi=300, skew=0.0, quarters=0, light=0.0, noise=6.0, stamp=True, border=False,
                 holes=True, font="sans", ext=".jpg")]):
        size = dict(width_in=4.5, height_in=3.5) if small else {}
        rgb, text = scanpage.scan_page(s["seed"], dpi=s["dpi"], skew=s["skew"], quarters=s["quarters"],
                                       light=s["light"], noise=s["noise"], stamp=s["stamp"],
                                       border=s["border"], holes=s["holes"], font=s["font"], **size)
        name = "page%03d" % s["seed"]
        path = os.path.join(raw, name + s["ext"])
        scanpage.save_scan(path, rgb, s["dpi"])
        pages.append(dict(s, name=name, path=path, text=text))
    return pages


def run_quilp(quilp, work, jobs, overwrite=True):
    out = os.path.join(work, "quilp")
    report = os.path.join(work, "report-j%d.json" % jobs)
    t = time.time()
    subprocess.run([quilp, "clean", os.path.join(work, "raw"), "-o", out, "--jobs", str(jobs), "--quiet",
                    "--report", report] + (["--overwrite"] if overwrite else []),
                   check=True, stdout=subprocess.DEVNULL)
    return time.time() - t, json.load(open(report))


def run_unpaper(pages, work):
    out = os.path.join(work, "unpaper")
    os.makedirs(out, exist_ok=True)
    from PIL import Image
    inputs = []
    for p in pages:  # unpaper reads PNM only: converted beforehand, outside the timing
        src = os.path.join(out, p["name"] + "-in.ppm")
        Image.open(p["path"]).convert("RGB").save(src)
        inputs.append((src, os.path.join(out, p["name"] + ".pnm")))
    t = time.time()
    for src, dst in inputs:
        if os.path.exists(dst):
            os.remove(dst)
        subprocess.run(["unpaper", "-q", "--dpi", "300", src, dst], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.time() - t, {p["name"]: d for p, (s, d) in zip(pages, inputs)}


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("quilp")
    ap.add_argument("work")
    ap.add_argument("--pages", type=int, default=16)
    ap.add_argument("--small", type=float, default=None, metavar="MAX_CER")
    args = ap.parse_args()
    if os.path.isdir(args.work):
        shutil.rmtree(args.work)
    os.makedirs(args.work)
    small = args.small is not None
    pages = build(args.work, args.pages, small)
    _, report = run_quilp(args.quilp, args.work, 1)
    outputs = {os.path.basename(r["input"]).rsplit(".", 1)[0]: r["output"] for r in report["pages"]}
    if small:
        worst = 0.0
        for p in pages:
            c = cer(p["text"], ocr(outputs[p["name"]]))
            worst = max(worst, c)
            print("%s: CER after quilp clean %.2f%%" % (p["name"], 100 * c))
        return 0 if worst <= args.small else 1

    t1, rep1 = run_quilp(args.quilp, args.work, 1)
    t2, _ = run_quilp(args.quilp, args.work, 2)
    tu, unpapered = run_unpaper(pages, args.work)
    rows = []
    for p in pages:
        rows.append((p, cer(p["text"], ocr(p["path"])),
                     cer(p["text"], ocr(unpapered[p["name"]])) if os.path.exists(unpapered[p["name"]]) else 1.0,
                     cer(p["text"], ocr(outputs[p["name"]]))))
    print("| page | dpi | skew | turns | light | noise | stamp | border | holes | file | raw CER | unpaper CER | quilp CER |")
    print("|---|---|---|---|---|---|---|---|---|---|---|---|---|")
    for p, r, u, q in rows:
        print("| %s | %d | %+.1f | %d | %s | %s | %s | %s | %s | %s | %.2f%% | %.2f%% | %.2f%% |" % (
            p["name"], p["dpi"], p["skew"], p["quarters"], p["light"] or "-", p["noise"] or "-",
            "yes" if p["stamp"] else "-", "yes" if p["border"] else "-", "yes" if p["holes"] else "-",
            p["ext"][1:], 100 * r, 100 * u, 100 * q))
    print()
    print("| output | mean CER | worst CER | pages above 3% |")
    print("|---|---|---|---|")
    for k, label in ((1, "raw scan"), (2, "unpaper (defaults)"), (3, "quilp clean")):
        v = [row[k] for row in rows]
        print("| %s | %.2f%% | %.2f%% | %d of %d |" % (label, 100 * np.mean(v), 100 * max(v),
                                                      sum(x > 0.03 for x in v), len(v)))
    n = len(pages)
    ms = [r["cpuMilliseconds"] for r in rep1["pages"] if r["status"] == "cleaned"]
    a4 = [r["cpuMilliseconds"] for r, p in zip(sorted(rep1["pages"], key=lambda r: r["input"]),
                                               sorted(pages, key=lambda p: p["path"])) if p["dpi"] == 300]
    print()
    print("| run | pages/s | vs unpaper |")
    print("|---|---|---|")
    print("| unpaper, one process in turn | %.2f | 1.0x |" % (n / tu))
    print("| quilp clean --jobs 1 | %.2f | %.1fx |" % (n / t1, tu / t1))
    print("| quilp clean --jobs 2 | %.2f | %.1fx |" % (n / t2, tu / t2))
    print()
    print("pipeline without file input and output (processor time of one thread): "
          "mean %.0f ms per page (all), %.0f ms per A4 300-dpi page"
          % (np.mean(ms), np.mean(a4) if a4 else float("nan")))
    return 0


if __name__ == "__main__":
    sys.exit(main())
