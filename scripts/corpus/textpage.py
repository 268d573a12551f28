#!/usr/bin/env python3
"""Pages of real text with their truth, for quality checks and tests.

Renders running English-like text with Debian's fonts (one to three columns, paragraphs,
punctuation, digits) and keeps what a checker needs to know exactly:
  - page.grey   H x W uint8, paper 255, ink 0, anti-aliased glyph edges
  - page.ink    H x W bool, True where the clean rendering is ink (grey < 128)
  - page.lines  one dict per text line: box (l, t, r, b inclusive), text, words (boxes), column
  - page.text   the lines in reading order, joined by newlines

Geometry helpers move the truth with the pixels: rotate_page (degrees, positive = lines
descend to the right) and turn_page (clockwise quarter turns). save_bmp writes 1-, 8- and
24-bit BMP files, bottom-up, with the resolution in the header.

Run with Debian's /usr/bin/python3 (python3-pil, python3-numpy). A 300-dpi A4 page takes
about a tenth of a second.

As a program: textpage.py OUTDIR [--count N] [--seed S] [--dpi D] [--font F] [--size PT]
[--columns C] writes page-NNN.bmp (grey), page-NNN-ink.bmp (1-bit truth), page-NNN.txt and
page-NNN.json (line and word boxes).
"""

import argparse
import json
import math
import os
import random
import struct

import numpy as np
from PIL import Image, ImageDraw, ImageFont

FONT_DIRS = ["/usr/share/fonts/truetype/liberation2", "/usr/share/fonts/truetype/dejavu",
             "/usr/share/fonts/truetype/freefont"]
FONTS = {
    "serif": ["LiberationSerif-Regular.ttf", "DejaVuSerif.ttf", "FreeSerif.ttf"],
    "sans": ["LiberationSans-Regular.ttf", "DejaVuSans.ttf", "FreeSans.ttf"],
    "mono": ["LiberationMono-Regular.ttf", "DejaVuSansMono.ttf", "FreeMono.ttf"],
    "serif-bold": ["LiberationSerif-Bold.ttf", "DejaVuSerif-Bold.ttf", "FreeSerifBold.ttf"],
    "sans-bold": ["LiberationSans-Bold.ttf", "DejaVuSans-Bold.ttf", "FreeSansBold.ttf"],
}

WORDS = """the of and to in is that for it as was with be by on not he this are or his from
at which but have an they you were her she there been one all we their has would when if
so no will more about out up them some could what into than other time only two may first
then do any like these its over such our after most made also did many before must through
years where much your way well down should because each just those people how too little
state good very make world still own see men work long get here between both life being
under never day same another know while last might great old year off come since against
go came right used take three states himself few house use during without again place
american around however home small found thought went say part once general high upon
school every page letter paper order account report number office record figure table
section chapter question answer public market company water light point rate line value
price service system control analysis result method between surface window border margin
morning evening quickly slowly strong signal measure amount journal review printed copy""".split()


def find_font(name):
    """A font path: one of the FONTS keys, or a path as it is."""
    if os.path.isfile(name):
        return name
    for file in FONTS.get(name, [name]):
        for folder in FONT_DIRS:
            path = os.path.join(folder, file)
            if os.path.isfile(path):
                return path
    raise FileNotFoundError("no font for " + name)


def sentence(rng):
    """One sentence: capitalised, commas now and then, sometimes a number, a full stop."""
    n = rng.randint(5, 16)
    words = []
    for i in range(n):
        w = rng.choice(WORDS)
        if rng.random() < 0.04:
            w = str(rng.randint(2, 1999))
        words.append(w)
        if 0 < i < n - 1 and rng.random() < 0.08:
            words[-1] += ","
    words[0] = words[0].capitalize()
    if rng.random() < 0.1:
        k = rng.randrange(1, n)
        words[k] = words[k].capitalize()
    return words[:-1] + [words[-1] + rng.choice(".....?;:")]


class Page:
    def __init__(self, grey, ink, lines, dpi):
        self.grey, self.ink, self.lines, self.dpi = grey, ink, lines, dpi

    @property
    def text(self):
        return "\n".join(line["text"] for line in self.lines)


def render_page(seed, dpi=300, width_in=8.27, height_in=11.69, font="serif", size_pt=10,
                columns=1, margin_in=0.9, heading=True):
    """Fills the page's columns with paragraphs; returns a Page with its truth."""
    rng = random.Random(seed)
    w, h = int(round(width_in * dpi)), int(round(height_in * dpi))
    img = Image.new("L", (w, h), 255)
    draw = ImageDraw.Draw(img)
    px = size_pt * dpi / 72.0
    body = ImageFont.truetype(find_font(font), max(1, int(round(px))))
    bold = ImageFont.truetype(find_font("sans-bold" if "sans" in str(font) else "serif-bold"),
                              max(1, int(round(px * 1.5))))
    margin = int(round(margin_in * dpi))
    gutter = int(round(0.3 * dpi))
    col_w = (w - 2 * margin - (columns - 1) * gutter) // columns
    leading = int(round(px * 1.3))
    space = body.getlength(" ")
    lines = []

    def put_line(words, font_, x0, y, column):
        x, boxes = x0, []
        for word in words:
            draw.text((x, y), word, font=font_, fill=0)
            l, t, r, b = draw.textbbox((x, y), word, font=font_)
            boxes.append((int(l), int(t), int(r) - 1, int(b) - 1))
            x += font_.getlength(word) + font_.getlength(" ")
        box = (min(b[0] for b in boxes), min(b[1] for b in boxes),
               max(b[2] for b in boxes), max(b[3] for b in boxes))
        lines.append({"box": box, "text": " ".join(words), "words": boxes, "column": column})

    top = margin
    if heading:
        words = [wd.capitalize() for wd in rng.sample(WORDS, rng.randint(2, 5))]
        put_line(words, bold, margin, top, 0)
        top += int(round(px * 1.5 * 1.6))
    for column in range(columns):
        x0 = margin + column * (col_w + gutter)
        y = top
        while y + leading < h - margin:
            para = [wd for _ in range(rng.randint(2, 6)) for wd in sentence(rng)]
            line, width = [], 0.0
            for word in para:
                wl = body.getlength(word)
                if line and width + space + wl > col_w:
                    put_line(line, body, x0, y, column)
                    y += leading
                    line, width = [], 0.0
                    if y + leading >= h - margin:
                        break
                width += (space if line else 0) + wl
                line.append(word)
            else:
                if line:
                    put_line(line, body, x0, y, column)
                    y += leading
            y += leading // 2
    grey = np.asarray(img, dtype=np.uint8).copy()
    return Page(grey, grey < 128, lines, dpi)


def _rotate_box(box, cx, cy, c, s):
    l, t, r, b = box
    xs, ys = [], []
    for x, y in ((l, t), (r, t), (l, b), (r, b)):
        xs.append(cx + (x - cx) * c - (y - cy) * s)
        ys.append(cy + (x - cx) * s + (y - cy) * c)
    return (int(math.floor(min(xs))), int(math.floor(min(ys))),
            int(math.ceil(max(xs))), int(math.ceil(max(ys))))


def rotate_page(page, degrees):
    """The page turned about its centre, same size; positive degrees turn it clockwise, so
    lines descend to the right. Uncovered corners are paper."""
    grey = Image.fromarray(page.grey).rotate(-degrees, resample=Image.BICUBIC, fillcolor=255)
    ink = Image.fromarray(page.ink.astype(np.uint8) * 255).rotate(
        -degrees, resample=Image.BILINEAR, fillcolor=0)
    h, w = page.grey.shape
    cx, cy = (w - 1) / 2.0, (h - 1) / 2.0
    a = math.radians(degrees)
    c, s = math.cos(a), math.sin(a)
    lines = [dict(line, box=_rotate_box(line["box"], cx, cy, c, s),
                  words=[_rotate_box(b, cx, cy, c, s) for b in line["words"]])
             for line in page.lines]
    return Page(np.asarray(grey).copy(), np.asarray(ink) >= 128, lines, page.dpi)


def turn_page(page, quarters):
    """The page turned clockwise by quarters * 90 degrees, truth included."""
    q = quarters % 4
    h, w = page.grey.shape

    def turn_box(box):
        l, t, r, b = box
        hh, ww = h, w
        for _ in range(q):      # one clockwise turn: (x, y) -> (H - 1 - y, x)
            l, t, r, b = hh - 1 - b, l, hh - 1 - t, r
            hh, ww = ww, hh
        return (l, t, r, b)

    lines = [dict(line, box=turn_box(line["box"]), words=[turn_box(b) for b in line["words"]])
             for line in page.lines]
    return Page(np.rot90(page.grey, -q).copy(), np.rot90(page.ink, -q).copy(), lines, page.dpi)


def save_bmp(path, array, dpi=300):
    """2-D uint8 -> 8-bit grey; H x W x 3 uint8 (RGB) -> 24-bit; 2-D bool -> 1-bit with
    True as black ink (palette index 0). Rows are stored bottom-up."""
    a = np.asarray(array)
    h, w = a.shape[:2]
    if a.dtype == bool:
        bits, palette = 1, struct.pack("<8B", 0, 0, 0, 0, 255, 255, 255, 0)
        rows = np.packbits(~a, axis=1)
    elif a.ndim == 2:
        bits = 8
        palette = b"".join(struct.pack("<4B", i, i, i, 0) for i in range(256))
        rows = a.astype(np.uint8)
    else:
        bits, palette = 24, b""
        rows = a[:, :, ::-1].astype(np.uint8).reshape(h, w * 3)
    stride = ((w * bits + 31) // 32) * 4
    data = np.zeros((h, stride), dtype=np.uint8)
    data[:, :rows.shape[1]] = rows
    ppm = int(dpi * 39.37 + 0.5)
    offset = 14 + 40 + len(palette)
    header = struct.pack("<2sIHHI", b"BM", offset + data.size, 0, 0, offset)
    info = struct.pack("<IiiHHIIiiII", 40, w, h, 1, bits, 0, data.size, ppm, ppm,
                       len(palette) // 4, 0)
    with open(path, "wb") as f:
        f.write(header + info + palette + data[::-1].tobytes())


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("out")
    ap.add_argument("--count", type=int, default=1)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--dpi", type=int, default=300)
    ap.add_argument("--font", default="serif")
    ap.add_argument("--size", type=float, default=10)
    ap.add_argument("--columns", type=int, default=1)
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    for i in range(args.count):
        page = render_page(args.seed + i, args.dpi, font=args.font, size_pt=args.size,
                           columns=args.columns)
        stem = os.path.join(args.out, "page-%03d" % (i + 1))
        save_bmp(stem + ".bmp", page.grey, args.dpi)
        save_bmp(stem + "-ink.bmp", page.ink, args.dpi)
        with open(stem + ".txt", "w") as f:
            f.write(page.text + "\n")
        with open(stem + ".json", "w") as f:
            json.dump({"dpi": page.dpi, "lines": page.lines}, f)


if __name__ == "__main__":
    main()
