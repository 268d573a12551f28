// gradient.cpp - Sobel and Scharr gradients.
//
// gx = side (a[x+1] - a[x-1] + b[x+1] - b[x-1]) + centre (m[x+1] - m[x-1]) and gy likewise
// down the columns (a, m, b the rows above, at and below; edges repeated), with (side,
// centre) = (1, 2) for Sobel and (3, 10) for Scharr, whose rotation behaviour is better. The
// magnitude is taken in single precision - sqrtf is correctly rounded, so every vector path
// gives the scalar bytes exactly - and scaled so that a full black-to-white step gives 255.
// The direction, atan2 in double per pixel, is scalar only. Rows go in storage order.
#include "filter/gradient.h"

#include <cmath>

#include "simd/dispatch.h"

namespace quilp {

GradientWeights WeightsOf(GradientKernel kernel) {
  return kernel == GradientKernel::kScharr ? GradientWeights{3, 10, 0.0625f}
                                           : GradientWeights{1, 2, 0.25f};
}

namespace {

inline void Derivatives(uint8_t const* a, uint8_t const* m, uint8_t const* b, int x, int width,
                        GradientWeights const& w, int& gx, int& gy) {
  int const l = x > 0 ? x - 1 : 0, r = x + 1 < width ? x + 1 : x;
  gx = w.side * (a[r] - a[l] + b[r] - b[l]) + w.centre * (m[r] - m[l]);
  gy = w.side * (b[l] - a[l] + b[r] - a[r]) + w.centre * (b[x] - a[x]);
}

inline int Magnitude(int gx, int gy, GradientWeights const& w) {
  float const root = std::sqrt(static_cast<float>(gx * gx + gy * gy));
  int const v = static_cast<int>(root * w.inverseScale + 0.5f);
  return v > 255 ? 255 : v;
}

void MagnitudeRow(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out, int width,
                  GradientWeights const& w) {
  GradientMagnitudeRange(a, m, b, out, width, w, 0, width);
}

int StorageY(DibView const& v, int i) { return v.step < 0 ? v.height - 1 - i : i; }

}  // namespace

void GradientMagnitudeRange(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out,
                            int width, GradientWeights const& w, int from, int to) {
  for (int x = from; x < to; ++x) {
    int gx, gy;
    Derivatives(a, m, b, x, width, w, gx, gy);
    out[x] = static_cast<uint8_t>(Magnitude(gx, gy, w));
  }
}

GradientKernels const& GradientKernelsScalar() {
  static GradientKernels const table = {MagnitudeRow};
  return table;
}

GradientKernels const& GradientKernelsActive() {
  return simd::Pick(GradientKernelsScalar(), QUILP_VECTOR_TABLE(GradientKernelsSse41()),
                    QUILP_VECTOR_TABLE(GradientKernelsAvx2()));
}

void DibGradient(DibView const& dst, DibView const& src, GradientKernel kernel, int directions,
                 int minMagnitude) {
  GradientWeights const w = WeightsOf(kernel);
  GradientKernels const& k = GradientKernelsActive();
  int const last = src.height - 1;
  double const sector = 360.0 / (directions > 0 ? directions : 1);
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    uint8_t const* a = src.Row(y > 0 ? y - 1 : 0);
    uint8_t const* m = src.Row(y);
    uint8_t const* b = src.Row(y < last ? y + 1 : last);
    uint8_t* d = dst.Row(y);
    if (directions == 0) {
      k.magnitude(a, m, b, d, src.width, w);
      continue;
    }
    for (int x = 0; x < src.width; ++x) {
      int gx, gy;
      Derivatives(a, m, b, x, src.width, w, gx, gy);
      if (Magnitude(gx, gy, w) < minMagnitude || (gx == 0 && gy == 0)) {
        d[x] = 255;
        continue;
      }
      double const degrees = std::atan2(double(gy), double(gx)) * 180.0 / M_PI;
      int s = static_cast<int>(std::floor(degrees / sector + 0.5)) % directions;
      d[x] = static_cast<uint8_t>(s < 0 ? s + directions : s);
    }
  }
}

void DibMeanGrey(DibView const& dst, DibView const& src) {
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x, s += 3) d[x] = static_cast<uint8_t>((s[0] + s[1] + s[2] + 1) / 3);
  }
}

}  // namespace quilp
