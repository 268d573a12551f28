// skeleton.h - thinning of 1-bit ink to one-pixel-wide, 8-connected skeletons.
//
// Directional parallel thinning: each round has four sub-passes (north, south, east, west).
// A sub-pass takes the ink pixels whose neighbour on its side is paper (found 64 at a time on
// words), looks each one's 3 x 3 neighbourhood up in a 512-entry table, and deletes at once
// all that are simple (8-connected ink, 4-connected paper: exactly one ink component touches
// the pixel and removing it merges no paper; Yokoi's connectivity number is 1) and not end
// points (more than one ink neighbour). Deleting simple border pixels of one side in parallel
// keeps every component and hole, so the result has the source's topology. Rounds stop when
// nothing changes: about half the widest stroke's width.
// Thinning peels a thick stroke's tip as it peels its sides; TipExtension restores the length
// by continuing each end point in its own direction, through the source ink, until the border
// (stopping short of touching another branch).
// Cost: one word scan per sub-pass plus a table lookup per border pixel.
#pragma once

#include "morph/ink_bits.h"

namespace quilp {

// Thins the ink in place. False when memory runs out.
bool ThinInk(InkBits& ink);

// Extends each end point of `skeleton` straight on through `source` ink.
void TipExtension(InkBits& skeleton, InkBits const& source);

}  // namespace quilp
