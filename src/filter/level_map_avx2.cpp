// level_map_avx2.cpp - AVX2 fixed-point linear mapping, 16 pixels per step.
//
// Two groups of eight 32-bit products, shift, packing (signed then unsigned saturation) with
// one permutation to restore pixel order. The last pixels go to the scalar kernel.
#include <immintrin.h>

#include "filter/level_map.h"

namespace quilp {
namespace {

inline __m256i Map8(__m128i v8, __m256i gain, __m256i bias) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(_mm256_cvtepu8_epi32(v8), gain), bias), 8);
}

void LinearRow(uint8_t const* src, uint8_t* dst, int width, int32_t gain, int32_t offset) {
  __m256i const g = _mm256_set1_epi32(gain), bias = _mm256_set1_epi32(offset + 128);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const p = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + x));
    __m256i const a = Map8(p, g, bias), b = Map8(_mm_srli_si128(p, 8), g, bias);
    __m256i const words = _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), 0xD8);
    __m128i const out = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), out);
  }
  LevelKernelsScalar().linear(src + x, dst + x, width - x, gain, offset);
}

}  // namespace

LevelKernels const& LevelKernelsAvx2() {
  static LevelKernels const table = {LinearRow};
  return table;
}

}  // namespace quilp
