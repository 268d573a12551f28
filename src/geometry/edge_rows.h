// edge_rows.h - the row kernel of the edge-pair skew estimator: upper edges of dark shapes.
#pragma once

#include <cstdint>

namespace quilp {

// Vector tables must equal the scalar one.
struct EdgeKernels {
  // Writes to xs, in increasing order, every x in [from, to) where the median of row[x - 1],
  // row[x], row[x + 1] is below darkBelow and the median of the three pixels above is at least
  // lightFrom; returns how many. Thresholds lie in 0..256 (0 or 256 match nothing or all).
  int (*upperEdges)(uint8_t const* row, uint8_t const* above, int from, int to, int darkBelow,
                    int lightFrom, int32_t* xs);
};
EdgeKernels const& EdgeKernelsScalar();
EdgeKernels const& EdgeKernelsSse41();
EdgeKernels const& EdgeKernelsAvx2();
EdgeKernels const& EdgeKernelsActive();

}  // namespace quilp
