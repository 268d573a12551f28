// paper_colour.cpp - the paper colour: median bytes of the brightest quarter of the pixels.
//
// Pass one histograms the byte sums (0..765) and finds the least sum s such that the pixels
// with a sum of at least s make up a quarter of the area (ties included); pass two histograms
// each byte of those pixels and takes the lower median. Rows are visited in storage order.
#include "colour/paper_colour.h"

#include <cstdint>
#include <vector>

namespace quilp {

bool MeasurePaper(DibPlane const& src, unsigned char paper[3]) {
  int const bpp = src.format == kDibFormat8 ? 1 : src.format == kDibFormat24 ? 3
                  : src.format == kDibFormat32 ? 4 : 0;
  if (bpp == 0 || src.width <= 0 || src.height <= 0) return false;
  auto sumOf = [bpp](uint8_t const* p) { return bpp == 1 ? 3 * p[0] : p[0] + p[1] + p[2]; };
  std::vector<uint64_t> sums(766, 0);
  for (int i = 0; i < src.height; ++i) {
    uint8_t const* row = src.Row(StorageRow(src, i));
    for (int x = 0; x < src.width; ++x) ++sums[sumOf(row + x * bpp)];
  }
  uint64_t const total = uint64_t(src.width) * uint64_t(src.height);
  uint64_t const quarter = (total + 3) / 4;
  uint64_t seen = 0;
  int cut = 765;
  for (; cut > 0; --cut) {
    seen += sums[cut];
    if (seen >= quarter) break;
  }
  std::vector<uint64_t> bytes(3 * 256, 0);
  uint64_t n = 0;
  for (int i = 0; i < src.height; ++i) {
    uint8_t const* row = src.Row(StorageRow(src, i));
    for (int x = 0; x < src.width; ++x) {
      uint8_t const* p = row + x * bpp;
      if (sumOf(p) < cut) continue;
      ++n;
      for (int c = 0; c < 3; ++c) ++bytes[c * 256 + p[bpp == 1 ? 0 : c]];
    }
  }
  for (int c = 0; c < 3; ++c) {
    uint64_t acc = 0;
    int v = 0;
    for (; v < 255; ++v) {
      acc += bytes[c * 256 + v];
      if (2 * acc >= n) break;
    }
    paper[c] = static_cast<unsigned char>(v);
  }
  return true;
}

}  // namespace quilp
