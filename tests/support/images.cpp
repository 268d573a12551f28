#include "support/images.h"

#include <fstream>
#include <iterator>

namespace testing_support {

DibPtr RandomDib(int width, int height, int bitCount, bool topDown, uint32_t seed) {
  DibPtr dib(DibCreate(width, topDown ? -height : height, 3937, 3937, bitCount));
  if (!dib) return dib;
  std::mt19937 rng(seed);
  uint8_t* bits = dib->BitsPtr();
  for (uint32_t i = 0; i < dib->biSizeImage; ++i) bits[i] = static_cast<uint8_t>(rng());
  return dib;
}

DibPtr ReadBmp(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::string const f((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (f.size() < 54 || f[0] != 'B' || f[1] != 'M') return nullptr;
  BITMAPINFOHEADER h;
  uint32_t offset = 0;
  std::memcpy(&offset, &f[10], 4);
  std::memcpy(&h, &f[14], 40);
  DibPtr dib(DibCreate(h.biWidth, h.biHeight, h.biXPelsPerMeter, h.biYPelsPerMeter, h.biBitCount));
  std::size_t const pixels = dib ? std::size_t(dib->ByteWidth()) * std::size_t(dib->Height()) : 0;
  if (!dib || offset > f.size() || pixels > f.size() - offset) return nullptr;
  std::memcpy(dib->BitsPtr(), &f[offset], pixels);
  return dib;
}

}  // namespace testing_support
