// fade_borders.cpp - fading the top and bottom margins of a page into its border level.
//
// The border level weights each margin row pair's mean by its distance from the edge (rows
// near the text count more), in integer arithmetic with truncating divisions. Cost: one read
// of the 2k margin rows for the level, one pass over them for the blend, a copy of the rest.
#include "geometry/fade_borders.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace quilp {
namespace {

// Sums in 32 bits, which hold 16 million bytes, in runs of that many.
int64_t RowSum(uint8_t const* row, int width) {
  int64_t s = 0;
  for (int x0 = 0; x0 < width; x0 += 1 << 24) {
    uint32_t run = 0;
    int const x1 = width - x0 < (1 << 24) ? width : x0 + (1 << 24);
    for (int x = x0; x < x1; ++x) run += row[x];
    s += run;
  }
  return s;
}

int BorderLevel(DibView const& src, int k) {
  int const w = src.width, h = src.height;
  int64_t a = 0, q = 0;
  for (int i = 0; i < k; ++i) {
    int64_t const m = (RowSum(src.Row(i), w) + RowSum(src.Row(h - 1 - i), w) + w / 2) / w;
    a += int64_t(i) * m;
    q += int64_t(i) * i * m;
  }
  int64_t const kk = k;
  int64_t const level = ((q / (kk * kk) - ((a / kk + 1) / 2)) * 6) / kk;
  return int(std::min<int64_t>(std::max<int64_t>(level, 0), 255));
}

void BlendRow(uint8_t const* src, uint8_t* dst, int width, int background, int weight) {
  uint32_t const base = uint32_t(background * 256 - background * weight + 128);
  uint32_t const w = uint32_t(weight);
  for (int x = 0; x < width; ++x) dst[x] = static_cast<uint8_t>((base + src[x] * w) >> 8);
}

void CopyRow(uint8_t const* src, uint8_t* dst, int width) {
  if (src != dst) std::memmove(dst, src, std::size_t(width));
}

// Rows faded at each edge: min(rowCap, (int)(H * fraction + 0.5)), and never more than half
// the height, so that the margins do not overlap (the library fades a tenth).
int FadeRows(int h, int rowCap, double fraction) {
  double const rows = h * fraction + 0.5;
  int const fromFraction = rows >= h / 2 ? h / 2 : rows > 0.0 ? static_cast<int>(rows) : 0;
  return std::max(0, std::min(rowCap, fromFraction));
}

int Weight(int i, int k) { return static_cast<int>(double(i) / k * 256.0 + 0.5); }

}  // namespace

bool DibFadeBorders(DibView const& src, DibView const& dst, int rowCap, double fraction,
                    int const* background) {
  if (dst.width < src.width || dst.height < src.height) return false;
  int const h = src.height, w = src.width;
  if (w <= 0 || h <= 0) return true;
  int const k = FadeRows(h, rowCap, fraction);
  int b = 0;
  if (k > 0) b = background ? std::min(std::max(*background, 0), 255) : BorderLevel(src, k);
  for (int i = 0; i < k; ++i) {
    BlendRow(src.Row(i), dst.Row(i), w, b, Weight(i, k));
    BlendRow(src.Row(h - 1 - i), dst.Row(h - 1 - i), w, b, Weight(i, k));
  }
  for (int y = k; y < h - k; ++y) CopyRow(src.Row(y), dst.Row(y), w);
  return true;
}

void FadedRows(DibView const& src, int rowCap, double fraction, std::vector<uint8_t>& margins,
               RowTable& rows) {
  rows = RowsOf(src);
  int const h = src.height, w = src.width;
  if (w <= 0 || h <= 0) return;
  int const k = FadeRows(h, rowCap, fraction);
  if (k == 0) return;
  int const b = BorderLevel(src, k);
  margins.resize(std::size_t(2 * k) * std::size_t(w));
  for (int i = 0; i < k; ++i) {
    uint8_t* top = &margins[std::size_t(i) * std::size_t(w)];
    uint8_t* bottom = &margins[std::size_t(k + i) * std::size_t(w)];
    BlendRow(src.Row(i), top, w, b, Weight(i, k));
    BlendRow(src.Row(h - 1 - i), bottom, w, b, Weight(i, k));
    rows.rows[std::size_t(i)] = top;
    rows.rows[std::size_t(h - 1 - i)] = bottom;
  }
}

}  // namespace quilp
