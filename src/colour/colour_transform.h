// colour_transform.h - per-byte level curves, white balance, weighted grey and inversion,
// the kernels of DibTransformColorsEx.
#pragma once

#include "params/plane.h"

namespace quilp {

enum ColourTransformOper : int {
  kTransformLevels = 1,
  kTransformWhiteBalance = 2,
  kTransformGrey = 3,
  kTransformInvert = 4,
};

// One 256-entry table per byte (blue, green, red; an 8-bit plane uses the first).
struct ByteCurves {
  unsigned char table[3][256];
};

// Level curve: round(255 * t^(100 / gamma100)), t = (v - black) / (white - black) in 0..1.
// False unless 0 <= black < white <= 255 and gamma100 > 0.
bool MakeLevelCurve(int black, int white, int gamma100, unsigned char table[256]);
// Paper to white: min(255, round(v * 255 / paper)). False for paper 0.
bool MakeBalanceCurve(int paper, unsigned char table[256]);

// Applies the curves to every byte of an 8-, 24- or 32-bit plane into a plane of the same
// format (a 32-bit fourth byte is copied).
void ApplyCurves(DibPlane const& dst, DibPlane const& src, ByteCurves const& curves);
// Weighted grey of a 24- or 32-bit plane into an 8-bit one:
// (wB b + wG g + wR r + sum / 2) / sum, sum = wB + wG + wR > 0, weights >= 0.
void WeightedGrey(DibPlane const& dst, DibPlane const& src, int const weights[3]);

}  // namespace quilp
