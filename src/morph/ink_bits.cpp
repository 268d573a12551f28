// ink_bits.cpp - reading 1-bit areas into InkBits and writing them back.
//
// A row of bytes becomes big-endian 64-bit words (the leftmost pixel is the most significant
// bit of both), complemented so that ink is set; an area that starts inside a byte is shifted
// into place. One pass over the rows in storage order each way.
#include "morph/ink_bits.h"

#include <cstring>
#include <new>

namespace quilp {

bool InkBits::Reset(int width, int height) {
  bits_.reset();
  width_ = height_ = words_ = 0;
  if (width < 0 || height < 0) return false;
  int const words = (width + 63) / 64;
  uint64_t const total = uint64_t(words) * uint64_t(height) + 1;
  if (total > SIZE_MAX / sizeof(uint64_t)) return false;
  bits_.reset(new (std::nothrow) uint64_t[std::size_t(total)]());
  if (!bits_) return false;
  width_ = width;
  height_ = height;
  words_ = words;
  return true;
}

void InkBits::ClearTails() {
  if (width_ % 64 == 0) return;
  uint64_t const mask = TailMask();
  for (int y = 0; y < height_; ++y) Row(y)[words_ - 1] &= mask;
}

namespace {

uint64_t BigEndian64(unsigned char const* p) {
  uint64_t v;
  std::memcpy(&v, p, 8);
  return std::endian::native == std::endian::little ? __builtin_bswap64(v) : v;
}

void PutBigEndian64(unsigned char* p, uint64_t v) {
  if (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
  std::memcpy(p, &v, 8);
}

// Row bytes (the area's first pixel at bit `offset` of p[0]) to words, complemented with
// `flip` all ones.
void LoadRow(uint64_t* out, unsigned char const* p, int width, int offset, int words,
             uint64_t flip) {
  int const bytes = (offset + width + 7) / 8;  // bytes the area touches
  int const whole = offset == 0 ? width / 64 : 0;
  for (int k = 0; k < whole; ++k) out[k] = BigEndian64(p + 8 * k) ^ flip;
  for (int k = whole; k < words; ++k) {
    uint64_t v = 0;
    for (int j = 0; j < 8; ++j) {  // output byte j of word k: pixels 64k + 8j ..
      int const i = 8 * k + j;
      if (i * 8 >= width) break;
      unsigned b = unsigned(p[i]) << offset;
      if (offset && i + 1 < bytes) b |= unsigned(p[i + 1]) >> (8 - offset);
      v |= uint64_t(b & 0xFF) << (56 - 8 * j);
    }
    out[k] = v ^ flip;
  }
  if (width % 64) out[words - 1] &= ~uint64_t(0) << (64 - width % 64);
}

void StoreRow(unsigned char* p, uint64_t const* in, int width, int words, int offset,
              uint64_t flip) {
  int const bytes = (offset + width + 7) / 8;
  int const whole = offset == 0 ? width / 64 : 0;
  for (int k = 0; k < whole; ++k) PutBigEndian64(p + 8 * k, in[k] ^ flip);
  for (int i = whole * 8; i < bytes; ++i) {  // pixels 8i - offset .. 8i - offset + 7
    int const x = 8 * i - offset;
    unsigned v = unsigned((WordAt(in, words, x, 0) ^ flip) >> 56);
    unsigned keep = 0;  // bits outside the area
    if (x < 0) keep |= 0xFFu << (8 + x) & 0xFF;
    if (x + 8 > width) keep |= 0xFFu >> (width - x);
    p[i] = uint8_t((p[i] & keep) | (v & ~keep & 0xFF));
  }
}

}  // namespace

bool LoadInk(InkBits& image, DibView const& view, int bitOffset, bool ink) {
  if (!image.Reset(view.width, view.height)) return false;
  uint64_t const flip = ink ? ~uint64_t(0) : 0;
  for (int i = 0; i < view.height; ++i) {
    int const y = StorageRow(view.step, i, view.height);
    LoadRow(image.Row(y), view.Row(y), view.width, bitOffset, image.Words(), flip);
  }
  return true;
}

void StoreInk(InkBits const& image, DibView const& view, int bitOffset, bool ink) {
  uint64_t const flip = ink ? ~uint64_t(0) : 0;
  for (int i = 0; i < view.height; ++i) {
    int const y = StorageRow(view.step, i, view.height);
    StoreRow(view.Row(y), image.Row(y), view.width, image.Words(), bitOffset, flip);
  }
}

}  // namespace quilp
