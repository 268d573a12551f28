// statistics.cpp - variance and covariance: scalar row sums (the definition) and the area
// loops with the final formulas.
//
// Cost: one read of each area, a few integer operations per byte; the division work is done
// once per area. Integer row sums are exact modulo 2^32, so vector kernels that add in any
// order give the same row sums.
#include "compare/statistics.h"

#include <cstring>
#include <memory>
#include <new>

#include "simd/dispatch.h"

namespace quilp {

void GreySumsFrom(uint8_t const* p, int begin, int end, uint32_t sums[2]) {
  for (int i = begin; i < end; ++i) {
    uint32_t const v = p[i];
    sums[0] += v;
    sums[1] += v * v;
  }
}

void ColourSumsFrom(uint8_t const* p, int begin, int end, uint32_t sums[6]) {
  for (int i = begin; i < end; ++i)
    for (int k = 0; k < 3; ++k) {
      uint32_t const v = p[3 * std::ptrdiff_t(i) + k];
      sums[k] += v;
      sums[3 + k] += v * v;
    }
}

void GreyCrossFrom(uint8_t const* x, uint8_t const* y, int begin, int end, uint32_t sums[3]) {
  for (int i = begin; i < end; ++i) {
    uint32_t const a = x[i], b = y[i];
    sums[0] += a;
    sums[1] += b;
    sums[2] += a * b;
  }
}

void ColourCrossFrom(uint8_t const* x, uint8_t const* y, int begin, int end, uint32_t sums[9]) {
  for (int i = begin; i < end; ++i)
    for (int k = 0; k < 3; ++k) {
      uint32_t const a = x[3 * std::ptrdiff_t(i) + k], b = y[3 * std::ptrdiff_t(i) + k];
      sums[k] += a;
      sums[3 + k] += b;
      sums[6 + k] += a * b;
    }
}

namespace {

// Grey rows four pixels at a time, the sums split over two accumulators joined at the end.
void GreyRow(uint8_t const* p, int width, uint32_t sums[2]) {
  uint32_t s0 = 0, s1 = 0, q0 = 0, q1 = 0;
  int i = 0;
  for (; i + 4 <= width; i += 4) {
    uint32_t const a = p[i], b = p[i + 1], c = p[i + 2], d = p[i + 3];
    s0 += a + c;
    s1 += b + d;
    q0 += a * a + c * c;
    q1 += b * b + d * d;
  }
  sums[0] = s0 + s1;
  sums[1] = q0 + q1;
  GreySumsFrom(p, i, width, sums);
}

void ColourRow(uint8_t const* p, int width, uint32_t sums[6]) {
  std::memset(sums, 0, 6 * sizeof(uint32_t));
  ColourSumsFrom(p, 0, width, sums);
}

void GreyCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[3]) {
  uint32_t sx0 = 0, sx1 = 0, sy0 = 0, sy1 = 0, p0 = 0, p1 = 0;
  int i = 0;
  for (; i + 4 <= width; i += 4) {
    uint32_t const a0 = x[i], a1 = x[i + 1], a2 = x[i + 2], a3 = x[i + 3];
    uint32_t const b0 = y[i], b1 = y[i + 1], b2 = y[i + 2], b3 = y[i + 3];
    sx0 += a0 + a2;
    sx1 += a1 + a3;
    sy0 += b0 + b2;
    sy1 += b1 + b3;
    p0 += a0 * b0 + a2 * b2;
    p1 += a1 * b1 + a3 * b3;
  }
  sums[0] = sx0 + sx1;
  sums[1] = sy0 + sy1;
  sums[2] = p0 + p1;
  GreyCrossFrom(x, y, i, width, sums);
}

void ColourCrossRow(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[9]) {
  std::memset(sums, 0, 9 * sizeof(uint32_t));
  ColourCrossFrom(x, y, 0, width, sums);
}

// The final formulas, in the written order of operations.
double GreyStatistic(double n, double sumXY, double sumX, double sumY) {
  return n * (sumXY / n - (sumX / n) * (sumY / n)) / (n - 1.0);
}
double ColourStatistic(double n, double sumXY, double sumX, double sumY) {
  double const factor = n / (n - 1.0);
  return factor * (sumXY / n - (sumX / n) * (sumY / n));
}

double PixelCount(DibView const& v) { return static_cast<double>(int64_t(v.width) * v.height); }

}  // namespace

StatKernels const& StatKernelsScalar() {
  static StatKernels const table = {GreyRow, ColourRow, GreyCrossRow, ColourCrossRow};
  return table;
}

StatKernels const& StatKernelsActive() {
  return simd::Pick(StatKernelsScalar(), QUILP_VECTOR_TABLE(StatKernelsSse41()),
                    QUILP_VECTOR_TABLE(StatKernelsAvx2()));
}

void DibVariance(DibView area, int bytesPerPixel, double result[3]) {
  InStorageOrder(area);  // the sums are exact in any order
  StatKernels const& k = StatKernelsActive();
  double const n = PixelCount(area);
  if (bytesPerPixel == 1) {
    double s = 0.0, q = 0.0;
    for (int y = 0; y < area.height; ++y) {
      uint32_t sums[2];
      k.grey(area.Row(y), area.width, sums);
      s += sums[0];
      q += sums[1];
    }
    result[0] = GreyStatistic(n, q, s, s);
    return;
  }
  double s[3] = {0.0, 0.0, 0.0}, q[3] = {0.0, 0.0, 0.0};
  for (int y = 0; y < area.height; ++y) {
    uint32_t sums[6];
    k.colour(area.Row(y), area.width, sums);
    for (int c = 0; c < 3; ++c) {
      s[c] += sums[c];
      q[c] += sums[3 + c];
    }
  }
  for (int c = 0; c < 3; ++c) result[c] = ColourStatistic(n, q[c], s[c], s[c]);
}

bool DibCovariance(DibView first, DibView second, int bytesPerPixel, double result[3]) {
  InStorageOrder(first, second);  // the sums are exact in any order
  StatKernels const& k = StatKernelsActive();
  double const n = PixelCount(first);
  std::size_t const rowBytes = std::size_t(first.width) * std::size_t(bytesPerPixel);
  // Rows of a second record of another depth are copied out of its pixel area.
  std::unique_ptr<uint8_t[]> copy;
  int64_t areaBytes = 0;
  if (first.height > 0 && second.dib && second.dib->BitsPerPixel() != 8 * bytesPerPixel) {
    copy.reset(new (std::nothrow) uint8_t[rowBytes ? rowBytes : 1]);
    if (!copy) return false;
    areaBytes = int64_t(second.dib->Height()) * second.dib->ByteWidth();
  }
  auto secondRow = [&](int y) -> uint8_t const* {
    if (!copy) return second.Row(y);
    int64_t const offset = second.Row(y) - second.base;
    int64_t const inside = areaBytes - offset < int64_t(rowBytes) ? areaBytes - offset : int64_t(rowBytes);
    std::size_t const kept = inside > 0 ? std::size_t(inside) : 0;
    if (kept) std::memcpy(copy.get(), second.Row(y), kept);
    std::memset(copy.get() + kept, 0, rowBytes - kept);
    return copy.get();
  };
  if (bytesPerPixel == 1) {
    double sx = 0.0, sy = 0.0, p = 0.0;
    for (int y = 0; y < first.height; ++y) {
      uint32_t sums[3];
      k.greyCross(first.Row(y), secondRow(y), first.width, sums);
      sx += sums[0];
      sy += sums[1];
      p += sums[2];
    }
    result[0] = GreyStatistic(n, p, sx, sy);
    return true;
  }
  double sx[3] = {0.0, 0.0, 0.0}, sy[3] = {0.0, 0.0, 0.0}, p[3] = {0.0, 0.0, 0.0};
  for (int y = 0; y < first.height; ++y) {
    uint32_t sums[9];
    k.colourCross(first.Row(y), secondRow(y), first.width, sums);
    for (int c = 0; c < 3; ++c) {
      sx[c] += sums[c];
      sy[c] += sums[3 + c];
      p[c] += sums[6 + c];
    }
  }
  for (int c = 0; c < 3; ++c) result[c] = ColourStatistic(n, p[c], sx[c], sy[c]);
  return true;
}

}  // namespace quilp
