// threshold_sse41.cpp - SSE4.1 band kernel, 16 pixels per step.
//
// In the band exactly when (v - lo) mod 256 < hi - lo; the saturating difference
// (hi - lo) - (v - lo) is zero exactly for the light pixels. The byte order inside each group
// of eight is reversed before the sign bits are gathered, so the leftmost pixel lands in the
// most significant bit. A band of all 256 levels goes to the scalar kernel.
#include <immintrin.h>

#include <cstring>

#include "binarize/threshold.h"

namespace quilp {
namespace {

void MarkRow(uint8_t const* src, uint8_t* dst, int width, int lo, int hi) {
  int const range = hi - lo;
  if (range <= 0 || range > 255) {
    ThresholdKernelsScalar().mark(src, dst, width, lo, hi);
    return;
  }
  __m128i const vlo = _mm_set1_epi8(static_cast<char>(lo));
  __m128i const vrange = _mm_set1_epi8(static_cast<char>(range));
  __m128i const zero = _mm_setzero_si128();
  __m128i const reverse = _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + x));
    __m128i const light = _mm_cmpeq_epi8(_mm_subs_epu8(vrange, _mm_sub_epi8(v, vlo)), zero);
    uint16_t const bits = static_cast<uint16_t>(_mm_movemask_epi8(_mm_shuffle_epi8(light, reverse)));
    std::memcpy(dst + x / 8, &bits, 2);
  }
  if (x < width) ThresholdKernelsScalar().mark(src + x, dst + x / 8, width - x, lo, hi);
}

}  // namespace

ThresholdKernels const& ThresholdKernelsSse41() {
  static ThresholdKernels const table = {MarkRow};
  return table;
}

}  // namespace quilp
