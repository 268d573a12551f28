// median_avx2.cpp - the 3 x 3 median, 32 bytes per step (AVX2 unsigned byte min/max).
#include <immintrin.h>

#include "filter/median_simd.h"

namespace quilp {
namespace {

struct Avx {
  using V = __m256i;
  static constexpr int kBytes = 32;
  static V Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
  static void Store(uint8_t* p, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static V Min(V a, V b) { return _mm256_min_epu8(a, b); }
  static V Max(V a, V b) { return _mm256_max_epu8(a, b); }
};

}  // namespace

MedianKernels const& MedianKernelsAvx2() {
  static MedianKernels const table = {Median3RowVector<Avx>};
  return table;
}

}  // namespace quilp
