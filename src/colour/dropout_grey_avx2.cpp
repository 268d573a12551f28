// dropout_grey_avx2.cpp - AVX2 dropout grey, 32 pixels a step.
//
// The SSE4.1 arithmetic on 256-bit registers. Every step after the plane split works within
// 128-bit lanes, so 24-bit pixels (low lane 0..15, high lane 16..31) come out in order. For
// 32-bit pixels the lane-wise transpose leaves each lane holding every other group of four,
// and one permutation of 32-bit groups restores pixel order before the store.
#include <immintrin.h>

#include "colour/dropout_grey.h"
#include "simd/bgr_shuffle.h"

namespace quilp {
namespace {

struct Consts {
  __m256i tolerance, strength;
  explicit Consts(DropoutGreyRule const& r)
      : tolerance(_mm256_set1_epi8(static_cast<char>(r.tolerance))),
        strength(_mm256_set1_epi16(static_cast<short>(r.strength))) {}
};

inline __m256i Grey16(__m256i b, __m256i g, __m256i r, __m256i excess, __m256i strength) {
  __m256i const sum =
      _mm256_add_epi16(_mm256_add_epi16(b, g), _mm256_add_epi16(r, _mm256_set1_epi16(1)));
  __m256i const mean = _mm256_mulhi_epu16(sum, _mm256_set1_epi16(21846));
  __m256i const lift = _mm256_srli_epi16(
      _mm256_add_epi16(_mm256_mullo_epi16(excess, strength), _mm256_set1_epi16(8)), 4);
  return _mm256_add_epi16(mean, lift);
}

inline __m256i Grey32(__m256i B, __m256i G, __m256i R, Consts const& c) {
  __m256i const hi = _mm256_max_epu8(_mm256_max_epu8(B, G), R);
  __m256i const lo = _mm256_min_epu8(_mm256_min_epu8(B, G), R);
  __m256i const excess = _mm256_subs_epu8(_mm256_sub_epi8(hi, lo), c.tolerance);
  __m256i const z = _mm256_setzero_si256();
  __m256i const low =
      Grey16(_mm256_unpacklo_epi8(B, z), _mm256_unpacklo_epi8(G, z), _mm256_unpacklo_epi8(R, z),
             _mm256_unpacklo_epi8(excess, z), c.strength);
  __m256i const high =
      Grey16(_mm256_unpackhi_epi8(B, z), _mm256_unpackhi_epi8(G, z), _mm256_unpackhi_epi8(R, z),
             _mm256_unpackhi_epi8(excess, z), c.strength);
  return _mm256_packus_epi16(low, high);
}

void BgrRow(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule) {
  Consts const c(rule);
  int x = 0;
  for (; x + 32 <= width; x += 32) {
    __m256i B, G, R;
    simd::SplitBgr32(src + 3 * x, B, G, R);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x), Grey32(B, G, R, c));
  }
  if (x < width) DropoutGreyKernelsSse41().bgr(src + 3 * x, dst + x, width - x, rule);
}

// Eight pixels at p -> per lane, the four pixels' bytes grouped by position.
inline __m256i Grouped8(uint8_t const* p) {
  return _mm256_shuffle_epi8(
      _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)),
      _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12, 1, 5,
                       9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

void BgraRow(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule) {
  Consts const c(rule);
  __m256i const order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  int x = 0;
  for (; x + 32 <= width; x += 32) {
    uint8_t const* p = src + 4 * x;
    __m256i const v0 = Grouped8(p), v1 = Grouped8(p + 32), v2 = Grouped8(p + 64),
                  v3 = Grouped8(p + 96);
    __m256i const t0 = _mm256_unpacklo_epi32(v0, v1), t1 = _mm256_unpackhi_epi32(v0, v1);
    __m256i const t2 = _mm256_unpacklo_epi32(v2, v3), t3 = _mm256_unpackhi_epi32(v2, v3);
    __m256i const B = _mm256_unpacklo_epi64(t0, t2), G = _mm256_unpackhi_epi64(t0, t2),
                  R = _mm256_unpacklo_epi64(t1, t3);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x),
                        _mm256_permutevar8x32_epi32(Grey32(B, G, R, c), order));
  }
  if (x < width) DropoutGreyKernelsSse41().bgra(src + 4 * x, dst + x, width - x, rule);
}

}  // namespace

DropoutGreyKernels const& DropoutGreyKernelsAvx2() {
  static DropoutGreyKernels const table = {BgrRow, BgraRow};
  return table;
}

}  // namespace quilp
