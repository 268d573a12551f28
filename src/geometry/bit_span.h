// bit_span.h - reading and writing runs of pixels of 1-bit rows at any bit position, and the
// 8 x 8 bit transpose the quarter turns use.
//
// Positions count bits from the first byte of a row, leftmost pixel in the most significant
// bit. Only bytes that hold valid bits are read, so a row's last byte is never overrun.
// Internal linkage: see simd/dispatch.h.
#pragma once

#include <cstdint>

namespace quilp {
namespace {

// The 8 bits at positions pos .. pos + 7 (pos may be negative), most significant first; bits
// outside 0 .. validBits - 1 read as 0.
inline unsigned Load8Bits(uint8_t const* row, int64_t pos, int64_t validBits) {
  int64_t const byte = pos >> 3;  // floor
  int const shift = int(pos & 7);
  int64_t const bytes = (validBits + 7) >> 3;
  unsigned const hi = byte >= 0 && byte < bytes ? row[byte] : 0u;
  unsigned const lo = byte + 1 >= 0 && byte + 1 < bytes ? row[byte + 1] : 0u;
  unsigned v = (((hi << 8) | lo) << shift >> 8) & 0xFFu;
  if (pos < 0) v &= pos <= -8 ? 0u : 0xFFu >> -pos;
  if (pos + 8 > validBits) {
    int64_t const keep = validBits - pos;
    v &= keep <= 0 ? 0u : (0xFFu << (8 - keep)) & 0xFFu;
  }
  return v;
}

// Copies n bits from src (positions from spos, all inside its valid bits) to dst positions
// dpos .. dpos + n - 1; the other bits of the bytes touched keep their values. Whole
// destination bytes whose two source bytes lie inside the row take one shift each.
inline void CopyBits(uint8_t* dst, int64_t dpos, uint8_t const* src, int64_t spos, int64_t n,
                     int64_t srcValidBits) {
  if (n <= 0) return;
  int64_t const end = dpos + n;
  int64_t const srcBytes = (srcValidBits + 7) >> 3;
  auto partial = [&](int64_t k) {
    int64_t const b0 = dpos > 8 * k ? dpos : 8 * k;
    int64_t const b1 = end < 8 * k + 8 ? end : 8 * k + 8;
    unsigned const bits = Load8Bits(src, spos + (8 * k - dpos), srcValidBits);
    unsigned const mask = (0xFFu >> (b0 - 8 * k)) & (0xFFu << (8 * k + 8 - b1)) & 0xFFu;
    dst[k] = uint8_t((dst[k] & ~mask) | (bits & mask));
  };
  int64_t const kFirst = dpos >> 3, kLast = (end - 1) >> 3;
  // Whole bytes: 8k >= dpos, 8k + 8 <= end, source bytes q>>3 and (q>>3)+1 inside the row.
  int64_t k0 = (dpos + 7) >> 3, k1 = (end >> 3) - 1;
  int64_t const q0 = spos - dpos;  // source position of destination bit 0
  while (k0 <= k1 && (q0 + 8 * k0) < 0) ++k0;
  while (k1 >= k0 && ((q0 + 8 * k1) >> 3) + 1 >= srcBytes) --k1;
  for (int64_t k = kFirst; k <= kLast && k < k0; ++k) partial(k);
  if (k0 <= k1) {
    int const shift = int((q0 + 8 * k0) & 7);
    uint8_t const* in = src + ((q0 + 8 * k0) >> 3);
    int64_t k = k0;
    // Eight bytes at a time: a big-endian word and the next byte's top bits.
    for (; k + 7 <= k1; k += 8, in += 8) {
      uint64_t w = 0;
      for (int i = 0; i < 8; ++i) w = (w << 8) | in[i];
      w = shift ? (w << shift) | (uint64_t(in[8]) >> (8 - shift)) : w;
      for (int i = 0; i < 8; ++i) dst[k + i] = uint8_t(w >> (56 - 8 * i));
    }
    for (; k <= k1; ++k, ++in)
      dst[k] = uint8_t(((unsigned(in[0]) << 8) | in[1]) >> (8 - shift));
  }
  for (int64_t k = (k0 <= k1 ? k1 + 1 : k0); k <= kLast; ++k)
    if (k >= kFirst) partial(k);
}

// Sets (white) or clears n bits from position pos.
inline void FillBits(uint8_t* dst, int64_t pos, int64_t n, bool set) {
  if (n <= 0) return;
  int64_t const end = pos + n;
  for (int64_t k = pos >> 3; k <= (end - 1) >> 3; ++k) {
    int64_t const b0 = pos > 8 * k ? pos : 8 * k;
    int64_t const b1 = end < 8 * k + 8 ? end : 8 * k + 8;
    unsigned const mask = (0xFFu >> (b0 - 8 * k)) & (0xFFu << (8 * k + 8 - b1)) & 0xFFu;
    dst[k] = uint8_t(set ? dst[k] | mask : dst[k] & ~mask);
  }
}

// 8 x 8 bit matrix, row r in byte r counted from the most significant: returns the transpose
// (row r of the result is column r of the input). Three rounds of masked swaps.
inline uint64_t TransposeBits8(uint64_t x) {
  x = (x & 0xAA55AA55AA55AA55ull) | ((x & 0x00AA00AA00AA00AAull) << 7) |
      ((x >> 7) & 0x00AA00AA00AA00AAull);
  x = (x & 0xCCCC3333CCCC3333ull) | ((x & 0x0000CCCC0000CCCCull) << 14) |
      ((x >> 14) & 0x0000CCCC0000CCCCull);
  x = (x & 0xF0F0F0F00F0F0F0Full) | ((x & 0x00000000F0F0F0F0ull) << 28) |
      ((x >> 28) & 0x00000000F0F0F0F0ull);
  return x;
}

}  // namespace
}  // namespace quilp
