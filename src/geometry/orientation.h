// orientation.h - which way up a page of text is.
#pragma once

#include "record/view.h"

namespace quilp {

// The clockwise quarter turns (0..3) that make the text of a 1-, 8-, 24- or 32-bit area read
// upright, or -1 when the area shows no text lines; confidence 0..100. dpi is the vertical
// resolution in dots per inch (0 when unknown). -2 when memory runs out.
int DominantOrientation(DibView const& src, int bitsPerPixel, int dpi, int& confidence);

}  // namespace quilp
