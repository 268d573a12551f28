// watershed.h - watershed segmentation of an 8-bit map by priority flooding.
//
// Seeds are the 8-connected groups of pixels at or below `seedLevel`, or, when seedLevel is
// negative, the regional minima (8-connected plateaus with no lower neighbour). Flooding
// follows Meyer: a bucket queue of the 256 levels, first in first out within a level, takes
// the lowest pixel waiting; each pixel takes the label of the neighbour that first reached it
// and is queued once, at the higher of its own level and the level being flooded. Every pixel
// ends in exactly one region (no watershed lines). Cost: a few operations and two queue moves
// per pixel; memory: two ints per pixel.
#pragma once

#include <cstdint>
#include <vector>

namespace quilp {

// Labels 1..count of a width x height map in visual order, rows of `width` bytes with `step`
// bytes between them. Returns the number of regions, or -1 when memory runs out.
int Watershed(uint8_t const* top, std::ptrdiff_t step, int width, int height, int seedLevel,
              std::vector<int32_t>& labels);

}  // namespace quilp
