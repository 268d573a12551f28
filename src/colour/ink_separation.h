// ink_separation.h - splitting a colour page into ink layers by darkness direction
// (DibSeparate).
#pragma once

#include "record/view.h"

namespace quilp {

inline constexpr int kMaxInkLayers = 8;

struct InkLayers {
  int count = 0;
  unsigned char colour[kMaxInkLayers][3] = {};  // full ink, blue, green, red
};

// Labels an 8-bit area (same size as the 24-bit source area): 0 paper, i + 1 for layer i.
// inkCount 1..kMaxInkLayers asks for that many layers (fewer when the page has fewer
// directions), 0 chooses up to maxLayers. False when memory runs out.
bool DibSeparateInks(DibView const& labels, DibView const& src, int inkCount, int maxLayers,
                     InkLayers& layers);

// The 1-bit mask of one label (black where labels == label) into a 1-bit area of the same
// size starting at its first byte's most significant bit.
void LabelMask(DibView const& mask, DibView const& labels, int label);

}  // namespace quilp
