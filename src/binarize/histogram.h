// histogram.h - the 256-level histogram of an 8-bit area.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quilp {

// Kernels of the family; the vector tables give exactly the scalar counts.
struct HistogramKernels {
  // Adds the levels of a width x height area (rows `step` bytes apart) to counts. Counts are
  // 32-bit and wrap modulo 2^32.
  void (*add)(uint8_t const* top, std::ptrdiff_t step, int width, int height,
              uint32_t counts[256]);
};
HistogramKernels const& HistogramKernelsScalar();
HistogramKernels const& HistogramKernelsSse41();
HistogramKernels const& HistogramKernelsAvx2();
HistogramKernels const& HistogramKernelsActive();

// The histogram of an area as 256 signed counts (a count beyond 2^31 - 1 wraps, as 32-bit
// counters do); with ignoreExtremes the counts of levels 0, 1, 254 and 255 are set to zero.
void DibHistogram(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                  bool ignoreExtremes, int hist[256]);

}  // namespace quilp
