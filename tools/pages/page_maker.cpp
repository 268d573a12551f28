// page_maker.cpp - draws made pages: a text mask laid out unrotated, then sampled through the
// inverse rotation so the whole content carries the requested skew.
#include "pages/page_maker.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace quilp_pages {
namespace {

// Small deterministic generator (the pages must not depend on the standard library's).
struct Lcg {
  uint32_t s;
  uint32_t Next() { s = s * 1664525u + 1013904223u; return s >> 8; }
  int Range(int lo, int hi) { return lo + int(Next() % uint32_t(hi - lo + 1)); }
  double Unit() { return (Next() & 0xFFFF) / 65536.0; }
};

struct Mask {
  int w, h;
  std::vector<uint8_t> ink;  // 1 where text is
  void Fill(int x0, int y0, int x1, int y1) {
    x0 = std::max(x0, 0); y0 = std::max(y0, 0); x1 = std::min(x1, w - 1); y1 = std::min(y1, h - 1);
    for (int y = y0; y <= y1; ++y)
      for (int x = x0; x <= x1; ++x) ink[size_t(y) * w + x] = 1;
  }
};

// One letter-like glyph: a stem or two, sometimes an ascender or descender, a bar. Latin
// shapes turn two descenders in three into ascenders.
void DrawGlyph(Mask& m, Lcg& rng, int x, int base, int xh, int gw, int stroke, bool latinShapes) {
  int const top = base - xh;
  int kind = rng.Range(0, 5);
  if (latinShapes && kind == 5 && rng.Range(0, 2) != 0) kind = 4;
  m.Fill(x, top, x + stroke - 1, base);                                     // left stem
  if (kind != 1) m.Fill(x + gw - stroke, top, x + gw - 1, base);            // right stem
  if (kind == 0 || kind == 3) m.Fill(x, top, x + gw - 1, top + stroke - 1); // top bar
  if (kind == 2 || kind == 3) m.Fill(x, base - stroke + 1, x + gw - 1, base);
  if (kind == 4) m.Fill(x, top - xh * 2 / 3, x + stroke - 1, top);          // ascender
  if (kind == 5) m.Fill(x + gw - stroke, base, x + gw - 1, base + xh / 2);  // descender
}

// The vertical band [top, bottom] that text lines keep clear of (photo, table).
struct Band {
  int top, bottom;
  bool Hits(int base, int xh, int lead) const { return base + lead > top && base - 2 * xh < bottom; }
};

void LayoutText(Mask& m, PageSpec const& layout, Lcg& rng, std::vector<Band> const& keepClear) {
  double const unit = layout.dpi / 300.0;
  int const xh = std::max(4, int(22 * unit)), lead = std::max(8, int(50 * unit));
  int const stroke = std::max(1, int(4 * unit)), margin = int(layout.dpi * 0.8);
  int const gap = int(layout.dpi * 0.3);
  int const cols = std::max(1, std::min(layout.columns, 2));
  int const colW = (m.w - 2 * margin - (cols - 1) * gap) / cols;
  for (int c = 0; c < cols; ++c) {
    int const x0 = margin + c * (colW + gap), x1 = x0 + colW;
    int lineInPara = 0, paraLen = rng.Range(4, 9);
    for (int base = margin + int(layout.dpi * 0.6); base < m.h - margin; base += lead) {
      bool clear = true;
      for (Band const& b : keepClear) clear = clear && !b.Hits(base, xh, lead);
      if (!clear) continue;  // leave the photo and the table free
      if (lineInPara == paraLen) {  // paragraph break
        lineInPara = 0;
        paraLen = rng.Range(4, 9);
        continue;
      }
      int const end = lineInPara == paraLen - 1 ? x0 + colW * rng.Range(30, 80) / 100 : x1;
      int x = x0 + (lineInPara == 0 ? 3 * xh : 0);
      while (x < end) {
        int const letters = rng.Range(2, 9);
        for (int l = 0; l < letters && x < end; ++l) {
          int const gw = std::max(3, int(xh * (0.5 + 0.4 * rng.Unit())));
          if (x + gw >= end) break;
          DrawGlyph(m, rng, x, base, xh, gw, stroke, layout.latinShapes);
          x += gw + std::max(1, xh / 5);
        }
        x += xh;  // word space
      }
      ++lineInPara;
    }
  }
}

// One word of `letters` glyphs from x; returns the x after it.
int DrawWord(Mask& m, Lcg& rng, int x, int base, int xh, int stroke, int letters,
             bool latinShapes) {
  for (int l = 0; l < letters; ++l) {
    int const gw = std::max(3, int(xh * (0.5 + 0.4 * rng.Unit())));
    DrawGlyph(m, rng, x, base, xh, gw, stroke, latinShapes);
    x += gw + std::max(1, xh / 5);
  }
  return x;
}

// A letter-like page: on about a quarter of the line places, one to three short words.
void LayoutSparse(Mask& m, PageSpec const& layout, Lcg& rng, std::vector<Band> const& keepClear) {
  double const unit = layout.dpi / 300.0;
  int const xh = std::max(4, int(22 * unit)), lead = std::max(8, int(50 * unit));
  int const stroke = std::max(1, int(4 * unit)), margin = int(layout.dpi * 0.8);
  for (int base = margin + int(layout.dpi * 0.6); base < m.h - margin; base += lead) {
    bool clear = true;
    for (Band const& b : keepClear) clear = clear && !b.Hits(base, xh, lead);
    if (!clear || rng.Range(0, 3) != 0) continue;
    int x = margin + rng.Range(0, std::max(1, (m.w - 2 * margin) / 2));
    for (int words = rng.Range(1, 3); words > 0 && x < m.w - margin - 10 * xh; --words)
      x = DrawWord(m, rng, x, base, xh, stroke, rng.Range(2, 7), layout.latinShapes) + xh;
  }
}

// A ruled table of 4 columns and `rows` rows between top and bottom, entries of one word.
void LayoutTable(Mask& m, PageSpec const& layout, Lcg& rng, int top, int bottom) {
  double const unit = layout.dpi / 300.0;
  int const xh = std::max(4, int(22 * unit)), stroke = std::max(1, int(4 * unit));
  int const rule = std::max(1, int(3 * unit)), margin = int(layout.dpi * 0.8);
  int const left = margin, right = m.w - margin, rows = 6, cols = 4;
  int const rowH = (bottom - top) / rows, colW = (right - left) / cols;
  for (int r = 0; r <= rows; ++r) m.Fill(left, top + r * rowH, right, top + r * rowH + rule - 1);
  for (int c = 0; c <= cols; ++c)
    m.Fill(left + c * colW, top, left + c * colW + rule - 1, top + rows * rowH + rule - 1);
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < cols; ++c)
      DrawWord(m, rng, left + c * colW + xh, top + r * rowH + (rowH + xh) / 2, xh, stroke,
               rng.Range(2, std::max(2, std::min(8, colW / (xh * 2)))), layout.latinShapes);
}

}  // namespace

DibInfo* MakePage(PageSpec const& layout) {
  int const w = layout.width, h = layout.height;
  DibInfo* dib = DibCreate(w, layout.topDown ? -h : h, int(layout.dpi * 39.37 + 0.5),
                           int(layout.dpi * 39.37 + 0.5), layout.bitCount == 8 ? 8 : 24);
  if (!dib) return nullptr;
  Lcg rng{layout.seed * 2654435761u + 12345u};
  Mask mask{w, h, std::vector<uint8_t>(size_t(w) * h, 0)};
  int const photoL = w / 2, photoT = h / 2, photoR = w - int(layout.dpi * 0.8),
            photoB = photoT + h / 6;
  int const tableT = h * 7 / 10, tableB = h * 7 / 10 + int(layout.dpi * 1.6);
  std::vector<Band> keepClear = {{layout.photo ? photoT - 10 : h, layout.photo ? photoB + 10 : -1}};
  if (layout.table) keepClear.push_back({tableT - 10, tableB + 10});
  // The later options draw from their own generator, so they leave the main sequence intact.
  Lcg extra{layout.seed * 2246822519u + 374761393u};
  if (layout.sparse) LayoutSparse(mask, layout, extra, keepClear);
  else LayoutText(mask, layout, rng, keepClear);
  if (layout.table) LayoutTable(mask, layout, extra, tableT, tableB);
  double const a = layout.skewDegrees * M_PI / 180.0, ca = std::cos(a), sa = std::sin(a);
  double const cx = w / 2.0, cy = h / 2.0;
  double const stampX = w - layout.dpi * 1.6, stampY = layout.dpi * 1.2, stampR = layout.dpi * 0.45;
  int const bytes = dib->BitsPerPixel() / 8;
  for (int y = 0; y < h; ++y) {
    unsigned char* row = dib->GetLine(y);
    for (int x = 0; x < w; ++x) {
      // Inverse rotation: where this pixel was on the unskewed page.
      double const dx = x - cx, dy = y - cy;
      double const ux = cx + dx * ca + dy * sa, uy = cy - dx * sa + dy * ca;
      int const ix = int(std::floor(ux + 0.5)), iy = int(std::floor(uy + 0.5));
      double paper = 235.0 - layout.unevenness * 80.0 * (double(x) / w + double(y) / h) / 2.0;
      if (layout.noise > 0) paper += layout.noise * (rng.Unit() - 0.5) * 2.0;
      double b = paper, g = paper, r = paper;
      bool const inside = ix >= 0 && iy >= 0 && ix < w && iy < h;
      if (inside && layout.photo && ix >= photoL && ix <= photoR && iy >= photoT && iy <= photoB) {
        double const v = 128 + 90 * std::sin(ix * 0.02) * std::cos(iy * 0.015) +
                         30 * std::sin((ix + iy) * 0.003);
        b = g = r = v;
      } else if (inside && mask.ink[size_t(iy) * w + ix]) {
        b = 40; g = 30; r = 30;  // blue-black ink
        if (layout.fade > 0) {
          b += (paper - b) * layout.fade;
          g += (paper - g) * layout.fade;
          r += (paper - r) * layout.fade;
        }
      }
      if (layout.speckle > 0 && extra.Unit() < layout.speckle) b = g = r = std::min(b, 60.0);
      if (layout.stamp) {
        double const sd = std::hypot(ux - stampX, uy - stampY);
        if (sd < stampR && sd > stampR * 0.8) {  // red ring, printed over the page
          b = std::min(b, 60.0); g = std::min(g, 50.0); r = std::max(r * 0.3 + 150, 200.0);
        }
      }
      unsigned char* p = row + size_t(x) * bytes;
      auto clampByte = [](double v) { return uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); };
      if (bytes == 1) {
        p[0] = clampByte((b + g + r) / 3.0);
      } else {
        p[0] = clampByte(b);
        p[1] = clampByte(g);
        p[2] = clampByte(r);
      }
    }
  }
  return dib;
}

}  // namespace quilp_pages
