// local_threshold.h - binarization by the statistics of a w x w window around each pixel.
//
// With m the window's mean and s its standard deviation (population), a pixel of level v is
// black exactly when v < T, T being
//   Niblack      T = m + k s                                  (k usually negative, -0.2)
//   Sauvola      T = m (1 + k (s / R - 1))                     (R the dynamic range, 128)
//   Wolf-Jolion  T = (1 - k) m + k M + k (s / S) (m - M)      (M the area's darkest level,
//                                                             S the largest s of the area)
// computed in double from exact integer window sums (window_sums.h). Cost per pixel: a few
// additions, one square root; Wolf-Jolion makes a first pass for S.
//
// NiGlob: Otsu's threshold t of the area's histogram, with class means a (below t) and b,
// settles the clear pixels: v < (a + t) / 2 black, v >= (t + b) / 2 white; the local rule
// above decides only the band between, so empty paper stays white.
#pragma once

#include "binarize/adaptive.h"

namespace quilp {

struct LocalRule {
  int variant = kVariantNiblack;
  double k = -0.2;
  double range = 128.0;
};

// False when memory runs out.
bool NiblackBinarize(DibView const& grey, int window, LocalRule const& rule, BitRowSink& sink);
bool NiGlobBinarize(DibView const& grey, int window, LocalRule const& rule, BitRowSink& sink);

}  // namespace quilp
