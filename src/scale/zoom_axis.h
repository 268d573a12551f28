// zoom_axis.h - the taps of one axis of a zoom: which source pixels feed each result pixel,
// with integer weights.
#pragma once

#include <cstdint>
#include <vector>

namespace quilp {

struct ZoomTap {
  int index;        // source pixel
  uint32_t weight;  // its share, in units of the axis
};

// taps[first[X] .. first[X + 1]) feed result pixel X; the weights of every X sum to `unit`.
struct ZoomAxis {
  std::vector<ZoomTap> taps;
  std::vector<uint32_t> first;
  uint32_t unit = 1;
  bool boxes = false;  // every source pixel feeds exactly one result pixel with weight 1
};

// Result length of a zoom: round(length * factor), at least 1; 0 when that does not fit an
// int (or factor is not positive and finite).
int ZoomLength(int length, double factor);

// Shrinking (dstLength <= srcLength): the exact area weights. Result pixel X covers source
// [X s / d, (X + 1) s / d); measured in 1/(d / g) of a source pixel (g = gcd(s, d)) every
// overlap is an integer and a footprint is unit = s / g long.
// Growing (dstLength > srcLength): bilinear weights in 1/256, the result pixel's centre mapped
// to (X + 0.5) s / d - 0.5 in the source, edges repeated.
// Throws std::bad_alloc when memory runs out.
ZoomAxis MakeZoomAxis(int srcLength, int dstLength);

}  // namespace quilp
