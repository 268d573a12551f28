// zoom_axis.cpp - tap tables of one zoom axis.
//
// Area weights are exact integers: with g = gcd(s, d), the source axis is cut into s * d / g
// units, a source pixel is d / g units and a result pixel's footprint s / g units, so every
// overlap is a whole number of units and the weights of a footprint sum to s / g. Bilinear
// weights (magnification) are the distance to the mapped centre in 1/256, rounded. Cost: one
// tap per source pixel plus one per result pixel.
#include "scale/zoom_axis.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quilp {

int ZoomLength(int length, double factor) {
  if (!(factor > 0.0) || !std::isfinite(factor) || length < 1) return 0;
  double const scaled = std::floor(double(length) * factor + 0.5);
  if (scaled >= 2147483647.0) return 0;
  return scaled < 1.0 ? 1 : int(scaled);
}

namespace {

ZoomAxis AreaAxis(int s, int d) {
  ZoomAxis axis;
  int64_t const g = std::gcd(int64_t(s), int64_t(d));
  int64_t const unit = s / g, pixel = d / g;  // a footprint and a source pixel, in units
  axis.unit = uint32_t(unit);
  axis.boxes = pixel == 1;
  axis.first.reserve(std::size_t(d) + 1);
  axis.taps.reserve(std::size_t(s) + std::size_t(d));
  for (int64_t X = 0; X < d; ++X) {
    axis.first.push_back(uint32_t(axis.taps.size()));
    int64_t const lo = X * unit, hi = lo + unit;
    for (int64_t i = lo / pixel; i * pixel < hi; ++i) {
      int64_t const overlap = std::min(hi, (i + 1) * pixel) - std::max(lo, i * pixel);
      axis.taps.push_back({int(i), uint32_t(overlap)});
    }
  }
  axis.first.push_back(uint32_t(axis.taps.size()));
  return axis;
}

ZoomAxis LinearAxis(int s, int d) {
  ZoomAxis axis;
  axis.unit = 256;
  axis.first.reserve(std::size_t(d) + 1);
  axis.taps.reserve(2 * std::size_t(d));
  int64_t const twoD = 2 * int64_t(d);
  for (int64_t X = 0; X < d; ++X) {
    axis.first.push_back(uint32_t(axis.taps.size()));
    // Centre at c / 2d source pixels, c = (2X + 1) s - d; split into pixel i0 and remainder.
    int64_t const c = (2 * X + 1) * s - d;
    int64_t i0 = c >= 0 ? c / twoD : -((-c + twoD - 1) / twoD);
    int64_t const r = c - i0 * twoD;
    uint32_t const far = uint32_t((r * 256 + d) / twoD);
    int const a = int(std::clamp<int64_t>(i0, 0, s - 1)), b = int(std::clamp<int64_t>(i0 + 1, 0, s - 1));
    axis.taps.push_back({a, 256 - far});
    axis.taps.push_back({b, far});
  }
  axis.first.push_back(uint32_t(axis.taps.size()));
  return axis;
}

}  // namespace

ZoomAxis MakeZoomAxis(int srcLength, int dstLength) {
  return dstLength <= srcLength ? AreaAxis(srcLength, dstLength) : LinearAxis(srcLength, dstLength);
}

}  // namespace quilp
