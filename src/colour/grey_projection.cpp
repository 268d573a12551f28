// grey_projection.cpp - the grey projection: direction, output range and the scalar kernels.
//
// Direction: the reference colour, or the eigenvector of the largest eigenvalue of the area's
// uncentred moment matrix (mean of b_i * b_j). The moments are summed exactly in 64-bit
// integers and converted once, which equals summing the products in double for any image of
// fewer than 2^37 pixels. Weights are the unit direction in 16.16 fixed point; the range is
// taken over the colour cube's corners (or black and white), with 0 always included, and
// divided into 255 steps of q = (max - min + 255) / 255. One integer division per pixel, kept
// even where q is 1. Cost: one read of the area for the moments (automatic direction only),
// one read and one write for the projection.
#include "colour/grey_projection.h"

#include <cmath>

#include "colour/eigen_symmetric.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

// The colour cube's corners, bytes 0, 1, 2; black and white first.
constexpr int kCorners[8][3] = {{0, 0, 0},     {255, 255, 255}, {0, 0, 255},   {0, 255, 0},
                                {255, 0, 0},   {0, 255, 255},   {255, 255, 0}, {255, 0, 255}};

void ProjectRow(uint8_t const* src, uint8_t* dst, int width, GreyTransform const& t) {
  for (int x = 0; x < width; ++x, src += 3) {
    int const b0 = src[0], b1 = src[1], b2 = src[2];
    int g = (b0 * t.w[0] + b1 * t.w[1] + b2 * t.w[2] - t.min) / t.q;
    g = g < 0 ? 0 : g > 255 ? 255 : g;
    if (t.k >= 1) {
      int const m = (b0 + b1 + b2 + 2) / 3;
      int const r = static_cast<int>(
          std::sqrt(double((b0 - m) * (b0 - m) + (b1 - m) * (b1 - m) + (b2 - m) * (b2 - m))) +
          0.5);
      int64_t const lift = (int64_t(r) * t.k + 8) / 16;
      g = static_cast<int>(g + lift > 255 ? 255 : g + lift);
    }
    dst[x] = static_cast<uint8_t>(g);
  }
}

void MomentsRow(uint8_t const* src, int width, uint64_t sums[6]) {
  uint64_t s00 = 0, s11 = 0, s22 = 0, s01 = 0, s02 = 0, s12 = 0;
  for (int x = 0; x < width; ++x, src += 3) {
    uint32_t const b0 = src[0], b1 = src[1], b2 = src[2];
    s00 += b0 * b0; s11 += b1 * b1; s22 += b2 * b2;
    s01 += b0 * b1; s02 += b0 * b2; s12 += b1 * b2;
  }
  sums[0] += s00; sums[1] += s11; sums[2] += s22;
  sums[3] += s01; sums[4] += s02; sums[5] += s12;
}

// Main axis of the area's colours; false when the moment matrix has no direction.
bool MainAxis(DibView const& src, GreyKernels const& k, double d[3]) {
  uint64_t sums[6] = {0, 0, 0, 0, 0, 0};
  for (int y = 0; y < src.height; ++y) k.moments(src.Row(y), src.width, sums);
  double const n = double(src.width) * double(src.height);
  double const m00 = double(sums[0]) / n, m11 = double(sums[1]) / n, m22 = double(sums[2]) / n;
  double const m01 = double(sums[3]) / n, m02 = double(sums[4]) / n, m12 = double(sums[5]) / n;
  double const matrix[3][3] = {{m00, m01, m02}, {m01, m11, m12}, {m02, m12, m22}};
  double values[3], vectors[3][3];
  DibEigenSymmetric(matrix, values, vectors);
  // An all-zero matrix (an all-black area) has no axis: the solver's unit vector would be
  // arbitrary, so refuse it.
  if (!(values[2] > 0.0)) return false;
  double const sign = vectors[2][0] + vectors[2][1] + vectors[2][2] < 0 ? -1.0 : 1.0;
  for (int i = 0; i < 3; ++i) d[i] = sign * vectors[2][i];
  return true;
}

}  // namespace

GreyKernels const& GreyKernelsScalar() {
  static GreyKernels const table = {ProjectRow, MomentsRow};
  return table;
}

GreyKernels const& GreyKernelsActive() {
  return simd::Pick(GreyKernelsScalar(), QUILP_VECTOR_TABLE(GreyKernelsSse41()),
                    QUILP_VECTOR_TABLE(GreyKernelsAvx2()), QUILP_VECTOR_TABLE(GreyKernelsAvx512()));
}

bool MakeGreyTransform(double const d[3], bool blackWhiteOnly, int colourWeight,
                       GreyTransform& t) {
  double const len2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  if (!(len2 > 0.0)) return false;
  double const len = std::sqrt(len2);
  for (int i = 0; i < 3; ++i) t.w[i] = static_cast<int32_t>(d[i] / len * 65536.0 + 0.5);
  int64_t lo = 0, hi = 0;
  for (int c = 0; c < (blackWhiteOnly ? 2 : 8); ++c) {
    int64_t const s = int64_t(kCorners[c][0]) * t.w[0] + int64_t(kCorners[c][1]) * t.w[1] +
                      int64_t(kCorners[c][2]) * t.w[2];
    lo = s < lo ? s : lo;
    hi = s > hi ? s : hi;
  }
  if (hi <= lo) return false;
  t.min = static_cast<int32_t>(lo);
  t.q = static_cast<int32_t>((hi - lo + 255) / 255);
  t.k = colourWeight;
  return true;
}

bool DibGreyProjection(DibView dst, DibView src, unsigned char const* colour, bool centred,
                       int colourWeight) {
  InStorageOrder(src, dst);
  GreyKernels const& kernels = GreyKernelsActive();
  double d[3];
  if (colour) {
    for (int i = 0; i < 3; ++i) d[i] = centred ? double(colour[i]) - 128.0 : double(colour[i]);
  } else if (src.width > 0 && src.height > 0) {
    if (!MainAxis(src, kernels, d)) return false;
  } else {
    return true;  // nothing to project
  }
  GreyTransform t;
  if (!MakeGreyTransform(d, centred, colourWeight, t)) return false;
  for (int y = 0; y < src.height; ++y) kernels.project(src.Row(y), dst.Row(y), src.width, t);
  return true;
}

}  // namespace quilp
