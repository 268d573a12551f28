// rect.h - the two rules by which operations apply a rectangle of interest.
//
// Both take visual coordinates with right and bottom inclusive; a null rectangle is the whole
// image. Arithmetic is 64-bit, so extreme coordinates cannot overflow.
//  - Clamp: cut to the image; fails when nothing is left.
//  - ExactFit: the area has the requested size; each edge of the normalised rectangle is
//    clamped to 0..Width or 0..Height (not Width - 1: an edge at Width passes and the area
//    reaches one column beyond), and the rule fails unless the clamped size equals the
//    requested one.
#pragma once

#include "quilp32.h"

namespace quilp {

struct Area {
  int left = 0, top = 0, width = 0, height = 0;
  int right() const { return left + width - 1; }
  int bottom() const { return top + height - 1; }
};

bool ClampRect(DibInfo const* dib, tagRect32 const* rect, Area& area);
bool ExactFitRect(DibInfo const* dib, tagRect32 const* rect, Area& area);

}  // namespace quilp
