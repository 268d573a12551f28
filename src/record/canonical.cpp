// canonical.cpp - the canonical record check.
//
// Reads the header and at most the palette (2 entries for 1-bit, 256 for 8-bit); never the
// pixels. The checks run in a fixed order and the first that fails decides the grade, so a
// record with several faults always gets the same answer: header version, planes and
// resolutions, compression, size, image byte count, row order, then depth and palette.
// Sizes are compared in 64-bit arithmetic, so no header value can overflow them.
#include "record/canonical.h"

#include <cstdint>

namespace quilp {
namespace {

enum Grade : int {
  kNoRecord = -1,
  kCanonical = 0,
  kConvertible = 1,
  kMalformed = 2,
  kUnsupported = 3,
};

constexpr uint32_t kInfoHeaderSize = 40;
constexpr int kMaxSide = 65535;
constexpr int kBottomUp = 1, kTopDown = 2;  // DibDirection values

bool PaletteEntryIs(tagRGBQUAD const& e, uint8_t v) {
  return e.rgbBlue == v && e.rgbGreen == v && e.rgbRed == v;  // reserved byte not looked at
}

}  // namespace

int CanonicalGrade(DibInfo const* dib, int direction) {
  if (!dib) return kNoRecord;
  if (dib->biSize != kInfoHeaderSize) return kUnsupported;
  if (dib->biPlanes != 1 || dib->XPelsPerMeter() < 0 || dib->YPelsPerMeter() < 0)
    return kMalformed;
  // 1..5: run-length (8 and 4 bits), bit fields, JPEG, PNG.
  if (dib->biCompression >= 1 && dib->biCompression <= 5) return kUnsupported;
  if (dib->biCompression != 0) return kMalformed;
  // A height of INT32_MIN has no absolute value; it reads as above the limit.
  int64_t const height = dib->biHeight < 0 ? -int64_t(dib->biHeight) : int64_t(dib->biHeight);
  int64_t const width = dib->biWidth;
  if (height <= 0 || width <= 0) return kMalformed;
  if (height > kMaxSide || width > kMaxSide) return kUnsupported;
  int64_t const bits = int64_t(dib->biBitCount) * dib->biPlanes * width;
  int64_t const stride = ((bits + 31) / 8) & ~int64_t{3};
  if (dib->biSizeImage != 0 && int64_t(dib->biSizeImage) != height * stride) return kMalformed;
  if ((direction == kBottomUp && dib->biHeight < 0) || (direction == kTopDown && dib->biHeight > 0))
    return kConvertible;
  tagRGBQUAD const* palette = dib->PalPtr();
  switch (dib->BitsPerPixel()) {
    case 1:
      if (dib->biClrUsed != 0 && dib->biClrUsed != 2) return kConvertible;
      return PaletteEntryIs(palette[0], 0) && PaletteEntryIs(palette[1], 255) ? kCanonical
                                                                             : kConvertible;
    case 8:
      if (dib->biClrUsed != 0 && dib->biClrUsed != 256) return kConvertible;
      for (int i = 0; i < 256; ++i)
        if (!PaletteEntryIs(palette[i], uint8_t(i))) return kConvertible;
      return kCanonical;
    case 24:
      return dib->biClrUsed == 0 ? kCanonical : kConvertible;
    default:  // 32 bits included: the operations do not take them
      return kUnsupported;
  }
}

}  // namespace quilp
