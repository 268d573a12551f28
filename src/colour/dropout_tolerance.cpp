// dropout_tolerance.cpp - the colour-set dropout with tolerances and colour output.
//
// Per pixel with darkness p: for every colour i, theta_i = acos(p . u_i / |p|) and the
// tolerated angle t_i = max(0, theta_i - tol_i); each set's nearest colour is the one of
// least t_i. The pixel keeps weight = sinDrop / (sinKeep + sinDrop) of A = |p| cos(t_keep),
// the same share-out as the plain colour sets, which this is when no tolerance is above 0
// (that case runs the plain kernel, so its results do not move). Cost per pixel: one dot
// product and one acos per colour, two sines; consecutive equal colours are computed once.
#include "colour/dropout_tolerance.h"

#include <cmath>
#include <memory>
#include <new>

#include "colour/colour_dropout.h"

namespace quilp {
namespace {

bool ValidTolerances(double const* tol, int count) {
  if (!tol) return true;
  for (int i = 0; i < count; ++i)
    if (!(tol[i] >= 0.0)) return false;
  return true;
}

bool AnyAboveZero(double const* tol, int count) {
  if (!tol) return false;
  for (int i = 0; i < count; ++i)
    if (tol[i] > 0.0) return true;
  return false;
}

// The least tolerated angle of p (length len) to a set's colours; pi / 2 for an empty set.
double LeastAngle(double const p[3], double len, double const* u, double const* tol,
                  int count) {
  double best = M_PI / 2;
  for (int i = 0; i < count; ++i) {
    double const* a = u + 3 * i;
    double c = (p[0] * a[0] + p[1] * a[1] + p[2] * a[2]) / len;
    c = c > 1.0 ? 1.0 : c < -1.0 ? -1.0 : c;
    double t = std::acos(c) - (tol ? tol[i] : 0.0);
    t = t > 0.0 ? t : 0.0;
    best = t < best ? t : best;
  }
  return best;
}

// The darkness share a pixel keeps (0..1) and the kept darkness A.
void Share(uint8_t const* px, ToleranceSets const& sets, double const* keepUnits,
           double const* dropUnits, double& weight, double& A, double& len) {
  double const p[3] = {255.0 - px[0], 255.0 - px[1], 255.0 - px[2]};
  len = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  if (!(len > 0.0)) {
    weight = A = 0.0;
    return;
  }
  double const tKeep = LeastAngle(p, len, keepUnits, sets.keepTolerance, sets.keepCount);
  double const tDrop = LeastAngle(p, len, dropUnits, sets.dropTolerance, sets.dropCount);
  double const sinKeep = std::sin(tKeep), sinDrop = std::sin(tDrop);
  double const sum = sinKeep + sinDrop;
  weight = sum > 0.0 ? sinDrop / sum : sinDrop;
  A = len * std::cos(tKeep);
  A = A > 0.0 ? A : 0.0;
}

void ToleranceRows(DibView const& dst, DibView const& src, ToleranceSets const& sets,
                   double const* keepUnits, double const* dropUnits, int outputBits) {
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    uint8_t last[3] = {0, 0, 0}, out[3] = {255, 255, 255};
    bool have = false;
    for (int x = 0; x < src.width; ++x, s += 3) {
      if (!have || s[0] != last[0] || s[1] != last[1] || s[2] != last[2]) {
        double weight, A, len;
        Share(s, sets, keepUnits, dropUnits, weight, A, len);
        if (outputBits == 8) {
          int const v = static_cast<int>(A * weight + 0.5);
          out[0] = static_cast<uint8_t>(255 - (v > 255 ? 255 : v));
        } else {
          double const scale = len > 0.0 ? weight * A / len : 0.0;
          for (int c = 0; c < 3; ++c) {
            int const v = static_cast<int>((255 - s[c]) * scale + 0.5);
            out[c] = static_cast<uint8_t>(255 - (v > 255 ? 255 : v));
          }
        }
        last[0] = s[0], last[1] = s[1], last[2] = s[2];
        have = true;
      }
      if (outputBits == 8) {
        d[x] = out[0];
      } else {
        d[3 * x] = out[0], d[3 * x + 1] = out[1], d[3 * x + 2] = out[2];
      }
    }
  }
}

}  // namespace

bool DibSuppressColorSetsCommon(DibView const& dst, DibView const& src, ToleranceSets const& sets,
                                int outputBits) {
  if (outputBits != 8 && outputBits != 24) return false;
  if (!ValidTolerances(sets.keepTolerance, sets.keepCount > 0 ? sets.keepCount : 0) ||
      !ValidTolerances(sets.dropTolerance, sets.dropCount > 0 ? sets.dropCount : 0))
    return false;
  bool const tolerant = AnyAboveZero(sets.keepTolerance, sets.keepCount) ||
                        AnyAboveZero(sets.dropTolerance, sets.dropCount);
  if (outputBits == 8 && !tolerant)
    return DibSuppressColorSets(dst, src, sets.keepCount, sets.keep, sets.dropCount, sets.drop);
  if (sets.keepCount < 1 || !sets.keep || sets.dropCount < 0 || !sets.drop) return false;
  std::unique_ptr<double[]> keepUnits(new (std::nothrow) double[3 * std::size_t(sets.keepCount)]);
  std::unique_ptr<double[]> dropUnits(
      new (std::nothrow) double[3 * std::size_t(sets.dropCount) + 3]);
  if (!keepUnits || !dropUnits) return false;
  if (!UnitDarkness(sets.keep, sets.keepCount, keepUnits.get()) ||
      !UnitDarkness(sets.drop, sets.dropCount, dropUnits.get()))
    return false;
  ToleranceRows(dst, src, sets, keepUnits.get(), dropUnits.get(), outputBits);
  return true;
}

}  // namespace quilp
