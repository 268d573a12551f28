// rect_morph.h - erosion and dilation by a rectangle: the drivers of TplErode / TplDilate.
//
// MorphRect erodes (minimum) or dilates (maximum) an area by a (2 hSize + 1) x (2 vSize + 1)
// rectangle as a horizontal pass on every row and a vertical pass on every column, each span
// cut at the area's borders (nothing outside the area takes part). Cost per pixel does not
// depend on the sizes.
//  - 8-bit areas: grey levels; 24-bit areas: each byte of a pixel on its own;
//  - 1-bit areas: the stored bits (AND / OR): set bits are the shapes. The source may start at
//    any bit offset; the destination must start at bit 0 of its byte, and the bits of its
//    last byte beyond the area's width are kept as they were.
// A half size of 0 leaves that direction alone. dst may be the very same area as src (in
// place); otherwise the two must not overlap.
#pragma once

#include <cstddef>
#include <cstdint>

#include "params/plane.h"

namespace quilp {

enum class MorphOp { kErode, kDilate };

// False when the planes differ in size or format, the format is not 1, 8 or 24 bits, a half
// size is negative, the 1-bit destination has a bit offset, or scratch memory ran out.
bool MorphRect(DibPlane const& dst, DibPlane const& src, int hSize, int vSize, MorphOp op);

// Byte-wise combinations of the vertical pass (1-bit rows use AND / OR, bytes min / max).
enum class ByteOp { kMin, kMax, kAnd, kOr };

// Kernel family; vector tables must equal the scalar one byte for byte.
struct MorphKernels {
  // Vertical pass over `bytes` byte columns of n rows, half size r >= 1; dst may equal src.
  bool (*vertical)(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                   std::ptrdiff_t srcStep, int bytes, int n, int r);
  // Horizontal pass of 8-bit rows: `rows` rows of `width` levels, half size r >= 1; dst may
  // equal src.
  bool (*horizontal8)(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                      std::ptrdiff_t srcStep, int width, int rows, int r);
};
MorphKernels const& MorphKernelsScalar();
MorphKernels const& MorphKernelsSse41();
MorphKernels const& MorphKernelsAvx2();
MorphKernels const& MorphKernelsActive();

}  // namespace quilp
