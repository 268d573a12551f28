// grey_projection_sse41.cpp - SSE4.1 grey projection and moments, 16 pixels per step.
//
// The division by q is exact: the numerator is clamped to 0..255q, the float estimate of the
// quotient (RcpBelow) is floor(n/q) or one less, and one remainder test fixes it. The colourfulness
// root uses the float square root, which rounds to the same integer as the double one for
// every sum of squares a pixel can give (the root is never within 4e-4 of a half).
#include <immintrin.h>

#include "colour/grey_projection.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

struct Consts {
  __m128i w0, w1, w2, min, q, qm1, top, kc, zero;
  __m128 rcp;
  bool lift;
  explicit Consts(GreyTransform const& t)
      : w0(_mm_set1_epi32(t.w[0])), w1(_mm_set1_epi32(t.w[1])), w2(_mm_set1_epi32(t.w[2])),
        min(_mm_set1_epi32(t.min)), q(_mm_set1_epi32(t.q)), qm1(_mm_set1_epi32(t.q - 1)),
        top(_mm_set1_epi32(255 * t.q)), kc(_mm_set1_epi32(t.k > 4096 ? 4096 : t.k)),
        zero(_mm_setzero_si128()), rcp(_mm_set1_ps(RcpBelow(t.q))), lift(t.k >= 1) {}
};

// Four pixels as 32-bit lanes -> four grey values as 32-bit lanes.
inline __m128i Grey4(__m128i b0, __m128i b1, __m128i b2, Consts const& c) {
  __m128i n = _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(b0, c.w0), _mm_mullo_epi32(b1, c.w1)),
                            _mm_mullo_epi32(b2, c.w2));
  n = _mm_min_epi32(_mm_max_epi32(_mm_sub_epi32(n, c.min), c.zero), c.top);
  __m128i g = _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(n), c.rcp));
  __m128i const r = _mm_sub_epi32(n, _mm_mullo_epi32(g, c.q));
  g = _mm_sub_epi32(g, _mm_cmpgt_epi32(r, c.qm1));  // remainder >= q: one more
  if (!c.lift) return g;
  __m128i const sum = _mm_add_epi32(_mm_add_epi32(b0, b1), _mm_add_epi32(b2, _mm_set1_epi32(2)));
  __m128i const m = _mm_srli_epi32(_mm_mullo_epi32(sum, _mm_set1_epi32(43691)), 17);  // sum / 3
  __m128i const d0 = _mm_sub_epi32(b0, m), d1 = _mm_sub_epi32(b1, m), d2 = _mm_sub_epi32(b2, m);
  __m128i const ss = _mm_add_epi32(_mm_add_epi32(_mm_mullo_epi32(d0, d0), _mm_mullo_epi32(d1, d1)),
                                   _mm_mullo_epi32(d2, d2));
  __m128i const r2 = _mm_cvttps_epi32(
      _mm_add_ps(_mm_sqrt_ps(_mm_cvtepi32_ps(ss)), _mm_set1_ps(0.5f)));
  __m128i const add = _mm_srli_epi32(_mm_add_epi32(_mm_mullo_epi32(r2, c.kc), _mm_set1_epi32(8)), 4);
  return _mm_min_epi32(_mm_add_epi32(g, add), _mm_set1_epi32(255));
}

void ProjectRow(uint8_t const* src, uint8_t* dst, int width, GreyTransform const& t) {
  Consts const c(t);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i B, G, R;
    simd::SplitBgr16(src + 3 * x, B, G, R);
    __m128i g[4];
    for (int j = 0; j < 4; ++j) {  // four pixels at a time, shifting the planes down
      g[j] = Grey4(_mm_cvtepu8_epi32(B), _mm_cvtepu8_epi32(G), _mm_cvtepu8_epi32(R), c);
      B = _mm_srli_si128(B, 4);
      G = _mm_srli_si128(G, 4);
      R = _mm_srli_si128(R, 4);
    }
    __m128i const packed = _mm_packus_epi16(_mm_packus_epi32(g[0], g[1]), _mm_packus_epi32(g[2], g[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), packed);
  }
  if (x < width) GreyKernelsScalar().project(src + 3 * x, dst + x, width - x, t);
}

inline uint64_t SumLanes(__m128i v) {
  alignas(16) uint32_t lanes[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes), v);
  return uint64_t(lanes[0]) + lanes[1] + lanes[2] + lanes[3];
}

void MomentsRow(uint8_t const* src, int width, uint64_t sums[6]) {
  // Each step adds at most 2 * 2 * 255^2 to a 32-bit lane: flush well before 2^32.
  constexpr int kFlushSteps = 8192;
  int x = 0;
  while (x + 16 <= width) {
    __m128i acc[6];
    for (auto& a : acc) a = _mm_setzero_si128();
    for (int steps = 0; steps < kFlushSteps && x + 16 <= width; ++steps, x += 16) {
      __m128i B, G, R;
      simd::SplitBgr16(src + 3 * x, B, G, R);
      __m128i const zero = _mm_setzero_si128();
      __m128i const bl = _mm_unpacklo_epi8(B, zero), bh = _mm_unpackhi_epi8(B, zero);
      __m128i const gl = _mm_unpacklo_epi8(G, zero), gh = _mm_unpackhi_epi8(G, zero);
      __m128i const rl = _mm_unpacklo_epi8(R, zero), rh = _mm_unpackhi_epi8(R, zero);
      acc[0] = _mm_add_epi32(acc[0], _mm_add_epi32(_mm_madd_epi16(bl, bl), _mm_madd_epi16(bh, bh)));
      acc[1] = _mm_add_epi32(acc[1], _mm_add_epi32(_mm_madd_epi16(gl, gl), _mm_madd_epi16(gh, gh)));
      acc[2] = _mm_add_epi32(acc[2], _mm_add_epi32(_mm_madd_epi16(rl, rl), _mm_madd_epi16(rh, rh)));
      acc[3] = _mm_add_epi32(acc[3], _mm_add_epi32(_mm_madd_epi16(bl, gl), _mm_madd_epi16(bh, gh)));
      acc[4] = _mm_add_epi32(acc[4], _mm_add_epi32(_mm_madd_epi16(bl, rl), _mm_madd_epi16(bh, rh)));
      acc[5] = _mm_add_epi32(acc[5], _mm_add_epi32(_mm_madd_epi16(gl, rl), _mm_madd_epi16(gh, rh)));
    }
    for (int i = 0; i < 6; ++i) sums[i] += SumLanes(acc[i]);
  }
  if (x < width) GreyKernelsScalar().moments(src + 3 * x, width - x, sums);
}

}  // namespace

GreyKernels const& GreyKernelsSse41() {
  static GreyKernels const table = {ProjectRow, MomentsRow};
  return table;
}

}  // namespace quilp
