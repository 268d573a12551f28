#!/usr/bin/env python3
"""Layout pages with their truth: columns, headings, captions, pictures, tables, rules.

Each page is laid out on a column grid (one to three columns) and drawn element by element,
so the truth is recorded as it is drawn, not guessed afterwards:
  - a header or footer page number, a title spanning the columns;
  - one or two column sections, split by a spanning element (a figure with its caption, a
    table, or a rule); inside a column: paragraphs (justified or ragged), sub-headings (bold,
    larger), figures with a caption under them (a photo of smooth grey fields and blobs, a
    halftone of one: round dots on a 45-degree screen, or a chart: axes, bars, a polyline),
    tables with a caption above them (ruled grid, rules at the head and foot only, or no
    rulings at all), and short rules;
  - optional vertical rules in the gutters, and an optional skew within +-1 degree (the whole
    page turns; every truth box becomes the bounding box of its turned content).

What a block is: one paragraph, one heading, one caption, one page number (text), one
picture, one chart (graphics), one table, one rule. Each text block carries its lines, each
line its words. A word's box is the box of its ink (grey < 128), measured on a label image
turned with the page, so boxes stay tight when the page is skewed; lines and blocks are
unions of their parts.
Columns are numbered 0..columns-1 on the page's one grid; an element spanning the grid (the
title, a spanning figure and its caption, page numbers, gutter rules) has column -1.

Reading order lists the text blocks: header page number, title, then each section's columns
left to right, top to bottom in each, with spanning captions between sections, then a
footer page number.

Files per page (stem page-NNN): .bmp 8-bit grey; -1bit.bmp 1-bit (text, tables and rules
thresholded at 128, halftones thresholded, photos ordered-dithered, as a scanner's
text-and-photo mode does); -rgb.bmp 24-bit with coloured photos (with --colour); .json the
truth:
  {"file", "width", "height", "dpi", "skew_deg", "columns", "font", "blocks": [{"rect":
   [l,t,r,b], "kind": "text|picture|graphics|table|hrule|vrule", "role", "column", "order",
   "lines": [{"rect", "text", "words": [[l,t,r,b], ...]}], "cells": [...] (tables)}],
   "order": [indices of the text blocks in reading order]}
Rects are inclusive, row 0 at the top. A block's "order" is its place in "order" (-1 for
blocks that are not text). An index.json lists the pages.

Run with Debian's /usr/bin/python3:
    layout_page.py OUTDIR [--count N] [--seed S] [--dpi D] [--skew MAX_DEG] [--colour]
Without --dpi most pages are 300 dpi, with a few at 150, 200 and 400. About half a second a
page at 300 dpi.
"""

import argparse
import json
import math
import os
import random
import sys

import numpy as np
from PIL import Image, ImageDraw, ImageFont

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import textpage  # noqa: E402

# Regular, bold, italic faces of each family, best first.
FAMILIES = {
    "liberation-serif": (["LiberationSerif-Regular.ttf", "DejaVuSerif.ttf"],
                         ["LiberationSerif-Bold.ttf", "DejaVuSerif-Bold.ttf"],
                         ["LiberationSerif-Italic.ttf", "DejaVuSerif-Italic.ttf"]),
    "liberation-sans": (["LiberationSans-Regular.ttf", "DejaVuSans.ttf"],
                        ["LiberationSans-Bold.ttf", "DejaVuSans-Bold.ttf"],
                        ["LiberationSans-Italic.ttf", "DejaVuSans-Oblique.ttf"]),
    "dejavu-serif": (["DejaVuSerif.ttf"], ["DejaVuSerif-Bold.ttf"], ["DejaVuSerif-Italic.ttf"]),
    "dejavu-sans": (["DejaVuSans.ttf"], ["DejaVuSans-Bold.ttf"], ["DejaVuSans-Oblique.ttf"]),
    "free-serif": (["FreeSerif.ttf", "LiberationSerif-Regular.ttf"],
                   ["FreeSerifBold.ttf", "LiberationSerif-Bold.ttf"],
                   ["FreeSerifItalic.ttf", "LiberationSerif-Italic.ttf"]),
}
A4_IN = (8.27, 11.69)
INK = 128                    # grey below this is ink, as in textpage
BAYER8 = np.array([[0, 32, 8, 40, 2, 34, 10, 42], [48, 16, 56, 24, 50, 18, 58, 26],
                   [12, 44, 4, 36, 14, 46, 6, 38], [60, 28, 52, 20, 62, 30, 54, 22],
                   [3, 35, 11, 43, 1, 33, 9, 41], [51, 19, 59, 27, 49, 17, 57, 25],
                   [15, 47, 7, 39, 13, 45, 5, 37], [63, 31, 55, 23, 61, 29, 53, 21]])


def face(files, px):
    for name in files:
        try:
            return ImageFont.truetype(textpage.find_font(name), max(1, int(round(px))))
        except (OSError, FileNotFoundError):
            continue
    raise FileNotFoundError("no font among " + ", ".join(files))


def smooth_field(nrng, h, w, cell):
    """Smooth random values in [0, 1]: a coarse grid of noise, bicubically enlarged."""
    gh, gw = max(2, h // cell + 2), max(2, w // cell + 2)
    coarse = (nrng.random((gh, gw)) * 255).astype(np.uint8)
    big = Image.fromarray(coarse).resize((w, h), Image.BICUBIC)
    return np.asarray(big, dtype=np.float32) / 255.0


def make_photo(nrng, h, w, dpi):
    """A photo-like picture: a gradient, soft fields and blobs, fine grain; RGB and its grey.
    The smooth part is made at a quarter of the size and enlarged. Values stay within 25..225
    so the picture's edge is visible all round."""
    sh, sw = max(2, h // 4), max(2, w // 4)
    y, x = np.mgrid[0:sh, 0:sw].astype(np.float32)
    a = nrng.uniform(0, 2 * math.pi)
    grad = x * math.cos(a) + y * math.sin(a)
    grad = (grad - grad.min()) / max(1e-6, float(np.ptp(grad)))
    cell = max(2, int(dpi * nrng.uniform(0.15, 0.5)) // 4)
    channels = []
    for _ in range(3):
        f = 0.45 * smooth_field(nrng, sh, sw, cell) + 0.35 * grad
        for _ in range(nrng.integers(2, 6)):
            cx, cy = nrng.uniform(0, sw), nrng.uniform(0, sh)
            r = nrng.uniform(0.08, 0.3) * min(sw, sh)
            f += nrng.uniform(-0.4, 0.4) * np.exp(-((x - cx) ** 2 + (y - cy) ** 2) / (2 * r * r))
        f = (f - f.min()) / max(1e-6, float(np.ptp(f)))
        big = Image.fromarray((f * 255).astype(np.uint8)).resize((w, h), Image.BICUBIC)
        channels.append(np.asarray(big))
    rgb = np.stack(channels, axis=2).astype(np.int16) * 200 // 255 + 25
    rgb += nrng.integers(-6, 7, rgb.shape, dtype=np.int16)
    rgb = np.clip(rgb, 25, 225).astype(np.uint8)
    wide = rgb.astype(np.int32)
    grey = (wide[:, :, 0] * 77 + wide[:, :, 1] * 150 + wide[:, :, 2] * 29) >> 8
    return rgb, grey.astype(np.uint8)


def make_halftone(nrng, h, w, dpi):
    """A dot-screen rendering of a photo: round dots on a 45-degree screen whose area follows
    the darkness, anti-aliased at their edge."""
    _, grey = make_photo(nrng, h, w, dpi)
    period = max(3.0, dpi / nrng.uniform(60, 100))
    y, x = np.mgrid[0:h, 0:w].astype(np.float32)
    c, s = math.cos(math.pi / 4), math.sin(math.pi / 4)
    u, v = (x * c + y * s) / period, (-x * s + y * c) / period
    d = np.hypot(u - np.round(u), v - np.round(v)) * period
    cover = 1.0 - grey.astype(np.float32) / 255.0
    radius = period * np.sqrt(cover / math.pi)
    out = np.clip(d - radius + 0.5, 0, 1) * 255
    out = out.astype(np.uint8)
    return np.stack([out] * 3, axis=2), out


class Canvas:
    """The page being drawn, with a label image of word ink and the truth so far."""

    def __init__(self, w, h, dpi):
        self.w, self.h, self.dpi = w, h, dpi
        self.img = Image.new("L", (w, h), 255)
        self.draw = ImageDraw.Draw(self.img)
        self.label = np.zeros((h, w), dtype=np.int32)   # word id + 1 where its ink is
        self.words = []        # per word id: its drawn box (fallback when it has no ink)
        self.blocks = []
        self.rects = []        # (block, box) filled rectangles: pictures, rules, rulings
        self.photos = []       # (box, rgb, dithered?) pasted pictures

    def block(self, kind, column, role):
        self.blocks.append({"kind": kind, "column": column, "role": role, "lines": []})
        return len(self.blocks) - 1

    def word(self, text, font, x, y):
        """Draws one word with its left edge at x and its ascender at y; returns its id."""
        self.draw.text((x, y), text, font=font, fill=0)
        l, t, r, b = (int(v) for v in self.draw.textbbox((x, y), text, font=font))
        l, t, r, b = max(0, l), max(0, t), min(self.w, r), min(self.h, b)
        wid = len(self.words)
        self.words.append((l, t, r - 1, b - 1))
        if r > l and b > t:
            ink = np.asarray(self.img.crop((l, t, r, b))) < INK
            area = self.label[t:b, l:r]
            area[ink & (area == 0)] = wid + 1
        return wid

    def line(self, blk, words, font, x0, y, width=None):
        """One line of words; justified to width when given. Returns the line's dict."""
        space = font.getlength(" ")
        gap = space
        if width is not None and len(words) > 1:
            used = sum(font.getlength(w) for w in words)
            gap = (width - used) / (len(words) - 1)
        x, ids = float(x0), []
        for w in words:
            ids.append(self.word(w, font, int(round(x)), y))
            x += font.getlength(w) + gap
        line = {"text": " ".join(words), "words": ids}
        self.blocks[blk]["lines"].append(line)
        return line

    def fill_rect(self, blk, box):
        self.draw.rectangle(box, fill=0)
        self.rects.append((blk, box))

    def paste(self, blk, x, y, rgb, grey, dithered):
        h, w = grey.shape
        self.img.paste(Image.fromarray(grey), (x, y))
        box = (x, y, x + w - 1, y + h - 1)
        self.rects.append((blk, box))
        self.photos.append((box, rgb, dithered))


def wrap(words, font, width, indent=0.0):
    """Greedy line breaking: lists of words, each fitting width (the first after indent)."""
    space = font.getlength(" ")
    lines, line, used = [], [], indent
    for w in words:
        wl = font.getlength(w)
        if line and used + space + wl > width:
            lines.append(line)
            line, used = [], 0.0
        used += (space if line else 0) + wl
        line.append(w)
    if line:
        lines.append(line)
    return lines


class Layout:
    """Draws one page from a seed; the drawing methods advance and return y."""

    def __init__(self, seed, dpi):
        self.rng = rng = random.Random(seed)
        self.nrng = np.random.default_rng(seed)
        self.dpi = dpi
        self.W, self.H = int(round(A4_IN[0] * dpi)), int(round(A4_IN[1] * dpi))
        self.cv = Canvas(self.W, self.H, dpi)
        self.family = rng.choice(sorted(FAMILIES))
        self.size = rng.choice([9, 10, 10, 11, 12])
        self.px = self.size * dpi / 72.0
        regular, bold, italic = FAMILIES[self.family]
        self.body = face(regular, self.px)
        self.caption = face(italic, self.px * 0.9)
        self.cell = face(regular, self.px * 0.9)
        self.subhead = face(bold, self.px * rng.uniform(1.15, 1.4))
        self.title = face(bold, self.px * rng.uniform(1.6, 2.2))
        self.leading = int(round(self.px * rng.uniform(1.2, 1.35)))
        self.justify = rng.random() < 0.6
        self.indent_style = rng.random() < 0.3     # indented paragraphs, little space between
        self.para_gap = int(self.leading * (0.35 if self.indent_style else rng.uniform(0.6, 1.0)))
        self.columns = 1 + seed % 3
        self.margin = int(dpi * rng.uniform(0.6, 0.9))
        self.gutter = int(dpi * rng.uniform(0.25, 0.4))
        full = self.W - 2 * self.margin
        self.col_w = (full - (self.columns - 1) * self.gutter) // self.columns
        self.figures = self.tables = 0
        self.rule_px = lambda: max(1, int(round(dpi / 300.0 * rng.choice([2, 3, 4, 6]))))

    def col_x(self, c):
        return self.margin + c * (self.col_w + self.gutter)

    # --- text -----------------------------------------------------------------------------

    def paragraph(self, column, x0, width, y, bottom):
        words = [w for _ in range(self.rng.randint(2, 6)) for w in textpage.sentence(self.rng)]
        indent = self.px if self.indent_style else 0.0
        lines = wrap(words, self.body, width, indent)
        room = (bottom - y) // self.leading
        if room < 1:
            return y
        blk = self.cv.block("text", column, "paragraph")
        for i, ws in enumerate(lines[:room]):
            last = i == len(lines) - 1
            x = x0 + (indent if i == 0 else 0)
            self.cv.line(blk, ws, self.body, int(x), y,
                         width - (indent if i == 0 else 0) if self.justify and not last else None)
            y += self.leading
        return y + self.para_gap

    def heading(self, column, x0, width, y, font, nwords, centred=False):
        words = [w.capitalize() for w in self.rng.sample(textpage.WORDS, nwords)]
        blk = self.cv.block("text", column, "heading")
        step = int(font.size * 1.25)
        for ws in wrap(words, font, width):
            x = x0
            if centred:
                x = x0 + max(0, int((width - font.getlength(" ".join(ws))) / 2))
            self.cv.line(blk, ws, font, x, y)
            y += step
        return y + int(self.leading * 0.5)

    def caption_text(self, column, x0, width, y, label):
        n = self.rng.randint(4, 18)
        words = [label] + [self.rng.choice(textpage.WORDS) for _ in range(n)]
        words[-1] += "."
        blk = self.cv.block("text", column, "caption")
        step = int(self.caption.size * 1.25)
        for ws in wrap(words, self.caption, width)[:3]:
            self.cv.line(blk, ws, self.caption, x0, y)
            y += step
        return y

    def page_number(self, top):
        n = self.rng.randint(1, 480)
        text = self.rng.choice(["%d", "- %d -", "Page %d", "%d"]) % n
        y = self.margin // 2 - int(self.px) if top else self.H - self.margin // 2
        where = self.rng.choice(["centre", "left", "right"])
        width = self.body.getlength(text)
        x = {"centre": (self.W - width) / 2, "left": self.margin,
             "right": self.W - self.margin - width}[where]
        blk = self.cv.block("text", -1, "page-number")
        self.cv.line(blk, text.split(), self.body, int(x), y)

    # --- pictures, tables, rules ----------------------------------------------------------

    def figure(self, column, x0, width, y, bottom):
        """A photo, a halftone or a chart with its caption under it; y unchanged when it does
        not fit."""
        fw = int(width * self.rng.uniform(0.7, 1.0))
        fh = min(int(fw * self.rng.uniform(0.4, 0.8)), int(self.H * 0.3))
        cap_h = int(self.caption.size * 1.25) * 3
        if y + fh + cap_h + self.leading > bottom:
            fh = bottom - y - cap_h - self.leading
            if fh < self.dpi * 0.6:
                return y
        fx = x0 + (width - fw) // 2
        pick = self.rng.random()
        self.figures += 1
        if pick < 0.2:
            self.chart(self.cv.block("graphics", column, "chart"), fx, y, fw, fh)
        else:
            halftone = pick < 0.6
            maker = make_halftone if halftone else make_photo
            rgb, grey = maker(self.nrng, fh, fw, self.dpi)
            blk = self.cv.block("picture", column, "halftone" if halftone else "photo")
            self.cv.paste(blk, fx, y, rgb, grey, dithered=not halftone)
        y += fh + int(self.leading * 0.5)
        y = self.caption_text(column, x0, width, y, "Figure %d." % self.figures)
        return y + self.leading

    def chart(self, blk, x, y, w, h):
        """Line art: two axes, outlined or solid bars, and a polyline over them."""
        rng, draw = self.rng, self.cv.draw
        t = max(1, int(round(self.dpi / 150.0)))
        self.cv.fill_rect(blk, (x, y, x + t - 1, y + h - 1))
        self.cv.fill_rect(blk, (x, y + h - t, x + w - 1, y + h - 1))
        n = rng.randint(4, 9)
        bar = max(2, (w - 2 * t) // (2 * n + 1))
        solid = rng.random() < 0.5
        for i in range(n):
            bx, bh = x + t + bar * (2 * i + 1), int(h * rng.uniform(0.15, 0.85))
            box = (bx, y + h - t - bh, bx + bar - 1, y + h - t - 1)
            draw.rectangle(box, outline=0, width=t, fill=0 if solid else None)
            self.cv.rects.append((blk, box))
        points = [(x + t + (w - 2 * t - 1) * i // 7, y + int(h * rng.uniform(0.02, 0.8)))
                  for i in range(8)]
        draw.line(points, fill=0, width=t)
        self.cv.rects.append((blk, (min(p[0] for p in points), min(p[1] for p in points) - t,
                                    max(p[0] for p in points), max(p[1] for p in points) + t)))

    def table(self, column, x0, width, y, bottom):
        """A grid of short cells: ruled, rules at head and foot only, or no rulings."""
        rng = self.rng
        style = rng.choice(["grid", "head", "none"])
        ncols, nrows = rng.randint(3, 5), rng.randint(3, 8)
        pad = int(self.cell.size * 0.6)
        row_h = int(self.cell.size * (1.6 if style == "grid" else 1.35))
        cap_h = int(self.caption.size * 1.25) + self.leading // 2
        nrows = min(nrows, (bottom - y - cap_h - self.leading) // row_h - 1)
        if nrows < 2:
            return y

        def cell_text(r, c):
            if r == 0:
                return rng.choice(textpage.WORDS).capitalize()
            if c == 0:
                return rng.choice(textpage.WORDS)
            return rng.choice(["%d", "%.1f", "%.2f", "%d%%"]) % rng.uniform(0, 999)

        texts = [[cell_text(r, c) for c in range(ncols)] for r in range(nrows + 1)]
        while True:
            widths = [max(self.cell.getlength(texts[r][c]) for r in range(nrows + 1)) + 2 * pad
                      for c in range(ncols)]
            if style == "none":     # wide gaps between unruled columns, like real tables
                widths = [wd + self.cell.size for wd in widths]
            if sum(widths) <= width or ncols <= 2:
                break
            ncols -= 1
            texts = [row[:ncols] for row in texts]
        if sum(widths) > width:
            return y
        widths = [int(wd) for wd in widths]
        self.tables += 1
        y = self.caption_text(column, x0, width, y, "Table %d." % self.tables)
        y += self.leading // 3
        blk = self.cv.block("table", column, "table-" + style)
        tw = sum(widths)
        tx = x0 + (width - tw) // 2 if rng.random() < 0.5 else x0
        th = row_h * (nrows + 1)
        t = self.rule_px() if style != "none" else 0
        cells = []
        for r in range(nrows + 1):
            cx = tx
            for c in range(ncols):
                line = self.cv.line(blk, [texts[r][c]], self.cell, cx + pad,
                                    y + r * row_h + (row_h - self.cell.size) // 2)
                line.update(row=r, col=c)
                cells.append(line)
                cx += widths[c]
        self.cv.blocks[blk]["lines"] = []
        self.cv.blocks[blk]["cells"] = cells
        if style == "grid":
            for r in range(nrows + 2):
                yy = min(y + r * row_h, y + th - t)
                self.cv.fill_rect(blk, (tx, yy, tx + tw - 1, yy + t - 1))
            cx = tx
            for c in range(ncols + 1):
                xx = min(cx, tx + tw - t)
                self.cv.fill_rect(blk, (xx, y, xx + t - 1, y + th - 1))
                if c < ncols:
                    cx += widths[c]
        elif style == "head":
            for yy in (y - t - 2, y + row_h, y + th + 2):
                self.cv.fill_rect(blk, (tx, yy, tx + tw - 1, yy + t - 1))
        return y + th + t + self.leading

    def hrule(self, column, x0, width, y):
        t = self.rule_px()
        blk = self.cv.block("hrule", column, "rule")
        self.cv.fill_rect(blk, (x0, y, x0 + width - 1, y + t - 1))
        return y + t + self.leading

    def vrule(self, x, top, bottom):
        t = self.rule_px()
        blk = self.cv.block("vrule", -1, "rule")
        self.cv.fill_rect(blk, (x - t // 2, top, x - t // 2 + t - 1, bottom))

    # --- the page -------------------------------------------------------------------------

    def column_run(self, c, top, bottom):
        """Fills one column of a section with paragraphs, sub-headings, figures, tables."""
        x0, width, y = self.col_x(c), self.col_w, top
        while y + 2 * self.leading < bottom:
            pick = self.rng.random()
            if pick < 0.10 and y > top:
                y = self.heading(c, x0, width, y + self.leading // 2, self.subhead,
                                 self.rng.randint(2, 4))
                y = self.paragraph(c, x0, width, y, bottom)
            elif pick < 0.20 and self.figures < 3:
                y = self.figure(c, x0, width, y, bottom)
            elif pick < 0.28 and self.tables < 2:
                y = self.table(c, x0, width, y, bottom)
            elif pick < 0.31 and y > top:
                y = self.hrule(c, x0, width, y)
            else:
                y = self.paragraph(c, x0, width, y, bottom)
        return y

    def section(self, top, bottom):
        ends = [self.column_run(c, top, bottom) for c in range(self.columns)]
        if self.columns > 1 and self.rng.random() < 0.4:
            low = max(ends) - self.leading
            for c in range(1, self.columns):
                self.vrule(self.col_x(c) - self.gutter // 2, top, low)

    def spanning(self, y, bottom):
        full = self.W - 2 * self.margin
        pick = self.rng.random()
        if pick < 0.5:
            return self.figure(-1, self.margin, full, y, bottom)
        if pick < 0.75:
            return self.table(-1, self.margin, full, y, bottom)
        return self.hrule(-1, self.margin, full, y)

    def draw(self):
        rng = self.rng
        number = rng.choice(["header", "footer", "none"])
        if number == "header":
            self.page_number(True)
        y = self.margin
        if rng.random() < 0.85:
            y = self.heading(-1, self.margin, self.W - 2 * self.margin, y, self.title,
                             rng.randint(2, 7), centred=rng.random() < 0.5)
            y += self.leading
        bottom = self.H - self.margin
        if rng.random() < 0.5:
            split = y + int((bottom - y) * rng.uniform(0.3, 0.5))
            self.section(y, split)
            y = self.spanning(split + self.leading, bottom)
            self.section(y, bottom)
        else:
            self.section(y, bottom)
        if number == "footer":
            self.page_number(False)


# --- turning the page and writing the truth -------------------------------------------------

def _boxes_of_labels(label, count):
    """Bounding boxes of the ids 1..count in a label image; None for an id with no pixel."""
    ys, xs = np.nonzero(label)
    ids = label[ys, xs]
    order = np.argsort(ids, kind="stable")
    ids, ys, xs = ids[order], ys[order], xs[order]
    present, starts = np.unique(ids, return_index=True)
    boxes = [None] * (count + 1)
    if len(present):
        l, r = np.minimum.reduceat(xs, starts), np.maximum.reduceat(xs, starts)
        t, b = np.minimum.reduceat(ys, starts), np.maximum.reduceat(ys, starts)
        for i, k in enumerate(present):
            boxes[k] = (int(l[i]), int(t[i]), int(r[i]), int(b[i]))
    return boxes


def _union(boxes):
    boxes = [b for b in boxes if b is not None]
    if not boxes:
        return None
    return [min(b[0] for b in boxes), min(b[1] for b in boxes),
            max(b[2] for b in boxes), max(b[3] for b in boxes)]


def finish(layout, skew_deg, colour):
    """Turns the drawn page by skew_deg (positive: lines descend to the right) and returns
    (truth, grey, one_bit, rgb or None)."""
    cv = layout.cv
    w, h = cv.w, cv.h
    cx, cy = (w - 1) / 2.0, (h - 1) / 2.0
    a = math.radians(skew_deg)
    c, s = math.cos(a), math.sin(a)
    kinds = np.zeros((h, w), dtype=np.uint8)      # 1 photo (dithered in 1-bit), 2 halftone
    rgb = None
    if colour:
        rgb = np.repeat(np.asarray(cv.img)[:, :, None], 3, axis=2).copy()
    for (l, t, r, b), pic, dithered in cv.photos:
        kinds[t:b + 1, l:r + 1] = 1 if dithered else 2
        if rgb is not None:
            rgb[t:b + 1, l:r + 1] = pic
    grey, label = cv.img, cv.label

    def turn(box):
        if skew_deg == 0:
            return tuple(box)
        l, t, r, b = textpage._rotate_box(box, cx, cy, c, s)
        return (max(0, l), max(0, t), min(w - 1, r), min(h - 1, b))

    if skew_deg != 0:
        grey = grey.rotate(-skew_deg, resample=Image.BICUBIC, fillcolor=255)
        label = np.asarray(Image.fromarray(label).rotate(-skew_deg, resample=Image.NEAREST,
                                                          fillcolor=0))
        kinds = np.asarray(Image.fromarray(kinds).rotate(-skew_deg, resample=Image.NEAREST,
                                                          fillcolor=0))
        if rgb is not None:
            rgb = np.asarray(Image.fromarray(rgb).rotate(-skew_deg, resample=Image.BICUBIC,
                                                         fillcolor=(255, 255, 255)))
    grey = np.asarray(grey, dtype=np.uint8).copy()
    word_boxes = _boxes_of_labels(label, len(cv.words))
    word_box = [word_boxes[i + 1] or turn(cv.words[i]) for i in range(len(cv.words))]
    part_boxes = {}
    for blk, box in cv.rects:
        part_boxes.setdefault(blk, []).append(turn(box))

    blocks, order = [], []
    for i, blk in enumerate(cv.blocks):
        out = {"rect": None, "kind": blk["kind"], "role": blk["role"],
               "column": blk["column"], "order": -1}
        lines = []
        for line in blk["lines"]:
            words = [list(word_box[k]) for k in line["words"]]
            lines.append({"rect": _union(words), "text": line["text"], "words": words})
        out["lines"] = lines
        rect_parts = [l["rect"] for l in lines] + part_boxes.get(i, [])
        if "cells" in blk:
            cells = []
            for cell in blk["cells"]:
                words = [list(word_box[k]) for k in cell["words"]]
                cells.append({"rect": _union(words), "text": cell["text"], "row": cell["row"],
                              "col": cell["col"]})
            out["cells"] = cells
            rect_parts += [cl["rect"] for cl in cells]
        out["rect"] = _union(rect_parts)
        if blk["kind"] == "text":
            out["order"] = len(order)
            order.append(i)
        blocks.append(out)
    truth = {"width": w, "height": h, "dpi": cv.dpi, "skew_deg": skew_deg,
             "columns": layout.columns, "font": layout.family, "size_pt": layout.size,
             "blocks": blocks, "order": order}

    one_bit = grey < INK
    if kinds.any():
        yy, xx = np.nonzero(kinds == 1)
        one_bit[yy, xx] = grey[yy, xx] * (64.0 / 255.0) < BAYER8[yy % 8, xx % 8] + 0.5
    return truth, grey, one_bit, rgb


def page_recipe(index, seed, dpi, skew):
    """Resolution and skew of the index-th page of a set: mostly 300 dpi, every fifth page
    150, 200 or 400; every other page skewed."""
    rng = random.Random(seed * 7919 + index)
    if dpi is None:
        dpi = {4: 150, 9: 200, 14: 400}.get(index % 15, 300)
    angle = round(rng.uniform(-skew, skew), 2) if index % 2 == 1 and skew > 0 else 0.0
    return dpi, angle


def make_page(seed, dpi=300, skew_deg=0.0, colour=False):
    layout = Layout(seed, dpi)
    layout.draw()
    return finish(layout, skew_deg, colour)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("out")
    ap.add_argument("--count", type=int, default=20)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--dpi", type=int, default=None, help="one resolution for every page")
    ap.add_argument("--skew", type=float, default=1.0, help="largest skew, degrees")
    ap.add_argument("--colour", action="store_true", help="also write 24-bit pages")
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    index = []
    for i in range(args.count):
        dpi, angle = page_recipe(i, args.seed, args.dpi, args.skew)
        truth, grey, one_bit, rgb = make_page(args.seed + i, dpi, angle, args.colour)
        stem = "page-%03d" % (i + 1)
        path = os.path.join(args.out, stem)
        textpage.save_bmp(path + ".bmp", grey, dpi)
        textpage.save_bmp(path + "-1bit.bmp", one_bit, dpi)
        files = {"grey": stem + ".bmp", "1bit": stem + "-1bit.bmp"}
        if rgb is not None:
            textpage.save_bmp(path + "-rgb.bmp", rgb, dpi)
            files["rgb"] = stem + "-rgb.bmp"
        truth = dict({"file": stem + ".bmp", "files": files}, **truth)
        with open(path + ".json", "w") as f:
            json.dump(truth, f)
        index.append({"stem": stem, "seed": args.seed + i, "dpi": dpi, "skew_deg": angle,
                      "files": files, "truth": stem + ".json"})
    with open(os.path.join(args.out, "index.json"), "w") as f:
        json.dump(index, f, indent=1)


if __name__ == "__main__":
    main()
