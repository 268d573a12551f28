// background_threshold.h - binarization against an estimate of the paper surface.
//
// 1. Paper surface: the page is cut into f x f blocks (f = window / 8, at least 1) and each
//    block keeps its mean level; a closing (maximum, then minimum, over (2h+1)^2 blocks,
//    h = window / (2 f)) keeps the blocks of bare paper between the lines and removes every
//    stroke narrower than the window, while keeping the shape of shadows and stains; a
//    Gaussian of h / 2 blocks smooths it; each pixel reads the surface B by bilinear
//    interpolation between block centres (edge blocks repeat).
// 2. Contrast: d = (B - v) * 255 / B (integer division; 0 where v >= B), the ink's darkness as
//    a share of the local paper, so gradients, shadows and coloured paper fall out.
// 3. Rule: Otsu's threshold splits the histogram of d into paper and ink; with p and q the
//    median contrast of each class, a pixel is black when d >= p + k (q - p) (k = 0.5: half
//    way, where an anti-aliased stroke edge is half covered, so strokes keep their width).
//    Paper noise is measured too: sigma = median(v - B over pixels lighter than B) / 0.674,
//    and a pixel must also lie 2.5 sigma below its paper (d >= 2.5 sigma 255 / B), which
//    keeps deeply shadowed paper, where the same noise spans more contrast, white. When
//    q - p is below 16 the area holds no ink and stays white.
// Cost: three reads of the page. The block sums add each pixel to a column sum; the histogram
// pass blends the surface row (paper_kernels.h) and counts each (B, v) pair, folded into the
// d and excess histograms at the end (65536 bins, not a division per pixel); the decision pass
// blends the row again and looks the cut up per pixel, 64 at a time where AVX-512 VBMI
// allows. The closing and smoothing work on 1/f^2 of the pixels. About 14 ms for an A4 page
// at 300 dpi on one core.
#pragma once

#include "binarize/adaptive.h"

namespace quilp {

// window: the surface's window in pixels (wider than the widest stroke); k: the share of
// the way from paper to ink contrast at which pixels turn black. False when memory runs out.
bool BackgroundBinarize(DibView const& grey, int window, double k, BitRowSink& sink);

}  // namespace quilp
