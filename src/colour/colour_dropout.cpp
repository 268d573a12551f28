// colour_dropout.cpp - colour dropout: one colour by projection, colour sets by angle.
//
// One colour: with a the colour's darkness, S its component sum and Q its squared length, the
// direction e = Q (1,1,1) - S a is the grey axis with its component along a removed, so the
// colour has no darkness along e. The darkness of each pixel along e, in 16.16 fixed point,
// is divided into 255 steps of q = (hi - lo + 255) / 255 with hi the darkness of black and lo
// that of white (0); since q = w0 + w1 + w2 + 1, black reaches 254 steps at most and is stored
// as 1, never 0. Integer only per pixel: three multiplies and one division.
//
// Colour sets: per pixel one dot product with each unit colour vector of both sets, two
// square roots and two divisions, all in double; see SharedDarkness for the rounding. The
// result depends on the colour alone, so the rows run through a memo of the colours met.
#include "colour/colour_dropout.h"

#include <memory>
#include <new>

#include "colour/colour_memo.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

void OneColourRow(uint8_t const* src, uint8_t* dst, int width, OneColourDropout const& t) {
  for (int x = 0; x < width; ++x, src += 3) {
    int32_t const d = t.w[0] * (255 - src[0]) + t.w[1] * (255 - src[1]) +
                      t.w[2] * (255 - src[2]) - t.lo;
    int32_t const v = d / t.q;
    dst[x] = static_cast<uint8_t>(255 - (v < 0 ? 0 : v > 255 ? 255 : v));
  }
}

void ColourSetRow(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets) {
  for (int x = 0; x < width; ++x, src += 3) {
    double const p0 = 255 - src[0], p1 = 255 - src[1], p2 = 255 - src[2];
    double const L = p0 * p0 + p1 * p1 + p2 * p2;
    if (!(L > 0.0)) {  // white has no direction: it stays white
      dst[x] = 255;
      continue;
    }
    double const A = MaxDot(p0, p1, p2, sets.keep, sets.keepCount);
    double const B = MaxDot(p0, p1, p2, sets.drop, sets.dropCount);
    dst[x] = static_cast<uint8_t>(255 - SharedDarkness(A, B, L));
  }
}

}  // namespace

DropoutKernels const& DropoutKernelsScalar() {
  static DropoutKernels const table = {OneColourRow, ColourSetRow};
  return table;
}

DropoutKernels const& DropoutKernelsActive() {
  return simd::Pick(DropoutKernelsScalar(), QUILP_VECTOR_TABLE(DropoutKernelsSse41()),
                    QUILP_VECTOR_TABLE(DropoutKernelsAvx2()));
}

bool UnitDarkness(unsigned char const (*colours)[3], int count, double* u) {
  for (int i = 0; i < count; ++i) {
    double const a0 = 255 - colours[i][0], a1 = 255 - colours[i][1], a2 = 255 - colours[i][2];
    double const len2 = a0 * a0 + a1 * a1 + a2 * a2;
    if (len2 == 0.0) return false;
    double const r = 1.0 / std::sqrt(len2);
    u[3 * i] = a0 * r;
    u[3 * i + 1] = a1 * r;
    u[3 * i + 2] = a2 * r;
  }
  return true;
}

bool MakeOneColourDropout(unsigned char const colour[3], OneColourDropout& t) {
  double const a0 = 255 - colour[0], a1 = 255 - colour[1], a2 = 255 - colour[2];
  double const e[3] = {(a1 - a0) * a1 + (a2 - a0) * a2, (a2 - a1) * a2 + (a0 - a1) * a0,
                       (a0 - a2) * a0 + (a1 - a2) * a1};
  double const len2 = e[0] * e[0] + e[1] * e[1] + e[2] * e[2];
  if (!(len2 > 0.0)) return false;
  double const len = std::sqrt(len2);
  for (int i = 0; i < 3; ++i) t.w[i] = static_cast<int32_t>(e[i] / len * 65536.0 + 0.5);
  // Black is darkness 255 in every byte, white darkness 0.
  int64_t const hi = 255 * (int64_t(t.w[0]) + t.w[1] + t.w[2]), lo = 0;
  if (hi <= lo) return false;
  t.hi = static_cast<int32_t>(hi);
  t.lo = static_cast<int32_t>(lo);
  t.q = static_cast<int32_t>((hi - lo + 255) / 255);
  return true;
}

bool DibSuppressOneColor(DibView dst, DibView src, unsigned char const* colour) {
  if (!colour) return false;
  InStorageOrder(src, dst);
  OneColourDropout t;
  if (!MakeOneColourDropout(colour, t)) return false;
  DropoutKernels const& kernels = DropoutKernelsActive();
  for (int y = 0; y < src.height; ++y) kernels.oneColour(src.Row(y), dst.Row(y), src.width, t);
  return true;
}

bool DibSuppressColorSets(DibView const& dst, DibView const& src, int keepCount,
                          unsigned char const (*keep)[3], int dropCount,
                          unsigned char const (*drop)[3]) {
  if (keepCount < 0 || !keep || dropCount < 0 || !drop || keepCount < 1) return false;
  std::unique_ptr<double[]> keepUnits(new (std::nothrow) double[3 * std::size_t(keepCount)]);
  std::unique_ptr<double[]> dropUnits(new (std::nothrow) double[3 * std::size_t(dropCount) + 3]);
  if (!keepUnits || !dropUnits) return false;
  if (!UnitDarkness(keep, keepCount, keepUnits.get()) ||
      !UnitDarkness(drop, dropCount, dropUnits.get()))
    return false;
  ColourSets const sets = {keepUnits.get(), keepCount, dropUnits.get(), dropCount};
  DibMemoColourRows(dst, src, DropoutKernelsActive().colourSets, sets);
  return true;
}

}  // namespace quilp
