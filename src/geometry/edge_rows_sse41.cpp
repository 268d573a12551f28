// edge_rows_sse41.cpp - SSE4.1 upper-edge test, 16 pixels per step.
//
// "Median of three below t" is "at least two of the three below t": the byte comparisons give
// three masks that are combined pairwise; the hits are read off the mask bits in order.
#include <immintrin.h>

#include "geometry/edge_rows.h"

namespace quilp {
namespace {

inline __m128i Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
inline uint32_t Bits(__m128i v) { return static_cast<uint32_t>(_mm_movemask_epi8(v)); }
// 0xFF where v >= t (unsigned bytes).
inline __m128i AtLeast(__m128i v, __m128i t) { return _mm_cmpeq_epi8(_mm_max_epu8(v, t), v); }
inline __m128i TwoOfThree(__m128i a, __m128i b, __m128i c) {
  return _mm_or_si128(_mm_and_si128(a, b), _mm_and_si128(c, _mm_or_si128(a, b)));
}

inline int Median3(int a, int b, int c) {
  int const lo = a < b ? a : b, hi = a < b ? b : a;
  return c < lo ? lo : c > hi ? hi : c;
}

int UpperEdges(uint8_t const* row, uint8_t const* above, int from, int to, int darkBelow,
               int lightFrom, int32_t* xs) {
  int n = 0, x = from;
  if (darkBelow > 0 && darkBelow <= 255 && lightFrom <= 255) {
    __m128i const dark = _mm_set1_epi8(static_cast<char>(darkBelow));
    __m128i const light = _mm_set1_epi8(static_cast<char>(lightFrom));
    for (; x + 16 <= to; x += 16) {
      // At least two of three at or above darkBelow means the median is not dark.
      __m128i const notDark = TwoOfThree(AtLeast(Load(row + x - 1), dark), AtLeast(Load(row + x), dark),
                                    AtLeast(Load(row + x + 1), dark));
      __m128i const lit = TwoOfThree(AtLeast(Load(above + x - 1), light), AtLeast(Load(above + x), light),
                                AtLeast(Load(above + x + 1), light));
      uint32_t bits = Bits(_mm_andnot_si128(notDark, lit));
      while (bits) {
        xs[n++] = x + __builtin_ctz(bits);
        bits &= bits - 1;
      }
    }
  }
  for (; x < to; ++x)
    if (Median3(row[x - 1], row[x], row[x + 1]) < darkBelow &&
        Median3(above[x - 1], above[x], above[x + 1]) >= lightFrom)
      xs[n++] = x;
  return n;
}

}  // namespace

EdgeKernels const& EdgeKernelsSse41() {
  static EdgeKernels const table = {UpperEdges};
  return table;
}

}  // namespace quilp
