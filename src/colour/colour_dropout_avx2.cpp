// colour_dropout_avx2.cpp - AVX2 dropouts: one colour on eight 32-bit lanes, colour sets on
// four double lanes with the sines in eight float lanes.
//
// One colour: as the SSE4.1 kernel (clamped numerator, RcpBelow estimate, one remainder test),
// 32 pixels a step.
// Colour sets: each row is taken in chunks of 256 pixels and two passes. The first computes,
// eight pixels a step, the darkness, its squared length L and the largest projections A and B
// on the kept and the suppressed unit vectors, in double and in the scalar order (no fused
// multiply-add), so these equal the scalar values exactly. The second derives the sines and
// the rounding from them in single precision, checks every lane against the bound given at
// Lightness8 and recomputes, in double and in the scalar order, each group of four that holds
// an undecided lane: the bytes stored equal the scalar kernel's. Rows are read exactly, never
// past their last pixel.
#include <immintrin.h>

#include "colour/colour_dropout.h"
#include "colour/colour_dropout_simd.h"
#include "simd/bgr_shuffle.h"
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
  __m256i b0, b1, b2;
  simd::SplitBgr8(p, b0, b1, b2);
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
  simd::BgrRowBy32(
      src, dst, width, [&c](uint8_t const* p) { return OneColour8(p, c); },
      [&t](uint8_t const* s, uint8_t* d, int n) { DropoutKernelsSse41().oneColour(s, d, n, t); });
}

// Darkness of four pixels at p as doubles, one vector per byte position.
inline void Darkness4(uint8_t const* p, __m256d d[3]) {
  __m128i b[3];
  simd::SplitDarkness4(p, b);
  for (int c = 0; c < 3; ++c) d[c] = _mm256_cvtepi32_pd(b[c]);
}

// Largest projection of two groups of four pixels on `count` unit vectors, and 0. One running
// maximum per group keeps every vector in a register; the result equals any other order.
inline void MaxDot8(__m256d const p[2][3], double const* u, int count, __m256d m[2]) {
  m[0] = m[1] = _mm256_setzero_pd();
  for (int i = 0; i < count; ++i, u += 3) {
    __m256d const u0 = _mm256_broadcast_sd(u), u1 = _mm256_broadcast_sd(u + 1),
                  u2 = _mm256_broadcast_sd(u + 2);
    for (int g = 0; g < 2; ++g)
      m[g] = _mm256_max_pd(m[g], _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(p[g][0], u0),
                                                             _mm256_mul_pd(p[g][1], u1)),
                                               _mm256_mul_pd(p[g][2], u2)));
  }
}

// The scalar formula on four lanes, in the scalar order: 255 - v as 32-bit lanes. Exact but
// slow (three divisions and two square roots in double); used for the lanes the fast estimate
// below cannot decide.
inline __m256d Sine(__m256d proj, __m256d L) {
  __m256d const t = _mm256_sub_pd(_mm256_set1_pd(1.0), _mm256_div_pd(_mm256_mul_pd(proj, proj), L));
  return _mm256_sqrt_pd(_mm256_max_pd(t, _mm256_setzero_pd()));
}

inline __m128i ExactLightness4(__m256d A, __m256d B, __m256d L, bool anyDrop) {
  __m256d const sinKeep = Sine(A, L);
  __m256d const sinDrop = anyDrop ? Sine(B, L) : _mm256_set1_pd(1.0);
  __m256d const sum = _mm256_add_pd(sinKeep, sinDrop);
  __m256d const weight = _mm256_blendv_pd(sinDrop, _mm256_div_pd(sinDrop, sum),
                                          _mm256_cmp_pd(sum, _mm256_setzero_pd(), _CMP_GT_OQ));
  __m128i const v = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(A, weight), _mm256_set1_pd(0.5)));
  return _mm_sub_epi32(_mm_set1_epi32(255), _mm_min_epi32(v, _mm_set1_epi32(255)));
}

// The shared darkness of eight pixels (two groups of four), stored as 255 - v, with the sines
// taken in single precision and every lane checked against the rounding.
//
// Scaled by sqrt(L), the sines are sqrt(L - A^2) and sqrt(L - B^2). L - A^2 is formed in
// double (no cancellation: its error is below 2.1e-16 L); the two roots, the quotient
// w = sinDrop / (sinKeep + sinDrop) and A w + 0.5 then in float, 8 lanes at a time. Against
// the exact real value of A w + 0.5 for these A, B, L, this estimate errs by less than
// 1.4e-4 + 6.6e-6 / s and the scalar double evaluation by less than 8.2e-6 / s, where
// s = sinKeep + sinDrop (each sine at most 1). With S = s sqrt(L) <= 441.7 s, a lane whose
// estimate lies at least 4e-4 + 0.018 / S from every integer (more than 2.7 times the sum of
// both bounds) truncates to the scalar result. A group of four with any other lane (pixels
// whose sines are both near 0, or estimates near a rounding edge: a few in a hundred) is
// recomputed exactly. A = 0 gives 0 in both.
inline void Lightness8(__m256d const A[2], __m256d const B[2], __m256d const L[2], bool anyDrop,
                       uint8_t* dst) {
  __m256 const zero = _mm256_setzero_ps();
  auto narrow = [](__m256d lo, __m256d hi) {
    return _mm256_set_m128(_mm256_cvtpd_ps(hi), _mm256_cvtpd_ps(lo));
  };
  auto scaledSine = [&](__m256d const proj[2]) {
    __m256 const e = narrow(_mm256_sub_pd(L[0], _mm256_mul_pd(proj[0], proj[0])),
                            _mm256_sub_pd(L[1], _mm256_mul_pd(proj[1], proj[1])));
    return _mm256_sqrt_ps(_mm256_max_ps(e, zero));
  };
  __m256 const sinKeep = scaledSine(A);
  __m256 const sinDrop = anyDrop ? scaledSine(B) : _mm256_sqrt_ps(narrow(L[0], L[1]));
  __m256 const S = _mm256_add_ps(sinKeep, sinDrop);
  __m256 const a = narrow(A[0], A[1]);
  __m256 const value = _mm256_add_ps(_mm256_mul_ps(a, _mm256_div_ps(sinDrop, S)), _mm256_set1_ps(0.5f));
  __m256 const off = _mm256_sub_ps(value, _mm256_round_ps(value, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
  __m256 const dist = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), off);
  __m256 const none = _mm256_cmp_ps(a, zero, _CMP_EQ_OQ);
  __m256 const safe = _mm256_or_ps(
      none, _mm256_cmp_ps(_mm256_mul_ps(dist, S),
                          _mm256_add_ps(_mm256_mul_ps(S, _mm256_set1_ps(4e-4f)), _mm256_set1_ps(0.018f)),
                          _CMP_GE_OQ));
  __m256i const t = _mm256_cvttps_epi32(_mm256_blendv_ps(value, _mm256_set1_ps(0.5f), none));
  __m256i const light = _mm256_sub_epi32(_mm256_set1_epi32(255), _mm256_min_epi32(t, _mm256_set1_epi32(255)));
  __m128i v[2] = {_mm256_castsi256_si128(light), _mm256_extracti128_si256(light, 1)};
  int const decided = _mm256_movemask_ps(safe);
  if (decided != 255)
    for (int g = 0; g < 2; ++g)
      if ((decided >> (4 * g) & 15) != 15) v[g] = ExactLightness4(A[g], B[g], L[g], anyDrop);
  __m128i const bytes = _mm_packus_epi16(_mm_packus_epi32(v[0], v[1]), _mm_setzero_si128());
  _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), bytes);
}

void ColourSetRow(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets) {
  bool const anyDrop = sets.dropCount > 0;
  // Two passes per chunk of the row: the projections (throughput-bound) into small buffers,
  // then the sines and the rounding (latency-bound), so that each pass keeps the units busy.
  constexpr int kChunk = 256;
  alignas(32) double bufA[kChunk], bufB[kChunk], bufL[kChunk];
  int x = 0;
  while (x + 8 <= width) {
    int const n = (width - x < kChunk ? width - x : kChunk) & ~7;
    for (int i = 0; i < n; i += 8) {
      __m256d p[2][3], A[2], B[2] = {_mm256_setzero_pd(), _mm256_setzero_pd()};
      for (int g = 0; g < 2; ++g) {
        Darkness4(src + 3 * (x + i + 4 * g), p[g]);
        _mm256_store_pd(bufL + i + 4 * g,
                        _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(p[g][0], p[g][0]),
                                                    _mm256_mul_pd(p[g][1], p[g][1])),
                                      _mm256_mul_pd(p[g][2], p[g][2])));
      }
      MaxDot8(p, sets.keep, sets.keepCount, A);
      if (anyDrop) MaxDot8(p, sets.drop, sets.dropCount, B);
      for (int g = 0; g < 2; ++g) {
        _mm256_store_pd(bufA + i + 4 * g, A[g]);
        _mm256_store_pd(bufB + i + 4 * g, B[g]);
      }
    }
    for (int i = 0; i < n; i += 8) {
      __m256d const A[2] = {_mm256_load_pd(bufA + i), _mm256_load_pd(bufA + i + 4)};
      __m256d const B[2] = {_mm256_load_pd(bufB + i), _mm256_load_pd(bufB + i + 4)};
      __m256d const L[2] = {_mm256_load_pd(bufL + i), _mm256_load_pd(bufL + i + 4)};
      Lightness8(A, B, L, anyDrop, dst + x + i);
    }
    x += n;
  }
  if (x < width) DropoutKernelsScalar().colourSets(src + 3 * x, dst + x, width - x, sets);
}

}  // namespace

DropoutKernels const& DropoutKernelsAvx2() {
  static DropoutKernels const table = {OneColourRow, ColourSetRow};
  return table;
}

}  // namespace quilp
