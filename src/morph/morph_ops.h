// morph_ops.h - the operations of DibMorphCommon / DibMorphEx on one area.
//
// Compositions of erosion and dilation by an element (element_morph.h):
//   opening = dilation of the erosion, closing = erosion of the dilation,
//   white top-hat = source - opening, black top-hat = closing - source,
//   gradient = dilation - erosion, internal = source - erosion, external = dilation - source,
//   hit-or-miss (1-bit) = erosion of the set bits by the hits AND erosion of the clear bits by
//   the misses.
// 1-bit areas work on the stored bits (set = white = the shapes, as every 1-bit morphology of
// the library), the differences being "set in one and clear in the other"; beyond the area
// lies paper (set). 8-bit areas work on grey levels, nothing beyond the area taking part.
// Cost: a small number of element passes (element_morph.h) per operation.
#pragma once

#include "morph/ink_bits.h"
#include "morph/struct_element.h"
#include "record/view.h"

namespace quilp {

enum class MorphOperation {
  kErode = 0, kDilate = 1, kOpen = 2, kClose = 3, kTopHat = 4, kBotHat = 5, kHitMiss = 6,
  kGradient = 7, kGradientIn = 8, kGradientOut = 9
};

// What an operation needs besides its areas.
struct MorphRequest {
  int operation;      // a MorphOperation code
  int shape;          // an ElementShape code
  int width, height;  // element sizes (see BuildElement)
  double angle;       // radians, line elements
  InkBits const* image;  // image elements (stored bits)
  char const* text;      // text elements
};

// Runs the request from the area src (bit offset srcOffset for 1-bit areas) into dst, an
// area of the same size and depth (1 or 8). 0 on success, -1 for an invalid request (unknown
// operation or shape, bad element, hit-or-miss on grey), -3 when memory runs out.
int MorphArea(DibView const& dst, int dstOffset, DibView const& src, int srcOffset, int depth,
              MorphRequest const& request);

}  // namespace quilp
