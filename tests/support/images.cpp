#include "support/images.h"

namespace testing_support {

DibPtr RandomDib(int width, int height, int bitCount, bool topDown, uint32_t seed) {
  DibPtr dib(DibCreate(width, topDown ? -height : height, 3937, 3937, bitCount));
  if (!dib) return dib;
  std::mt19937 rng(seed);
  uint8_t* bits = dib->BitsPtr();
  for (uint32_t i = 0; i < dib->biSizeImage; ++i) bits[i] = static_cast<uint8_t>(rng());
  return dib;
}

}  // namespace testing_support
