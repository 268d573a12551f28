// ink_pages.h - test helpers for the 1-bit page operations: ink access and sparse random ink.
#pragma once

#include <cstdint>
#include <random>

#include "support/images.h"

namespace testing_support {

// Ink is a clear bit.
inline bool Ink(DibInfo const* dib, int x, int y) { return Bit(dib, x, y) == 0; }
inline void PutInk(DibInfo* dib, int x, int y, bool ink) {
  uint8_t& b = dib->GetLine(y)[x / 8];
  uint8_t const m = uint8_t(0x80 >> (x % 8));
  b = ink ? uint8_t(b & ~m) : uint8_t(b | m);
}

// A white 1-bit record with random ink blobs (small rectangles) covering about `share`.
inline DibPtr BlobPage(int width, int height, bool topDown, uint32_t seed, double share = 0.3) {
  DibPtr dib(DibCreate(width, topDown ? -height : height, 11811, 11811, 1));
  std::mt19937 rng(seed);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) PutInk(dib.get(), x, y, false);
  int const blobs = int(share * width * height / 6) + 1;
  for (int i = 0; i < blobs; ++i) {
    int const x0 = int(rng() % unsigned(width)), y0 = int(rng() % unsigned(height));
    int const w = 1 + int(rng() % 4), h = 1 + int(rng() % 3);
    for (int y = y0; y < y0 + h && y < height; ++y)
      for (int x = x0; x < x0 + w && x < width; ++x) PutInk(dib.get(), x, y, true);
  }
  return dib;
}

}  // namespace testing_support
