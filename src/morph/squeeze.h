// squeeze.h - rank-order reduction of 1-bit ink by two per axis.
//
// Output pixel (x, y) is ink when at least `level` (1..4) of the four pixels (2x .. 2x + 1,
// 2y .. 2y + 1) are ink; pixels past an odd width or height count as paper. Level 1 keeps any
// ink (the coarse view layout analysis works on), 4 keeps only solid ink. On words: per
// column the two rows give "any" (OR) and "both" (AND); neighbouring columns combine into the
// rank test, and the pair results are packed by five shift-and-mask steps, 32 output pixels
// per input word. Cost: about twenty word operations per 64 input pixels of two rows.
#pragma once

#include "morph/ink_bits.h"

namespace quilp {

// dst must be ceil(width / 2) x ceil(height / 2) of src; level in 1..4.
void SqueezeInk(InkBits& dst, InkBits const& src, int level);

}  // namespace quilp
