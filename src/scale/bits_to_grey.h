// bits_to_grey.h - 1-bit areas reduced by whole-number factors, by counting set bits.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// Reduces a 1-bit area whose size is exactly kx * dst.width by ky * dst.height: each
// kx x ky block's set bits n become the level round(255 n / (kx ky)), half up, written as
// 8-bit grey when inkLevel < 0, else as a 1-bit pixel, black at or below inkLevel. Returns
// false, writing nothing, when the area does not start on a byte, ky > 255 or the block
// holds more than 65535 pixels (the general zoom takes those). Throws std::bad_alloc.
bool DibBitsBoxes(DibView const& dst, DibView const& src, int kx, int ky, int inkLevel);

// Row kernel of the 4 x 4 reduction, per vector tier (all give the scalar bytes): out[X] =
// round(255 n / 16) for the n set bits of nibble X (the high nibble of a byte first) summed
// over the four rows, X < width; the rows start on a byte and hold (width + 1) / 2 bytes.
struct BitsQuarterKernels {
  void (*quarter)(uint8_t* out, uint8_t const* const rows[4], int width);
};
BitsQuarterKernels const& BitsQuarterScalar();
BitsQuarterKernels const& BitsQuarterSse41();
BitsQuarterKernels const& BitsQuarterAvx2();

// Packs `width` levels into a 1-bit row: black (bit 0) at or below inkLevel, white above.
void PackInk(uint8_t* out, uint8_t const* levels, int width, int inkLevel);

}  // namespace quilp
