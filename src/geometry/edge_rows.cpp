// edge_rows.cpp - scalar upper-edge test (the definition): median of three below, median of
// three above, each against its threshold.
#include "geometry/edge_rows.h"

#include "simd/dispatch.h"

namespace quilp {
namespace {

inline int Median3(int a, int b, int c) {
  int const lo = a < b ? a : b, hi = a < b ? b : a;
  return c < lo ? lo : c > hi ? hi : c;
}

int UpperEdges(uint8_t const* row, uint8_t const* above, int from, int to, int darkBelow,
               int lightFrom, int32_t* xs) {
  int n = 0;
  for (int x = from; x < to; ++x)
    if (Median3(row[x - 1], row[x], row[x + 1]) < darkBelow &&
        Median3(above[x - 1], above[x], above[x + 1]) >= lightFrom)
      xs[n++] = x;
  return n;
}

}  // namespace

EdgeKernels const& EdgeKernelsScalar() {
  static EdgeKernels const table = {UpperEdges};
  return table;
}

EdgeKernels const& EdgeKernelsActive() {
  return simd::Pick(EdgeKernelsScalar(), QUILP_VECTOR_TABLE(EdgeKernelsSse41()),
                    QUILP_VECTOR_TABLE(EdgeKernelsAvx2()));
}

}  // namespace quilp
