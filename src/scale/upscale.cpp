// upscale.cpp - bicubic enlargement.
//
// Separable cubic convolution in fixed point: each source row the result needs is filtered
// horizontally once, into 32-bit sums in 1/2048 (a ring of four such rows follows the
// result rows), and each result row is the vertical cubic of four of them, (sum + 2^21) >>
// 22 clamped to 0..255. With |weights| summing to at most 1.25 the sums stay below 2^31.
// Cost per result pixel: four multiply-adds vertically, and 4 / (vertical factor) of them
// horizontally; the row loops are vectorized per tier (upscale_rows.h).
#include "scale/upscale.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "scale/upscale_rows.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

constexpr double kCubicA = -0.5;  // the interpolating cubic's free parameter

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

// Result pixels X0 .. X1 - 1 of one row, through the per-pixel taps.
void FilterRow(int32_t* out, uint8_t const* row, CubicAxis const& ax, int X0, int X1,
               std::size_t ch) {
  int32_t const* idx = ax.index.data() + 4 * std::size_t(X0);
  int32_t const* w = ax.weight.data() + 4 * std::size_t(X0);
  if (ch == 1) {
    for (int X = X0; X < X1; ++X, idx += 4, w += 4)
      out[X] = w[0] * row[idx[0]] + w[1] * row[idx[1]] + w[2] * row[idx[2]] + w[3] * row[idx[3]];
    return;
  }
  for (int X = X0; X < X1; ++X, idx += 4, w += 4)
    for (std::size_t c = 0; c < ch; ++c)
      out[std::size_t(X) * ch + c] =
          w[0] * row[std::size_t(idx[0]) * ch + c] + w[1] * row[std::size_t(idx[1]) * ch + c] +
          w[2] * row[std::size_t(idx[2]) * ch + c] + w[3] * row[std::size_t(idx[3]) * ch + c];
}

// One-byte rows enlarged by a whole factor K (2, 3 or 4): result K i + p always has the
// weights of phase p and taps at i + lead[p] .. + 3, so away from the edges the row is K
// fixed filters over consecutive source bytes (the tier's loop); the edges use the taps.
void FilterRowTimes(int32_t* out, uint8_t const* row, CubicAxis const& ax, int s, int K,
                    UpscaleRows const& loops) {
  int lead[4];
  int32_t w[4][4];
  for (int p = 0; p < K; ++p) {
    lead[p] = int(std::floor((p + 0.5) / K - 0.5)) - 1;
    for (int j = 0; j < 4; ++j) w[p][j] = ax.weight[std::size_t(4 * p + j)];
  }
  int const first = 2, last = s - 3;  // source pixels whose taps all lie inside the row
  if (last < first) {
    FilterRow(out, row, ax, 0, K * s, 1);
    return;
  }
  FilterRow(out, row, ax, 0, K * first, 1);
  loops.phased[K - 2](out, row, first, last, w, lead);
  FilterRow(out, row, ax, K * (last + 1), K * s, 1);
}

// The horizontal pass of one source row into `out` (dst.width * ch sums).
void FilterSourceRow(int32_t* out, uint8_t const* row, CubicAxis const& ax, int s, int d,
                     std::size_t ch, UpscaleRows const& loops) {
  int64_t const K = d / s;
  if (ch == 1 && K * s == d && K >= 2 && K <= 4) FilterRowTimes(out, row, ax, s, int(K), loops);
  else FilterRow(out, row, ax, 0, d, ch);
}

}  // namespace

UpscaleRows const& UpscaleRowsScalar() {
  static UpscaleRows const table = MakeUpscaleRows();
  return table;
}

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
    weights[k] = int32_t(std::floor(w[k] * (1 << kCubicBits) + 0.5));
    sum += weights[k];
  }
  weights[t < 0.5 ? 1 : 2] += (1 << kCubicBits) - sum;  // the nearest pixel takes the rest
}

bool DibUpscalePlane(DibPlane const& dst, DibPlane const& src) {
  int const ch = BytesPerPixel(src.format);
  UpscaleRows const& loops = simd::Pick(UpscaleRowsScalar(), QUILP_VECTOR_TABLE(UpscaleRowsSse41()),
                                        QUILP_VECTOR_TABLE(UpscaleRowsAvx2()));
  try {
    CubicAxis const ax = MakeCubicAxis(src.width, dst.width);
    CubicAxis const ay = MakeCubicAxis(src.height, dst.height);
    std::size_t const n = std::size_t(dst.width) * std::size_t(ch);
    std::vector<int32_t> ring(4 * n);
    int ringRow[4] = {-1, -1, -1, -1};
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
          FilterSourceRow(&ring[std::size_t(slot) * n], src.Row(taps[t]), ax,
                          src.width, dst.width, std::size_t(ch), loops);
          ringRow[slot] = taps[t];
        }
        rows[t] = &ring[std::size_t(slot) * n];
      }
      loops.vertical(dst.Row(Y), rows, &ay.weight[4 * std::size_t(Y)], n);
    }
  } catch (std::exception const&) {  // bad_alloc, or length_error for huge sizes
    return false;
  }
  return true;
}

}  // namespace quilp
