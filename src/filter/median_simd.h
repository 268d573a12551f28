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

// Every column sorted once into the scratch rows lo, md, hi; then bytes [step, n - step) by
// vectors of R::kBytes from their neighbours' sorted columns; the two ends by the scalar range.
template <class R>
void Median3RowVector(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out, int n,
                      int step, uint8_t* scratch) {
  using V = typename R::V;
  uint8_t* lo = scratch;
  uint8_t* md = scratch + n;
  uint8_t* hi = scratch + 2 * n;
  int i = 0;
  for (; i + R::kBytes <= n; i += R::kBytes) {
    V x = R::Load(a + i), y = R::Load(m + i), z = R::Load(b + i);
    Sort3<R>(x, y, z);
    R::Store(lo + i, x);
    R::Store(md + i, y);
    R::Store(hi + i, z);
  }
  for (; i < n; ++i) {
    uint8_t const x = a[i], y = m[i], z = b[i];
    uint8_t const small = x < y ? x : y, large = x < y ? y : x;
    lo[i] = small < z ? small : z;
    hi[i] = large > z ? large : z;
    md[i] = Median3(x, y, z);
  }
  auto combine = [&](int at) {
    V const low = R::Max(R::Max(R::Load(lo + at - step), R::Load(lo + at)), R::Load(lo + at + step));
    V const high = R::Min(R::Min(R::Load(hi + at - step), R::Load(hi + at)), R::Load(hi + at + step));
    V const mid = Med3<R>(R::Load(md + at - step), R::Load(md + at), R::Load(md + at + step));
    R::Store(out + at, Med3<R>(low, mid, high));
  };
  i = step;
  for (; i + R::kBytes + step <= n; i += R::kBytes) combine(i);
  // The last bytes: one more vector ending where the row's inner bytes end (overlapping what
  // is done; the bytes are the same), or the scalar range when the row is too short.
  if (i < n - step && i > step) {
    combine(n - step - R::kBytes);
    i = n - step;
  }
  Median3Range(a, m, b, out, n, step, 0, step < n ? step : n);
  Median3Range(a, m, b, out, n, step, i > step ? i : step, n);
}

}  // namespace
}  // namespace quilp
