// grey_skew.cpp - the grey working copy of a page (any depth, block-averaged) and its Hough
// skew. Cost: one read of the area; the skew as the Hough transform image costs.
#include "geometry/grey_skew.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "geometry/fade_borders.h"
#include "geometry/hough_transform.h"
#include "record/create.h"

namespace quilp {
namespace {

// Grey of pixel run x0..x1-1 of a row, added into acc[x / factor].
void AddRow(uint8_t const* row, int bitsPerPixel, int bitOffset, int width, int factor,
            uint32_t* acc) {
  switch (bitsPerPixel) {
    case 1:
      for (int x = 0; x < width; ++x) {
        int const p = bitOffset + x;
        acc[x / factor] += ((row[p >> 3] >> (7 - (p & 7))) & 1) * 255u;
      }
      break;
    case 8:
      for (int x = 0; x < width; ++x) acc[x / factor] += row[x];
      break;
    default: {
      int const b = bitsPerPixel / 8;
      for (int x = 0; x < width; ++x) {
        uint8_t const* p = row + std::ptrdiff_t(x) * b;
        acc[x / factor] += (29u * p[0] + 150u * p[1] + 77u * p[2] + 128u) >> 8;
      }
    }
  }
}

}  // namespace

DibView GreyImage::View() {
  DibView v;
  v.base = v.top = pixels.data();
  v.step = width;
  v.width = width;
  v.height = height;
  return v;
}

bool ReducedGrey(DibView const& src, int bitsPerPixel, int factor, GreyImage& out) {
  if (factor < 1 || (bitsPerPixel != 1 && bitsPerPixel != 8 && bitsPerPixel != 24 &&
                     bitsPerPixel != 32))
    return false;
  int const w = (src.width + factor - 1) / factor, h = (src.height + factor - 1) / factor;
  try {
    out.width = w;
    out.height = h;
    out.pixels.assign(std::size_t(w) * std::size_t(h), 0);
    std::vector<uint32_t> acc(static_cast<std::size_t>(w));
    bool const bottomUp = src.step < 0;
    for (int bi = 0; bi < h; ++bi) {
      int const by = bottomUp ? h - 1 - bi : bi;  // block rows in storage order
      int const y0 = by * factor, y1 = std::min(src.height, y0 + factor);
      std::fill(acc.begin(), acc.end(), 0u);
      for (int y = y0; y < y1; ++y)
        AddRow(src.Row(y), bitsPerPixel, src.left & 7, src.width, factor, acc.data());
      uint8_t* row = out.Row(by);
      int const rows = y1 - y0;
      for (int x = 0; x < w; ++x) {
        uint32_t const n = uint32_t(std::min(src.width - x * factor, factor) * rows);
        row[x] = uint8_t((acc[std::size_t(x)] + n / 2) / n);
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
