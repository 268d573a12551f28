// edge_rows_avx2.cpp - AVX2 upper-edge test, 32 pixels per step.
//
// "Median of three below t" is "at least two of the three below t": the byte comparisons give
// three masks that are combined pairwise; the hits are read off the mask bits in order.
#include <immintrin.h>

#include "geometry/edge_rows.h"

namespace quilp {
namespace {

inline __m256i Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
inline uint32_t Bits(__m256i v) { return static_cast<uint32_t>(_mm256_movemask_epi8(v)); }
// 0xFF where v >= t (unsigned bytes).
inline __m256i AtLeast(__m256i v, __m256i t) { return _mm256_cmpeq_epi8(_mm256_max_epu8(v, t), v); }
inline __m256i TwoOfThree(__m256i a, __m256i b, __m256i c) {
  return _mm256_or_si256(_mm256_and_si256(a, b), _mm256_and_si256(c, _mm256_or_si256(a, b)));
}

inline int Median3(int a, int b, int c) {
  int const lo = a < b ? a : b, hi = a < b ? b : a;
  return c < lo ? lo : c > hi ? hi : c;
}

int UpperEdges(uint8_t const* row, uint8_t const* above, int from, int to, int darkBelow,
               int lightFrom, int32_t* xs) {
  int n = 0, x = from;
  if (darkBelow > 0 && darkBelow <= 255 && lightFrom <= 255) {
    __m256i const dark = _mm256_set1_epi8(static_cast<char>(darkBelow));
    __m256i const light = _mm256_set1_epi8(static_cast<char>(lightFrom));
    for (; x + 32 <= to; x += 32) {
      // At least two of three at or above darkBelow means the median is not dark.
      __m256i const notDark = TwoOfThree(AtLeast(Load(row + x - 1), dark), AtLeast(Load(row + x), dark),
                                    AtLeast(Load(row + x + 1), dark));
      __m256i const lit = TwoOfThree(AtLeast(Load(above + x - 1), light), AtLeast(Load(above + x), light),
                                AtLeast(Load(above + x + 1), light));
      uint32_t bits = Bits(_mm256_andnot_si256(notDark, lit));
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

EdgeKernels const& EdgeKernelsAvx2() {
  static EdgeKernels const table = {UpperEdges};
  return table;
}

}  // namespace quilp
