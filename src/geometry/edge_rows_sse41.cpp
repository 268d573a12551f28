// edge_rows_sse41.cpp - SSE4.1 upper-edge test, 16 pixels per step.
#include <immintrin.h>

#include "geometry/edge_rows.h"
#include "geometry/edge_rows_simd.h"

namespace quilp {
namespace {

struct Reg {
  static constexpr int kBytes = 16;
  static __m128i Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  static __m128i Splat(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
  static __m128i AtLeast(__m128i v, __m128i t) { return _mm_cmpeq_epi8(_mm_max_epu8(v, t), v); }
  static __m128i And(__m128i a, __m128i b) { return _mm_and_si128(a, b); }
  static __m128i Or(__m128i a, __m128i b) { return _mm_or_si128(a, b); }
  static __m128i AndNot(__m128i a, __m128i b) { return _mm_andnot_si128(a, b); }
  static uint32_t Bits(__m128i v) { return static_cast<uint32_t>(_mm_movemask_epi8(v)); }
};

}  // namespace

EdgeKernels const& EdgeKernelsSse41() {
  static EdgeKernels const table = {edge_simd::UpperEdges<Reg>};
  return table;
}

}  // namespace quilp
