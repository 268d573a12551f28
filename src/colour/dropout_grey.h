// dropout_grey.h - grey in which coloured ink turns light and neutral ink keeps its darkness.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// The per-pixel rule, with b0, b1, b2 a pixel's first three bytes (any fourth is skipped):
//   mean   = (b0 + b1 + b2 + 1) / 3                      (equal thirds, halves upward)
//   excess = max(0, max(b) - min(b) - tolerance)          (chroma beyond the tolerance)
//   grey   = min(255, mean + (excess * strength + 8) / 16)
// strength 0..256 (sixteenths of a level per chroma level), tolerance 0..255.
struct DropoutGreyRule {
  int strength;
  int tolerance;
};

// Row kernels of the family; vector tables must equal the scalar one bit for bit.
struct DropoutGreyKernels {
  void (*bgr)(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule);   // 3 bytes
  void (*bgra)(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule);  // 4 bytes
};
DropoutGreyKernels const& DropoutGreyKernelsScalar();
DropoutGreyKernels const& DropoutGreyKernelsSse41();
DropoutGreyKernels const& DropoutGreyKernelsAvx2();
DropoutGreyKernels const& DropoutGreyKernelsActive();

// The rule over a 24- or 32-bit area (bytesPerPixel 3 or 4) into an 8-bit area of its size,
// rows in storage order.
void DibDropoutGreyPlane(DibView dst, DibView src, int bytesPerPixel, DropoutGreyRule const& rule);

}  // namespace quilp
