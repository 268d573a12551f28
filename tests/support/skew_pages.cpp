#include "support/skew_pages.h"

#include <cmath>

#include "pages/page_maker.h"

namespace testing_support {

DibPtr SkewedGreyPage(double degrees, uint32_t seed, int width, int height, bool topDown) {
  quilp_pages::PageSpec spec;
  spec.width = width;
  spec.height = height;
  spec.dpi = 300;
  spec.bitCount = 8;
  spec.topDown = topDown;
  spec.skewDegrees = degrees;
  spec.noise = 12;
  spec.unevenness = 0.3;
  spec.stamp = false;
  spec.photo = false;
  spec.seed = seed;
  return DibPtr(quilp_pages::MakePage(spec));
}

double TangentUnits(double degrees) { return std::tan(degrees * M_PI / 180.0) * 1024.0; }

}  // namespace testing_support
