// flow_map.h - the white-space map of a page at the layout scale.
//
// Each pixel of the reduced page (about 75 dpi, the scale segmentation works at) holds its
// Euclidean distance to the nearest ink, rounded, saturated at 255; ink is 0. The white
// channels between columns and between blocks are the ridges of this map: a gutter g pixels
// wide shows as a bright vertical line of value about g / 2 running the height of the
// columns, the space between paragraphs as fainter horizontal ones, and the valleys are the
// text itself. Watershed segmentation of the map (seeds: the pixels within a few pixels of
// ink) gives each block its cell. Cost: the exact distance transform, a few operations per
// pixel.
#pragma once

#include <cstdint>
#include <vector>

#include "morph/ink_bits.h"

namespace quilp {

// `map` gets small.Width() x small.Height() values in visual order. False when memory runs
// out.
bool FlowMap(InkBits const& small, std::vector<uint8_t>& map);

}  // namespace quilp
