// median_sse41.cpp - the 3 x 3 median, 16 bytes per step (SSE2 unsigned byte min/max).
#include "filter/median_simd.h"
#include "simd/byte_registers.h"

namespace quilp {

MedianKernels const& MedianKernelsSse41() {
  static MedianKernels const table = {Median3RowVector<simd::Sse16>};
  return table;
}

}  // namespace quilp
