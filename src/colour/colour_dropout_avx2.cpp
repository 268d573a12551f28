// colour_dropout_avx2.cpp - AVX2 dropouts: one colour on eight 32-bit lanes,
// colour sets four pixels per double vector.
//
// One colour: as the SSE4.1 kernel (clamped numerator, RcpBelow estimate, one remainder test),
// 32 pixels a step.
// Colour sets: the scalar arithmetic on four lanes, in the same order (no fused multiply-add),
// so every lane rounds as the scalar kernel does. Eight pixels a step in two groups, each colour's dot
// products feeding one of two running maxima. A white pixel (L = 0) meets 0 / 0 here instead
// of a branch: the maxima with 0 take the second operand of a NaN comparison, so both sines
// become 0 and the pixel stays white, as in the scalar kernel. Rows are read exactly, never
// past their last pixel.
#include <immintrin.h>

#include <cstring>

#include "colour/colour_dropout.h"
#include "colour/colour_dropout_simd.h"
#include "colour/grey_projection.h"

namespace quilp {
namespace {

struct OneColourConsts {
  __m256i w0, w1, w2, range, q, qm1, top, full;
  __m256 rcp;
  explicit OneColourConsts(OneColourDropout const& t)
      : w0(_mm256_set1_epi32(t.w[0])), w1(_mm256_set1_epi32(t.w[1])),
        w2(_mm256_set1_epi32(t.w[2])), range(_mm256_set1_epi32(t.hi - t.lo)),
        q(_mm256_set1_epi32(t.q)), qm1(_mm256_set1_epi32(t.q - 1)),
        top(_mm256_set1_epi32(255 * t.q)), full(_mm256_set1_epi32(255)),
        rcp(_mm256_set1_ps(RcpBelow(t.q))) {}
};

// Eight pixels at p -> 255 - v as 32-bit lanes. One 32-byte load from p - 4: pixels 0..3 sit
// at bytes 4..15 of the low lane, pixels 4..7 at bytes 0..11 of the high lane, and each byte
// goes straight into its own 32-bit lane. Reads p - 4 .. p + 27.
inline __m256i OneColour8(uint8_t const* p, OneColourConsts const& c) {
  __m256i const raw = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p - 4));
  __m256i const b0 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(
      4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1, 13, -1, -1, -1,
      0, -1, -1, -1, 3, -1, -1, -1, 6, -1, -1, -1, 9, -1, -1, -1));
  __m256i const b1 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(
      5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1, 14, -1, -1, -1,
      1, -1, -1, -1, 4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1));
  __m256i const b2 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(
      6, -1, -1, -1, 9, -1, -1, -1, 12, -1, -1, -1, 15, -1, -1, -1,
      2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1));
  __m256i n = _mm256_sub_epi32(
      c.range,
      _mm256_add_epi32(_mm256_add_epi32(_mm256_mullo_epi32(b0, c.w0), _mm256_mullo_epi32(b1, c.w1)),
                       _mm256_mullo_epi32(b2, c.w2)));
  n = _mm256_min_epi32(_mm256_max_epi32(n, _mm256_setzero_si256()), c.top);
  __m256i g = _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(n), c.rcp));
  __m256i const r = _mm256_sub_epi32(n, _mm256_mullo_epi32(g, c.q));
  g = _mm256_sub_epi32(g, _mm256_cmpgt_epi32(r, c.qm1));  // remainder >= q: one more
  return _mm256_sub_epi32(c.full, g);
}

void OneColourRow(uint8_t const* src, uint8_t* dst, int width, OneColourDropout const& t) {
  OneColourConsts const c(t);
  __m256i const order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  // The first two pixels go to the scalar kernel so that no load starts before the row; then
  // 32 pixels a step, whose last group reads 4 bytes past its pixels (kept inside the row by
  // leaving 2 spare pixels to the tail).
  int x = width < 2 ? width : 2;
  DropoutKernelsScalar().oneColour(src, dst, x, t);
  for (; x + 34 <= width; x += 32) {
    uint8_t const* p = src + 3 * x;
    __m256i const g0 = OneColour8(p, c), g1 = OneColour8(p + 24, c);
    __m256i const g2 = OneColour8(p + 48, c), g3 = OneColour8(p + 72, c);
    // Packing works per 128-bit lane; the final permutation restores pixel order.
    __m256i const bytes =
        _mm256_packus_epi16(_mm256_packus_epi32(g0, g1), _mm256_packus_epi32(g2, g3));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x),
                        _mm256_permutevar8x32_epi32(bytes, order));
  }
  if (x < width) DropoutKernelsSse41().oneColour(src + 3 * x, dst + x, width - x, t);
}

// Darkness of four pixels at p as doubles, one vector per byte position.
inline void Darkness4(uint8_t const* p, __m256d d[3]) {
  __m128i b[3];
  simd::SplitDarkness4(p, b);
  for (int c = 0; c < 3; ++c) d[c] = _mm256_cvtepi32_pd(b[c]);
}

inline __m256d Dot(__m256d const p[3], double const* u) {
  return _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(p[0], _mm256_broadcast_sd(u)),
                                     _mm256_mul_pd(p[1], _mm256_broadcast_sd(u + 1))),
                       _mm256_mul_pd(p[2], _mm256_broadcast_sd(u + 2)));
}

// Largest projection of two groups of four pixels on `count` unit vectors, and 0.
inline void MaxDot8(__m256d const p[2][3], double const* u, int count, __m256d m[2]) {
  __m256d m0[2] = {_mm256_setzero_pd(), _mm256_setzero_pd()};
  __m256d m1[2] = {_mm256_setzero_pd(), _mm256_setzero_pd()};
  int i = 0;
  for (; i + 2 <= count; i += 2)
    for (int g = 0; g < 2; ++g) {
      m0[g] = _mm256_max_pd(m0[g], Dot(p[g], u + 3 * i));
      m1[g] = _mm256_max_pd(m1[g], Dot(p[g], u + 3 * i + 3));
    }
  if (i < count)
    for (int g = 0; g < 2; ++g) m0[g] = _mm256_max_pd(m0[g], Dot(p[g], u + 3 * i));
  for (int g = 0; g < 2; ++g) m[g] = _mm256_max_pd(m0[g], m1[g]);
}

inline __m256d Sine(__m256d proj, __m256d L) {
  __m256d const t = _mm256_sub_pd(_mm256_set1_pd(1.0), _mm256_div_pd(_mm256_mul_pd(proj, proj), L));
  return _mm256_sqrt_pd(_mm256_max_pd(t, _mm256_setzero_pd()));
}

// 255 minus the shared darkness, as four 32-bit lanes.
inline __m128i Lightness(__m256d A, __m256d B, __m256d L, bool anyDrop) {
  __m256d const sinKeep = Sine(A, L);
  __m256d const sinDrop = anyDrop ? Sine(B, L) : _mm256_set1_pd(1.0);
  __m256d const sum = _mm256_add_pd(sinKeep, sinDrop);
  __m256d const weight = _mm256_blendv_pd(sinDrop, _mm256_div_pd(sinDrop, sum),
                                          _mm256_cmp_pd(sum, _mm256_setzero_pd(), _CMP_GT_OQ));
  __m128i const v = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(A, weight), _mm256_set1_pd(0.5)));
  return _mm_sub_epi32(_mm_set1_epi32(255), _mm_min_epi32(v, _mm_set1_epi32(255)));
}

void ColourSetRow(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets) {
  bool const anyDrop = sets.dropCount > 0;
  int x = 0;
  for (; x + 8 <= width; x += 8) {
    __m256d p[2][3], L[2], A[2], B[2] = {_mm256_setzero_pd(), _mm256_setzero_pd()};
    for (int g = 0; g < 2; ++g) {
      Darkness4(src + 3 * (x + 4 * g), p[g]);
      L[g] = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(p[g][0], p[g][0]),
                                         _mm256_mul_pd(p[g][1], p[g][1])),
                           _mm256_mul_pd(p[g][2], p[g][2]));
    }
    MaxDot8(p, sets.keep, sets.keepCount, A);
    if (anyDrop) MaxDot8(p, sets.drop, sets.dropCount, B);
    __m128i const lo = Lightness(A[0], B[0], L[0], anyDrop);
    __m128i const hi = Lightness(A[1], B[1], L[1], anyDrop);
    __m128i const bytes = _mm_packus_epi16(_mm_packus_epi32(lo, hi), _mm_setzero_si128());
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + x), bytes);
  }
  if (x < width) DropoutKernelsScalar().colourSets(src + 3 * x, dst + x, width - x, sets);
}

}  // namespace

DropoutKernels const& DropoutKernelsAvx2() {
  static DropoutKernels const table = {OneColourRow, ColourSetRow};
  return table;
}

}  // namespace quilp
