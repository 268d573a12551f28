// differ_sse41.cpp - SSE4.1 image difference, 16 bytes per step.
//
// Zero offsets stay in bytes: |t - e| is the OR of the two saturating differences, the
// one-sided difference one saturating difference. Other offsets widen to 16-bit lanes,
// d = t - e + offset (-765..765), and packing with unsigned saturation is the clamp to 0..255.
// A 16-byte step starting at byte i uses the offsets of phase i mod 3; each step moves the
// phase by 16 mod 3 = 1. Sums: SAD against zero into two 64-bit lanes.
#include <immintrin.h>

#include "compare/differ.h"
#include "simd/lane_sums.h"

namespace quilp {
namespace {

// Offsets of the lanes for each phase, loaded from the rule's repeating pattern.
struct Offsets {
  __m128i lo[3], hi[3];  // phase p: lanes of bytes 0..7 and 8..15 of a step
  explicit Offsets(DifferRule const& r) {
    if (r.zeroOffsets) return;  // the byte path reads none
    for (int p = 0; p < 3; ++p) {
      lo[p] = _mm_loadu_si128(reinterpret_cast<__m128i const*>(r.pattern + p));
      hi[p] = _mm_loadu_si128(reinterpret_cast<__m128i const*>(r.pattern + p + 8));
    }
  }
};

template <bool kAbsolute, bool kZero>
inline __m128i Step(uint8_t const* t, uint8_t const* e, Offsets const& o, int phase) {
  __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(t));
  __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(e));
  if (kZero) {
    __m128i const over = _mm_subs_epu8(a, b);
    return kAbsolute ? _mm_or_si128(over, _mm_subs_epu8(b, a)) : over;
  }
  __m128i const z = _mm_setzero_si128();
  __m128i lo = _mm_add_epi16(_mm_sub_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z)), o.lo[phase]);
  __m128i hi = _mm_add_epi16(_mm_sub_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z)), o.hi[phase]);
  if (kAbsolute) {
    lo = _mm_abs_epi16(lo);
    hi = _mm_abs_epi16(hi);
  }
  return _mm_packus_epi16(lo, hi);
}

template <bool kAbsolute, bool kZero>
void ImageRange(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t begin,
                std::ptrdiff_t end, DifferRule const& rule) {
  Offsets const o(rule);
  std::ptrdiff_t i = begin;
  int phase = static_cast<int>(begin % 3);
  for (; i + 16 <= end; i += 16, phase = phase == 2 ? 0 : phase + 1)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), Step<kAbsolute, kZero>(t + i, e + i, o, phase));
  DifferImageBytes(t, e, out, i, end, rule);
}

template <bool kAbsolute, bool kZero>
uint64_t SumRange(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin, std::ptrdiff_t end,
                  DifferRule const& rule) {
  Offsets const o(rule);
  __m128i acc = _mm_setzero_si128();
  __m128i const z = _mm_setzero_si128();
  std::ptrdiff_t i = begin;
  int phase = static_cast<int>(begin % 3);
  for (; i + 16 <= end; i += 16, phase = phase == 2 ? 0 : phase + 1)
    acc = _mm_add_epi64(acc, _mm_sad_epu8(Step<kAbsolute, kZero>(t + i, e + i, o, phase), z));
  uint64_t const vec = simd::SumU64Lanes(acc);
  return vec + DifferSumBytes(t, e, i, end, rule);
}

void ImageRow(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t bytes,
              DifferRule const& rule) {
  DifferImageSse41(t, e, out, 0, bytes, rule);
}

uint64_t SumRow(uint8_t const* t, uint8_t const* e, std::ptrdiff_t bytes, DifferRule const& rule) {
  return DifferSumSse41(t, e, 0, bytes, rule);
}

}  // namespace

void DifferImageSse41(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t begin,
                      std::ptrdiff_t end, DifferRule const& rule) {
  bool const abs = rule.method == kDifferAbsolute;
  if (rule.zeroOffsets) {
    abs ? ImageRange<true, true>(t, e, out, begin, end, rule)
        : ImageRange<false, true>(t, e, out, begin, end, rule);
  } else {
    abs ? ImageRange<true, false>(t, e, out, begin, end, rule)
        : ImageRange<false, false>(t, e, out, begin, end, rule);
  }
}

uint64_t DifferSumSse41(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin,
                        std::ptrdiff_t end, DifferRule const& rule) {
  bool const abs = rule.method == kDifferAbsolute;
  if (rule.zeroOffsets)
    return abs ? SumRange<true, true>(t, e, begin, end, rule) : SumRange<false, true>(t, e, begin, end, rule);
  return abs ? SumRange<true, false>(t, e, begin, end, rule) : SumRange<false, false>(t, e, begin, end, rule);
}

DifferKernels const& DifferKernelsSse41() {
  static DifferKernels const table = {ImageRow, SumRow};
  return table;
}

}  // namespace quilp
