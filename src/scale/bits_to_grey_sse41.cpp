// bits_to_grey_sse41.cpp - 4 x 4 bit blocks to grey, 16 source bytes (32 result pixels) per
// step: nibble bit counts by byte shuffle, summed over the four rows, and the level
// round(255 n / 16) by a second shuffle (n = 16, beyond its table, is set to 255 apart).
#include <smmintrin.h>

#include "scale/bits_to_grey.h"

namespace quilp {
namespace {

// Set bits of each nibble of 16 bytes, summed over the four rows (0..16 per nibble).
inline void NibbleCounts(uint8_t const* const rows[4], int i, __m128i& high, __m128i& low) {
  __m128i const bits = _mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
  __m128i const mask = _mm_set1_epi8(0x0f);
  high = low = _mm_setzero_si128();
  for (int r = 0; r < 4; ++r) {
    __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(rows[r] + i));
    low = _mm_add_epi8(low, _mm_shuffle_epi8(bits, _mm_and_si128(b, mask)));
    high = _mm_add_epi8(high, _mm_shuffle_epi8(bits, _mm_and_si128(_mm_srli_epi16(b, 4), mask)));
  }
}

// round(255 n / 16) per byte: a table for 0..15, and 255 where n is 16.
inline __m128i QuarterLevels(__m128i n) {
  __m128i const levels = _mm_setr_epi8(0, 16, 32, 48, 64, 80, 96, 112, char(128), char(143), char(159),
                                       char(175), char(191), char(207), char(223), char(239));
  return _mm_or_si128(_mm_shuffle_epi8(levels, n), _mm_cmpeq_epi8(n, _mm_set1_epi8(16)));
}

void QuarterRow(uint8_t* out, uint8_t const* const rows[4], int width) {
  int X = 0;
  for (; X + 32 <= width; X += 32) {
    int const i = X / 2;
    __m128i high, low;
    NibbleCounts(rows, i, high, low);
    // Pixel order: the high nibble of byte i, then its low nibble.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + X), _mm_unpacklo_epi8(QuarterLevels(high), QuarterLevels(low)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + X + 16), _mm_unpackhi_epi8(QuarterLevels(high), QuarterLevels(low)));
  }
  uint8_t const* rest[4] = {rows[0] + X / 2, rows[1] + X / 2, rows[2] + X / 2, rows[3] + X / 2};
  BitsQuarterScalar().quarter(out + X, rest, width - X);
}

}  // namespace

BitsQuarterKernels const& BitsQuarterSse41() {
  static BitsQuarterKernels const table = {QuarterRow};
  return table;
}

}  // namespace quilp
