// upscale_rows.h - the row loops of the cubic enlargement, written once and compiled by the
// scalar file and by each vector file under its own flags (the compiler vectorizes them), so
// every tier computes the same integers. Everything here has internal linkage and calls no
// library template, whose one kept copy might be another tier's (see simd/dispatch.h).
#pragma once

#include <cstddef>
#include <cstdint>

#include "scale/upscale.h"

namespace quilp {
namespace {

// out[i] = clamp((w0 r0[i] + w1 r1[i] + w2 r2[i] + w3 r3[i] + 2^21) >> 22, 0, 255).
void VerticalCubicRow(uint8_t* out, int32_t const* const rows[4], int32_t const w[4],
                      std::size_t n) {
  int32_t const* r0 = rows[0];
  int32_t const* r1 = rows[1];
  int32_t const* r2 = rows[2];
  int32_t const* r3 = rows[3];
  int32_t const w0 = w[0], w1 = w[1], w2 = w[2], w3 = w[3];
  for (std::size_t i = 0; i < n; ++i) {
    int32_t const v = (w0 * r0[i] + w1 * r1[i] + w2 * r2[i] + w3 * r3[i] + kCubicRound) >>
                      (2 * kCubicBits);
    out[i] = uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);  // no library template: see above
  }
}

// Source pixels first .. last of a one-byte row enlarged K times: out[K i + p] is phase p's
// filter w[p] over row[i + lead[p] .. i + lead[p] + 3].
template <int K>
void PhasedCubicRow(int32_t* out, uint8_t const* row, int first, int last,
                    int32_t const (*w)[4], int const* lead) {
  for (int i = first; i <= last; ++i)
    for (int p = 0; p < K; ++p) {
      uint8_t const* r = row + i + lead[p];
      out[K * i + p] = w[p][0] * r[0] + w[p][1] * r[1] + w[p][2] * r[2] + w[p][3] * r[3];
    }
}

UpscaleRows MakeUpscaleRows() {
  return UpscaleRows{VerticalCubicRow, {PhasedCubicRow<2>, PhasedCubicRow<3>, PhasedCubicRow<4>}};
}

}  // namespace
}  // namespace quilp
