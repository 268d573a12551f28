// bilateral.cpp - the bilateral filter: a Gaussian that does not average across edges.
//
// Each neighbour's weight is its spatial Gaussian weight times a Gaussian of its level
// difference to the centre, both from tables in 1/4096, so a neighbour across an edge
// several deviations high barely counts and strokes keep their edges while paper and flat
// areas lose their noise. Integer sums; cost size^2 table lookups and multiplies per pixel.
// Rows go in storage order.
#include "filter/bilateral.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace quilp {

bool DibBilateral(DibView const& dst, DibView const& src, int bpp, int size, int strength) {
  if (size < 3 || size > 31 || size % 2 == 0 || strength < 1 || strength > 255 ||
      (bpp != 1 && bpp != 3 && bpp != 4))
    return false;
  int const r = size / 2;
  double const sd = size / 4.0;
  int spatial[31][31];
  for (int dy = -r; dy <= r; ++dy)
    for (int dx = -r; dx <= r; ++dx)
      spatial[dy + r][dx + r] =
          int(std::floor(4096.0 * std::exp(-(dx * dx + dy * dy) / (2.0 * sd * sd)) + 0.5));
  int range[256];
  for (int v = 0; v < 256; ++v)
    range[v] = int(std::floor(4096.0 * std::exp(-double(v) * v / (2.0 * strength * strength)) + 0.5));
  std::vector<int> xs(std::size_t(src.width) + 2 * r);
  for (int x = -r; x < src.width + r; ++x) xs[x + r] = std::clamp(x, 0, src.width - 1) * bpp;
  uint8_t const* rows[31];
  for (int i = 0; i < src.height; ++i) {
    int const y = src.step < 0 ? src.height - 1 - i : i;
    for (int k = 0; k < size; ++k) rows[k] = src.Row(std::clamp(y - r + k, 0, src.height - 1));
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x) {
      uint8_t const* centre = rows[r] + std::size_t(x) * bpp;
      int64_t sum[4] = {0, 0, 0, 0}, total = 0;
      for (int k = 0; k < size; ++k)
        for (int j = 0; j < size; ++j) {
          uint8_t const* p = rows[k] + xs[x + j];
          int dv = 0;
          for (int c = 0; c < (bpp == 1 ? 1 : 3); ++c) dv = std::max(dv, std::abs(p[c] - centre[c]));
          int64_t const w = (int64_t(spatial[k][j]) * range[dv] + 2048) >> 12;
          total += w;
          for (int c = 0; c < bpp; ++c) sum[c] += w * p[c];
        }
      for (int c = 0; c < bpp; ++c) d[x * bpp + c] = static_cast<uint8_t>((sum[c] + total / 2) / total);
    }
  }
  return true;
}

}  // namespace quilp
