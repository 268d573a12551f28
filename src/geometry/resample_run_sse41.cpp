// resample_run_sse41.cpp - the bilinear run, four pixels per step, for the common case of a
// slight turn: when the four pixels read four consecutive source columns from at most two
// consecutive row pairs, their taps are two 4-byte loads per row (columns x and x + 1),
// interleaved into (x, x + 1) pairs and weighted by one multiply-add of pairs. The vertical
// step multiplies (top - 2^15, bottom - 2^15) by (gy, fy) and adds 2^15 (gy + fy) + 2^15 back:
// the scalar sum and rounding exactly. Positions are kept in 64-bit lanes as the scalar loop
// steps them. Other blocks (steep turns, a column repeated by a slight shrink) take the scalar
// loop for their four pixels; same values.
#include <smmintrin.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "geometry/resample_run.h"

namespace quilp {
namespace {

// The low 32 bits of the two 64-bit lanes of a (lanes 0-1) and b (lanes 2-3).
inline __m128i LowHalves(__m128i a, __m128i b) {
  return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
}

// Taps x and x + 1 of four consecutive columns from p: (p[k], p[k + 1]) as the 16-bit halves
// of lane k. Reads p[0] .. p[4] only.
inline __m128i TapPairs(uint8_t const* p) {
  int32_t at, next;
  std::memcpy(&at, p, 4);
  std::memcpy(&next, p + 1, 4);
  return _mm_cvtepu8_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(at), _mm_cvtsi32_si128(next)));
}

// (256 - f, f) as the 16-bit halves of each lane, from fractions f in 32-bit lanes.
inline __m128i WeightPairs(__m128i f) {
  return _mm_or_si128(_mm_sub_epi32(_mm_set1_epi32(256), f), _mm_slli_epi32(f, 16));
}

void Bilinear8(uint8_t const* origin, std::ptrdiff_t step, int64_t X, int64_t Y, int64_t dx, int64_t dy,
               int n, uint8_t* out) {
  auto const scalar = ResampleRunKernelsScalar().bilinear8;
  __m128i xa = _mm_set_epi64x(X + dx, X), xb = _mm_set_epi64x(X + 3 * dx, X + 2 * dx);
  __m128i ya = _mm_set_epi64x(Y + dy, Y), yb = _mm_set_epi64x(Y + 3 * dy, Y + 2 * dy);
  __m128i const advanceX = _mm_set1_epi64x(dx * 4), advanceY = _mm_set1_epi64x(dy * 4);
  __m128i const byte = _mm_set1_epi32(255), bias = _mm_set1_epi32(int(0x80008000u));
  __m128i const restore = _mm_set1_epi32((1 << 23) + (1 << 15));
  __m128i const pack = _mm_setr_epi8(2, 6, 10, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  int u = 0;
  for (; u + 4 <= n; u += 4) {
    int64_t const x0 = X + dx * u, y0 = Y + dy * u;
    int64_t const ix = x0 >> 32, iyFirst = y0 >> 32, iyLast = (y0 + dy * 3) >> 32;
    __m128i const fx = _mm_and_si128(LowHalves(_mm_srli_epi64(xa, 24), _mm_srli_epi64(xb, 24)), byte);
    __m128i const py = LowHalves(_mm_srli_epi64(ya, 32), _mm_srli_epi64(yb, 32));
    __m128i const fy = _mm_and_si128(LowHalves(_mm_srli_epi64(ya, 24), _mm_srli_epi64(yb, 24)), byte);
    xa = _mm_add_epi64(xa, advanceX);
    xb = _mm_add_epi64(xb, advanceX);
    ya = _mm_add_epi64(ya, advanceY);
    yb = _mm_add_epi64(yb, advanceY);
    // Consecutive columns: with dx > 0 each step moves at least none, so 3 in 3 steps is 1 each.
    if (dx <= 0 || ((x0 + dx * 3) >> 32) - ix != 3 || std::abs(iyLast - iyFirst) > 1) {
      scalar(origin, step, x0, y0, dx, dy, 4, out + u);
      continue;
    }
    int64_t const iy = std::min(iyFirst, iyLast);
    bool const twoRows = iyFirst != iyLast;
    uint8_t const* r0 = origin + step * std::ptrdiff_t(iy) + std::ptrdiff_t(ix);
    uint8_t const* r1 = r0 + step;
    __m128i const lower = twoRows ? _mm_cmpeq_epi32(py, _mm_set1_epi32(int(iy + 1))) : _mm_setzero_si128();
    __m128i const wx = WeightPairs(fx), wy = WeightPairs(fy);
    __m128i const h0 = _mm_madd_epi16(TapPairs(r0), wx), h1 = _mm_madd_epi16(TapPairs(r1), wx);
    __m128i const h2 = twoRows ? _mm_madd_epi16(TapPairs(r1 + step), wx) : h1;  // only when used
    __m128i const top = _mm_blendv_epi8(h0, h1, lower), bottom = _mm_blendv_epi8(h1, h2, lower);
    __m128i const pair = _mm_xor_si128(_mm_or_si128(_mm_slli_epi32(bottom, 16), top), bias);
    __m128i const sum = _mm_add_epi32(_mm_madd_epi16(pair, wy), restore);
    uint32_t const bytes = uint32_t(_mm_cvtsi128_si32(_mm_shuffle_epi8(sum, pack)));
    std::memcpy(out + u, &bytes, 4);
  }
  if (u < n) scalar(origin, step, X + dx * u, Y + dy * u, dx, dy, n - u, out + u);
}

}  // namespace

ResampleRunKernels const& ResampleRunKernelsSse41() {
  static ResampleRunKernels const table = {Bilinear8};
  return table;
}

}  // namespace quilp
