// dib_info.cpp - the DibInfo accessors: palette, stride and the visual row mapping.
//
// Positive biHeight stores rows bottom-up, so visual row y is stored row Height - 1 - y;
// zero or negative biHeight stores them top-down. Strides are rows padded to 4 bytes.
#include "quilp32.h"

#include <cstdlib>
#include <cstring>

int DibInfo::BitsPerPixel() const {
  // Both fields are 16 bits: their product can pass INT32_MAX in a host's header, and then
  // saturates (no depth that large is taken by any operation).
  int64_t const bits = int64_t(biPlanes) * biBitCount;
  return bits > INT32_MAX ? INT32_MAX : static_cast<int>(bits);
}

int DibInfo::NumColors() const {
  if (biClrUsed != 0) return static_cast<int>(biClrUsed);
  return biBitCount < 9 ? 1 << biBitCount : 0;
}

int DibInfo::PaletteSize() const {
  // A host may set biClrUsed to anything; the product saturates instead of overflowing.
  int64_t const bytes = 4 * int64_t(NumColors());
  return bytes > INT32_MAX ? INT32_MAX : bytes < 0 ? 0 : static_cast<int>(bytes);
}

int DibInfo::ByteWidth() const {
  int64_t const bits = int64_t(biBitCount) * biPlanes * biWidth;
  return static_cast<int>(((bits + 31) / 8) & ~int64_t{3});
}

tagRGBQUAD* DibInfo::PalPtr() const {
  return reinterpret_cast<tagRGBQUAD*>(
      const_cast<unsigned char*>(reinterpret_cast<unsigned char const*>(this)) + biSize);
}

unsigned char* DibInfo::BitsPtr() const {
  return reinterpret_cast<unsigned char*>(PalPtr()) + 4 * static_cast<std::ptrdiff_t>(NumColors());
}

unsigned char* DibInfo::GetLine(int row) const {
  if (row < 0 || row >= Height()) return nullptr;
  std::ptrdiff_t const stored = biHeight > 0 ? Height() - row - 1 : row;
  return BitsPtr() + stored * ByteWidth();
}

int DibInfo::XPelsPerMeter() const { return biXPelsPerMeter; }
int DibInfo::YPelsPerMeter() const { return biYPelsPerMeter; }

int DibInfo::Height() const {
  // abs() of INT32_MIN would overflow; such a header is malformed anyway.
  return biHeight < 0 ? (biHeight == INT32_MIN ? INT32_MAX : -biHeight) : biHeight;
}

int DibInfo::Width() const { return biWidth; }

DibInfo& DibInfo::operator=(DibInfo const& other) {
  if (this != &other) std::memcpy(static_cast<tagBITMAPINFOHEADER*>(this),
                                  static_cast<tagBITMAPINFOHEADER const*>(&other),
                                  sizeof(tagBITMAPINFOHEADER));
  return *this;
}
