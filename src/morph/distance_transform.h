// distance_transform.h - distance of each measured pixel to the nearest pixel of the other
// class, on 1-bit pages.
//
// Euclidean: exact squared distances in linear time by two separable passes (Felzenszwalb and
// Huttenlocher): the distance along each column by a forward and a backward scan of rows,
// then along each row the lower envelope of the parabolas g(q)^2 + (x - q)^2 over the columns
// q, read off left to right. City-block and chessboard: two raster scans with the 4- or
// 8-neighbour chamfer, which is exact for those metrics. Everything beyond the area counts as
// paper: measuring ink, the pixels just outside are the nearest paper of the border pixels.
// Cost: a few operations per pixel and four bytes per pixel of working memory.
#pragma once

#include <cstdint>
#include <vector>

#include "morph/ink_bits.h"

namespace quilp {

enum class DistanceMetric { kEuclid = 0, kCity = 1, kChess = 2 };

// No pixel of the other class anywhere: larger than any distance of a 65535-pixel side.
inline constexpr uint32_t kDistanceFar = 0xFFFFFFFFu;

// out gets width x height values in visual order: 0 on pixels not measured, else the distance
// (squared for kEuclid), or kDistanceFar. measureInk chooses the measured class. False when
// memory runs out.
bool DistanceMap(std::vector<uint32_t>& out, InkBits const& ink, bool measureInk,
                 DistanceMetric metric);

// round(sqrt(squared)) exactly, halves upward.
uint32_t RoundedRoot(uint64_t squared);

}  // namespace quilp
