// compress_bits.h - the two measurements behind the depth decision of a page zone.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// Grey or bi-level: true (1 bit suffices) when the grey levels of the zone's local extrema
// fall into two tight groups. Over the interior pixels (not the first or last row or column)
// each pixel's level is counted once when it is at least its four neighbours and once more
// when it is at most all four (a flat pixel counts twice). t = the two-class Otsu threshold of
// that histogram; with n, m, q the count, mean and mean square of the levels 0..t-1 and of
// t..255, spread = q - m^2, and the normalised spread
//   S = spread1 / t / t + spread2 / (256 - t) / (256 - t)
// decides 1 bit when S < spreadLimit. An empty class (so also a zone narrower or lower than
// 3 pixels, or no threshold) decides 8 bits.
bool DibGreyLevelsTest(DibView const& grey, double spreadLimit);

// Colour or grey: true (keep 24 bits) when the most colourful pixels are colourful enough.
// chroma = max(b, g, r) - min(b, g, r) per pixel; K = (int)(pixels * colourfulShare + 0.5).
// Walking the chroma histogram from 255 down, counts are added to n and chroma * count to s
// while n <= K; the walk stops at the first level that makes n exceed K (that level included)
// or at chroma 0. Colour when chromaLevel < s div n. A negative K (or a share that is not a
// number) decides grey.
bool DibColourTest(DibView const& colour, unsigned char chromaLevel, double colourfulShare);

// Row kernels of the two measurements; vector tables must equal the scalar one byte for byte.
struct MeasureKernels {
  // chroma[x] = max - min of the three bytes of pixel x, for `width` BGR pixels.
  void (*chroma)(uint8_t const* src, uint8_t* chroma, int width);
  // For x in 1..width-2: count[x] = (row[x] >= its four neighbours) + (row[x] <= all four),
  // the neighbours being row[x - 1], row[x + 1], up[x] and down[x].
  void (*extrema)(uint8_t const* up, uint8_t const* row, uint8_t const* down, uint8_t* count,
                  int width);
};
MeasureKernels const& MeasureKernelsScalar();
MeasureKernels const& MeasureKernelsSse41();
MeasureKernels const& MeasureKernelsAvx2();
MeasureKernels const& MeasureKernelsActive();

}  // namespace quilp
