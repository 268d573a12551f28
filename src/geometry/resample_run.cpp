// resample_run.cpp - the scalar bilinear run (the definition the vector tiers match) and the
// tier choice. Cost per pixel: 4 reads, 6 multiplies; the source row pointer is recomputed
// only when the row changes (every 1 / sin(angle) pixels of a slight rotation).
#include "geometry/resample_run.h"

#include "simd/dispatch.h"

namespace quilp {
namespace {

void Bilinear8(uint8_t const* origin, std::ptrdiff_t step, int64_t X, int64_t Y, int64_t dx, int64_t dy,
               int n, uint8_t* out) {
  constexpr int kOne = 256, kHalf = 1 << 15;
  int cachedRow = -1;
  uint8_t const* rowStart = nullptr;
  for (int u = 0; u < n; ++u, X += dx, Y += dy) {
    int const fx = int((X >> 24) & 255), fy = int((Y >> 24) & 255);
    int const gx = kOne - fx, gy = kOne - fy;
    int const iy = int(Y >> 32);
    if (iy != cachedRow) {
      cachedRow = iy;
      rowStart = origin + step * iy;
    }
    uint8_t const* p0 = rowStart + std::ptrdiff_t(X >> 32);
    uint8_t const* p1 = p0 + step;
    int const top = p0[0] * gx + p0[1] * fx;
    int const bottom = p1[0] * gx + p1[1] * fx;
    out[u] = uint8_t((top * gy + bottom * fy + kHalf) >> 16);
  }
}

}  // namespace

ResampleRunKernels const& ResampleRunKernelsScalar() {
  static ResampleRunKernels const table = {Bilinear8};
  return table;
}

ResampleRunKernels const& ResampleRunKernelsActive() {
  return simd::Pick(ResampleRunKernelsScalar(), QUILP_VECTOR_TABLE(ResampleRunKernelsSse41()),
                    QUILP_VECTOR_TABLE(ResampleRunKernelsAvx2()),
                    QUILP_VECTOR_TABLE(ResampleRunKernelsAvx512()));
}

}  // namespace quilp
