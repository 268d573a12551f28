// gradient_simd.h - the gradient magnitude row written once for SSE4.1 and AVX2 registers.
// Include only from files compiled with SSE4.1 or AVX2; everything here has internal linkage.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "filter/gradient.h"

namespace quilp {
namespace {

// Columns 1 .. width-2 by R::kPixels, the ends and the tail by the scalar range.
template <class R>
void MagnitudeRowVector(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out,
                        int width, GradientWeights const& w) {
  using I = typename R::I;
  using F = typename R::F;
  I const side = R::Set16(static_cast<int16_t>(w.side));
  I const centre = R::Set16(static_cast<int16_t>(w.centre));
  F const scale = R::SetF(w.inverseScale), half = R::SetF(0.5f);
  int x = 1;
  for (; x + R::kPixels + 1 <= width; x += R::kPixels) {
    I const al = R::Widen(a + x - 1), ac = R::Widen(a + x), ar = R::Widen(a + x + 1);
    I const ml = R::Widen(m + x - 1), mr = R::Widen(m + x + 1);
    I const bl = R::Widen(b + x - 1), bc = R::Widen(b + x), br = R::Widen(b + x + 1);
    I const gx = R::Add(R::Mul(side, R::Add(R::Sub(ar, al), R::Sub(br, bl))),
                        R::Mul(centre, R::Sub(mr, ml)));
    I const gy = R::Add(R::Mul(side, R::Add(R::Sub(bl, al), R::Sub(br, ar))),
                        R::Mul(centre, R::Sub(bc, ac)));
    I const lo = R::UnpackLo(gx, gy), hi = R::UnpackHi(gx, gy);
    I const qlo = R::Truncate(R::AddF(R::MulF(R::Sqrt(R::ToFloat(R::Madd(lo, lo))), scale), half));
    I const qhi = R::Truncate(R::AddF(R::MulF(R::Sqrt(R::ToFloat(R::Madd(hi, hi))), scale), half));
    R::StoreBytes(out + x, R::Pack32(qlo, qhi));
  }
  GradientMagnitudeRange(a, m, b, out, width, w, 0, width < 1 ? width : 1);
  GradientMagnitudeRange(a, m, b, out, width, w, x > 1 ? x : 1, width);
}

}  // namespace
}  // namespace quilp
