// texture.cpp - block texture measures.
//
// One pass over the area in storage order accumulates, per block, the sum and the sum of
// squares of the levels (deviation) or of the two central differences (edge energy) in 64-bit
// integers; a second, tiny pass over the blocks turns them into bytes. Continuous tone has a
// high deviation and little edge energy, halftone screens and text have both, paper neither.
#include "filter/texture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <vector>

namespace quilp {

bool DibTextureMap(DibView const& dst, DibView const& src, int block, TextureMeasure measure) {
  if (block < 1) return false;
  int const gw = TextureCells(src.width, block), gh = TextureCells(src.height, block);
  std::vector<int64_t> sum, squares;
  try {
    sum.assign(std::size_t(gw) * gh, 0);
    squares.assign(measure == TextureMeasure::kDeviation ? sum.size() : 0, 0);
  } catch (std::bad_alloc const&) {
    return false;
  }
  int const last = src.height - 1, right = src.width - 1;
  for (int i = 0; i < src.height; ++i) {
    int const y = src.step < 0 ? last - i : i;
    uint8_t const* row = src.Row(y);
    int64_t* s = sum.data() + std::size_t(y / block) * gw;
    if (measure == TextureMeasure::kDeviation) {
      int64_t* q = squares.data() + std::size_t(y / block) * gw;
      for (int x = 0; x < src.width; ++x) {
        s[x / block] += row[x];
        q[x / block] += row[x] * row[x];
      }
      continue;
    }
    uint8_t const* above = src.Row(y > 0 ? y - 1 : 0);
    uint8_t const* below = src.Row(y < last ? y + 1 : last);
    for (int x = 0; x < src.width; ++x) {
      int const l = x > 0 ? x - 1 : 0, r = x < right ? x + 1 : right;
      s[x / block] += std::abs(row[r] - row[l]) + std::abs(below[x] - above[x]);
    }
  }
  for (int gy = 0; gy < gh; ++gy) {
    uint8_t* d = dst.Row(gy);
    int const rows = std::min(block, src.height - gy * block);
    for (int gx = 0; gx < gw; ++gx) {
      int64_t const n = int64_t(rows) * std::min(block, src.width - gx * block);
      std::size_t const k = std::size_t(gy) * gw + gx;
      double v;
      if (measure == TextureMeasure::kDeviation) {
        double const mean = double(sum[k]) / n;
        double const var = double(squares[k]) / n - mean * mean;
        v = std::sqrt(var > 0.0 ? var : 0.0);
      } else {
        v = double(sum[k]) / (2.0 * n);
      }
      int const q = static_cast<int>(v + 0.5);
      d[gx] = static_cast<uint8_t>(q > 255 ? 255 : q);
    }
  }
  return true;
}

}  // namespace quilp
