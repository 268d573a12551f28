// grey_projection_avx2.cpp - AVX2 grey projection and moments, 32 pixels per step.
//
// Same arithmetic as the SSE4.1 file on eight lanes (exact division through the RcpBelow
// estimate and one remainder test, float square root for the colourfulness term), except that
// the numerator is not clamped: quotients are capped at 255 and packing saturates below 0.
#include <immintrin.h>

#include "colour/grey_projection.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

struct Consts {
  __m256i w0, w1, w2, min, q, qm1, kc, zero;
  __m256 rcp;
  bool lift;
  explicit Consts(GreyTransform const& t)
      : w0(_mm256_set1_epi32(t.w[0])), w1(_mm256_set1_epi32(t.w[1])),
        w2(_mm256_set1_epi32(t.w[2])), min(_mm256_set1_epi32(t.min)),
        q(_mm256_set1_epi32(t.q)), qm1(_mm256_set1_epi32(t.q - 1)),
        kc(_mm256_set1_epi32(t.k > 4096 ? 4096 : t.k)),
        zero(_mm256_setzero_si256()), rcp(_mm256_set1_ps(RcpBelow(t.q))), lift(t.k >= 1) {}
};

// Eight pixels as 32-bit lanes -> eight grey values as 32-bit lanes. Without the lift only
// the upper clamp is applied here (quotients reach 32767 and beyond when the range is taken
// from black and white only); packing with unsigned saturation takes negative values to 0 (a
// negative numerator may give floor instead of truncation, but both end at 0).
inline __m256i Grey8(__m256i b0, __m256i b1, __m256i b2, Consts const& c) {
  __m256i const n = _mm256_sub_epi32(
      _mm256_add_epi32(_mm256_add_epi32(_mm256_mullo_epi32(b0, c.w0), _mm256_mullo_epi32(b1, c.w1)),
                       _mm256_mullo_epi32(b2, c.w2)),
      c.min);
  __m256i g = _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(n), c.rcp));
  __m256i const r = _mm256_sub_epi32(n, _mm256_mullo_epi32(g, c.q));
  g = _mm256_sub_epi32(g, _mm256_cmpgt_epi32(r, c.qm1));  // remainder >= q: one more
  g = _mm256_min_epi32(g, _mm256_set1_epi32(255));  // packing alone would wrap above 32767
  if (!c.lift) return g;
  g = _mm256_max_epi32(g, c.zero);
  __m256i const sum =
      _mm256_add_epi32(_mm256_add_epi32(b0, b1), _mm256_add_epi32(b2, _mm256_set1_epi32(2)));
  __m256i const m = _mm256_srli_epi32(_mm256_mullo_epi32(sum, _mm256_set1_epi32(43691)), 17);
  __m256i const d0 = _mm256_sub_epi32(b0, m), d1 = _mm256_sub_epi32(b1, m),
                d2 = _mm256_sub_epi32(b2, m);
  __m256i const ss = _mm256_add_epi32(
      _mm256_add_epi32(_mm256_mullo_epi32(d0, d0), _mm256_mullo_epi32(d1, d1)),
      _mm256_mullo_epi32(d2, d2));
  __m256i const root = _mm256_cvttps_epi32(
      _mm256_add_ps(_mm256_sqrt_ps(_mm256_cvtepi32_ps(ss)), _mm256_set1_ps(0.5f)));
  __m256i const add = _mm256_srli_epi32(
      _mm256_add_epi32(_mm256_mullo_epi32(root, c.kc), _mm256_set1_epi32(8)), 4);
  return _mm256_min_epi32(_mm256_add_epi32(g, add), _mm256_set1_epi32(255));
}

// Eight pixels at p, read as one 32-byte load from p - 4: pixels 0..3 sit at bytes 4..15 of
// the low lane, pixels 4..7 at bytes 0..11 of the high lane; each byte of a pixel goes
// straight into its own 32-bit lane. Reads p - 4 .. p + 27.
inline __m256i Grey8At(uint8_t const* p, Consts const& c) {
  __m256i b0, b1, b2;
  simd::SplitBgr8(p, b0, b1, b2);
  return Grey8(b0, b1, b2, c);
}

void ProjectRow(uint8_t const* src, uint8_t* dst, int width, GreyTransform const& t) {
  Consts const c(t);
  simd::BgrRowBy32(
      src, dst, width, [&c](uint8_t const* p) { return Grey8At(p, c); },
      [&t](uint8_t const* s, uint8_t* d, int n) { GreyKernelsSse41().project(s, d, n, t); });
}

inline uint64_t SumLanes(__m256i v) {
  alignas(32) uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), v);
  uint64_t s = 0;
  for (uint32_t l : lanes) s += l;
  return s;
}

void MomentsRow(uint8_t const* src, int width, uint64_t sums[6]) {
  constexpr int kFlushSteps = 8192;  // each step adds at most 4 * 255^2 to a lane
  int x = 0;
  while (x + 32 <= width) {
    __m256i acc[6];
    for (auto& a : acc) a = _mm256_setzero_si256();
    for (int steps = 0; steps < kFlushSteps && x + 32 <= width; ++steps, x += 32) {
      __m256i B, G, R;
      simd::SplitBgr32(src + 3 * x, B, G, R);
      __m256i const zero = _mm256_setzero_si256();
      __m256i const bl = _mm256_unpacklo_epi8(B, zero), bh = _mm256_unpackhi_epi8(B, zero);
      __m256i const gl = _mm256_unpacklo_epi8(G, zero), gh = _mm256_unpackhi_epi8(G, zero);
      __m256i const rl = _mm256_unpacklo_epi8(R, zero), rh = _mm256_unpackhi_epi8(R, zero);
      auto madd2 = [](__m256i a, __m256i b, __m256i c, __m256i d) {
        return _mm256_add_epi32(_mm256_madd_epi16(a, b), _mm256_madd_epi16(c, d));
      };
      acc[0] = _mm256_add_epi32(acc[0], madd2(bl, bl, bh, bh));
      acc[1] = _mm256_add_epi32(acc[1], madd2(gl, gl, gh, gh));
      acc[2] = _mm256_add_epi32(acc[2], madd2(rl, rl, rh, rh));
      acc[3] = _mm256_add_epi32(acc[3], madd2(bl, gl, bh, gh));
      acc[4] = _mm256_add_epi32(acc[4], madd2(bl, rl, bh, rh));
      acc[5] = _mm256_add_epi32(acc[5], madd2(gl, rl, gh, rh));
    }
    for (int i = 0; i < 6; ++i) sums[i] += SumLanes(acc[i]);
  }
  if (x < width) GreyKernelsSse41().moments(src + 3 * x, width - x, sums);
}

}  // namespace

GreyKernels const& GreyKernelsAvx2() {
  static GreyKernels const table = {ProjectRow, MomentsRow};
  return table;
}

}  // namespace quilp
