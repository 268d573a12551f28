// background_suppress.h - paper to clean white with ink hues kept (DibSuppress).
#pragma once

#include "record/view.h"

namespace quilp {

// From an 8-, 24- or 32-bit area (bytesPerPixel 1, 3 or 4) into an area of the same size and
// format: each byte divided by the paper estimated over blocks of `block` pixels (>= 4), and
// pixels whose smallest quotient is at least whiteLevel turned white. False when memory runs
// out or the arguments are out of range.
bool DibSuppressBackground(DibView const& dst, DibView const& src, int bytesPerPixel, int block,
                           int whiteLevel);

}  // namespace quilp
