// paper_kernels_sse41.cpp - SSE4.1 paper-surface row kernels, 16 pixels per step.
//
// Blend in 16-bit lanes without widening: with a = 256 ah + al and b = 256 bh + bl,
//   (a (256 - w) + b w + 32768) >> 16 = (H + (L >> 8) + 128) >> 8,
//   H = ah (256 - w) + bh w,  L = al (256 - w) + bl w,
// every term below 2^16 (the remainder dropped from L never reaches the next 256).
// Decide: the paper surface is smooth, so the paper levels of 16 neighbours nearly always lie
// within 16 levels of each other: those 16 entries of the cut table sit in one register and a
// byte shuffle looks them up. A group whose levels spread wider (a page border, a hole) goes
// through the scalar rule. White exactly when cut - v saturates to zero; the bytes of each
// group of eight are reversed before the sign bits are gathered, leftmost pixel on top.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "binarize/paper_kernels.h"

namespace quilp {
namespace {

// Levels of the window below the first pixel's paper level: the window is [p - 7, p + 8].
constexpr int kWindowBelow = 7;

void AddColumns(uint8_t const* src, uint16_t* columns, int n) {
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    __m128i* const c = reinterpret_cast<__m128i*>(columns + x);
    __m128i const v = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(src + x)));
    _mm_storeu_si128(c, _mm_add_epi16(_mm_loadu_si128(c), v));
  }
  if (x < n) PaperKernelsScalar().addColumns(src + x, columns + x, n - x);
}

// Sixteen pixels' left blocks lie within 16 of the first one's: two 16-byte windows of the
// block row (from the first left block, and one further) and a byte shuffle give a and b.
void Expand(uint8_t const* blocks, int32_t const* left, uint16_t const* weight, uint16_t* out,
            int n) {
  auto load = [](void const* p) { return _mm_loadu_si128(static_cast<__m128i const*>(p)); };
  int x = 0;
  for (; x + 16 <= n; x += 16) {
    __m128i const base = _mm_set1_epi32(left[x]);
    __m128i const rel = _mm_packus_epi16(
        _mm_packs_epi32(_mm_sub_epi32(load(left + x), base), _mm_sub_epi32(load(left + x + 4), base)),
        _mm_packs_epi32(_mm_sub_epi32(load(left + x + 8), base), _mm_sub_epi32(load(left + x + 12), base)));
    __m128i const a = _mm_shuffle_epi8(load(blocks + left[x]), rel);
    __m128i const b = _mm_shuffle_epi8(load(blocks + left[x] + 1), rel);
    for (int half = 0; half < 2; ++half) {
      __m128i const a16 = _mm_cvtepu8_epi16(half ? _mm_srli_si128(a, 8) : a);
      __m128i const b16 = _mm_cvtepu8_epi16(half ? _mm_srli_si128(b, 8) : b);
      __m128i const e = _mm_add_epi16(_mm_slli_epi16(a16, 8),
                                      _mm_mullo_epi16(_mm_sub_epi16(b16, a16), load(weight + x + 8 * half)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x + 8 * half), e);
    }
  }
  if (x < n) PaperKernelsScalar().expand(blocks, left + x, weight + x, out + x, n - x);
}

inline __m128i Blend8(__m128i a, __m128i b, __m128i wa, __m128i wb) {
  __m128i const low = _mm_set1_epi16(0xFF);
  __m128i const h = _mm_add_epi16(_mm_mullo_epi16(_mm_srli_epi16(a, 8), wa),
                                  _mm_mullo_epi16(_mm_srli_epi16(b, 8), wb));
  __m128i const l = _mm_add_epi16(_mm_mullo_epi16(_mm_and_si128(a, low), wa),
                                  _mm_mullo_epi16(_mm_and_si128(b, low), wb));
  return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(h, _mm_srli_epi16(l, 8)), _mm_set1_epi16(128)), 8);
}

void Blend(uint16_t const* a, uint16_t const* b, int w, uint8_t* out, int n) {
  __m128i const wa = _mm_set1_epi16(static_cast<short>(256 - w)), wb = _mm_set1_epi16(static_cast<short>(w));
  auto load = [](uint16_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); };
  int x = 0;
  for (; x + 16 <= n; x += 16) {
    __m128i const r0 = Blend8(load(a + x), load(b + x), wa, wb);
    __m128i const r1 = Blend8(load(a + x + 8), load(b + x + 8), wa, wb);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(r0, r1));
  }
  if (x < n) PaperKernelsScalar().blend(a + x, b + x, w, out + x, n - x);
}

void Decide(uint8_t const* src, uint8_t const* paper, uint8_t const cut[256], uint8_t* bits,
            int width) {
  __m128i const reverse = _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  __m128i const top = _mm_set1_epi8(15), zero = _mm_setzero_si128();
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const p = _mm_loadu_si128(reinterpret_cast<__m128i const*>(paper + x));
    int const base = std::clamp(paper[x] - kWindowBelow, 0, 240);
    __m128i const idx = _mm_sub_epi8(p, _mm_set1_epi8(static_cast<char>(base)));
    __m128i const outside = _mm_subs_epu8(idx, top);
    if (!_mm_testz_si128(outside, outside)) {
      PaperKernelsScalar().decide(src + x, paper + x, cut, bits + x / 8, 16);
      continue;
    }
    __m128i const c = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(cut + base)), idx);
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + x));
    __m128i const white = _mm_cmpeq_epi8(_mm_subs_epu8(c, v), zero);
    uint16_t const out = static_cast<uint16_t>(_mm_movemask_epi8(_mm_shuffle_epi8(white, reverse)));
    std::memcpy(bits + x / 8, &out, 2);
  }
  if (x < width) PaperKernelsScalar().decide(src + x, paper + x, cut, bits + x / 8, width - x);
}

}  // namespace

PaperKernels const& PaperKernelsSse41() {
  static PaperKernels const table = {AddColumns, Expand, Blend, Decide};
  return table;
}

}  // namespace quilp
