// zone_copy.cpp - the zone copy kernel: block moves for byte formats, shifted bit runs for
// 1-bit rows.
//
// A 1-bit run is split into its first destination byte and its last one, merged under masks,
// and the whole bytes between. With equal bit offsets the whole bytes are one block move;
// otherwise destination byte j is (source byte j' << r) | (source byte j' + 1 >> (8 - r)) for
// r the difference of the offsets modulo 8, done on 64-bit big-endian words (eight bytes per
// step, about one cycle per byte pair). Cost: one read and one write of the zone.
#include "record/zone_copy.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace quilp {
namespace {

inline uint64_t ByteSwap64(uint64_t v) {
#if defined(__GNUC__) || defined(__clang__)
  return __builtin_bswap64(v);
#else
  uint64_t r = 0;
  for (int i = 0; i < 8; ++i, v >>= 8) r = r << 8 | (v & 0xFF);
  return r;
#endif
}

// Eight bytes as one number, the first byte most significant (the bit order of a 1-bit row).
inline uint64_t LoadBigEndian64(uint8_t const* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  if constexpr (std::endian::native == std::endian::little) v = ByteSwap64(v);
  return v;
}

inline void StoreBigEndian64(uint8_t* p, uint64_t v) {
  if constexpr (std::endian::native == std::endian::little) v = ByteSwap64(v);
  std::memcpy(p, &v, sizeof v);
}

// Bits a..b (inclusive, 0 = most significant) of a byte.
inline uint8_t BitMask(int a, int b) { return static_cast<uint8_t>((0xFFu >> a) & (0xFFu << (7 - b))); }

}  // namespace

void CopyBitRun(uint8_t* dst, int dstBit, uint8_t const* src, int srcBit, int width) {
  if (width <= 0) return;
  int const shift = srcBit - dstBit;  // source bit = destination bit + shift, -7..7
  std::ptrdiff_t const lastSrc = (std::ptrdiff_t(srcBit) + width - 1) >> 3;
  std::ptrdiff_t const lastDst = (std::ptrdiff_t(dstBit) + width - 1) >> 3;
  int const lastBit = (dstBit + width - 1) & 7;  // zone's last bit in byte lastDst

  // The 8 source bits that land on destination byte j; bytes outside 0..lastSrc read as 0
  // (they only ever feed bits that the merge masks away).
  auto fetch = [&](std::ptrdiff_t j) -> uint8_t {
    std::ptrdiff_t const q = 8 * j + shift;
    std::ptrdiff_t const k = q >= 0 ? q / 8 : -((-q + 7) / 8);
    int const r = static_cast<int>(q - 8 * k);
    uint32_t const hi = k >= 0 && k <= lastSrc ? src[k] : 0u;
    uint32_t const lo = r != 0 && k + 1 >= 0 && k + 1 <= lastSrc ? src[k + 1] : 0u;
    return static_cast<uint8_t>(hi << r | lo >> (8 - r));
  };
  auto merge = [&](std::ptrdiff_t j, uint8_t mask) {
    dst[j] = static_cast<uint8_t>((dst[j] & ~mask) | (fetch(j) & mask));
  };

  if (lastDst == 0) {
    merge(0, BitMask(dstBit, lastBit));
    return;
  }
  merge(0, BitMask(dstBit, 7));
  merge(lastDst, BitMask(0, lastBit));

  // Whole destination bytes 1 .. lastDst - 1.
  std::ptrdiff_t j = 1;
  std::ptrdiff_t const end = lastDst;
  if (shift == 0) {
    if (end > j) std::memmove(dst + j, src + j, static_cast<std::size_t>(end - j));
    return;
  }
  std::ptrdiff_t const k0 = shift > 0 ? 0 : -1;  // source byte of destination byte j is j + k0
  int const r = shift & 7;
  uint8_t const* s = src + k0;
  for (; j + 8 <= end; j += 8)
    StoreBigEndian64(dst + j, LoadBigEndian64(s + j) << r | uint64_t(s[j + 8]) >> (8 - r));
  for (; j < end; ++j)
    dst[j] = static_cast<uint8_t>(s[j] << r | s[j + 1] >> (8 - r));
}

int DibCopyPlane(DibPlane const* dst, DibPlane const* src) {
  if (!dst || !src || !dst->data || !src->data || dst->format != src->format) return -1;
  if (src->format != kDibFormat1 && src->format != kDibFormat8 &&
      src->format != kDibFormat24 && src->format != kDibFormat32)
    return -1;
  if (src->width > dst->width || src->height > dst->height) return -1;
  if (src->width < 1 || src->height < 1) return 0;
  if (src->format == kDibFormat1) {
    for (int y = 0; y < src->height; ++y)
      CopyBitRun(dst->Row(y), dst->bitOffset, src->Row(y), src->bitOffset, src->width);
  } else {
    std::size_t const bytes = std::size_t(src->width) * std::size_t(BytesPerPixel(src->format));
    for (int y = 0; y < src->height; ++y) std::memmove(dst->Row(y), src->Row(y), bytes);
  }
  return 0;
}

}  // namespace quilp
