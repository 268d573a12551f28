// zoom.h - zoomed previews: area averaging when shrinking, bilinear when growing.
#pragma once

#include "record/view.h"

namespace quilp {

// What a zoom writes.
enum class ZoomResult {
  kGrey,       // 8-bit grey: colour as the equal-thirds mean (b + g + r) / 3, a set bit as 255
  kSameDepth,  // the source's depth: bytes per channel; 1-bit by the share of ink (below)
};

// Writes the zoom of src (depth bitCount: 1, 8, 24 or 32) into dst, whose size decides the
// scale per axis. Per axis, a result no longer than the source averages each result pixel's
// footprint [X s / d, (X + 1) s / d) by exact area, fractional edge pixels weighted by their
// overlap, rounded half up; a longer result interpolates bilinearly (see MakeZoomAxis). A
// 1-bit result is black (bit 0) where the grey level of the same pixel is at most
// InkLevel(min(d / s, 1) over both axes): a stroke one pixel wide keeps a pixel per footprint.
// False when memory runs out (dst then partly written).
bool DibZoomView(DibView const& dst, DibView const& src, int bitCount, ZoomResult result);

// The grey level at or below which a 1-bit zoom pixel turns black, for scale `scale` <= 1:
// the ink share scale / 2 (half of a one-pixel stroke's share) as a level, rounded.
int InkLevel(double scale);

}  // namespace quilp
