// median_avx2.cpp - the 3 x 3 median, 32 bytes per step (AVX2 unsigned byte min/max).
#include "filter/median_simd.h"
#include "simd/byte_registers.h"

namespace quilp {

MedianKernels const& MedianKernelsAvx2() {
  static MedianKernels const table = {Median3RowVector<simd::Avx32>};
  return table;
}

}  // namespace quilp
