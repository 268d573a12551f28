// smooth.h - Gaussian smoothing and the local contrast filter of the grey filters.
#pragma once

#include "params/plane.h"

namespace quilp {

// Separable Gaussian smoothing of an 8-bit plane into another of the same size (may be the
// same area): standard deviations hSigma256 / 256 and vSigma256 / 256 pixels (0: that
// direction untouched; above kMaxSigma256 taken as it). Borders repeat the edge pixels.
// False on negative parameters or when memory runs out.
bool DibGaussSmooth(DibPlane const& dst, DibPlane const& src, int hSigma256, int vSigma256);
inline constexpr int kMaxSigma256 = 85 * 256;

// Local contrast normalisation over a window of (2 (hWindow / 2) + 1) x (2 (vWindow / 2) + 1):
// with lo and hi the window's minimum and maximum,
//   out = 255 - min(255, ((hi - v) * 255 + range / 2) / range),  range = max(hi - lo, 32),
// so the local paper level becomes white and strokes are stretched to black whatever the
// local contrast; flat areas (range below 32) change little. False on negative windows or
// when memory runs out.
bool DibLocalContrast(DibPlane const& dst, DibPlane const& src, int hWindow, int vWindow);
inline constexpr int kContrastFloor = 32;

}  // namespace quilp
