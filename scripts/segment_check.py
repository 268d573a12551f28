#!/usr/bin/env python3
"""Page segmentation quality on generated layout pages: quilp segment, Tesseract, Leptonica.

Builds the layout corpus (scripts/corpus/layout_page.py: one to three columns, headings,
captions, page numbers, photos, halftones, tables with and without rulings, rules, skew up
to 1 degree, mostly 300 dpi with some 150, 200 and 400), runs each system on it, scores
its zones against the truth and prints Markdown tables.

Systems (each writes zone lists: level 0 blocks, 1 lines, 2 words, with kind and order):
  ours (1bit|grey|rgb)  `quilp segment PAGE --hier --json OUT` on the 1-bit and grey pages,
                        and the 24-bit ones (coloured photos) with --colour
  tesseract             TessBaseAPI::AnalyseLayout on the grey page (bench program
                        quilp_layout_tesseract): blocks with types, lines, words
  leptonica             pixGetRegionsBinary on the 1-bit page (quilp_layout_leptonica): text
                        blocks, halftone regions, lines from its text-line mask; no order
  truth (--self-test)   the truth itself as zones; must score 100% on every measure

Measures (a truth text line is a line of a truth text block: paragraph, heading, caption or
page number; table cells are not text lines):
  in-1-block   % of truth text lines lying in exactly one system text block, where a line
               lies in a block when at least 90% of its box's area is inside the block.
  spanning     system blocks (any kind) that hold text lines of two different columns, a
               line being held when at least half of its area is inside; the count over
               all pages and the % of pages with any. Lines of spanning elements (title,
               spanning captions, page numbers) belong to no column.
  pic IoU      per truth picture, the best IoU with a system block of kind picture: the mean,
               and the % of pictures at 0.9 or more.
  tables       % of truth tables with a system block of kind table at IoU 0.5 or more.
  order        % of pages read in the right order: each truth text block is mapped to the
               system text block holding most of its lines; for any two truth blocks mapped
               to different system blocks, the system's order must agree with the truth's.
               Blocks the system missed are left out (in-1-block counts them). order*
               is the same without the page numbers.
  line IoU     % of truth text lines with a system line (level 1) at IoU 0.8 or more.
  word IoU     % of truth words (in those lines) with a system word (level 2) at IoU 0.8.
  s/page       wall time per page of the whole run (process start and page reading
               included), and for the peers the time of their analysis call alone.

    /usr/bin/python3 scripts/segment_check.py [--pages N] [--seed S] [--quilp PATH]
        [--only ours|tesseract|leptonica] [--out DIR] [--corpus DIR] [--colour]
        [--self-test] [--detail] [--draw] [--min-in-block PCT]

--min-in-block makes the run fail (exit 1) when ours scores below PCT on in-1-block; the
test command uses it on two pages. Exit 77 when quilp has no segment command (skipped).
The machine's other work shows in the times: compare systems from the same run.
"""

import argparse
import glob
import hashlib
import json
import os
import shutil
import subprocess
import sys
import time

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
SKIP = 77
LIES_IN, HELD, PIC_IOU, TABLE_IOU, BOX_IOU = 0.9, 0.5, 0.9, 0.5, 0.8
ENV = dict(os.environ, OMP_THREAD_LIMIT="1")


# --- the corpus -----------------------------------------------------------------------------

def generator_stamp():
    """A short hash of the page generator's sources: a corpus made by older code is remade."""
    digest = hashlib.sha1()
    for name in ("layout_page.py", "textpage.py"):
        with open(os.path.join(HERE, "corpus", name), "rb") as f:
            digest.update(f.read())
    return digest.hexdigest()[:8]


def build_corpus(out, pages, seed, colour):
    """The pages and their truth under OUT, made once per (pages, seed, colour, generator)
    and reused; older corpora of the same set are removed."""
    name = "corpus-s%d-n%d%s" % (seed, pages, "-rgb" if colour else "")
    folder = os.path.join(out, "%s-%s" % (name, generator_stamp()))
    index_path = os.path.join(folder, "index.json")
    if not os.path.isfile(index_path):
        for old in glob.glob(os.path.join(out, name + "-*")):
            shutil.rmtree(old, ignore_errors=True)
        subprocess.run([sys.executable, os.path.join(HERE, "corpus", "layout_page.py"), folder,
                        "--count", str(pages), "--seed", str(seed)] + ["--colour"] * colour,
                       check=True)
    with open(index_path) as f:
        return folder, json.load(f)


# --- running the systems --------------------------------------------------------------------

def find_program(name, given=None):
    if given:
        return given if os.path.isfile(given) else None
    for folder in ("build/release/tools", "build/release/bench"):
        path = os.path.join(ROOT, folder, name)
        if os.path.isfile(path):
            return path
    return shutil.which(name)


def has_segment(quilp):
    r = subprocess.run([quilp, "help"], capture_output=True, text=True)
    return any(line.split()[:1] == ["segment"] for line in r.stdout.splitlines())


def run_ours(quilp, corpus, index, out, which):
    """quilp segment on each page; returns {stem: zones file} and the wall time."""
    os.makedirs(out, exist_ok=True)
    files, start = {}, time.perf_counter()
    for page in index:
        dest = os.path.join(out, page["stem"] + ".json")
        r = subprocess.run([quilp, "segment", os.path.join(corpus, page["files"][which]),
                            "--hier", "--json", dest], capture_output=True, text=True)
        if r.returncode != 0:
            print("quilp segment failed on %s: %s" % (page["stem"], r.stderr.strip()),
                  file=sys.stderr)
            continue
        files[page["stem"]] = dest
    return files, time.perf_counter() - start


def run_peer(program, corpus, index, out, which):
    """A bench peer program over all pages in one process."""
    os.makedirs(out, exist_ok=True)
    paths = [os.path.join(corpus, page["files"][which]) for page in index]
    start = time.perf_counter()
    subprocess.run([program, out] + paths, check=False, env=ENV)
    wall = time.perf_counter() - start
    files = {}
    for page in index:
        dest = os.path.join(out, os.path.splitext(page["files"][which])[0] + ".json")
        if os.path.isfile(dest):
            files[page["stem"]] = dest
    return files, wall


def truth_as_zones(truth):
    """The truth in the zone format: blocks (text in reading order first), lines, words."""
    blocks = truth["blocks"]
    ranked = list(truth["order"]) + [i for i, b in enumerate(blocks) if b["kind"] != "text"]
    zones = [{"rect": blocks[i]["rect"], "kind": blocks[i]["kind"], "parent": -1, "level": 0,
              "order": k} for k, i in enumerate(ranked)]
    lines, words = [], []
    for z, i in enumerate(ranked):
        for k, line in enumerate(blocks[i]["lines"]):
            parent = len(ranked) + len(lines)
            lines.append({"rect": line["rect"], "kind": "text", "parent": z, "level": 1,
                          "order": k})
            words += [{"rect": w, "kind": "text", "parent": parent, "level": 2, "order": j}
                      for j, w in enumerate(line["words"])]
    return {"zones": zones + lines + words}


def draw_zones(page_path, truth, zones, dest, scale=0.4):
    """The page with the truth's blocks in grey and the system's blocks coloured by kind,
    numbered in its reading order; lines thin. For looking at a failure."""
    from PIL import Image, ImageDraw
    img = Image.open(page_path).convert("RGB")
    img = img.resize((int(img.width * scale), int(img.height * scale)), Image.BILINEAR)
    pen = ImageDraw.Draw(img)
    at = lambda r: [int(v * scale) for v in r]  # noqa: E731
    colours = {"text": (220, 0, 0), "picture": (0, 150, 0), "table": (0, 0, 230),
               "hrule": (200, 0, 200), "vrule": (200, 0, 200), "graphics": (0, 170, 170)}
    for b in truth["blocks"]:
        pen.rectangle(at(b["rect"]), outline=(170, 170, 170), width=5)
    for z in zones:
        colour = colours.get(z["kind"], (240, 140, 0))
        if z["level"] == 0:
            pen.rectangle(at(z["rect"]), outline=colour, width=2)
            pen.text((at(z["rect"])[0] + 3, at(z["rect"])[1] + 2), str(z["order"]), fill=colour)
        elif z["level"] == 1:
            pen.rectangle(at(z["rect"]), outline=(255, 170, 60), width=1)
    img.save(dest)


# --- scoring --------------------------------------------------------------------------------

def as_array(rects):
    return np.array(rects, dtype=np.float64).reshape(-1, 4)


def overlap(a, b):
    """Areas of intersection of every box of a with every box of b (inclusive boxes)."""
    w = np.minimum(a[:, None, 2], b[None, :, 2]) - np.maximum(a[:, None, 0], b[None, :, 0]) + 1
    h = np.minimum(a[:, None, 3], b[None, :, 3]) - np.maximum(a[:, None, 1], b[None, :, 1]) + 1
    return np.clip(w, 0, None) * np.clip(h, 0, None)


def area(a):
    return (a[:, 2] - a[:, 0] + 1) * (a[:, 3] - a[:, 1] + 1)


def iou(a, b):
    inter = overlap(a, b)
    return inter / (area(a)[:, None] + area(b)[None, :] - inter)


def best_iou(truth_rects, zone_rects):
    t, z = as_array(truth_rects), as_array(zone_rects)
    if len(t) == 0:
        return np.zeros(0)
    if len(z) == 0:
        return np.zeros(len(t))
    return iou(t, z).max(axis=1)


def score_page(truth, zones):
    """The raw counts of one page for every measure."""
    blocks = [z for z in zones if z["level"] == 0]
    text_blocks = [z for z in blocks if z["kind"] == "text"]
    tlines, tcols, tblock = [], [], []
    for i, b in enumerate(truth["blocks"]):
        if b["kind"] == "text":
            for line in b["lines"]:
                tlines.append(line)
                tcols.append(b["column"])
                tblock.append(i)
    lines = as_array([ln["rect"] for ln in tlines])
    frac = overlap(lines, as_array([z["rect"] for z in text_blocks])) / area(lines)[:, None] \
        if text_blocks else np.zeros((len(tlines), 0))
    s = {"lines": len(tlines), "in_one": int(((frac >= LIES_IN).sum(axis=1) == 1).sum())}

    # Blocks holding lines of two columns.
    held = overlap(lines, as_array([z["rect"] for z in blocks])) / area(lines)[:, None] \
        if blocks else np.zeros((len(tlines), 0))
    cols = np.array(tcols)
    spanning = 0
    for k in range(held.shape[1]):
        inside = set(cols[(held[:, k] >= HELD) & (cols >= 0)].tolist())
        spanning += len(inside) >= 2
    s["spanning"] = spanning

    pics = [b["rect"] for b in truth["blocks"] if b["kind"] == "picture"]
    s["pic_iou"] = best_iou(pics, [z["rect"] for z in blocks if z["kind"] == "picture"]).tolist()
    tables = [b["rect"] for b in truth["blocks"] if b["kind"] == "table"]
    s["tables"] = len(tables)
    s["tables_found"] = int((best_iou(tables, [z["rect"] for z in blocks
                                               if z["kind"] == "table"]) >= TABLE_IOU).sum())

    # Reading order: each truth text block goes to the system text block with most of its lines.
    mapped = {}
    if text_blocks:
        lies = frac >= HELD
        for i in sorted(set(tblock)):
            rows = [n for n, b in enumerate(tblock) if b == i]
            votes = lies[rows].sum(axis=0) + frac[rows].sum(axis=0) * 1e-3
            if lies[rows].any():
                mapped[i] = int(np.argmax(votes))
    rank = {i: k for k, i in enumerate(truth["order"])}
    seq = sorted(mapped, key=lambda i: rank[i])

    def in_order(blocks_):
        return all(text_blocks[mapped[a]]["order"] < text_blocks[mapped[b]]["order"]
                   for n, a in enumerate(blocks_) for b in blocks_[n + 1:]
                   if mapped[a] != mapped[b])
    s["order_right"] = in_order(seq)
    s["order_body"] = in_order([i for i in seq if truth["blocks"][i]["role"] != "page-number"])

    sys_lines = [z["rect"] for z in zones if z["level"] == 1]
    sys_words = [z["rect"] for z in zones if z["level"] == 2]
    s["has_lines"], s["has_words"] = bool(sys_lines), bool(sys_words)
    s["line_ok"] = int((best_iou([ln["rect"] for ln in tlines], sys_lines) >= BOX_IOU).sum())
    twords = [w for ln in tlines for w in ln["words"]]
    s["words"] = len(twords)
    s["word_ok"] = int((best_iou(twords, sys_words) >= BOX_IOU).sum()) if sys_words else 0
    return s


def summarise(pages):
    """One table row from the per-page counts; None where the system gives no such boxes."""
    n = len(pages)
    if n == 0:
        return None
    total = lambda key: sum(p[key] for p in pages)  # noqa: E731
    pic = [v for p in pages for v in p["pic_iou"]]
    pct = lambda a, b: 100.0 * a / b if b else float("nan")  # noqa: E731
    row = {"pages": n,
           "in_one": pct(total("in_one"), total("lines")),
           "spanning": total("spanning"),
           "spanning_pages": pct(sum(p["spanning"] > 0 for p in pages), n),
           "pic_mean": float(np.mean(pic)) if pic else float("nan"),
           "pic_ok": pct(sum(v >= PIC_IOU for v in pic), len(pic)),
           "tables": pct(total("tables_found"), total("tables")),
           "order": pct(sum(p["order_right"] for p in pages), n),
           "order_body": pct(sum(p["order_body"] for p in pages), n),
           "line_iou": pct(total("line_ok"), total("lines"))
           if any(p["has_lines"] for p in pages) else None,
           "word_iou": pct(total("word_ok"), total("words"))
           if any(p["has_words"] for p in pages) else None}
    return row


def fmt(v, digits=1):
    if v is None:
        return "—"
    if isinstance(v, float) and v != v:
        return "n/a"
    return "%.*f" % (digits, v) if isinstance(v, float) else str(v)


COLUMNS = ["system", "pages", "in-1-block %", "spanning (pages %)", "pic IoU mean",
           "pic IoU≥0.9 %", "tables %", "order %", "order* %", "line IoU≥0.8 %",
           "word IoU≥0.8 %", "s/page wall", "s/page analysis"]


def table(rows):
    out = ["| " + " | ".join(COLUMNS) + " |", "|" + "---|" * len(COLUMNS)]
    for name, row, wall, inner in rows:
        cells = [name, "0"] + [""] * (len(COLUMNS) - 2)
        if row:
            cells = [name, str(row["pages"]), fmt(row["in_one"]),
                     "%d (%s)" % (row["spanning"], fmt(row["spanning_pages"], 0)),
                     fmt(row["pic_mean"], 3), fmt(row["pic_ok"]), fmt(row["tables"]),
                     fmt(row["order"]), fmt(row["order_body"]), fmt(row["line_iou"]),
                     fmt(row["word_iou"]), fmt(wall, 3), fmt(inner, 3)]
        out.append("| " + " | ".join(cells) + " |")
    return "\n".join(out)


# --- proving the measures -------------------------------------------------------------------

def _moved(rect, dx, dy):
    return [rect[0] + dx, rect[1] + dy, rect[2] + dx, rect[3] + dy]


def _page_wide(truth, zones):
    return zones + [{"rect": [0, 0, truth["width"] - 1, truth["height"] - 1], "kind": "text",
                     "parent": -1, "level": 0, "order": len(zones)}]


def _backwards(truth, zones):
    return [dict(z, order=-z["order"]) if z["level"] == 0 else z for z in zones]


def _lines_down(truth, zones):
    return [dict(z, rect=_moved(z["rect"], 0, (z["rect"][3] - z["rect"][1] + 1) // 3))
            if z["level"] == 1 else z for z in zones]


def _words_right(truth, zones):
    return [dict(z, rect=_moved(z["rect"], (z["rect"][2] - z["rect"][0] + 1) // 2, 0))
            if z["level"] == 2 else z for z in zones]


def _kind_to_text(kind):
    return lambda truth, zones: [dict(z, kind="text") if z["kind"] == kind else z for z in zones]


# Each fault made in the truth's zones must worsen its measure (spanning: above 0, the others
# below 100%); the measures are proved by catching these, not only by scoring the truth 100%.
CONTROLS = [("a page-wide text block added", _page_wide, ["in_one", "spanning"]),
            ("blocks read backwards", _backwards, ["order", "order_body"]),
            ("lines moved down a third of their height", _lines_down, ["line_iou"]),
            ("words moved right half their width", _words_right, ["word_iou"]),
            ("pictures called text", _kind_to_text("picture"), ["pic_ok"]),
            ("tables called text", _kind_to_text("table"), ["tables"])]


def prove_measures(truths):
    """Scores the truth (every measure 100%) and the faulty controls; returns the failures."""
    failures = []
    zones = {stem: truth_as_zones(t)["zones"] for stem, t in truths.items()}
    row = summarise([score_page(truths[s], z) for s, z in zones.items()])
    for key in ("in_one", "pic_ok", "tables", "order", "order_body", "line_iou", "word_iou"):
        if not row[key] == 100.0:
            failures.append("the truth scores %s on %s" % (fmt(row[key]), key))
    if row["spanning"]:
        failures.append("the truth has blocks spanning two columns")
    for name, fault, keys in CONTROLS:
        bad = summarise([score_page(truths[s], fault(truths[s], z)) for s, z in zones.items()])
        for key in keys:
            caught = bad[key] > 0 if key == "spanning" else bad[key] < 100.0
            print("control: %-42s %-10s %s" % (name, key, "caught" if caught else "MISSED"))
            if not caught:
                failures.append("%s not caught by %s" % (name, key))
    return failures


GROUPS = [("1 column", lambda t: t["columns"] == 1), ("2 columns", lambda t: t["columns"] == 2),
          ("3 columns", lambda t: t["columns"] == 3), ("skewed", lambda t: t["skew_deg"] != 0),
          ("not skewed", lambda t: t["skew_deg"] == 0), ("300 dpi", lambda t: t["dpi"] == 300),
          ("other dpi", lambda t: t["dpi"] != 300)]


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--pages", type=int, default=20)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--quilp", help="the quilp tool (default: the release build's, or PATH)")
    ap.add_argument("--only", choices=["ours", "tesseract", "leptonica"])
    ap.add_argument("--out", default=os.path.join(ROOT, "build", "segment_check"))
    ap.add_argument("--corpus", help="a folder made by layout_page.py, used as it is")
    ap.add_argument("--colour", action="store_true", help="24-bit pages too, for ours")
    ap.add_argument("--self-test", action="store_true", help="score the truth itself")
    ap.add_argument("--detail", action="store_true", help="tables by page kind too")
    ap.add_argument("--draw", action="store_true",
                    help="draw each system's zones over its pages (DIR/SYSTEM/draw)")
    ap.add_argument("--min-in-block", type=float, help="fail when ours is below this %%")
    args = ap.parse_args()

    quilp = None
    if not args.self_test and args.only in (None, "ours"):
        quilp = find_program("quilp", args.quilp)
        if not quilp or not has_segment(quilp):
            print("no 'quilp segment' (%s): ours not measured" % (quilp or "no quilp found"),
                  file=sys.stderr)
            if args.only == "ours":
                return SKIP
            quilp = None
    if args.corpus:
        corpus = args.corpus
        with open(os.path.join(corpus, "index.json")) as f:
            index = json.load(f)
    else:
        corpus, index = build_corpus(args.out, args.pages, args.seed, args.colour)
    truths = {}
    for page in index:
        with open(os.path.join(corpus, page["truth"])) as f:
            truths[page["stem"]] = json.load(f)

    runs = []      # (name, {stem: zones file}, wall seconds, analysis seconds or None)
    if args.self_test:
        folder = os.path.join(args.out, "truth-zones")
        os.makedirs(folder, exist_ok=True)
        files = {}
        for stem, truth in truths.items():
            files[stem] = os.path.join(folder, stem + ".json")
            with open(files[stem], "w") as f:
                json.dump(truth_as_zones(truth), f)
        runs.append(("truth (self-test)", files, None, None))
    if quilp:
        for which in [w for w in ("1bit", "grey", "rgb") if w in index[0]["files"]]:
            files, wall = run_ours(quilp, corpus, index,
                                   os.path.join(args.out, "ours-" + which), which)
            runs.append(("ours (%s)" % which, files, wall, None))
    peers = [("tesseract", "quilp_layout_tesseract", "grey"),
             ("leptonica", "quilp_layout_leptonica", "1bit")]
    for name, program, which in peers:
        if args.self_test or args.only not in (None, name):
            continue
        path = find_program(program)
        if not path:
            print("no %s (build the bench targets): %s not measured" % (program, name),
                  file=sys.stderr)
            continue
        files, wall = run_peer(path, corpus, index, os.path.join(args.out, name), which)
        inner = 0.0
        for dest in files.values():
            with open(dest) as f:
                inner += json.load(f).get("seconds", 0.0)
        runs.append(("%s (%s)" % (name, which), files, wall, inner))

    rows, details, results = [], {}, {}
    for name, files, wall, inner in runs:
        scores = {}
        for stem, path in files.items():
            with open(path) as f:
                zones = json.load(f)["zones"]
            scores[stem] = score_page(truths[stem], zones)
            if args.draw:
                folder = os.path.join(os.path.dirname(path), "draw")
                os.makedirs(folder, exist_ok=True)
                draw_zones(os.path.join(corpus, stem + ".bmp"), truths[stem], zones,
                           os.path.join(folder, stem + ".png"))
        missing = len(index) - len(scores)
        if missing:
            print("%s: no zones for %d pages (scored as failures)" % (name, missing),
                  file=sys.stderr)
            for page in index:
                if page["stem"] not in scores:
                    scores[page["stem"]] = score_page(truths[page["stem"]], [])
        results[name] = scores
        per = lambda t: None if t is None else t / len(index)  # noqa: E731
        rows.append((name, summarise(list(scores.values())), per(wall), per(inner)))
        details[name] = [(group, summarise([scores[s] for s, t in truths.items() if test(t)]),
                          None, None) for group, test in GROUPS]
        if name.startswith("ours"):   # page by page, for tuning
            details[name] += [("%s (%d col, %d dpi, %+.2f°)" % (
                s, truths[s]["columns"], truths[s]["dpi"], truths[s]["skew_deg"]),
                summarise([scores[s]]), None, None) for s in sorted(scores)]
    with open(os.path.join(args.out, "scores.json"), "w") as f:
        json.dump(results, f, indent=1)

    kinds = {}
    for truth in truths.values():
        for b in truth["blocks"]:
            kinds[b["kind"]] = kinds.get(b["kind"], 0) + 1
    print("Layout corpus: %d pages (seed %d), %d text lines, %s\n" % (
        len(index), args.seed,
        sum(len(b["lines"]) for t in truths.values() for b in t["blocks"] if b["kind"] == "text"),
        ", ".join("%d %s" % (v, k) for k, v in sorted(kinds.items()))))
    print(table(rows))
    if args.detail:
        for name, groups in details.items():
            print("\n%s by page kind%s:\n" % (name, " and page" * name.startswith("ours")))
            print(table([g for g in groups if g[1] is not None]))

    if args.self_test:
        failures = prove_measures(truths)
        for failure in failures:
            print("self-test: " + failure, file=sys.stderr)
        if failures:
            return 1
    if args.min_in_block is not None:
        ours = [row for name, row, _, _ in rows if name.startswith("ours") and row]
        low = [row["in_one"] for row in ours if row["in_one"] < args.min_in_block]
        if low:
            print("text lines in one block: %.1f%% is below %.1f%%" % (min(low), args.min_in_block),
                  file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
