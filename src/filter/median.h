// median.h - median filters of byte images: 3 x 3 by a sorting network, any odd size by a
// running histogram.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// Row kernel of the 3 x 3 median: out[i] is the median of the nine bytes at i - step, i,
// i + step of the rows above, mid and below (step = bytes per pixel), a neighbour beyond
// either end of the n-byte row replaced by the byte itself.
// scratch holds 3 n bytes for the vector kernels' sorted columns.
struct MedianKernels {
  void (*median3)(uint8_t const* above, uint8_t const* mid, uint8_t const* below, uint8_t* out,
                  int n, int step, uint8_t* scratch);
};
MedianKernels const& MedianKernelsScalar();
MedianKernels const& MedianKernelsSse41();
MedianKernels const& MedianKernelsAvx2();
MedianKernels const& MedianKernelsActive();

// The scalar row kernel over bytes from..to-1 of an n-byte row (the vector kernels' ends).
void Median3Range(uint8_t const* above, uint8_t const* mid, uint8_t const* below, uint8_t* out,
                  int n, int step, int from, int to);

// The median of three bytes.
static inline uint8_t Median3(uint8_t a, uint8_t b, uint8_t c) {
  uint8_t const lo = a < b ? a : b, hi = a < b ? b : a;
  return c < lo ? lo : c > hi ? hi : c;
}

// Median over a size x size window (odd size >= 3) of every byte of an area of bytesPerPixel
// 1, 3 or 4, into an area of the same size; rows beyond the area repeat its edge rows and
// columns its edge columns. False when memory runs out.
bool DibMedian(DibView const& dst, DibView const& src, int bytesPerPixel, int size);

}  // namespace quilp
