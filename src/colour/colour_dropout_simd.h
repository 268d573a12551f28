// colour_dropout_simd.h - loading four BGR pixels as darkness in 32-bit lanes.
// Include only from files compiled with SSE4.1 or AVX2 enabled.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace quilp::simd {

// Pixels 0..3 at p (exactly 12 bytes read): d[c] holds 255 minus byte c of each pixel.
static inline void SplitDarkness4(uint8_t const* p, __m128i d[3]) {
  int32_t last;
  std::memcpy(&last, p + 8, 4);
  __m128i const v =
      _mm_insert_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p)), last, 2);
  __m128i const full = _mm_set1_epi32(255);
  d[0] = _mm_sub_epi32(full, _mm_shuffle_epi8(v, _mm_setr_epi8(0, -1, -1, -1, 3, -1, -1, -1,
                                                                6, -1, -1, -1, 9, -1, -1, -1)));
  d[1] = _mm_sub_epi32(full, _mm_shuffle_epi8(v, _mm_setr_epi8(1, -1, -1, -1, 4, -1, -1, -1,
                                                                7, -1, -1, -1, 10, -1, -1, -1)));
  d[2] = _mm_sub_epi32(full, _mm_shuffle_epi8(v, _mm_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1,
                                                                8, -1, -1, -1, 11, -1, -1, -1)));
}

}  // namespace quilp::simd
