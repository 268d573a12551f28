// bmp_file.cpp - BMP files in and out. A BMP file is the record behind a 14-byte file header,
// so reading checks the headers, then copies the rows into a record made by DibCreate.
//
// 8-bit files whose palette is not the grey ramp are expanded to 24 bits, and 1-bit files
// whose palette is white, black are inverted, so that every record read carries the
// library's standard palettes and means what its pixel values say. A resolution of 0 counts
// as none stated.
#include <cstring>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

uint32_t U32(unsigned char const* p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24; }
uint16_t U16(unsigned char const* p) { return uint16_t(p[0] | p[1] << 8); }
void Put32(unsigned char* p, uint32_t v) { for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i)); }
void Put16(unsigned char* p, uint16_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }

// Bit-field masks of 32-bit pixels: each channel's mask must be one run of bits.
struct Channel {
  uint32_t mask = 0;
  int shift = 0, bits = 0;
  bool Set(uint32_t m) {
    mask = m;
    if (!m) return true;  // an absent channel reads as 0
    while (!(m >> shift & 1)) ++shift;
    while (shift + bits < 32 && (m >> (shift + bits) & 1)) ++bits;
    return (uint64_t(m) >> shift) == (uint64_t{1} << bits) - 1;
  }
  // The channel's value scaled to 0..255.
  uint8_t Level(uint32_t pixel) const {
    if (!mask) return 0;
    uint32_t const v = (pixel & mask) >> shift;
    return bits >= 8 ? uint8_t(v >> (bits - 8)) : uint8_t(v * 255u / ((1u << bits) - 1));
  }
};

Decoded Fail(std::string why) {
  Decoded d;
  d.error = std::move(why);
  return d;
}

}  // namespace

Decoded DecodeBmp(unsigned char const* f, std::size_t size, uint64_t maxPixels) {
  if (size < 2 || f[0] != 'B' || f[1] != 'M') return Fail("not a BMP file");
  if (size < 54) return Fail("truncated (no complete header)");
  uint32_t const offset = U32(&f[10]), headerSize = U32(&f[14]);
  if (headerSize < 40 || 14 + uint64_t(headerSize) > size)
    return Fail("unsupported or truncated info header");
  unsigned char const* h = &f[14];
  int32_t const width = int32_t(U32(h + 4)), height = int32_t(U32(h + 8));
  uint16_t const planes = U16(h + 12), bits = U16(h + 14);
  uint32_t const compression = U32(h + 16), clrUsed = U32(h + 32);
  if (planes != 1) return Fail("has " + std::to_string(planes) + " planes");
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32)
    return Fail("unsupported depth of " + std::to_string(bits) + " bits");
  // Compression 3 (bit fields) only describes where the channels lie in each pixel; the masks
  // follow a 40-byte header or sit in the larger headers' own fields.
  bool const bitFields = compression == 3 && bits == 32;
  if (compression != 0 && !bitFields)
    return Fail("compressed; only uncompressed BMP and 32-bit bit fields are read");
  uint64_t const masksEnd = 14 + uint64_t(headerSize) + (bitFields && headerSize == 40 ? 12 : 0);
  if (bitFields && 14 + 40 + 12 > size) return Fail("truncated (bit-field masks)");
  Channel blue, green, red;
  if (bitFields && !(red.Set(U32(h + 40)) && green.Set(U32(h + 44)) && blue.Set(U32(h + 48))))
    return Fail("bit-field masks that are not runs of bits");
  if (width <= 0 || height == 0 || height == INT32_MIN || width > 65535 ||
      (height < 0 ? -height : height) > 65535)
    return Fail("bad size " + std::to_string(width) + " x " + std::to_string(height));
  uint32_t const colours = bits <= 8 ? (clrUsed ? clrUsed : 1u << bits) : 0;
  if (colours > 256u) return Fail("bad palette size");
  uint64_t const palOffset = masksEnd;
  if (palOffset + 4ull * colours > size) return Fail("truncated (palette)");
  if (offset < palOffset + 4ull * colours)
    return Fail("pixel data at byte " + std::to_string(offset) + ", inside its headers");
  int const rows = height < 0 ? -height : height;
  uint64_t const stride = ((uint64_t(width) * bits + 31) / 32) * 4;
  if (uint64_t(offset) + stride * rows > size) return Fail("truncated (pixels)");

  unsigned char const* pal = &f[palOffset];
  bool greyRamp = bits == 8 && colours == 256, inverted = false;
  for (uint32_t i = 0; bits == 8 && i < colours && greyRamp; ++i)
    greyRamp = pal[4 * i] == i && pal[4 * i + 1] == i && pal[4 * i + 2] == i;
  if (bits == 1) {
    int const l0 = pal[0] + pal[1] + pal[2], l1 = colours > 1 ? pal[4] + pal[5] + pal[6] : 765;
    inverted = l0 > l1;
  }
  int const depth = bits == 8 && !greyRamp ? 24 : bits;
  Decoded d;
  if (uint64_t(width) * uint64_t(rows) > maxPixels) return Fail("declares more pixels than the cap");
  Dib dib(DibCreate(width, height, int32_t(U32(h + 24)), int32_t(U32(h + 28)), depth));
  if (!dib) return Fail("out of memory");
  // Rows are stored in the file in the record's order, so stored row i maps to stored row i.
  for (int i = 0; i < rows; ++i) {
    unsigned char const* src = &f[offset + stride * i];
    unsigned char* dst = dib->BitsPtr() + size_t(dib->ByteWidth()) * i;
    if (bitFields) {
      for (int x = 0; x < width; ++x) {
        uint32_t const pixel = U32(src + 4 * x);
        dst[4 * x] = blue.Level(pixel);
        dst[4 * x + 1] = green.Level(pixel);
        dst[4 * x + 2] = red.Level(pixel);
      }
    } else if (depth == bits) {
      std::memcpy(dst, src, stride);
      if (inverted)
        for (uint64_t k = 0; k < stride; ++k) dst[k] = uint8_t(~dst[k]);
    } else {  // palette lookup into colour
      for (int x = 0; x < width; ++x) {
        uint32_t const idx = src[x] < colours ? src[x] : 0;
        std::memcpy(dst + 3 * x, pal + 4 * idx, 3);
      }
    }
  }
  d.hasResolution = dib->biXPelsPerMeter > 0 && dib->biYPelsPerMeter > 0;
  d.pages.push_back(std::move(dib));
  return d;
}

std::string EncodeBmp(DibInfo const* dib, std::vector<unsigned char>& f) {
  uint32_t const palette = uint32_t(dib->PaletteSize());
  uint64_t const pixels = uint64_t(dib->ByteWidth()) * uint64_t(dib->Height());
  if (14 + 40 + palette + pixels > UINT32_MAX) return "too large for a BMP file";
  f.assign(14 + 40 + palette + pixels, 0);
  f[0] = 'B';
  f[1] = 'M';
  Put32(&f[2], uint32_t(f.size()));
  Put32(&f[10], 14 + 40 + palette);
  std::memcpy(&f[14], static_cast<tagBITMAPINFOHEADER const*>(dib), 40);
  Put32(&f[14], 40);
  Put16(&f[14 + 14], uint16_t(dib->BitsPerPixel()));
  Put16(&f[14 + 12], 1);
  Put32(&f[14 + 20], uint32_t(pixels));
  std::memcpy(&f[54], dib->PalPtr(), palette);
  std::memcpy(&f[54 + palette], dib->BitsPtr(), pixels);
  return "";
}

}  // namespace quilp_cli
