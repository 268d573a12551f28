// canonize.cpp - rewriting pixels for the standard palettes: 1-bit pixels through a
// two-entry truth table (a byte at a time), 8-bit indices through a 256-entry lookup.
// Cost: one read and one write per pixel (per byte of eight pixels for 1-bit).
#include "record/canonize.h"

#include <cstdint>
#include <cstring>

namespace quilp {

void MapBitsThroughPalette(DibView const& dst, DibView const& src, int const white[2]) {
  int const bytes = (src.width + 7) / 8;
  int const tail = src.width % 8;
  uint8_t const lastMask = tail ? uint8_t(0xFF << (8 - tail)) : 0xFF;
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < src.height; ++i) {
    int const y = bottomUp ? src.height - 1 - i : i;
    uint8_t const* in = src.Row(y);
    uint8_t* out = dst.Row(y);
    for (int j = 0; j < bytes; ++j) {
      uint8_t const b = in[j];
      // Set bits take white[1], clear bits white[0].
      uint8_t v = uint8_t((white[1] ? b : 0) | (white[0] ? uint8_t(~b) : 0));
      if (j == bytes - 1) v &= lastMask;
      out[j] = v;
    }
  }
}

void MapIndicesThroughPalette(DibView const& dst, DibView const& src, tagRGBQUAD const* palette,
                              int colours, int dstBytesPerPixel) {
  uint8_t table[256][3] = {};
  for (int i = 0; i < 256 && i < colours; ++i) {
    table[i][0] = palette[i].rgbBlue;
    table[i][1] = palette[i].rgbGreen;
    table[i][2] = palette[i].rgbRed;
  }
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < src.height; ++i) {
    int const y = bottomUp ? src.height - 1 - i : i;
    uint8_t const* in = src.Row(y);
    uint8_t* out = dst.Row(y);
    if (dstBytesPerPixel == 1) {
      for (int x = 0; x < src.width; ++x) out[x] = table[in[x]][0];
    } else {
      for (int x = 0; x < src.width; ++x) std::memcpy(out + 3 * x, table[in[x]], 3);
    }
  }
}

}  // namespace quilp
