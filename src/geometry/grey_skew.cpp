// grey_skew.cpp - the grey working copy of a page (any depth, block-averaged) and its Hough
// skew. Cost: one read of the area; the skew as the Hough transform image costs.
#include "geometry/grey_skew.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "geometry/fade_borders.h"
#include "geometry/hough_transform.h"
#include "record/create.h"

namespace quilp {
namespace {

// Each byte of a 1-bit row as eight grey bytes: a set bit 255, a clear one 0.
struct BitExpansion {
  uint8_t grey[256][8];
  BitExpansion() {
    for (int v = 0; v < 256; ++v)
      for (int i = 0; i < 8; ++i) grey[v][i] = ((v >> (7 - i)) & 1) ? 255 : 0;
  }
};

// The grey of one row of the area into `grey` (width bytes; 1-bit rows go through whole
// bytes, so grey has room for width + 15).
void GreyRow(uint8_t const* row, int bitsPerPixel, int bitOffset, int width, uint8_t* grey) {
  switch (bitsPerPixel) {
    case 1: {
      static BitExpansion const table;
      int const bytes = (bitOffset + width + 7) / 8;
      for (int j = 0; j < bytes; ++j) std::memcpy(grey + 8 * j, table.grey[row[j]], 8);
      if (bitOffset) std::memmove(grey, grey + bitOffset, std::size_t(width));
      break;
    }
    case 8:
      std::memcpy(grey, row, std::size_t(width));
      break;
    default: {
      int const b = bitsPerPixel / 8;
      for (int x = 0; x < width; ++x, row += b)
        grey[x] = uint8_t((29u * row[0] + 150u * row[1] + 77u * row[2] + 128u) >> 8);
    }
  }
}

// Adds each block of `factor` grey values into acc.
void AddBlocks(uint8_t const* grey, int width, int factor, uint32_t* acc) {
  if (factor == 1) {
    for (int x = 0; x < width; ++x) acc[x] += grey[x];
  } else if (factor == 2) {
    int x = 0;
    for (; x + 1 < width; x += 2) acc[x / 2] += uint32_t(grey[x]) + grey[x + 1];
    if (x < width) acc[x / 2] += grey[x];
  } else {
    for (int x0 = 0, k = 0; x0 < width; x0 += factor, ++k) {
      uint32_t sum = 0;
      for (int x = x0; x < std::min(width, x0 + factor); ++x) sum += grey[x];
      acc[k] += sum;
    }
  }
}

}  // namespace

bool ReducedGrey(DibView const& src, int bitsPerPixel, int factor, GreyImage& out) {
  if (factor < 1 || (bitsPerPixel != 1 && bitsPerPixel != 8 && bitsPerPixel != 24 &&
                     bitsPerPixel != 32))
    return false;
  int const w = (src.width + factor - 1) / factor, h = (src.height + factor - 1) / factor;
  // The size in bytes must fit the address space (a 32-bit build holds less than 4 GiB).
  if (uint64_t(w) * uint64_t(h) > uint64_t(std::numeric_limits<std::ptrdiff_t>::max()))
    return false;
  try {
    out.width = w;
    out.height = h;
    out.pixels.assign(std::size_t(w) * std::size_t(h), 0);
    std::vector<uint32_t> acc(static_cast<std::size_t>(w));
    std::vector<uint8_t> grey(std::size_t(src.width) + 16);
    bool const bottomUp = src.step < 0;
    for (int bi = 0; bi < h; ++bi) {
      int const by = bottomUp ? h - 1 - bi : bi;  // block rows in storage order
      int const y0 = by * factor, y1 = std::min(src.height, y0 + factor);
      if (factor == 1) {  // the grey row is the result
        GreyRow(src.Row(y0), bitsPerPixel, src.left & 7, src.width, grey.data());
        std::memcpy(out.Row(by), grey.data(), std::size_t(w));
        continue;
      }
      std::fill(acc.begin(), acc.end(), 0u);
      for (int y = y0; y < y1; ++y) {
        GreyRow(src.Row(y), bitsPerPixel, src.left & 7, src.width, grey.data());
        AddBlocks(grey.data(), src.width, factor, acc.data());
      }
      uint8_t* row = out.Row(by);
      int const rows = y1 - y0;
      uint32_t const full = uint32_t(factor * rows);
      int const whole = src.width / factor;  // blocks of `factor` columns
      for (int x = 0; x < whole; ++x) row[x] = uint8_t((acc[std::size_t(x)] + full / 2) / full);
      if (whole < w) {
        uint32_t const n = uint32_t((src.width - whole * factor) * rows);
        row[whole] = uint8_t((acc[std::size_t(whole)] + n / 2) / n);
      }
    }
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

bool HoughSkewOf(GreyImage const& grey, double& angle) {
  if (grey.width < 1 || grey.height < 1) return false;
  try {
    DibView v;
    v.base = v.top = const_cast<uint8_t*>(grey.pixels.data());
    v.step = grey.width;
    v.width = grey.width;
    v.height = grey.height;
    std::vector<uint8_t> margins;
    RowTable work;
    FadedRows(v, kFadeRowCap, kFadeFraction, margins, work);
    DibHolder transform(HoughTransformImage(work, kHoughModeHorizontal, 8));
    if (!transform) return false;
    int position = 0, value = 0;
    // A page without ink (or all ink) scores nothing: there is no angle to report.
    if (!HoughPeak(transform.get(), 5, 1, position, value) || value <= 0) return false;
    angle = std::atan2(double(position) / kHoughPeakScale - 0.5 * transform.get()->Height(),
                       double(work.width));
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

}  // namespace quilp
