// shear.h - exact shears (whole pixels moved, none interpolated) and the rotation made of
// three of them, at every depth.
#pragma once

#include <cstdint>
#include <vector>

#include "record/view.h"

namespace quilp {

// Pixel format and paper of a shear: bitsPerPixel 1, 8, 24 or 32; paper bytes for byte depths
// (1-bit paper is white, a set bit). 1-bit destinations start on a byte boundary.
struct ShearFormat {
  int bitsPerPixel = 8;
  uint8_t paper[4] = {255, 255, 255, 255};
};

// dst(u, v) = src(u - shift[v], v + dy), paper where that is outside src. shift has
// dst.height entries.
void ShiftRows(DibView const& dst, DibView const& src, ShearFormat const& f,
               int const* shift, int dy);
// dst(u, v) = src(u, v - shift[u]), paper where that is outside src. dst and src have the
// same width; shift has dst.width entries. False (dst partly written) when memory for the
// column runs runs out.
bool ShiftColumns(DibView const& dst, DibView const& src, ShearFormat const& f,
                  int const* shift);

// The shifts of an exact shear by `tangent` of n rows (or columns) about `centre`:
// round(tangent * (i - centre)), halves away from zero, then all moved by -low so the
// smallest is 0; `low` is returned in `low`. Returns the span (the largest shift), which the
// sheared size adds. |tangent * n| must stay below 2^30.
int ShearShifts(double tangent, int n, double centre, std::vector<int>& shift, int& low);

// src turned by `angle` radians (|angle| <= pi/4; positive clockwise as seen) with three
// exact shears, horizontal by -tan(angle/2), vertical by sin(angle), horizontal again, written
// into dst centred on src's centre (dst may be larger, smaller or the same size). False when
// the intermediate images cannot be allocated.
bool RotateByShears(DibView const& dst, DibView const& src, ShearFormat const& f, double angle);

}  // namespace quilp
