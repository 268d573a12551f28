// resample_run_avx512.cpp - the bilinear run, sixteen pixels per step, for any turn.
//
// Positions: each lane keeps its 64-bit source position as two 32-bit halves (fraction and
// integer), stepped by sixteen pixels with an explicit carry, so every lane holds exactly the
// value the scalar loop reaches by repeated additions.
// Taps: the sixteen pixels read a short span of columns (at most 17 for a turn) from a few
// consecutive rows. Those rows are loaded once per block (masked to the span, so nothing is
// read outside it) and a two-table byte permute (VBMI) picks each lane's taps x and x + 1 of
// the row pair it needs: row r and r + 1 for the top taps, r + 1 and r + 2 for the bottom ones.
// A block spanning more than two source rows (steep turns) repeats that per pair of rows.
// Arithmetic: taps and weights as 16-bit pairs in one 32-bit lane, so each multiply-add of
// pairs gives top = p00 gx + p01 fx; the vertical step multiplies (top - 2^15, bottom - 2^15)
// by (gy, fy), which fits signed 16 bits, and adds the 2^15 (gy + fy) + 2^15 back: the scalar
// sum and rounding exactly. About two instructions per pixel.
// A block whose columns span more than 62 pixels (a shrink by more than three) takes the
// scalar loop.
#include <immintrin.h>

#include <algorithm>
#include <cstdint>

#include "geometry/resample_run.h"

namespace quilp {
namespace {

constexpr int kLanes = 16;
constexpr __mmask64 kPairBytes = 0x5555555555555555ull;  // bytes 0 and 2 of each 32-bit lane

// The first n bits (n <= 64); plain shifts, as the 64-bit bit-field intrinsics are missing in
// 32-bit builds.
inline __mmask64 FirstBytes(unsigned n) { return n >= 64 ? ~0ull : (1ull << n) - 1; }

// The shuffle that copies byte b of each 32-bit lane into its bytes 0 and 2 and clears
// bytes 1 and 3 (byte shuffles index within 128-bit lanes).
inline __m512i SpreadByte(int b) {
  alignas(64) uint32_t lanes[kLanes];
  for (int k = 0; k < kLanes; ++k) {
    uint32_t const s = uint32_t(4 * (k % 4) + b);
    lanes[k] = 0x80008000u | s | s << 16;
  }
  return _mm512_load_si512(lanes);
}

// A position per lane, start + k d for lane k, as fraction and integer halves.
struct Lanes {
  __m512i fraction, whole;
  __m512i stepFraction, stepWhole;  // sixteen pixels' move
  Lanes(int64_t start, int64_t d) {
    alignas(64) uint32_t lo[kLanes], hi[kLanes];
    for (int k = 0; k < kLanes; ++k) {
      uint64_t const p = uint64_t(start) + uint64_t(d) * uint64_t(k);
      lo[k] = uint32_t(p);
      hi[k] = uint32_t(p >> 32);
    }
    fraction = _mm512_load_si512(lo);
    whole = _mm512_load_si512(hi);
    uint64_t const move = uint64_t(d) * kLanes;
    stepFraction = _mm512_set1_epi32(int(uint32_t(move)));
    stepWhole = _mm512_set1_epi32(int(uint32_t(move >> 32)));
  }
  void Advance() {
    fraction = _mm512_add_epi32(fraction, stepFraction);
    __mmask16 const carry = _mm512_cmplt_epu32_mask(fraction, stepFraction);
    whole = _mm512_add_epi32(whole, stepWhole);
    whole = _mm512_mask_sub_epi32(whole, carry, whole, _mm512_set1_epi32(-1));
  }
  // (256 - f, f) as 16-bit halves, f the top 8 bits of the fraction.
  __m512i Weights() const {
    __m512i const ff = _mm512_shuffle_epi8(fraction, SpreadByte(3));
    return _mm512_mask_sub_epi16(ff, 0x55555555u, _mm512_set1_epi16(256), ff);
  }
};

void Bilinear8(uint8_t const* origin, std::ptrdiff_t step, int64_t X, int64_t Y, int64_t dx,
               int64_t dy, int n, uint8_t* out) {
  auto const scalar = ResampleRunKernelsScalar().bilinear8;
  Lanes xs(X, dx), ys(Y, dy);
  __m512i const lowByte = SpreadByte(0);
  __m512i const nextTap = _mm512_set1_epi32(0x00010000);
  __m512i const bias = _mm512_set1_epi32(int(0x80008000u));
  __m512i const restore = _mm512_set1_epi32((1 << 23) + (1 << 15));
  for (int u = 0; u < n; u += kLanes, xs.Advance(), ys.Advance()) {
    int const m = std::min(kLanes, n - u);
    int64_t const x0 = X + dx * u, y0 = Y + dy * u;
    int64_t const x1 = x0 + dx * (m - 1), y1 = y0 + dy * (m - 1);
    int const ixMin = int(std::min(x0, x1) >> 32), ixMax = int(std::max(x0, x1) >> 32);
    int const iyMin = int(std::min(y0, y1) >> 32), iyMax = int(std::max(y0, y1) >> 32);
    int const span = ixMax - ixMin + 2;  // columns the taps read
    if (span > 64) {
      scalar(origin, step, x0, y0, dx, dy, m, out + u);
      continue;
    }
    // Lane index bytes: column within the span, plus 64 per row below the first (bit 6 picks
    // the table; even row pairs share the low seven bits).
    __m512i const relX = _mm512_sub_epi32(xs.whole, _mm512_set1_epi32(ixMin));
    __m512i const relY = _mm512_sub_epi32(ys.whole, _mm512_set1_epi32(iyMin));
    __m512i const base = _mm512_add_epi32(relX, _mm512_slli_epi32(relY, 6));
    __m512i const index = _mm512_add_epi32(_mm512_shuffle_epi8(base, lowByte), nextTap);
    __m512i const wx = xs.Weights(), wy = ys.Weights();
    __mmask64 const load = FirstBytes(unsigned(span));
    uint8_t const* row = origin + step * std::ptrdiff_t(iyMin) + ixMin;
    int const rows = iyMax - iyMin + 2;  // source rows the block reads
    // The row below the block's last one is where the next destination row of a slight turn
    // reads: asked for now, it arrives while this row is done. A hint only (never faults).
    uintptr_t const ahead = reinterpret_cast<uintptr_t>(row) + uintptr_t(step * rows);
    _mm_prefetch(reinterpret_cast<char const*>(ahead), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<char const*>(ahead + 63), _MM_HINT_T0);
    __m512i a = _mm512_maskz_loadu_epi8(load, row);
    __m512i top = _mm512_setzero_si512(), bottom = _mm512_setzero_si512();
    for (int j = 0; j + 1 < rows; j += 2) {
      __m512i const b = _mm512_maskz_loadu_epi8(load, row + step * (j + 1));
      // Row j + 2 only when some lane needs it; the choice is made without a branch, as a
      // slight turn needs it in an unpredictable part of the blocks.
      __m512i const c = _mm512_maskz_loadu_epi8(load, row + step * std::min(j + 2, rows - 1));
      __m512i const t = _mm512_madd_epi16(_mm512_maskz_permutex2var_epi8(kPairBytes, a, index, b), wx);
      __m512i const s = _mm512_madd_epi16(_mm512_maskz_permutex2var_epi8(kPairBytes, b, index, c), wx);
      if (j == 0) {
        top = t;
        bottom = s;
      } else {  // the lanes at or below this pair's first row
        __mmask16 const mine = _mm512_cmpge_epi32_mask(relY, _mm512_set1_epi32(j));
        top = _mm512_mask_mov_epi32(top, mine, t);
        bottom = _mm512_mask_mov_epi32(bottom, mine, s);
      }
      a = c;
    }
    // (top - 2^15) in the low half, (bottom - 2^15) in the high half: (A | B) ^ C.
    __m512i const pair = _mm512_ternarylogic_epi32(_mm512_slli_epi32(bottom, 16), top, bias, 0x56);
    __m512i const sum = _mm512_add_epi32(_mm512_madd_epi16(pair, wy), restore);
    _mm512_mask_cvtepi32_storeu_epi8(out + u, __mmask16((1u << m) - 1), _mm512_srli_epi32(sum, 16));
  }
}

}  // namespace

ResampleRunKernels const& ResampleRunKernelsAvx512() {
  static ResampleRunKernels const table = {Bilinear8};
  return table;
}

}  // namespace quilp
