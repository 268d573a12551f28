// compress_bits.cpp - the measurements of the depth decision: extremum levels of a grey zone
// and the chroma of a colour zone.
//
// Both build one 256-bin histogram on the stack in a single pass over the zone (four
// neighbour comparisons per grey pixel; a maximum, a minimum and a count per colour pixel)
// and then read it in constant time; nothing is allocated except inside the Otsu search.
#include "scale/compress_bits.h"

#include <climits>
#include <cstdint>

#include "binarize/otsu.h"

namespace quilp {
namespace {

// Count, mean and mean square of the levels lo..hi of a histogram; false when it is empty.
bool ClassMoments(int64_t const hist[256], int lo, int hi, double& mean, double& meanSquare) {
  int64_t n = 0;
  double s = 0, q = 0;
  for (int v = lo; v <= hi; ++v) {
    n += hist[v];
    s += double(v) * double(hist[v]);
    q += double(v) * double(v) * double(hist[v]);
  }
  if (n == 0) return false;
  mean = s / double(n);
  meanSquare = q / double(n);
  return true;
}

}  // namespace

bool DibGreyLevelsTest(DibView const& grey, double spreadLimit) {
  int64_t hist[256] = {};
  for (int y = 1; y + 1 < grey.height; ++y) {
    uint8_t const* up = grey.Row(y - 1);
    uint8_t const* row = grey.Row(y);
    uint8_t const* down = grey.Row(y + 1);
    for (int x = 1; x + 1 < grey.width; ++x) {
      int const v = row[x], l = row[x - 1], r = row[x + 1], u = up[x], d = down[x];
      hist[v] += (v >= l && v >= r && v >= u && v >= d) + (v <= l && v <= r && v <= u && v <= d);
    }
  }
  int counts[256];  // the Otsu search takes 32-bit counts: saturate (beyond 2^31 extrema)
  for (int v = 0; v < 256; ++v) counts[v] = hist[v] > INT_MAX ? INT_MAX : int(hist[v]);
  int const t = DibOtsuThreshold(counts, 256, 0, 255, nullptr);
  double m1, q1, m2, q2;
  if (t <= 0 || !ClassMoments(hist, 0, t - 1, m1, q1) || !ClassMoments(hist, t, 255, m2, q2))
    return false;  // an empty class: the spread is not a number, keep 8 bits
  double const spread = (q1 - m1 * m1) / t / t + (q2 - m2 * m2) / (256 - t) / (256 - t);
  return spread < spreadLimit;
}

bool DibColourTest(DibView const& colour, unsigned char chromaLevel, double colourfulShare) {
  uint32_t hist[256] = {};
  for (int y = 0; y < colour.height; ++y) {
    uint8_t const* p = colour.Row(y);
    for (int x = 0; x < colour.width; ++x, p += 3) {
      int const hi = p[0] > p[1] ? (p[0] > p[2] ? p[0] : p[2]) : (p[1] > p[2] ? p[1] : p[2]);
      int const lo = p[0] < p[1] ? (p[0] < p[2] ? p[0] : p[2]) : (p[1] < p[2] ? p[1] : p[2]);
      ++hist[hi - lo];
    }
  }
  double const k = double(colour.width) * double(colour.height) * colourfulShare + 0.5;
  if (!(k > -1.0)) return false;  // (int)k < 0, or no number at all: grey
  int64_t const K = k >= 9.0e18 ? INT64_MAX : static_cast<int64_t>(k);
  int64_t n = 0, s = 0;
  for (int c = 255; c >= 0; --c) {
    n += hist[c];
    s += int64_t(c) * hist[c];
    if (n > K) break;
  }
  return n > 0 && chromaLevel < s / n;
}

}  // namespace quilp
