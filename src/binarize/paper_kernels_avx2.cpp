// paper_kernels_avx2.cpp - AVX2 paper-surface row kernels, 32 pixels per step.
//
// The arithmetic of the SSE4.1 file (16-bit blend; the cut table looked up through a 16-level
// window of it, the scalar rule where 32 neighbours' paper levels spread wider).
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "binarize/paper_kernels.h"

namespace quilp {
namespace {

constexpr int kWindowBelow = 7;  // the window is [p - 7, p + 8] around the first pixel's paper

void AddColumns(uint8_t const* src, uint16_t* columns, int n) {
  int x = 0;
  for (; x + 16 <= n; x += 16) {
    __m256i* const c = reinterpret_cast<__m256i*>(columns + x);
    __m256i const v = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<__m128i const*>(src + x)));
    _mm256_storeu_si256(c, _mm256_add_epi16(_mm256_loadu_si256(c), v));
  }
  if (x < n) PaperKernelsSse41().addColumns(src + x, columns + x, n - x);
}

// As the SSE4.1 kernel: sixteen pixels' blocks by a byte shuffle of two 16-byte windows.
void Expand(uint8_t const* blocks, int32_t const* left, uint16_t const* weight, uint16_t* out,
            int n) {
  auto load = [](void const* p) { return _mm256_loadu_si256(static_cast<__m256i const*>(p)); };
  int x = 0;
  for (; x + 16 <= n; x += 16) {
    __m256i const base = _mm256_set1_epi32(left[x]);
    __m256i const words = _mm256_permute4x64_epi64(
        _mm256_packs_epi32(_mm256_sub_epi32(load(left + x), base), _mm256_sub_epi32(load(left + x + 8), base)),
        0xD8);
    __m128i const rel = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    __m128i const a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(blocks + left[x])), rel);
    __m128i const b = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(blocks + left[x] + 1)), rel);
    __m256i const a16 = _mm256_cvtepu8_epi16(a), b16 = _mm256_cvtepu8_epi16(b);
    __m256i const e = _mm256_add_epi16(_mm256_slli_epi16(a16, 8),
                                       _mm256_mullo_epi16(_mm256_sub_epi16(b16, a16), load(weight + x)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), e);
  }
  if (x < n) PaperKernelsSse41().expand(blocks, left + x, weight + x, out + x, n - x);
}

inline __m256i Blend16(__m256i a, __m256i b, __m256i wa, __m256i wb) {
  __m256i const low = _mm256_set1_epi16(0xFF);
  __m256i const h = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_srli_epi16(a, 8), wa),
                                     _mm256_mullo_epi16(_mm256_srli_epi16(b, 8), wb));
  __m256i const l = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_and_si256(a, low), wa),
                                     _mm256_mullo_epi16(_mm256_and_si256(b, low), wb));
  return _mm256_srli_epi16(
      _mm256_add_epi16(_mm256_add_epi16(h, _mm256_srli_epi16(l, 8)), _mm256_set1_epi16(128)), 8);
}

void Blend(uint16_t const* a, uint16_t const* b, int w, uint8_t* out, int n) {
  __m256i const wa = _mm256_set1_epi16(static_cast<short>(256 - w));
  __m256i const wb = _mm256_set1_epi16(static_cast<short>(w));
  auto load = [](uint16_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); };
  int x = 0;
  for (; x + 32 <= n; x += 32) {
    __m256i const r0 = Blend16(load(a + x), load(b + x), wa, wb);
    __m256i const r1 = Blend16(load(a + x + 16), load(b + x + 16), wa, wb);
    __m256i const packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(r0, r1), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), packed);
  }
  if (x < n) PaperKernelsSse41().blend(a + x, b + x, w, out + x, n - x);
}

void Decide(uint8_t const* src, uint8_t const* paper, uint8_t const cut[256], uint8_t* bits,
            int width) {
  __m256i const reverse =
      _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8,
                       7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  __m256i const top = _mm256_set1_epi8(15), zero = _mm256_setzero_si256();
  int x = 0;
  for (; x + 32 <= width; x += 32) {
    __m256i const p = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(paper + x));
    int const base = std::clamp(paper[x] - kWindowBelow, 0, 240);
    __m256i const idx = _mm256_sub_epi8(p, _mm256_set1_epi8(static_cast<char>(base)));
    __m256i const outside = _mm256_subs_epu8(idx, top);
    if (!_mm256_testz_si256(outside, outside)) {
      PaperKernelsScalar().decide(src + x, paper + x, cut, bits + x / 8, 32);
      continue;
    }
    __m256i const table =
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<__m128i const*>(cut + base)));
    __m256i const c = _mm256_shuffle_epi8(table, idx);
    __m256i const v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(src + x));
    __m256i const white = _mm256_cmpeq_epi8(_mm256_subs_epu8(c, v), zero);
    uint32_t const out = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(white, reverse)));
    std::memcpy(bits + x / 8, &out, 4);
  }
  if (x < width) PaperKernelsSse41().decide(src + x, paper + x, cut, bits + x / 8, width - x);
}

}  // namespace

PaperKernels const& PaperKernelsAvx2() {
  static PaperKernels const table = {AddColumns, Expand, Blend, Decide};
  return table;
}

}  // namespace quilp
