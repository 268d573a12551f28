// threshold.h - grey levels to 1-bit pixels: the row kernels and DibThresholdView.
//
// Every global binarization of this library comes down to one row operation: a pixel becomes
// black (bit 0) exactly when its level lies in a band [lo, hi) of levels, and white (bit 1)
// otherwise. A threshold t makes the band [0, t), its inversion [t, 256); the Otsu bands of
// otsu_binarize.h are bands too.
#pragma once

#include <cstddef>
#include <cstdint>

#include "record/view.h"

namespace quilp {

// Row kernels of the family; the vector tables equal the scalar one bit for bit.
struct ThresholdKernels {
  // Writes the (width + 7) / 8 bytes of one 1-bit row, leftmost pixel in the most significant
  // bit: bit x is 0 exactly when lo <= src[x] < hi (0 <= lo, hi <= 256), and the bits past
  // `width` in the last byte are 1.
  void (*mark)(uint8_t const* src, uint8_t* dst, int width, int lo, int hi);
};
ThresholdKernels const& ThresholdKernelsScalar();
ThresholdKernels const& ThresholdKernelsSse41();
ThresholdKernels const& ThresholdKernelsAvx2();
ThresholdKernels const& ThresholdKernelsActive();

// A band of black levels [lo, hi).
struct LevelBand {
  int lo = 0, hi = 0;
};
// The band of a threshold: levels below t black, or with `invert` the levels at or above it.
static inline LevelBand ThresholdBand(uint8_t t, bool invert) {
  return invert ? LevelBand{t, 256} : LevelBand{0, t};
}

// Thresholds an 8-bit view into a 1-bit view whose first column starts a byte: each row gets
// its (width + 7) / 8 bytes written (bits past the width white), the rest of the row is left
// alone. Levels below the threshold are black, or with `invert` the levels at or above it.
// Only the low 8 bits of a caller's threshold reach here (256 behaves as 0). Returns 0 when
// the source is wider or taller than the destination or the destination view starts inside a
// byte, else 1.
int DibThresholdView(DibView const& dst, DibView const& src, uint8_t threshold, bool invert);

// The band written into whole rows of a 1-bit view starting at a byte: as DibThresholdView,
// and when `fillRow` is set the rest of each row (up to the record's stride) is set to 255 too.
void MarkBandRows(DibView const& dst, DibView const& src, LevelBand band, bool fillRow);

// Writes `width` pixels of a band into a 1-bit row at bit `offset` (0..7) of `dst`, touching
// no other bit. `scratch` holds at least (width + 7) / 8 + 2 bytes.
void PlaceBandRow(uint8_t const* src, uint8_t* dst, int offset, int width, LevelBand band,
                  uint8_t* scratch);
// Writes the `width` pixels of a 1-bit row into `dst` at bit `offset` (0..7), touching no
// other bit. `padded` holds a zero byte, the row's (width + 7) / 8 bytes, and a zero byte.
void PlaceBitRow(uint8_t const* padded, uint8_t* dst, int offset, int width);

}  // namespace quilp
