// colour_memo.cpp - a direct-mapped memo of converted colours.
//
// A scanned page is mostly paper and a few inks: the same colours come back again and again.
// The memo has 65,536 slots (256 KiB, cache-resident); a slot holds a 24-bit colour and its
// 8-bit grey, found by a multiplicative hash of the colour. Per pixel a lookup costs a few
// operations; the colours not found are gathered per row, converted by the row kernel in one
// call (so its vector path still runs) and written back, each into its slot. Every slot starts
// out holding black and black's own grey, so no slot is ever empty or wrong.
//
// Pages with many distinct colours (strong colour noise, photographs) miss often; a row where
// more than one pixel in eight missed turns the memo off for the next 63 rows, which then go
// straight to the kernel, so such pages cost only the occasional probing row more.
#include "colour/colour_memo.h"

#include <cstring>
#include <memory>
#include <new>

namespace quilp {
namespace {

constexpr int kSlotBits = 16;
constexpr int kRowsOff = 63;  // rows left to the kernel after a row that missed too often

inline uint32_t Slot(uint32_t colour) { return (colour * 0x9E3779B1u) >> (32 - kSlotBits); }

}  // namespace

void DibMemoColourRows(DibView dst, DibView src, ColourSetRowFn row, ColourSets const& sets) {
  InStorageOrder(src, dst);
  std::size_t const w = static_cast<std::size_t>(src.width > 0 ? src.width : 0);
  std::unique_ptr<uint32_t[]> slots(new (std::nothrow) uint32_t[std::size_t(1) << kSlotBits]);
  std::unique_ptr<uint32_t[]> missAt(new (std::nothrow) uint32_t[w + 1]);
  std::unique_ptr<uint8_t[]> missed(new (std::nothrow) uint8_t[3 * w + 3]);
  std::unique_ptr<uint8_t[]> missedGrey(new (std::nothrow) uint8_t[w + 1]);
  if (!slots || !missAt || !missed || !missedGrey) {  // no memo: the kernel alone
    for (int y = 0; y < src.height; ++y) row(src.Row(y), dst.Row(y), src.width, sets);
    return;
  }
  uint8_t const black[3] = {0, 0, 0};
  uint8_t blackGrey = 0;
  row(black, &blackGrey, 1, sets);
  for (std::size_t i = 0; i < (std::size_t(1) << kSlotBits); ++i) slots[i] = blackGrey;
  int off = 0;
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    if (off > 0) {
      --off;
      row(s, d, src.width, sets);
      continue;
    }
    std::size_t misses = 0;
    for (std::size_t x = 0; x < w; ++x, s += 3) {
      uint32_t const colour = s[0] | uint32_t(s[1]) << 8 | uint32_t(s[2]) << 16;
      uint32_t const entry = slots[Slot(colour)];
      if (entry >> 8 == colour) {
        d[x] = static_cast<uint8_t>(entry);
      } else {
        missAt[misses] = static_cast<uint32_t>(x);
        std::memcpy(missed.get() + 3 * misses, s, 3);
        ++misses;
      }
    }
    if (misses == 0) continue;
    row(missed.get(), missedGrey.get(), static_cast<int>(misses), sets);
    for (std::size_t i = 0; i < misses; ++i) {
      uint8_t const* m = missed.get() + 3 * i;
      uint32_t const colour = m[0] | uint32_t(m[1]) << 8 | uint32_t(m[2]) << 16;
      d[missAt[i]] = missedGrey[i];
      slots[Slot(colour)] = colour << 8 | missedGrey[i];
    }
    if (misses * 8 > w) off = kRowsOff;
  }
}

}  // namespace quilp
