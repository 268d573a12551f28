// threshold_avx2.cpp - AVX2 band kernel, 64 pixels per step (two independent halves).
//
// The same test as the SSE4.1 kernel: light exactly when (hi - lo) - (v - lo) saturates to
// zero; bytes reversed within each group of eight so the leftmost pixel is the top bit.
#include <immintrin.h>

#include <cstring>

#include "binarize/threshold.h"

namespace quilp {
namespace {

inline uint32_t Light32(uint8_t const* src, __m256i vlo, __m256i vrange, __m256i reverse) {
  __m256i const v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(src));
  __m256i const light = _mm256_cmpeq_epi8(_mm256_subs_epu8(vrange, _mm256_sub_epi8(v, vlo)),
                                          _mm256_setzero_si256());
  return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(light, reverse)));
}

void MarkRow(uint8_t const* src, uint8_t* dst, int width, int lo, int hi) {
  int const range = hi - lo;
  if (range <= 0 || range > 255) {
    ThresholdKernelsScalar().mark(src, dst, width, lo, hi);
    return;
  }
  __m256i const vlo = _mm256_set1_epi8(static_cast<char>(lo));
  __m256i const vrange = _mm256_set1_epi8(static_cast<char>(range));
  __m256i const reverse =
      _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8,
                       7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  int x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t const bits = uint64_t(Light32(src + x, vlo, vrange, reverse)) |
                          uint64_t(Light32(src + x + 32, vlo, vrange, reverse)) << 32;
    std::memcpy(dst + x / 8, &bits, 8);
  }
  for (; x + 32 <= width; x += 32) {
    uint32_t const bits = Light32(src + x, vlo, vrange, reverse);
    std::memcpy(dst + x / 8, &bits, 4);
  }
  if (x < width) ThresholdKernelsSse41().mark(src + x, dst + x / 8, width - x, lo, hi);
}

}  // namespace

ThresholdKernels const& ThresholdKernelsAvx2() {
  static ThresholdKernels const table = {MarkRow};
  return table;
}

}  // namespace quilp
