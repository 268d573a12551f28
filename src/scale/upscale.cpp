// upscale.cpp - bicubic enlargement.
//
// Separable cubic convolution in fixed point: each source row the result needs is filtered
// horizontally once, into 32-bit sums in 1/2048 (a ring of four such rows follows the
// result rows), and each result row is the vertical cubic of four of them, (sum + 2^21) >>
// 22 clamped to 0..255. With |weights| summing to at most 1.25 the sums stay below 2^31.
// Cost per result pixel: four multiply-adds vertically, and 4 / (vertical factor) of them
// horizontally. 1-bit rows are spread to 0 / 255 bytes first and the levels thresholded at
// 128, so edges come out smooth instead of in steps of the factor.
#include "scale/upscale.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace quilp {
namespace {

constexpr int kWeightBits = 11;          // each pass's weights sum to 2^11
constexpr double kCubicA = -0.5;         // the interpolating cubic's free parameter
constexpr int32_t kRound = 1 << (2 * kWeightBits - 1);
constexpr int kThreshold1 = 128;         // 1-bit results: set from this level up

// The four taps of every result index along one axis: clamped source indices and weights.
struct CubicAxis {
  std::vector<int32_t> index;   // 4 per result index
  std::vector<int32_t> weight;  // 4 per result index
};

CubicAxis MakeCubicAxis(int s, int d) {
  CubicAxis axis;
  axis.index.resize(4 * std::size_t(d));
  axis.weight.resize(4 * std::size_t(d));
  for (int64_t X = 0; X < d; ++X) {
    double const centre = (double(X) + 0.5) * s / d - 0.5;
    double const base = std::floor(centre);
    for (int k = 0; k < 4; ++k)
      axis.index[std::size_t(4 * X + k)] = int32_t(std::clamp<double>(base - 1 + k, 0, s - 1));
    CubicWeights(centre - base, &axis.weight[std::size_t(4 * X)]);
  }
  return axis;
}

// A source row as bytes: the row itself, or a 1-bit row spread to 0 / 255.
uint8_t const* SourceBytes(DibPlane const& src, int y, std::vector<uint8_t>& spread) {
  uint8_t const* row = src.Row(y);
  if (src.format != kDibFormat1) return row;
  for (int x = 0; x < src.width; ++x) {
    int const b = src.bitOffset + x;
    spread[std::size_t(x)] = uint8_t(((row[b >> 3] >> (7 - (b & 7))) & 1) * 255);
  }
  return spread.data();
}

void FilterRow(int32_t* out, uint8_t const* row, CubicAxis const& ax, int width, std::size_t ch) {
  int32_t const* idx = ax.index.data();
  int32_t const* w = ax.weight.data();
  if (ch == 1) {
    for (int X = 0; X < width; ++X, idx += 4, w += 4)
      out[X] = w[0] * row[idx[0]] + w[1] * row[idx[1]] + w[2] * row[idx[2]] + w[3] * row[idx[3]];
    return;
  }
  for (int X = 0; X < width; ++X, idx += 4, w += 4)
    for (std::size_t c = 0; c < ch; ++c)
      out[std::size_t(X) * ch + c] =
          w[0] * row[std::size_t(idx[0]) * ch + c] + w[1] * row[std::size_t(idx[1]) * ch + c] +
          w[2] * row[std::size_t(idx[2]) * ch + c] + w[3] * row[std::size_t(idx[3]) * ch + c];
}

void VerticalRow(uint8_t* out, int32_t const* const rows[4], int32_t const w[4], std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    int32_t const v = (w[0] * rows[0][i] + w[1] * rows[1][i] + w[2] * rows[2][i] +
                       w[3] * rows[3][i] + kRound) >> (2 * kWeightBits);
    out[i] = uint8_t(std::clamp(v, 0, 255));
  }
}

}  // namespace

void CubicWeights(double t, int32_t weights[4]) {
  double const a = kCubicA, u = 1.0 - t;
  double const w[4] = {
      ((a * (t + 1) - 5 * a) * (t + 1) + 8 * a) * (t + 1) - 4 * a,
      ((a + 2) * t - (a + 3)) * t * t + 1,
      ((a + 2) * u - (a + 3)) * u * u + 1,
      ((a * (u + 1) - 5 * a) * (u + 1) + 8 * a) * (u + 1) - 4 * a,
  };
  int32_t sum = 0;
  for (int k = 0; k < 4; ++k) {
    weights[k] = int32_t(std::floor(w[k] * (1 << kWeightBits) + 0.5));
    sum += weights[k];
  }
  weights[t < 0.5 ? 1 : 2] += (1 << kWeightBits) - sum;  // the nearest pixel takes the rest
}

bool DibUpscalePlane(DibPlane const& dst, DibPlane const& src) {
  bool const bits = src.format == kDibFormat1;
  int const ch = bits ? 1 : BytesPerPixel(src.format);
  try {
    CubicAxis const ax = MakeCubicAxis(src.width, dst.width);
    CubicAxis const ay = MakeCubicAxis(src.height, dst.height);
    std::size_t const n = std::size_t(dst.width) * std::size_t(ch);
    std::vector<int32_t> ring(4 * n);
    int ringRow[4] = {-1, -1, -1, -1};
    std::vector<uint8_t> spread(bits ? std::size_t(src.width) : 0);
    std::vector<uint8_t> levels(bits ? n : 0);
    bool const upward = dst.stride < 0;
    for (int k = 0; k < dst.height; ++k) {
      int const Y = upward ? dst.height - 1 - k : k;
      int32_t const* taps = &ay.index[4 * std::size_t(Y)];
      int32_t const* rows[4];
      for (int t = 0; t < 4; ++t) {
        int slot = -1;
        for (int s = 0; s < 4; ++s)
          if (ringRow[s] == taps[t]) slot = s;
        if (slot < 0) {  // a slot no tap of this row uses
          for (int s = 0; s < 4 && slot < 0; ++s)
            if (std::find(taps, taps + 4, ringRow[s]) == taps + 4) slot = s;
          FilterRow(&ring[std::size_t(slot) * n], SourceBytes(src, taps[t], spread), ax,
                    dst.width, std::size_t(ch));
          ringRow[slot] = taps[t];
        }
        rows[t] = &ring[std::size_t(slot) * n];
      }
      uint8_t* out = bits ? levels.data() : dst.Row(Y);
      VerticalRow(out, rows, &ay.weight[4 * std::size_t(Y)], n);
      if (bits) {
        uint8_t* row = dst.Row(Y);
        for (int X = 0; X < dst.width; ++X) {
          int const b = dst.bitOffset + X;
          uint8_t const mask = uint8_t(0x80u >> (b & 7));
          row[b >> 3] = uint8_t(levels[std::size_t(X)] >= kThreshold1 ? row[b >> 3] | mask
                                                                        : row[b >> 3] & ~mask);
        }
      }
    }
  } catch (std::exception const&) {  // bad_alloc, or length_error for huge sizes
    return false;
  }
  return true;
}

}  // namespace quilp
