// bilateral.h - the bilateral filter of byte images (DibSmooth method 1).
#pragma once

#include "record/view.h"

namespace quilp {

// Over a size x size window (odd, 3..31) of an area of bytesPerPixel 1, 3 or 4 into an area
// of the same size: weights w = (ws * wr + 2048) >> 12 from the spatial table
// ws = round(4096 exp(-(dx^2 + dy^2) / (2 (size / 4)^2))) and the range table
// wr = round(4096 exp(-dv^2 / (2 strength^2))), dv the largest byte difference to the centre
// pixel; out = (sum w v + sum w / 2) / sum w per byte. Borders repeat the edge pixels.
// False for arguments out of range.
bool DibBilateral(DibView const& dst, DibView const& src, int bytesPerPixel, int size,
                  int strength);

}  // namespace quilp
