// reduce.cpp - resolution reduction by area averaging.
//
// Each axis gets a list of (source index, weight) per destination index: the overlap of the
// source cell with the destination's footprint, in 16.16 fixed point, every weight rounded
// down and the largest taking the rest so that a footprint sums to exactly 65536. A
// destination row sums its source rows per byte column (32-bit sums), then each pixel sums
// its source columns (64-bit), and the mean is rounded: cost proportional to the source area.
#include "filter/reduce.h"

#include <cmath>
#include <cstdint>
#include <new>
#include <vector>

namespace quilp {
namespace {

struct Tap {
  int index;
  uint32_t weight;
};

// taps[first[X] .. first[X + 1]) cover destination index X.
struct Axis {
  std::vector<Tap> taps;
  std::vector<std::size_t> first;
};

Axis MakeAxis(int srcLength, int dstLength, double f) {
  Axis a;
  a.first.push_back(0);
  for (int X = 0; X < dstLength; ++X) {
    double const lo = X * f, hi = (X + 1) * f < srcLength ? (X + 1) * f : srcLength;
    std::size_t const begin = a.taps.size();
    uint32_t sum = 0;
    std::size_t largest = begin;
    for (int i = int(std::floor(lo)); i < srcLength && i < hi; ++i) {
      double const overlap = (i + 1 < hi ? i + 1 : hi) - (i > lo ? i : lo);
      uint32_t const w = uint32_t(std::floor(overlap / (hi - lo) * 65536.0));
      a.taps.push_back({i, w});
      sum += w;
      if (w > a.taps[largest].weight) largest = a.taps.size() - 1;
    }
    a.taps[largest].weight += 65536 - sum;
    a.first.push_back(a.taps.size());
  }
  return a;
}

// Pixel x of a 1-bit row starting at bit `offset`, as 0 or 255.
inline uint8_t BitAt(uint8_t const* row, int offset, int x) {
  int const b = offset + x;
  return (row[b / 8] >> (7 - b % 8)) & 1 ? 255 : 0;
}

}  // namespace

bool DibReduceArea(DibPlane const& dst, DibPlane const& src, double fx, double fy) {
  if (!(fx >= 1.0) || !(fy >= 1.0)) return false;
  if (dst.width != int(src.width / fx) || dst.height != int(src.height / fy)) return false;
  if (dst.width <= 0 || dst.height <= 0) return true;
  bool const bits = src.format == kDibFormat1;
  int const bpp = bits ? 1 : BytesPerPixel(src.format);
  try {
    Axis const ax = MakeAxis(src.width, dst.width, fx), ay = MakeAxis(src.height, dst.height, fy);
    std::size_t const rowBytes = std::size_t(src.width) * std::size_t(bpp);
    std::vector<uint32_t> sums(rowBytes);
    std::vector<uint8_t> unpacked(bits ? std::size_t(src.width) : 0);
    for (int Y = 0; Y < dst.height; ++Y) {
      std::fill(sums.begin(), sums.end(), 0u);
      for (std::size_t t = ay.first[std::size_t(Y)]; t < ay.first[std::size_t(Y) + 1]; ++t) {
        uint8_t const* s = src.Row(ay.taps[t].index);
        if (bits) {
          for (int x = 0; x < src.width; ++x) unpacked[std::size_t(x)] = BitAt(s, src.bitOffset, x);
          s = unpacked.data();
        }
        uint32_t const w = ay.taps[t].weight;
        for (std::size_t b = 0; b < rowBytes; ++b) sums[b] += w * s[b];
      }
      uint8_t* d = dst.Row(Y);
      for (int X = 0; X < dst.width; ++X)
        for (int c = 0; c < bpp; ++c) {
          uint64_t acc = 0;
          for (std::size_t t = ax.first[std::size_t(X)]; t < ax.first[std::size_t(X) + 1]; ++t)
            acc += uint64_t(ax.taps[t].weight) * sums[std::size_t(ax.taps[t].index) * std::size_t(bpp) + std::size_t(c)];
          if (!bits) {
            d[X * bpp + c] = uint8_t((acc + (uint64_t(1) << 31)) >> 32);
          } else {
            uint8_t const mask = uint8_t(0x80 >> (X % 8));
            bool const set = acc > uint64_t(255) << 31;  // more than half of 255 * 2^32
            d[X / 8] = uint8_t(set ? d[X / 8] | mask : d[X / 8] & ~mask);
          }
        }
    }
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

}  // namespace quilp
