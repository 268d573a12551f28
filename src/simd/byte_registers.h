// byte_registers.h - unsigned byte registers for kernels written once over the register type:
// Sse16 (SSE2, 16 bytes) and Avx32 (AVX2, 32 bytes) with unaligned loads and stores and
// unsigned minimum and maximum. Include only from files compiled with the matching
// instruction set; everything here has internal linkage (see dispatch.h).
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace quilp::simd {
namespace {

struct Sse16 {
  using V = __m128i;
  static constexpr int kBytes = 16;
  static V Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  static void Store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static V Min(V a, V b) { return _mm_min_epu8(a, b); }
  static V Max(V a, V b) { return _mm_max_epu8(a, b); }
};

#if defined(__AVX2__)
struct Avx32 {
  using V = __m256i;
  static constexpr int kBytes = 32;
  static V Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
  static void Store(uint8_t* p, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static V Min(V a, V b) { return _mm256_min_epu8(a, b); }
  static V Max(V a, V b) { return _mm256_max_epu8(a, b); }
};
#endif

}  // namespace
}  // namespace quilp::simd
