// grey_gradient.h - the morphological gradient of 8-bit areas over a 3 x 3 square, fused.
//
// One pass in storage order: each source row's horizontal minimum and maximum over three
// pixels enter a ring of three rows; the vertical extremes of the ring give the erosion and
// dilation of the middle row, and their difference is written at once:
//   kind 0: dilation - erosion; 1 (internal): source - erosion; 2 (external): dilation -
//   source. Pixels beyond the area do not take part. About ten byte operations per pixel, in
//   loops the compiler vectorises; the general element path (element_morph.h) gives the same
//   levels.
#pragma once

#include "record/view.h"

namespace quilp {

// dst and src: areas of the same size; false when memory runs out.
bool GreyGradient3x3(DibView const& dst, DibView const& src, int kind);

}  // namespace quilp
