// upscale.h - enlargement of grey and colour areas with a sharp kernel (bicubic).
#pragma once

#include <cstddef>
#include <cstdint>

#include "params/plane.h"

namespace quilp {

// Weights of the cubic convolution kernel (a = -0.5, the interpolating Catmull-Rom cubic) in
// 1/2048, for the four source pixels i - 1 .. i + 2 around a point t (0 <= t < 1) past pixel
// i; they sum to exactly 2048.
void CubicWeights(double t, int32_t weights[4]);

// Writes the enlargement of src into dst (same format: 8, 24 or 32 bits, each byte on its
// own), whose size decides the scale per axis. Result pixel X is centred on source
// (X + 0.5) s / d - 0.5; its value is the separable cubic convolution of the 4 x 4 source
// pixels around that point (edges repeated), rounded and clamped to 0..255.
// Rows are written in dst's storage order. False when memory runs out.
bool DibUpscalePlane(DibPlane const& dst, DibPlane const& src);

// Fixed point of the two passes: weights in 1/2^kCubicBits each, results rounded by
// kCubicRound before the shift by 2 kCubicBits.
inline constexpr int kCubicBits = 11;
inline constexpr int32_t kCubicRound = int32_t(1) << (2 * kCubicBits - 1);

// Row loops per vector tier (every tier gives the scalar integers): the vertical pass, and
// the horizontal pass of one-byte rows enlarged 2, 3 or 4 times (see upscale_rows.h).
struct UpscaleRows {
  void (*vertical)(uint8_t* out, int32_t const* const rows[4], int32_t const w[4], std::size_t n);
  void (*phased[3])(int32_t* out, uint8_t const* row, int first, int last,
                    int32_t const (*w)[4], int const* lead);
};
UpscaleRows const& UpscaleRowsScalar();
UpscaleRows const& UpscaleRowsSse41();
UpscaleRows const& UpscaleRowsAvx2();

}  // namespace quilp
