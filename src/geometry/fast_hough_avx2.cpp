// fast_hough_avx2.cpp - AVX2 kernels of the fast Hough transform, eight positions per step.
//
// Butterflies add whole lanes eight positions at a time (unaligned loads at the shifts). The
// moments keep the scalar order of the square-root sums: one four-double accumulator whose
// element j gathers the positions p = j mod 4 in increasing order.
#include <immintrin.h>

#include <cmath>

#include "geometry/fast_hough.h"
#include "geometry/fast_hough_simd.h"
#include "simd/transpose8.h"

namespace quilp {
namespace {

inline void Store(int32_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// The register of the shared butterflies.
struct Reg {
  template <class T>
  static __m256i Load(T const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
  template <class T>
  static void Store(T* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  template <class T>
  struct Lanes;
};
template <>
struct Reg::Lanes<int32_t> {
  static constexpr int kCount = 8;
  static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
};
template <>
struct Reg::Lanes<uint16_t> {
  static constexpr int kCount = 16;
  static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
};

void Moments(int32_t const* h, int count, double s1[4], int64_t& s2, int64_t& s3) {
  __m256d acc = _mm256_loadu_pd(s1);
  __m256i sum = _mm256_setzero_si256(), squares = _mm256_setzero_si256();
  int p = 0;
  for (; p + 4 <= count; p += 4) {
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(h + p));
    acc = _mm256_add_pd(acc, _mm256_sqrt_pd(_mm256_cvtepi32_pd(v)));
    __m256i const w = _mm256_cvtepi32_epi64(v);
    sum = _mm256_add_epi64(sum, w);
    squares = _mm256_add_epi64(squares, _mm256_mul_epi32(w, w));
  }
  _mm256_storeu_pd(s1, acc);
  alignas(32) int64_t a[4], b[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(a), sum);
  _mm256_store_si256(reinterpret_cast<__m256i*>(b), squares);
  s2 += (a[0] + a[1]) + (a[2] + a[3]);
  s3 += (b[0] + b[1]) + (b[2] + b[3]);
  for (; p < count; ++p) {
    s1[p & 3] += std::sqrt(double(h[p]));
    s2 += h[p];
    s3 += int64_t(h[p]) * h[p];
  }
}

inline __m256i Vote(__m128i bytes8, bool invert) {
  __m256i const v = _mm256_cvtepu8_epi32(bytes8);
  return invert ? _mm256_sub_epi32(_mm256_set1_epi32(255), v) : v;
}

void Votes(uint8_t const* src, int32_t* dst, int count, bool invert) {
  int c = 0;
  for (; c + 8 <= count; c += 8)
    Store(dst + c, Vote(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(src + c)), invert));
  for (; c < count; ++c) dst[c] = invert ? 255 - src[c] : src[c];
}

void Votes8(uint8_t const* const* rows, int32_t* const* lanes, int pos, int count, bool invert) {
  int c = 0;
  for (; c + 16 <= count; c += 16) {
    __m128i r[8], cols[8];
    for (int j = 0; j < 8; ++j) r[j] = _mm_loadu_si128(reinterpret_cast<__m128i const*>(rows[j] + c));
    simd::Transpose8x16(r, cols);
    for (int i = 0; i < 8; ++i) {
      Store(lanes[c + 2 * i] + pos, Vote(cols[i], invert));
      Store(lanes[c + 2 * i + 1] + pos, Vote(_mm_srli_si128(cols[i], 8), invert));
    }
  }
  for (; c < count; ++c)
    for (int j = 0; j < 8; ++j) lanes[c][pos + j] = invert ? 255 - rows[j][c] : rows[j][c];
}

}  // namespace

FhtKernels const& FhtKernelsAvx2() {
  static FhtKernels const table = {
      {fht_simd::Radix2<Reg, int32_t>, fht_simd::Radix4<Reg, int32_t>},
      {fht_simd::Radix2<Reg, uint16_t>, fht_simd::Radix4<Reg, uint16_t>},
                                   Moments, Votes, Votes8};
  return table;
}

}  // namespace quilp
