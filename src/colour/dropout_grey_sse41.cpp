// dropout_grey_sse41.cpp - SSE4.1 dropout grey, 16 pixels a step.
//
// Chroma and the tolerance in bytes (max, min, saturating subtraction); the mean and the lift
// in 16-bit lanes. The mean (s + 1) / 3 is the high half of (s + 1) * 21846, exact for every
// sum of three bytes; excess * strength + 8 stays below 2^16 for strength up to 256; the final
// pack saturates at 255. 32-bit pixels are gathered into byte planes by one shuffle per four
// pixels and a 4 x 4 transpose of 32-bit groups.
#include <immintrin.h>

#include "colour/dropout_grey.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

struct Consts {
  __m128i tolerance, strength;
  explicit Consts(DropoutGreyRule const& r)
      : tolerance(_mm_set1_epi8(static_cast<char>(r.tolerance))),
        strength(_mm_set1_epi16(static_cast<short>(r.strength))) {}
};

// Eight pixels' planes in 16-bit lanes and their excess -> eight greys in 16-bit lanes.
inline __m128i Grey8(__m128i b, __m128i g, __m128i r, __m128i excess, __m128i strength) {
  __m128i const sum = _mm_add_epi16(_mm_add_epi16(b, g), _mm_add_epi16(r, _mm_set1_epi16(1)));
  __m128i const mean = _mm_mulhi_epu16(sum, _mm_set1_epi16(21846));
  __m128i const lift =
      _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(excess, strength), _mm_set1_epi16(8)), 4);
  return _mm_add_epi16(mean, lift);
}

// Sixteen pixels' byte planes -> sixteen greys.
inline __m128i Grey16(__m128i B, __m128i G, __m128i R, Consts const& c) {
  __m128i const hi = _mm_max_epu8(_mm_max_epu8(B, G), R);
  __m128i const lo = _mm_min_epu8(_mm_min_epu8(B, G), R);
  __m128i const excess = _mm_subs_epu8(_mm_sub_epi8(hi, lo), c.tolerance);
  __m128i const z = _mm_setzero_si128();
  __m128i const low = Grey8(_mm_unpacklo_epi8(B, z), _mm_unpacklo_epi8(G, z),
                            _mm_unpacklo_epi8(R, z), _mm_unpacklo_epi8(excess, z), c.strength);
  __m128i const high = Grey8(_mm_unpackhi_epi8(B, z), _mm_unpackhi_epi8(G, z),
                             _mm_unpackhi_epi8(R, z), _mm_unpackhi_epi8(excess, z), c.strength);
  return _mm_packus_epi16(low, high);
}

void BgrRow(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule) {
  Consts const c(rule);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i B, G, R;
    simd::SplitBgr16(src + 3 * x, B, G, R);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), Grey16(B, G, R, c));
  }
  if (x < width) DropoutGreyKernelsScalar().bgr(src + 3 * x, dst + x, width - x, rule);
}

// Four pixels at p -> their bytes grouped: 4 x byte 0, 4 x byte 1, 4 x byte 2, 4 x byte 3.
inline __m128i Grouped4(uint8_t const* p) {
  return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)),
                          _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

void BgraRow(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule) {
  Consts const c(rule);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    uint8_t const* p = src + 4 * x;
    __m128i const v0 = Grouped4(p), v1 = Grouped4(p + 16), v2 = Grouped4(p + 32),
                  v3 = Grouped4(p + 48);
    __m128i const t0 = _mm_unpacklo_epi32(v0, v1), t1 = _mm_unpackhi_epi32(v0, v1);
    __m128i const t2 = _mm_unpacklo_epi32(v2, v3), t3 = _mm_unpackhi_epi32(v2, v3);
    __m128i const B = _mm_unpacklo_epi64(t0, t2), G = _mm_unpackhi_epi64(t0, t2),
                  R = _mm_unpacklo_epi64(t1, t3);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), Grey16(B, G, R, c));
  }
  if (x < width) DropoutGreyKernelsScalar().bgra(src + 4 * x, dst + x, width - x, rule);
}

}  // namespace

DropoutGreyKernels const& DropoutGreyKernelsSse41() {
  static DropoutGreyKernels const table = {BgrRow, BgraRow};
  return table;
}

}  // namespace quilp
