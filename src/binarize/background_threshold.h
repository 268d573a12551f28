// background_threshold.h - binarization against an estimate of the paper surface.
//
// 1. Paper surface: the page is cut into f x f blocks (f = window / 8, at least 1) and each
//    block keeps its lightest level; a closing (maximum, then minimum, over (2h+1)^2 blocks,
//    h = window / (2 f)) removes every stroke narrower than the window while keeping the
//    shape of shadows and stains; a Gaussian of h / 2 blocks smooths it; each pixel reads the
//    surface B by bilinear interpolation between block centres.
// 2. Contrast: d = (B - v) * 255 / B (integer division; 0 where v >= B), the ink's darkness as
//    a share of the local paper, so gradients, shadows and coloured paper fall out.
// 3. Rule: Otsu's threshold splits the histogram of d into paper and ink; with p and q the
//    median contrast of each class, a pixel is black when d >= p + k (q - p) (k = 0.5: half
//    way, where an anti-aliased stroke edge is half covered, so strokes keep their width).
//    When q - p is below a noise margin the area holds no ink and stays white.
// Cost per pixel: a lightness maximum, an interpolation and a table look-up, twice (one pass
// for the histogram, one for the decision); the surface work is on 1/f^2 of the pixels.
#pragma once

#include "binarize/adaptive.h"

namespace quilp {

// window: the surface's window in pixels (wider than the widest stroke); k: the share of
// the way from paper to ink contrast at which pixels turn black. False when memory runs out.
bool BackgroundBinarize(DibView const& grey, int window, double k, BitRowSink& sink);

}  // namespace quilp
