// planes.h - test helpers: planes over records, and brute-force window extremes.
#pragma once

#include <cstdint>

#include "params/flow_control.h"

namespace testing_support {

// The plane of an area of a record (the whole record when no area is given), as the
// keyed-parameter frame describes it.
inline quilp::DibPlane PlaneOf(DibInfo const* dib, quilp::Area const& area) {
  return quilp::MakePlane(dib, area);
}
inline quilp::DibPlane PlaneOf(DibInfo const* dib) {
  return quilp::MakePlane(dib, quilp::Area{0, 0, dib->Width(), dib->Height()});
}

// Brute force: the extreme of get(x', y') over the window of half sizes h, v around (x, y),
// cut at 0..w-1 and 0..ht-1.
template <class Get>
int WindowExtreme(Get get, int x, int y, int w, int ht, int h, int v, bool maximum) {
  int best = maximum ? -1 : 256;
  for (int yy = y - v; yy <= y + v; ++yy)
    for (int xx = x - h; xx <= x + h; ++xx) {
      if (xx < 0 || yy < 0 || xx >= w || yy >= ht) continue;
      int const s = get(xx, yy);
      best = maximum ? (s > best ? s : best) : (s < best ? s : best);
    }
  return best;
}

}  // namespace testing_support
