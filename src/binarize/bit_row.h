// bit_row.h - packs per-pixel decisions into a 1-bit row.
#pragma once

#include <cstdint>

namespace quilp {
namespace {

// Writes (width + 7) / 8 bytes, leftmost pixel in the most significant bit: bit x is 0
// (black) where black(x) is true, and the bits past the width are 1.
template <class Black>
inline void PackRow(uint8_t* bits, int width, Black&& black) {
  int x = 0;
  for (; x + 8 <= width; x += 8) {
    unsigned byte = 0xFF;
    for (int j = 0; j < 8; ++j) byte &= ~(unsigned(black(x + j)) << (7 - j));
    bits[x >> 3] = static_cast<uint8_t>(byte);
  }
  if (x < width) {
    unsigned byte = 0xFF;
    for (int j = 0; x + j < width; ++j) byte &= ~(unsigned(black(x + j)) << (7 - j));
    bits[x >> 3] = static_cast<uint8_t>(byte);
  }
}

}  // namespace
}  // namespace quilp
