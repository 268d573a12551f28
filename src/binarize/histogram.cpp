// histogram.cpp - the scalar histogram (the definition) and the signed, filtered form.
//
// The scalar kernel counts two pixels per step into one table. The vector kernels spread
// consecutive pixels over several partial tables so that runs of one level (page background)
// do not serialise on one counter, and add the tables at the end.
#include "binarize/histogram.h"

#include <cstring>

#include "simd/dispatch.h"

namespace quilp {
namespace {

void AddArea(uint8_t const* top, std::ptrdiff_t step, int width, int height,
             uint32_t counts[256]) {
  for (int y = 0; y < height; ++y) {
    uint8_t const* row = top + step * y;
    int x = 0;
    for (; x + 2 <= width; x += 2) {
      ++counts[row[x]];
      ++counts[row[x + 1]];
    }
    if (x < width) ++counts[row[x]];
  }
}

}  // namespace

HistogramKernels const& HistogramKernelsScalar() {
  static HistogramKernels const table = {AddArea};
  return table;
}

HistogramKernels const& HistogramKernelsActive() {
  return simd::Pick(HistogramKernelsScalar(), QUILP_VECTOR_TABLE(HistogramKernelsSse41()),
                    QUILP_VECTOR_TABLE(HistogramKernelsAvx2()));
}

void DibHistogram(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                  bool ignoreExtremes, int hist[256]) {
  uint32_t counts[256];
  std::memset(counts, 0, sizeof counts);
  if (step < 0 && height > 0) {  // count in storage order: the sums do not care
    top += step * (height - 1);
    step = -step;
  }
  if (width > 0 && height > 0) HistogramKernelsActive().add(top, step, width, height, counts);
  if (ignoreExtremes) counts[0] = counts[1] = counts[254] = counts[255] = 0;
  for (int i = 0; i < 256; ++i) hist[i] = static_cast<int>(counts[i]);  // modular from C++20
}

}  // namespace quilp
