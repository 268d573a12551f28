// quarter_turn.cpp - quarter turns of byte and 1-bit areas.
//
// Byte depths: odd turns walk the destination in square tiles (rows in storage order), so
// the source rows a tile reads stay in cache while its rows are written; two turns reverse
// each row. 1-bit: odd turns gather eight source rows of one source byte column, transpose
// the 8 x 8 bit block with three rounds of masked swaps and write eight destination bytes;
// two turns read each destination byte's eight source bits and reverse them by table.
// Cost: about one read and one write per pixel (per eight pixels for 1-bit).
#include "geometry/quarter_turn.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "geometry/bit_span.h"

namespace quilp {
namespace {

constexpr int kTile = 64;

template <int B>
void TurnBytes(DibView const& dst, DibView const& src, int quarters) {
  int const W = src.width, H = src.height;
  bool const bottomUp = dst.step < 0;
  if (quarters == 0 || quarters == 2) {
    for (int i = 0; i < dst.height; ++i) {
      int const v = bottomUp ? dst.height - 1 - i : i;
      uint8_t* out = dst.Row(v);
      if (quarters == 0) {
        std::memcpy(out, src.Row(v), std::size_t(W) * B);
        continue;
      }
      uint8_t const* in = src.Row(H - 1 - v) + std::ptrdiff_t(W - 1) * B;
      for (int u = 0; u < W; ++u, out += B, in -= B)
        for (int c = 0; c < B; ++c) out[c] = in[c];
    }
    return;
  }
  int const tileRows = (dst.height + kTile - 1) / kTile;
  for (int ti = 0; ti < tileRows; ++ti) {
    int const t = bottomUp ? tileRows - 1 - ti : ti;
    int const v0 = t * kTile, v1 = std::min(dst.height, v0 + kTile);
    for (int u0 = 0; u0 < dst.width; u0 += kTile) {
      int const u1 = std::min(dst.width, u0 + kTile);
      for (int k = 0; k < v1 - v0; ++k) {
        int const v = bottomUp ? v1 - 1 - k : v0 + k;
        uint8_t* out = dst.Row(v) + std::ptrdiff_t(u0) * B;
        // One turn: dst(u, v) = src(v, H-1-u), walking up the source column; three turns:
        // dst(u, v) = src(W-1-v, u), walking down it.
        std::ptrdiff_t const down = quarters == 1 ? -src.step : src.step;
        uint8_t const* in = quarters == 1 ? src.Row(H - 1 - u0) + std::ptrdiff_t(v) * B
                                          : src.Row(u0) + std::ptrdiff_t(W - 1 - v) * B;
        for (int u = u0; u < u1; ++u, out += B, in += down) std::memcpy(out, in, B);
      }
    }
  }
}

struct ReversedBytes {
  uint8_t r[256];
  ReversedBytes() {
    for (int i = 0; i < 256; ++i) {
      int v = 0;
      for (int b = 0; b < 8; ++b) v |= ((i >> b) & 1) << (7 - b);
      r[i] = uint8_t(v);
    }
  }
};

void TurnBits(DibView const& dst, DibView const& src, int quarters) {
  int const W = src.width, H = src.height;
  int64_t const off = src.left & 7, valid = off + W;
  int const dstBytes = (dst.width + 7) / 8;
  if (quarters == 0 || quarters == 2) {
    static ReversedBytes const table;
    bool const bottomUp = dst.step < 0;
    for (int i = 0; i < dst.height; ++i) {
      int const v = bottomUp ? dst.height - 1 - i : i;
      uint8_t* out = dst.Row(v);
      if (quarters == 0) {
        for (int j = 0; j < dstBytes; ++j) out[j] = uint8_t(Load8Bits(src.Row(v), off + 8 * j, valid));
        continue;
      }
      uint8_t const* in = src.Row(H - 1 - v);
      // Destination byte j shows source columns W-1-8j down to W-8-8j.
      for (int j = 0; j < dstBytes; ++j)
        out[j] = table.r[Load8Bits(in, off + W - 8 - 8 * j, valid)];
    }
    return;
  }
  // Odd turns: block (j, b) takes source rows of destination byte j and source byte column b.
  int const srcGroups = (W + 7) / 8;
  for (int j = 0; j < dstBytes; ++j) {
    uint8_t const* rows[8];
    for (int i = 0; i < 8; ++i) {
      int const y = quarters == 1 ? H - 1 - 8 * j - i : 8 * j + i;
      rows[i] = y >= 0 && y < H ? src.Row(y) : nullptr;
    }
    for (int b = 0; b < srcGroups; ++b) {
      uint64_t m = 0;
      for (int i = 0; i < 8; ++i)
        if (rows[i]) m |= uint64_t(Load8Bits(rows[i], off + 8 * b, valid)) << (56 - 8 * i);
      uint64_t const t = TransposeBits8(m);
      for (int k = 0; k < 8; ++k) {
        int const v = quarters == 1 ? 8 * b + k : W - 1 - 8 * b - k;
        if (v < 0 || v >= dst.height) continue;
        dst.Row(v)[j] = uint8_t(t >> (56 - 8 * k));
      }
    }
  }
}

}  // namespace

void QuarterTurn(DibView const& dst, DibView const& src, int bitsPerPixel, int quarters) {
  quarters &= 3;
  switch (bitsPerPixel) {
    case 1: TurnBits(dst, src, quarters); break;
    case 8: TurnBytes<1>(dst, src, quarters); break;
    case 24: TurnBytes<3>(dst, src, quarters); break;
    case 32: TurnBytes<4>(dst, src, quarters); break;
    default: break;
  }
}

}  // namespace quilp
