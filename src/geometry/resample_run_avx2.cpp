// resample_run_avx2.cpp - the bilinear run, eight pixels per step, for the common case of a
// slight turn: when the eight pixels read eight consecutive source columns from at most two
// consecutive row pairs, their taps are plain 8-byte loads of three rows, picked per pixel.
// Positions are kept in 64-bit lanes exactly as the scalar loop steps them; weights are
// applied in 32-bit lanes with the scalar rounding. Other blocks (steep turns, a column
// repeated by a slight shrink) take the scalar loop for their eight pixels; same values.
#include <immintrin.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "geometry/resample_run.h"

namespace quilp {
namespace {

// The low 32 bits of the eight 64-bit lanes of a (lanes 0-3) and b (lanes 4-7).
inline __m256i LowHalves(__m256i a, __m256i b) {
  __m256i const pick = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
  return _mm256_permute2x128_si256(_mm256_permutevar8x32_epi32(a, pick),
                                   _mm256_permutevar8x32_epi32(b, pick), 0x20);
}

// Eight bytes from p, widened to 32-bit lanes.
inline __m256i Load8(uint8_t const* p) {
  return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p)));
}

void Bilinear8(uint8_t const* origin, std::ptrdiff_t step, int64_t X, int64_t Y, int64_t dx, int64_t dy,
               int n, uint8_t* out) {
  auto const scalar = ResampleRunKernelsScalar().bilinear8;
  auto spaced = [](int64_t start, int64_t d, int first) {  // start + (first + k) d, k = 0..3
    return _mm256_setr_epi64x(start + d * first, start + d * (first + 1), start + d * (first + 2),
                              start + d * (first + 3));
  };
  __m256i xa = spaced(X, dx, 0), xb = spaced(X, dx, 4), ya = spaced(Y, dy, 0), yb = spaced(Y, dy, 4);
  __m256i const advanceX = _mm256_set1_epi64x(dx * 8), advanceY = _mm256_set1_epi64x(dy * 8);
  __m256i const byte = _mm256_set1_epi32(255), one = _mm256_set1_epi32(256);
  __m256i const half = _mm256_set1_epi32(1 << 15);
  __m256i const pack = _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                                        0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  int u = 0;
  for (; u + 8 <= n; u += 8) {
    int64_t const x0 = X + dx * u, y0 = Y + dy * u;
    int64_t const ix = x0 >> 32, iyFirst = y0 >> 32, iyLast = (y0 + dy * 7) >> 32;
    __m256i const fx = _mm256_and_si256(LowHalves(_mm256_srli_epi64(xa, 24), _mm256_srli_epi64(xb, 24)), byte);
    __m256i const py = LowHalves(_mm256_srli_epi64(ya, 32), _mm256_srli_epi64(yb, 32));
    __m256i const fy = _mm256_and_si256(LowHalves(_mm256_srli_epi64(ya, 24), _mm256_srli_epi64(yb, 24)), byte);
    xa = _mm256_add_epi64(xa, advanceX);
    xb = _mm256_add_epi64(xb, advanceX);
    ya = _mm256_add_epi64(ya, advanceY);
    yb = _mm256_add_epi64(yb, advanceY);
    // Consecutive columns: with dx > 0 each step moves at least none, so 7 in 7 steps is 1 each.
    if (dx <= 0 || ((x0 + dx * 7) >> 32) - ix != 7 || std::abs(iyLast - iyFirst) > 1) {
      scalar(origin, step, x0, y0, dx, dy, 8, out + u);
      continue;
    }
    int64_t const iy = std::min(iyFirst, iyLast);
    bool const twoRows = iyFirst != iyLast;
    uint8_t const* r0 = origin + step * std::ptrdiff_t(iy) + std::ptrdiff_t(ix);
    uint8_t const* r1 = r0 + step;
    uint8_t const* r2 = twoRows ? r1 + step : r1;  // the row below the pair, only when used
    __m256i const lower = twoRows ? _mm256_cmpeq_epi32(py, _mm256_set1_epi32(int(iy + 1))) : _mm256_setzero_si256();
    __m256i const gx = _mm256_sub_epi32(one, fx), gy = _mm256_sub_epi32(one, fy);
    auto blend = [&](uint8_t const* row) {  // taps x and x + 1 of a row, horizontally weighted
      return _mm256_add_epi32(_mm256_mullo_epi32(Load8(row), gx), _mm256_mullo_epi32(Load8(row + 1), fx));
    };
    __m256i const h0 = blend(r0), h1 = blend(r1), h2 = twoRows ? blend(r2) : h1;
    __m256i const top = _mm256_blendv_epi8(h0, h1, lower), bottom = _mm256_blendv_epi8(h1, h2, lower);
    __m256i const sum = _mm256_add_epi32(_mm256_add_epi32(_mm256_mullo_epi32(top, gy), _mm256_mullo_epi32(bottom, fy)), half);
    __m256i const bytes = _mm256_shuffle_epi8(_mm256_srli_epi32(sum, 16), pack);
    uint32_t const low = uint32_t(_mm_cvtsi128_si32(_mm256_castsi256_si128(bytes)));
    uint32_t const high = uint32_t(_mm_cvtsi128_si32(_mm256_extracti128_si256(bytes, 1)));
    std::memcpy(out + u, &low, 4);
    std::memcpy(out + u + 4, &high, 4);
  }
  if (u < n) scalar(origin, step, X + dx * u, Y + dy * u, dx, dy, n - u, out + u);
}

}  // namespace

ResampleRunKernels const& ResampleRunKernelsAvx2() {
  static ResampleRunKernels const table = {Bilinear8};
  return table;
}

}  // namespace quilp
