// level_map.cpp - per-pixel level operations: the fixed-point linear mapping, tables (floating
// linear mapping, power law, negative, automatic levels) and the two-image pixel operations.
//
// The fixed-point mapping is the only one with a vector path (level_map_sse41/avx2.cpp); the
// table operations cost one lookup per pixel, the table built once per call.
#include "filter/level_map.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "simd/dispatch.h"

namespace quilp {
namespace {

void LinearRow(uint8_t const* src, uint8_t* dst, int width, int32_t gain, int32_t offset) {
  for (int x = 0; x < width; ++x) {
    int32_t const v = (offset + int32_t(src[x]) * gain + 128) >> 8;
    dst[x] = uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);
  }
}

uint8_t ClampLevel(double v) { return uint8_t(v < 0.0 ? 0.0 : v > 255.0 ? 255.0 : v); }

}  // namespace

LevelKernels const& LevelKernelsScalar() {
  static LevelKernels const table = {LinearRow};
  return table;
}

LevelKernels const& LevelKernelsActive() {
  return simd::Pick(LevelKernelsScalar(), QUILP_VECTOR_TABLE(LevelKernelsSse41()),
                    QUILP_VECTOR_TABLE(LevelKernelsAvx2()));
}

int DibLinearMapFixed(DibPlane const& dst, DibPlane const& src, int gain, int offset) {
  if (src.width > dst.width || dst.height < src.height) return 0;
  if (src.height <= 0) return 1;
  int32_t const g = int16_t(uint16_t(uint32_t(gain) & 0xFFFFu));
  int32_t const o = offset < -kOffsetLimit ? -kOffsetLimit : offset > kOffsetLimit ? kOffsetLimit : offset;
  LevelKernels const& k = LevelKernelsActive();
  for (int y = 0; y < src.height; ++y) k.linear(src.Row(y), dst.Row(y), src.width, g, o);
  return 1;
}

void DibApplyTable(DibPlane const& dst, DibPlane const& src, uint8_t const table[256]) {
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x) d[x] = table[s[x]];
  }
}

void LinearTable(int gain, int offset, uint8_t table[256]) {
  double const g = gain / 256.0, o = offset / 256.0;
  for (int v = 0; v < 256; ++v) table[v] = ClampLevel(std::floor(v * g + o + 0.5));
}

void PowerTable(int exponent, uint8_t table[256]) {
  double const e = exponent / 256.0;
  for (int v = 0; v < 256; ++v) {
    double const p = std::pow(v / 256.0, e) * 256.0 + 0.5;  // inf for 0 to a negative power
    table[v] = ClampLevel(std::isnan(p) ? 255.0 : std::trunc(p));
  }
}

void NegativeTable(uint8_t table[256]) {
  for (int v = 0; v < 256; ++v) table[v] = uint8_t(255 - v);
}

void AutoLevelsTable(DibPlane const& src, uint8_t table[256]) {
  uint64_t hist[256] = {};
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    for (int x = 0; x < src.width; ++x) ++hist[s[x]];
  }
  uint64_t const clip = uint64_t(src.width) * uint64_t(src.height) / 200;
  int lo = 0, hi = 255;
  for (uint64_t below = 0; lo < 255 && below + hist[lo] <= clip; ++lo) below += hist[lo];
  for (uint64_t above = 0; hi > 0 && above + hist[hi] <= clip; --hi) above += hist[hi];
  for (int v = 0; v < 256; ++v) {
    if (hi <= lo) {
      table[v] = uint8_t(v);
      continue;
    }
    int const t = v <= lo ? 0 : v >= hi ? 255 : ((v - lo) * 255 + (hi - lo) / 2) / (hi - lo);
    table[v] = uint8_t(t);
  }
}

void DibPixelOp(DibPlane const& dst, DibPlane const& src, PixelOp op) {
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x) {
      int const a = s[x], t = d[x];
      int v = a;
      switch (op) {
        case PixelOp::kCopy: v = a; break;
        case PixelOp::kMinimum: v = a < t ? a : t; break;
        case PixelOp::kMaximum: v = a > t ? a : t; break;
        case PixelOp::kDifference: v = std::abs(a - t); break;
        case PixelOp::kAverage: v = (a + t + 1) / 2; break;
        case PixelOp::kDivide: {
          int const q = (a * 255 + t / 2) / (t > 0 ? t : 1);
          v = q > 255 ? 255 : q;
          break;
        }
      }
      d[x] = uint8_t(v);
    }
  }
}

}  // namespace quilp
