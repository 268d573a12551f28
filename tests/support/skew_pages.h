// skew_pages.h - made grey text pages with a known skew, for the skew estimators' tests.
#pragma once

#include <cstdint>

#include "support/images.h"

namespace testing_support {

// An 8-bit page at 300 dpi, `width` x `height` pixels (an A5 sheet by default, so that the
// tests stay quick under the sanitizers), text lines skewed by `degrees` (positive: descending
// to the right), with paper noise and uneven paper.
DibPtr SkewedGreyPage(double degrees, uint32_t seed, int width = 1240, int height = 1754,
                      bool topDown = false);

// The skew in the units of DibSmartGetAngle: tangent times 1024.
double TangentUnits(double degrees);

}  // namespace testing_support
