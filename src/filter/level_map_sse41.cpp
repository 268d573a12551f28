// level_map_sse41.cpp - SSE4.1 fixed-point linear mapping, 16 pixels per step.
//
// Four groups of four 32-bit products (the offset is within +-2^25, so nothing wraps), an
// arithmetic shift, then packing with signed and unsigned saturation clamps to 0..255 exactly
// as the scalar formula does. The last pixels go to the scalar kernel.
#include <smmintrin.h>

#include "filter/level_map.h"

namespace quilp {
namespace {

inline __m128i Map4(__m128i v, __m128i gain, __m128i bias) {
  return _mm_srai_epi32(_mm_add_epi32(_mm_mullo_epi32(v, gain), bias), 8);
}

void LinearRow(uint8_t const* src, uint8_t* dst, int width, int32_t gain, int32_t offset) {
  __m128i const g = _mm_set1_epi32(gain), bias = _mm_set1_epi32(offset + 128);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const p = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + x));
    __m128i const a = Map4(_mm_cvtepu8_epi32(p), g, bias);
    __m128i const b = Map4(_mm_cvtepu8_epi32(_mm_srli_si128(p, 4)), g, bias);
    __m128i const c = Map4(_mm_cvtepu8_epi32(_mm_srli_si128(p, 8)), g, bias);
    __m128i const d = Map4(_mm_cvtepu8_epi32(_mm_srli_si128(p, 12)), g, bias);
    __m128i const out = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), out);
  }
  LevelKernelsScalar().linear(src + x, dst + x, width - x, gain, offset);
}

}  // namespace

LevelKernels const& LevelKernelsSse41() {
  static LevelKernels const table = {LinearRow};
  return table;
}

}  // namespace quilp
