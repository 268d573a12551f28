// bits_to_grey_avx2.cpp - 4 x 4 bit blocks to grey, 32 source bytes (64 result pixels) per
// step: as the SSE4.1 kernel, with the interleaving done per 128-bit lane and the lanes put
// back in order when stored.
#include <immintrin.h>

#include "scale/bits_to_grey.h"

namespace quilp {
namespace {

inline void NibbleCounts(uint8_t const* const rows[4], int i, __m256i& high, __m256i& low) {
  __m256i const bits = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4,
                                        0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
  __m256i const mask = _mm256_set1_epi8(0x0f);
  high = low = _mm256_setzero_si256();
  for (int r = 0; r < 4; ++r) {
    __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(rows[r] + i));
    low = _mm256_add_epi8(low, _mm256_shuffle_epi8(bits, _mm256_and_si256(b, mask)));
    high = _mm256_add_epi8(high, _mm256_shuffle_epi8(bits, _mm256_and_si256(_mm256_srli_epi16(b, 4), mask)));
  }
}

inline __m256i QuarterLevels(__m256i n) {
  __m256i const levels = _mm256_setr_epi8(
      0, 16, 32, 48, 64, 80, 96, 112, char(128), char(143), char(159), char(175), char(191), char(207),
      char(223), char(239), 0, 16, 32, 48, 64, 80, 96, 112, char(128), char(143), char(159), char(175),
      char(191), char(207), char(223), char(239));
  return _mm256_or_si256(_mm256_shuffle_epi8(levels, n), _mm256_cmpeq_epi8(n, _mm256_set1_epi8(16)));
}

void QuarterRow(uint8_t* out, uint8_t const* const rows[4], int width) {
  int X = 0;
  for (; X + 64 <= width; X += 64) {
    __m256i high, low;
    NibbleCounts(rows, X / 2, high, low);
    __m256i const h = QuarterLevels(high), l = QuarterLevels(low);
    __m256i const a = _mm256_unpacklo_epi8(h, l), b = _mm256_unpackhi_epi8(h, l);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + X), _mm256_permute2x128_si256(a, b, 0x20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + X + 32), _mm256_permute2x128_si256(a, b, 0x31));
  }
  uint8_t const* rest[4] = {rows[0] + X / 2, rows[1] + X / 2, rows[2] + X / 2, rows[3] + X / 2};
  BitsQuarterScalar().quarter(out + X, rest, width - X);
}

}  // namespace

BitsQuarterKernels const& BitsQuarterAvx2() {
  static BitsQuarterKernels const table = {QuarterRow};
  return table;
}

}  // namespace quilp
