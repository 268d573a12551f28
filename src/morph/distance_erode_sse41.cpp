// distance_erode_sse41.cpp - SSE4.1 raster passes and centres of the distance map, 16 cells
// per step.
//
// A pass step takes the neighbour row (max with it less one, saturating), then the running
// maximum along the row within the register in four doubling steps (shift by 1, 2, 4, 8 with
// 1, 2, 4, 8 subtracted), then the carry of the previous register less its distance. Cells
// left over at the row's far end go through the scalar formula.
#include <smmintrin.h>

#include "morph/distance_erode.h"

namespace quilp {
namespace {

inline __m128i Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
inline void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m128i Step(__m128i v, __m128i n, int d) { return _mm_max_epu8(v, _mm_subs_epu8(n, _mm_set1_epi8(char(d)))); }
inline uint8_t Closer(uint8_t c, uint8_t n) { return n > 0 && n - 1 > c ? uint8_t(n - 1) : c; }

void Forward(uint8_t* row, uint8_t const* above, int n) {
  __m128i const ramp = _mm_setr_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  __m128i carry = _mm_setzero_si128();
  int x = 0;
  for (; x + 16 <= n; x += 16) {
    __m128i v = Load(row + x);
    if (above) v = Step(v, Load(above + x), 1);
    v = Step(v, _mm_slli_si128(v, 1), 1);
    v = Step(v, _mm_slli_si128(v, 2), 2);
    v = Step(v, _mm_slli_si128(v, 4), 4);
    v = Step(v, _mm_slli_si128(v, 8), 8);
    v = _mm_max_epu8(v, _mm_subs_epu8(carry, ramp));
    Store(row + x, v);
    carry = _mm_shuffle_epi8(v, _mm_set1_epi8(15));
  }
  for (; x < n; ++x) {
    if (above) row[x] = Closer(row[x], above[x]);
    if (x > 0) row[x] = Closer(row[x], row[x - 1]);
  }
}

void Backward(uint8_t* row, uint8_t const* below, int n) {
  __m128i const ramp = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  __m128i carry = _mm_setzero_si128();
  int x = n - 16;
  for (; x >= 0; x -= 16) {
    __m128i v = Load(row + x);
    if (below) v = Step(v, Load(below + x), 1);
    v = Step(v, _mm_srli_si128(v, 1), 1);
    v = Step(v, _mm_srli_si128(v, 2), 2);
    v = Step(v, _mm_srli_si128(v, 4), 4);
    v = Step(v, _mm_srli_si128(v, 8), 8);
    v = _mm_max_epu8(v, _mm_subs_epu8(carry, ramp));
    Store(row + x, v);
    carry = _mm_shuffle_epi8(v, _mm_setzero_si128());
  }
  for (x += 15; x >= 0; --x) {  // the cells left of the last register
    if (below) row[x] = Closer(row[x], below[x]);
    if (x + 1 < n) row[x] = Closer(row[x], row[x + 1]);
  }
}

void Centres(uint8_t* out, uint8_t const* row, uint8_t const* bits, int first, int w) {
  __m128i const select = _mm_setr_epi8(char(0x80), 0x40, 0x20, 0x10, 8, 4, 2, 1, char(0x80), 0x40,
                                       0x20, 0x10, 8, 4, 2, 1);
  __m128i const spread = _mm_setr_epi8(1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0);
  int i = 0;
  for (; i + 16 <= w; i += 16) {
    __m128i const c = _mm_packus_epi16(_mm_srli_epi16(Load(row + 2 * i), 8),
                                       _mm_srli_epi16(Load(row + 2 * i + 16), 8));
    int const b = first + i;
    unsigned const word = (unsigned(bits[b / 8]) << 16 | unsigned(bits[b / 8 + 1]) << 8 |
                           bits[b / 8 + 2]) << (b % 8) >> 8;  // 16 pixels, first in bit 15
    __m128i const m = _mm_shuffle_epi8(_mm_cvtsi32_si128(int(word & 0xFFFF)), spread);
    __m128i const set = _mm_cmpeq_epi8(_mm_and_si128(m, select), select);
    __m128i const inside = _mm_xor_si128(_mm_subs_epu8(c, _mm_set1_epi8(127)), _mm_set1_epi8(-1));
    __m128i const outside = _mm_subs_epu8(c, _mm_set1_epi8(char(128)));
    Store(out + i, _mm_blendv_epi8(outside, inside, set));
  }
  DistanceKernelsScalar().centres(out + i, row + 2 * i, bits, first + i, w - i);
}

}  // namespace

DistanceKernels const& DistanceKernelsSse41() {
  static DistanceKernels const table = {Forward, Backward, Centres};
  return table;
}

}  // namespace quilp
