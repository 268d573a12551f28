// zone_match.h - where a grey zone lies in a grey window: normalised cross-correlation,
// coarse to fine, with sub-pixel refinement (DibMatchZone).
#pragma once

#include <cstdint>

namespace quilp {

// A grey area in a contiguous buffer, rows top to bottom.
struct GreyZone {
  uint8_t const* pixels = nullptr;
  int width = 0, height = 0;
};

struct ZoneMatch {
  double x = 0.0, y = 0.0;  // top-left of the zone in the window, fractional
  double score = 0.0;       // at the integer best
};

// Smallest side of a zone searched at a reduced level: zones are halved while both sides of
// the half stay at least this long.
inline constexpr int kMatchCoarseSide = 16;

// False for a window smaller than the zone, a zone below 2 x 2 or of one level only, or when
// memory runs out.
bool DibMatchGrey(GreyZone const& zone, GreyZone const& window, ZoneMatch& match);

// Normalised cross-correlation of the zone with the window at placement (u, v), straight from
// the definition (the tests' and the coarse search's reference).
double ZoneScore(GreyZone const& zone, GreyZone const& window, int u, int v);

}  // namespace quilp
