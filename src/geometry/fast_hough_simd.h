// fast_hough_simd.h - the butterflies of the fast Hough transform written once for a register
// type, for the vector files to instantiate (include only from files compiled with SSE4.1 or
// AVX2 enabled).
//
// R describes a register: R::Load, R::Store (unaligned), and R::Lanes<T>::kCount values of T
// that R::Lanes<T>::Add adds. The tails take the scalar definition, position by position.
#pragma once

#include <cstdint>

namespace quilp::fht_simd {

// Internal linkage: each instruction-set file keeps its own copy, so the linker can never
// hand one file's wider instructions to another's narrower path.
namespace {

template <class R, class T>
void Radix2(T* a, T* b, int k, int count) {
  using L = typename R::template Lanes<T>;
  int p = 0;
  for (; p + L::kCount <= count; p += L::kCount) {
    auto const v = R::Load(a + p), b1 = R::Load(b + p + k), b2 = R::Load(b + p + k + 1);
    R::Store(a + p, L::Add(v, b1));
    R::Store(b + p, L::Add(v, b2));
  }
  for (; p < count; ++p) {
    T const v = a[p];
    a[p] = static_cast<T>(v + b[p + k]);
    b[p] = static_cast<T>(v + b[p + k + 1]);
  }
}

template <class R, class T>
void Radix4(T* q0, T* q1, T* q2, T* q3, int k, int count) {
  using L = typename R::template Lanes<T>;
  int p = 0;
  T const* s2 = q2 + 2 * k;
  T const* s3 = q3 + 3 * k;
  for (; p + L::kCount <= count; p += L::kCount) {
    auto const x0 = R::Load(q0 + p);
    auto const h0 = L::Add(x0, R::Load(q1 + p + k));
    auto const h1 = L::Add(x0, R::Load(q1 + p + k + 1));
    auto const a2 = R::Load(s2 + p), b2 = R::Load(s2 + p + 1), c2 = R::Load(s2 + p + 2);
    auto const a3 = R::Load(s3 + p), b3 = R::Load(s3 + p + 1), c3 = R::Load(s3 + p + 2),
               d3 = R::Load(s3 + p + 3);
    R::Store(q0 + p, L::Add(h0, L::Add(a2, a3)));
    R::Store(q1 + p, L::Add(h0, L::Add(b2, b3)));
    R::Store(q2 + p, L::Add(h1, L::Add(b2, c3)));
    R::Store(q3 + p, L::Add(h1, L::Add(c2, d3)));
  }
  for (; p < count; ++p) {
    int const h0 = q0[p] + q1[p + k], h1 = q0[p] + q1[p + k + 1];
    int const a2 = s2[p], b2 = s2[p + 1], c2 = s2[p + 2];
    int const a3 = s3[p], b3 = s3[p + 1], c3 = s3[p + 2], d3 = s3[p + 3];
    q0[p] = static_cast<T>(h0 + a2 + a3);
    q1[p] = static_cast<T>(h0 + b2 + b3);
    q2[p] = static_cast<T>(h1 + b2 + c3);
    q3[p] = static_cast<T>(h1 + c2 + d3);
  }
}

}  // namespace

}  // namespace quilp::fht_simd
