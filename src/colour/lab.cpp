// lab.cpp - CIE Lab and Delta E 2000.
//
// sRGB bytes are linearised by the sRGB curve, turned into XYZ by the sRGB (D65) matrix and
// into Lab relative to the D65 white. Delta E 2000 follows the CIE formula (Sharma, Wu and
// Dalal's notes on its implementation): a* is stretched by 1 + G for low chroma, the hue
// difference is taken on the shorter arc, and the rotation term R_T couples chroma and hue in
// the blue region. About a hundred operations and five transcendental calls per pair.
#include "colour/lab.h"

#include <cmath>

namespace quilp {
namespace {

double Linear(unsigned char v) {
  double const c = v / 255.0;
  return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double LabF(double t) {
  double const e = 216.0 / 24389.0, k = 24389.0 / 27.0;
  return t > e ? std::cbrt(t) : (k * t + 16.0) / 116.0;
}

double Degrees(double rad) { return rad * 180.0 / M_PI; }
double Radians(double deg) { return deg * M_PI / 180.0; }

}  // namespace

Lab ToLab(unsigned char const bgr[3]) {
  double const r = Linear(bgr[2]), g = Linear(bgr[1]), b = Linear(bgr[0]);
  double const X = (0.4124564 * r + 0.3575761 * g + 0.1804375 * b) / 0.95047;
  double const Y = 0.2126729 * r + 0.7151522 * g + 0.0721750 * b;
  double const Z = (0.0193339 * r + 0.1191920 * g + 0.9503041 * b) / 1.08883;
  double const fx = LabF(X), fy = LabF(Y), fz = LabF(Z);
  return Lab{116.0 * fy - 16.0, 500.0 * (fx - fy), 200.0 * (fy - fz)};
}

double DeltaE2000(Lab const& x, Lab const& y, bool withLightness) {
  double const c1 = std::hypot(x.a, x.b), c2 = std::hypot(y.a, y.b);
  double const cMean = (c1 + c2) / 2.0;
  double const c7 = std::pow(cMean, 7.0);
  double const g = 0.5 * (1.0 - std::sqrt(c7 / (c7 + 6103515625.0)));  // 25^7
  double const a1 = x.a * (1.0 + g), a2 = y.a * (1.0 + g);
  double const cp1 = std::hypot(a1, x.b), cp2 = std::hypot(a2, y.b);
  auto hue = [](double b, double a) {
    if (b == 0.0 && a == 0.0) return 0.0;
    double const h = Degrees(std::atan2(b, a));
    return h < 0.0 ? h + 360.0 : h;
  };
  double const h1 = hue(x.b, a1), h2 = hue(y.b, a2);
  double const dL = y.L - x.L, dC = cp2 - cp1;
  double dh = 0.0;
  if (cp1 * cp2 != 0.0) {
    dh = h2 - h1;
    if (dh > 180.0) dh -= 360.0;
    else if (dh < -180.0) dh += 360.0;
  }
  double const dH = 2.0 * std::sqrt(cp1 * cp2) * std::sin(Radians(dh / 2.0));
  double const lMean = (x.L + y.L) / 2.0, cpMean = (cp1 + cp2) / 2.0;
  double hMean = h1 + h2;
  if (cp1 * cp2 != 0.0) {
    if (std::fabs(h1 - h2) <= 180.0) hMean /= 2.0;
    else hMean = h1 + h2 < 360.0 ? (hMean + 360.0) / 2.0 : (hMean - 360.0) / 2.0;
  }
  double const t = 1.0 - 0.17 * std::cos(Radians(hMean - 30.0)) +
                   0.24 * std::cos(Radians(2.0 * hMean)) +
                   0.32 * std::cos(Radians(3.0 * hMean + 6.0)) -
                   0.20 * std::cos(Radians(4.0 * hMean - 63.0));
  double const dTheta = 30.0 * std::exp(-((hMean - 275.0) / 25.0) * ((hMean - 275.0) / 25.0));
  double const cp7 = std::pow(cpMean, 7.0);
  double const rc = 2.0 * std::sqrt(cp7 / (cp7 + 6103515625.0));
  double const l50 = (lMean - 50.0) * (lMean - 50.0);
  double const sl = 1.0 + 0.015 * l50 / std::sqrt(20.0 + l50);
  double const sc = 1.0 + 0.045 * cpMean, sh = 1.0 + 0.015 * cpMean * t;
  double const rt = -std::sin(Radians(2.0 * dTheta)) * rc;
  double const lt = withLightness ? dL / sl : 0.0, ct = dC / sc, ht = dH / sh;
  return std::sqrt(lt * lt + ct * ct + ht * ht + rt * ct * ht);
}

}  // namespace quilp
