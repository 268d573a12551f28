// zoom_deskewed.cpp - rotation and zoom of a preview in one pass.
//
// Coordinates are taken from the centres of both areas, in their own pixels. A source point
// p maps to the result point S R(-angle) p, with S the scale per axis (result / source size)
// and R the rotation (rows counted downwards, so R(-angle) levels a line that descends by
// `angle`). Reduction walks the source in storage order: the mapped centre moves by a fixed
// step along a row, so each pixel costs a few additions to place and four multiply-adds to
// spread (a bilinear splat into weight and value sums of the result's size); unlike sampling
// at the result's pixels, every source pixel counts, so thin strokes stay in the preview.
// Enlargement walks the result and interpolates the grey area at the inverse map through
// the geometry resampler, four reads per pixel.
#include "scale/zoom_deskewed.h"

#include "geometry/resample.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace quilp {
namespace {

constexpr double kPaper = 255.0;  // what lies outside the source

// Source row y as grey levels: bits as 0 / 255, colour as (b + g + r) / 3.
void GreyRow(double* out, DibView const& src, int y, int bitCount) {
  uint8_t const* row = src.Row(y);
  if (bitCount == 1) {
    int const offset = src.left & 7;
    for (int x = 0; x < src.width; ++x) {
      int const b = offset + x;
      out[x] = ((row[b >> 3] >> (7 - (b & 7))) & 1) ? 255.0 : 0.0;
    }
  } else if (bitCount == 8) {
    for (int x = 0; x < src.width; ++x) out[x] = row[x];
  } else {
    std::size_t const c = std::size_t(bitCount / 8);
    for (int x = 0; x < src.width; ++x) {
      uint8_t const* p = row + std::size_t(x) * c;
      out[x] = (p[0] + p[1] + p[2]) / 3.0;
    }
  }
}

uint8_t Level(double v) { return uint8_t(std::clamp(std::floor(v + 0.5), 0.0, 255.0)); }

// The affine map from one area's pixel centres to the other's: out = origin + col x + row y.
struct Affine {
  double ox, oy, xx, xy, yx, yy;  // x' = ox + xx x + yx y ; y' = oy + xy x + yy y
};

void Gather(DibView const& dst, DibView const& src, int bitCount, Affine const& m) {
  std::size_t const cells = std::size_t(dst.width) * std::size_t(dst.height);
  std::vector<double> sum(cells, 0.0), weight(cells, 0.0), grey(std::size_t(src.width));
  int const W = dst.width, H = dst.height;
  bool const upward = src.step < 0;
  for (int k = 0; k < src.height; ++k) {
    int const y = upward ? src.height - 1 - k : k;
    GreyRow(grey.data(), src, y, bitCount);
    double u = m.ox + m.yx * y, v = m.oy + m.yy * y;
    for (int x = 0; x < src.width; ++x, u += m.xx, v += m.xy) {
      double const fu = std::floor(u), fv = std::floor(v);
      int const X = int(fu), Y = int(fv);
      if (X < -1 || Y < -1 || X >= W || Y >= H) continue;
      double const ax = u - fu, ay = v - fv, g = grey[std::size_t(x)];
      double const w[4] = {(1 - ax) * (1 - ay), ax * (1 - ay), (1 - ax) * ay, ax * ay};
      int const cx[4] = {X, X + 1, X, X + 1}, cy[4] = {Y, Y, Y + 1, Y + 1};
      for (int i = 0; i < 4; ++i) {
        if (cx[i] < 0 || cy[i] < 0 || cx[i] >= W || cy[i] >= H) continue;
        std::size_t const at = std::size_t(cy[i]) * std::size_t(W) + std::size_t(cx[i]);
        sum[at] += w[i] * g;
        weight[at] += w[i];
      }
    }
  }
  bool const down = dst.step > 0;
  for (int k = 0; k < H; ++k) {
    int const Y = down ? k : H - 1 - k;
    uint8_t* out = dst.Row(Y);
    for (int X = 0; X < W; ++X) {
      std::size_t const at = std::size_t(Y) * std::size_t(W) + std::size_t(X);
      out[X] = weight[at] > 0.0 ? Level(sum[at] / weight[at]) : uint8_t(kPaper);
    }
  }
}

// Enlargement: the area's grey levels, rounded, go through the geometry resampler (bilinear,
// white outside, edges blended with it) under the inverse map.
bool Sample(DibView const& dst, DibView const& src, int bitCount, Affine const& m) {
  std::size_t const w = std::size_t(src.width);
  std::vector<uint8_t> grey(w * std::size_t(src.height));
  std::vector<double> row(w);
  for (int y = 0; y < src.height; ++y) {
    GreyRow(row.data(), src, y, bitCount);
    for (std::size_t x = 0; x < w; ++x) grey[std::size_t(y) * w + x] = Level(row[x]);
  }
  DibView plane;
  plane.base = plane.top = grey.data();
  plane.step = std::ptrdiff_t(w);
  plane.width = src.width;
  plane.height = src.height;
  AffineMap map;
  map.xx = m.xx, map.xy = m.yx, map.x0 = m.ox;
  map.yx = m.xy, map.yy = m.yy, map.y0 = m.oy;
  uint8_t const paper[4] = {255, 255, 255, 255};
  return ResampleAffine(dst, plane, 1, map, Interpolation::kBilinear, paper);
}

}  // namespace

bool DibZoomDeskewedView(DibView const& dst, DibView const& src, int bitCount, double angle) {
  double const c = std::cos(angle), s = std::sin(angle);
  double const sx = double(dst.width) / src.width, sy = double(dst.height) / src.height;
  // Pixel centres relative to each area's centre.
  double const scx = (src.width - 1) / 2.0, scy = (src.height - 1) / 2.0;
  double const dcx = (dst.width - 1) / 2.0, dcy = (dst.height - 1) / 2.0;
  try {
    if (dst.width <= src.width && dst.height <= src.height) {
      // Forward: R(-angle) = [c s; -s c] on (x - scx, y - scy), then scaled.
      Affine const m{dcx - sx * (c * scx + s * scy), dcy - sy * (-s * scx + c * scy),
                     sx * c, -sy * s, sx * s, sy * c};
      Gather(dst, src, bitCount, m);
    } else {
      // Inverse: unscale, then R(angle) = [c -s; s c], back to source pixels.
      double const ix = 1.0 / sx, iy = 1.0 / sy;
      Affine const m{scx - (c * ix * dcx - s * iy * dcy), scy - (s * ix * dcx + c * iy * dcy),
                     c * ix, s * ix, -s * iy, c * iy};
      return Sample(dst, src, bitCount, m);
    }
  } catch (std::exception const&) {  // bad_alloc, or length_error for huge sizes
    return false;
  }
  return true;
}

}  // namespace quilp
