// distance_erode.h - erosion and dilation of 1-bit shapes by a distance, on a doubled grid.
//
// The region's pixels are laid on a grid of (2W + 1) x (2H + 1) cells: cell (2i + 1, 2j + 1)
// is the centre of pixel (i, j), cells with an even coordinate lie on pixel edges and
// corners. A cell is a boundary cell when the pixels it touches are both set and clear (the
// region's surroundings count as set). Every cell gets its city-block distance, in half-pixel
// steps, to the nearest boundary cell (two raster passes), and the centre of a pixel takes the
// signed level 127 + d when the pixel is set (at most 255) and 127 - d when it is clear (at
// least 0). Thresholding the centres at T = 127 + 4 amount (amount > 0) or 127 + amount
// erodes or dilates the set pixels.
#pragma once

#include <cstdint>

#include "quilp32.h"

namespace quilp {

// The export (contract in quilp32.h).
bool DibDistanceErodeDilate(DibInfo*& out, DibInfo* src, int amount, tagRect32 const* rect);

// The map holds closeness c = 255 - d (255 on boundary cells, 0 far away): a pass then is
// c = max(c, neighbour - 1) with saturation at 0, and cells beyond the map read as 0.
struct DistanceKernels {
  // Forward pass over one map row of n cells: the row above (null for the first), then the
  // cells to the left, left to right.
  void (*forward)(uint8_t* row, uint8_t const* above, int n);
  // Backward pass: the row below (null for the last), then the cells to the right.
  void (*backward)(uint8_t* row, uint8_t const* below, int n);
  // Signed levels of w pixel centres (cells 1, 3, 5 ... of a map row); pixel i is set when
  // bit (first + i) of `bits` is (most significant bit first).
  void (*centres)(uint8_t* out, uint8_t const* row, uint8_t const* bits, int first, int w);
};
DistanceKernels const& DistanceKernelsScalar();
DistanceKernels const& DistanceKernelsSse41();
DistanceKernels const& DistanceKernelsAvx2();
DistanceKernels const& DistanceKernelsActive();

// The signed level of a centre from its closeness: set 255 - max(c - 127, 0), clear
// max(c - 128, 0), that is 127 + d saturated at 255 and 127 - d saturated at 0.
inline uint8_t CentreLevel(uint8_t c, bool set) {
  return set ? uint8_t(255 - (c > 127 ? c - 127 : 0)) : uint8_t(c > 128 ? c - 128 : 0);
}

}  // namespace quilp
