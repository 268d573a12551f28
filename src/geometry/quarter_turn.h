// quarter_turn.h - lossless turns by quarter turns, every depth.
#pragma once

#include "record/view.h"

namespace quilp {

// Writes src turned clockwise by `quarters` (0..3) into dst, which is src's size with width
// and height exchanged on odd turns. bitsPerPixel is 1, 8, 24 or 32; a 1-bit dst starts on a
// byte boundary (its left is a multiple of 8) and its last byte's bits beyond the width are
// cleared. Pixel (x, y) of a W x H source lands at (H-1-y, x) for one turn, (W-1-x, H-1-y)
// for two and (y, W-1-x) for three.
void QuarterTurn(DibView const& dst, DibView const& src, int bitsPerPixel, int quarters);

}  // namespace quilp
