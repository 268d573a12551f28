#include "support/skew_pages.h"

#include <cmath>

#include "pages/page_maker.h"

namespace testing_support {

DibPtr SkewedGreyPage(double degrees, uint32_t seed, int width, int height, bool topDown) {
  quilp_pages::PageSpec layout;
  layout.width = width;
  layout.height = height;
  layout.dpi = 300;
  layout.bitCount = 8;
  layout.topDown = topDown;
  layout.skewDegrees = degrees;
  layout.noise = 12;
  layout.unevenness = 0.3;
  layout.stamp = false;
  layout.photo = false;
  layout.seed = seed;
  return DibPtr(quilp_pages::MakePage(layout));
}

double TangentUnits(double degrees) { return std::tan(degrees * M_PI / 180.0) * 1024.0; }

}  // namespace testing_support
