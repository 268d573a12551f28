// distance_erode_avx2.cpp - AVX2 raster passes and centres of the distance map, 32 cells per
// step.
//
// As the SSE4.1 passes, with one more doubling step that carries the last cell of the low
// 128-bit half into the high half (the per-half shifts cannot). Cells left over at the row's
// far end go to the SSE4.1 kernel.
#include <immintrin.h>

#include "morph/distance_erode.h"

namespace quilp {
namespace {

inline __m256i Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
inline void Store(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
inline __m256i Step(__m256i v, __m256i n, int d) { return _mm256_max_epu8(v, _mm256_subs_epu8(n, _mm256_set1_epi8(char(d)))); }
inline __m256i StepRamp(__m256i v, __m256i n, __m256i ramp) { return _mm256_max_epu8(v, _mm256_subs_epu8(n, ramp)); }

void Forward(uint8_t* row, uint8_t const* above, int n) {
  __m256i const ramp32 = _mm256_setr_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17,
                                          18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32);
  __m256i const ramp16 = _mm256_setr_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 1,
                                          2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  __m256i carry = _mm256_setzero_si256();
  int x = 0;
  for (; x + 32 <= n; x += 32) {
    __m256i v = Load(row + x);
    if (above) v = Step(v, Load(above + x), 1);
    v = Step(v, _mm256_slli_si256(v, 1), 1);
    v = Step(v, _mm256_slli_si256(v, 2), 2);
    v = Step(v, _mm256_slli_si256(v, 4), 4);
    v = Step(v, _mm256_slli_si256(v, 8), 8);
    // Last cell of the low half into the high half: [0 | low] with byte 15 everywhere.
    __m256i const low = _mm256_shuffle_epi8(_mm256_permute2x128_si256(v, v, 0x08), _mm256_set1_epi8(15));
    v = StepRamp(v, low, ramp16);
    v = StepRamp(v, carry, ramp32);
    Store(row + x, v);
    carry = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, _mm256_set1_epi8(15)), _mm256_set1_epi32(7));
  }
  if (x < n) {
    // The SSE4.1 step needs the previous cell: hand it the rest with one cell of overlap.
    if (x == 0) return DistanceKernelsSse41().forward(row, above, n);
    DistanceKernelsSse41().forward(row + x - 1, above ? above + x - 1 : nullptr, n - x + 1);
  }
}

void Backward(uint8_t* row, uint8_t const* below, int n) {
  __m256i const ramp32 = _mm256_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19,
                                          18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  __m256i const ramp16 = _mm256_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 16,
                                          15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  __m256i carry = _mm256_setzero_si256();
  int x = n - 32;
  for (; x >= 0; x -= 32) {
    __m256i v = Load(row + x);
    if (below) v = Step(v, Load(below + x), 1);
    v = Step(v, _mm256_srli_si256(v, 1), 1);
    v = Step(v, _mm256_srli_si256(v, 2), 2);
    v = Step(v, _mm256_srli_si256(v, 4), 4);
    v = Step(v, _mm256_srli_si256(v, 8), 8);
    // First cell of the high half into the low half: [high | 0] with byte 0 everywhere.
    __m256i const high = _mm256_shuffle_epi8(_mm256_permute2x128_si256(v, v, 0x81), _mm256_setzero_si256());
    v = StepRamp(v, high, ramp16);
    v = StepRamp(v, carry, ramp32);
    Store(row + x, v);
    carry = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, _mm256_setzero_si256()), _mm256_setzero_si256());
  }
  int const rest = x + 32;  // cells [0, rest) are left
  if (rest > 0) {
    if (rest == n) return DistanceKernelsSse41().backward(row, below, n);
    DistanceKernelsSse41().backward(row, below, rest + 1);
  }
}

void Centres(uint8_t* out, uint8_t const* row, uint8_t const* bits, int first, int w) {
  __m256i const select = _mm256_setr_epi8(
      char(0x80), 0x40, 0x20, 0x10, 8, 4, 2, 1, char(0x80), 0x40, 0x20, 0x10, 8, 4, 2, 1,
      char(0x80), 0x40, 0x20, 0x10, 8, 4, 2, 1, char(0x80), 0x40, 0x20, 0x10, 8, 4, 2, 1);
  __m256i const spread = _mm256_setr_epi8(3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 2, 2,
                                          1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0);
  int i = 0;
  for (; i + 32 <= w; i += 32) {
    __m256i const p = _mm256_packus_epi16(_mm256_srli_epi16(Load(row + 2 * i), 8),
                                          _mm256_srli_epi16(Load(row + 2 * i + 32), 8));
    __m256i const c = _mm256_permute4x64_epi64(p, 0xD8);
    int const b = first + i;
    uint64_t word = 0;
    for (int k = 0; k < 5; ++k) word = word << 8 | bits[b / 8 + k];
    uint32_t const mask = uint32_t(word << (b % 8) >> 8);  // 32 pixels, first in bit 31
    __m256i const m = _mm256_shuffle_epi8(_mm256_set1_epi32(int(mask)), spread);
    __m256i const set = _mm256_cmpeq_epi8(_mm256_and_si256(m, select), select);
    __m256i const inside = _mm256_xor_si256(_mm256_subs_epu8(c, _mm256_set1_epi8(127)), _mm256_set1_epi8(-1));
    __m256i const outside = _mm256_subs_epu8(c, _mm256_set1_epi8(char(128)));
    Store(out + i, _mm256_blendv_epi8(outside, inside, set));
  }
  DistanceKernelsSse41().centres(out + i, row + 2 * i, bits, first + i, w - i);
}

}  // namespace

DistanceKernels const& DistanceKernelsAvx2() {
  static DistanceKernels const table = {Forward, Backward, Centres};
  return table;
}

}  // namespace quilp
