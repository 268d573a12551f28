// ink_bits.h - InkBits, the packed working image of the 1-bit page operations.
//
// A 1-bit area is read once into rows of 64-bit words in visual order, one bit per pixel, set
// where the page has ink (a clear bit, palette index 0), pixel x at bit 63 - x % 64 of word
// x / 64; bits past the width stay clear. Every 1-bit operation of the morphology family
// (components, despeckling, reduction, distances, skeletons, structuring elements) works on
// this form, so a row of 64 pixels is one register and runs are found with count-leading-zeros.
// Loading and storing visit the record's rows in storage order and cost one pass each.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "record/view.h"

namespace quilp {

class InkBits {
 public:
  InkBits() = default;
  // A cleared image; false (and empty) when the size is negative or memory runs out.
  bool Reset(int width, int height);
  int Width() const { return width_; }
  int Height() const { return height_; }
  int Words() const { return words_; }  // per row
  uint64_t* Row(int y) { return bits_.get() + std::size_t(words_) * std::size_t(y); }
  uint64_t const* Row(int y) const { return bits_.get() + std::size_t(words_) * std::size_t(y); }
  bool Get(int x, int y) const { return (Row(y)[x >> 6] >> (63 - (x & 63))) & 1; }
  void Set(int x, int y) { Row(y)[x >> 6] |= uint64_t(1) << (63 - (x & 63)); }
  void Clear(int x, int y) { Row(y)[x >> 6] &= ~(uint64_t(1) << (63 - (x & 63))); }
  // The mask of the valid pixels of the last word of a row.
  uint64_t TailMask() const { return width_ % 64 ? ~uint64_t(0) << (64 - width_ % 64) : ~uint64_t(0); }
  // Clears the bits past the width in every row.
  void ClearTails();

 private:
  int width_ = 0, height_ = 0, words_ = 0;
  std::unique_ptr<uint64_t[]> bits_;
};

// Reads a 1-bit view (its first pixel at bit `bitOffset` of its first byte). With `ink` the
// clear bits (black, palette index 0) become the set bits of the image, else the stored bits
// are taken as they are.
bool LoadInk(InkBits& image, DibView const& view, int bitOffset, bool ink = true);
// Writes the image back the same way into a 1-bit view whose first pixel is at bit
// `bitOffset`; bits of the view's bytes outside the area keep their values.
void StoreInk(InkBits const& image, DibView const& view, int bitOffset = 0, bool ink = true);
// Visits 0 .. n - 1 in the storage order of a view with row step `step`.
inline int StorageRow(std::ptrdiff_t step, int i, int n) { return step < 0 ? n - 1 - i : i; }

// Pixel x .. x + 63 of a row as one word, pixels beyond the row reading as `outside` (0 or
// all ones). x may be negative.
inline uint64_t WordAt(uint64_t const* row, int words, int x, uint64_t outside) {
  int const w = x >> 6, s = x & 63;  // arithmetic shift: floor division
  uint64_t const a = w >= 0 && w < words ? row[w] : outside;
  if (s == 0) return a;
  uint64_t const b = w + 1 >= 0 && w + 1 < words ? row[w + 1] : outside;
  return (a << s) | (b >> (64 - s));
}

}  // namespace quilp
