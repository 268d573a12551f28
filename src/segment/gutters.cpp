// gutters.cpp - the gutter test for gaps in text rows (see gutters.h).
#include "segment/gutters.h"

#include <algorithm>

namespace quilp {

namespace {

constexpr double kWalkInches = 0.75;
constexpr double kSideInches = 0.5;
constexpr double kBorderedShare = 0.3;  // of one walk's rows

// Any ink in columns a..b of row y (clipped to the image).
bool AnyInk(InkBits const& ink, int y, int a, int b) {
  a = std::max(a, 0);
  b = std::min(b, ink.Width() - 1);
  if (a > b) return false;
  uint64_t const* row = ink.Row(y);
  for (int w = a >> 6; w <= b >> 6; ++w) {
    int const lo = std::max(a, w * 64) - w * 64, hi = std::min(b, w * 64 + 63) - w * 64;
    if (row[w] & (~uint64_t(0) >> lo) & (~uint64_t(0) << (63 - hi))) return true;
  }
  return false;
}

}  // namespace

bool IsGutter(InkBits const& text, InkBits const& ink, std::vector<Box> const& walls, int top,
              int bottom, int g0, int g1, LayoutScale const& scale) {
  Box const gap{g0, top, g1, bottom};
  for (Box const& wall : walls)
    if (Intersects(wall, gap)) return true;
  int const walk = scale.In(kWalkInches), side = scale.In(kSideInches);
  int const x = (g0 + g1) / 2;
  int bordered = 0;
  for (int dir = -1; dir <= 1; dir += 2) {
    for (int k = 1; k <= walk; ++k) {
      int const row = dir < 0 ? top - k : bottom + k;
      if (row < 0 || row >= ink.Height() || AnyInk(text, row, x - 1, x + 1)) break;
      if (AnyInk(ink, row, g0 - side, g0 - 1) && AnyInk(ink, row, g1 + 1, g1 + side)) ++bordered;
    }
  }
  return bordered >= kBorderedShare * walk;
}

}  // namespace quilp
