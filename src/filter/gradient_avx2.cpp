// gradient_avx2.cpp - gradient magnitude, 16 pixels per step: 16-bit derivatives, 32-bit sums
// of squares by pairwise multiply-add (in-lane, undone by the in-lane pack), single-precision
// square roots, one permutation to restore byte order.
#include "filter/gradient_simd.h"

namespace quilp {
namespace {

struct Avx {
  using I = __m256i;
  using F = __m256;
  static constexpr int kPixels = 16;
  static I Set16(int16_t v) { return _mm256_set1_epi16(v); }
  static F SetF(float v) { return _mm256_set1_ps(v); }
  static I Widen(uint8_t const* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
  }
  static I Add(I a, I b) { return _mm256_add_epi16(a, b); }
  static I Sub(I a, I b) { return _mm256_sub_epi16(a, b); }
  static I Mul(I a, I b) { return _mm256_mullo_epi16(a, b); }
  static I UnpackLo(I a, I b) { return _mm256_unpacklo_epi16(a, b); }
  static I UnpackHi(I a, I b) { return _mm256_unpackhi_epi16(a, b); }
  static I Madd(I a, I b) { return _mm256_madd_epi16(a, b); }
  static F ToFloat(I v) { return _mm256_cvtepi32_ps(v); }
  static F Sqrt(F v) { return _mm256_sqrt_ps(v); }
  static F MulF(F a, F b) { return _mm256_mul_ps(a, b); }
  static F AddF(F a, F b) { return _mm256_add_ps(a, b); }
  static I Truncate(F v) { return _mm256_cvttps_epi32(v); }
  static I Pack32(I lo, I hi) { return _mm256_packs_epi32(lo, hi); }
  static void StoreBytes(uint8_t* p, I words) {
    I const bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(bytes));
  }
};

}  // namespace

GradientKernels const& GradientKernelsAvx2() {
  static GradientKernels const table = {MagnitudeRowVector<Avx>};
  return table;
}

}  // namespace quilp
