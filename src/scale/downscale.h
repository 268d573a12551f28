// downscale.h - area-averaging reduction of 1-, 8- and 24-bit areas by integer factors.
#pragma once

#include "record/view.h"

namespace quilp {

// Width or height of the reduction of `size` pixels by `factor`: every block of `factor`
// pixels, the last one possibly shorter, becomes one pixel.
inline int ReducedSize(int size, int factor) { return int((int64_t(size) + factor - 1) / factor); }

// Writes the reduction of src (depth 1, 8 or 24, as `bitCount`) into dst, which has the reduced
// size and the same depth: each result pixel is the rounded mean, (sum + n/2) / n, of the n
// pixels (or of each byte channel) of its block; a 1-bit pixel is set when more than half of
// its block's bits are set. Factors of 1 copy.
void DibDownscaleArea(DibView const& dst, DibView const& src, int bitCount, int hFactor,
                      int vFactor);

}  // namespace quilp
