// grey_projection_avx512.cpp - AVX-512 grey projection and moments.
//
// The same arithmetic as the AVX2 file on sixteen lanes (exact division through the RcpBelow
// estimate and one remainder test, float square root for the colourfulness term). Pixels are
// split with byte permutes (VBMI): 16 pixels (48 bytes) go straight into sixteen 32-bit lanes
// for the projection, 32 pixels (96 bytes) into 16-bit lanes for the moments. Row ends use
// masked loads and stores, so every width runs here and nothing is read beyond the row.
#include <immintrin.h>

#include <cstdint>

#include "colour/grey_projection.h"

namespace quilp {
namespace {

struct Consts {
  __m512i w0, w1, w2, min, q, qm1, kc, zero, top;
  __m512 rcp;
  bool lift;
  explicit Consts(GreyTransform const& t)
      : w0(_mm512_set1_epi32(t.w[0])), w1(_mm512_set1_epi32(t.w[1])),
        w2(_mm512_set1_epi32(t.w[2])), min(_mm512_set1_epi32(t.min)),
        q(_mm512_set1_epi32(t.q)), qm1(_mm512_set1_epi32(t.q - 1)),
        kc(_mm512_set1_epi32(t.k > 4096 ? 4096 : t.k)), zero(_mm512_setzero_si512()),
        top(_mm512_set1_epi32(255)), rcp(_mm512_set1_ps(RcpBelow(t.q))), lift(t.k >= 1) {}
};

// Byte c of pixel i (at 3i + c) into the low byte of 32-bit lane i; other bytes zero.
inline __m512i PixelByteIndex(int c) {
  alignas(64) uint8_t idx[64];
  for (int i = 0; i < 64; ++i) idx[i] = static_cast<uint8_t>(i % 4 == 0 ? 3 * (i / 4) + c : 0);
  return _mm512_load_si512(idx);
}

constexpr __mmask64 kLowBytes = 0x1111111111111111ull;

// The first n bits (n <= 64); plain shifts, as the 64-bit bit-field intrinsics are missing in
// 32-bit builds.
inline __mmask64 FirstBits(unsigned n) { return n >= 64 ? ~0ull : (1ull << n) - 1; }

// Sixteen pixels as 32-bit lanes -> sixteen grey values 0..255 as 32-bit lanes.
inline __m512i Grey16(__m512i b0, __m512i b1, __m512i b2, Consts const& c) {
  __m512i const n = _mm512_sub_epi32(
      _mm512_add_epi32(_mm512_add_epi32(_mm512_mullo_epi32(b0, c.w0), _mm512_mullo_epi32(b1, c.w1)),
                       _mm512_mullo_epi32(b2, c.w2)),
      c.min);
  __m512i g = _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(n), c.rcp));
  __m512i const r = _mm512_sub_epi32(n, _mm512_mullo_epi32(g, c.q));
  g = _mm512_mask_add_epi32(g, _mm512_cmpgt_epi32_mask(r, c.qm1), g, _mm512_set1_epi32(1));
  g = _mm512_max_epi32(_mm512_min_epi32(g, c.top), c.zero);
  if (!c.lift) return g;
  __m512i const sum =
      _mm512_add_epi32(_mm512_add_epi32(b0, b1), _mm512_add_epi32(b2, _mm512_set1_epi32(2)));
  __m512i const m = _mm512_srli_epi32(_mm512_mullo_epi32(sum, _mm512_set1_epi32(43691)), 17);
  __m512i const d0 = _mm512_sub_epi32(b0, m), d1 = _mm512_sub_epi32(b1, m),
                d2 = _mm512_sub_epi32(b2, m);
  __m512i const ss = _mm512_add_epi32(
      _mm512_add_epi32(_mm512_mullo_epi32(d0, d0), _mm512_mullo_epi32(d1, d1)),
      _mm512_mullo_epi32(d2, d2));
  __m512i const root = _mm512_cvttps_epi32(
      _mm512_add_ps(_mm512_sqrt_ps(_mm512_cvtepi32_ps(ss)), _mm512_set1_ps(0.5f)));
  __m512i const add = _mm512_srli_epi32(
      _mm512_add_epi32(_mm512_mullo_epi32(root, c.kc), _mm512_set1_epi32(8)), 4);
  return _mm512_min_epi32(_mm512_add_epi32(g, add), c.top);
}

void ProjectRow(uint8_t const* src, uint8_t* dst, int width, GreyTransform const& t) {
  Consts const c(t);
  __m512i const i0 = PixelByteIndex(0), i1 = PixelByteIndex(1), i2 = PixelByteIndex(2);
  for (int x = 0; x < width; x += 16) {
    int const n = width - x < 16 ? width - x : 16;
    __m512i const v = _mm512_maskz_loadu_epi8(FirstBits(unsigned(3 * n)), src + 3 * x);
    __m512i const g = Grey16(_mm512_maskz_permutexvar_epi8(kLowBytes, i0, v),
                             _mm512_maskz_permutexvar_epi8(kLowBytes, i1, v),
                             _mm512_maskz_permutexvar_epi8(kLowBytes, i2, v), c);
    _mm512_mask_cvtepi32_storeu_epi8(dst + x, static_cast<__mmask16>(FirstBits(unsigned(n))),
                                     g);
  }
}

// Byte c of pixel i (at 3i + c of the two registers a:b, 128 bytes) into 16-bit lane i.
inline __m512i PlaneIndex(int c) {
  alignas(64) uint8_t idx[64];
  for (int i = 0; i < 64; ++i) idx[i] = static_cast<uint8_t>(i % 2 == 0 ? 3 * (i / 2) + c : 0);
  return _mm512_load_si512(idx);
}

constexpr __mmask64 kEvenBytes = 0x5555555555555555ull;

inline uint64_t SumLanes(__m512i v) {
  __m512i const lo = _mm512_cvtepu32_epi64(_mm512_castsi512_si256(v));
  __m512i const hi = _mm512_cvtepu32_epi64(_mm512_extracti64x4_epi64(v, 1));
  return static_cast<uint64_t>(_mm512_reduce_add_epi64(_mm512_add_epi64(lo, hi)));
}

void MomentsRow(uint8_t const* src, int width, uint64_t sums[6]) {
  constexpr int kFlushSteps = 8192;  // each step adds at most 2 * 255^2 to a lane
  __m512i const ib = PlaneIndex(0), ig = PlaneIndex(1), ir = PlaneIndex(2);
  int x = 0;
  while (x < width) {
    __m512i acc[6];
    for (auto& a : acc) a = _mm512_setzero_si512();
    for (int steps = 0; steps < kFlushSteps && x < width; ++steps, x += 32) {
      int const n = width - x < 32 ? width - x : 32;
      uint8_t const* p = src + 3 * x;
      unsigned const bytes = unsigned(3 * n);  // up to 96: 64 in a, the rest in b
      __m512i const a = _mm512_maskz_loadu_epi8(FirstBits(bytes < 64 ? bytes : 64), p);
      __m512i const b = _mm512_maskz_loadu_epi8(FirstBits(bytes > 64 ? bytes - 64 : 0), p + 64);
      __m512i const B = _mm512_maskz_permutex2var_epi8(kEvenBytes, a, ib, b);
      __m512i const G = _mm512_maskz_permutex2var_epi8(kEvenBytes, a, ig, b);
      __m512i const R = _mm512_maskz_permutex2var_epi8(kEvenBytes, a, ir, b);
      acc[0] = _mm512_add_epi32(acc[0], _mm512_madd_epi16(B, B));
      acc[1] = _mm512_add_epi32(acc[1], _mm512_madd_epi16(G, G));
      acc[2] = _mm512_add_epi32(acc[2], _mm512_madd_epi16(R, R));
      acc[3] = _mm512_add_epi32(acc[3], _mm512_madd_epi16(B, G));
      acc[4] = _mm512_add_epi32(acc[4], _mm512_madd_epi16(B, R));
      acc[5] = _mm512_add_epi32(acc[5], _mm512_madd_epi16(G, R));
    }
    for (int i = 0; i < 6; ++i) sums[i] += SumLanes(acc[i]);
  }
}

}  // namespace

GreyKernels const& GreyKernelsAvx512() {
  static GreyKernels const table = {ProjectRow, MomentsRow};
  return table;
}

}  // namespace quilp
