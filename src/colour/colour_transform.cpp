// colour_transform.cpp - level curves, white balance, weighted grey and inversion.
//
// Curves are 256-entry tables built once per call (pow per entry, not per pixel); applying
// them costs one lookup per byte. The weighted grey is integer: three multiplications and a
// division per pixel in 64 bits, so any weights are safe. Rows go in storage order.
#include "colour/colour_transform.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "colour/paper_colour.h"

namespace quilp {

bool MakeLevelCurve(int black, int white, int gamma100, unsigned char table[256]) {
  if (black < 0 || white > 255 || black >= white || gamma100 <= 0) return false;
  double const exponent = 100.0 / gamma100;
  for (int v = 0; v < 256; ++v) {
    double t = double(v - black) / double(white - black);
    t = t < 0.0 ? 0.0 : t > 1.0 ? 1.0 : t;
    table[v] = static_cast<unsigned char>(std::floor(255.0 * std::pow(t, exponent) + 0.5));
  }
  return true;
}

bool MakeBalanceCurve(int paper, unsigned char table[256]) {
  if (paper <= 0 || paper > 255) return false;
  for (int v = 0; v < 256; ++v) {
    int const q = (v * 255 + paper / 2) / paper;
    table[v] = static_cast<unsigned char>(q > 255 ? 255 : q);
  }
  return true;
}

void ApplyCurves(DibPlane const& dst, DibPlane const& src, ByteCurves const& curves) {
  int const bpp = BytesPerPixel(src.format);
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageRow(src, i);
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    if (bpp == 1) {
      for (int x = 0; x < src.width; ++x) d[x] = curves.table[0][s[x]];
      continue;
    }
    for (int x = 0; x < src.width; ++x, s += bpp, d += bpp) {
      for (int c = 0; c < 3; ++c) d[c] = curves.table[c][s[c]];
      if (bpp == 4) d[3] = s[3];
    }
  }
}

void WeightedGrey(DibPlane const& dst, DibPlane const& src, int const weights[3]) {
  int const bpp = BytesPerPixel(src.format);
  int64_t const sum = int64_t(weights[0]) + weights[1] + weights[2];
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageRow(src, i);
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x, s += bpp) {
      int64_t const v =
          (int64_t(weights[0]) * s[0] + int64_t(weights[1]) * s[1] + int64_t(weights[2]) * s[2] +
           sum / 2) / sum;
      d[x] = static_cast<uint8_t>(v > 255 ? 255 : v);
    }
  }
}

}  // namespace quilp
