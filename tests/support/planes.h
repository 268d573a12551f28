// planes.h - test helpers: planes over records, and brute-force window extremes.
#pragma once

#include <cstdint>

#include "params/plane.h"
#include "quilp32.h"
#include "record/rect.h"
#include "record/view.h"

namespace testing_support {

// The plane of an area of a record, as the keyed-parameter frame describes it.
inline quilp::DibPlane PlaneOf(DibInfo const* dib, quilp::Area const& area) {
  quilp::DibView const v = quilp::MakeView(dib, area);
  quilp::DibPlane p;
  p.width = area.width;
  p.height = area.height;
  p.stride = v.step;
  p.bitOffset = dib->BitsPerPixel() == 1 ? area.left % 8 : 0;
  p.format = quilp::FormatForDepth(dib->BitsPerPixel());
  p.data = v.top;
  return p;
}
inline quilp::DibPlane PlaneOf(DibInfo const* dib) {
  return PlaneOf(dib, quilp::Area{0, 0, dib->Width(), dib->Height()});
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
