// statistics_avx2.cpp - AVX2 row sums for variance and covariance, 32 pixels per step.
//
// The SSE4.1 scheme on 256-bit registers: SAD for sums of values, 16-bit pairwise products
// into 32-bit lanes for squares and products. Colour rows are split into planes of 32 bytes
// (pixels 0..15 in the low lane, 16..31 in the high lane; the order does not matter to sums).
// The last 0..31 pixels of a row go through the SSE4.1 kernel.
#include <immintrin.h>

#include "compare/statistics.h"
#include "simd/bgr_shuffle.h"
#include "simd/lane_sums.h"

namespace quilp {
namespace {

struct Acc {
  __m256i s = _mm256_setzero_si256();  // four 64-bit lanes
  __m256i q = _mm256_setzero_si256();  // eight 32-bit lanes
};

inline __m256i Widen(__m256i v, bool high) {
  __m256i const z = _mm256_setzero_si256();
  return high ? _mm256_unpackhi_epi8(v, z) : _mm256_unpacklo_epi8(v, z);
}

inline void AddSquares(__m256i v, Acc& a) {
  a.s = _mm256_add_epi64(a.s, _mm256_sad_epu8(v, _mm256_setzero_si256()));
  __m256i const lo = Widen(v, false), hi = Widen(v, true);
  a.q = _mm256_add_epi32(a.q, _mm256_add_epi32(_mm256_madd_epi16(lo, lo), _mm256_madd_epi16(hi, hi)));
}

inline void AddProducts(__m256i x, __m256i y, Acc& a, Acc& b) {
  __m256i const z = _mm256_setzero_si256();
  a.s = _mm256_add_epi64(a.s, _mm256_sad_epu8(x, z));
  b.s = _mm256_add_epi64(b.s, _mm256_sad_epu8(y, z));
  b.q = _mm256_add_epi32(b.q, _mm256_add_epi32(_mm256_madd_epi16(Widen(x, false), Widen(y, false)),
                                               _mm256_madd_epi16(Widen(x, true), Widen(y, true))));
}

inline uint32_t Sum64(__m256i v) {
  __m128i const h = _mm_add_epi64(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  return static_cast<uint32_t>(simd::SumU64Lanes(h));
}
inline uint32_t Sum32(__m256i v) {
  __m128i const h = _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  return uint32_t(_mm_cvtsi128_si32(h)) + uint32_t(_mm_extract_epi32(h, 1)) +
         uint32_t(_mm_extract_epi32(h, 2)) + uint32_t(_mm_extract_epi32(h, 3));
}

// The last 0..31 pixels of a row go through the SSE4.1 kernel; row sums add modulo 2^32.
template <int kCount>
inline void AddRest(uint32_t* sums, uint32_t const (&rest)[kCount]) {
  for (int k = 0; k < kCount; ++k) sums[k] += rest[k];
}

inline __m256i Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }

void GreyRow(uint8_t const* p, int width, uint32_t sums[2]) {
  Acc a;
  int i = 0;
  for (; i + 32 <= width; i += 32) AddSquares(Load(p + i), a);
  sums[0] = Sum64(a.s);
  sums[1] = Sum32(a.q);
  uint32_t rest[2];
  StatKernelsSse41().grey(p + i, width - i, rest);
  AddRest(sums, rest);
}

void ColourRow(uint8_t const* p, int width, uint32_t sums[6]) {
  Acc a[3];
  int i = 0;
  for (; i + 32 <= width; i += 32) {
    __m256i plane[3];
    simd::SplitBgr32(p + 3 * std::ptrdiff_t(i), plane[0], plane[1], plane[2]);
    for (int c = 0; c < 3; ++c) AddSquares(plane[c], a[c]);
  }
  for (int c = 0; c < 3; ++c) {
    sums[c] = Sum64(a[c].s);
    sums[3 + c] = Sum32(a[c].q);
  }
  uint32_t rest[6];
  StatKernelsSse41().colour(p + 3 * std::ptrdiff_t(i), width - i, rest);
  AddRest(sums, rest);
}

void GreyCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[3]) {
  Acc a, b;
  int i = 0;
  for (; i + 32 <= width; i += 32) AddProducts(Load(x + i), Load(y + i), a, b);
  sums[0] = Sum64(a.s);
  sums[1] = Sum64(b.s);
  sums[2] = Sum32(b.q);
  uint32_t rest[3];
  StatKernelsSse41().greyCross(x + i, y + i, width - i, rest);
  AddRest(sums, rest);
}

void ColourCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[9]) {
  Acc a[3], b[3];
  int i = 0;
  for (; i + 32 <= width; i += 32) {
    __m256i px[3], py[3];
    simd::SplitBgr32(x + 3 * std::ptrdiff_t(i), px[0], px[1], px[2]);
    simd::SplitBgr32(y + 3 * std::ptrdiff_t(i), py[0], py[1], py[2]);
    for (int c = 0; c < 3; ++c) AddProducts(px[c], py[c], a[c], b[c]);
  }
  for (int c = 0; c < 3; ++c) {
    sums[c] = Sum64(a[c].s);
    sums[3 + c] = Sum64(b[c].s);
    sums[6 + c] = Sum32(b[c].q);
  }
  uint32_t rest[9];
  StatKernelsSse41().colourCross(x + 3 * std::ptrdiff_t(i), y + 3 * std::ptrdiff_t(i), width - i, rest);
  AddRest(sums, rest);
}

}  // namespace

StatKernels const& StatKernelsAvx2() {
  static StatKernels const table = {GreyRow, ColourRow, GreyCrossRow, ColourCrossRow};
  return table;
}

}  // namespace quilp
