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
// with lo and hi the window's minimum and maximum and n the noise allowance in levels,
//   dark = max(hi - v - n, 0) * 255 / max(hi - lo - n, 32)   (rounded),   out = 255 - min(dark, 255)
// so the local paper level (and noise within n of it) becomes white and strokes are stretched
// toward black whatever the local contrast. False on negative arguments or when memory runs
// out.
bool DibLocalContrast(DibPlane const& dst, DibPlane const& src, int hWindow, int vWindow,
                      int noise);
inline constexpr int kContrastFloor = 32;

}  // namespace quilp
