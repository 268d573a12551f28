// pnm_file.cpp - the portable any-map formats: P1/P4 bitmaps (1 is black), P2/P5 grey maps and
// P3/P6 pixel maps, plain text or binary, any maximum value up to 65535 (scaled to 0..255 by
// value * 255 / maxval, rounded). The formats state no resolution. Writing: P4, P5 or P6.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

// Reads the header's and the plain formats' numbers, skipping white space and # comments.
struct Cursor {
  unsigned char const* d;
  std::size_t n, at;
  bool Number(uint64_t& value, uint64_t limit) {
    for (;;) {
      while (at < n && std::isspace(d[at])) ++at;
      if (at < n && d[at] == '#') {
        while (at < n && d[at] != '\n' && d[at] != '\r') ++at;
        continue;
      }
      break;
    }
    if (at >= n || !std::isdigit(d[at])) return false;
    value = 0;
    while (at < n && std::isdigit(d[at])) {
      value = value * 10 + uint64_t(d[at++] - '0');
      if (value > limit) return false;
    }
    return true;
  }
  // A plain bitmap's digit: 0 or 1, spaces optional.
  bool Bit(int& bit) {
    while (at < n && std::isspace(d[at])) ++at;
    if (at >= n || (d[at] != '0' && d[at] != '1')) return false;
    bit = d[at++] - '0';
    return true;
  }
};

}  // namespace

Decoded DecodePnm(unsigned char const* data, std::size_t size, uint64_t maxPixels) {
  Decoded d;
  if (size < 2 || data[0] != 'P' || data[1] < '1' || data[1] > '6') {
    d.error = "not a PNM file";
    return d;
  }
  int const kind = data[1] - '0';
  bool const plain = kind <= 3, bitmap = kind == 1 || kind == 4, colour = kind == 3 || kind == 6;
  Cursor c{data, size, 2};
  uint64_t width = 0, height = 0, maxval = 1;
  if (!c.Number(width, 1u << 20) || !c.Number(height, 1u << 20) || (!bitmap && !c.Number(maxval, 65535)) ||
      maxval < 1) {
    d.error = "truncated or malformed PNM header";
    return d;
  }
  Dib page = NewPage(width, height, bitmap ? 1 : colour ? 24 : 8, maxPixels, d.error);
  if (!page) return d;
  if (!plain) ++c.at;  // the single white-space byte before binary data
  int const samples = colour ? 3 : 1, sampleBytes = maxval > 255 ? 2 : 1;
  uint64_t const rowBytes = bitmap ? (width + 7) / 8 : width * samples * sampleBytes;
  if (!plain && (c.at > size || (size - c.at) / rowBytes < height)) {
    d.error = "truncated (pixels)";
    return d;
  }
  auto scale = [maxval](uint64_t v) { return uint8_t((std::min(v, maxval) * 255 + maxval / 2) / maxval); };
  for (uint64_t y = 0; y < height; ++y) {
    unsigned char* dst = page->GetLine(int(y));
    unsigned char const* src = data + c.at;
    if (bitmap && !plain) {  // P4: 1 is black, the record's 1 is white
      for (uint64_t k = 0; k < rowBytes; ++k) dst[k] = uint8_t(~src[k]);
      if (width % 8) dst[rowBytes - 1] &= uint8_t(0xFF00 >> (width % 8));
      c.at += rowBytes;
      continue;
    }
    for (uint64_t x = 0; x < width; ++x) {
      for (int k = 0; k < (bitmap ? 1 : samples); ++k) {
        uint64_t v = 0;
        if (bitmap) {
          int bit = 0;
          if (!c.Bit(bit)) {
            d.error = "truncated or malformed PNM pixels";
            return d;
          }
          if (!bit) dst[x / 8] |= uint8_t(0x80 >> (x % 8));
          continue;
        }
        if (plain) {
          if (!c.Number(v, 65535)) {
            d.error = "truncated or malformed PNM pixels";
            return d;
          }
        } else {
          std::size_t const at = std::size_t((x * samples + k) * sampleBytes);
          v = sampleBytes == 2 ? uint64_t(src[at]) << 8 | src[at + 1] : src[at];
        }
        dst[colour ? 3 * x + 2 - k : x] = scale(v);  // PNM is red first, records blue first
      }
    }
    if (!plain) c.at += rowBytes;
  }
  d.pages.push_back(std::move(page));
  return d;
}

std::string EncodePnm(DibInfo const* dib, std::vector<unsigned char>& out) {
  int const bits = dib->BitsPerPixel();
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32) return "PNM takes 1, 8, 24 or 32 bits";
  std::size_t const width = std::size_t(dib->Width());
  std::string const header = std::string(bits == 1 ? "P4" : bits == 8 ? "P5" : "P6") + "\n" +
                             std::to_string(width) + " " + std::to_string(dib->Height()) + "\n" +
                             (bits == 1 ? "" : "255\n");
  std::size_t const rowBytes = bits == 1 ? (width + 7) / 8 : bits == 8 ? width : 3 * width;
  out.assign(header.begin(), header.end());
  out.resize(header.size() + rowBytes * std::size_t(dib->Height()));
  unsigned char* dst = out.data() + header.size();
  for (int y = 0; y < dib->Height(); ++y, dst += rowBytes) {
    unsigned char const* src = dib->GetLine(y);
    if (bits == 1) {
      for (std::size_t k = 0; k < rowBytes; ++k) dst[k] = uint8_t(~src[k]);
    } else if (bits == 8) {
      std::memcpy(dst, src, rowBytes);
    } else {
      int const step = bits / 8;
      for (std::size_t x = 0; x < width; ++x)
        for (int k = 0; k < 3; ++k) dst[3 * x + k] = src[step * x + 2 - k];
    }
  }
  return "";
}

}  // namespace quilp_cli
