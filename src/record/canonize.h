// canonize.h - pixels of a well-formed record rewritten for the standard palettes.
#pragma once

#include "quilp32.h"
#include "record/view.h"

namespace quilp {

// 1-bit: pixel p of dst = white[p of src] (white[0], white[1] each 0 or 1). Both views start
// their areas on byte boundaries; dst's bits beyond the width are cleared.
void MapBitsThroughPalette(DibView const& dst, DibView const& src, int const white[2]);

// 8-bit indices through a palette of `colours` entries (indices at or beyond: black) into
// grey (dstBytesPerPixel 1: the entry's blue, the palette being grey) or colour (3: blue,
// green, red).
void MapIndicesThroughPalette(DibView const& dst, DibView const& src, tagRGBQUAD const* palette,
                              int colours, int dstBytesPerPixel);

}  // namespace quilp
