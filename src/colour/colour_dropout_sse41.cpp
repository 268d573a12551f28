// colour_dropout_sse41.cpp - SSE4.1 dropouts: one colour 16 pixels a step, colour sets two
// pixels per double vector.
//
// One colour: the numerator is clamped to 0..255q, so the float estimate of the quotient
// (RcpBelow) is the exact quotient or one less and a single remainder test makes it exact.
// Colour sets: the scalar arithmetic on two lanes, in the same order, four pixels a step,
// each colour's dot products feeding one of two running maxima. A white pixel (L = 0) meets
// 0 / 0 instead of a branch; the maxima with 0 take the second operand of a NaN comparison,
// so both sines become 0 and the pixel stays white, as in the scalar kernel.
#include <immintrin.h>

#include "colour/colour_dropout.h"
#include "colour/colour_dropout_simd.h"
#include "colour/grey_projection.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

struct OneColourConsts {
  __m128i w0, w1, w2, range, q, qm1, top, full;
  __m128 rcp;
  explicit OneColourConsts(OneColourDropout const& t)
      : w0(_mm_set1_epi32(t.w[0])), w1(_mm_set1_epi32(t.w[1])), w2(_mm_set1_epi32(t.w[2])),
        range(_mm_set1_epi32(t.hi - t.lo)), q(_mm_set1_epi32(t.q)), qm1(_mm_set1_epi32(t.q - 1)),
        top(_mm_set1_epi32(255 * t.q)), full(_mm_set1_epi32(255)), rcp(_mm_set1_ps(RcpBelow(t.q))) {}
};

// Four pixels' bytes as 32-bit lanes -> 255 - v. Since hi = 255 (w0 + w1 + w2), the darkness
// w . (255 - b) - lo is (hi - lo) - w . b.
inline __m128i OneColour4(__m128i b0, __m128i b1, __m128i b2, OneColourConsts const& c) {
  __m128i n = _mm_sub_epi32(
      c.range, _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(b0, c.w0), _mm_mullo_epi32(b1, c.w1)),
                             _mm_mullo_epi32(b2, c.w2)));
  n = _mm_min_epi32(_mm_max_epi32(n, _mm_setzero_si128()), c.top);
  __m128i g = _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(n), c.rcp));
  __m128i const r = _mm_sub_epi32(n, _mm_mullo_epi32(g, c.q));
  g = _mm_sub_epi32(g, _mm_cmpgt_epi32(r, c.qm1));  // remainder >= q: one more
  return _mm_sub_epi32(c.full, g);
}

void OneColourRow(uint8_t const* src, uint8_t* dst, int width, OneColourDropout const& t) {
  OneColourConsts const c(t);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i B, G, R;
    simd::SplitBgr16(src + 3 * x, B, G, R);
    __m128i v[4];
    for (int j = 0; j < 4; ++j) {  // four pixels at a time, shifting the planes down
      v[j] = OneColour4(_mm_cvtepu8_epi32(B), _mm_cvtepu8_epi32(G), _mm_cvtepu8_epi32(R), c);
      B = _mm_srli_si128(B, 4);
      G = _mm_srli_si128(G, 4);
      R = _mm_srli_si128(R, 4);
    }
    __m128i const bytes =
        _mm_packus_epi16(_mm_packus_epi32(v[0], v[1]), _mm_packus_epi32(v[2], v[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), bytes);
  }
  if (x < width) DropoutKernelsScalar().oneColour(src + 3 * x, dst + x, width - x, t);
}

inline __m128d Dot(__m128d const p[3], double const* u) {
  return _mm_add_pd(_mm_add_pd(_mm_mul_pd(p[0], _mm_set1_pd(u[0])),
                               _mm_mul_pd(p[1], _mm_set1_pd(u[1]))),
                    _mm_mul_pd(p[2], _mm_set1_pd(u[2])));
}

// Largest projection of two pairs of pixels on `count` unit vectors, and 0.
inline void MaxDot4(__m128d const p[2][3], double const* u, int count, __m128d m[2]) {
  __m128d m0[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
  __m128d m1[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
  int i = 0;
  for (; i + 2 <= count; i += 2)
    for (int g = 0; g < 2; ++g) {
      m0[g] = _mm_max_pd(m0[g], Dot(p[g], u + 3 * i));
      m1[g] = _mm_max_pd(m1[g], Dot(p[g], u + 3 * i + 3));
    }
  if (i < count)
    for (int g = 0; g < 2; ++g) m0[g] = _mm_max_pd(m0[g], Dot(p[g], u + 3 * i));
  for (int g = 0; g < 2; ++g) m[g] = _mm_max_pd(m0[g], m1[g]);
}

inline __m128d Sine(__m128d proj, __m128d L) {
  __m128d const t = _mm_sub_pd(_mm_set1_pd(1.0), _mm_div_pd(_mm_mul_pd(proj, proj), L));
  return _mm_sqrt_pd(_mm_max_pd(t, _mm_setzero_pd()));
}

// 255 minus the shared darkness of two pixels, in the low two 32-bit lanes.
inline __m128i Lightness(__m128d A, __m128d B, __m128d L, bool anyDrop) {
  __m128d const sinKeep = Sine(A, L);
  __m128d const sinDrop = anyDrop ? Sine(B, L) : _mm_set1_pd(1.0);
  __m128d const sum = _mm_add_pd(sinKeep, sinDrop);
  __m128d const weight =
      _mm_blendv_pd(sinDrop, _mm_div_pd(sinDrop, sum), _mm_cmpgt_pd(sum, _mm_setzero_pd()));
  __m128i const v = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(A, weight), _mm_set1_pd(0.5)));
  return _mm_sub_epi32(_mm_set1_epi32(255), _mm_min_epi32(v, _mm_set1_epi32(255)));
}

void ColourSetRow(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets) {
  bool const anyDrop = sets.dropCount > 0;
  int x = 0;
  for (; x + 4 <= width; x += 4) {
    __m128i b[3];
    simd::SplitDarkness4(src + 3 * x, b);
    __m128d p[2][3], L[2], A[2], B[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
    for (int c = 0; c < 3; ++c) {
      p[0][c] = _mm_cvtepi32_pd(b[c]);
      p[1][c] = _mm_cvtepi32_pd(_mm_srli_si128(b[c], 8));
    }
    for (int g = 0; g < 2; ++g)
      L[g] = _mm_add_pd(_mm_add_pd(_mm_mul_pd(p[g][0], p[g][0]), _mm_mul_pd(p[g][1], p[g][1])),
                        _mm_mul_pd(p[g][2], p[g][2]));
    MaxDot4(p, sets.keep, sets.keepCount, A);
    if (anyDrop) MaxDot4(p, sets.drop, sets.dropCount, B);
    __m128i const v = _mm_unpacklo_epi64(Lightness(A[0], B[0], L[0], anyDrop),
                                         Lightness(A[1], B[1], L[1], anyDrop));
    __m128i const bytes = _mm_packus_epi16(_mm_packus_epi32(v, v), _mm_setzero_si128());
    int32_t const four = _mm_cvtsi128_si32(bytes);
    std::memcpy(dst + x, &four, 4);
  }
  if (x < width) DropoutKernelsScalar().colourSets(src + 3 * x, dst + x, width - x, sets);
}

}  // namespace

DropoutKernels const& DropoutKernelsSse41() {
  static DropoutKernels const table = {OneColourRow, ColourSetRow};
  return table;
}

}  // namespace quilp
