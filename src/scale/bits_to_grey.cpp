// bits_to_grey.cpp - 1-bit areas to grey (or coarser bits) by whole-number factors.
//
// A block row's set bits are counted column by column with one table load and one 64-bit
// add per source byte: the table spreads a byte's 8 bits over the 8 bytes of a word, and up
// to 255 rows add without a carry crossing bytes. Each result pixel then adds kx of those
// counts and looks its level up in a table of round(255 n / (kx ky)). Cost per source byte:
// one load, one add; per result pixel: kx byte adds and a lookup.
#include "scale/bits_to_grey.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace quilp {
namespace {

// Byte j (in memory order) of Spread()[b] is bit 7 - j of b: pixel j of the byte.
std::array<uint64_t, 256> const& Spread() {
  static std::array<uint64_t, 256> const table = [] {
    std::array<uint64_t, 256> t{};
    for (int b = 0; b < 256; ++b) {
      uint8_t bytes[8];
      for (int j = 0; j < 8; ++j) bytes[j] = uint8_t((b >> (7 - j)) & 1);
      std::memcpy(&t[std::size_t(b)], bytes, 8);
    }
    return t;
  }();
  return table;
}

}  // namespace

void PackInk(uint8_t* out, uint8_t const* levels, int width, int inkLevel) {
  if (width <= 0) return;
  std::memset(out, 0, (std::size_t(width) + 7) / 8);
  for (int x = 0; x < width; ++x)
    if (levels[x] > inkLevel) out[x >> 3] = uint8_t(out[x >> 3] | (0x80u >> (x & 7)));
}

bool DibBitsBoxes(DibView const& dst, DibView const& src, int kx, int ky, int inkLevel) {
  int64_t const n = int64_t(kx) * ky;
  if ((src.left & 7) != 0 || ky > 255 || n > 65535) return false;
  std::array<uint64_t, 256> const& spread = Spread();
  std::size_t const bytes = (std::size_t(src.width) + 7) / 8;
  std::vector<uint64_t> counts(bytes);
  std::vector<uint8_t> level(std::size_t(n) + 1), levels(std::size_t(dst.width));
  for (int64_t v = 0; v <= n; ++v) level[std::size_t(v)] = uint8_t((v * 255 + n / 2) / n);
  bool const upward = src.step < 0;  // visit the source rows in storage order
  for (int k = 0; k < dst.height; ++k) {
    int const Y = upward ? dst.height - 1 - k : k;
    std::fill(counts.begin(), counts.end(), 0);
    for (int r = 0; r < ky; ++r) {
      uint8_t const* row = src.Row(Y * ky + (upward ? ky - 1 - r : r));
      for (std::size_t i = 0; i < bytes; ++i) counts[i] += spread[row[i]];
    }
    uint8_t const* c = reinterpret_cast<uint8_t const*>(counts.data());
    uint8_t* out = inkLevel < 0 ? dst.Row(Y) : levels.data();
    for (int X = 0; X < dst.width; ++X) {
      uint8_t const* block = c + std::size_t(X) * std::size_t(kx);
      uint32_t set = 0;
      for (int j = 0; j < kx; ++j) set += block[j];
      out[X] = level[set];
    }
    if (inkLevel >= 0) PackInk(dst.Row(Y), levels.data(), dst.width, inkLevel);
  }
  return true;
}

}  // namespace quilp
