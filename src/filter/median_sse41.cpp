// median_sse41.cpp - the 3 x 3 median, 16 bytes per step (SSE2 unsigned byte min/max).
#include <immintrin.h>

#include "filter/median_simd.h"

namespace quilp {
namespace {

struct Sse {
  using V = __m128i;
  static constexpr int kBytes = 16;
  static V Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  static void Store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static V Min(V a, V b) { return _mm_min_epu8(a, b); }
  static V Max(V a, V b) { return _mm_max_epu8(a, b); }
};

}  // namespace

MedianKernels const& MedianKernelsSse41() {
  static MedianKernels const table = {Median3RowVector<Sse>};
  return table;
}

}  // namespace quilp
