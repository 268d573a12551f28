// edge_rows_simd.h - the upper-edge test written once for a register type, for the vector
// files to instantiate (include only from files compiled with SSE4.1 or AVX2 enabled).
//
// "Median of three below t" is "at least two of the three below t": the byte comparisons give
// three masks that are combined pairwise; the hits are read off the mask bits in order. The
// last columns take the scalar definition.
#pragma once

#include <cstdint>

#include "geometry/edge_rows.h"

namespace quilp::edge_simd {

// Internal linkage: each instruction-set file keeps its own copy, so the linker can never
// hand one file's wider instructions to another's narrower path.
namespace {

// R: R::kBytes bytes a register; Load, Splat, AtLeast (all ones where v >= t, unsigned), And,
// Or, AndNot (~a & b) and Bits (one bit a byte, from its top bit).
template <class R>
int UpperEdges(uint8_t const* row, uint8_t const* above, int from, int to, int darkBelow,
               int lightFrom, int32_t* xs) {
  int n = 0, x = from;
  if (darkBelow > 0 && darkBelow <= 255 && lightFrom <= 255) {
    auto const dark = R::Splat(darkBelow), light = R::Splat(lightFrom);
    auto twoOfThree = [](auto a, auto b, auto c) { return R::Or(R::And(a, b), R::And(c, R::Or(a, b))); };
    for (; x + R::kBytes <= to; x += R::kBytes) {
      // At least two of three at or above darkBelow means the median is not dark.
      auto const notDark = twoOfThree(R::AtLeast(R::Load(row + x - 1), dark),
                                      R::AtLeast(R::Load(row + x), dark),
                                      R::AtLeast(R::Load(row + x + 1), dark));
      auto const lit = twoOfThree(R::AtLeast(R::Load(above + x - 1), light),
                                  R::AtLeast(R::Load(above + x), light),
                                  R::AtLeast(R::Load(above + x + 1), light));
      uint32_t bits = R::Bits(R::AndNot(notDark, lit));
      while (bits) {
        xs[n++] = x + __builtin_ctz(bits);
        bits &= bits - 1;
      }
    }
  }
  return n + EdgeKernelsScalar().upperEdges(row, above, x, to, darkBelow, lightFrom, xs + n);
}

}  // namespace

}  // namespace quilp::edge_simd
