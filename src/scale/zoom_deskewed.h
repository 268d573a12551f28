// zoom_deskewed.h - the deskewed preview: rotation and zoom in one resampling pass.
#pragma once

#include "record/view.h"

namespace quilp {

// The largest skew a deskewed preview turns back, in radians (45 degrees).
constexpr double kMaxDeskewAngle = 0.78539816339744831;

// Writes into the 8-bit dst the grey of src (depth bitCount: 1, 8, 24 or 32; colour as the
// equal-thirds mean) turned by -angle about its centre and scaled to dst's size. A result at
// most as large as the source on both axes gathers: every source pixel is read once and
// spreads its grey bilinearly over the four result pixels around its turned centre, each
// result pixel being the weighted mean of what it gathered (255 when nothing). A larger
// result samples the rounded grey levels bilinearly at each result pixel's turned centre,
// the outside white and blended into the edges. Result rows are written in storage order. False when memory runs out.
bool DibZoomDeskewedView(DibView const& dst, DibView const& src, int bitCount, double angle);

}  // namespace quilp
