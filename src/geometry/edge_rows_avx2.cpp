// edge_rows_avx2.cpp - AVX2 upper-edge test, 32 pixels per step.
#include <immintrin.h>

#include "geometry/edge_rows.h"
#include "geometry/edge_rows_simd.h"

namespace quilp {
namespace {

struct Reg {
  static constexpr int kBytes = 32;
  static __m256i Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
  static __m256i Splat(int v) { return _mm256_set1_epi8(static_cast<char>(v)); }
  static __m256i AtLeast(__m256i v, __m256i t) { return _mm256_cmpeq_epi8(_mm256_max_epu8(v, t), v); }
  static __m256i And(__m256i a, __m256i b) { return _mm256_and_si256(a, b); }
  static __m256i Or(__m256i a, __m256i b) { return _mm256_or_si256(a, b); }
  static __m256i AndNot(__m256i a, __m256i b) { return _mm256_andnot_si256(a, b); }
  static uint32_t Bits(__m256i v) { return static_cast<uint32_t>(_mm256_movemask_epi8(v)); }
};

}  // namespace

EdgeKernels const& EdgeKernelsAvx2() {
  static EdgeKernels const table = {edge_simd::UpperEdges<Reg>};
  return table;
}

}  // namespace quilp
