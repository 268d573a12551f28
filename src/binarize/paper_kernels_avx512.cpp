// paper_kernels_avx512.cpp - AVX-512 paper-surface row kernels, 64 pixels per step.
//
// Blend: the 16-bit arithmetic of the SSE4.1 file on 32 lanes; the row's end with masked loads
// and stores. Decide: the whole cut table lives in four registers and a two-table byte permute
// (VBMI) looks up 64 paper levels at once, the level's top bit choosing between the low and the
// high half; one unsigned compare gives the 64 white bits directly. Pixels are reversed within
// each group of eight first, so each byte of the mask has its leftmost pixel on top. Under 64
// pixels at the row's end go to the AVX2 kernel.
#include <immintrin.h>

#include <cstring>

#include "binarize/paper_kernels.h"

namespace quilp {
namespace {

void AddColumns(uint8_t const* src, uint16_t* columns, int n) {
  int x = 0;
  for (; x + 32 <= n; x += 32) {
    __m512i const v = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(src + x)));
    _mm512_storeu_si512(columns + x, _mm512_add_epi16(_mm512_loadu_si512(columns + x), v));
  }
  if (x < n) {
    __mmask32 const m = static_cast<__mmask32>((1u << (n - x)) - 1);
    __m512i const v = _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(m, src + x));
    _mm512_mask_storeu_epi16(columns + x, m, _mm512_add_epi16(_mm512_maskz_loadu_epi16(m, columns + x), v));
  }
}

// 32 pixels' left blocks lie within 32 of the first one's: one 64-byte window of the block row
// and two byte permutes (VBMI) give a and b.
void Expand(uint8_t const* blocks, int32_t const* left, uint16_t const* weight, uint16_t* out,
            int n) {
  int x = 0;
  for (; x + 32 <= n; x += 32) {
    __m512i const base = _mm512_set1_epi32(left[x]);
    __m256i const rel = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm512_cvtepi32_epi8(_mm512_sub_epi32(_mm512_loadu_si512(left + x), base))),
        _mm512_cvtepi32_epi8(_mm512_sub_epi32(_mm512_loadu_si512(left + x + 16), base)), 1);
    __m512i const window = _mm512_loadu_si512(blocks + left[x]);
    __m512i const index = _mm512_zextsi256_si512(rel);
    __m512i const a16 = _mm512_cvtepu8_epi16(_mm512_castsi512_si256(_mm512_permutexvar_epi8(index, window)));
    __m512i const b16 = _mm512_cvtepu8_epi16(_mm512_castsi512_si256(
        _mm512_permutexvar_epi8(_mm512_add_epi8(index, _mm512_set1_epi8(1)), window)));
    __m512i const e = _mm512_add_epi16(_mm512_slli_epi16(a16, 8),
                                       _mm512_mullo_epi16(_mm512_sub_epi16(b16, a16), _mm512_loadu_si512(weight + x)));
    _mm512_storeu_si512(out + x, e);
  }
  if (x < n) PaperKernelsAvx2().expand(blocks, left + x, weight + x, out + x, n - x);
}

inline __m512i Blend32(__m512i a, __m512i b, __m512i wa, __m512i wb) {
  __m512i const low = _mm512_set1_epi16(0xFF);
  __m512i const h = _mm512_add_epi16(_mm512_mullo_epi16(_mm512_srli_epi16(a, 8), wa),
                                     _mm512_mullo_epi16(_mm512_srli_epi16(b, 8), wb));
  __m512i const l = _mm512_add_epi16(_mm512_mullo_epi16(_mm512_and_si512(a, low), wa),
                                     _mm512_mullo_epi16(_mm512_and_si512(b, low), wb));
  return _mm512_srli_epi16(
      _mm512_add_epi16(_mm512_add_epi16(h, _mm512_srli_epi16(l, 8)), _mm512_set1_epi16(128)), 8);
}

void Blend(uint16_t const* a, uint16_t const* b, int w, uint8_t* out, int n) {
  __m512i const wa = _mm512_set1_epi16(static_cast<short>(256 - w));
  __m512i const wb = _mm512_set1_epi16(static_cast<short>(w));
  int x = 0;
  for (; x + 32 <= n; x += 32) {
    __m512i const r = Blend32(_mm512_loadu_si512(a + x), _mm512_loadu_si512(b + x), wa, wb);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), _mm512_cvtepi16_epi8(r));
  }
  if (x < n) {
    __mmask32 const m = static_cast<__mmask32>((1u << (n - x)) - 1);
    __m512i const r = Blend32(_mm512_maskz_loadu_epi16(m, a + x), _mm512_maskz_loadu_epi16(m, b + x), wa, wb);
    _mm256_mask_storeu_epi8(out + x, m, _mm512_cvtepi16_epi8(r));
  }
}

void Decide(uint8_t const* src, uint8_t const* paper, uint8_t const cut[256], uint8_t* bits,
            int width) {
  __m512i const t0 = _mm512_loadu_si512(cut), t1 = _mm512_loadu_si512(cut + 64);
  __m512i const t2 = _mm512_loadu_si512(cut + 128), t3 = _mm512_loadu_si512(cut + 192);
  // Bytes 7..0, 15..8 of every 16-byte lane.
  long long const first = 0x0001020304050607ll, second = 0x08090A0B0C0D0E0Fll;
  __m512i const reverse = _mm512_set4_epi64(second, first, second, first);
  int x = 0;
  for (; x + 64 <= width; x += 64) {
    __m512i const p = _mm512_shuffle_epi8(_mm512_loadu_si512(paper + x), reverse);
    __m512i const v = _mm512_shuffle_epi8(_mm512_loadu_si512(src + x), reverse);
    __m512i const low = _mm512_permutex2var_epi8(t0, p, t1);
    __m512i const high = _mm512_permutex2var_epi8(t2, p, t3);
    __m512i const c = _mm512_mask_blend_epi8(_mm512_movepi8_mask(p), low, high);
    uint64_t const white = _mm512_cmpge_epu8_mask(v, c);
    std::memcpy(bits + x / 8, &white, 8);
  }
  if (x < width) PaperKernelsAvx2().decide(src + x, paper + x, cut, bits + x / 8, width - x);
}

}  // namespace

PaperKernels const& PaperKernelsAvx512() {
  static PaperKernels const table = {AddColumns, Expand, Blend, Decide};
  return table;
}

}  // namespace quilp
