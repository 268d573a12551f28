// made_pages.h - small made pages for filter tests: paper shaded toward one corner, noise, and
// lines of dark text-like strokes.
#pragma once

#include <random>

#include "support/images.h"

namespace testing_support {

// An 8-bit page: paper at 235 darkened by up to `unevenness` * 120 toward the bottom right,
// +-noise, and lines of strokes (ink near 40) 3 pixels thick every 24 rows.
inline DibPtr ShadedTextPage(int width, int height, double unevenness, int noise = 6,
                             uint32_t seed = 1) {
  DibPtr page(DibCreate(width, height, 5906, 5906, 8));  // 150 dpi
  std::mt19937 rng(seed);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      double const shade = unevenness * 120.0 * (double(x) / width + double(y) / height) / 2.0;
      int v = int(235.0 - shade) + int(rng() % unsigned(2 * noise + 1)) - noise;
      int const row = y % 24, glyph = (x / 9) % 5;
      bool const inLine = y > 20 && y < height - 20 && x > 20 && x < width - 20 && row >= 6 && row < 18;
      bool const stroke = inLine && glyph != 4 && ((x % 9) < 3 || row < 9 || (glyph == 2 && row >= 15));
      if (stroke) v = 40 + int(rng() % 20u);
      Px(page.get(), x, y) = uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);
    }
  return page;
}

}  // namespace testing_support
