// differ_avx2.cpp - AVX2 image difference, 32 bytes per step.
//
// The SSE4.1 scheme on 256-bit registers. Unpacking works within 128-bit lanes, so the low
// 16-bit half holds bytes 0..7 and 16..23 of a step, the high half bytes 8..15 and 24..31;
// the offset vectors follow that order, and packing restores the byte order. Each step moves
// the offset phase by 32 mod 3 = 2.
#include <immintrin.h>

#include "compare/differ.h"
#include "simd/lane_sums.h"

namespace quilp {
namespace {

// Offsets of the lanes for each phase, loaded from the rule's repeating pattern.
struct Offsets {
  __m256i lo[3], hi[3];
  explicit Offsets(DifferRule const& r) {
    if (r.zeroOffsets) return;  // the byte path reads none
    auto pair = [&](int a, int b) {
      return _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<__m128i const*>(r.pattern + b)),
                              _mm_loadu_si128(reinterpret_cast<__m128i const*>(r.pattern + a)));
    };
    for (int p = 0; p < 3; ++p) {
      lo[p] = pair(p, p + 16);
      hi[p] = pair(p + 8, p + 24);
    }
  }
};

inline int NextPhase(int p) { return p == 0 ? 2 : p - 1; }  // (p + 2) mod 3

template <bool kAbsolute, bool kZero>
inline __m256i Step(uint8_t const* t, uint8_t const* e, Offsets const& o, int phase) {
  __m256i const a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(t));
  __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(e));
  if (kZero) {
    __m256i const over = _mm256_subs_epu8(a, b);
    return kAbsolute ? _mm256_or_si256(over, _mm256_subs_epu8(b, a)) : over;
  }
  __m256i const z = _mm256_setzero_si256();
  __m256i lo = _mm256_add_epi16(
      _mm256_sub_epi16(_mm256_unpacklo_epi8(a, z), _mm256_unpacklo_epi8(b, z)), o.lo[phase]);
  __m256i hi = _mm256_add_epi16(
      _mm256_sub_epi16(_mm256_unpackhi_epi8(a, z), _mm256_unpackhi_epi8(b, z)), o.hi[phase]);
  if (kAbsolute) {
    lo = _mm256_abs_epi16(lo);
    hi = _mm256_abs_epi16(hi);
  }
  return _mm256_packus_epi16(lo, hi);
}

template <bool kAbsolute, bool kZero>
void ImageRowT(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t bytes,
               DifferRule const& rule, Offsets const& o) {
  std::ptrdiff_t i = 0;
  int phase = 0;
  for (; i + 32 <= bytes; i += 32, phase = NextPhase(phase))
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                        Step<kAbsolute, kZero>(t + i, e + i, o, phase));
  DifferImageSse41(t, e, out, i, bytes, rule);  // the last 0..31 bytes
}

template <bool kAbsolute, bool kZero>
uint64_t SumRowT(uint8_t const* t, uint8_t const* e, std::ptrdiff_t bytes, DifferRule const& rule,
                 Offsets const& o) {
  __m256i acc = _mm256_setzero_si256();
  __m256i const z = _mm256_setzero_si256();
  std::ptrdiff_t i = 0;
  int phase = 0;
  for (; i + 32 <= bytes; i += 32, phase = NextPhase(phase))
    acc = _mm256_add_epi64(acc, _mm256_sad_epu8(Step<kAbsolute, kZero>(t + i, e + i, o, phase), z));
  __m128i const half = _mm_add_epi64(_mm256_castsi256_si128(acc), _mm256_extracti128_si256(acc, 1));
  uint64_t const vec = simd::SumU64Lanes(half);
  return vec + DifferSumSse41(t, e, i, bytes, rule);  // the last 0..31 bytes
}

void ImageRow(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t bytes,
              DifferRule const& rule) {
  Offsets const o(rule);
  bool const abs = rule.method == kDifferAbsolute;
  if (rule.zeroOffsets) {
    abs ? ImageRowT<true, true>(t, e, out, bytes, rule, o)
        : ImageRowT<false, true>(t, e, out, bytes, rule, o);
  } else {
    abs ? ImageRowT<true, false>(t, e, out, bytes, rule, o)
        : ImageRowT<false, false>(t, e, out, bytes, rule, o);
  }
}

uint64_t SumRow(uint8_t const* t, uint8_t const* e, std::ptrdiff_t bytes, DifferRule const& rule) {
  Offsets const o(rule);
  bool const abs = rule.method == kDifferAbsolute;
  if (rule.zeroOffsets) return abs ? SumRowT<true, true>(t, e, bytes, rule, o) : SumRowT<false, true>(t, e, bytes, rule, o);
  return abs ? SumRowT<true, false>(t, e, bytes, rule, o) : SumRowT<false, false>(t, e, bytes, rule, o);
}

}  // namespace

DifferKernels const& DifferKernelsAvx2() {
  static DifferKernels const table = {ImageRow, SumRow};
  return table;
}

}  // namespace quilp
