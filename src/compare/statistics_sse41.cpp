// statistics_sse41.cpp - SSE4.1 row sums for variance and covariance, 16 pixels per step.
//
// Sums of values: SAD against zero (64-bit lanes). Squares and products: bytes widened to
// 16 bits and multiplied pairwise into 32-bit lanes (at most 2 * 255^2 per lane and step),
// which wrap exactly as the scalar 32-bit sums do. Colour rows are split into blue, green and
// red planes of 16 bytes first, then summed like grey rows.
#include <immintrin.h>

#include "compare/statistics.h"
#include "simd/bgr_shuffle.h"
#include "simd/lane_sums.h"

namespace quilp {
namespace {

struct Acc {
  __m128i s = _mm_setzero_si128();  // two 64-bit lanes
  __m128i q = _mm_setzero_si128();  // four 32-bit lanes
};

inline void AddSquares(__m128i v, Acc& a) {
  __m128i const z = _mm_setzero_si128();
  a.s = _mm_add_epi64(a.s, _mm_sad_epu8(v, z));
  __m128i const lo = _mm_cvtepu8_epi16(v), hi = _mm_unpackhi_epi8(v, z);
  a.q = _mm_add_epi32(a.q, _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi)));
}

// Products go into b.q; b.s takes the second plane's values.
inline void AddProducts(__m128i x, __m128i y, Acc& a, Acc& b) {
  __m128i const z = _mm_setzero_si128();
  a.s = _mm_add_epi64(a.s, _mm_sad_epu8(x, z));
  b.s = _mm_add_epi64(b.s, _mm_sad_epu8(y, z));
  __m128i const xl = _mm_cvtepu8_epi16(x), xh = _mm_unpackhi_epi8(x, z);
  __m128i const yl = _mm_cvtepu8_epi16(y), yh = _mm_unpackhi_epi8(y, z);
  b.q = _mm_add_epi32(b.q, _mm_add_epi32(_mm_madd_epi16(xl, yl), _mm_madd_epi16(xh, yh)));
}

inline uint32_t Sum64(__m128i v) {
  return static_cast<uint32_t>(simd::SumU64Lanes(v));
}
inline uint32_t Sum32(__m128i v) {
  return uint32_t(_mm_cvtsi128_si32(v)) + uint32_t(_mm_extract_epi32(v, 1)) +
         uint32_t(_mm_extract_epi32(v, 2)) + uint32_t(_mm_extract_epi32(v, 3));
}

inline __m128i Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }

void GreyRow(uint8_t const* p, int width, uint32_t sums[2]) {
  Acc a;
  int i = 0;
  for (; i + 16 <= width; i += 16) AddSquares(Load(p + i), a);
  sums[0] = Sum64(a.s);
  sums[1] = Sum32(a.q);
  GreySumsFrom(p, i, width, sums);
}

void ColourRow(uint8_t const* p, int width, uint32_t sums[6]) {
  Acc a[3];
  int i = 0;
  for (; i + 16 <= width; i += 16) {
    __m128i plane[3];
    simd::SplitBgr16(p + 3 * std::ptrdiff_t(i), plane[0], plane[1], plane[2]);
    for (int c = 0; c < 3; ++c) AddSquares(plane[c], a[c]);
  }
  for (int c = 0; c < 3; ++c) {
    sums[c] = Sum64(a[c].s);
    sums[3 + c] = Sum32(a[c].q);
  }
  ColourSumsFrom(p, i, width, sums);
}

void GreyCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[3]) {
  Acc a, b;
  int i = 0;
  for (; i + 16 <= width; i += 16) AddProducts(Load(x + i), Load(y + i), a, b);
  sums[0] = Sum64(a.s);
  sums[1] = Sum64(b.s);
  sums[2] = Sum32(b.q);
  GreyCrossFrom(x, y, i, width, sums);
}

void ColourCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[9]) {
  Acc a[3], b[3];
  int i = 0;
  for (; i + 16 <= width; i += 16) {
    __m128i px[3], py[3];
    simd::SplitBgr16(x + 3 * std::ptrdiff_t(i), px[0], px[1], px[2]);
    simd::SplitBgr16(y + 3 * std::ptrdiff_t(i), py[0], py[1], py[2]);
    for (int c = 0; c < 3; ++c) AddProducts(px[c], py[c], a[c], b[c]);
  }
  for (int c = 0; c < 3; ++c) {
    sums[c] = Sum64(a[c].s);
    sums[3 + c] = Sum64(b[c].s);
    sums[6 + c] = Sum32(b[c].q);
  }
  ColourCrossFrom(x, y, i, width, sums);
}

}  // namespace

StatKernels const& StatKernelsSse41() {
  static StatKernels const table = {GreyRow, ColourRow, GreyCrossRow, ColourCrossRow};
  return table;
}

}  // namespace quilp
