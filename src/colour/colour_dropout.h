// colour_dropout.h - colour dropout in darkness space: one colour removed by a linear
// projection, or kept and suppressed colour sets shared out by angle.
//
// Darkness is 255 minus each byte, so paper white is the origin and ink points away from it.
#pragma once

#include <cmath>
#include <cstdint>

#include "record/view.h"

namespace quilp {

// One colour: the fixed-point weights of the direction that gives the colour no darkness,
// and the range they span. Per pixel v = (w . (255 - b) - lo) / q, truncating, clamped to
// 0..255, stored as 255 - v.
struct OneColourDropout {
  int32_t w[3];       // 16 fraction bits, along e = Q (1,1,1) - S a
  int32_t lo, hi, q;  // darkness of white (0) and of black (255 (w0 + w1 + w2)); divisor
};

// The weights and range for a colour (blue, green, red); false for white and every neutral
// grey (no direction is left) or an empty range.
bool MakeOneColourDropout(unsigned char const colour[3], OneColourDropout& t);

// Unit darkness vectors of the kept and suppressed colours, three doubles per colour.
struct ColourSets {
  double const* keep = nullptr;
  int keepCount = 0;
  double const* drop = nullptr;
  int dropCount = 0;
};

// Row kernels of the family, BGR pixels in, grey out; vector tables must equal the scalar one
// bit for bit.
struct DropoutKernels {
  void (*oneColour)(uint8_t const* src, uint8_t* dst, int width, OneColourDropout const& t);
  void (*colourSets)(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets);
};
DropoutKernels const& DropoutKernelsScalar();
DropoutKernels const& DropoutKernelsSse41();
DropoutKernels const& DropoutKernelsAvx2();
DropoutKernels const& DropoutKernelsActive();

// The largest of 0 and the dot products of p with `count` unit vectors (three doubles each),
// taken eight at a time with two running maxima and then over the rest.
static inline double MaxDot(double p0, double p1, double p2, double const* u, int count) {
  double m0 = 0.0, m1 = 0.0;
  int i = 0;
  for (; i + 8 <= count; i += 8)
    for (int j = 0; j < 8; j += 2) {
      double const* a = u + 3 * (i + j);
      double const d0 = p0 * a[0] + p1 * a[1] + p2 * a[2];
      double const d1 = p0 * a[3] + p1 * a[4] + p2 * a[5];
      m0 = d0 > m0 ? d0 : m0;
      m1 = d1 > m1 ? d1 : m1;
    }
  for (; i < count; ++i) {
    double const* a = u + 3 * i;
    double const d = p0 * a[0] + p1 * a[1] + p2 * a[2];
    m0 = d > m0 ? d : m0;
  }
  return m1 > m0 ? m1 : m0;
}

// The sine of the angle between a darkness of squared length L (> 0) and a unit vector on
// which it projects to proj: sqrt(max(0, 1 - proj^2 / L)).
static inline double Sine(double proj, double L) {
  double const t = 1.0 - proj * proj / L;
  return std::sqrt(t > 0.0 ? t : 0.0);
}

// The darkness a pixel keeps between the two sets: A is its largest projection on a kept
// colour, B on a suppressed one, L its squared darkness (> 0). The sines of its angles to the
// two sets share out A: A sinDrop / (sinKeep + sinDrop), rounded, at most 255.
static inline int SharedDarkness(double A, double B, double L) {
  double const sinKeep = Sine(A, L), sinDrop = Sine(B, L);
  double const sum = sinKeep + sinDrop;
  double const weight = sum > 0.0 ? sinDrop / sum : sinDrop;
  int const v = static_cast<int>(A * weight + 0.5);
  return v > 255 ? 255 : v;
}

// Unit darkness vectors of `count` colours, three doubles each, into u; false when a colour
// is white.
bool UnitDarkness(unsigned char const (*colours)[3], int count, double* u);

// The whole dropouts, from a 24-bit area into an 8-bit area of the same size. False when the
// colour has no dropout direction, or for the sets when a count is negative, an array is null,
// no colour is kept or a colour is white.
bool DibSuppressOneColor(DibView dst, DibView src, unsigned char const* colour);
bool DibSuppressColorSets(DibView const& dst, DibView const& src, int keepCount,
                          unsigned char const (*keep)[3], int dropCount,
                          unsigned char const (*drop)[3]);

}  // namespace quilp
