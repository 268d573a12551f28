// lab.h - sRGB (D65) to CIE Lab, and the CIE Delta E 2000 colour difference.
#pragma once

namespace quilp {

struct Lab {
  double L, a, b;
};

// Bytes blue, green, red as sRGB.
Lab ToLab(unsigned char const bgr[3]);

// CIE Delta E 2000 with kL = kC = kH = 1; without lightness (withLightness false) the
// lightness term is left out.
double DeltaE2000(Lab const& x, Lab const& y, bool withLightness);

}  // namespace quilp
