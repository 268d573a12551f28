// upscale_bits.cpp - edge-directed enlargement of 1-bit areas.
//
// The rule compares each pixel's neighbours for equality only, so eight pixels are decided at
// once with byte-wide logic: a row is loaded into a buffer with one guard byte at each end
// (edge pixels repeated into them), the left and right neighbours of a byte's pixels are the
// byte shifted by one with a bit from the next byte, and every block position is a select
// between the centre byte and one neighbour byte. The chosen bytes are then interleaved bit
// by bit through tables (one pixel to 2 or 3 adjacent bits). Cost per source byte: about 30
// logic operations and 2 or 3 table lookups per result row; by 4 runs by 2 twice.
#include "scale/upscale_bits.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace quilp {
namespace {

// Pixel j of a byte (bit 7 - j) spread to bits k * j of a k-byte word, the first pixel at its
// top bit; the other k - 1 bits of each pixel are clear.
template <int K>
std::array<uint32_t, 256> const& Spread() {
  static std::array<uint32_t, 256> const table = [] {
    std::array<uint32_t, 256> t{};
    for (int b = 0; b < 256; ++b)
      for (int j = 0; j < 8; ++j)
        if ((b >> (7 - j)) & 1) t[std::size_t(b)] |= uint32_t(1) << (8 * K - 1 - K * j);
    return t;
  }();
  return table;
}

// Row y of a plane into buf[1 .. bytes], pixel 0 at the top bit of buf[1], the pixels from
// `width` on and the guard bytes buf[0], buf[bytes + 1] repeating the edge pixels.
void LoadRow(std::vector<uint8_t>& buf, DibPlane const& p, int y) {
  std::size_t const bytes = (std::size_t(p.width) + 7) / 8;
  uint8_t const* row = p.Row(y);
  int const shift = p.bitOffset;
  for (std::size_t i = 0; i < bytes; ++i) {
    unsigned v = unsigned(row[i]) << shift;
    if (shift && (i * 8 + 8 - std::size_t(shift)) < std::size_t(p.width)) v |= row[i + 1] >> (8 - shift);
    buf[i + 1] = uint8_t(v);
  }
  int const last = p.width - 1;
  bool const lastSet = (buf[1 + std::size_t(last) / 8] >> (7 - last % 8)) & 1;
  int const tail = p.width % 8;
  if (tail) {
    uint8_t const beyond = uint8_t(0xFFu >> tail);
    buf[bytes] = uint8_t(lastSet ? buf[bytes] | beyond : buf[bytes] & ~beyond);
  }
  buf[bytes + 1] = lastSet ? 0xFF : 0x00;
  buf[0] = (buf[1] & 0x80) ? 0xFF : 0x00;
}

// Writes `width` pixels of bits (pixel 0 at the top bit of bits[0]) to row y of a plane.
void StoreRow(DibPlane const& p, int y, uint8_t const* bits) {
  uint8_t* row = p.Row(y);
  for (int x = 0; x < p.width; ++x) {
    int const b = p.bitOffset + x;
    uint8_t const mask = uint8_t(0x80u >> (b & 7));
    bool const set = (bits[x >> 3] >> (7 - (x & 7))) & 1;
    row[b >> 3] = uint8_t(set ? row[b >> 3] | mask : row[b >> 3] & ~mask);
  }
}

inline uint8_t Left(uint8_t const* r, std::size_t i) { return uint8_t((r[i] >> 1) | (r[i - 1] << 7)); }
inline uint8_t Right(uint8_t const* r, std::size_t i) { return uint8_t((r[i] << 1) | (r[i + 1] >> 7)); }
inline uint8_t Same(uint8_t x, uint8_t y) { return uint8_t(~(x ^ y)); }
inline uint8_t Pick(uint8_t when, uint8_t x, uint8_t otherwise) {
  return uint8_t((when & x) | (~when & otherwise));
}

// Writes `k` bytes of word w (top byte first).
inline void PutWord(uint8_t* out, uint32_t w, int k) {
  for (int b = 0; b < k; ++b) out[b] = uint8_t(w >> (8 * (k - 1 - b)));
}

template <int K>
void Enlarge(DibPlane const& dst, DibPlane const& src) {
  std::size_t const bytes = (std::size_t(src.width) + 7) / 8;
  std::vector<uint8_t> above(bytes + 2), centre(bytes + 2), below(bytes + 2);
  std::vector<std::vector<uint8_t>> out(K, std::vector<uint8_t>(bytes * K));
  std::array<uint32_t, 256> const& spread = Spread<K>();
  bool const upward = dst.stride < 0;
  for (int k = 0; k < src.height; ++k) {
    int const y = upward ? src.height - 1 - k : k;
    LoadRow(above, src, y > 0 ? y - 1 : 0);
    LoadRow(centre, src, y);
    LoadRow(below, src, y + 1 < src.height ? y + 1 : y);
    uint8_t const* a = above.data();
    uint8_t const* c = centre.data();
    uint8_t const* h = below.data();
    for (std::size_t i = 1; i <= bytes; ++i) {
      uint8_t const E = c[i], B = a[i], H = h[i], D = Left(c, i), F = Right(c, i);
      // The corner rules: top-left, top-right, bottom-left, bottom-right.
      uint8_t const tl = uint8_t(Same(D, B) & (B ^ F) & (D ^ H));
      uint8_t const tr = uint8_t(Same(B, F) & (B ^ D) & (F ^ H));
      uint8_t const bl = uint8_t(Same(D, H) & (D ^ B) & (H ^ F));
      uint8_t const br = uint8_t(Same(H, F) & (D ^ H) & (B ^ F));
      std::size_t const at = (i - 1) * K;
      if constexpr (K == 2) {
        PutWord(&out[0][at], spread[Pick(tl, D, E)] | spread[Pick(tr, F, E)] >> 1, 2);
        PutWord(&out[1][at], spread[Pick(bl, D, E)] | spread[Pick(br, F, E)] >> 1, 2);
      } else {
        uint8_t const A = Left(a, i), C = Right(a, i), G = Left(h, i), I = Right(h, i);
        uint8_t const top = uint8_t((tl & (E ^ C)) | (tr & (E ^ A)));
        uint8_t const left = uint8_t((tl & (E ^ G)) | (bl & (E ^ A)));
        uint8_t const right = uint8_t((tr & (E ^ I)) | (br & (E ^ C)));
        uint8_t const bottom = uint8_t((bl & (E ^ I)) | (br & (E ^ G)));
        PutWord(&out[0][at], spread[Pick(tl, D, E)] | spread[Pick(top, B, E)] >> 1 | spread[Pick(tr, F, E)] >> 2, 3);
        PutWord(&out[1][at], spread[Pick(left, D, E)] | spread[E] >> 1 | spread[Pick(right, F, E)] >> 2, 3);
        PutWord(&out[2][at], spread[Pick(bl, D, E)] | spread[Pick(bottom, H, E)] >> 1 | spread[Pick(br, F, E)] >> 2, 3);
      }
    }
    for (int r = 0; r < K; ++r) {
      int const row = upward ? K * y + K - 1 - r : K * y + r;
      StoreRow(dst, row, out[std::size_t(row - K * y)].data());
    }
  }
}

}  // namespace

bool DibUpscaleBitsPlane(DibPlane const& dst, DibPlane const& src, int factor) {
  try {
    if (factor == 2) {
      Enlarge<2>(dst, src);
    } else if (factor == 3) {
      Enlarge<3>(dst, src);
    } else if (factor == 4) {  // by 2 into a scratch area, then by 2 again
      DibPlane twice;
      twice.width = 2 * src.width;
      twice.height = 2 * src.height;
      twice.format = kDibFormat1;
      twice.stride = std::ptrdiff_t((std::size_t(twice.width) + 31) / 32 * 4);
      std::vector<uint8_t> scratch(std::size_t(twice.stride) * std::size_t(twice.height));
      twice.data = scratch.data();
      Enlarge<2>(twice, src);
      Enlarge<2>(dst, twice);
    } else {
      return false;
    }
  } catch (std::exception const&) {  // bad_alloc, or length_error for huge sizes
    return false;
  }
  return true;
}

}  // namespace quilp
