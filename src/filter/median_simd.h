// median_simd.h - the 3 x 3 median row written once for any byte register type.
// Include only from files compiled with SSE4.1 or AVX2; everything here has internal linkage.
#pragma once

#include <cstdint>

#include "filter/median.h"

namespace quilp {
namespace {

template <class R>
inline void Sort3(typename R::V& a, typename R::V& b, typename R::V& c) {
  typename R::V const lo = R::Min(a, b), hi = R::Max(a, b);
  typename R::V const hi2 = R::Max(hi, c), mid0 = R::Min(hi, c);
  a = R::Min(lo, mid0);
  b = R::Max(lo, mid0);
  c = hi2;
}

template <class R>
inline typename R::V Med3(typename R::V a, typename R::V b, typename R::V c) {
  return R::Max(R::Min(a, b), R::Min(R::Max(a, b), c));
}

// Bytes [step, n - step) by vectors of R::kBytes; the two ends by the scalar row.
template <class R>
void Median3RowVector(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out, int n,
                      int step) {
  using V = typename R::V;
  int i = step;
  for (; i + R::kBytes + step <= n; i += R::kBytes) {
    V a0 = R::Load(a + i - step), m0 = R::Load(m + i - step), b0 = R::Load(b + i - step);
    V a1 = R::Load(a + i), m1 = R::Load(m + i), b1 = R::Load(b + i);
    V a2 = R::Load(a + i + step), m2 = R::Load(m + i + step), b2 = R::Load(b + i + step);
    Sort3<R>(a0, m0, b0);
    Sort3<R>(a1, m1, b1);
    Sort3<R>(a2, m2, b2);
    V const low = R::Max(R::Max(a0, a1), a2);
    V const high = R::Min(R::Min(b0, b1), b2);
    R::Store(out + i, Med3<R>(low, Med3<R>(m0, m1, m2), high));
  }
  Median3Range(a, m, b, out, n, step, 0, step < n ? step : n);
  Median3Range(a, m, b, out, n, step, i > step ? i : step, n);
}

}  // namespace
}  // namespace quilp
