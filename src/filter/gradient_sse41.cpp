// gradient_sse41.cpp - gradient magnitude, 8 pixels per step: 16-bit derivatives, 32-bit sums
// of squares by pairwise multiply-add, single-precision square roots.
#include "filter/gradient_simd.h"

namespace quilp {
namespace {

struct Sse {
  using I = __m128i;
  using F = __m128;
  static constexpr int kPixels = 8;
  static I Set16(int16_t v) { return _mm_set1_epi16(v); }
  static F SetF(float v) { return _mm_set1_ps(v); }
  static I Widen(uint8_t const* p) {
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p)));
  }
  static I Add(I a, I b) { return _mm_add_epi16(a, b); }
  static I Sub(I a, I b) { return _mm_sub_epi16(a, b); }
  static I Mul(I a, I b) { return _mm_mullo_epi16(a, b); }
  static I UnpackLo(I a, I b) { return _mm_unpacklo_epi16(a, b); }
  static I UnpackHi(I a, I b) { return _mm_unpackhi_epi16(a, b); }
  static I Madd(I a, I b) { return _mm_madd_epi16(a, b); }
  static F ToFloat(I v) { return _mm_cvtepi32_ps(v); }
  static F Sqrt(F v) { return _mm_sqrt_ps(v); }
  static F MulF(F a, F b) { return _mm_mul_ps(a, b); }
  static F AddF(F a, F b) { return _mm_add_ps(a, b); }
  static I Truncate(F v) { return _mm_cvttps_epi32(v); }
  static I Pack32(I lo, I hi) { return _mm_packs_epi32(lo, hi); }
  static void StoreBytes(uint8_t* p, I words) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
  }
};

}  // namespace

GradientKernels const& GradientKernelsSse41() {
  static GradientKernels const table = {MagnitudeRowVector<Sse>};
  return table;
}

}  // namespace quilp
