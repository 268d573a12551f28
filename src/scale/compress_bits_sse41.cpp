// compress_bits_sse41.cpp - SSE4.1 row kernels of the depth decision, 16 pixels a step: byte
// maxima and minima of the split colour planes, and the four-neighbour comparisons as
// maxima, minima and equality masks.
#include <immintrin.h>

#include "scale/compress_bits.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

void ChromaRow(uint8_t const* src, uint8_t* chroma, int width) {
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i B, G, R;
    simd::SplitBgr16(src + 3 * x, B, G, R);
    __m128i const hi = _mm_max_epu8(_mm_max_epu8(B, G), R);
    __m128i const lo = _mm_min_epu8(_mm_min_epu8(B, G), R);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(chroma + x), _mm_sub_epi8(hi, lo));
  }
  if (x < width) MeasureKernelsScalar().chroma(src + 3 * x, chroma + x, width - x);
}

inline __m128i Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }

void ExtremaRow(uint8_t const* up, uint8_t const* row, uint8_t const* down, uint8_t* count,
                int width) {
  int x = 1;
  for (; x + 17 <= width; x += 16) {  // reads row[x - 1 .. x + 16]
    __m128i const v = Load(row + x), l = Load(row + x - 1), r = Load(row + x + 1);
    __m128i const u = Load(up + x), d = Load(down + x);
    __m128i const most = _mm_max_epu8(_mm_max_epu8(l, r), _mm_max_epu8(u, d));
    __m128i const least = _mm_min_epu8(_mm_min_epu8(l, r), _mm_min_epu8(u, d));
    __m128i const isMax = _mm_cmpeq_epi8(_mm_max_epu8(v, most), v);   // -1 where v >= all
    __m128i const isMin = _mm_cmpeq_epi8(_mm_min_epu8(v, least), v);  // -1 where v <= all
    _mm_storeu_si128(reinterpret_cast<__m128i*>(count + x),
                     _mm_sub_epi8(_mm_setzero_si128(), _mm_add_epi8(isMax, isMin)));
  }
  if (x + 1 < width)
    MeasureKernelsScalar().extrema(up + x - 1, row + x - 1, down + x - 1, count + x - 1,
                                   width - x + 1);
}

}  // namespace

MeasureKernels const& MeasureKernelsSse41() {
  static MeasureKernels const table = {ChromaRow, ExtremaRow};
  return table;
}

}  // namespace quilp
