// images.h - test helpers: owning pointers, random and made images, pixel access.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "quilp32.h"

namespace testing_support {

struct DibDeleter {
  void operator()(DibInfo* dib) const { DibFree(dib); }
};
using DibPtr = std::unique_ptr<DibInfo, DibDeleter>;

// A record of the given depth whose pixel bytes (padding included) are random.
// topDown stores the rows top-down (negative height).
DibPtr RandomDib(int width, int height, int bitCount, bool topDown, uint32_t seed);

// A BMP file with a 40-byte header (its rows as stored) as a record; null when it is missing or
// not such a file.
DibPtr ReadBmp(std::string const& path);

// Visual pixel byte `channel` of (x, y) for 8-, 24- and 32-bit records.
inline uint8_t& Px(DibInfo const* dib, int x, int y, int channel = 0) {
  return dib->GetLine(y)[x * (dib->BitsPerPixel() / 8) + channel];
}
// Bit of a 1-bit record at (x, y).
inline int Bit(DibInfo const* dib, int x, int y) {
  return (dib->GetLine(y)[x / 8] >> (7 - x % 8)) & 1;
}

// Same size, depth and visible pixels (row padding and the spare bits of 1-bit rows aside).
inline bool SamePixels(DibInfo const* a, DibInfo const* b) {
  if (a->Width() != b->Width() || a->Height() != b->Height() ||
      a->BitsPerPixel() != b->BitsPerPixel())
    return false;
  int const bits = a->Width() * a->BitsPerPixel();
  uint8_t const mask = uint8_t(0xFF << (8 - bits % 8));
  for (int y = 0; y < a->Height(); ++y)
    if (std::memcmp(a->GetLine(y), b->GetLine(y), std::size_t(bits / 8)) ||
        (bits % 8 && (a->GetLine(y)[bits / 8] ^ b->GetLine(y)[bits / 8]) & mask))
      return false;
  return true;
}

// Widths that catch vector tails and lane seams.
inline constexpr int kAwkwardWidths[] = {1, 7, 15, 16, 17, 31, 33, 47, 64, 77, 100};

}  // namespace testing_support
