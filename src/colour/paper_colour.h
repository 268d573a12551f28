// paper_colour.h - the paper colour of a page area: the median of each byte over the
// brightest quarter of the pixels (by byte sum). Two passes over the area, histograms only.
#pragma once

#include "params/plane.h"

namespace quilp {

// Paper bytes (blue, green, red; an 8-bit plane gives its level three times) of a 8-, 24- or
// 32-bit plane. False for another format or an empty plane.
bool MeasurePaper(DibPlane const& src, unsigned char paper[3]);

// Row y of a plane in storage order: bottom-up records (negative stride) from the bottom.
inline int StorageRow(DibPlane const& p, int i) { return p.stride < 0 ? p.height - 1 - i : i; }

}  // namespace quilp
