// fast_hough_sse41.cpp - SSE4.1 kernels of the fast Hough transform, four positions per step.
//
// Same schedule as the AVX2 file on 128-bit registers; the square-root sums keep the scalar
// order in two two-double accumulators (positions 0, 1 and 2, 3 modulo 4).
#include <immintrin.h>

#include <cmath>

#include "geometry/fast_hough.h"
#include "geometry/fast_hough_simd.h"
#include "simd/transpose8.h"

namespace quilp {
namespace {

inline __m128i Load(int32_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
inline void Store(int32_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// The register of the shared butterflies.
struct Reg {
  template <class T>
  static __m128i Load(T const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  template <class T>
  static void Store(T* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  template <class T>
  struct Lanes;
};
template <>
struct Reg::Lanes<int32_t> {
  static constexpr int kCount = 4;
  static __m128i Add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
};
template <>
struct Reg::Lanes<uint16_t> {
  static constexpr int kCount = 8;
  static __m128i Add(__m128i a, __m128i b) { return _mm_add_epi16(a, b); }
};

void Moments(int32_t const* h, int count, double s1[4], int64_t& s2, int64_t& s3) {
  __m128d lo = _mm_loadu_pd(s1), hi = _mm_loadu_pd(s1 + 2);
  __m128i sum = _mm_setzero_si128(), squares = _mm_setzero_si128();
  int p = 0;
  for (; p + 4 <= count; p += 4) {
    __m128i const v = Load(h + p);
    __m128i const vh = _mm_unpackhi_epi64(v, v);
    lo = _mm_add_pd(lo, _mm_sqrt_pd(_mm_cvtepi32_pd(v)));
    hi = _mm_add_pd(hi, _mm_sqrt_pd(_mm_cvtepi32_pd(vh)));
    __m128i const w0 = _mm_cvtepi32_epi64(v), w1 = _mm_cvtepi32_epi64(vh);
    sum = _mm_add_epi64(sum, _mm_add_epi64(w0, w1));
    squares = _mm_add_epi64(squares, _mm_add_epi64(_mm_mul_epi32(w0, w0), _mm_mul_epi32(w1, w1)));
  }
  _mm_storeu_pd(s1, lo);
  _mm_storeu_pd(s1 + 2, hi);
  alignas(16) int64_t a[2], b[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(a), sum);
  _mm_store_si128(reinterpret_cast<__m128i*>(b), squares);
  s2 += a[0] + a[1];
  s3 += b[0] + b[1];
  for (; p < count; ++p) {
    s1[p & 3] += std::sqrt(double(h[p]));
    s2 += h[p];
    s3 += int64_t(h[p]) * h[p];
  }
}

inline __m128i Vote(__m128i bytes4, bool invert) {
  __m128i const v = _mm_cvtepu8_epi32(bytes4);
  return invert ? _mm_sub_epi32(_mm_set1_epi32(255), v) : v;
}

void Votes(uint8_t const* src, int32_t* dst, int count, bool invert) {
  int c = 0;
  for (; c + 8 <= count; c += 8) {
    __m128i const b = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(src + c));
    Store(dst + c, Vote(b, invert));
    Store(dst + c + 4, Vote(_mm_srli_si128(b, 4), invert));
  }
  for (; c < count; ++c) dst[c] = invert ? 255 - src[c] : src[c];
}

void Votes8(uint8_t const* const* rows, int32_t* const* lanes, int pos, int count, bool invert) {
  int c = 0;
  for (; c + 16 <= count; c += 16) {
    __m128i r[8], cols[8];
    for (int j = 0; j < 8; ++j) r[j] = _mm_loadu_si128(reinterpret_cast<__m128i const*>(rows[j] + c));
    simd::Transpose8x16(r, cols);
    for (int i = 0; i < 8; ++i)
      for (int half = 0; half < 2; ++half) {
        int32_t* const dst = lanes[c + 2 * i + half] + pos;
        __m128i const col = half ? _mm_srli_si128(cols[i], 8) : cols[i];
        Store(dst, Vote(col, invert));
        Store(dst + 4, Vote(_mm_srli_si128(col, 4), invert));
      }
  }
  for (; c < count; ++c)
    for (int j = 0; j < 8; ++j) lanes[c][pos + j] = invert ? 255 - rows[j][c] : rows[j][c];
}

}  // namespace

FhtKernels const& FhtKernelsSse41() {
  static FhtKernels const table = {
      {fht_simd::Radix2<Reg, int32_t>, fht_simd::Radix4<Reg, int32_t>},
      {fht_simd::Radix2<Reg, uint16_t>, fht_simd::Radix4<Reg, uint16_t>},
                                   Moments, Votes, Votes8};
  return table;
}

}  // namespace quilp
