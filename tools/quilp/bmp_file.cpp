// bmp_file.cpp - BMP files in and out. A BMP file is the record behind a 14-byte file header,
// so reading checks the headers, then copies the rows into a record made by DibCreate.
//
// 8-bit files whose palette is not the grey ramp are expanded to 24 bits, and 1-bit files
// whose palette is white, black are inverted, so that every record read carries the
// library's standard palettes and means what its pixel values say.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

uint32_t U32(unsigned char const* p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24; }
uint16_t U16(unsigned char const* p) { return uint16_t(p[0] | p[1] << 8); }
void Put32(unsigned char* p, uint32_t v) { for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i)); }
void Put16(unsigned char* p, uint16_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }

// The whole file, or an error that names it.
std::vector<unsigned char> ReadFile(std::string const& path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) throw CliError("'" + path + "' is a folder, not a file");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw CliError("cannot open '" + path + "'");
  try {
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)),
                                      std::istreambuf_iterator<char>());
  } catch (std::exception const& e) {
    throw CliError("cannot read '" + path + "': " + e.what());
  }
}

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

}  // namespace

Dib ReadBmp(std::string const& path) { return DecodeBmp(ReadFile(path), "'" + path + "'"); }

Dib DecodeBmp(std::vector<unsigned char> const& f, std::string const& who) {
  if (f.size() < 2 || f[0] != 'B' || f[1] != 'M') throw CliError(who + " is not a BMP file");
  if (f.size() < 54) throw CliError(who + " is truncated (no complete header)");
  uint32_t const offset = U32(&f[10]), headerSize = U32(&f[14]);
  if (headerSize < 40 || 14 + uint64_t(headerSize) > f.size())
    throw CliError(who + " has an unsupported or truncated info header");
  unsigned char const* h = &f[14];
  int32_t const width = int32_t(U32(h + 4)), height = int32_t(U32(h + 8));
  uint16_t const planes = U16(h + 12), bits = U16(h + 14);
  uint32_t const compression = U32(h + 16), clrUsed = U32(h + 32);
  if (planes != 1) throw CliError(who + " has " + std::to_string(planes) + " planes");
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32)
    throw CliError(who + ": unsupported depth of " + std::to_string(bits) + " bits");
  // Compression 3 (bit fields) only describes where the channels lie in each pixel; the masks
  // follow a 40-byte header or sit in the larger headers' own fields.
  bool const bitFields = compression == 3 && bits == 32;
  if (compression != 0 && !bitFields)
    throw CliError(who + " is compressed; only uncompressed BMP and 32-bit bit fields are read");
  uint64_t const masksEnd = 14 + uint64_t(headerSize) + (bitFields && headerSize == 40 ? 12 : 0);
  if (bitFields && 14 + 40 + 12 > f.size()) throw CliError(who + " is truncated (bit-field masks)");
  Channel blue, green, red;
  if (bitFields && !(red.Set(U32(h + 40)) && green.Set(U32(h + 44)) && blue.Set(U32(h + 48))))
    throw CliError(who + " has bit-field masks that are not runs of bits");
  if (width <= 0 || height == 0 || height == INT32_MIN || width > 65535 ||
      (height < 0 ? -height : height) > 65535)
    throw CliError(who + " has a bad size " + std::to_string(width) + " x " + std::to_string(height));
  uint32_t const colours = bits <= 8 ? (clrUsed ? clrUsed : 1u << bits) : 0;
  if (colours > 256u) throw CliError(who + " has a bad palette size");
  uint64_t const palOffset = masksEnd;
  if (palOffset + 4ull * colours > f.size()) throw CliError(who + " is truncated (palette)");
  if (offset < palOffset + 4ull * colours)
    throw CliError(who + " has its pixel data at byte " + std::to_string(offset) +
                   ", inside its headers");
  int const rows = height < 0 ? -height : height;
  uint64_t const stride = ((uint64_t(width) * bits + 31) / 32) * 4;
  if (uint64_t(offset) + stride * rows > f.size()) throw CliError(who + " is truncated (pixels)");

  unsigned char const* pal = &f[palOffset];
  bool greyRamp = bits == 8 && colours == 256, inverted = false;
  for (uint32_t i = 0; bits == 8 && i < colours && greyRamp; ++i)
    greyRamp = pal[4 * i] == i && pal[4 * i + 1] == i && pal[4 * i + 2] == i;
  if (bits == 1) {
    int const l0 = pal[0] + pal[1] + pal[2], l1 = colours > 1 ? pal[4] + pal[5] + pal[6] : 765;
    inverted = l0 > l1;
  }
  int const depth = bits == 8 && !greyRamp ? 24 : bits;
  Dib dib(DibCreate(width, height, int32_t(U32(h + 24)), int32_t(U32(h + 28)), depth));
  if (!dib) throw CliError(who + ": out of memory");
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
  return dib;
}

void WriteBmp(std::string const& path, DibInfo const* dib) {
  uint32_t const palette = uint32_t(dib->PaletteSize());
  uint32_t const pixels = uint32_t(dib->ByteWidth()) * uint32_t(dib->Height());
  std::vector<unsigned char> f(14 + 40 + palette + pixels);
  f[0] = 'B';
  f[1] = 'M';
  Put32(&f[2], uint32_t(f.size()));
  Put32(&f[10], 14 + 40 + palette);
  std::memcpy(&f[14], static_cast<tagBITMAPINFOHEADER const*>(dib), 40);
  Put32(&f[14], 40);
  Put16(&f[14 + 14], uint16_t(dib->BitsPerPixel()));
  Put16(&f[14 + 12], 1);
  Put32(&f[14 + 20], pixels);
  std::memcpy(&f[54], dib->PalPtr(), palette);
  std::memcpy(&f[54 + palette], dib->BitsPtr(), pixels);
  std::ofstream out(path, std::ios::binary);
  if (!out || !out.write(reinterpret_cast<char const*>(f.data()), std::streamsize(f.size())))
    throw CliError("cannot write '" + path + "'");
}

}  // namespace quilp_cli
