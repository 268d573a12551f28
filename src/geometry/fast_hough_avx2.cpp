// fast_hough_avx2.cpp - AVX2 kernels of the fast Hough transform, eight positions per step.
//
// Butterflies add whole lanes eight positions at a time (unaligned loads at the shifts). The
// moments keep the scalar order of the square-root sums: one four-double accumulator whose
// element j gathers the positions p = j mod 4 in increasing order.
#include <immintrin.h>

#include <cmath>

#include "geometry/fast_hough.h"
#include "simd/transpose8.h"

namespace quilp {
namespace {

inline __m256i Load(int32_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
inline void Store(int32_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// Element traits: how many values one register holds and how they add.
template <class T>
struct Lanes;
template <>
struct Lanes<int32_t> {
  static constexpr int kCount = 32 / 4;
  static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
};
template <>
struct Lanes<uint16_t> {
  static constexpr int kCount = 32 / 2;
  static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
};
template <class T>
inline __m256i LoadT(T const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
template <class T>
inline void StoreT(T* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

template <class T>
void Radix2(T* a, T* b, int k, int count) {
  using V = Lanes<T>;
  int p = 0;
  for (; p + V::kCount <= count; p += V::kCount) {
    __m256i const v = LoadT(a + p), b1 = LoadT(b + p + k), b2 = LoadT(b + p + k + 1);
    StoreT(a + p, V::Add(v, b1));
    StoreT(b + p, V::Add(v, b2));
  }
  for (; p < count; ++p) {
    T const v = a[p];
    a[p] = static_cast<T>(v + b[p + k]);
    b[p] = static_cast<T>(v + b[p + k + 1]);
  }
}

template <class T>
void Radix4(T* q0, T* q1, T* q2, T* q3, int k, int count) {
  using V = Lanes<T>;
  int p = 0;
  T const* s2 = q2 + 2 * k;
  T const* s3 = q3 + 3 * k;
  for (; p + V::kCount <= count; p += V::kCount) {
    __m256i const x0 = LoadT(q0 + p);
    __m256i const h0 = V::Add(x0, LoadT(q1 + p + k));
    __m256i const h1 = V::Add(x0, LoadT(q1 + p + k + 1));
    __m256i const a2 = LoadT(s2 + p), b2 = LoadT(s2 + p + 1), c2 = LoadT(s2 + p + 2);
    __m256i const a3 = LoadT(s3 + p), b3 = LoadT(s3 + p + 1), c3 = LoadT(s3 + p + 2),
                  d3 = LoadT(s3 + p + 3);
    StoreT(q0 + p, V::Add(h0, V::Add(a2, a3)));
    StoreT(q1 + p, V::Add(h0, V::Add(b2, b3)));
    StoreT(q2 + p, V::Add(h1, V::Add(b2, c3)));
    StoreT(q3 + p, V::Add(h1, V::Add(c2, d3)));
  }
  for (; p < count; ++p) {
    int const h0 = q0[p] + q1[p + k], h1 = q0[p] + q1[p + k + 1];
    int const a2 = s2[p], b2 = s2[p + 1], c2 = s2[p + 2];
    int const a3 = s3[p], b3 = s3[p + 1], c3 = s3[p + 2], d3 = s3[p + 3];
    q0[p] = static_cast<T>(h0 + a2 + a3);
    q1[p] = static_cast<T>(h0 + b2 + b3);
    q2[p] = static_cast<T>(h1 + b2 + c3);
    q3[p] = static_cast<T>(h1 + c2 + d3);
  }
}

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
  static FhtKernels const table = {{Radix2<int32_t>, Radix4<int32_t>},
                                   {Radix2<uint16_t>, Radix4<uint16_t>},
                                   Moments, Votes, Votes8};
  return table;
}

}  // namespace quilp
