// reduce.h - resolution reduction by area averaging (grey filter 262).
#pragma once

#include "params/plane.h"

namespace quilp {

// Reduces src by the factors fx, fy >= 1 into dst (dst.width = trunc(src.width / fx), the
// same for the height; same format). Destination pixel X covers source columns
// [X fx, (X + 1) fx) and is their area-weighted mean (per byte for 8, 24 and 32 bits, so a
// 32-bit pixel is averaged as four bytes), rounded. 1-bit: the pixel is set when the set
// area is more than half of its footprint (a tie gives clear, which keeps dark strokes).
// False when the sizes do not match the factors or memory runs out.
bool DibReduceArea(DibPlane const& dst, DibPlane const& src, double fx, double fy);

}  // namespace quilp
