// upscale_bits.h - 1-bit enlargement by 2, 3 and 4 with an edge-directed rule.
#pragma once

#include "params/plane.h"

namespace quilp {

// Writes the enlargement of the 1-bit src into the 1-bit dst (factor 2, 3 or 4; dst is
// factor times src's size). Each source pixel E becomes a factor x factor block decided by
// its neighbours (B above, D left, F right, H below, A, C, G, I the corners; edge pixels
// repeated): by 2, a block corner takes the colour of the two neighbours meeting there when
// they agree and the two others do not (top-left: D == B, B != F, D != H gives D), otherwise
// E; by 3, the corners likewise and each edge middle as the rule of its two corners allows
// (top middle: B when the top-left rule holds and E != C, or the top-right rule holds and
// E != A); by 4, the rule by 2 twice. So steps along diagonal edges are filled in and corners
// cut, while strokes one pixel wide keep their width. Only the result's bits are written.
// False when memory runs out.
bool DibUpscaleBitsPlane(DibPlane const& dst, DibPlane const& src, int factor);

}  // namespace quilp
