// colour_match.h - the 1-bit mask of the pixels near a colour (DibMatchColor).
#pragma once

#include "record/view.h"

namespace quilp {

// From a 24-bit area into a 1-bit area of the same size (bits from the view's first byte,
// column 0 in its most significant bit): 0 (black) where Delta E 2000 to `colour` is at most
// tolerance, 1 elsewhere. False when memory runs out.
bool DibColourMatchMask(DibView const& dst, DibView const& src, unsigned char const colour[3],
                        double tolerance, bool ignoreLightness);

}  // namespace quilp
