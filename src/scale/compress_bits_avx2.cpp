// compress_bits_avx2.cpp - AVX2 row kernels of the depth decision, 32 pixels a step; the same
// operations as the SSE4.1 file on twice the lanes.
#include <immintrin.h>

#include "scale/compress_bits.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

void ChromaRow(uint8_t const* src, uint8_t* chroma, int width) {
  int x = 0;
  for (; x + 32 <= width; x += 32) {
    __m256i B, G, R;
    simd::SplitBgr32(src + 3 * x, B, G, R);  // pixels x..x+15 low, x+16..x+31 high: in order
    __m256i const hi = _mm256_max_epu8(_mm256_max_epu8(B, G), R);
    __m256i const lo = _mm256_min_epu8(_mm256_min_epu8(B, G), R);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(chroma + x), _mm256_sub_epi8(hi, lo));
  }
  if (x < width) MeasureKernelsSse41().chroma(src + 3 * x, chroma + x, width - x);
}

inline __m256i Load(uint8_t const* p) {
  return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
}

void ExtremaRow(uint8_t const* up, uint8_t const* row, uint8_t const* down, uint8_t* count,
                int width) {
  int x = 1;
  for (; x + 33 <= width; x += 32) {  // reads row[x - 1 .. x + 32]
    __m256i const v = Load(row + x), l = Load(row + x - 1), r = Load(row + x + 1);
    __m256i const u = Load(up + x), d = Load(down + x);
    __m256i const most = _mm256_max_epu8(_mm256_max_epu8(l, r), _mm256_max_epu8(u, d));
    __m256i const least = _mm256_min_epu8(_mm256_min_epu8(l, r), _mm256_min_epu8(u, d));
    __m256i const isMax = _mm256_cmpeq_epi8(_mm256_max_epu8(v, most), v);
    __m256i const isMin = _mm256_cmpeq_epi8(_mm256_min_epu8(v, least), v);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(count + x),
                        _mm256_sub_epi8(_mm256_setzero_si256(), _mm256_add_epi8(isMax, isMin)));
  }
  if (x + 1 < width)
    MeasureKernelsSse41().extrema(up + x - 1, row + x - 1, down + x - 1, count + x - 1,
                                  width - x + 1);
}

}  // namespace

MeasureKernels const& MeasureKernelsAvx2() {
  static MeasureKernels const table = {ChromaRow, ExtremaRow};
  return table;
}

}  // namespace quilp
