// bits_to_grey.cpp - 1-bit areas to grey (or coarser bits) by whole-number factors.
//
// A block row's set bits are counted column by column with one table load and one 64-bit
// add per source byte: the table spreads a byte's 8 bits over the 8 bytes of a word, and up
// to 255 rows add without a carry crossing bytes. Each result pixel then adds kx of those
// counts and looks its level up in a table of round(255 n / (kx ky)). Cost per source byte:
// one load, one add; per result pixel: kx byte adds and a lookup. Blocks of 4 x 4 (quarter
// size previews) count nibbles instead, 16 or 32 source bytes per step in the vector tiers.
#include "scale/bits_to_grey.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "simd/dispatch.h"

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

// Level of n set bits of 16: round(255 n / 16), halves up.
inline uint8_t QuarterLevel(int n) { return uint8_t((n * 255 + 8) >> 4); }

void QuarterRow(uint8_t* out, uint8_t const* const rows[4], int width) {
  static constexpr uint8_t kNibbleBits[16] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
  for (int X = 0; X < width; ++X) {
    int const shift = X & 1 ? 0 : 4;
    int n = 0;
    for (int r = 0; r < 4; ++r) n += kNibbleBits[(rows[r][X >> 1] >> shift) & 15];
    out[X] = QuarterLevel(n);
  }
}

// 4 x 4 blocks through the tier's row kernel.
void Quarter(DibView const& dst, DibView const& src, int inkLevel, std::vector<uint8_t>& levels) {
  BitsQuarterKernels const& k = simd::Pick(BitsQuarterScalar(), QUILP_VECTOR_TABLE(BitsQuarterSse41()),
                                           QUILP_VECTOR_TABLE(BitsQuarterAvx2()));
  bool const upward = src.step < 0;
  for (int j = 0; j < dst.height; ++j) {
    int const Y = upward ? dst.height - 1 - j : j;
    uint8_t const* rows[4];
    for (int r = 0; r < 4; ++r) rows[upward ? 3 - r : r] = src.Row(4 * Y + (upward ? 3 - r : r));
    uint8_t* out = inkLevel < 0 ? dst.Row(Y) : levels.data();
    k.quarter(out, rows, dst.width);
    if (inkLevel >= 0) PackInk(dst.Row(Y), levels.data(), dst.width, inkLevel);
  }
}

}  // namespace

BitsQuarterKernels const& BitsQuarterScalar() {
  static BitsQuarterKernels const table = {QuarterRow};
  return table;
}

void PackInk(uint8_t* out, uint8_t const* levels, int width, int inkLevel) {
  if (width <= 0) return;
  std::memset(out, 0, (std::size_t(width) + 7) / 8);
  for (int x = 0; x < width; ++x)
    if (levels[x] > inkLevel) out[x >> 3] = uint8_t(out[x >> 3] | (0x80u >> (x & 7)));
}

bool DibBitsBoxes(DibView const& dst, DibView const& src, int kx, int ky, int inkLevel) {
  int64_t const n = int64_t(kx) * ky;
  if ((src.left & 7) != 0 || ky > 255 || n > 65535) return false;
  if (kx == 4 && ky == 4) {
    std::vector<uint8_t> levels(std::size_t(dst.width));
    Quarter(dst, src, inkLevel, levels);
    return true;
  }
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
