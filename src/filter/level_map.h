// level_map.h - per-pixel level operations of the grey filters (8-bit planes of equal size).
#pragma once

#include <cstdint>

#include "params/plane.h"

namespace quilp {

// The fixed-point linear mapping: out = clamp((offset + v * gain + 128) >> 8, 0, 255) with
// the gain the low 16 bits of `gain` taken as signed and an arithmetic shift. Returns 0 when
// src is wider than dst or dst has fewer rows, else 1 (at once for a source without rows).
int DibLinearMapFixed(DibPlane const& dst, DibPlane const& src, int gain, int offset);

// Applies a 256-entry table to every pixel.
void DibApplyTable(DibPlane const& dst, DibPlane const& src, uint8_t const table[256]);

// Tables: the floating linear mapping out = clamp(floor(v * gain / 256 + offset / 256 + 0.5));
// the power law out = clamp(trunc((v / 256)^(exponent / 256) * 256 + 0.5)); the complement.
void LinearTable(int gain, int offset, uint8_t table[256]);
void PowerTable(int exponent, uint8_t table[256]);
void NegativeTable(uint8_t table[256]);
// Automatic levels: the darkest and the lightest 1/200 of the area's pixels are clipped and
// the levels between stretched over 0..255 (rounded); an area with a single level is copied.
void AutoLevelsTable(DibPlane const& src, uint8_t table[256]);

// Pixel operations of two images: the source and the target's present pixels (t).
enum class PixelOp : int {
  kCopy = 0,        // out = s
  kMinimum = 1,     // out = min(s, t)
  kMaximum = 2,     // out = max(s, t)
  kDifference = 3,  // out = |s - t|
  kAverage = 4,     // out = (s + t + 1) / 2
  kDivide = 5,      // out = min(255, (s * 255 + t / 2) / max(t, 1)): t is a background estimate
};
void DibPixelOp(DibPlane const& dst, DibPlane const& src, PixelOp op);

// Row kernel of the fixed-point mapping; vector tables equal the scalar one byte for byte.
struct LevelKernels {
  void (*linear)(uint8_t const* src, uint8_t* dst, int width, int32_t gain, int32_t offset);
};
LevelKernels const& LevelKernelsScalar();
LevelKernels const& LevelKernelsSse41();
LevelKernels const& LevelKernelsAvx2();
LevelKernels const& LevelKernelsActive();

// Offsets beyond this push every level past 0 or 255 whatever v * gain is (|v * gain| < 2^23),
// so the kernels clamp the offset to it and stay within 32 bits.
inline constexpr int32_t kOffsetLimit = 1 << 25;

}  // namespace quilp
