// downscale.cpp - area-averaging reduction by integer factors.
//
// Rows are reduced a block row at a time: the block's source rows are summed column by column
// (one 64-bit sum per byte, so no factor can overflow it), then each run of hFactor columns
// becomes one pixel, the rounded mean (sum + n/2) / n over the n pixels it covers; blocks at
// the right and bottom edges cover what is left. 1-bit areas count set bits and keep a bit
// when more than half of its block is set. Cost: one read of the area, one division per
// result byte.
#include "scale/downscale.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace quilp {
namespace {

// Bit x of a 1-bit row seen from the area's first column (left is the area's bit offset).
inline int BitAt(uint8_t const* row, int left, int x) {
  int const b = left + x;
  return (row[b >> 3] >> (7 - (b & 7))) & 1;
}

void Reduce1(DibView const& dst, DibView const& src, int hf, int vf) {
  int const left = src.left & 7;  // the view points at the byte holding the first column
  std::vector<uint64_t> counts(std::size_t(src.width));
  for (int oy = 0; oy < dst.height; ++oy) {
    int const y0 = oy * vf, y1 = int(std::min<int64_t>(int64_t(y0) + vf, src.height));
    std::fill(counts.begin(), counts.end(), 0);
    for (int y = y0; y < y1; ++y) {
      uint8_t const* row = src.Row(y);
      for (int x = 0; x < src.width; ++x) counts[std::size_t(x)] += uint64_t(BitAt(row, left, x));
    }
    uint8_t* out = dst.Row(oy);
    std::memset(out, 0, std::size_t((dst.width + 7) / 8));
    for (int ox = 0; ox < dst.width; ++ox) {
      int const x0 = ox * hf, x1 = int(std::min<int64_t>(int64_t(x0) + hf, src.width));
      uint64_t set = 0;
      for (int x = x0; x < x1; ++x) set += counts[std::size_t(x)];
      uint64_t const n = uint64_t(x1 - x0) * uint64_t(y1 - y0);
      if (2 * set > n) out[ox >> 3] = static_cast<uint8_t>(out[ox >> 3] | (0x80 >> (ox & 7)));
    }
  }
}

// Bytes: `channels` bytes per pixel, each averaged on its own.
void ReduceBytes(DibView const& dst, DibView const& src, int channels, int hf, int vf) {
  std::size_t const bytes = std::size_t(src.width) * std::size_t(channels);
  if (hf == 1 && vf == 1) {
    for (int y = 0; y < src.height; ++y) std::memcpy(dst.Row(y), src.Row(y), bytes);
    return;
  }
  std::vector<uint64_t> sums(bytes);
  for (int oy = 0; oy < dst.height; ++oy) {
    int const y0 = oy * vf, y1 = int(std::min<int64_t>(int64_t(y0) + vf, src.height));
    std::fill(sums.begin(), sums.end(), 0);
    for (int y = y0; y < y1; ++y) {
      uint8_t const* row = src.Row(y);
      for (std::size_t i = 0; i < bytes; ++i) sums[i] += row[i];
    }
    uint8_t* out = dst.Row(oy);
    for (int ox = 0; ox < dst.width; ++ox) {
      int const x0 = ox * hf, x1 = int(std::min<int64_t>(int64_t(x0) + hf, src.width));
      uint64_t const n = uint64_t(x1 - x0) * uint64_t(y1 - y0);
      for (int c = 0; c < channels; ++c) {
        uint64_t s = 0;
        for (int x = x0; x < x1; ++x) s += sums[std::size_t(x) * std::size_t(channels) + std::size_t(c)];
        out[std::size_t(ox) * std::size_t(channels) + std::size_t(c)] = static_cast<uint8_t>((s + n / 2) / n);
      }
    }
  }
}

}  // namespace

void DibDownscaleArea(DibView const& dst, DibView const& src, int bitCount, int hFactor,
                      int vFactor) {
  if (bitCount == 1) Reduce1(dst, src, hFactor, vFactor);
  else ReduceBytes(dst, src, bitCount / 8, hFactor, vFactor);
}

}  // namespace quilp
